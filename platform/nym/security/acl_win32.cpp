#include <windows.h>

#include <new>
#include <stdexcept>

#include "nym/acl.h"
#include "nym/exception.h"

namespace nym {

namespace {

constexpr unsigned int EMPTY_ACL_SIZE = sizeof(ACL);
// An ACL's size field is 16 bits wide, and sizes stay multiples of four.
constexpr unsigned int MAX_ACL_SIZE = 0xFFFC;
constexpr unsigned int STANDARD_RIGHTS_MASK = 0xF0000;

_ACL* new_list(unsigned int size) { return static_cast<_ACL*>(::operator new(size)); }
void delete_list(_ACL* list) noexcept { ::operator delete(list); }

// The kinds whose SID stands behind object-type fields.
bool is_object_ace(unsigned char type) {
  switch (type) {
    case ACCESS_ALLOWED_OBJECT_ACE_TYPE:
    case ACCESS_DENIED_OBJECT_ACE_TYPE:
    case SYSTEM_AUDIT_OBJECT_ACE_TYPE:
    case SYSTEM_ALARM_OBJECT_ACE_TYPE:
    case ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE:
    case ACCESS_DENIED_CALLBACK_OBJECT_ACE_TYPE:
    case SYSTEM_AUDIT_CALLBACK_OBJECT_ACE_TYPE:
    case SYSTEM_ALARM_CALLBACK_OBJECT_ACE_TYPE:
      return true;
    default:
      return false;
  }
}

// Conditional and object-specific denials count as plain denials in the library's own rights
// calculation: it can't evaluate their conditions, and passing over a denial would grant what
// was refused.
bool is_deny_ace(unsigned char type) {
  return type == ACCESS_DENIED_ACE_TYPE || type == ACCESS_DENIED_OBJECT_ACE_TYPE ||
         type == ACCESS_DENIED_CALLBACK_ACE_TYPE || type == ACCESS_DENIED_CALLBACK_OBJECT_ACE_TYPE;
}

Nym_access_modes mode_of(unsigned char type) {
  return type <= SYSTEM_AUDIT_ACE_TYPE ? static_cast<Nym_access_modes>(type) : NYM_ACCESS_OTHER;
}

// The system's code of the last failed call, then ours on top.
void report(Nym_status& status, unsigned int code) {
  status = GetLastError();
  status.push(code);
}

// An entry whose SID can't be found within its own bytes.
void report_bad_entry(Nym_status& status) {
  status = ERROR_INVALID_ACL;
  status.push(NYM_S_ACE_READ_FAILED);
}

}  // namespace

Nym_acl::Nym_acl() {
  m_acl = new_list(EMPTY_ACL_SIZE);
  if (!InitializeAcl(m_acl, EMPTY_ACL_SIZE, ACL_REVISION)) {
    delete_list(m_acl);
    m_acl = nullptr;
    throw Nym_sys_call_fail("::InitializeAcl");
  }
}

Nym_acl::Nym_acl(const Nym_acl& other, Nym_status& status) {
  status.clear();
  m_acl = copy_acl(other.m_acl, status);
}

Nym_acl::Nym_acl(_ACL* list, Nym_status& status) {
  status.clear();
  m_acl = copy_acl(list, status);
}

Nym_acl::Nym_acl(const Nym_security_id& sid, unsigned int rights, unsigned char flags, Nym_status& status) {
  status.clear();
  set_rights(sid, NYM_ACCESS_ALLOW, rights, flags, status);
}

Nym_acl::~Nym_acl() { delete_list(m_acl); }

void Nym_acl::erase(Nym_status& status) {
  status.clear();
  Nym_acl empty;
  delete_list(m_acl);
  m_acl = empty.m_acl;
  empty.m_acl = nullptr;
}

unsigned char Nym_acl::map_access_mode(Nym_access_modes mode) {
  switch (mode) {
    case NYM_ACCESS_ALLOW:
      return ACCESS_ALLOWED_ACE_TYPE;
    case NYM_ACCESS_DENY:
      return ACCESS_DENIED_ACE_TYPE;
    case NYM_ACCESS_AUDIT:
      return SYSTEM_AUDIT_ACE_TYPE;
    default:
      throw std::invalid_argument("Invalid argument to Nym_acl::map_access_mode()");
  }
}

unsigned int Nym_acl::get_ace_count(const _ACL* list) { return list == nullptr ? 0 : list->AceCount; }

unsigned int Nym_acl::get_acl_size(const _ACL* list) {
  if (list == nullptr) return 0;
  ACL_SIZE_INFORMATION info;
  if (!GetAclInformation(const_cast<_ACL*>(list), &info, sizeof info, AclSizeInformation)) return 0;
  return info.AclBytesInUse;
}

bool Nym_acl::get_ace_mask(const void* ace, unsigned int& mask) {
  const auto* header = static_cast<const ACE_HEADER*>(ace);
  if (header->AceSize < sizeof(ACE_HEADER) + sizeof(ACCESS_MASK)) return false;
  mask = static_cast<const ACCESS_ALLOWED_ACE*>(ace)->Mask;
  return true;
}

// The SID of an entry, or null when it doesn't lie wholly inside the entry. Object entries carry
// their SID behind whichever of the two object-type fields their flags announce.
_SID* Nym_acl::get_ace_sid(const void* ace) {
  const auto* bytes = static_cast<const unsigned char*>(ace);
  const unsigned int size = static_cast<const ACE_HEADER*>(ace)->AceSize;
  unsigned int offset = sizeof(ACE_HEADER) + sizeof(ACCESS_MASK);
  if (is_object_ace(static_cast<const ACE_HEADER*>(ace)->AceType)) {
    if (size < offset + sizeof(DWORD)) return nullptr;
    const DWORD object_flags = static_cast<const ACCESS_ALLOWED_OBJECT_ACE*>(ace)->Flags;
    offset += sizeof(DWORD);
    if ((object_flags & ACE_OBJECT_TYPE_PRESENT) != 0) offset += sizeof(GUID);
    if ((object_flags & ACE_INHERITED_OBJECT_TYPE_PRESENT) != 0) offset += sizeof(GUID);
  }
  // Revision, count and authority first; then the count says how many sub-authorities follow.
  if (size < offset + 8) return nullptr;
  const unsigned int sub_authorities = bytes[offset + 1];
  if (size < offset + 8 + 4 * sub_authorities) return nullptr;
  auto* sid = reinterpret_cast<_SID*>(const_cast<unsigned char*>(bytes + offset));
  return IsValidSid(sid) ? sid : nullptr;
}

bool Nym_acl::copy_aces(const _ACL* source, _ACL* target, Nym_status& status) {
  const unsigned int count = get_ace_count(source);
  for (unsigned int i = 0; i < count; ++i) {
    void* ace = nullptr;
    if (!GetAce(const_cast<_ACL*>(source), i, &ace) ||
        !AddAce(target, ACL_REVISION, MAXDWORD, ace, static_cast<ACE_HEADER*>(ace)->AceSize)) {
      report(status, NYM_S_ACE_READ_FAILED);
      return false;
    }
  }
  return true;
}

_ACL* Nym_acl::copy_acl(const _ACL* source, Nym_status& status) {
  const unsigned int size = get_acl_size(source);
  if (size == 0) return nullptr;
  _ACL* copy = new_list(size);
  if (!InitializeAcl(copy, size, ACL_REVISION)) {
    report(status, NYM_S_ACL_INIT_FAILED);
  } else if (copy_aces(source, copy, status)) {
    return copy;
  }
  delete_list(copy);
  return nullptr;
}

void Nym_acl::set_rights(const Nym_security_id& sid, Nym_access_modes mode, unsigned int rights,
                         unsigned char flags, Nym_status& status) {
  const unsigned char type = map_access_mode(mode);
  set_sid_rights(sid, type, rights, flags, status);
}

void Nym_acl::set_sid_rights(_SID* sid, unsigned char type, unsigned int rights, unsigned char flags,
                             Nym_status& status) {
  status.clear();
  // Everything but a denial is stored as an allow entry; looking for the stored kind lets a
  // repeated audit widen its entry instead of adding one more each time.
  const bool deny = type == ACCESS_DENIED_ACE_TYPE;
  const unsigned char stored = deny ? ACCESS_DENIED_ACE_TYPE : ACCESS_ALLOWED_ACE_TYPE;
  const unsigned int count = get_ace_count(m_acl);
  for (unsigned int i = 0; i < count; ++i) {
    void* ace = nullptr;
    if (!GetAce(m_acl, i, &ace)) {
      report(status, NYM_S_ACE_READ_FAILED);
      return;
    }
    auto* header = static_cast<ACE_HEADER*>(ace);
    if (header->AceType != stored || header->AceFlags != flags) continue;
    _SID* present = get_ace_sid(ace);
    if (present != nullptr && EqualSid(present, sid)) {
      static_cast<ACCESS_ALLOWED_ACE*>(ace)->Mask |= rights;
      return;
    }
  }

  const unsigned int in_use = m_acl == nullptr ? EMPTY_ACL_SIZE : get_acl_size(m_acl);
  const unsigned int size = in_use + GetLengthSid(sid) + sizeof(ACE_HEADER) + sizeof(ACCESS_MASK);
  if (size > MAX_ACL_SIZE) {
    status = ERROR_INVALID_PARAMETER;  // what InitializeAcl answers for a list that can't be described
    status.push(NYM_S_ACL_INIT_FAILED);
    return;
  }
  _ACL* list = new_list(size);
  unsigned int position = 0;
  if (!InitializeAcl(list, size, ACL_REVISION)) {
    report(status, NYM_S_ACL_INIT_FAILED);
  } else if (deny && !AddAccessDeniedAce(list, ACL_REVISION, rights, sid)) {
    report(status, NYM_S_ACE_ADD_FAILED);
  } else if (copy_aces(m_acl, list, status) && !deny) {
    if (!AddAccessAllowedAce(list, ACL_REVISION, rights, sid)) {
      report(status, NYM_S_ACE_ADD_FAILED);
    } else {
      position = get_ace_count(list) - 1;
    }
  }
  if (status.ok()) {
    void* ace = nullptr;
    if (GetAce(list, position, &ace)) {
      auto* header = static_cast<ACE_HEADER*>(ace);
      header->AceFlags = static_cast<unsigned char>((header->AceFlags & 0xE0) | flags);
    } else {
      report(status, NYM_S_ACE_READ_FAILED);
    }
  }
  if (status.ok()) {
    delete_list(m_acl);
    m_acl = list;
  } else {
    delete_list(list);
  }
}

void Nym_acl::get_rights(const Nym_security_id& sid, unsigned int& rights, Nym_status& status) const {
  status.clear();
  if (m_acl == nullptr) {
    rights = ALL_RIGHTS;
    return;
  }
  rights = 0;
  std::vector<Nym_security_id> ids;
  get_group_ids(sid, ids, status);
  // Without all of the trustee's groups a denial may be missed: no answer rather than a wrong one.
  if (status.is_error()) return;
  ids.push_back(sid);
  unsigned int allowed = 0;
  unsigned int denied = 0;
  const unsigned int count = get_ace_count(m_acl);
  for (unsigned int i = 0; i < count; ++i) {
    void* ace = nullptr;
    if (!GetAce(m_acl, i, &ace)) {
      report(status, NYM_S_ACE_READ_FAILED);
      return;
    }
    const unsigned char type = static_cast<ACE_HEADER*>(ace)->AceType;
    const bool deny = is_deny_ace(type);
    if (type != ACCESS_ALLOWED_ACE_TYPE && !deny) continue;
    _SID* entry = get_ace_sid(ace);
    unsigned int mask = 0;
    if (entry == nullptr || !get_ace_mask(ace, mask)) {
      report_bad_entry(status);
      return;
    }
    for (const Nym_security_id& id : ids) {
      if (EqualSid(entry, static_cast<_SID*>(id))) {
        (deny ? denied : allowed) |= mask;
        break;
      }
    }
  }
  rights = allowed & ~denied;
}

bool Nym_acl::test_rights(const Nym_security_id& sid, unsigned int wanted, Nym_status& status,
                          unsigned int* actual) const {
  unsigned int rights = 0;
  get_rights(sid, rights, status);
  if (actual != nullptr) *actual = rights;
  return !status.is_error() && (rights & wanted) == wanted;
}

void Nym_acl::merge(const Nym_acl& other, Nym_status& status) {
  status.clear();
  // Merging a list into itself would read entries from a list that each addition may replace.
  if (&other == this) {
    Nym_acl copy(*this, status);
    if (status.ok()) merge(copy, status);
    return;
  }
  // Only what set_rights can express is merged, and a refused merge changes nothing: an
  // object-specific or conditional entry turned into a plain one would grant or deny too much.
  const unsigned int count = get_ace_count(other.m_acl);
  for (unsigned int i = 0; i < count; ++i) {
    void* ace = nullptr;
    if (!GetAce(other.m_acl, i, &ace)) {
      report(status, NYM_S_ACE_READ_FAILED);
      return;
    }
    if (static_cast<ACE_HEADER*>(ace)->AceType > SYSTEM_AUDIT_ACE_TYPE || get_ace_sid(ace) == nullptr) {
      report_bad_entry(status);
      return;
    }
  }
  for (unsigned int i = 0; i < count && status.ok(); ++i) {
    void* ace = nullptr;
    if (!GetAce(other.m_acl, i, &ace)) {
      report(status, NYM_S_ACE_READ_FAILED);
      return;
    }
    const auto* header = static_cast<ACE_HEADER*>(ace);
    set_sid_rights(get_ace_sid(ace), header->AceType, static_cast<ACCESS_ALLOWED_ACE*>(ace)->Mask, header->AceFlags,
                   status);
  }
}

bool Nym_acl::standard_rights_equal(const Nym_acl& other) const {
  // A null list opens everything and an empty one nothing: they never count as equal.
  if ((m_acl == nullptr) != (other.m_acl == nullptr)) return false;
  const unsigned int count = get_ace_count(m_acl);
  if (count != get_ace_count(other.m_acl)) return false;
  for (unsigned int i = 0; i < count; ++i) {
    void* mine = nullptr;
    void* theirs = nullptr;
    if (!GetAce(m_acl, i, &mine) || !GetAce(other.m_acl, i, &theirs)) return false;
    const auto* a = static_cast<ACE_HEADER*>(mine);
    const auto* b = static_cast<ACE_HEADER*>(theirs);
    _SID* sid_a = get_ace_sid(mine);
    _SID* sid_b = get_ace_sid(theirs);
    unsigned int mask_a = 0;
    unsigned int mask_b = 0;
    if (sid_a == nullptr || sid_b == nullptr || !get_ace_mask(mine, mask_a) || !get_ace_mask(theirs, mask_b)) {
      return false;
    }
    if (!EqualSid(sid_a, sid_b) || a->AceType != b->AceType || ((a->AceFlags ^ b->AceFlags) & 31) != 0 ||
        ((mask_a ^ mask_b) & STANDARD_RIGHTS_MASK) != 0) {
      return false;
    }
  }
  return true;
}

void Nym_acl::get_entry(unsigned int index, Nym_security_id& sid, Nym_access_modes& mode, unsigned int& rights,
                        unsigned char& flags, Nym_status& status) const {
  status.clear();
  if (index >= get_ace_count(m_acl)) {
    status = NYM_S_ACE_INDEX_PAST_END;
    return;
  }
  void* ace = nullptr;
  if (!GetAce(m_acl, index, &ace)) {
    report(status, NYM_S_ACE_READ_FAILED);
    return;
  }
  _SID* entry = get_ace_sid(ace);
  unsigned int mask = 0;
  if (entry == nullptr || !get_ace_mask(ace, mask)) {
    report_bad_entry(status);
    return;
  }
  const auto* header = static_cast<ACE_HEADER*>(ace);
  sid = Nym_security_id(entry);
  mode = mode_of(header->AceType);
  rights = mask;
  flags = static_cast<unsigned char>(header->AceFlags & 31);
}

void Nym_acl::get_entry_count(unsigned int& count, Nym_status& status) const {
  status.clear();
  count = get_ace_count(m_acl);
}

}  // namespace nym
