#include <gtest/gtest.h>

#include <limits>
#include <thread>
#include <vector>

#include "nym/atomic.h"
#include "watchdog.h"

using namespace nym;

template <class T>
class AtomicTest : public testing::Test {};
using Widths = testing::Types<char, short, int>;
TYPED_TEST_SUITE(AtomicTest, Widths);

TYPED_TEST(AtomicTest, CompareExchangeStoresOnlyOnMatch) {
  using T = TypeParam;
  volatile T word = 5;
  EXPECT_EQ(atomic::xcompexch(&word, T(1), T(0)), T(5));
  EXPECT_EQ(word, T(5));
  EXPECT_EQ(atomic::xcompexch(&word, T(1), T(5)), T(5));
  EXPECT_EQ(word, T(1));
}

TYPED_TEST(AtomicTest, AddAnswersTheValueBeforeAndWraps) {
  using T = TypeParam;
  volatile T word = 40;
  EXPECT_EQ(atomic::xadd(&word, T(2)), T(40));
  EXPECT_EQ(word, T(42));
  EXPECT_EQ(atomic::xadd(&word, T(-50)), T(42));
  EXPECT_EQ(word, T(-8));
  word = std::numeric_limits<T>::max();
  atomic::xadd(&word, T(1));
  EXPECT_EQ(word, std::numeric_limits<T>::min());
}

TYPED_TEST(AtomicTest, ExchangeAnswersTheValueBefore) {
  using T = TypeParam;
  volatile T word = 7;
  EXPECT_EQ(atomic::xexchange(&word, T(-3)), T(7));
  EXPECT_EQ(word, T(-3));
}

TEST(AtomicTest, ConcurrentAddsAreNotLost) {
  nym_test::Watchdog watchdog("AtomicTest.ConcurrentAddsAreNotLost");
  volatile int word = 0;
  volatile short narrow = 0;
  constexpr int THREADS = 4;
  constexpr int ROUNDS = 10000;
  std::vector<std::thread> threads;
  for (int t = 0; t < THREADS; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < ROUNDS; ++i) {
        atomic::xadd(&word, 3);
        atomic::xadd(&narrow, short(1));
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(atomic::xadd(&word, 0), 3 * THREADS * ROUNDS);
  EXPECT_EQ(atomic::xadd(&narrow, short(0)), short(THREADS * ROUNDS));
}

TEST(AtomicCounterTest, CountsFromOneAndWrapsToZero) {
  Nym_atomic_counter<unsigned int> counter;
  EXPECT_EQ(counter.value(), 0u);
  EXPECT_EQ(counter.next(), 1u);
  EXPECT_EQ(counter.next(), 2u);
  EXPECT_EQ(counter.value(), 2u);

  Nym_atomic_counter<unsigned char> small;
  for (int i = 1; i <= 255; ++i) ASSERT_EQ(small.next(), static_cast<unsigned char>(i));
  EXPECT_EQ(small.next(), 0u);
  EXPECT_EQ(small.next(), 1u);
}

TEST(AtomicSectionTest, IsAFreeLibraryWideLock) {
  ASSERT_TRUE(atomic::section.try_lock());
  atomic::section.unlock();
}
