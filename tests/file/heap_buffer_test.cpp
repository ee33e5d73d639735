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

using namespace nym;
using Bytes = std::vector<unsigned char>;
constexpr int64 PAGE = 65536;

struct Heap : Nym_heap_buffer {
  int64 put(int64 position, const Bytes& bytes, Nym_status& status) {
    write(position, bytes.size(), bytes.data(), status);
    return position;
  }
  Bytes get(int64 position, uint64 count, Nym_status& status) const {
    Bytes bytes(count);
    bytes.resize(read(false, position, count, bytes.data(), status));
    return bytes;
  }
  void cut(int64 size, Nym_status& status) { truncate(size, status); }
  int64 length() const { Nym_status status; return size(false, status); }
};

Bytes pattern(uint64 count, unsigned int seed) {
  Bytes bytes(count);
  std::mt19937 random(seed);
  for (auto& b : bytes) b = static_cast<unsigned char>(random());
  return bytes;
}

// Every test puts the process's settings back.
struct HeapBuffer : testing::Test {
  void TearDown() override {
    Nym_heap_buffer::set_swap_threshold(256);
    Nym_heap_buffer::set_swap_limit(0);
    Nym_heap_buffer::set_swap_location(Wstring());
    Nym_heap_buffer::allocator(new Nym_heap_allocator(4096));
  }
};

TEST_F(HeapBuffer, MatchesAPlainVectorInMemoryInSwapAndMixed) {
  for (unsigned int threshold : {256u, 0u, 3u}) {
    Nym_heap_buffer::set_swap_threshold(threshold);
    Heap heap;
    Bytes model;
    Nym_status status;
    // Across page and block boundaries, and past the end (the gap reads as zeros).
    for (int64 start : {int64{0}, int64{1}, PAGE - 3, 5 * PAGE + 7, PAGE * 256 - 11, PAGE * 257 - 1}) {
      const Bytes bytes = pattern(1 + static_cast<uint64>(start * 7919 % (3 * PAGE)), static_cast<unsigned>(start));
      ASSERT_TRUE(heap.put(start, bytes, status) == start + static_cast<int64>(bytes.size()) && status.ok());
      model.resize(std::max(model.size(), start + bytes.size()));
      std::copy(bytes.begin(), bytes.end(), model.begin() + start);
    }
    ASSERT_EQ(heap.length(), static_cast<int64>(model.size()));
    for (int64 at = 0; at < heap.length(); at += 3 * PAGE + 5) {
      const Bytes got = heap.get(at, 3 * PAGE + 5, status);
      ASSERT_TRUE(status.ok() && std::equal(got.begin(), got.end(), model.begin() + at)) << threshold << " " << at;
    }
    EXPECT_TRUE(heap.pages_in_memory() <= static_cast<int64>(threshold) && heap.swap_path().empty() == (threshold == 256u));
  }
}

TEST_F(HeapBuffer, PagesPlacedByThresholdIntoOneHbpFileKeptByTruncateNoneForAGap) {
  Nym_heap_buffer::set_swap_threshold(2);
  Heap heap;
  Nym_status status;
  heap.put(0, pattern(PAGE, 1), status);  // ends on a page boundary: pages 0 and 1
  EXPECT_TRUE(heap.pages_in_memory() == 2 && heap.swap_path().empty());
  heap.put(PAGE, pattern(2 * PAGE, 2), status);
  const Wstring path = heap.swap_path();
  EXPECT_TRUE(heap.swap_pages() == 2 && path.substr(path.size() - 4) == u".hbp");
  heap.put(3 * PAGE, pattern(PAGE, 3), status);
  EXPECT_EQ(heap.swap_path(), path);

  heap.cut(0, status);
  EXPECT_TRUE(heap.get(0, 1, status).empty() && status == NYM_S_END_OF_DATA);
  heap.put(0, pattern(4 * PAGE, 4), status);
  EXPECT_EQ(heap.pages_in_memory() + heap.swap_pages(), 5);  // the same pages again
  heap.cut(4 * PAGE + 1, status);
  EXPECT_TRUE(status == NYM_S_END_OF_DATA && heap.length() == 4 * PAGE);

  // Far beyond the end: one page and one table, not tables for every block of the gap.
  const int64 far = int64{1} << 46;
  heap.put(far, {0x42}, status);
  EXPECT_TRUE(status.ok() && heap.length() == far + 1 && heap.pages_in_memory() + heap.swap_pages() == 6);
  EXPECT_EQ(heap.get(far, 2, status), Bytes{0x42});
  EXPECT_EQ(heap.get(far / 2, 3, status), Bytes(3, 0));
  heap.put(INT64_MAX - 1, {1, 2}, status);  // would pass the last position
  EXPECT_TRUE(status == NYM_S_WRITE_FAILED && heap.length() == far + 1);
}

TEST_F(HeapBuffer, FailedWritesLeaveEveryPageItsOwnBytes) {
  // The swap limit halfway through a write, then a swap file that won't open.
  Nym_heap_buffer::set_swap_threshold(0);
  Nym_heap_buffer::set_swap_limit(2);
  Heap heap;
  Nym_status status;
  heap.put(0, {0x5A}, status);
  const Bytes big = pattern(4 * PAGE, 7);
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_TRUE(heap.put(1, big, status) == 1 && heap.length() == 1);  // neither position nor length moved
    EXPECT_TRUE(status == NYM_S_WRITE_FAILED && *status.child() == NYM_S_SWAP_LIMIT);
  }
  Nym_heap_buffer::set_swap_limit(0);
  heap.put(1, big, status);
  Bytes whole{0x5A};
  whole.insert(whole.end(), big.begin(), big.end());
  EXPECT_EQ(heap.get(0, 4 * PAGE + 1, status), whole);

  Nym_heap_buffer::set_swap_location(u"/no such directory/at all");
  Heap other;
  other.put(0, {1}, status);
  EXPECT_TRUE(status == NYM_S_WRITE_FAILED && status.contains_value(NYM_S_FILE_OPEN_FAILED));
  other.put(0, {1}, status);
  EXPECT_TRUE(status.contains_value(NYM_S_FILE_NOT_OPEN) && other.length() == 0);  // not tried again
}

TEST_F(HeapBuffer, ProcessBudgetIsSharedAndComesBack) {
  auto* allocator = new Nym_heap_allocator(3);
  Nym_heap_buffer::allocator(allocator);
  Nym_status status;
  {
    Heap first, second;
    first.put(0, pattern(2 * PAGE + 1, 1), status);  // three pages: all the process has
    second.put(0, pattern(5, 2), status);
    EXPECT_TRUE(second.pages_in_memory() == 0 && second.get(0, 5, status) == pattern(5, 2));  // all in swap
    Nym_heap_buffer::set_process_swap_threshold(1);  // a count of pages left, not a ceiling
  }
  EXPECT_EQ(allocator->pages_left(), 4u);
  Nym_heap_buffer::allocator(nullptr);  // no memory pages at all
  Heap third;
  third.put(0, pattern(PAGE, 3), status);
  EXPECT_TRUE(third.pages_in_memory() == 0 && third.get(0, PAGE, status) == pattern(PAGE, 3));
}

TEST_F(HeapBuffer, OneWriterAndBlockingReadersOnASpillingBuffer) {
  Nym_heap_buffer::set_swap_threshold(2);
  Heap heap;
  const Bytes all = pattern(24 * PAGE + 333, 9);
  std::atomic<int> good{0};
  Nym_status status;
  Nym_ostream out(heap, status);
  std::vector<std::thread> readers;
  for (int r = 0; r < 4; ++r) {
    readers.emplace_back([&, r] {
      Nym_status s;
      Nym_unbuffered_istream in(heap, true, s);
      Bytes got, part(1000 + 7919 * r);
      for (uint64 n; (n = in.read(part.size(), part.data(), s)), s.ok();) {
        got.insert(got.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(n));
      }
      good += s == NYM_S_END_OF_DATA && got == all;
    });
  }
  std::mt19937 random(5);
  for (size_t at = 0, n; at < all.size() && status.ok(); at += n) {
    n = std::min<size_t>(all.size() - at, 1 + random() % (PAGE + 100));
    out.write(n, all.data() + at, status);
  }
  out.detach();
  for (auto& reader : readers) reader.join();
  EXPECT_TRUE(status.ok() && good == 4 && heap.swap_pages() > 20);
}

}  // namespace
