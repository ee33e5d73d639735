#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "nym/event.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

// A manual event stays signalled until reset, and one signal releases all its waiters; an
// auto-reset event lets one look pass per signal, which do not add up, and needs one per waiter.
TEST(EventTest, ManualEventStaysSignalledUntilResetAndAutoResetPassesOneWaiterPerSignal) {
  Nym_event manual, automatic(false, nullptr, true);
  EXPECT_FALSE(manual.signaled() || manual.wait(0) || automatic.wait(0));
  manual.signal();
  automatic.signal();
  automatic.signal();
  EXPECT_TRUE(manual.signaled() && manual.wait(0) && manual.wait(10));
  EXPECT_TRUE(automatic.wait(0));
  EXPECT_FALSE(automatic.signaled());
  manual.reset();
  EXPECT_FALSE(manual.wait(10));
  EXPECT_TRUE(Nym_event(true).signaled());

  std::atomic<int> passed{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i) {
    waiters.emplace_back([&, i] {
      i % 2 == 0 ? manual.wait() : automatic.wait();
      ++passed;
    });
  }
  manual.signal();
  // A round ends when a waiter, not this look, took the signal: an event that let all waiters
  // through would keep it, and the watchdog would end the test.
  for (int round = 0; round < 2; ++round) {
    automatic.signal();
    while (automatic.signaled()) automatic.signal();
  }
  for (auto& t : waiters) t.join();
  EXPECT_EQ(passed, 4);
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
  EXPECT_TRUE(all.signaled(63) && !all.signaled(62));
  EXPECT_EQ(what_of([&] { all.signaled(64); }), "Nym_multi_event::signaled - index out of range");

  Nym_event automatic(false, nullptr, true);
  Nym_multi_event group({&events[0], &events[1], &automatic});
  unsigned int index = 99;
  EXPECT_TRUE(!group.wait_for_one(index, 0) && index == 99) << "a wait that runs out leaves the index";
  automatic.signal();
  events[1].signal();
  EXPECT_TRUE(group.wait_for_one(index, 0) && index == 1);
  EXPECT_FALSE(group.wait_for_all(10));
  events[0].signal();
  EXPECT_TRUE(group.wait_for_all(0) && !automatic.signaled()) << "takes the auto-reset event's signal";
  automatic.signal();
  group.wait_for_all();  // without a limit
  group.wait_for_one(index);
  EXPECT_EQ(index, 0u);
}
#endif
