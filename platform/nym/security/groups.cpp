#include <stdexcept>

#include "nym/acl.h"
#include "security/account_db.h"
#include "security/group_cache.h"

namespace nym {

namespace {

constexpr int SID_TYPE_USER = 1;  // SidTypeUser

// One database answer into `status`: a user no database knows simply has no groups there; an
// answer with fewer names than exist is an error too, for the missing ones may be the ones
// that matter.
void take_answer(unsigned int result, std::size_t read, unsigned int total, unsigned int failed, unsigned int truncated,
                 Nym_status& status) {
  if (result == impl::USER_NOT_FOUND) return;
  if (result != 0 && result != impl::MORE_GROUPS) {
    status = result;
    status.push(failed);
  } else if (result == impl::MORE_GROUPS || read < total) {
    status.assign(truncated, Nym_int_status_arg(total));
  }
}

// The trustee's group names on `server`: local groups first when asked for, then global ones.
void list_groups(const Nym_security_id& sid, const Wstring& server, std::vector<Wstring>& names, bool local,
                 Nym_status& status) {
  status.clear();
  const Wstring account = sid.account_name();
  const impl::Account_database& database = impl::account_database();
  if (local) {
    const std::size_t before = names.size();
    unsigned int total = 0;
    const unsigned int result = database.local_groups(server, account, names, total);
    take_answer(result, names.size() - before, total, NYM_S_LOCAL_GROUPS_FAILED, NYM_S_LOCAL_GROUPS_TRUNCATED, status);
  }
  if (!status.is_error()) {
    const std::size_t before = names.size();
    unsigned int total = 0;
    const unsigned int result = database.global_groups(server, account, names, total);
    take_answer(result, names.size() - before, total, NYM_S_GLOBAL_GROUPS_FAILED, NYM_S_GLOBAL_GROUPS_TRUNCATED,
                status);
  }
}

}  // namespace

void nym_enumerate_local_groups(const Nym_security_id& sid, std::vector<Nym_security_id>& groups, Nym_status& status) {
  status.clear();
  std::vector<Wstring> names;
  list_groups(sid, Wstring(), names, true, status);
  for (const Wstring& name : names) groups.emplace_back(name);
}

void nym_enumerate_domain_groups(const Nym_security_id& sid, const Wstring& domain,
                                 std::vector<Nym_security_id>& groups, Nym_status& status) {
  status.clear();
  Wstring controller;
  // Outside a domain there is no controller, and no domain groups: that is no error.
  if (impl::account_database().controller_name(domain, controller) != 0 || controller.empty()) return;
  std::vector<Wstring> names;
  list_groups(sid, controller, names, false, status);
  for (const Wstring& name : names) groups.emplace_back(domain.empty() ? name : domain + u'\\' + name);
}

void Nym_acl::get_groups(const Nym_security_id& sid, std::vector<Nym_security_id>& groups, Nym_status& status) {
  get_group_ids(sid, groups, status);
}

void Nym_acl::get_group_ids(Nym_security_id sid, std::vector<Nym_security_id>& ids, Nym_status& status) {
  status.clear();
  Nym_acl_group_cache& cache = impl::library_group_cache();
  if (cache.get_groups(sid, ids, status)) return;
  if (sid.sid_type() == SID_TYPE_USER) {
    const Wstring account = sid.account_name();
    const std::size_t slash = account.find(u'\\');
    const Wstring domain = slash == Wstring::npos ? Wstring() : account.substr(0, slash);
    const Wstring user = slash == Wstring::npos ? account : account.substr(slash + 1);
    nym_enumerate_local_groups(Nym_security_id(account), ids, status);
    if (!status.is_error()) nym_enumerate_domain_groups(Nym_security_id(user), domain, ids, status);
  }
  if (!status.is_error()) ids.emplace_back(NYM_TRUSTEE_EVERYONE);
  // Resolved once here, the cached copies compare without a look-up each; a name that doesn't
  // resolve raises later, where it is compared.
  for (const Nym_security_id& id : ids) {
    try {
      (void)static_cast<_SID*>(id);
    } catch (const std::runtime_error&) {
    }
  }
  // A failed look-up is stored with its error, which every later look-up reports again.
  cache.set_groups(sid, ids, status);
}

}  // namespace nym
