#include <windows.h>

#include <stdexcept>

#include "nym/event.h"
#include "nym/exception.h"
#include "nym/security.h"

namespace nym {

Nym_event::Nym_event(bool initial_state, Nym_security* security, bool auto_reset)
    : m_handle(CreateEventW(security != nullptr ? security->security_attributes(false) : nullptr,
                            auto_reset ? FALSE : TRUE, initial_state ? TRUE : FALSE, nullptr)) {
  if (m_handle == nullptr) throw Nym_sys_call_fail("::CreateEvent");
}

Nym_event::~Nym_event() { CloseHandle(m_handle); }

void Nym_event::add_security(Nym_security& security, Nym_status& status) {
  status.clear();
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, m_handle, status);
}

void Nym_event::signal() const {
  if (!SetEvent(m_handle)) throw Nym_sys_call_fail("::SetEvent");
}

void Nym_event::reset() const {
  if (!ResetEvent(m_handle)) throw Nym_sys_call_fail("::ResetEvent");
}

namespace {

DWORD wait_on(HANDLE handle, DWORD timeout) {
  const DWORD result = WaitForSingleObject(handle, timeout);
  if (result == WAIT_FAILED) throw Nym_sys_call_fail("::WaitForSingleObject");
  return result;
}

}  // namespace

bool Nym_event::signaled() const { return wait_on(m_handle, 0) != WAIT_TIMEOUT; }

void Nym_event::wait() const { wait_on(m_handle, INFINITE); }

bool Nym_event::wait(unsigned int timeout) const { return wait_on(m_handle, timeout) == WAIT_OBJECT_0; }

Nym_multi_event::Nym_multi_event(const std::vector<Nym_event*>& events) {
  if (events.size() > MAXIMUM_WAIT_OBJECTS) {
    throw std::invalid_argument("Nym_multi_event::Nym_multi_event - MAXIMUM_WAIT_OBJECTS exceeded");
  }
  m_handles.reserve(events.size());
  for (const Nym_event* event : events) {
    if (event == nullptr) throw std::invalid_argument("Nym_multi_event::Nym_multi_event - null event");
    m_handles.push_back(event->handle());
  }
}

Nym_multi_event::~Nym_multi_event() = default;

bool Nym_multi_event::signaled(unsigned int index) const {
  if (index >= m_handles.size()) throw std::invalid_argument("Nym_multi_event::signaled - index out of range");
  return wait_on(m_handles[index], 0) != WAIT_TIMEOUT;
}

// The waits below hand the system's answer on unchecked: a failure or an abandoned mutex's
// code reaches the caller as the number it is.
void Nym_multi_event::wait_for_all() {
  WaitForMultipleObjects(static_cast<DWORD>(m_handles.size()), m_handles.data(), TRUE, INFINITE);
}

bool Nym_multi_event::wait_for_all(unsigned int timeout) {
  return WaitForMultipleObjects(static_cast<DWORD>(m_handles.size()), m_handles.data(), TRUE, timeout) != WAIT_TIMEOUT;
}

void Nym_multi_event::wait_for_one(unsigned int& index) {
  index = WaitForMultipleObjects(static_cast<DWORD>(m_handles.size()), m_handles.data(), FALSE, INFINITE);
}

bool Nym_multi_event::wait_for_one(unsigned int& index, unsigned int timeout) {
  const DWORD result = WaitForMultipleObjects(static_cast<DWORD>(m_handles.size()), m_handles.data(), FALSE, timeout);
  if (result == WAIT_TIMEOUT) return false;
  index = result;
  return true;
}

}  // namespace nym
