#include <windows.h>

#include <sddl.h>

#include <stdexcept>
#include <vector>

#include "nym/security_id.h"
#include "nym/exception.h"
#include "nym/string_basic.h"
#include "base/win32_wide.h"

namespace nym {

namespace {

using impl::from_win32_wide;
using impl::win32_wide;

// Every SID this class owns comes from AllocateAndInitializeSid or the process heap, so that
// FreeSid releases each alike.
_SID* heap_sid(DWORD size) { return static_cast<_SID*>(HeapAlloc(GetProcessHeap(), 0, size)); }

constexpr DWORD NAME_CHARS = 300;

// A name the system wrote into a buffer of `capacity` characters and reported `length` for.
Wstring bounded_text(const std::vector<wchar_t>& buffer, DWORD length) {
  const std::size_t n = length < buffer.size() ? length : buffer.size();
  Wstring text(from_win32_wide(buffer.data()), n);
  const std::size_t nul = text.find(u'\0');
  if (nul != Wstring::npos) text.resize(nul);
  return text;
}

bool is_local_system(const Wstring& text) { return nym_compare_nc(text.c_str(), u"S-1-5-18") == 0; }

}  // namespace

Nym_security_id::Nym_security_id() {
  SID_IDENTIFIER_AUTHORITY null_authority = {{0, 0, 0, 0, 0, 0}};
  PSID sid = nullptr;
  if (!AllocateAndInitializeSid(&null_authority, 1, 0, 0, 0, 0, 0, 0, 0, 0, &sid)) {
    throw Nym_sys_call_fail("::AllocateAndInitializeSid");
  }
  m_sid = static_cast<_SID*>(sid);
  m_forms = FORM_BINARY;
}

Nym_security_id::Nym_security_id(_SID* sid) : m_sid(copy_sid(sid)) {
  if (m_sid == nullptr) throw std::invalid_argument("Invalid SID");
  m_forms = FORM_BINARY;
}

Nym_security_id::Nym_security_id(const Nym_security_id& other)
    : m_forms(other.m_forms), m_type(other.m_type), m_account(other.m_account), m_string(other.m_string) {
  if ((m_forms & FORM_BINARY) != 0) {
    m_sid = copy_sid(other.m_sid);
    if (m_sid == nullptr) {
      m_forms &= ~FORM_BINARY;
      throw std::invalid_argument("Invalid Nym_security_id");
    }
  }
}

Nym_security_id& Nym_security_id::operator=(const Nym_security_id& other) {
  if (this == &other) return *this;
  _SID* copy = nullptr;
  if ((other.m_forms & FORM_BINARY) != 0) copy = copy_sid(other.m_sid);
  release();
  m_account = other.m_account;
  m_string = other.m_string;
  m_type = other.m_type;
  m_forms = other.m_forms;
  m_sid = copy;
  if ((m_forms & FORM_BINARY) != 0 && copy == nullptr) {
    m_forms &= ~FORM_BINARY;
    throw std::invalid_argument("Invalid Nym_security_id");
  }
  return *this;
}

Nym_security_id::Nym_security_id(Nym_security_id&& other) noexcept
    : m_sid(other.m_sid),
      m_forms(other.m_forms),
      m_type(other.m_type),
      m_account(std::move(other.m_account)),
      m_string(std::move(other.m_string)) {
  other.m_sid = nullptr;
  other.m_forms = 0;
  other.m_type = 8;
}

Nym_security_id& Nym_security_id::operator=(Nym_security_id&& other) noexcept {
  if (this == &other) return *this;
  release();
  m_sid = other.m_sid;
  m_forms = other.m_forms;
  m_type = other.m_type;
  m_account = std::move(other.m_account);
  m_string = std::move(other.m_string);
  other.m_sid = nullptr;
  other.m_forms = 0;
  other.m_type = 8;
  return *this;
}

Nym_security_id::~Nym_security_id() { release(); }

void Nym_security_id::release() noexcept {
  if ((m_forms & FORM_BINARY) != 0 && m_sid != nullptr) FreeSid(m_sid);
  m_sid = nullptr;
  m_forms &= ~FORM_BINARY;
}

_SID* Nym_security_id::copy_sid(const _SID* source) {
  auto* from = const_cast<_SID*>(source);
  if (from == nullptr || !IsValidSid(from)) return nullptr;
  const DWORD size = GetLengthSid(from);
  _SID* copy = heap_sid(size);
  if (copy == nullptr) return nullptr;
  if (!CopySid(size, copy, from)) {
    HeapFree(GetProcessHeap(), 0, copy);
    return nullptr;
  }
  return copy;
}

_SID* Nym_security_id::get_current_sid(bool process) {
  HANDLE token = nullptr;
  bool opened = false;
  if (!process) {
    opened = OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, FALSE, &token) != FALSE;
    // Only a thread without a token of its own speaks for the process: one that impersonates but
    // whose token can't be opened must not become the process's user.
    if (!opened && GetLastError() != ERROR_NO_TOKEN) return nullptr;
  }
  if (!opened && !OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return nullptr;
  alignas(8) unsigned char buffer[512];
  DWORD length = 0;
  _SID* result = nullptr;
  if (GetTokenInformation(token, TokenUser, buffer, sizeof buffer, &length)) {
    result = copy_sid(static_cast<_SID*>(reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid));
  }
  CloseHandle(token);
  return result;
}

void Nym_security_id::make_string_form() const {
  if ((m_forms & FORM_STRING) != 0 || (m_forms & FORM_BINARY) == 0) return;
  LPWSTR text = nullptr;
  if (ConvertSidToStringSidW(m_sid, &text)) {
    m_string = from_win32_wide(text);
    m_forms |= FORM_STRING;
    LocalFree(text);
  }
}

void Nym_security_id::set_type(int use) const {
  m_type = use;
  make_string_form();
  if ((m_forms & FORM_STRING) != 0 && is_local_system(m_string)) m_type = SidTypeWellKnownGroup;
}

Nym_security_id::operator _SID*() const {
  if ((m_forms & FORM_BINARY) != 0) return m_sid;
  if ((m_forms & FORM_STRING) != 0) {
    PSID converted = nullptr;
    if (ConvertStringSidToSidW(win32_wide(m_string), &converted)) {
      m_sid = copy_sid(static_cast<_SID*>(converted));
      LocalFree(converted);
      if (m_sid != nullptr) m_forms |= FORM_BINARY;
    }
  } else if ((m_forms & FORM_ACCOUNT) != 0) {
    DWORD sid_held = SECURITY_MAX_SID_SIZE;
    _SID* sid = heap_sid(sid_held);
    std::vector<wchar_t> domain(NAME_CHARS);
    SID_NAME_USE use = SidTypeUnknown;
    bool found = false;
    for (int attempt = 0; attempt < 2 && sid != nullptr && !found; ++attempt) {
      DWORD sid_size = sid_held;
      auto domain_size = static_cast<DWORD>(domain.size());
      found = LookupAccountNameW(nullptr, win32_wide(m_account), sid, &sid_size, domain.data(), &domain_size, &use) !=
              FALSE;
      if (found || GetLastError() != ERROR_INSUFFICIENT_BUFFER) break;
      if (sid_size > sid_held) {
        HeapFree(GetProcessHeap(), 0, sid);
        sid = heap_sid(sid_size);
        sid_held = sid_size;
      }
      if (domain_size > domain.size()) domain.resize(domain_size);
    }
    if (found && IsValidSid(sid)) {
      m_sid = sid;
      m_forms |= FORM_BINARY;
      set_type(use);
    } else if (sid != nullptr) {
      HeapFree(GetProcessHeap(), 0, sid);
    }
  }
  if ((m_forms & FORM_BINARY) == 0) throw std::runtime_error("Failed to convert SID to binary form");
  return m_sid;
}

Nym_security_id::operator Wstring() const {
  if ((m_forms & FORM_STRING) != 0) return m_string;
  if ((m_forms & FORM_ACCOUNT) != 0 && (m_forms & FORM_BINARY) == 0) {
    try {
      (void)static_cast<_SID*>(*this);
    } catch (const std::runtime_error&) {
      throw std::runtime_error("Failed to convert SID to string form");
    }
  }
  make_string_form();
  if ((m_forms & FORM_STRING) == 0) throw std::runtime_error("Failed to convert SID to string form");
  return m_string;
}

Wstring Nym_security_id::account_name() const {
  if ((m_forms & FORM_ACCOUNT) != 0) return m_account;
  if ((m_forms & FORM_STRING) != 0 && (m_forms & FORM_BINARY) == 0) {
    try {
      (void)static_cast<_SID*>(*this);
    } catch (const std::runtime_error&) {
      throw std::runtime_error("Failed to convert SID to account form");
    }
  }
  if ((m_forms & FORM_BINARY) != 0) {
    std::vector<wchar_t> name(NAME_CHARS);
    std::vector<wchar_t> domain(NAME_CHARS);
    SID_NAME_USE use = SidTypeUnknown;
    DWORD name_size = 0;
    DWORD domain_size = 0;
    bool found = false;
    for (int attempt = 0; attempt < 2 && !found; ++attempt) {
      name_size = static_cast<DWORD>(name.size());
      domain_size = static_cast<DWORD>(domain.size());
      found = LookupAccountSidW(nullptr, m_sid, name.data(), &name_size, domain.data(), &domain_size, &use) != FALSE;
      if (found || GetLastError() != ERROR_INSUFFICIENT_BUFFER) break;
      if (name_size > name.size()) name.resize(name_size);
      if (domain_size > domain.size()) domain.resize(domain_size);
    }
    if (found) {
      Wstring account;
      if (domain_size != 0) {
        account = bounded_text(domain, domain_size);
        account += u'\\';
      }
      account += bounded_text(name, name_size);
      m_account = account;
      m_forms |= FORM_ACCOUNT;
      set_type(use);
    }
  }
  if ((m_forms & FORM_ACCOUNT) == 0) throw std::runtime_error("Failed to convert SID to account form");
  return m_account;
}

bool operator==(const Nym_security_id& a, const Nym_security_id& b) {
  _SID* left = a;
  _SID* right = b;
  return EqualSid(left, right) != FALSE;
}

}  // namespace nym
