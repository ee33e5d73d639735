#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "nym/event.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

TEST(EventTest, ManualEventStaysSignalledUntilResetAndAutoResetOneLookPerSignal) {
  Nym_event manual, automatic(false, nullptr, true);
  EXPECT_FALSE(manual.signaled() || manual.wait(0) || automatic.wait(0));
  manual.signal();
  automatic.signal();
  automatic.signal();  // signals do not add up
  EXPECT_TRUE(manual.signaled() && manual.wait(0) && manual.wait(10));
  EXPECT_TRUE(automatic.wait(0));
  EXPECT_FALSE(automatic.signaled());
  manual.reset();
  EXPECT_FALSE(manual.wait(10));
  EXPECT_TRUE(Nym_event(true).signaled());
}

// One signal of a manual event releases all waiters; an auto-reset event needs one per waiter.
TEST(EventTest, WaitersPassOnePerSignalOnlyWhereTheEventResetsItself) {
  Nym_event manual, automatic(false, nullptr, true);
  std::atomic<int> passed{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; ++i) waiters.emplace_back([&] { manual.wait(); });
  for (int i = 0; i < 3; ++i) {
    waiters.emplace_back([&] {
      automatic.wait();
      ++passed;
    });
  }
  manual.signal();
  // A round ends when a waiter, not this look, took the signal: an event that let all waiters
  // through would keep it, and the watchdog would end the test.
  for (int round = 0; round < 3; ++round) {
    automatic.signal();
    while (automatic.signaled()) automatic.signal();
  }
  for (auto& t : waiters) t.join();
  EXPECT_EQ(passed, 3);
}

#if defined(_WIN32)
TEST(MultiEventTest, WaitsOnUpTo64AndAnswersTheLowestSignalled) {
  std::vector<Nym_event> events(65);
  std::vector<Nym_event*> pointers;
  for (auto& e : events) pointers.push_back(&e);
  EXPECT_EQ(what_of([&] { Nym_multi_event group(pointers); }),
            "Nym_multi_event::Nym_multi_event - MAXIMUM_WAIT_OBJECTS exceeded");
  EXPECT_EQ(what_of([&] { Nym_multi_event nulls({nullptr}); }), "Nym_multi_event::Nym_multi_event - null event");
  pointers.resize(64);
  Nym_multi_event all(pointers);
  events[63].signal();
  EXPECT_TRUE(all.signaled(63));
  EXPECT_FALSE(all.signaled(62));
  EXPECT_EQ(what_of([&] { all.signaled(64); }), "Nym_multi_event::signaled - index out of range");
  EXPECT_EQ(what_of([] { Nym_multi_event(std::vector<Nym_event*>{}).signaled(0); }),
            "Nym_multi_event::signaled - index out of range");

  Nym_event& a = events[0];
  Nym_event& b = events[1];
  Nym_event c(false, nullptr, true);
  Nym_multi_event group({&a, &b, &c});
  unsigned int index = 99;
  EXPECT_FALSE(group.wait_for_one(index, 0));
  EXPECT_EQ(index, 99u);
  c.signal();
  b.signal();
  EXPECT_TRUE(group.wait_for_one(index, 0));
  EXPECT_EQ(index, 1u);
  group.wait_for_one(index);
  EXPECT_EQ(index, 1u);
  EXPECT_FALSE(group.wait_for_all(10));
  a.signal();
  EXPECT_TRUE(group.wait_for_all(0));  // takes the auto-reset event's signal
  EXPECT_FALSE(c.signaled());
  c.signal();
  group.wait_for_all();
  EXPECT_FALSE(group.signaled(2));
}
#endif
