// Nym_acl: one discretionary access list, edited by trustee; Nym_acl_group_cache: the groups of
// trustees, kept for a while; and the listers of a trustee's local and domain groups.
//
// A Nym_acl owns its list. A null list (no list at all) gives everybody all rights; an empty
// list gives nobody anything. Entries added through set_rights keep deny entries in front of
// allow entries, as the system's evaluation expects. The class has no lock.
//
// Effective rights (get_rights, test_rights) are the library's own mask calculation over the
// trustee and its groups: allowed bits minus denied bits, whatever the order, with no mapping of
// generic rights. Group memberships come from the account databases and are kept in the
// library's one Nym_acl_group_cache. A look-up that failed is kept as failed: every later
// question about that trustee reports the same error until the cache expires, so a deny entry
// for a group that could not be listed is never passed over.
//
// Failed SID conversions inside these operations raise as Nym_security_id says.
#ifndef NYM_ACL_H
#define NYM_ACL_H

#include <vector>

#include "nym/critical.h"
#include "nym/security_id.h"
#include "nym/status.h"
#include "nym/time_period.h"

struct _ACL;

namespace nym {

constexpr unsigned int NYM_S_ACE_READ_FAILED = 0xC200006Fu;          // reading or copying an entry failed
constexpr unsigned int NYM_S_ACL_INIT_FAILED = 0xC2000070u;          // InitializeAcl failed
constexpr unsigned int NYM_S_ACE_ADD_FAILED = 0xC2000071u;           // adding an entry failed
constexpr unsigned int NYM_S_ACE_INDEX_PAST_END = 0xC200007Cu;       // entry index past the end
constexpr unsigned int NYM_S_LOCAL_GROUPS_TRUNCATED = 0xC200007Fu;   // arg: the total
constexpr unsigned int NYM_S_GLOBAL_GROUPS_TRUNCATED = 0xC2000080u;  // arg: the total
constexpr unsigned int NYM_S_LOCAL_GROUPS_FAILED = 0xC2000081u;      // NetUserGetLocalGroups failed
constexpr unsigned int NYM_S_GLOBAL_GROUPS_FAILED = 0xC2000082u;     // NetUserGetGroups failed

// Kinds of entry. As entry types: ACCESS_ALLOWED_ACE_TYPE, ACCESS_DENIED_ACE_TYPE,
// SYSTEM_AUDIT_ACE_TYPE; NYM_ACCESS_OTHER is only what get_entry answers for any other type.
enum Nym_access_modes {
  NYM_ACCESS_ALLOW = 0,
  NYM_ACCESS_DENY = 1,
  NYM_ACCESS_AUDIT = 2,
  NYM_ACCESS_OTHER = 3,
};

// All four generic rights: what a null list gives anybody.
constexpr unsigned int NYM_ACL_ALL_RIGHTS = 0xF0000000u;

class NYM_API Nym_acl {
 public:
  // An empty list. Failure raises Nym_sys_call_fail "::InitializeAcl".
  Nym_acl();
  // The copying constructors report NYM_S_ACE_READ_FAILED or NYM_S_ACL_INIT_FAILED above the
  // system's code when the list can't be copied, and then hold an empty list, never the null one.
  Nym_acl(const Nym_acl& other, Nym_status& status);
  // Copies a foreign list, which stays the caller's; null gives a null list.
  Nym_acl(_ACL* list, Nym_status& status);
  // A list with one allow entry (an empty one after an error).
  Nym_acl(const Nym_security_id& sid, unsigned int rights, unsigned char flags, Nym_status& status);
  Nym_acl(const Nym_acl&) = delete;
  Nym_acl& operator=(const Nym_acl&) = delete;
  // The list moves; the source is left with a null list, fit only to be destroyed or assigned.
  Nym_acl(Nym_acl&& other) noexcept : m_acl(other.m_acl) { other.m_acl = nullptr; }
  Nym_acl& operator=(Nym_acl&& other) noexcept;
  ~Nym_acl();

  // An empty list in place of the present one.
  void erase(Nym_status& status);

  // Adds an entry, or widens the entry of the same kind, trustee and flag byte. A new deny entry
  // goes in front of all, any other behind all; audit is added as allow (and widens the allow
  // entry of the same trustee and flags, so repeated calls don't grow the list). Reports
  // NYM_S_ACE_READ_FAILED, NYM_S_ACL_INIT_FAILED, NYM_S_ACE_ADD_FAILED above the system's code,
  // and leaves the list as it was. A mode above 2 raises std::invalid_argument "Invalid argument
  // to Nym_acl::map_access_mode()".
  void set_rights(const Nym_security_id& sid, Nym_access_modes mode, unsigned int rights, unsigned char flags,
                  Nym_status& status);
  // The trustee's effective rights, its groups included. A null list gives NYM_ACL_ALL_RIGHTS with
  // no look-up. When the groups could not be listed, the error comes back and `rights` is 0.
  void get_rights(const Nym_security_id& sid, unsigned int& rights, Nym_status& status) const;
  // True when get_rights had no error and all bits of `wanted` are held; the rights found go to
  // *actual if it isn't null, error or not.
  bool test_rights(const Nym_security_id& sid, unsigned int wanted, Nym_status& status,
                   unsigned int* actual = nullptr) const;
  // Adds or widens every entry of `other`, in its order, by the rules of set_rights. An entry of
  // a kind other than allow, deny or audit reports NYM_S_ACE_READ_FAILED before anything changes.
  void merge(const Nym_acl& other, Nym_status& status);
  // Same trustees, modes and low five flag bits in the same order, with rights agreeing in the
  // standard rights (0xF0000); other rights are ignored. A read error gives false.
  bool standard_rights_equal(const Nym_acl& other) const;
  // The entry at `index` (from 0); `flags` are its low five flag bits. Past the end:
  // NYM_S_ACE_INDEX_PAST_END.
  void get_entry(unsigned int index, Nym_security_id& sid, Nym_access_modes& mode, unsigned int& rights,
                 unsigned char& flags, Nym_status& status) const;
  // A null list counts 0.
  void get_entry_count(unsigned int& count, Nym_status& status) const;

  // The trustee's groups, from the cache or the account databases; Everyone is always among them
  // when there was no error. Reports what the listers report.
  static void get_groups(const Nym_security_id& sid, std::vector<Nym_security_id>& groups, Nym_status& status);

 private:
  friend class Nym_security;

  _ACL* get_list() const { return m_acl; }
  static _ACL* copy_acl(const _ACL* source, Nym_status& status);
  static bool copy_aces(const _ACL* source, _ACL* target, Nym_status& status);
  static unsigned int get_ace_count(const _ACL* list);
  static unsigned int get_acl_size(const _ACL* list);
  static bool get_ace_mask(const void* ace, unsigned int& mask);
  static _SID* get_ace_sid(const void* ace);
  static unsigned char map_access_mode(Nym_access_modes mode);
  void set_sid_rights(_SID* sid, unsigned char type, unsigned int rights, unsigned char flags, Nym_status& status);
  static void get_group_ids(Nym_security_id sid, std::vector<Nym_security_id>& ids, Nym_status& status);

  _ACL* m_acl = nullptr;
};

// The groups of trustees, each with the error its look-up ended in (if any). The whole cache is
// emptied at most every fifteen minutes, by the library's clock; a clock set back before the
// present period began empties it too. Any thread may use it: one lock guards it, held for a
// look-up or a store, never while groups are listed.
class NYM_API Nym_acl_group_cache {
 public:
  Nym_acl_group_cache();
  Nym_acl_group_cache(const Nym_acl_group_cache&) = delete;
  Nym_acl_group_cache& operator=(const Nym_acl_group_cache&) = delete;
  ~Nym_acl_group_cache();

  // True when the trustee is known: `groups` gets its groups and `error` the error its look-up
  // ended in (clear when there was none). False empties `groups` and clears `error`.
  bool get_groups(const Nym_security_id& sid, std::vector<Nym_security_id>& groups, Nym_status& error);
  // Stores or replaces the trustee's groups and the error of their look-up.
  void set_groups(const Nym_security_id& sid, const std::vector<Nym_security_id>& groups,
                  const Nym_status& error = Nym_status());

 private:
  struct Entry;

  // Fifteen minutes.
  static const Nym_time_period CACHE_TIMEOUT;

  void check_expiry();
  void erase();
  static void copy_id_table(const std::vector<Nym_security_id>& from, std::vector<Nym_security_id>& to);

  std::vector<Entry*> m_entries;
  int64 m_expiry;  // seconds since 1970, UTC
  Nym_critical m_lock;
};

// Appends the trustee's local groups, indirect memberships included. A trustee that the account
// database doesn't know has none, without an error. Reports NYM_S_LOCAL_GROUPS_FAILED or
// NYM_S_GLOBAL_GROUPS_FAILED above the system's code, NYM_S_LOCAL_GROUPS_TRUNCATED or
// NYM_S_GLOBAL_GROUPS_TRUNCATED (with the total) when not all could be read.
NYM_API void nym_enumerate_local_groups(const Nym_security_id& sid, std::vector<Nym_security_id>& groups,
                                        Nym_status& status);
// Appends the trustee's groups in `domain`, named "domain\group" (the bare name when `domain` is
// empty), as the domain's controller lists them. Where no controller is found there are none,
// without an error. Reports as nym_enumerate_local_groups.
NYM_API void nym_enumerate_domain_groups(const Nym_security_id& sid, const Wstring& domain,
                                         std::vector<Nym_security_id>& groups, Nym_status& status);

}  // namespace nym

#endif
