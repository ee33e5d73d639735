#include <gtest/gtest.h>

#include <windows.h>

#include <random>

#include "nym/security_id.h"
#include "test_helpers.h"
#include "test_platform.h"

using namespace nym;
using nym_test::what_of;

namespace {

std::string narrow(const Wstring& text) {
  std::string out;
  nym_string_append(out, text.c_str());
  return out;
}

}  // namespace

TEST(SecurityIdTest, IsSidAcceptsOnlyUpperSAndDigitParts) {
  struct Case {
    const char16_t* text;
    bool sid;
  } const cases[] = {
      {u"S-1-5-18", true},  {u"S-1-5-32-544", true},  {u"s-1-5-18", false},  {u"S-1-5", false},
      {u"S-1-5-1x", false}, {u"S-1-A-18", false},     {u"SS-1-5-18", false}, {u"", false},
      {u"Everyone", false}, {u"S-1-5-\"18\"", false},
  };
  for (const Case& c : cases) EXPECT_EQ(Nym_security_id::is_sid(c.text), c.sid) << narrow(c.text);
}

// Every fixed trustee converts to binary, to its account and back to the same SID.
TEST(SecurityIdTest, StandardTrusteesRoundTripThroughAllForms) {
  for (int t = 0; t < 18; ++t) {
    SCOPED_TRACE(t);
    const Nym_security_id id(static_cast<Nym_standard_trustee>(t));
    const Wstring text = id;
    ASSERT_TRUE(Nym_security_id::is_sid(text)) << narrow(text);
    const Nym_security_id by_text(text);
    const Nym_security_id by_binary(static_cast<_SID*>(by_text));
    EXPECT_TRUE(by_binary == id);
    EXPECT_EQ(static_cast<Wstring>(by_binary), text);
    Wstring account;
    try {
      account = id.account_name();
    } catch (const std::runtime_error&) {
      if (nym_test::running_under_wine()) continue;  // Wine names only some well-known SIDs
      throw;
    }
    EXPECT_TRUE(Nym_security_id(account) == id) << narrow(account);
  }
}

TEST(SecurityIdTest, NameAndStringOfOneTrusteeCompareEqual) {
  EXPECT_TRUE(Nym_security_id(u"Administrators") == Nym_security_id(u"S-1-5-32-544"));
  EXPECT_FALSE(Nym_security_id(u"Administrators") == Nym_security_id(NYM_TRUSTEE_USERS));
  EXPECT_TRUE(Nym_security_id() == Nym_security_id(u"S-1-0-0"));
}

TEST(SecurityIdTest, LocalSystemCountsAsWellKnownGroup) {
  EXPECT_EQ(Nym_security_id(u"S-1-5-18").sid_type(), SidTypeWellKnownGroup);
  EXPECT_EQ(Nym_security_id(u"SYSTEM").sid_type(), SidTypeWellKnownGroup);
  EXPECT_EQ(Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER).sid_type(), SidTypeUser);
}

TEST(SecurityIdTest, FailuresRaiseTheirTextsAndLeaveTheObjectUsable) {
  EXPECT_EQ(what_of([] { Nym_security_id(static_cast<Nym_standard_trustee>(18)); }), "Invalid standard trustee");
  EXPECT_EQ(what_of([] { Nym_security_id(static_cast<_SID*>(nullptr)); }), "Invalid SID");
  // Looks like a SID, so it is never looked up as a name, and the system refuses it.
  const Nym_security_id bad(u"S-2-5-18");  // revision 2 doesn't exist
  EXPECT_EQ(what_of([&] { (void)static_cast<_SID*>(bad); }), "Failed to convert SID to binary form");
  const Nym_security_id unknown(u"no such account 8f3a");
  EXPECT_EQ(what_of([&] { (void)static_cast<Wstring>(unknown); }), "Failed to convert SID to string form");
  EXPECT_EQ(what_of([&] { (void)unknown.sid_type(); }), "Failed to convert SID to binary form");
  EXPECT_EQ(what_of([&] { (void)(unknown == bad); }), "Failed to convert SID to binary form");
  EXPECT_EQ(unknown.account_name(), u"no such account 8f3a");
  const Nym_security_id orphan(u"S-1-5-21-1-2-3-4242");  // valid, but nobody's
  EXPECT_EQ(what_of([&] { (void)orphan.account_name(); }), "Failed to convert SID to account form");
  EXPECT_EQ(static_cast<Wstring>(orphan), u"S-1-5-21-1-2-3-4242");
}

TEST(SecurityIdTest, CopiesOwnTheirSid) {
  auto original = std::make_unique<Nym_security_id>(NYM_TRUSTEE_CURRENT_PROCESS_USER);
  Nym_security_id copy(*original);
  Nym_security_id assigned;
  assigned = *original;
  EXPECT_NE(static_cast<_SID*>(copy), static_cast<_SID*>(*original));
  original.reset();
  EXPECT_TRUE(IsValidSid(static_cast<_SID*>(copy)));
  EXPECT_TRUE(copy == assigned);
  assigned = assigned;
  EXPECT_TRUE(copy == assigned);
}

TEST(SecurityIdTest, ThreadUserWithoutImpersonationIsTheProcessUser) {
  EXPECT_TRUE(Nym_security_id(NYM_TRUSTEE_CURRENT_THREAD_USER) == Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER));
}

// Mutated SID texts (those no longer shaped like one are looked up as names): each is either
// converted or refused with the conversion's text, never a crash.
TEST(SecurityIdTest, MutatedSidTextsNeverCrash) {
  const Wstring seeds[] = {u"S-1-5-32-544", u"S-1-5-21-1004336348-1177238915-682003330-512", u"S-1-1-0"};
  const Wchar alphabet[] = u"S-0123456789sX \\\"";
  std::mt19937 random(2208);
  int converted = 0;
  for (int round = 0; round < 1500; ++round) {
    Wstring text = seeds[round % 3];
    const int edits = 1 + static_cast<int>(random() % 4);
    for (int e = 0; e < edits; ++e) {
      const std::size_t at = text.empty() ? 0 : random() % text.size();
      const Wchar c = alphabet[random() % (sizeof alphabet / sizeof alphabet[0] - 1)];
      switch (random() % 3) {
        case 0:
          text.insert(at, 1, c);
          break;
        case 1:
          if (!text.empty()) text.erase(at, 1);
          break;
        default:
          if (!text.empty()) text[at] = c;
          break;
      }
    }
    const Nym_security_id id(text);
    const std::string what = what_of([&] { (void)static_cast<_SID*>(id); });
    if (what == "(nothing raised)") {
      ++converted;
      EXPECT_TRUE(IsValidSid(static_cast<_SID*>(id))) << narrow(text);
    } else {
      EXPECT_EQ(what, "Failed to convert SID to binary form") << narrow(text);
    }
  }
  EXPECT_GT(converted, 0);
}
