// Nym_critical: the library's recursive in-process lock.
//
// A thread that holds it may lock it again and must unlock it as often. On Windows it is one
// CRITICAL_SECTION held by value (the object's address is the section's), spinning 1,024 times
// before it sleeps. Like the platform's section, it may be released by a thread other than
// the one that took it.
//
// Failure of the system to set the lock up raises Nym_sys_call_fail
// ("::InitializeCriticalSectionAndSpinCount"); lock, try_lock and unlock report nothing.
#ifndef NYM_CRITICAL_H
#define NYM_CRITICAL_H

#include "nym/export.h"

namespace nym {

class NYM_API Nym_critical {
 public:
  // `locked` enters the new section before the constructor returns.
  explicit Nym_critical(bool locked = false);
  ~Nym_critical();
  Nym_critical(const Nym_critical&) = delete;
  Nym_critical& operator=(const Nym_critical&) = delete;

  void lock();
  // True when the calling thread now holds the section (also when it already did).
  bool try_lock();
  void unlock();

 private:
#if defined(_WIN32)
  // The CRITICAL_SECTION itself: its size and alignment on x64, checked where it is used.
  alignas(8) unsigned char m_section[40];
#else
  // The host's stand-in: a mutex, a condition and the owner, checked where it is used.
  alignas(16) unsigned char m_section[160];
#endif
};

}  // namespace nym

#endif
