#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

#include "nym/security.h"
#include "security_fixture.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

namespace {

using nym_test::list_with;

const Wstring A = u"S-1-5-32-551";  // backup operators
const Wstring B = u"S-1-5-32-550";  // print operators
const Wstring C = u"S-1-5-32-549";  // server operators

// One line per entry: mode, SID, rights and flags in hex, so that orders compare at a glance.
std::vector<std::string> entries(const Nym_acl& acl) {
  std::vector<std::string> out;
  for (unsigned int i = 0; i < nym_test::count_of(acl); ++i) {
    Nym_security_id sid;
    Nym_access_modes mode = NYM_ACCESS_OTHER;
    unsigned int rights = 0;
    unsigned char flags = 0;
    Nym_status status;
    acl.get_entry(i, sid, mode, rights, flags, status);
    char hex[24];
    std::snprintf(hex, sizeof hex, " %x %x", rights, flags);
    out.push_back(status.ok() ? std::to_string(mode) + " " + nym_test::utf8(sid) + hex : "unreadable");
  }
  return out;
}

// A list the library can't build itself, with one hand-made entry of `type` for `sid`: an
// object entry gets the object fields its `object_flags` announce.
std::vector<unsigned char> foreign_list(unsigned char type, const Nym_security_id& sid, unsigned int mask,
                                        DWORD object_flags) {
  std::vector<unsigned char> ace(8);
  ace[0] = type;
  std::memcpy(&ace[4], &mask, 4);
  if (type == ACCESS_DENIED_OBJECT_ACE_TYPE) {
    ace.resize(12 + ((object_flags & 1) ? 16 : 0) + ((object_flags & 2) ? 16 : 0), 0x5A);
    std::memcpy(&ace[8], &object_flags, 4);
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(static_cast<_SID*>(sid));
  ace.insert(ace.end(), bytes, bytes + GetLengthSid(static_cast<_SID*>(sid)));
  const auto size = static_cast<WORD>(ace.size());
  std::memcpy(&ace[2], &size, 2);
  std::vector<unsigned char> list(sizeof(ACL) + ace.size());
  auto* acl = reinterpret_cast<PACL>(list.data());
  EXPECT_TRUE(InitializeAcl(acl, static_cast<DWORD>(list.size()), ACL_REVISION_DS));
  EXPECT_TRUE(AddAce(acl, ACL_REVISION_DS, MAXDWORD, ace.data(), size));
  return list;
}

// The system's own decision for the current user on the library's descriptor.
DWORD granted_by_system(Nym_security& security, DWORD desired) {
  void* descriptor =
      static_cast<SECURITY_ATTRIBUTES*>(static_cast<void*>(security.security_attributes(false)))->lpSecurityDescriptor;
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  SetSecurityDescriptorOwner(descriptor, static_cast<_SID*>(user), FALSE);
  SetSecurityDescriptorGroup(descriptor, static_cast<_SID*>(user), FALSE);
  HANDLE process = nullptr, token = nullptr;
  OpenProcessToken(GetCurrentProcess(), TOKEN_DUPLICATE | TOKEN_QUERY, &process);
  DuplicateToken(process, SecurityImpersonation, &token);
  GENERIC_MAPPING mapping = {0x1, 0x2, 0x4, 0xF};
  PRIVILEGE_SET privileges;
  DWORD privileges_size = sizeof privileges, granted = 0;
  BOOL allowed = FALSE;
  EXPECT_TRUE(AccessCheck(descriptor, token, desired, &mapping, &privileges, &privileges_size, &granted, &allowed));
  CloseHandle(token);
  CloseHandle(process);
  return allowed ? granted : 0;
}

}  // namespace

TEST(AclTest, EntriesWidenByKindAndFlagsAndKeepDeniesInFront) {
  Nym_acl acl = list_with({{A, NYM_ACCESS_ALLOW, 0x1},
                           {A, NYM_ACCESS_ALLOW, 0x2},        // widens
                           {A, NYM_ACCESS_ALLOW, 0x4, 0x13},  // other flags: a second entry
                           {B, NYM_ACCESS_DENY, 0x8},         // in front
                           {C, NYM_ACCESS_ALLOW, 0x10},       // behind
                           {C, NYM_ACCESS_DENY, 0x20},        // newest denial first
                           {B, NYM_ACCESS_DENY, 0x40}});      // widens the older denial in place
  EXPECT_EQ(entries(acl), (std::vector<std::string>{"1 S-1-5-32-549 20 0", "1 S-1-5-32-550 48 0", "0 S-1-5-32-551 3 0",
                                                    "0 S-1-5-32-551 4 13", "0 S-1-5-32-549 10 0"}));
  Nym_status status;
  acl.erase(status);
  EXPECT_TRUE(entries(acl).empty());
  EXPECT_EQ(what_of([&] { acl.set_rights(Nym_security_id(A), NYM_ACCESS_OTHER, 1, 0, status); }),
            "Invalid argument to Nym_acl::map_access_mode()");
}

// Audit is stored as allow; repeating it, or merging the result again and again, doesn't grow
// the list.
TEST(AclTest, RepeatedAuditAndMergesDoNotGrowTheList) {
  Nym_acl acl;
  for (int i = 0; i < 50; ++i) acl = list_with({{A, NYM_ACCESS_AUDIT, 1u << (i % 8)}}, std::move(acl));
  acl = list_with({{B, NYM_ACCESS_DENY, 0x100}}, std::move(acl));
  EXPECT_EQ(entries(acl), (std::vector<std::string>{"1 S-1-5-32-550 100 0", "0 S-1-5-32-551 ff 0"}));
  Nym_status status;
  Nym_acl target(Nym_security_id(C), 0x1, 0, status);
  for (int i = 0; i < 20 && status.ok(); ++i) {
    target.merge(acl, status);
    if (status.ok()) target.merge(target, status);
  }
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(entries(target),
            (std::vector<std::string>{"1 S-1-5-32-550 100 0", "0 S-1-5-32-549 1 0", "0 S-1-5-32-551 ff 0"}));
}

// Entry reading and its limits; equality of standard rights ignores specific rights but not
// order or nullness.
TEST(AclTest, EntryReadingLimitsAndStandardRightsEquality) {
  const Nym_acl acl = list_with({{A, NYM_ACCESS_ALLOW, 0x1, 0xD3}});
  EXPECT_EQ(entries(acl), std::vector<std::string>{"0 S-1-5-32-551 1 13"});  // the low five flag bits
  Nym_security_id sid;
  Nym_access_modes mode = NYM_ACCESS_OTHER;
  unsigned int rights = 0;
  unsigned char flags = 0;
  Nym_status status;
  acl.get_entry(1, sid, mode, rights, flags, status);
  EXPECT_EQ(status, NYM_S_ACE_INDEX_PAST_END);
  // An entry too big for any list fails and leaves the list as it was.
  status.clear();
  Nym_acl full;
  unsigned int added = 0;
  for (unsigned int i = 0; status.ok(); ++i) {
    Wstring text = u"S-1-5-21-1-2-3-";
    nym_string_append(text, std::to_string(1000 + i).c_str());
    full.set_rights(Nym_security_id(text), NYM_ACCESS_ALLOW, 1, 0, status);
    added += status.ok() ? 1 : 0;
  }
  EXPECT_TRUE(status == NYM_S_ACL_INIT_FAILED && nym_test::count_of(full) == added);

  const Nym_acl one = list_with({{A, NYM_ACCESS_ALLOW, 0x10001}});
  EXPECT_TRUE(one.standard_rights_equal(list_with({{A, NYM_ACCESS_ALLOW, 0x100FF}})));
  EXPECT_FALSE(one.standard_rights_equal(list_with({{A, NYM_ACCESS_ALLOW, 0x30001}})));
  EXPECT_FALSE(list_with({{A, NYM_ACCESS_ALLOW, 1}, {B, NYM_ACCESS_ALLOW, 1}})
                   .standard_rights_equal(list_with({{B, NYM_ACCESS_ALLOW, 1}, {A, NYM_ACCESS_ALLOW, 1}})));
  const Nym_acl null_list(static_cast<_ACL*>(nullptr), status);
  EXPECT_TRUE(Nym_acl().standard_rights_equal(Nym_acl()) && null_list.standard_rights_equal(null_list));
  EXPECT_EQ(nym_test::count_of(null_list), 0u);
  EXPECT_FALSE(null_list.standard_rights_equal(Nym_acl()));  // everything against nothing
}

// Object entries hold their SID behind the object fields their flags announce; an entry is read
// only within its list.
TEST(AclTest, ForeignEntriesAreReadWhereTheirSidLies) {
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  const std::string expected = "3 " + nym_test::utf8(user) + " 5 0";
  for (DWORD object_flags = 0; object_flags < 4; ++object_flags) {
    std::vector<unsigned char> raw = foreign_list(ACCESS_DENIED_OBJECT_ACE_TYPE, user, 0x5, object_flags);
    Nym_status status;
    EXPECT_EQ(entries(Nym_acl(reinterpret_cast<PACL>(raw.data()), status)), std::vector<std::string>{expected})
        << object_flags;
  }
  // An entry claiming more bytes than its list holds: refused, and the copy denies everything.
  std::vector<unsigned char> raw = foreign_list(ACCESS_ALLOWED_ACE_TYPE, user, 0x5, 0);
  raw[sizeof(ACL) + 2] = 0xF0;
  Nym_status status;
  const Nym_acl broken(reinterpret_cast<PACL>(raw.data()), status);
  EXPECT_TRUE(status == NYM_S_ACE_READ_FAILED && broken.standard_rights_equal(Nym_acl()));
}

// A conditional denial can't be evaluated here: it counts as a denial, and merging it as a plain
// entry is refused before anything changes.
TEST(AclTest, ForeignDenialsCountAndAreNotMerged) {
  nym_test::Fake_accounts accounts;
  auto clock = nym_test::fresh_cache_period();
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  std::vector<unsigned char> raw = foreign_list(ACCESS_DENIED_CALLBACK_ACE_TYPE, user, 0x1, 0);
  Nym_status status;
  const Nym_acl acl = list_with({{user, NYM_ACCESS_ALLOW, 0x3}}, Nym_acl(reinterpret_cast<PACL>(raw.data()), status));
  unsigned int rights = 0;
  acl.get_rights(user, rights, status);
  EXPECT_TRUE(status.ok() && rights == 0x2u);
  Nym_acl target = list_with({{A, NYM_ACCESS_ALLOW, 1}});
  target.merge(acl, status);
  EXPECT_EQ(status, NYM_S_ACE_READ_FAILED);
  EXPECT_EQ(entries(target), std::vector<std::string>{"0 S-1-5-32-551 1 0"});
}

TEST(AclTest, NullAndEmptyListsAndDenialInAnyOrder) {
  nym_test::Fake_accounts accounts;
  auto clock = nym_test::fresh_cache_period();
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  Nym_status status;
  unsigned int rights = 0;
  Nym_acl(static_cast<_ACL*>(nullptr), status).get_rights(user, rights, status);
  EXPECT_TRUE(rights == NYM_ACL_ALL_RIGHTS && accounts.local_calls == 0) << "no look-up at all";
  EXPECT_TRUE(Nym_acl().test_rights(user, 0, status));
  EXPECT_TRUE(!Nym_acl().test_rights(user, 1, status, &rights) && rights == 0u);
  const Nym_acl acl = list_with({{user, NYM_ACCESS_ALLOW, 0x3},
                                 {u"S-1-1-0", NYM_ACCESS_DENY, 0x1},
                                 {u"S-1-1-0", NYM_ACCESS_ALLOW, 0x10}});  // everyone's, administrators' too
  EXPECT_TRUE(acl.test_rights(user, 0x2, status, &rights) && rights == 0x12u);
  EXPECT_TRUE(acl.test_rights(Nym_security_id(NYM_TRUSTEE_ADMINISTRATORS), 0x10, status));
}

// What the list promises, the system's own check keeps: denials stand in front even when they
// were added last.
TEST(AclTest, TheSystemDeniesWhatTheListDenies) {
  Nym_status status;
  Nym_security closed(false, status), open(true, status);
  EXPECT_TRUE(granted_by_system(closed, 0x1) == 0u && granted_by_system(open, 0x3) == 0x3u);
  Nym_acl acl = list_with(
      {{u"S-1-1-0", NYM_ACCESS_ALLOW, 0x3}, {Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER), NYM_ACCESS_DENY, 0x2}});
  Nym_security mixed(acl, status);
  ASSERT_TRUE(status.ok());
  EXPECT_TRUE(granted_by_system(mixed, 0x1) == 0x1u && granted_by_system(mixed, 0x3) == 0u);
  EXPECT_EQ(granted_by_system(mixed, MAXIMUM_ALLOWED) & 0xFFFF, 0x1u);  // the owner's standard rights aside
}
