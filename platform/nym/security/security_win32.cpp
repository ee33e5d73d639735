#include <windows.h>

#include <aclapi.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "nym/security.h"
#include "nym/exception.h"
#include "base/win32_wide.h"

namespace nym {

namespace {

static_assert(sizeof(SECURITY_ATTRIBUTES) == 24 && alignof(SECURITY_ATTRIBUTES) == 8,
              "Nym_security holds the attributes by value");

constexpr unsigned int BY_HANDLE = 1;
constexpr unsigned int BY_NAME = 2;

SECURITY_ATTRIBUTES* as_attributes(unsigned char* bytes) { return reinterpret_cast<SECURITY_ATTRIBUTES*>(bytes); }

// A descriptor of our own with a null list. Raises as the constructor says.
void* new_open_descriptor() {
  void* descriptor = LocalAlloc(LMEM_FIXED, SECURITY_DESCRIPTOR_MIN_LENGTH);
  if (descriptor == nullptr) throw std::bad_alloc();
  if (!InitializeSecurityDescriptor(descriptor, SECURITY_DESCRIPTOR_REVISION)) {
    LocalFree(descriptor);
    throw Nym_sys_call_fail("::InitializeSecurityDescriptor");
  }
  if (!SetSecurityDescriptorDacl(descriptor, TRUE, nullptr, FALSE)) {
    LocalFree(descriptor);
    throw Nym_sys_call_fail("::SetSecurityDescriptorDacl");
  }
  return descriptor;
}

void report(Nym_status& status, unsigned int code) {
  status = GetLastError();
  status.push(code);
}

std::size_t round8(std::size_t n) { return (n + 7) & ~static_cast<std::size_t>(7); }

}  // namespace

Nym_security::Nym_security() { initialise_security_descriptor(); }

// A list that couldn't be set must not leave the open descriptor in place: without one, objects
// are created with the system's default.
Nym_security::Nym_security(Nym_acl& acl, Nym_status& status) {
  status.clear();
  initialise_security_descriptor();
  set_disc_acl(acl, status, false);
  if (status.is_error()) free_sd();
}

Nym_security::Nym_security(bool open, Nym_status& status) {
  status.clear();
  initialise_security_descriptor();
  if (!open) set_disc_acl(Nym_acl(), status, false);
  if (status.is_error()) free_sd();
}

Nym_security::~Nym_security() {
  delete m_acl;
  free_sd();
}

void Nym_security::initialise_security_descriptor() {
  m_association = 0;
  m_object_type = 0;
  m_handle = INVALID_HANDLE_VALUE;
  m_acl = nullptr;
  auto* attributes = new (m_attributes) SECURITY_ATTRIBUTES;
  attributes->nLength = sizeof(SECURITY_ATTRIBUTES);
  attributes->lpSecurityDescriptor = nullptr;
  attributes->bInheritHandle = FALSE;
  set_descriptor(new_open_descriptor());
}

void Nym_security::set_descriptor(void* descriptor) noexcept {
  m_descriptor = descriptor;
  as_attributes(m_attributes)->lpSecurityDescriptor = descriptor;
}

void Nym_security::free_sd() noexcept {
  if (m_descriptor != nullptr) LocalFree(m_descriptor);
  set_descriptor(nullptr);
}

_SECURITY_ATTRIBUTES* Nym_security::security_attributes(bool inherit) {
  SECURITY_ATTRIBUTES* attributes = as_attributes(m_attributes);
  attributes->bInheritHandle = inherit ? TRUE : FALSE;
  return attributes;
}

unsigned int Nym_security::map_object_type(Nym_sec_obj_type kind) {
  switch (kind) {
    case NYM_SEC_OBJ_FILE:
      return SE_FILE_OBJECT;
    case NYM_SEC_OBJ_KERNEL:
      return SE_KERNEL_OBJECT;
    case NYM_SEC_OBJ_REGISTRY:
      return SE_REGISTRY_KEY;
    case NYM_SEC_OBJ_SERVICE:
      return SE_SERVICE;
    case NYM_SEC_OBJ_SHARE:
      return SE_LMSHARE;
    default:
      throw std::invalid_argument("Invalid argument to Nym_security::map_object_type()");
  }
}

void Nym_security::associate_with_object(Nym_sec_obj_type kind, const Wstring& name, Nym_status& status) {
  status.clear();
  if (m_association != 0) {
    status = NYM_S_ALREADY_ASSOCIATED;
    return;
  }
  m_object_type = map_object_type(kind);
  m_association = BY_NAME;
  m_name = name;
}

void Nym_security::associate_with_object(Nym_sec_obj_type kind, void* handle, Nym_status& status) {
  status.clear();
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) {
    status = NYM_S_BAD_OBJECT_HANDLE;
    return;
  }
  if (m_association != 0) {
    status = NYM_S_ALREADY_ASSOCIATED;
    return;
  }
  m_object_type = map_object_type(kind);
  m_association = BY_HANDLE;
  m_handle = handle;
}

void Nym_security::disassociate_from_object(Nym_status& status, bool free) {
  status.clear();
  if (free) {
    free_sd();
    delete m_acl;
  }
  set_descriptor(nullptr);
  m_acl = nullptr;
  m_association = 0;
  m_object_type = 0;
  m_name.clear();
}

void* Nym_security::sr_to_absolute(void* self_relative, Nym_status& status) {
  status.clear();
  DWORD sizes[5] = {};  // descriptor, list, system list, owner, group
  if (MakeAbsoluteSD(self_relative, nullptr, &sizes[0], nullptr, &sizes[1], nullptr, &sizes[2], nullptr, &sizes[3],
                     nullptr, &sizes[4]) ||
      GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
    status = GetLastError() != 0 ? GetLastError() : static_cast<DWORD>(ERROR_INVALID_SECURITY_DESCR);
    return nullptr;
  }
  // One block holds all five parts, each on an 8-byte boundary.
  std::size_t offsets[5] = {};
  std::size_t total = 0;
  for (int i = 0; i < 5; ++i) {
    offsets[i] = total;
    total += round8(sizes[i]);
  }
  auto* block = static_cast<unsigned char*>(LocalAlloc(LMEM_FIXED | LMEM_ZEROINIT, total));
  if (block == nullptr) throw std::bad_alloc();
  void* parts[5];
  for (int i = 0; i < 5; ++i) parts[i] = sizes[i] != 0 ? block + offsets[i] : nullptr;
  if (!InitializeSecurityDescriptor(block, SECURITY_DESCRIPTOR_REVISION)) {
    LocalFree(block);
    throw Nym_sys_call_fail("::InitializeSecurityDescriptor");
  }
  if (!MakeAbsoluteSD(self_relative, block, &sizes[0], static_cast<PACL>(parts[1]), &sizes[1],
                      static_cast<PACL>(parts[2]), &sizes[2], parts[3], &sizes[3], parts[4], &sizes[4])) {
    status = GetLastError();
    LocalFree(block);
    return nullptr;
  }
  return block;
}

void Nym_security::get_security_descriptor(Nym_status& status) {
  status.clear();
  if (m_association == 0) return;
  const auto type = static_cast<SE_OBJECT_TYPE>(m_object_type);
  PSECURITY_DESCRIPTOR self_relative = nullptr;
  DWORD result = 0;
  if (m_association == BY_NAME) {
    result = GetNamedSecurityInfoW(impl::win32_wide(m_name), type, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr,
                                   nullptr, &self_relative);
  } else if (type != SE_SERVICE) {
    result =
        GetSecurityInfo(m_handle, type, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr, &self_relative);
  } else {
    DWORD size = SECURITY_DESCRIPTOR_MIN_LENGTH;
    DWORD needed = 0;
    self_relative = LocalAlloc(LMEM_FIXED, size);
    if (self_relative == nullptr) throw std::bad_alloc();
    BOOL ok = QueryServiceObjectSecurity(static_cast<SC_HANDLE>(m_handle), DACL_SECURITY_INFORMATION, self_relative,
                                         size, &needed);
    if (!ok && GetLastError() == ERROR_INSUFFICIENT_BUFFER && needed > size) {
      LocalFree(self_relative);
      size = needed;
      self_relative = LocalAlloc(LMEM_FIXED, size);
      if (self_relative == nullptr) throw std::bad_alloc();
      ok = QueryServiceObjectSecurity(static_cast<SC_HANDLE>(m_handle), DACL_SECURITY_INFORMATION, self_relative, size,
                                      &needed);
    }
    if (!ok) result = GetLastError() != 0 ? GetLastError() : static_cast<DWORD>(ERROR_INVALID_SECURITY_DESCR);
  }
  // Only a successful call hands over a descriptor; after a failure the pointer means nothing.
  if (result != 0) {
    if (type == SE_SERVICE && m_association == BY_HANDLE) LocalFree(self_relative);
    status = result;
    status.push(NYM_S_SECURITY_READ_FAILED);
    return;
  }
  if (self_relative == nullptr) {
    status = ERROR_INVALID_SECURITY_DESCR;
    status.push(NYM_S_SECURITY_READ_FAILED);
    return;
  }
  void* absolute = sr_to_absolute(self_relative, status);
  LocalFree(self_relative);
  if (absolute == nullptr) {
    status.push(NYM_S_SECURITY_READ_FAILED);
    return;
  }
  // The held descriptor goes only once its successor exists: the creation attributes never
  // point at freed memory, nor at nothing after a failed read.
  free_sd();
  set_descriptor(absolute);
}

void Nym_security::set_security_descriptor(Nym_status& status) {
  status.clear();
  if (m_association == 0) return;
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  PACL list = nullptr;
  if (!GetSecurityDescriptorDacl(m_descriptor, &present, &list, &defaulted)) {
    report(status, NYM_S_DACL_READ_FAILED);
    return;
  }
  if (!present) return;
  const auto type = static_cast<SE_OBJECT_TYPE>(m_object_type);
  SECURITY_INFORMATION info = DACL_SECURITY_INFORMATION;
  // A file keeps the list set here instead of inheriting from its directory.
  if (type == SE_FILE_OBJECT) info |= PROTECTED_DACL_SECURITY_INFORMATION;
  DWORD result = 0;
  if (m_association == BY_HANDLE) {
    result = SetSecurityInfo(m_handle, type, info, nullptr, nullptr, list, nullptr);
  } else {
    std::vector<wchar_t> name(m_name.begin(), m_name.end());
    name.push_back(L'\0');
    result = SetNamedSecurityInfoW(name.data(), type, info, nullptr, nullptr, list, nullptr);
  }
  if (result != 0) {
    status = result;
    status.push(NYM_S_SECURITY_WRITE_FAILED);
  }
}

Nym_acl* Nym_security::get_disc_acl(Nym_status& status) {
  status.clear();
  get_security_descriptor(status);
  if (status.is_error()) return nullptr;
  if (m_descriptor == nullptr) {
    // None held (untied, or a constructor's list failed): creation takes the system's default,
    // which this object can't tell.
    status = ERROR_INVALID_SECURITY_DESCR;
    status.push(NYM_S_DACL_READ_FAILED);
    return nullptr;
  }
  BOOL present = FALSE;
  BOOL defaulted = FALSE;
  PACL list = nullptr;
  if (!GetSecurityDescriptorDacl(m_descriptor, &present, &list, &defaulted)) {
    report(status, NYM_S_DACL_READ_FAILED);
    return nullptr;
  }
  auto result = std::make_unique<Nym_acl>(present ? list : nullptr, status);
  return status.is_error() ? nullptr : result.release();
}

void Nym_security::set_disc_acl(const Nym_acl& acl, Nym_status& status, bool merge) {
  status.clear();
  auto copy = std::make_unique<Nym_acl>(acl, status);
  if (status.ok()) get_security_descriptor(status);
  if (status.ok() && merge && m_descriptor != nullptr) {
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL list = nullptr;
    if (!GetSecurityDescriptorDacl(m_descriptor, &present, &list, &defaulted)) {
      report(status, NYM_S_DACL_READ_FAILED);
    } else if (present && list != nullptr) {
      const Nym_acl present_acl(list, status);
      if (status.ok()) copy->merge(present_acl, status);
    }
  }
  if (status.is_error()) return;
  // After disassociate_from_object there is no descriptor: a new one takes the list.
  if (m_descriptor == nullptr) set_descriptor(new_open_descriptor());
  if (!SetSecurityDescriptorDacl(m_descriptor, TRUE, copy->get_list(), FALSE)) {
    report(status, NYM_S_DACL_SET_FAILED);
    return;
  }
  delete m_acl;
  m_acl = copy.release();
  set_security_descriptor(status);
}

Nym_acl* Nym_security::get_sec_acl(Nym_status&) {
  throw std::runtime_error("Nym_security::get_sec_acl not implemented");
}

void Nym_security::set_sec_acl(const Nym_acl&, Nym_status&, bool) {
  throw std::runtime_error("Nym_security::set_sec_acl not implemented");
}

}  // namespace nym
