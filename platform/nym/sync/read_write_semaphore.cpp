#include "nym/read_write_semaphore.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>

#include "base/current_thread.h"
#include "sync/event_state.h"

namespace nym {

namespace {

constexpr unsigned int NO_THREAD = 0xFFFFFFFFu;

// The lists grow by half their room (at least one entry), not double it, so a list reserved
// for its expected holders stays near that size.
void append(std::vector<unsigned int>& ids, unsigned int id) {
  if (ids.size() == ids.capacity()) ids.reserve(ids.capacity() + std::max<std::size_t>(ids.capacity() / 2, 1));
  ids.push_back(id);
}

void remove_first(std::vector<unsigned int>& ids, unsigned int id) {
  const auto found = std::find(ids.begin(), ids.end(), id);
  if (found != ids.end()) ids.erase(found);
}

}  // namespace

Nym_read_write_semaphore::Nym_read_write_semaphore(unsigned int expected_readers)
    : m_read_ok(true), m_write_ok(true), m_writer(NO_THREAD), m_write_count(0) {
  m_readers.reserve(expected_readers);
  m_waiting_writers.reserve(2);
}

Nym_read_write_semaphore::~Nym_read_write_semaphore() = default;

bool Nym_read_write_semaphore::other_reader(unsigned int thread_id) const {
  return std::any_of(m_readers.begin(), m_readers.end(), [&](unsigned int id) { return id != thread_id; });
}

// Wakes the writers if one of them would now be alone.
void Nym_read_write_semaphore::thread_waiting() const {
  for (unsigned int writer : m_waiting_writers) {
    if (!other_reader(writer)) {
      impl::signal_event(m_write_ok, m_write_ok_set);
      return;
    }
  }
}

bool Nym_read_write_semaphore::try_read_lock() const {
  std::lock_guard<Nym_critical> hold(m_crit);
  const unsigned int me = impl::current_thread_id();
  if (m_writer != NO_THREAD && m_writer != me) return false;
  append(m_readers, me);
  try {
    impl::reset_event(m_write_ok, m_write_ok_set);
  } catch (...) {
    m_readers.pop_back();
    throw;
  }
  return true;
}

void Nym_read_write_semaphore::read_lock() const {
  while (!try_read_lock()) m_read_ok.wait();
}

void Nym_read_write_semaphore::read_unlock() const {
  std::lock_guard<Nym_critical> hold(m_crit);
  remove_first(m_readers, impl::current_thread_id());
  thread_waiting();
}

bool Nym_read_write_semaphore::try_write_lock() {
  std::lock_guard<Nym_critical> hold(m_crit);
  const unsigned int me = impl::current_thread_id();
  if (m_writer != NO_THREAD && m_writer != me) return false;
  if (other_reader(me)) return false;
  impl::reset_event(m_read_ok, m_read_ok_set);
  impl::reset_event(m_write_ok, m_write_ok_set);
  ++m_write_count;
  m_writer = me;
  return true;
}

void Nym_read_write_semaphore::write_lock() {
  const unsigned int me = impl::current_thread_id();
  {
    std::lock_guard<Nym_critical> hold(m_crit);
    append(m_waiting_writers, me);
  }
  try {
    while (!try_write_lock()) m_write_ok.wait();
  } catch (...) {
    std::lock_guard<Nym_critical> hold(m_crit);
    remove_first(m_waiting_writers, me);
    throw;
  }
  std::lock_guard<Nym_critical> hold(m_crit);
  remove_first(m_waiting_writers, me);
}

void Nym_read_write_semaphore::write_unlock() {
  std::lock_guard<Nym_critical> hold(m_crit);
  if (m_writer == NO_THREAD) throw std::logic_error("Nym_read_write_semaphore::write_unlock - there is no write lock");
  if (--m_write_count != 0) return;
  m_writer = NO_THREAD;
  impl::signal_event(m_read_ok, m_read_ok_set);
  if (m_readers.empty()) impl::signal_event(m_write_ok, m_write_ok_set);
}

}  // namespace nym
