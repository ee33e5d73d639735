#include "nym/heap_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

#include "nym/file.h"
#include "nym/istream.h"
#include "nym/ostream.h"

namespace {

using nym::int64;
using nym::Nym_heap_buffer;
using nym::Nym_status;
using nym::uint64;

constexpr int64 PAGE = 65536;

class Heap : public Nym_heap_buffer {
 public:
  void put(int64 position, const std::vector<unsigned char>& bytes, Nym_status& status) {
    write(position, bytes.size(), bytes.data(), status);
  }
  int64 put_at(int64& position, const std::vector<unsigned char>& bytes, Nym_status& status) {
    write(position, bytes.size(), bytes.data(), status);
    return position;
  }
  std::vector<unsigned char> get(int64 position, uint64 count, Nym_status& status) const {
    std::vector<unsigned char> bytes(count);
    bytes.resize(read(false, position, count, bytes.data(), status));
    return bytes;
  }
  void cut(int64 size, Nym_status& status) { truncate(size, status); }
  int64 length() const {
    Nym_status status;
    return size(false, status);
  }
};

std::vector<unsigned char> pattern(uint64 count, unsigned int seed) {
  std::vector<unsigned char> bytes(count);
  std::mt19937 random(seed);
  for (auto& b : bytes) b = static_cast<unsigned char>(random());
  return bytes;
}

// Every test starts from the process's defaults and puts them back.
class HeapBuffer : public testing::Test {
 protected:
  void TearDown() override {
    Nym_heap_buffer::set_swap_threshold(256);
    Nym_heap_buffer::set_swap_limit(0);
    Nym_heap_buffer::set_swap_location(nym::Wstring());
    Nym_heap_buffer::allocator(new nym::Nym_heap_allocator(4096));
  }
};

TEST_F(HeapBuffer, WritesAndReadsBackAcrossPagesBlocksAndSwap) {
  // Writes of many sizes against a plain vector, with every page in memory, every page in
  // swap, and a mix; one run crosses into block 1.
  for (unsigned int threshold : {256u, 0u, 3u}) {
    Nym_heap_buffer::set_swap_threshold(threshold);
    Heap heap;
    std::vector<unsigned char> model;
    std::mt19937 random(threshold);
    const int64 starts[] = {0, 1, PAGE - 3, 5 * PAGE + 7, 0x1000000 - 11, 0x1000000 + PAGE - 1};
    for (int64 start : starts) {
      const auto bytes = pattern(1 + random() % (3 * PAGE), static_cast<unsigned int>(start));
      Nym_status status;
      int64 position = start;
      ASSERT_EQ(heap.put_at(position, bytes, status), start + static_cast<int64>(bytes.size()));
      ASSERT_TRUE(status.ok()) << threshold;
      if (model.size() < start + bytes.size()) model.resize(start + bytes.size());
      std::copy(bytes.begin(), bytes.end(), model.begin() + start);
    }
    ASSERT_EQ(heap.length(), static_cast<int64>(model.size()));
    for (int64 at = 0; at < static_cast<int64>(model.size()); at += 3 * PAGE + 5) {
      Nym_status status;
      const auto got = heap.get(at, 3 * PAGE + 5, status);
      ASSERT_TRUE(status.ok());
      // Gaps no write reached read as zeros, as does the model's.
      ASSERT_TRUE(std::equal(got.begin(), got.end(), model.begin() + at)) << threshold << " at " << at;
    }
    EXPECT_LE(heap.pages_in_memory(), static_cast<int64>(threshold));
    EXPECT_EQ(heap.swap_path().empty(), threshold == 256u);
  }
}

TEST_F(HeapBuffer, PlacesPagesByThresholdIntoOneHbpFile) {
  Nym_heap_buffer::set_swap_threshold(2);
  Heap heap;
  Nym_status status;
  heap.put(0, pattern(1, 1), status);
  EXPECT_EQ(heap.pages_in_memory(), 1);
  EXPECT_TRUE(heap.swap_path().empty());
  heap.put(0, pattern(PAGE, 1), status);  // ends on a page boundary: pages 0 and 1
  EXPECT_EQ(heap.pages_in_memory(), 2);
  EXPECT_EQ(heap.swap_pages(), 0);
  heap.put(PAGE, pattern(2 * PAGE, 2), status);
  EXPECT_EQ(heap.swap_pages(), 2);
  const nym::Wstring path = heap.swap_path();
  ASSERT_GT(path.size(), 4u);
  EXPECT_EQ(path.substr(path.size() - 4), u".hbp");
  heap.put(3 * PAGE, pattern(PAGE, 3), status);
  EXPECT_EQ(heap.swap_path(), path);  // one file per buffer

  // Truncate keeps the pages: rewriting reuses them.
  heap.cut(0, status);
  EXPECT_TRUE(status.ok());
  heap.get(0, 1, status);
  EXPECT_EQ(status, nym::NYM_S_END_OF_DATA);
  heap.put(0, pattern(4 * PAGE, 4), status);
  EXPECT_EQ(heap.pages_in_memory(), 2);
  EXPECT_EQ(heap.swap_pages(), 3);
  heap.cut(4 * PAGE + 1, status);
  EXPECT_EQ(status, nym::NYM_S_END_OF_DATA);
  EXPECT_EQ(heap.length(), 4 * PAGE);
}

TEST_F(HeapBuffer, FailedWriteLeavesEveryPageItsOwnBytes) {
  Nym_heap_buffer::set_swap_threshold(0);
  Nym_heap_buffer::set_swap_limit(2);
  Heap heap;
  Nym_status status;
  heap.put(0, {0x5A}, status);
  ASSERT_TRUE(status.ok());
  const auto big = pattern(4 * PAGE, 7);
  for (int attempt = 0; attempt < 2; ++attempt) {
    int64 position = 1;
    heap.put_at(position, big, status);
    EXPECT_EQ(status, nym::NYM_S_WRITE_FAILED);
    ASSERT_TRUE(status.has_child());
    EXPECT_EQ(*status.child(), nym::NYM_S_SWAP_LIMIT);
    EXPECT_EQ(position, 1);
    EXPECT_EQ(heap.length(), 1);
    EXPECT_EQ(heap.get(0, 1, status), std::vector<unsigned char>{0x5A});
  }
  // With room again the same write makes all its pages, each with its own bytes.
  Nym_heap_buffer::set_swap_limit(0);
  heap.put(1, big, status);
  ASSERT_TRUE(status.ok());
  auto whole = heap.get(0, 4 * PAGE + 1, status);
  ASSERT_EQ(whole.size(), big.size() + 1);
  EXPECT_EQ(whole[0], 0x5A);
  EXPECT_TRUE(std::equal(big.begin(), big.end(), whole.begin() + 1));
}

TEST_F(HeapBuffer, SwapFileThatWontOpenIsNotTriedAgain) {
  Nym_heap_buffer::set_swap_threshold(1);
  Nym_heap_buffer::set_swap_location(u"/no such directory/at all");
  Heap heap;
  Nym_status status;
  heap.put(0, pattern(10, 1), status);
  ASSERT_TRUE(status.ok());
  heap.put(PAGE, pattern(10, 2), status);
  EXPECT_EQ(status, nym::NYM_S_WRITE_FAILED);
  EXPECT_TRUE(status.contains_value(nym::NYM_S_FILE_OPEN_FAILED));
  EXPECT_EQ(heap.length(), 10);
  heap.put(PAGE, pattern(10, 2), status);
  EXPECT_TRUE(status.contains_value(nym::NYM_S_FILE_NOT_OPEN));
  EXPECT_EQ(heap.get(0, 10, status), pattern(10, 1));
}

TEST_F(HeapBuffer, FarWriteTakesNoTablesForTheGap) {
  Heap heap;
  Nym_status status;
  const int64 far = int64{1} << 46;
  heap.put(far, {0x42}, status);
  ASSERT_TRUE(status.ok());
  EXPECT_EQ(heap.length(), far + 1);
  EXPECT_EQ(heap.pages_in_memory(), 1);
  EXPECT_EQ(heap.get(far, 2, status), std::vector<unsigned char>{0x42});
  EXPECT_EQ(heap.get(far / 2, 3, status), std::vector<unsigned char>(3, 0));
  // The last positions of the store: a write that would pass them is refused whole.
  heap.put(INT64_MAX - 1, {1, 2}, status);
  EXPECT_EQ(status, nym::NYM_S_WRITE_FAILED);
  EXPECT_EQ(heap.length(), far + 1);
}

// Counts what it gives out; 3 pages for the whole process.
class Counting_allocator : public nym::Nym_heap_allocator {
 public:
  Counting_allocator() : Nym_heap_allocator(3) {}
  void* allocate_page() override {
    void* page = Nym_heap_allocator::allocate_page();
    if (page != nullptr) ++out;
    return page;
  }
  void free_page(void* page) override {
    if (page != nullptr) --out;
    Nym_heap_allocator::free_page(page);
  }
  int out = 0;
};

TEST_F(HeapBuffer, ProcessBudgetIsSharedAndComesBack) {
  auto* counting = new Counting_allocator;
  Nym_heap_buffer::allocator(counting);
  Nym_status status;
  {
    Heap first;
    first.put(0, pattern(2 * PAGE + 1, 1), status);  // three pages: the process's all
    EXPECT_EQ(counting->pages_left(), 0u);
    {
      Heap second;
      second.put(0, pattern(5, 2), status);
      ASSERT_TRUE(status.ok());
      EXPECT_EQ(second.pages_in_memory(), 0);  // spilled from its first page
      EXPECT_EQ(second.get(0, 5, status), pattern(5, 2));
    }
    // What is left is a count: raising it with pages out adds to them.
    Nym_heap_buffer::set_process_swap_threshold(1);
    EXPECT_EQ(counting->out, 3);
  }
  EXPECT_EQ(counting->out, 0);
  EXPECT_EQ(counting->pages_left(), 4u);
  Nym_heap_buffer::allocator(nullptr);  // no memory at all: everything in swap
  Heap third;
  third.put(0, pattern(PAGE, 3), status);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(third.pages_in_memory(), 0);
  EXPECT_EQ(third.get(0, PAGE, status), pattern(PAGE, 3));
}

TEST_F(HeapBuffer, OneWriterAndBlockingReadersOnASpillingBuffer) {
  Nym_heap_buffer::set_swap_threshold(2);
  Heap heap;
  const auto all = pattern(24 * PAGE + 333, 9);
  std::atomic<int> good{0};
  std::vector<std::thread> readers;
  Nym_status status;
  nym::Nym_ostream out(heap, status);
  ASSERT_TRUE(status.ok());
  for (int r = 0; r < 4; ++r) {
    readers.emplace_back([&, r] {
      Nym_status s;
      nym::Nym_unbuffered_istream in(heap, true, s);
      std::vector<unsigned char> got;
      std::vector<unsigned char> part(1000 + 7919 * r);
      for (;;) {
        const uint64 n = in.read(part.size(), part.data(), s);
        if (s.is_error()) break;
        got.insert(got.end(), part.begin(), part.begin() + static_cast<int64>(n));
      }
      if (s == nym::NYM_S_END_OF_DATA && got == all) ++good;
    });
  }
  std::mt19937 random(5);
  for (size_t at = 0; at < all.size();) {
    const size_t n = std::min<size_t>(all.size() - at, 1 + random() % (PAGE + 100));
    out.write(n, all.data() + at, status);
    EXPECT_TRUE(status.ok());
    if (status.is_error()) break;
    at += n;
  }
  out.detach();
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(good, 4);
  EXPECT_GT(heap.swap_pages(), 20);
}

}  // namespace
