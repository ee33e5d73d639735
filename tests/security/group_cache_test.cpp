#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "nym/acl.h"
#include "security_fixture.h"
#include "test_helpers.h"
#include "test_platform.h"
#include "watchdog.h"

using namespace nym;
using nym_test::Answer;
using nym_test::Fake_accounts;

namespace {

const Wstring BACKUP = u"S-1-5-32-551";
const Wstring PRINT = u"S-1-5-32-550";
const Wstring DOMAIN_USERS = u"S-1-5-21-9-9-9-513";  // a domain group nobody here knows

std::vector<Wstring> sids_of(const std::vector<Nym_security_id>& ids) {
  std::vector<Wstring> out;
  for (const Nym_security_id& id : ids) out.push_back(id);
  return out;
}

Nym_acl list_with(std::initializer_list<std::tuple<Wstring, Nym_access_modes, unsigned int>> rows) {
  Nym_acl acl;
  Nym_status status;
  for (const auto& [who, mode, rights] : rows) acl.set_rights(Nym_security_id(who), mode, rights, 0, status);
  return acl;
}

unsigned int rights_of(const Nym_acl& acl, const Nym_security_id& who, Nym_status& status) {
  unsigned int rights = 0xBAD;
  acl.get_rights(who, rights, status);
  return rights;
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
  EXPECT_EQ(rights_of(acl, user, status), 0x2u);
  EXPECT_TRUE(status.ok());
  std::vector<Nym_security_id> groups;
  Nym_acl::get_groups(user, groups, status);
  EXPECT_EQ(sids_of(groups), (std::vector<Wstring>{BACKUP, PRINT, u"S-1-1-0"}));
  EXPECT_EQ(accounts.last_local_account, user.account_name());
  EXPECT_EQ(accounts.last_local_server, u"");
  // Trustees that aren't users belong to Everyone alone, without a question to the databases.
  Nym_acl::get_groups(Nym_security_id(NYM_TRUSTEE_ADMINISTRATORS), groups, status);
  EXPECT_EQ(sids_of(groups), std::vector<Wstring>{u"S-1-1-0"});
  EXPECT_EQ(accounts.local_calls, 1);
}

// A look-up that failed half-way must not let a later question through on the half it found:
// the error comes back, with no rights, until the cache expires.
TEST(GroupCacheTest, AFailedLookUpFailsAgainUntilTheCacheExpires) {
  Fake_accounts accounts;
  accounts.local.names = {BACKUP};
  accounts.global.code = ERROR_UNEXP_NET_ERR;
  auto clock = nym_test::fresh_cache_period();
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  const Nym_acl acl = list_with({{BACKUP, NYM_ACCESS_ALLOW, 0xF}, {DOMAIN_USERS, NYM_ACCESS_DENY, 0x1}});
  Nym_status first;
  EXPECT_EQ(rights_of(acl, user, first), 0u);
  EXPECT_EQ(first, NYM_S_GLOBAL_GROUPS_FAILED);
  EXPECT_TRUE(first.contains_value(ERROR_UNEXP_NET_ERR));
  accounts.global = Answer{0, {DOMAIN_USERS}};
  for (int minute = 0; minute < 15; ++minute) {
    Nym_status again;
    unsigned int actual = 0xBAD;
    EXPECT_FALSE(acl.test_rights(user, 0, again, &actual)) << minute;
    EXPECT_EQ(actual, 0u);
    EXPECT_TRUE(again.compare(first, true, true)) << minute;
    std::vector<Nym_security_id> partial;
    Nym_acl::get_groups(user, partial, again);
    EXPECT_EQ(sids_of(partial), std::vector<Wstring>{BACKUP});
    EXPECT_TRUE(again.compare(first, true, true));
    clock->advance(Nym_time_period(0, 0, 0, minute == 14 ? 59 : 60, 0));
  }
  EXPECT_EQ(accounts.local_calls, 1);
  clock->advance(Nym_time_period(1, 0));  // fifteen minutes since the first look-up
  Nym_status status;
  EXPECT_EQ(rights_of(acl, user, status), 0xEu);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(accounts.local_calls, 2);
}

TEST(GroupCacheTest, GroupsAreListedOncePerPeriodAndAgainAfterTheClockWentBack) {
  Fake_accounts accounts;
  auto clock = nym_test::fresh_cache_period();
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  const Nym_acl acl = list_with({{u"S-1-1-0", NYM_ACCESS_ALLOW, 0x1}});
  Nym_status status;
  const struct {
    int seconds;  // the clock's move before the question
    int calls;    // look-ups made by then
  } steps[] = {{0, 1}, {0, 1}, {899, 1}, {1, 2}, {600, 2}, {-3600, 3}, {10, 3}};
  for (const auto& step : steps) {
    clock->advance(Nym_time_period(step.seconds, 0));
    EXPECT_EQ(rights_of(acl, user, status), 0x1u);
    EXPECT_EQ(accounts.local_calls, step.calls) << step.seconds;
  }
}

TEST(GroupCacheTest, UnknownUsersHaveNoGroupsAndShortListsAreErrors) {
  Fake_accounts accounts;
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  const struct {
    Answer local;
    Answer global;
    unsigned int code;
    const char16_t* total;
  } cases[] = {
      {{nym::impl::USER_NOT_FOUND, {}}, {nym::impl::USER_NOT_FOUND, {}}, 0, nullptr},
      {{nym::impl::MORE_GROUPS, {BACKUP}, 5}, {}, NYM_S_LOCAL_GROUPS_TRUNCATED, u"5"},
      {{0, {BACKUP}, 3}, {}, NYM_S_LOCAL_GROUPS_TRUNCATED, u"3"},
      {{}, {nym::impl::MORE_GROUPS, {PRINT}, 2}, NYM_S_GLOBAL_GROUPS_TRUNCATED, u"2"},
      {{ERROR_ACCESS_DENIED, {}}, {}, NYM_S_LOCAL_GROUPS_FAILED, nullptr},
  };
  for (const auto& c : cases) {
    accounts.local = c.local;
    accounts.global = c.global;
    Nym_status status;
    std::vector<Nym_security_id> groups;
    nym_enumerate_local_groups(user, groups, status);
    EXPECT_EQ(status.value(), c.code);
    if (c.total != nullptr) {
      ASSERT_EQ(status.num_args(), 1u);
      Wstring text;
      (*status.begin())->to_string(text);
      EXPECT_EQ(text, c.total);
    }
  }
}

TEST(GroupCacheTest, DomainGroupsComeFromTheControllerNamedAfterTheirDomain) {
  Fake_accounts accounts;
  accounts.global.names = {u"Domain Users", u"Staff"};
  const Nym_security_id user(u"someone");
  Nym_status status;
  std::vector<Nym_security_id> groups;
  nym_enumerate_domain_groups(user, u"CORP", groups, status);  // no controller: no groups, no error
  EXPECT_TRUE(groups.empty());
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(accounts.global_calls, 0);
  accounts.controller_code = 0;
  accounts.controller = u"\\\\DC1";
  nym_enumerate_domain_groups(user, u"CORP", groups, status);
  nym_enumerate_domain_groups(user, u"", groups, status);
  ASSERT_EQ(groups.size(), 4u);
  EXPECT_EQ(groups[0].account_name(), u"CORP\\Domain Users");
  EXPECT_EQ(groups[1].account_name(), u"CORP\\Staff");
  EXPECT_EQ(groups[2].account_name(), u"Domain Users");
  EXPECT_EQ(accounts.last_global_server, u"\\\\DC1");
  EXPECT_EQ(accounts.last_global_account, u"someone");
  EXPECT_EQ(accounts.local_calls, 0);
}

// A comparison that raises inside a look-up must give the lock back.
TEST(GroupCacheTest, ALookUpThatRaisesReleasesTheLock) {
  nym_test::Watchdog watchdog("ALookUpThatRaisesReleasesTheLock");
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

TEST(GroupCacheTest, ManyThreadsStoreAndFindTheirOwnTrustees) {
  nym_test::Watchdog watchdog("ManyThreadsStoreAndFindTheirOwnTrustees");
  Nym_acl_group_cache cache;
  std::vector<Nym_security_id> none;
  Nym_status clear;
  cache.get_groups(Nym_security_id(NYM_TRUSTEE_USERS), none, clear);
  std::vector<std::thread> threads;
  std::vector<int> wrong(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      const Nym_security_id me(Wstring(u"S-1-5-21-7-7-7-") + static_cast<Wchar>(u'0' + t));
      const Nym_status error(0xC2000081u + static_cast<unsigned int>(t));
      for (int i = 0; i < 200; ++i) {
        cache.set_groups(me, {me}, error);
        std::vector<Nym_security_id> groups;
        Nym_status found;
        if (!cache.get_groups(me, groups, found) || groups.size() != 1 || !(groups[0] == me) || !(found == error)) {
          ++wrong[t];
        }
      }
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(wrong, std::vector<int>(4, 0));
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
    ASSERT_FALSE(groups.empty());
    EXPECT_TRUE(groups.back() == Nym_security_id(NYM_TRUSTEE_EVERYONE));
  } else {
    EXPECT_TRUE(nym_test::running_under_wine()) << std::hex << status.value();
    EXPECT_EQ(status, NYM_S_GLOBAL_GROUPS_FAILED);
    unsigned int rights = 0xBAD;
    EXPECT_FALSE(list_with({{u"S-1-1-0", NYM_ACCESS_ALLOW, 1}}).test_rights(user, 1, status, &rights));
    EXPECT_EQ(rights, 0u);
  }
}
