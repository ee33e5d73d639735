// Nym_semaphore: a counted semaphore from which several units are taken or given in one step.
//
// It is built from a Nym_critical, which guards the count and is never held in a wait, and a
// manual-reset Nym_event that tells waiters to look again. A give-back wakes every waiter
// to look; one that still finds too few units sleeps until the next give-back, however many
// units are free meanwhile, so waiting costs no processor time. There is no queue of waiters
// and no fairness: a waiter for many units may be passed by waiters for few.
//
// Misuse raises std::invalid_argument with the texts below; a failing system call raises
// Nym_sys_call_fail. All operations may be called from any thread, and the units given back
// need not be given by the thread that took them.
#ifndef NYM_SEMAPHORE_H
#define NYM_SEMAPHORE_H

#include "nym/critical.h"
#include "nym/event.h"

namespace nym {

class NYM_API Nym_semaphore {
 public:
  // `initial` units free out of `maximum`. An initial count above the maximum raises
  // "Initial value more than maximum on semaphore."
  Nym_semaphore(unsigned int initial, unsigned int maximum);
  ~Nym_semaphore();
  Nym_semaphore(const Nym_semaphore&) = delete;
  Nym_semaphore& operator=(const Nym_semaphore&) = delete;

  // The units taken now (the maximum minus those free).
  unsigned int count() const;
  unsigned int maximum() const { return m_maximum; }
  // Takes `units`, waiting without limit until as many are free. More than the maximum raises
  // "Requested more than maximum on semaphore."; 0 returns at once.
  void lock(unsigned int units);
  // Takes `units` if as many are free now; raises as lock does.
  bool try_lock(unsigned int units);
  // Gives `units` back. A give-back that would pass the maximum (however large the number)
  // raises "Unlocking too much on semaphore." and leaves the count as it was.
  void unlock(unsigned int units);

 private:
  mutable Nym_critical m_crit;
  Nym_event m_event;  // manual-reset: "look again"
  bool m_event_set = false;  // its state, known under m_crit
  unsigned int m_available;
  unsigned int m_maximum;
  // Waiters between finding too few units and looking again; of those, the ones that went to
  // sleep before the latest give-back, and that give-back's number. While any sleeper has not
  // looked since the latest give-back, the event must stay signalled for it.
  unsigned int m_sleepers = 0;
  unsigned int m_behind = 0;
  unsigned long long m_give_backs = 0;
};

}  // namespace nym

#endif
