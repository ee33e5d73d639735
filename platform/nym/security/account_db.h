// The account databases behind the group listers (internal): a user's local and global group
// names, and the name of a domain's controller.
//
// The system's are reached through NetUserGetLocalGroups, NetUserGetGroups and NetGetDCName;
// tests put their own in place to give a trustee any groups and any failure.
#ifndef NYM_SECURITY_ACCOUNT_DB_H
#define NYM_SECURITY_ACCOUNT_DB_H

#include <vector>

#include "nym/types.h"

namespace nym::impl {

// What the databases answer for a user no database knows (NERR_UserNotFound).
constexpr unsigned int USER_NOT_FOUND = 2221;
// More groups exist than were returned (ERROR_MORE_DATA).
constexpr unsigned int MORE_GROUPS = 234;

class Account_database {
 public:
  virtual ~Account_database() = default;

  // Appends the group names of `account` on `server` (empty: this machine) to `names`; local
  // groups include indirect memberships. Answers 0, USER_NOT_FOUND, MORE_GROUPS or another
  // system code; `total` is how many groups exist (names may hold fewer).
  virtual unsigned int local_groups(const Wstring& server, const Wstring& account, std::vector<Wstring>& names,
                                    unsigned int& total) const = 0;
  virtual unsigned int global_groups(const Wstring& server, const Wstring& account, std::vector<Wstring>& names,
                                     unsigned int& total) const = 0;
  // The name of `domain`'s controller ("\\DC1"); a non-zero system code when there is none.
  virtual unsigned int controller_name(const Wstring& domain, Wstring& name) const = 0;
};

// The database the listers use now: the system's unless one was put in place.
const Account_database& account_database();

// Puts `database` in place of the present one (null: the system's again) and answers the one it
// replaced (null for the system's). The caller keeps ownership; it must outlive its use.
NYM_API const Account_database* set_account_database(const Account_database* database);

}  // namespace nym::impl

#endif
