#include <windows.h>

#include <new>

#include "nym/critical.h"
#include "nym/exception.h"

namespace nym {

namespace {

static_assert(sizeof(CRITICAL_SECTION) == 40 && alignof(CRITICAL_SECTION) == 8,
              "Nym_critical holds the section by value");

// 1,024 spins; the top bit asks the system to allocate the wait object at once.
constexpr DWORD SPIN_COUNT = 0x80000400u;

}  // namespace

Nym_critical::Nym_critical(bool locked) {
  auto* section = new (m_section) CRITICAL_SECTION;
  if (!InitializeCriticalSectionAndSpinCount(section, SPIN_COUNT)) {
    throw Nym_sys_call_fail("::InitializeCriticalSectionAndSpinCount");
  }
  if (locked) EnterCriticalSection(section);
}

Nym_critical::~Nym_critical() { DeleteCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(m_section)); }

void Nym_critical::lock() { EnterCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(m_section)); }

bool Nym_critical::try_lock() {
  return TryEnterCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(m_section)) != FALSE;
}

void Nym_critical::unlock() { LeaveCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(m_section)); }

}  // namespace nym
