#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "nym/critical.h"
#include "lock_contention.h"
#include "watchdog.h"

using namespace nym;

namespace {

bool try_lock_elsewhere(Nym_critical& section) {
  bool taken = false;
  std::thread other([&] {
    taken = section.try_lock();
    if (taken) section.unlock();
  });
  other.join();
  return taken;
}

}  // namespace

TEST(CriticalTest, ConstructedLockedIsHeldByTheConstructingThread) {
  nym_test::Watchdog watchdog("ConstructedLockedIsHeldByTheConstructingThread");
  Nym_critical section(true);
  EXPECT_FALSE(try_lock_elsewhere(section));
  EXPECT_TRUE(section.try_lock());  // recursive for its owner
  section.unlock();
  EXPECT_FALSE(try_lock_elsewhere(section));
  section.unlock();
  EXPECT_TRUE(try_lock_elsewhere(section));
}

TEST(CriticalTest, UnlockedByDefault) {
  nym_test::Watchdog watchdog("UnlockedByDefault");
  Nym_critical section;
  EXPECT_TRUE(try_lock_elsewhere(section));
}

TEST(CriticalTest, RecursiveLockNeedsAsManyUnlocks) {
  nym_test::Watchdog watchdog("RecursiveLockNeedsAsManyUnlocks");
  Nym_critical section;
  section.lock();
  section.lock();
  section.lock();
  for (int i = 0; i < 2; ++i) {
    section.unlock();
    EXPECT_FALSE(try_lock_elsewhere(section)) << "after unlock " << i + 1;
  }
  section.unlock();
  EXPECT_TRUE(try_lock_elsewhere(section));
}

// A buffer's reader group takes the section in one thread and may release it in another.
TEST(CriticalTest, AnotherThreadMayRelease) {
  nym_test::Watchdog watchdog("AnotherThreadMayRelease");
  Nym_critical section;
  section.lock();
  std::thread releaser([&] { section.unlock(); });
  releaser.join();
  EXPECT_TRUE(try_lock_elsewhere(section));
}

TEST(CriticalTest, ExcludesOtherThreads) {
  nym_test::Watchdog watchdog("ExcludesOtherThreads");
  Nym_critical section;
  EXPECT_EQ(nym_test::count_under_lock(section),
            static_cast<long long>(nym_test::CONTENTION_THREADS) * nym_test::CONTENTION_ROUNDS);
}
