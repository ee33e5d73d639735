#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "elsewhere.h"
#include "helper_process.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::can_read_elsewhere;
using nym_test::can_write_elsewhere;
using nym_test::what_of;

namespace {

const char* const NO_WRITE_LOCK = "Nym_read_write_semaphore::write_unlock - there is no write lock";

}  // namespace

TEST(ReadWriteSemaphoreTest, EachHoldNeedsItsOwnUnlockAndTheHolderMayChangeKind) {
  Nym_read_write_semaphore rw;
  rw.read_lock();
  rw.read_lock();
  rw.read_unlock();
  nym_test::elsewhere([&] {  // holds nothing: changes nothing
    rw.read_unlock();
    return true;
  });
  EXPECT_FALSE(can_write_elsewhere(rw));
  rw.read_unlock();
  EXPECT_TRUE(can_write_elsewhere(rw));

  rw.write_lock();
  rw.write_lock();
  rw.write_unlock();
  EXPECT_FALSE(can_read_elsewhere(rw));
  rw.write_unlock();
  EXPECT_TRUE(can_read_elsewhere(rw));
  EXPECT_EQ(what_of([&] { rw.write_unlock(); }), NO_WRITE_LOCK);
  EXPECT_TRUE(can_write_elsewhere(rw));

  // The writer may read, and keeps reading once it write-unlocks (others may join, not write);
  // the sole reader may write, and keeps its reads.
  rw.write_lock();
  EXPECT_TRUE(rw.try_read_lock());
  rw.write_unlock();
  EXPECT_TRUE(can_read_elsewhere(rw));
  EXPECT_FALSE(can_write_elsewhere(rw));
  EXPECT_TRUE(rw.try_write_lock());
  EXPECT_FALSE(can_read_elsewhere(rw));
  rw.write_unlock();
  rw.read_unlock();
  EXPECT_TRUE(can_write_elsewhere(rw));

  // Beside another reader the upgrade is refused and leaves no write hold behind.
  rw.read_lock();
  EXPECT_FALSE(nym_test::elsewhere([&] {
    Nym_read_lock reading(rw);
    return rw.try_write_lock();
  }));
  EXPECT_EQ(what_of([&] { rw.write_unlock(); }), NO_WRITE_LOCK);
  rw.read_unlock();
}

// A writer waits for the last reader, while readers that come meanwhile get in.
TEST(ReadWriteSemaphoreTest, AWaitingWriterDoesNotStopNewReaders) {
  Nym_read_write_semaphore rw;
  std::atomic<bool> written{false};
  std::thread writer;
  {
    Nym_read_lock reading(rw);
    writer = std::thread([&] {
      Nym_write_lock writing(rw);
      written = true;
    });
    EXPECT_TRUE(can_read_elsewhere(rw));
    EXPECT_FALSE(written);
  }
  writer.join();
  EXPECT_TRUE(can_write_elsewhere(rw));
}

// In a child process: neither of two upgrading readers gets through, while a third thread
// may still read.
TEST(ReadWriteSemaphoreTest, TwoReadersThatBothUpgradeWaitForEver) {
  EXPECT_EQ(nym_test::run_helper({"rw-upgrade-deadlock", "500"}, std::chrono::seconds(60)), 0);
}

// Readers (some recursive) and writers (some downgrading) at once: a reader never sees the two
// halves of the value differ, which a writer makes equal again before it lets go.
TEST(ReadWriteSemaphoreTest, StressReadersNeverSeeAHalfMadeWrite) {
  constexpr int ROUNDS = 2000;
  Nym_read_write_semaphore rw;
  Nym_event go;
  long long first = 0, second = 0;  // guarded by rw
  std::atomic<int> torn{0};
  auto check = [&] {  // with a pause, so that a writer let in beside a reader gets caught
    const long long seen = first;
    std::this_thread::yield();
    if (seen != second || seen != first) ++torn;
  };
  std::vector<std::thread> threads;
  for (int r = 0; r < 4; ++r) {
    threads.emplace_back([&, r] {
      go.wait();
      for (int i = 0; i < ROUNDS; ++i) {
        Nym_read_lock reading(rw);
        check();
        if (r % 2 == 1 && i % 3 == 0) {
          Nym_read_lock again(rw);
          check();
        }
      }
    });
  }
  for (int w = 0; w < 2; ++w) {
    threads.emplace_back([&, w] {
      go.wait();
      for (int i = 0; i < ROUNDS; ++i) {
        rw.write_lock();
        ++first;
        if (i % 5 == 0) Nym_write_lock again(rw);
        std::this_thread::yield();
        second = first;
        if (w == 1 && i % 2 == 0) rw.read_lock();
        rw.write_unlock();
        if (w == 1 && i % 2 == 0) {
          check();
          rw.read_unlock();
        }
      }
    });
  }
  go.signal();
  for (auto& t : threads) t.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(first, 2 * ROUNDS);
  EXPECT_EQ(second, first);
}
