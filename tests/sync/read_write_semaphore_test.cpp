#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "elsewhere.h"
#include "helper_process.h"
#include "nym/event.h"
#include "nym/read_write_semaphore.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::elsewhere;
using nym_test::what_of;

namespace {

const char* const NO_WRITE_LOCK = "Nym_read_write_semaphore::write_unlock - there is no write lock";

// What another thread could take now (it lets go at once): "r" to read, "w" to write.
std::string open_elsewhere(Nym_read_write_semaphore& rw) {
  const bool read = elsewhere([&] { return rw.try_read_lock() && (rw.read_unlock(), true); });
  const bool write = elsewhere([&] { return rw.try_write_lock() && (rw.write_unlock(), true); });
  return std::string(read ? "r" : "") + (write ? "w" : "");
}

}  // namespace

TEST(ReadWriteSemaphoreTest, EachHoldNeedsItsOwnUnlockAndTheHolderMayChangeKind) {
  Nym_read_write_semaphore rw;
  rw.read_lock();
  rw.read_lock();
  rw.read_unlock();
  elsewhere([&] {  // holds nothing: changes nothing
    rw.read_unlock();
    return true;
  });
  EXPECT_EQ(open_elsewhere(rw), "r");
  rw.read_unlock();
  EXPECT_EQ(open_elsewhere(rw), "rw");
  rw.write_lock();
  rw.write_lock();
  rw.write_unlock();
  EXPECT_EQ(open_elsewhere(rw), "");
  rw.write_unlock();
  EXPECT_EQ(what_of([&] { rw.write_unlock(); }), NO_WRITE_LOCK);
  EXPECT_EQ(open_elsewhere(rw), "rw");

  // The writer may read, and keeps reading once it write-unlocks (others may join, not write);
  // the sole reader may write, and keeps its reads.
  rw.write_lock();
  EXPECT_TRUE(rw.try_read_lock());
  rw.write_unlock();
  EXPECT_EQ(open_elsewhere(rw), "r");
  EXPECT_TRUE(rw.try_write_lock());
  EXPECT_EQ(open_elsewhere(rw), "");
  rw.write_unlock();
  rw.read_unlock();
  EXPECT_EQ(open_elsewhere(rw), "rw");

  // Beside another reader the upgrade is refused and leaves no write hold behind. A writer waits
  // for the last reader, while readers that come meanwhile get in.
  rw.read_lock();
  EXPECT_FALSE(elsewhere([&] {
    Nym_read_lock reading(rw);
    return rw.try_write_lock();
  }));
  EXPECT_EQ(what_of([&] { rw.write_unlock(); }), NO_WRITE_LOCK);
  std::atomic<bool> written{false};
  std::thread writer([&] {
    Nym_write_lock writing(rw);
    written = true;
  });
  EXPECT_EQ(open_elsewhere(rw), "r");
  EXPECT_FALSE(written);
  rw.read_unlock();
  writer.join();
  EXPECT_EQ(open_elsewhere(rw), "rw");
}

// In a child process: neither of two upgrading readers gets through, while a third thread may
// still read.
TEST(ReadWriteSemaphoreTest, TwoReadersThatBothUpgradeWaitForEver) {
  EXPECT_EQ(nym_test::run_helper({"rw-upgrade-deadlock", "500"}, std::chrono::seconds(60)), 0);
}

// Readers and writers (some recursive, one downgrading) at once: a reader never sees the two
// halves of the value differ, which a writer makes equal again before it lets go.
TEST(ReadWriteSemaphoreTest, StressReadersNeverSeeAHalfMadeWrite) {
  constexpr int ROUNDS = 500, READERS = 4;
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
  for (int t = 0; t < READERS + 2; ++t) {
    threads.emplace_back([&, t] {
      go.wait();
      for (int i = 0; i < ROUNDS; ++i) {
        if (t < READERS) {
          Nym_read_lock reading(rw);
          check();
          continue;
        }
        rw.write_lock();
        ++first;
        if (i % 5 == 0) Nym_write_lock again(rw);
        std::this_thread::yield();
        second = first;
        const bool downgrade = t == READERS && i % 2 == 0;
        if (downgrade) rw.read_lock();
        rw.write_unlock();
        if (downgrade) {
          check();
          rw.read_unlock();
        }
      }
    });
  }
  go.signal();
  for (auto& t : threads) t.join();
  EXPECT_EQ(std::make_tuple(torn.load(), first, second), std::make_tuple(0, 2LL * ROUNDS, 2LL * ROUNDS));
}
