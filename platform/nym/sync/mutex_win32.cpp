#include <windows.h>

#include <cstdio>
#include <stdexcept>

#include "nym/mutex.h"
#include "nym/exception.h"
#include "nym/security.h"
#include "base/win32_wide.h"

namespace nym {

namespace {

HANDLE create(const Wchar* name, bool owner, Nym_security* security) {
  const HANDLE handle = CreateMutexW(security != nullptr ? security->security_attributes(false) : nullptr,
                                     owner ? TRUE : FALSE, name != nullptr ? impl::win32_wide(name) : nullptr);
  if (handle == nullptr) throw Nym_sys_call_fail("::CreateMutex");
  return handle;
}

const Wchar* checked_name(const Wstring& name) {
  if (name.find(Wchar(0)) != Wstring::npos) {
    throw std::invalid_argument("Nym_mutex::Nym_mutex - null character in name");
  }
  return name.c_str();
}

}  // namespace

// A mutex that exists already is opened: that is how two objects share one.
Nym_mutex::Nym_mutex(const Wstring& name, bool owner, Nym_security* security)
    : m_handle(create(checked_name(name), owner, security)) {}

Nym_mutex::Nym_mutex(bool owner, Nym_security* security) : m_handle(create(nullptr, owner, security)) {}

Nym_mutex::~Nym_mutex() { CloseHandle(m_handle); }

void Nym_mutex::add_security(Nym_security& security, Nym_status& status) {
  status.clear();
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, m_handle, status);
}

// An abandoned mutex is held by the caller all the same.
void Nym_mutex::lock() {
  if (WaitForSingleObject(m_handle, INFINITE) != WAIT_FAILED) return;
  char text[256];
  std::snprintf(text, sizeof text, "::WaitForSingleObject failed, reason %d", static_cast<int>(GetLastError()));
  throw Nym_sys_call_fail(text);
}

bool Nym_mutex::try_lock(unsigned int timeout) {
  const DWORD result = WaitForSingleObject(m_handle, timeout);
  if (result == WAIT_FAILED) throw Nym_sys_call_fail("::WaitForSingleObject");
  return result != WAIT_TIMEOUT;
}

void Nym_mutex::unlock() {
  if (!ReleaseMutex(m_handle) && GetLastError() != ERROR_NOT_OWNER) throw Nym_sys_call_fail("::ReleaseMutex");
}

}  // namespace nym
