// Asking a lock a question from a thread of its own.
#ifndef NYM_TEST_SYNC_ELSEWHERE_H
#define NYM_TEST_SYNC_ELSEWHERE_H

#include <thread>

#include "nym/read_write_semaphore.h"

namespace nym_test {

// f() run on a new thread, which has ended when this returns.
template <class F>
bool elsewhere(F f) {
  bool answer = false;
  std::thread([&] { answer = f(); }).join();
  return answer;
}

// Whether another thread could take the lock now (it lets go at once).
inline bool can_read_elsewhere(const nym::Nym_read_write_semaphore& rw) {
  return elsewhere([&] { return rw.try_read_lock() && (rw.read_unlock(), true); });
}

inline bool can_write_elsewhere(nym::Nym_read_write_semaphore& rw) {
  return elsewhere([&] { return rw.try_write_lock() && (rw.write_unlock(), true); });
}

}  // namespace nym_test

#endif
