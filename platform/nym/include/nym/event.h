// Nym_event: a kernel event; Nym_multi_event: one wait on a group of them.
//
// An event is manual-reset (it stays signalled until reset, and every waiter passes) or
// auto-reset (each signal lets one waiter through, and a look with signaled() or wait(0)
// consumes it). The object owns its handle and closes it in the destructor. All operations
// may be called from any thread; none reports through a status: a failing system call raises
// Nym_sys_call_fail with the call's name ("::CreateEvent", "::SetEvent", "::ResetEvent",
// "::WaitForSingleObject").
//
// On the host build the event is a twin of the kernel's with the same rules, on which the
// library's semaphores stand; it has no security and cannot be shared between processes.
#ifndef NYM_EVENT_H
#define NYM_EVENT_H

#include <vector>

#include "nym/export.h"

namespace nym {

class Nym_security;
class Nym_status;

class NYM_API Nym_event {
 public:
  // Not signalled and manual-reset by default. A non-null `security` gives the new event its
  // descriptor (not inheritable); null means the system's default.
  explicit Nym_event(bool initial_state = false, Nym_security* security = nullptr, bool auto_reset = false);
  ~Nym_event();
  Nym_event(const Nym_event&) = delete;
  Nym_event& operator=(const Nym_event&) = delete;

#if defined(_WIN32)
  // Ties `security` to this event, so that its get_disc_acl and set_disc_acl read and write
  // the event's list; reports as Nym_security::associate_with_object does.
  void add_security(Nym_security& security, Nym_status& status);
#endif

  void* handle() const { return m_handle; }
  void signal() const;
  void reset() const;
  // True when signalled now; on an auto-reset event this consumes the signal.
  bool signaled() const;
  // Waits without limit.
  void wait() const;
  // Waits at most `timeout` milliseconds (0xFFFFFFFF: without limit); true when signalled.
  bool wait(unsigned int timeout) const;

 private:
  void* m_handle;
};

#if defined(_WIN32)
// Waits on up to 64 events at once. It copies the handles at construction and does not own
// the events: they must outlive it. Its waits pass on the system's answer as it stands: a
// failed wait reaches the caller as a number in `index` (WAIT_FAILED) or as true.
class NYM_API Nym_multi_event {
 public:
  // More than 64 events raise std::invalid_argument "Nym_multi_event::Nym_multi_event -
  // MAXIMUM_WAIT_OBJECTS exceeded", a null entry "Nym_multi_event::Nym_multi_event - null
  // event". An empty group is accepted.
  explicit Nym_multi_event(const std::vector<Nym_event*>& events);
  ~Nym_multi_event();
  Nym_multi_event(const Nym_multi_event&) = delete;
  Nym_multi_event& operator=(const Nym_multi_event&) = delete;

  // As Nym_event::signaled on the event at `index`; an index past the group raises
  // std::invalid_argument "Nym_multi_event::signaled - index out of range".
  bool signaled(unsigned int index) const;
  // Waits until all are signalled.
  void wait_for_all();
  // False only when the time ran out.
  bool wait_for_all(unsigned int timeout);
  // Waits until one is signalled; `index` is the position of the lowest signalled event.
  void wait_for_one(unsigned int& index);
  // False when the time ran out, and `index` is left alone.
  bool wait_for_one(unsigned int& index, unsigned int timeout);

 private:
  std::vector<void*> m_handles;
};
#endif

}  // namespace nym

#endif
