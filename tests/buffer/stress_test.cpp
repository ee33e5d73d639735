// One writer and several blocking readers on one buffer, many rounds: every reader must see
// every byte in order and end when the writer leaves. A lost wake-up or a deadlock hangs a
// reader, which the watchdog turns into a failure.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "nym/istream.h"
#include "test_store.h"
#include "watchdog.h"

using namespace nym;
using nym_test::Test_store;

namespace {

unsigned char byte_at(uint64 i) { return static_cast<unsigned char>((i * 131 + (i >> 9)) & 0xFF); }

struct Reader_result {
  uint64 bytes = 0;
  uint64 wrong_at = NYM_NPOS;
  unsigned int last_status = 0;
};

void read_all(const Test_store& store, bool buffered, unsigned seed, Reader_result& result) {
  Nym_status status;
  std::unique_ptr<Nym_istream> stream;
  if (buffered) {
    stream = std::make_unique<Nym_buffered_istream>(store, true, status);
  } else {
    stream = std::make_unique<Nym_unbuffered_istream>(store, true, status);
  }
  std::mt19937 random(seed);
  std::vector<unsigned char> chunk(5000);
  for (;;) {
    const uint64 want = 1 + random() % chunk.size();
    const uint64 n = stream->read(want, chunk.data(), status);
    if (status.is_error()) break;
    for (uint64 i = 0; i < n; ++i) {
      if (chunk[i] != byte_at(result.bytes + i) && result.wrong_at == NYM_NPOS) result.wrong_at = result.bytes + i;
    }
    result.bytes += n;
  }
  result.last_status = status.value();
}

}  // namespace

TEST(BufferStressTest, OneWriterManyBlockingReaders) {
  nym_test::Watchdog watchdog("BufferStressTest.OneWriterManyBlockingReaders", std::chrono::seconds(240));
  constexpr int ROUNDS = 40;
  constexpr int READERS = 4;
  constexpr uint64 TOTAL = 200000;
  std::mt19937 random(2208);
  for (int round = 0; round < ROUNDS; ++round) {
    Test_store store;
    Nym_status status;
    store.connect_ostream(status);
    ASSERT_TRUE(status.is_clear());
    std::vector<Reader_result> results(READERS);
    std::vector<std::thread> readers;
    for (int r = 0; r < READERS; ++r) {
      readers.emplace_back(read_all, std::cref(store), r % 2 == 1, static_cast<unsigned>(round * 10 + r),
                           std::ref(results[r]));
    }
    std::string block;
    for (uint64 written = 0; written < TOTAL;) {
      // Mostly small writes, so readers often reach the end and sleep; some large ones.
      const uint64 size = std::min<uint64>(TOTAL - written, random() % 8 == 0 ? 1 + random() % 40000 : 1 + random() % 64);
      block.resize(size);
      for (uint64 i = 0; i < size; ++i) block[i] = static_cast<char>(byte_at(written + i));
      store.append(block);
      written += size;
    }
    store.disconnect_ostream();
    for (auto& t : readers) t.join();
    for (int r = 0; r < READERS; ++r) {
      ASSERT_EQ(results[r].bytes, TOTAL) << "round " << round << " reader " << r;
      ASSERT_EQ(results[r].wrong_at, NYM_NPOS) << "round " << round << " reader " << r;
      ASSERT_EQ(results[r].last_status, NYM_S_END_OF_DATA) << "round " << round << " reader " << r;
    }
    ASSERT_EQ(store.num_unbuffered_istream() + store.num_buffered_istream(), 0u);
  }
}
