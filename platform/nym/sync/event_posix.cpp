// The host's twin of a kernel event, on which the semaphores stand there: a flag under a
// mutex, with a condition to wait on. The handle is the twin's address. As with the kernel's
// manual-reset event, a signal releases everyone waiting at that moment even if a reset follows
// before they run: each waiter notes the count of signals when it starts.
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "nym/event.h"

namespace nym {

namespace {

struct Twin {
  std::mutex mutex;
  std::condition_variable changed;
  bool signalled;
  bool manual;
  unsigned long long signals = 0;
};

Twin& twin(void* handle) { return *static_cast<Twin*>(handle); }

// Under the twin's mutex: passes a signalled event, consuming it where it resets itself.
bool take(Twin& t) {
  if (!t.signalled) return false;
  if (!t.manual) t.signalled = false;
  return true;
}

// Under the twin's mutex, for a waiter that began when `signals` signals had been given.
bool released(Twin& t, unsigned long long signals) { return take(t) || (t.manual && t.signals != signals); }

}  // namespace

Nym_event::Nym_event(bool initial_state, Nym_security*, bool auto_reset)
    : m_handle(new Twin{{}, {}, initial_state, !auto_reset, 0}) {}

Nym_event::~Nym_event() { delete &twin(m_handle); }

void Nym_event::signal() const {
  Twin& t = twin(m_handle);
  std::lock_guard<std::mutex> hold(t.mutex);
  t.signalled = true;
  ++t.signals;
  // All look: an auto-reset event still lets only the first one through. Notified under the
  // mutex, since a released waiter may destroy the event as soon as it has the mutex back.
  t.changed.notify_all();
}

void Nym_event::reset() const {
  Twin& t = twin(m_handle);
  std::lock_guard<std::mutex> hold(t.mutex);
  t.signalled = false;
}

bool Nym_event::signaled() const {
  Twin& t = twin(m_handle);
  std::lock_guard<std::mutex> hold(t.mutex);
  return take(t);
}

void Nym_event::wait() const {
  Twin& t = twin(m_handle);
  std::unique_lock<std::mutex> hold(t.mutex);
  const unsigned long long signals = t.signals;
  t.changed.wait(hold, [&] { return released(t, signals); });
}

bool Nym_event::wait(unsigned int timeout) const {
  if (timeout == 0xFFFFFFFFu) {  // the system's "infinite"
    wait();
    return true;
  }
  Twin& t = twin(m_handle);
  std::unique_lock<std::mutex> hold(t.mutex);
  const unsigned long long signals = t.signals;
  return t.changed.wait_for(hold, std::chrono::milliseconds(timeout), [&] { return released(t, signals); });
}

}  // namespace nym
