// The lowest locks and the atomics they stand on.
#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <utility>
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

// Threads raise a plain counter under the lock and atomic ones beside it: a lost update shows a
// lock that let two holders in, or an add that was not atomic.
template <class Lock>
void expect_no_update_lost(Lock& lock) {
  constexpr int THREADS = 4, ROUNDS = 5000;
  long long counter = 0;
  volatile int word = 0;
  volatile short narrow = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < THREADS; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < ROUNDS; ++i) {
        lock.lock();
        const long long seen = counter;
        counter = seen + 1;
        lock.unlock();
        atomic::xadd(&word, 3);
        atomic::xadd(&narrow, short(1));
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(counter, THREADS * ROUNDS);
  EXPECT_EQ(atomic::xadd(&word, 0), 3 * THREADS * ROUNDS);
  EXPECT_EQ(atomic::xadd(&narrow, short(0)), short(THREADS * ROUNDS));
}

}  // namespace

template <class T>
class AtomicTest : public testing::Test {};
using Widths = testing::Types<char, short, int>;
TYPED_TEST_SUITE(AtomicTest, Widths);

TYPED_TEST(AtomicTest, EachOperationAnswersTheValueBefore) {
  using T = TypeParam;
  volatile T word = 5;
  EXPECT_EQ(atomic::xcompexch(&word, T(1), T(0)), T(5));
  EXPECT_EQ(word, T(5)) << "stored only on a match";
  EXPECT_EQ(atomic::xcompexch(&word, T(1), T(5)), T(5));
  EXPECT_EQ(atomic::xexchange(&word, T(40)), T(1));
  EXPECT_EQ(atomic::xadd(&word, T(2)), T(40));
  word = std::numeric_limits<T>::max();
  atomic::xadd(&word, T(1));
  EXPECT_EQ(word, std::numeric_limits<T>::min());
}

TEST(AtomicTest, TheCounterCountsFromOneAndWrapsToZero) {
  Nym_atomic_counter<unsigned char> small;
  for (int i = 1; i <= 255; ++i) ASSERT_EQ(small.next(), static_cast<unsigned char>(i));
  EXPECT_EQ(small.next(), 0u);
  EXPECT_EQ(small.next(), 1u);
  EXPECT_EQ(small.value(), 1u);
  EXPECT_TRUE(free_elsewhere(atomic::section)) << "the library-wide lock starts free";
}

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

// A copy, moved or assigned, takes the source's word as it stands; the source keeps its own.
TEST(LatchTest, NotRecursiveAndCopiesTakeTheWordAsItStands) {
  Nym_latch latch(true);
  EXPECT_FALSE(latch.try_lock());
  latch.unlock();
  latch.unlock();  // of a free latch: it stays free
  EXPECT_TRUE(latch.try_lock());
  EXPECT_FALSE(latch.try_lock());
  for (bool taken : {false, true}) {
    Nym_latch source(taken), copied(source), moved(std::move(source)), assigned(!taken), move_assigned(!taken);
    assigned = source;
    move_assigned = std::move(source);
    for (Nym_latch* l : {&copied, &moved, &assigned, &move_assigned, &source}) {
      EXPECT_EQ(l->try_lock(), !taken) << "source taken: " << taken;
    }
  }
}
