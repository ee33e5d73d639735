#include <gtest/gtest.h>

#include <thread>

#include <stdexcept>

#include <vector>

#include "nym/acl.h"
#include "security_fixture.h"
#include "test_helpers.h"
#include "test_platform.h"

using namespace nym;
using nym_test::Answer;
using nym_test::Fake_accounts;
using nym_test::list_with;

namespace {

const Wstring BACKUP = u"S-1-5-32-551";
const Wstring PRINT = u"S-1-5-32-550";
const Wstring DOMAIN_USERS = u"S-1-5-21-9-9-9-513";  // a domain group nobody here knows

unsigned int rights_of(const Nym_acl& acl, const Nym_security_id& who, Nym_status& status) {
  unsigned int rights = 0xBAD;
  acl.get_rights(who, rights, status);
  return rights;
}

// A comparison that raises inside a look-up must give the lock back.
TEST(GroupCacheTest, ALookUpThatRaisesReleasesTheLock) {
  Nym_acl_group_cache cache;
  std::vector<Nym_security_id> groups;
  Nym_status error;
  cache.get_groups(Nym_security_id(NYM_TRUSTEE_USERS), groups, error);  // the first look-up starts a period
  cache.set_groups(Nym_security_id(NYM_TRUSTEE_ADMINISTRATORS), {Nym_security_id(NYM_TRUSTEE_EVERYONE)});
  EXPECT_THROW(cache.get_groups(Nym_security_id(u"no such account 51c"), groups, error), std::runtime_error);
  bool found = false;
  std::thread other([&] { found = cache.get_groups(Nym_security_id(u"S-1-5-32-544"), groups, error); });
  other.join();
  EXPECT_TRUE(found);
}

}  // namespace

TEST(GroupCacheTest, RightsCountThroughLocalAndGlobalGroups) {
  Fake_accounts accounts;
  accounts.local.names = {BACKUP};
  accounts.global.names = {PRINT};
  auto clock = nym_test::fresh_cache_period();
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  const Nym_acl acl = list_with({{BACKUP, NYM_ACCESS_ALLOW, 0x3}, {PRINT, NYM_ACCESS_DENY, 0x1}});
  Nym_status status;
  EXPECT_TRUE(rights_of(acl, user, status) == 0x2u && status.ok());
  std::vector<Nym_security_id> groups;
  Nym_acl::get_groups(user, groups, status);
  EXPECT_EQ(groups, (std::vector<Nym_security_id>{BACKUP, PRINT, NYM_TRUSTEE_EVERYONE}));
  EXPECT_EQ(accounts.last_asked, user.account_name());
  // Trustees that aren't users belong to Everyone alone, without a question to the databases.
  Nym_acl::get_groups(Nym_security_id(NYM_TRUSTEE_ADMINISTRATORS), groups, status);
  EXPECT_TRUE(groups == std::vector<Nym_security_id>{NYM_TRUSTEE_EVERYONE} && accounts.local_calls == 1);
}

// A look-up that failed half-way must not let a later question through on the half it found:
// the error comes back, with no rights, until the cache expires fifteen minutes after the
// period began; a trustee's groups are listed once a period.
TEST(GroupCacheTest, AFailedLookUpFailsAgainUntilTheCacheExpires) {
  Fake_accounts accounts;
  accounts.local.names = {BACKUP};
  accounts.global.code = ERROR_UNEXP_NET_ERR;
  auto clock = nym_test::fresh_cache_period();
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  const Nym_acl acl = list_with({{BACKUP, NYM_ACCESS_ALLOW, 0xF}, {DOMAIN_USERS, NYM_ACCESS_DENY, 0x1}});
  Nym_status first;
  EXPECT_EQ(rights_of(acl, user, first), 0u);
  EXPECT_TRUE(first == NYM_S_GLOBAL_GROUPS_FAILED && first.contains_value(ERROR_UNEXP_NET_ERR));
  accounts.global = Answer{0, {DOMAIN_USERS}};
  for (int seconds : {0, 899}) {  // from the first look-up
    clock->advance(Nym_time_period(seconds, 0));
    Nym_status again;
    unsigned int actual = 0xBAD;
    EXPECT_TRUE(!acl.test_rights(user, 0, again, &actual) && actual == 0u && again.compare(first, true, true)) << seconds;
    std::vector<Nym_security_id> partial;
    Nym_acl::get_groups(user, partial, again);
    EXPECT_TRUE(partial == std::vector<Nym_security_id>{BACKUP} && again.compare(first, true, true));
  }
  EXPECT_EQ(accounts.local_calls, 1);
  clock->advance(Nym_time_period(1, 0));  // fifteen minutes since the first look-up
  Nym_status status;
  EXPECT_TRUE(rights_of(acl, user, status) == 0xEu && status.ok() && accounts.local_calls == 2);
  clock->advance(Nym_time_period(-3600, 0));  // a clock set back starts a new period too
  EXPECT_TRUE(rights_of(acl, user, status) == 0xEu && accounts.local_calls == 3);
}

TEST(GroupCacheTest, UnknownUsersHaveNoGroupsAndShortListsAreErrors) {
  Fake_accounts accounts;
  const struct {
    Answer local, global;
    unsigned int code;
    nym::int64 total;  // the argument, where there is one
  } cases[] = {
      {{nym::impl::USER_NOT_FOUND, {}}, {nym::impl::USER_NOT_FOUND, {}}, 0, -1},
      {{nym::impl::MORE_GROUPS, {BACKUP}, 5}, {}, NYM_S_LOCAL_GROUPS_TRUNCATED, 5},
      {{0, {BACKUP}, 3}, {}, NYM_S_LOCAL_GROUPS_TRUNCATED, 3},
      {{}, {nym::impl::MORE_GROUPS, {PRINT}, 2}, NYM_S_GLOBAL_GROUPS_TRUNCATED, 2},
      {{ERROR_ACCESS_DENIED, {}}, {}, NYM_S_LOCAL_GROUPS_FAILED, -1},
  };
  for (const auto& c : cases) {
    accounts.local = c.local;
    accounts.global = c.global;
    Nym_status status;
    std::vector<Nym_security_id> groups;
    nym_enumerate_local_groups(Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER), groups, status);
    EXPECT_EQ(status.value(), c.code);
    EXPECT_TRUE(c.total < 0 ? status.num_args() == 0 : **status.begin() == Nym_int_status_arg(c.total));
  }
}

// The system's own databases: Windows lists the user's groups; Wine answers NetUserGetGroups
// with an error for everyone, which must come back as such.
TEST(GroupCacheTest, TheSystemsDatabasesAnswerOrFailClosed) {
  auto clock = nym_test::fresh_cache_period();
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  std::vector<Nym_security_id> groups;
  Nym_status status;
  Nym_acl::get_groups(user, groups, status);
  if (status.ok()) {
    EXPECT_TRUE(groups.back() == Nym_security_id(NYM_TRUSTEE_EVERYONE));
  } else {
    EXPECT_TRUE(nym_test::running_under_wine() && status == NYM_S_GLOBAL_GROUPS_FAILED) << std::hex << status.value();
    EXPECT_FALSE(list_with({{u"S-1-1-0", NYM_ACCESS_ALLOW, 1}}).test_rights(user, 1, status));
  }
}
