#include "nym/semaphore.h"

#include <mutex>
#include <stdexcept>

#include "sync/event_state.h"

namespace nym {

Nym_semaphore::Nym_semaphore(unsigned int initial, unsigned int maximum) : m_available(initial), m_maximum(maximum) {
  if (initial > maximum) throw std::invalid_argument("Initial value more than maximum on semaphore.");
}

Nym_semaphore::~Nym_semaphore() = default;

unsigned int Nym_semaphore::count() const {
  std::lock_guard<Nym_critical> hold(m_crit);
  return m_maximum - m_available;
}

// A waiter that finds too few units must not spin while some are free, as it would if the
// event were reset only when none are left. So it resets the event itself before it sleeps,
// but only once every other sleeper has looked since the latest give-back: a reset before
// that could withdraw the signal from a sleeper that the new units would serve. Until then it
// passes its wait at once and looks again, for as long as the others take to wake.
void Nym_semaphore::lock(unsigned int units) {
  if (units > m_maximum) throw std::invalid_argument("Requested more than maximum on semaphore.");
  bool sleeping = false;
  unsigned long long seen = 0;
  auto looked = [&] {
    if (!sleeping) return;
    sleeping = false;
    --m_sleepers;
    if (seen != m_give_backs) --m_behind;
  };
  for (;;) {
    {
      std::lock_guard<Nym_critical> hold(m_crit);
      looked();
      if (m_available >= units) {
        if (m_available == units) impl::reset_event(m_event, m_event_set);
        m_available -= units;
        return;
      }
      if (m_behind == 0) impl::reset_event(m_event, m_event_set);
      ++m_sleepers;
      seen = m_give_backs;
      sleeping = true;
    }
    try {
      m_event.wait();
    } catch (...) {
      std::lock_guard<Nym_critical> hold(m_crit);
      looked();
      throw;
    }
  }
}

bool Nym_semaphore::try_lock(unsigned int units) {
  if (units > m_maximum) throw std::invalid_argument("Requested more than maximum on semaphore.");
  std::lock_guard<Nym_critical> hold(m_crit);
  if (m_available < units) return false;
  if (m_available == units) impl::reset_event(m_event, m_event_set);
  m_available -= units;
  return true;
}

void Nym_semaphore::unlock(unsigned int units) {
  std::lock_guard<Nym_critical> hold(m_crit);
  // Compared without a sum, so that no count wraps past the check.
  if (units > m_maximum - m_available) throw std::invalid_argument("Unlocking too much on semaphore.");
  impl::signal_event(m_event, m_event_set);
  m_available += units;
  ++m_give_backs;
  m_behind = m_sleepers;
}

}  // namespace nym
