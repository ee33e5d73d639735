#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <time.h>
#endif

#include "nym/semaphore.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;
using std::chrono::milliseconds;

namespace {

// Processor time used by the calling thread so far.
milliseconds thread_cpu_time() {
#if defined(_WIN32)
  FILETIME created, ended, kernel, user;
  GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user);
  auto ticks = [](const FILETIME& t) { return (static_cast<long long>(t.dwHighDateTime) << 32) | t.dwLowDateTime; };
  return milliseconds((ticks(kernel) + ticks(user)) / 10000);
#else
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return milliseconds(now.tv_sec * 1000LL + now.tv_nsec / 1000000);
#endif
}

}  // namespace

// A give-back past the maximum is refused, with the count kept, also where the sum would wrap
// round to a small number.
TEST(SemaphoreTest, CountsTakenUnitsAndRefusesMisuse) {
  Nym_semaphore semaphore(2, 2);
  semaphore.lock(2);
  EXPECT_EQ(semaphore.count(), 2u);
  EXPECT_FALSE(semaphore.try_lock(1));
  semaphore.lock(0);  // at once, with none free
  semaphore.unlock(1);
  EXPECT_TRUE(semaphore.try_lock(1));
  EXPECT_EQ(what_of([] { Nym_semaphore(3, 2); }), "Initial value more than maximum on semaphore.");
  EXPECT_EQ(what_of([&] { semaphore.lock(3); }), "Requested more than maximum on semaphore.");
  EXPECT_EQ(what_of([&] { semaphore.try_lock(3); }), "Requested more than maximum on semaphore.");
  const unsigned int cases[][3] = {
      {2, 2, 1}, {0, 0, 1}, {1, 5, 0xFFFFFFFFu}, {3, 5, 0xFFFFFFFEu}, {0xFFFFFFFFu, 0xFFFFFFFFu, 1}};
  for (const auto& c : cases) {
    Nym_semaphore given(c[0], c[1]);
    EXPECT_EQ(what_of([&] { given.unlock(c[2]); }), "Unlocking too much on semaphore.") << c[2];
    EXPECT_TRUE(given.try_lock(c[0])) << c[2];
    EXPECT_EQ(given.count(), c[1]) << c[2];
  }
}

// Threads taking different amounts at once never have more than the maximum out, and none is
// left asleep while enough units are free (the run would stop).
TEST(SemaphoreTest, MixedAmountsStayWithinTheMaximumAndAllFinish) {
  constexpr unsigned int MAXIMUM = 5;
  Nym_semaphore semaphore(MAXIMUM, MAXIMUM);
  Nym_event go;
  std::atomic<unsigned int> out{0}, over{0};
  std::vector<std::thread> threads;
  for (unsigned int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      go.wait();
      for (unsigned int i = 0; i < 400; ++i) {
        const unsigned int units = 1 + (i * 3 + t * 2) % MAXIMUM;
        semaphore.lock(units);
        if ((out += units) > MAXIMUM) ++over;
        if (i % 4 == 0) std::this_thread::yield();
        out -= units;
        semaphore.unlock(units);
      }
    });
  }
  go.signal();
  for (auto& t : threads) t.join();
  EXPECT_EQ(over, 0u);
  EXPECT_EQ(semaphore.count(), 0u);
}

// A waiter for more units than are free sleeps: a give-back that cannot serve it does not set it
// spinning.
TEST(SemaphoreTest, AWaiterForMoreThanIsFreeSleeps) {
  const auto start = std::chrono::steady_clock::now();
  for (const auto busy = thread_cpu_time(); thread_cpu_time() - busy < milliseconds(20);) {
    if (std::chrono::steady_clock::now() - start > std::chrono::seconds(2)) GTEST_SKIP() << "no thread CPU clock here";
  }
  Nym_semaphore semaphore(0, 5), started(0, 1);
  semaphore.unlock(1);  // a give-back: the waiter is told to look
  milliseconds used{};
  std::thread waiter([&] {
    const auto before = thread_cpu_time();
    started.unlock(1);
    semaphore.lock(5);
    used = thread_cpu_time() - before;
  });
  started.lock(1);
  std::this_thread::sleep_for(std::chrono::seconds(1));  // the span measured, not a hand-over
  semaphore.unlock(4);
  waiter.join();
  EXPECT_LT(used, milliseconds(100));
}
