// The lowest locks and the atomics they stand on.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "nym/atomic.h"
#include "nym/critical.h"
#include "nym/latch.h"

using namespace nym;

namespace {

// Whether another thread could take the lock now (it lets go at once).
template <class Lock>
bool free_elsewhere(Lock& lock) {
  bool taken = false;
  std::thread([&] { taken = lock.try_lock() && (lock.unlock(), true); }).join();
  return taken;
}

// Threads raise a plain counter under the lock and an atomic one beside it: a lost update shows a
// lock that let two holders in, or an add that was not atomic.
template <class Lock>
void expect_no_update_lost(Lock& lock) {
  constexpr int THREADS = 4, ROUNDS = 5000;
  long long counter = 0;
  volatile int word = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < THREADS; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < ROUNDS; ++i) {
        lock.lock();
        const long long seen = counter;
        counter = seen + 1;
        lock.unlock();
        atomic::xadd(&word, 3);
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(counter, THREADS * ROUNDS);
  EXPECT_EQ(atomic::xadd(&word, 0), 3 * THREADS * ROUNDS);
}

}  // namespace

TEST(LockTest, ConcurrentHoldersLoseNoUpdate) {
  Nym_critical section;
  expect_no_update_lost(section);
  Nym_latch latch;
  expect_no_update_lost(latch);
}

// A buffer's reader group takes the section in one thread and may release it in another.
TEST(CriticalTest, RecursiveForItsHolderAndReleasableElsewhere) {
  Nym_critical section(true);
  EXPECT_TRUE(section.try_lock());
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(free_elsewhere(section)) << "held " << 2 - i << " times";
    section.unlock();
  }
  EXPECT_TRUE(free_elsewhere(section));
  section.lock();
  std::thread([&] { section.unlock(); }).join();
  EXPECT_TRUE(free_elsewhere(section));
}
