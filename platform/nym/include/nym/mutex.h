// Nym_mutex: a kernel mutex, named or unnamed, that can be shared between processes.
//
// A mutex is held by a thread and is recursive for it. Two objects built with one name, in one
// process or in several, are the same mutex. A mutex whose holder ended without unlocking it
// (abandoned) counts as acquired by the next lock. The object owns its handle; the destructor
// closes it without releasing the mutex. All operations may be called from any thread; none
// reports through a status save add_security: failures raise Nym_sys_call_fail.
#ifndef NYM_MUTEX_H
#define NYM_MUTEX_H

#include "nym/types.h"

namespace nym {

class Nym_security;
class Nym_status;

class NYM_API Nym_mutex {
 public:
  // Creates the mutex of that name, or opens it when it exists already. `owner` asks that the
  // calling thread hold it (only where it is created). A non-null `security` gives a new mutex
  // its descriptor, not inheritable; null means the system's default. The system's refusal
  // raises Nym_sys_call_fail "::CreateMutex"; a name holding U+0000 (which the system would cut
  // short, naming another mutex) raises std::invalid_argument "Nym_mutex::Nym_mutex - null
  // character in name".
  Nym_mutex(const Wstring& name, bool owner, Nym_security* security);
  // An unnamed mutex, only shared by handle.
  explicit Nym_mutex(bool owner = false, Nym_security* security = nullptr);
  ~Nym_mutex();
  Nym_mutex(const Nym_mutex&) = delete;
  Nym_mutex& operator=(const Nym_mutex&) = delete;

  // Ties `security` to this mutex, so that its get_disc_acl and set_disc_acl read and write
  // the mutex's list; reports as Nym_security::associate_with_object does.
  void add_security(Nym_security& security, Nym_status& status);

  // Waits without limit. A failed wait raises "::WaitForSingleObject failed, reason <code>".
  void lock();
  // Waits at most `timeout` milliseconds; true when the mutex is now held. A failed wait
  // raises "::WaitForSingleObject".
  bool try_lock(unsigned int timeout);
  bool try_lock() { return try_lock(0); }
  // Releases one hold. Unlocking a mutex the thread does not hold is harmless; other failures
  // raise "::ReleaseMutex".
  void unlock();

 private:
  void* m_handle;
};

}  // namespace nym

#endif
