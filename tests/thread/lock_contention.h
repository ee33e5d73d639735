// Several threads raising one plain counter under a lock: any lost update shows a lock that
// let two holders in.
#ifndef NYM_TEST_LOCK_CONTENTION_H
#define NYM_TEST_LOCK_CONTENTION_H

#include <thread>
#include <vector>

namespace nym_test {

constexpr int CONTENTION_THREADS = 4;
constexpr int CONTENTION_ROUNDS = 20000;

template <class Lock>
long long count_under_lock(Lock& lock) {
  long long counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < CONTENTION_THREADS; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < CONTENTION_ROUNDS; ++i) {
        lock.lock();
        const long long seen = counter;
        counter = seen + 1;
        lock.unlock();
      }
    });
  }
  for (auto& t : threads) t.join();
  return counter;
}

}  // namespace nym_test

#endif
