#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "nym/istream.h"
#include "nym/ostream.h"
#include "nym/string_buffer.h"
#include "nym/wstring_buffer.h"
#include "open_store.h"
#include "test_store.h"
#include "watchdog.h"

using namespace nym;
using nym_test::Open;
using nym_test::Test_store;

namespace {

// Spins (yielding) until `condition` holds; the watchdog ends a test that waits for ever.
template <class Condition>
void until(Condition condition) {
  while (!condition()) std::this_thread::yield();
}

}  // namespace

TEST(BufferTest, IdsDifferAndAreNeverZero) {
  std::set<unsigned int> ids;
  for (int i = 0; i < 100; ++i) {
    Test_store store;
    EXPECT_NE(store.id(), 0u);
    ids.insert(store.id());
  }
  EXPECT_EQ(ids.size(), 100u);
}

TEST(BufferTest, SecondWriterIsRefusedAndTheCountStaysOne) {
  Test_store store;
  Nym_status status(0x1234);
  store.connect_ostream(status);
  EXPECT_TRUE(status.is_clear());
  store.connect_ostream(status);
  EXPECT_EQ(status.value(), NYM_S_NO_WRITER_TAKEN);
  EXPECT_EQ(store.num_ostream(), 1u);
  store.disconnect_ostream();
  EXPECT_EQ(store.num_ostream(), 0u);
}

TEST(BufferTest, DisconnectWithoutWriterDoesNotSignal) {
  Test_store store;
  store.disconnect_ostream();
  EXPECT_EQ(store.signals(), 0);
  Nym_status status;
  store.connect_ostream(status);
  store.disconnect_ostream();
  EXPECT_EQ(store.signals(), 1);
  store.disconnect_ostream();
  EXPECT_EQ(store.signals(), 1);
}

TEST(BufferTest, ReaderCountsFollowStreamsAndStopAtZero) {
  Test_store store("abc");
  Nym_status status;
  {
    Nym_unbuffered_istream a(store, false, status);
    Nym_unbuffered_istream b(store, false, status);
    Nym_buffered_istream c(store, false, status);
    EXPECT_EQ(store.num_unbuffered_istream(), 2u);
    EXPECT_EQ(store.num_buffered_istream(), 1u);
    b.detach();
    b.detach();
    EXPECT_EQ(store.num_unbuffered_istream(), 1u);
  }
  EXPECT_EQ(store.num_unbuffered_istream(), 0u);
  EXPECT_EQ(store.num_buffered_istream(), 0u);
  store.disconnect_unbuffered_istream();
  store.disconnect_buffered_istream();
  EXPECT_EQ(store.num_unbuffered_istream(), 0u);
  EXPECT_EQ(store.num_buffered_istream(), 0u);
}

TEST(BufferTest, WriteOfTooManyBytesRaisesBeforeLocking) {
  Test_store store;
  Nym_status status;
  int64 position = 0;
  try {
    store.write_at(position, static_cast<uint64>(std::numeric_limits<int64>::max()) + 1, "", status);
    FAIL() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "writing too many bytes to the buffer.");
  }
  store.write_at(position, 0, "", status);
  EXPECT_EQ(store.signals(), 0) << "a count of 0 signals nothing";
  EXPECT_EQ(position, 0);
  // The lock was not left taken: a reader still gets in.
  char byte;
  store.read_at(false, position, 1, &byte, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
}

TEST(BufferTest, NonBlockingReadAtTheEndReportsEndOfData) {
  for (bool writer : {false, true}) {
    Test_store store;
    Nym_status status;
    if (writer) store.connect_ostream(status);
    char data[4];
    int64 position = 0;
    EXPECT_EQ(store.read_at(false, position, sizeof data, data, status), 0u);
    EXPECT_EQ(status.value(), NYM_S_END_OF_DATA) << "writer: " << writer;
    EXPECT_EQ(position, 0);
  }
}

TEST(BufferTest, BlockingReadWithoutWriterReportsEndOfData) {
  Test_store store("ab");
  Nym_status status;
  char data[4];
  int64 position = 2;
  EXPECT_EQ(store.read_at(true, position, sizeof data, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
}

TEST(BufferTest, SleepingReaderWakesForTheFirstByte) {
  nym_test::Watchdog watchdog("SleepingReaderWakesForTheFirstByte");
  Test_store store;
  Nym_status writer_status;
  store.connect_ostream(writer_status);
  uint64 got = 0;
  char data[1000] = {};
  Nym_status reader_status(0x1234);
  std::thread reader([&] {
    int64 position = 0;
    got = store.read_at(true, position, sizeof data, data, reader_status);
  });
  until([&] { return store.sleeping() == 1; });
  store.append("x");
  reader.join();
  EXPECT_EQ(got, 1u);
  EXPECT_EQ(data[0], 'x');
  EXPECT_TRUE(reader_status.is_clear());
  store.disconnect_ostream();
}

TEST(BufferTest, WriterLeavingWakesReaderToEndOfData) {
  nym_test::Watchdog watchdog("WriterLeavingWakesReaderToEndOfData");
  Test_store store("abc");
  Nym_status status;
  store.connect_ostream(status);
  Nym_status reader_status;
  uint64 got = 99;
  std::thread reader([&] {
    int64 position = 3;
    char data[8];
    got = store.read_at(true, position, sizeof data, data, reader_status);
  });
  until([&] { return store.sleeping() == 1; });
  store.disconnect_ostream();
  reader.join();
  EXPECT_EQ(got, 0u);
  EXPECT_EQ(reader_status.value(), NYM_S_END_OF_DATA);
}

TEST(BufferTest, SizeWaitsForTheWriterOnlyWhenAsked) {
  nym_test::Watchdog watchdog("SizeWaitsForTheWriterOnlyWhenAsked");
  Test_store store("abc");
  Nym_status status;
  store.connect_ostream(status);
  EXPECT_EQ(store.size(false, status), 3);
  EXPECT_TRUE(status.is_clear());
  int64 final_size = -1;
  Nym_status size_status;
  std::thread sizer([&] { final_size = store.size(true, size_status); });
  until([&] { return store.sleeping() == 1; });
  store.append("defg");
  until([&] { return store.sleeping() == 1 && store.signals() >= 1; });
  store.append("hi");
  store.disconnect_ostream();
  sizer.join();
  EXPECT_EQ(final_size, 9);
  EXPECT_TRUE(size_status.is_clear());
}

TEST(BufferTest, ReadersShareTheLockAndShutTheWriterOut) {
  nym_test::Watchdog watchdog("ReadersShareTheLockAndShutTheWriterOut");
  Test_store store("abcdef");
  store.hold_reads(true);
  auto read_one = [&] {
    Nym_status status;
    int64 position = 0;
    char byte;
    store.read_at(false, position, 1, &byte, status);
  };
  std::thread r1(read_one);
  std::thread r2(read_one);
  until([&] { return store.readers_inside() == 2; });  // both inside at once
  std::atomic<bool> started{false};
  std::atomic<bool> written{false};
  std::thread writer([&] {
    started = true;
    store.append("g");
    written = true;
  });
  until([&] { return started.load(); });
  for (int i = 0; i < 1000; ++i) std::this_thread::yield();
  EXPECT_FALSE(written.load()) << "the writer got in while readers were inside";
  store.hold_reads(false);
  r1.join();
  r2.join();
  writer.join();
  EXPECT_TRUE(written.load());
}

// The last reader out may be another thread than the first one in: it releases the lock.
TEST(BufferTest, LastReaderOutReleasesForTheWriter) {
  nym_test::Watchdog watchdog("LastReaderOutReleasesForTheWriter");
  Test_store store;
  store.lock_for_reading();
  std::thread second([&] {
    store.lock_for_reading();
  });
  second.join();
  store.unlock_for_reading();  // the first reader leaves; the second still reads
  std::thread last([&] { store.unlock_for_reading(); });
  last.join();
  store.append("x");  // would hang if the group had not released the writer lock
  Nym_status status;
  EXPECT_EQ(store.size(false, status), 1);
}

namespace {

std::string all_bytes(const Nym_buffer& store) {
  Nym_status status;
  Nym_unbuffered_istream in(store, false, status);
  std::string bytes(64, '\0');
  bytes.resize(in.read_at(0, bytes.size(), &bytes[0], status));
  return bytes;
}

void spin_a_while() {
  for (int i = 0; i < 2000; ++i) std::this_thread::yield();
}

// A reads first, so it took the writer lock for the group; B starts reading; A stops and
// writes while B is still inside. A's write waits for B, whose read sees one version.
template <class Store>
void check_write_waits_for_the_group_it_opened(Store& store) {
  Nym_status status;
  Nym_ostream out(store, status);
  const std::string before = all_bytes(store);
  std::atomic<int> stage{0};
  bool written_early = true;
  std::string seen;
  store.lock_for_reading();
  std::thread b([&] {
    store.lock_for_reading();
    stage = 1;
    until([&] { return stage.load() >= 2; });
    spin_a_while();
    written_early = stage.load() == 3;
    seen = all_bytes(store);
    store.unlock_for_reading();
  });
  until([&] { return stage.load() == 1; });
  store.unlock_for_reading();
  stage = 2;
  out.write(4, "XXXX", status);
  stage = 3;
  b.join();
  EXPECT_FALSE(written_early) << "the write got in beside a reader";
  EXPECT_EQ(seen, before);
  EXPECT_EQ(all_bytes(store).substr(0, 4), "XXXX");
}

}  // namespace

TEST(BufferLockTest, AReaderThatWritesWaitsForTheRestOfItsGroup) {
  nym_test::Watchdog watchdog("AReaderThatWritesWaitsForTheRestOfItsGroup");
  Nstring narrow = "abcdefgh";
  Open<Nym_string_buffer> narrow_store(narrow, false);
  check_write_waits_for_the_group_it_opened(narrow_store);
  Wstring wide = u"abcdefgh";
  Open<Nym_wstring_buffer> wide_store(wide);
  check_write_waits_for_the_group_it_opened(wide_store);
}

// A write under the thread's own read lock would wait for itself: it raises, in the thread that
// opened the group and in those that joined it, beyond the few noted in place too. A read
// under the thread's own write lock is covered by it, and lets no other reader in.
TEST(BufferLockTest, TheLockAThreadHoldsDecidesItsNext) {
  nym_test::Watchdog watchdog("TheLockAThreadHoldsDecidesItsNext");
  Nstring text = "abc";
  Open<Nym_string_buffer> store(text, false);
  Nym_status status;
  Nym_ostream out(store, status);
  constexpr int READERS = 6;
  std::atomic<int> holding{0};
  std::atomic<int> raised{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < READERS; ++i) {
    readers.emplace_back([&] {
      store.lock_for_reading();
      ++holding;
      until([&] { return holding.load() == READERS; });
      try {
        Nym_status own;
        out.write_at(0, 1, "x", own);
      } catch (const std::logic_error& e) {
        if (std::string(e.what()) == "Nym_buffer::write_lock - this thread holds a read lock on the buffer.") ++raised;
      }
      store.unlock_for_reading();
    });
  }
  for (auto& t : readers) t.join();
  EXPECT_EQ(raised.load(), READERS);

  store.lock_for_writing();
  store.lock_for_reading();
  std::atomic<bool> read{false};
  std::thread reader([&] { read = !all_bytes(store).empty(); });
  spin_a_while();
  store.unlock_for_reading();
  spin_a_while();
  EXPECT_FALSE(read.load()) << "a reader got in beside the write";
  store.unlock_for_writing();
  reader.join();
  EXPECT_TRUE(read.load());
}

struct Advance_case {
  int64 position;
  int64 offset;
  int64 result;  // -1: underflow, -2: overflow
};

class AdvanceTest : public testing::TestWithParam<Advance_case> {};

TEST_P(AdvanceTest, KeepsPositionsWithinRange) {
  const auto c = GetParam();
  if (c.result == -1) {
    try {
      nym_advance(c.position, c.offset);
      FAIL() << "no exception";
    } catch (const std::underflow_error& e) {
      EXPECT_STREQ(e.what(), "Stream position going negative.");
    }
  } else if (c.result == -2) {
    try {
      nym_advance(c.position, c.offset);
      FAIL() << "no exception";
    } catch (const std::overflow_error& e) {
      EXPECT_STREQ(e.what(), "Stream position too large.");
    }
  } else {
    EXPECT_EQ(nym_advance(c.position, c.offset), c.result);
  }
}

constexpr int64 MAX64 = std::numeric_limits<int64>::max();
constexpr int64 MIN64 = std::numeric_limits<int64>::min();

INSTANTIATE_TEST_SUITE_P(Cases, AdvanceTest,
                         testing::Values(Advance_case{0, -1, -1}, Advance_case{MAX64, 1, -2},
                                         Advance_case{5, -5, 0}, Advance_case{5, 3, 8},
                                         Advance_case{0, MAX64, MAX64}, Advance_case{1, MAX64, -2},
                                         Advance_case{MAX64, MIN64, -1}, Advance_case{MAX64, -MAX64, 0},
                                         Advance_case{-1, 5, -1}));

TEST(BufferSeekTest, ModesAndBadSeeks) {
  Test_store store("0123456789");
  Nym_status status;
  int64 position = 4;
  store.seek_at(NYM_SEEK_BEGIN, 3, position, status);
  EXPECT_EQ(position, 3);
  store.seek_at(NYM_SEEK_CURRENT, 2, position, status);
  EXPECT_EQ(position, 5);
  store.seek_at(NYM_SEEK_END, -1, position, status);
  EXPECT_EQ(position, 9);
  store.seek_at(NYM_SEEK_END, 5, position, status);
  EXPECT_EQ(position, 15) << "beyond the end is legal";
  EXPECT_TRUE(status.is_clear());
  store.seek_at(NYM_SEEK_BEGIN, -1, position, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);
  EXPECT_EQ(position, 15);
  store.seek_at(NYM_SEEK_CURRENT, MAX64, position, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);
  EXPECT_EQ(position, 15);
  store.seek_at(static_cast<Nym_seek_mode>(3), 0, position, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);
  EXPECT_EQ(position, 15);
}
