// What the security suites share: a stand-in account database, a fresh group-cache period per
// test, and lists built row by row.
#ifndef NYM_TEST_SECURITY_FIXTURE_H
#define NYM_TEST_SECURITY_FIXTURE_H

#include <windows.h>

#include <memory>
#include <vector>

#include "nym/acl.h"
#include "nym/string_basic.h"
#include "nym/test_clock.h"
#include "security/account_db.h"
#include "test_helpers.h"

namespace nym_test {

// One database answer: the code, the names given and the total claimed (0: as many as names).
struct Answer {
  unsigned int code = 0;
  std::vector<nym::Wstring> names;
  unsigned int total = 0;
};

// Answers from its tables, notes the questions; in place for its lifetime.
class Fake_accounts : public nym::impl::Account_database {
 public:
  Fake_accounts() : m_previous(nym::impl::set_account_database(this)) {}
  ~Fake_accounts() override { nym::impl::set_account_database(m_previous); }

  unsigned int local_groups(const nym::Wstring& server, const nym::Wstring& account, std::vector<nym::Wstring>& names,
                            unsigned int& total) const override {
    return give(local, local_calls, server + account, names, total);
  }
  unsigned int global_groups(const nym::Wstring& server, const nym::Wstring& account, std::vector<nym::Wstring>& names,
                             unsigned int& total) const override {
    return give(global, global_calls, server + account, names, total);
  }
  unsigned int controller_name(const nym::Wstring&, nym::Wstring&) const override { return 2453; }  // no domain

  Answer local, global;
  mutable int local_calls = 0, global_calls = 0;
  mutable nym::Wstring last_asked;  // the server and the account

 private:
  unsigned int give(const Answer& a, int& calls, const nym::Wstring& asked, std::vector<nym::Wstring>& names,
                    unsigned int& total) const {
    ++calls;
    last_asked = asked;
    names.insert(names.end(), a.names.begin(), a.names.end());
    total = a.total != 0 ? a.total : static_cast<unsigned int>(a.names.size());
    return a.code;
  }

  const nym::impl::Account_database* m_previous;
};

// A test clock a day past the one before, so that the library's group cache starts empty.
inline std::unique_ptr<nym::Nym_test_clock> fresh_cache_period() {
  static nym::int64 day = 20000;
  return std::make_unique<nym::Nym_test_clock>(nym::Nym_time_period(++day * 86400, 0), nym::Nym_time_period(), false);
}

// A list built by set_rights, row by row: trustee, mode, rights and flags.
struct Row {
  nym::Wstring who;
  nym::Nym_access_modes mode;
  unsigned int rights;
  unsigned char flags = 0;
};
inline nym::Nym_acl list_with(std::initializer_list<Row> rows, nym::Nym_acl acl = nym::Nym_acl()) {
  nym::Nym_status status;
  for (const Row& r : rows) acl.set_rights(nym::Nym_security_id(r.who), r.mode, r.rights, r.flags, status);
  return acl;
}

inline unsigned int count_of(const nym::Nym_acl& acl) {
  unsigned int count = 0;
  nym::Nym_status status;
  acl.get_entry_count(count, status);
  return count;
}

}  // namespace nym_test

#endif
