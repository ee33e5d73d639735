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

// One line per entry: mode, SID, rights and flags in hex, so that orders compare at a glance; none past the end.
std::vector<std::string> entries(const Nym_acl& acl) {
  std::vector<std::string> out;
  Nym_security_id sid;
  Nym_access_modes mode = NYM_ACCESS_OTHER;
  unsigned int rights = 0;
  unsigned char flags = 0;
  Nym_status status;
  const unsigned int count = nym_test::count_of(acl);
  for (unsigned int i = 0; i < count && status.ok(); ++i) {
    acl.get_entry(i, sid, mode, rights, flags, status);
    char hex[24];
    std::snprintf(hex, sizeof hex, " %x %x", rights, flags);
    out.push_back(status.ok() ? std::to_string(mode) + " " + nym_test::utf8(sid) + hex : "unreadable");
  }
  acl.get_entry(count, sid, mode, rights, flags, status);
  EXPECT_EQ(status, NYM_S_ACE_INDEX_PAST_END);
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

}  // namespace

TEST(AclTest, EntriesWidenByKindAndFlagsAndKeepDeniesInFront) {
  Nym_acl acl = list_with({{A, NYM_ACCESS_ALLOW, 0x1},
                           {A, NYM_ACCESS_ALLOW, 0x2},        // widens
                           {A, NYM_ACCESS_ALLOW, 0x4, 0xD3},  // other flags (their low five bits): a second entry
                           {A, NYM_ACCESS_AUDIT, 0x100},      // stored as allow, widens
                           {B, NYM_ACCESS_DENY, 0x8},         // in front
                           {C, NYM_ACCESS_ALLOW, 0x10},       // behind
                           {C, NYM_ACCESS_DENY, 0x20},        // newest denial first
                           {B, NYM_ACCESS_DENY, 0x40}});      // widens the older denial in place
  EXPECT_EQ(entries(acl), (std::vector<std::string>{"1 S-1-5-32-549 20 0", "1 S-1-5-32-550 48 0",
                                                    "0 S-1-5-32-551 103 0", "0 S-1-5-32-551 4 13",
                                                    "0 S-1-5-32-549 10 0"}));
  Nym_status status;
  Nym_acl merged(acl, status);
  merged.merge(acl, status);
  merged.merge(merged, status);
  EXPECT_TRUE(status.ok() && entries(merged) == entries(acl)) << "merging what it holds doesn't grow the list";
  acl.erase(status);
  EXPECT_TRUE(entries(acl).empty());
  EXPECT_EQ(what_of([&] { acl.set_rights(Nym_security_id(A), NYM_ACCESS_OTHER, 1, 0, status); }),
            "Invalid argument to Nym_acl::map_access_mode()");
}

// A list has a size limit; equality of standard rights ignores specific rights but not nullness.
TEST(AclTest, SizeLimitAndStandardRightsEquality) {
  // An entry too big for any list fails and leaves the list as it was.
  Nym_status status;
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
  const Nym_acl null_list(static_cast<_ACL*>(nullptr), status);
  EXPECT_TRUE(Nym_acl().standard_rights_equal(Nym_acl()) && null_list.standard_rights_equal(null_list));
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

// Null and empty lists, denials in any order, and a conditional denial, which can't be evaluated
// here: it counts as a denial, and merging it as a plain entry is refused before anything changes.
TEST(AclTest, NullEmptyAndForeignListsAndDenialInAnyOrder) {
  nym_test::Fake_accounts accounts;
  auto clock = nym_test::fresh_cache_period();
  const Nym_security_id user(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  Nym_status status;
  unsigned int rights = 0;
  Nym_acl(static_cast<_ACL*>(nullptr), status).get_rights(user, rights, status);
  EXPECT_TRUE(rights == NYM_ACL_ALL_RIGHTS && accounts.local_calls == 0) << "no look-up at all";
  EXPECT_TRUE(!Nym_acl().test_rights(user, 1, status, &rights) && rights == 0u);
  const Nym_acl acl = list_with({{user, NYM_ACCESS_ALLOW, 0x3},
                                 {u"S-1-1-0", NYM_ACCESS_DENY, 0x1},
                                 {u"S-1-1-0", NYM_ACCESS_ALLOW, 0x10}});  // everyone's, administrators' too
  EXPECT_TRUE(acl.test_rights(user, 0x2, status, &rights) && rights == 0x12u);
  EXPECT_TRUE(acl.test_rights(Nym_security_id(NYM_TRUSTEE_ADMINISTRATORS), 0x10, status));
  std::vector<unsigned char> raw = foreign_list(ACCESS_DENIED_CALLBACK_ACE_TYPE, user, 0x1, 0);
  const Nym_acl foreign =
      list_with({{user, NYM_ACCESS_ALLOW, 0x3}}, Nym_acl(reinterpret_cast<PACL>(raw.data()), status));
  foreign.get_rights(user, rights, status);
  EXPECT_TRUE(status.ok() && rights == 0x2u);
  Nym_acl target = list_with({{A, NYM_ACCESS_ALLOW, 1}});
  target.merge(foreign, status);
  EXPECT_EQ(status, NYM_S_ACE_READ_FAILED);
  EXPECT_EQ(entries(target), std::vector<std::string>{"0 S-1-5-32-551 1 0"});
}
