// Asking a lock a question from a thread of its own.
#ifndef NYM_TEST_SYNC_ELSEWHERE_H
#define NYM_TEST_SYNC_ELSEWHERE_H

#include <thread>

namespace nym_test {

// f() run on a new thread, which has ended when this returns.
template <class F>
bool elsewhere(F f) {
  bool answer = false;
  std::thread([&] { answer = f(); }).join();
  return answer;
}

}  // namespace nym_test

#endif
