// Nym_latch: a one-word spin lock that owns no system object.
//
// The word is 0 when free and 1 when taken. `lock` yields the processor once after every
// failed attempt, with no spin count and no back-off. The latch is not recursive: a thread
// that locks a latch it holds waits for ever. `unlock` does not check who took it. Meant for
// sections of a few instructions; use Nym_critical for anything longer.
#ifndef NYM_LATCH_H
#define NYM_LATCH_H

#include "nym/export.h"

namespace nym {

class NYM_API Nym_latch {
 public:
  // `locked` makes the latch start out taken.
  explicit Nym_latch(bool locked = false) : m_word(locked ? 1 : 0) {}
  // Copies take the word as it stands: a copy of a taken latch is taken.
  Nym_latch(const Nym_latch& other);
  Nym_latch(Nym_latch&& other);
  Nym_latch& operator=(const Nym_latch& other);
  Nym_latch& operator=(Nym_latch&& other);

  void lock();
  // One attempt: true when the latch was free and is now taken.
  bool try_lock();
  // Frees the latch; freeing a free latch leaves it free.
  void unlock();

 private:
  volatile int m_word;
};

}  // namespace nym

#endif
