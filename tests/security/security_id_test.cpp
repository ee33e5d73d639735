#include <gtest/gtest.h>

#include <windows.h>


#include "nym/security_id.h"
#include "security_fixture.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::utf8;
using nym_test::what_of;

TEST(SecurityIdTest, IsSidAcceptsOnlyUpperSAndDigitParts) {
  for (const char16_t* sid : {u"S-1-5-18", u"S-1-5-32-544"}) EXPECT_TRUE(Nym_security_id::is_sid(sid)) << utf8(sid);
  for (const char16_t* not_sid : {u"s-1-5-18", u"S-1-5", u"S-1-5-1x", u"S-1-A-18", u"SS-1-5-18", u"", u"Everyone",
                                  u"S-1-5-\"18\""}) {
    EXPECT_FALSE(Nym_security_id::is_sid(not_sid)) << utf8(not_sid);
  }
}

// Every fixed trustee converts to binary, to its account and back to the same SID; copies own
// their SID.
TEST(SecurityIdTest, FormsOfOneTrusteeAgree) {
  for (int t = 0; t < 18; ++t) {
    const Nym_security_id id(static_cast<Nym_standard_trustee>(t));
    const Wstring text = id;
    ASSERT_TRUE(Nym_security_id::is_sid(text)) << t;
    const Nym_security_id by_binary(static_cast<_SID*>(Nym_security_id(text)));
    EXPECT_TRUE(by_binary == id && static_cast<Wstring>(by_binary) == text) << t;
    EXPECT_TRUE(Nym_security_id(id.account_name()) == id) << utf8(id.account_name());
  }
  EXPECT_TRUE(Nym_security_id(u"SYSTEM").sid_type() == SidTypeWellKnownGroup &&
              Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER).sid_type() == SidTypeUser);
  auto original = std::make_unique<Nym_security_id>(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  Nym_security_id copy(*original);
  original.reset();
  copy = copy;
  EXPECT_TRUE(IsValidSid(static_cast<_SID*>(copy)) && copy == Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER));
}

TEST(SecurityIdTest, FailuresRaiseTheirTextsAndLeaveTheObjectUsable) {
  EXPECT_EQ(what_of([] { Nym_security_id(static_cast<Nym_standard_trustee>(18)); }), "Invalid standard trustee");
  EXPECT_EQ(what_of([] { Nym_security_id(static_cast<_SID*>(nullptr)); }), "Invalid SID");
  // Shaped like a SID, so never looked up as a name; revision 2 doesn't exist.
  const Nym_security_id bad(u"S-2-5-18");
  EXPECT_EQ(what_of([&] { (void)static_cast<_SID*>(bad); }), "Failed to convert SID to binary form");
  const Nym_security_id unknown(u"no such account 8f3a");
  EXPECT_EQ(what_of([&] { (void)static_cast<Wstring>(unknown); }), "Failed to convert SID to string form");
  EXPECT_EQ(what_of([&] { (void)(unknown == bad); }), "Failed to convert SID to binary form");
  EXPECT_EQ(unknown.account_name(), u"no such account 8f3a");
  const Nym_security_id orphan(u"S-1-5-21-1-2-3-4242");  // valid, but nobody's
  EXPECT_EQ(what_of([&] { (void)orphan.account_name(); }), "Failed to convert SID to account form");
  EXPECT_EQ(static_cast<Wstring>(orphan), u"S-1-5-21-1-2-3-4242");
}
