// What the security suites share: a stand-in account database, a fresh group-cache period per
// test, and reading a kernel object's list back.
#ifndef NYM_TEST_SECURITY_FIXTURE_H
#define NYM_TEST_SECURITY_FIXTURE_H

#include <windows.h>

#include <aclapi.h>

#include <map>
#include <memory>
#include <vector>

#include "nym/acl.h"
#include "nym/test_clock.h"
#include "security/account_db.h"

namespace nym_test {

// One database answer: the code, the names given and the total claimed.
struct Answer {
  unsigned int code = 0;
  std::vector<nym::Wstring> names;
  unsigned int total = 0;  // 0: as many as names
};

// Answers from tables and counts the questions; put in place for its lifetime.
class Fake_accounts : public nym::impl::Account_database {
 public:
  Fake_accounts() : m_previous(nym::impl::set_account_database(this)) {}
  ~Fake_accounts() override { nym::impl::set_account_database(m_previous); }
  Fake_accounts(const Fake_accounts&) = delete;
  Fake_accounts& operator=(const Fake_accounts&) = delete;

  unsigned int local_groups(const nym::Wstring& server, const nym::Wstring& account, std::vector<nym::Wstring>& names,
                            unsigned int& total) const override {
    ++local_calls;
    last_local_account = account;
    last_local_server = server;
    return give(local, names, total);
  }
  unsigned int global_groups(const nym::Wstring& server, const nym::Wstring& account, std::vector<nym::Wstring>& names,
                             unsigned int& total) const override {
    ++global_calls;
    last_global_account = account;
    last_global_server = server;
    return give(global, names, total);
  }
  unsigned int controller_name(const nym::Wstring& domain, nym::Wstring& name) const override {
    last_domain = domain;
    name = controller;
    return controller_code;
  }

  Answer local;
  Answer global;
  unsigned int controller_code = 2453;  // NERR_DCNotFound: no domain
  nym::Wstring controller;
  mutable int local_calls = 0;
  mutable int global_calls = 0;
  mutable nym::Wstring last_local_account, last_local_server, last_global_account, last_global_server, last_domain;

 private:
  static unsigned int give(const Answer& a, std::vector<nym::Wstring>& names, unsigned int& total) {
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

// The discretionary list of a kernel object or key, as a Nym_acl (null when none is set).
inline std::unique_ptr<nym::Nym_acl> list_of(HANDLE object, SE_OBJECT_TYPE type) {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(object, type, DACL_SECURITY_INFORMATION, nullptr, nullptr, &list, nullptr, &descriptor) != 0) {
    return nullptr;
  }
  nym::Nym_status status;
  auto result = std::make_unique<nym::Nym_acl>(list, status);
  LocalFree(descriptor);
  return status.ok() ? std::move(result) : nullptr;
}

}  // namespace nym_test

#endif
