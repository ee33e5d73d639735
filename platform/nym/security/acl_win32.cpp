#include <windows.h>

#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

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

// The entries of a list in order, each found to lie wholly inside the list; false when one
// doesn't. Walking in place costs one pass, where GetAce walks from the first entry per index.
bool entries_of(const _ACL* list, std::vector<ACE_HEADER*>& out) {
  out.clear();
  if (list == nullptr) return true;
  auto* at = reinterpret_cast<unsigned char*>(const_cast<_ACL*>(list)) + sizeof(ACL);
  const auto* end = reinterpret_cast<const unsigned char*>(list) + list->AclSize;
  out.reserve(list->AceCount);
  for (unsigned int i = 0; i < list->AceCount; ++i) {
    if (end - at < static_cast<std::ptrdiff_t>(sizeof(ACE_HEADER))) return false;
    auto* header = reinterpret_cast<ACE_HEADER*>(at);
    if (header->AceSize < sizeof(ACE_HEADER) || end - at < header->AceSize) return false;
    out.push_back(header);
    at += header->AceSize;
  }
  return true;
}

// A list with no entries. Failure raises Nym_sys_call_fail "::InitializeAcl".
_ACL* empty_list() {
  _ACL* list = new_list(EMPTY_ACL_SIZE);
  if (!InitializeAcl(list, EMPTY_ACL_SIZE, ACL_REVISION)) {
    delete_list(list);
    throw Nym_sys_call_fail("::InitializeAcl");
  }
  return list;
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

Nym_acl::Nym_acl() : m_acl(empty_list()) {}

// A list that couldn't be made is empty, not null: null would open the object to everyone.
Nym_acl::Nym_acl(const Nym_acl& other, Nym_status& status) {
  status.clear();
  m_acl = copy_acl(other.m_acl, status);
  if (status.is_error()) m_acl = empty_list();
}

Nym_acl::Nym_acl(_ACL* list, Nym_status& status) {
  status.clear();
  m_acl = copy_acl(list, status);
  if (status.is_error()) m_acl = empty_list();
}

Nym_acl::Nym_acl(const Nym_security_id& sid, unsigned int rights, unsigned char flags, Nym_status& status) {
  status.clear();
  set_rights(sid, NYM_ACCESS_ALLOW, rights, flags, status);
  if (status.is_error()) m_acl = empty_list();
}

Nym_acl::~Nym_acl() { delete_list(m_acl); }

Nym_acl& Nym_acl::operator=(Nym_acl&& other) noexcept {
  if (this != &other) {
    delete_list(m_acl);
    m_acl = other.m_acl;
    other.m_acl = nullptr;
  }
  return *this;
}

void Nym_acl::erase(Nym_status& status) {
  status.clear();
  _ACL* empty = empty_list();
  delete_list(m_acl);
  m_acl = empty;
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

// The bytes in use: the header and the entries up to the end of the last; 0 for a null list
// or one whose entries don't lie inside it.
unsigned int Nym_acl::get_acl_size(const _ACL* list) {
  std::vector<ACE_HEADER*> present;
  if (list == nullptr || !entries_of(list, present)) return 0;
  if (present.empty()) return sizeof(ACL);
  const auto* end = reinterpret_cast<const unsigned char*>(present.back()) + present.back()->AceSize;
  return static_cast<unsigned int>(end - reinterpret_cast<const unsigned char*>(list));
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
  std::vector<ACE_HEADER*> from;
  if (!entries_of(source, from)) {
    report_bad_entry(status);
    return false;
  }
  if (from.empty()) return true;
  // The entries lie back to back: one copy behind the target's own, then the count.
  std::vector<ACE_HEADER*> present;
  if (!entries_of(target, present)) {
    report_bad_entry(status);
    return false;
  }
  auto* free_space = reinterpret_cast<unsigned char*>(target) + sizeof(ACL);
  if (!present.empty()) free_space = reinterpret_cast<unsigned char*>(present.back()) + present.back()->AceSize;
  const auto* first = reinterpret_cast<const unsigned char*>(from.front());
  const std::size_t bytes = reinterpret_cast<const unsigned char*>(from.back()) + from.back()->AceSize - first;
  if (free_space + bytes > reinterpret_cast<unsigned char*>(target) + target->AclSize ||
      present.size() + from.size() > 0xFFFF) {
    status = ERROR_ALLOTTED_SPACE_EXCEEDED;
    status.push(NYM_S_ACE_READ_FAILED);
    return false;
  }
  std::memcpy(free_space, first, bytes);
  target->AceCount = static_cast<WORD>(present.size() + from.size());
  if (source->AclRevision > target->AclRevision) target->AclRevision = source->AclRevision;
  return true;
}

_ACL* Nym_acl::copy_acl(const _ACL* source, Nym_status& status) {
  if (source == nullptr) return nullptr;
  const unsigned int size = get_acl_size(source);
  if (size == 0) {
    report_bad_entry(status);
    return nullptr;
  }
  _ACL* copy = new_list(size);
  if (!InitializeAcl(copy, size, ACL_REVISION)) {
    report(status, NYM_S_ACL_INIT_FAILED);
  } else if (copy_aces(source, copy, status)) {
    return copy;
  }
  delete_list(copy);
  return nullptr;
}

void Nym_acl::set_rights(const Nym_security_id& sid, Nym_access_modes mode, unsigned int rights, unsigned char flags,
                         Nym_status& status) {
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
  std::vector<ACE_HEADER*> present;
  if (!entries_of(m_acl, present)) {
    report_bad_entry(status);
    return;
  }
  for (ACE_HEADER* header : present) {
    if (header->AceType != stored || header->AceFlags != flags) continue;
    _SID* held = get_ace_sid(header);
    if (held != nullptr && EqualSid(held, sid)) {
      reinterpret_cast<ACCESS_ALLOWED_ACE*>(header)->Mask |= rights;
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
  if (!InitializeAcl(list, size, ACL_REVISION)) {
    report(status, NYM_S_ACL_INIT_FAILED);
  } else if (deny && !AddAccessDeniedAce(list, ACL_REVISION, rights, sid)) {
    report(status, NYM_S_ACE_ADD_FAILED);
  } else if (copy_aces(m_acl, list, status) && !deny && !AddAccessAllowedAce(list, ACL_REVISION, rights, sid)) {
    report(status, NYM_S_ACE_ADD_FAILED);
  }
  if (status.ok()) {
    // The new entry stands first (a denial) or last.
    std::vector<ACE_HEADER*> now;
    if (entries_of(list, now) && !now.empty()) {
      ACE_HEADER* added = deny ? now.front() : now.back();
      added->AceFlags = static_cast<unsigned char>((added->AceFlags & 0xE0) | flags);
    } else {
      report_bad_entry(status);
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
    rights = NYM_ACL_ALL_RIGHTS;
    return;
  }
  rights = 0;
  std::vector<Nym_security_id> ids;
  get_group_ids(sid, ids, status);
  // Without all of the trustee's groups a denial may be missed: no answer rather than a wrong one.
  if (status.is_error()) return;
  ids.push_back(sid);
  std::vector<ACE_HEADER*> present;
  if (!entries_of(m_acl, present)) {
    report_bad_entry(status);
    return;
  }
  unsigned int allowed = 0;
  unsigned int denied = 0;
  for (ACE_HEADER* header : present) {
    const bool deny = is_deny_ace(header->AceType);
    if (header->AceType != ACCESS_ALLOWED_ACE_TYPE && !deny) continue;
    _SID* entry = get_ace_sid(header);
    unsigned int mask = 0;
    if (entry == nullptr || !get_ace_mask(header, mask)) {
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
  std::vector<ACE_HEADER*> theirs;
  bool readable = entries_of(other.m_acl, theirs);
  for (std::size_t i = 0; readable && i < theirs.size(); ++i) {
    readable = theirs[i]->AceType <= SYSTEM_AUDIT_ACE_TYPE && get_ace_sid(theirs[i]) != nullptr;
  }
  if (!readable) {
    report_bad_entry(status);
    return;
  }
  for (std::size_t i = 0; i < theirs.size() && status.ok(); ++i) {
    const ACE_HEADER* header = theirs[i];
    set_sid_rights(get_ace_sid(header), header->AceType, reinterpret_cast<const ACCESS_ALLOWED_ACE*>(header)->Mask,
                   header->AceFlags, status);
  }
}

bool Nym_acl::standard_rights_equal(const Nym_acl& other) const {
  // A null list opens everything and an empty one nothing: they never count as equal.
  if ((m_acl == nullptr) != (other.m_acl == nullptr)) return false;
  std::vector<ACE_HEADER*> mine;
  std::vector<ACE_HEADER*> theirs;
  if (!entries_of(m_acl, mine) || !entries_of(other.m_acl, theirs) || mine.size() != theirs.size()) return false;
  for (std::size_t i = 0; i < mine.size(); ++i) {
    const ACE_HEADER* a = mine[i];
    const ACE_HEADER* b = theirs[i];
    _SID* sid_a = get_ace_sid(a);
    _SID* sid_b = get_ace_sid(b);
    unsigned int mask_a = 0;
    unsigned int mask_b = 0;
    if (sid_a == nullptr || sid_b == nullptr || !get_ace_mask(a, mask_a) || !get_ace_mask(b, mask_b)) return false;
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
  std::vector<ACE_HEADER*> present;
  _SID* entry = nullptr;
  unsigned int mask = 0;
  if (!entries_of(m_acl, present) || (entry = get_ace_sid(present[index])) == nullptr ||
      !get_ace_mask(present[index], mask)) {
    report_bad_entry(status);
    return;
  }
  sid = Nym_security_id(entry);
  mode = mode_of(present[index]->AceType);
  rights = mask;
  flags = static_cast<unsigned char>(present[index]->AceFlags & 31);
}

void Nym_acl::get_entry_count(unsigned int& count, Nym_status& status) const {
  status.clear();
  count = get_ace_count(m_acl);
}

}  // namespace nym
