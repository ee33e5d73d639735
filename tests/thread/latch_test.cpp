#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

#include "nym/latch.h"
#include "lock_contention.h"
#include "watchdog.h"

using namespace nym;

TEST(LatchTest, ConstructedTakenRefusesUntilUnlocked) {
  Nym_latch latch(true);
  EXPECT_FALSE(latch.try_lock());
  EXPECT_FALSE(latch.try_lock());
  latch.unlock();
  EXPECT_TRUE(latch.try_lock());
  EXPECT_FALSE(latch.try_lock());  // not recursive
  latch.unlock();
}

TEST(LatchTest, UnlockOfAFreeLatchLeavesItFree) {
  Nym_latch latch;
  latch.unlock();
  latch.unlock();
  EXPECT_TRUE(latch.try_lock());
  EXPECT_FALSE(latch.try_lock());
}

TEST(LatchTest, AllFourCopiesTakeTheWordAsItStands) {
  for (bool taken : {false, true}) {
    Nym_latch source(taken);
    Nym_latch copied(source);
    Nym_latch moved(std::move(source));
    Nym_latch assigned(!taken);
    assigned = source;
    Nym_latch move_assigned(!taken);
    move_assigned = std::move(source);
    for (Nym_latch* l : {&copied, &moved, &assigned, &move_assigned}) {
      EXPECT_EQ(l->try_lock(), !taken) << "source taken: " << taken;
    }
    EXPECT_EQ(source.try_lock(), !taken) << "the source keeps its state";
  }
}

TEST(LatchTest, LockWaitsForTheHolder) {
  nym_test::Watchdog watchdog("LatchTest.LockWaitsForTheHolder");
  Nym_latch latch;
  EXPECT_EQ(nym_test::count_under_lock(latch),
            static_cast<long long>(nym_test::CONTENTION_THREADS) * nym_test::CONTENTION_ROUNDS);
}
