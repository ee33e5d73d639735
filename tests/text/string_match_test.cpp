// Wildcard match, case-blind find and the hash. The matcher is held to the recursive rule it
// replaces, kept here as it was written, on random texts and patterns over a small alphabet
// with stars, question marks, case pairs and surrogates whole and broken.
#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <random>
#include <tuple>

#include "nym/string_match.h"
#include "recursive_match.h"
#include "test_helpers.h"
#include "text/wildcard.h"

using namespace nym;

namespace {

std::uint32_t fold(std::uint32_t c) {
  if (c >= 'A' && c <= 'Z') return c + 0x20;
  return c >= 0x80 ? static_cast<std::uint32_t>(u_tolower(static_cast<UChar32>(c))) : c;
}

bool literal_match(const Wchar* text, const Wchar* pattern, bool nc) {
  return nc ? nym_test::recursive_match(text, text, pattern, fold)
            : nym_test::recursive_match(text, text, pattern, impl::No_fold());
}

Wstring random_text(std::mt19937& random, const Wstring& alphabet, int longest) {
  Wstring s;
  for (int n = std::uniform_int_distribution<int>(0, longest)(random); n > 0; --n) {
    s += alphabet[std::uniform_int_distribution<std::size_t>(0, alphabet.size() - 1)(random)];
  }
  return s;
}

TEST(StringMatchTest, AgreesWithTheRecursiveRuleOnRandomInput) {
  // a A É é, U+10400 and U+10428 (a case pair as surrogate pairs), lone halves, U+FFFD.
  const Wstring letters = u"aAb\u00C9\u00E9\xD801\xDC00\xDC28\xD801\xFFFD";
  std::mt19937 random(2208);
  for (int i = 0; i < 200000; ++i) {
    const Wstring text = random_text(random, letters, 10);
    const Wstring pattern = random_text(random, letters + u"**??", 8);
    ASSERT_EQ(nym_string_match(text.c_str(), pattern.c_str()), literal_match(text.c_str(), pattern.c_str(), false))
        << nym_test::utf8(text) << " / " << nym_test::utf8(pattern);
    ASSERT_EQ(nym_string_match_nc(text.c_str(), pattern.c_str()), literal_match(text.c_str(), pattern.c_str(), true))
        << nym_test::utf8(text) << " / " << nym_test::utf8(pattern);
  }
}

TEST(StringMatchTest, KnownAnswers) {
  // text, pattern, exact answer, case-blind answer
  const std::tuple<const char16_t*, const char16_t*, bool, bool> rows[] = {
      {u"\U00010000", u"?", true, true}, {u"aXbYc", u"a*b*c", true, true}, {u"ab", u"a*b*c", false, false},
      {u"ABC", u"abc", false, true},    {u"\u00C9t\u00C9", u"\u00E9t?", false, true},
      {u"readme", u"*.*", false, false}, {u"\U00010400", u"\U00010428", false, true},
  };
  for (const auto& [text, pattern, exact, blind] : rows) {
    EXPECT_EQ(nym_string_match(text, pattern), exact) << nym_test::utf8(text) << " / " << nym_test::utf8(pattern);
    EXPECT_EQ(nym_string_match_nc(text, pattern), blind) << nym_test::utf8(text) << " / " << nym_test::utf8(pattern);
  }
}

// The pattern that makes the recursive rule run for ever, and one star per unit for ten
// thousand units, which would take as many stack frames: bounded in steps, and no recursion.
TEST(StringMatchTest, AdversarialPatternsStayWithinTextTimesPattern) {
  const Wstring text(200, u'a');
  const Wstring pattern = u"a*a*a*a*a*a*a*b";
  std::uint64_t steps = 0;
  EXPECT_FALSE(impl::wildcard_match<impl::Code_point_walk>(text.c_str(), pattern.c_str(), impl::No_fold(),
                                                           [&steps] { ++steps; }));
  EXPECT_LE(steps, 2 * (text.size() + 1) * (pattern.size() + 1));
  Wstring stars;
  for (int i = 0; i < 10000; ++i) stars += u"*a";
  EXPECT_TRUE(nym_string_match(Wstring(20000, u'a').c_str(), stars.c_str()));
  EXPECT_FALSE(nym_string_match(Wstring(20000, u'a').c_str(), (stars + u"b").c_str()));
}

// The iterator's masks read units: "?" takes half a pair, and nothing folds.
TEST(StringMatchTest, UnitWalkTakesOneUnitPerQuestionMark) {
  EXPECT_TRUE(impl::wildcard_match<impl::Unit_walk>(u"\U00010000", u"??"));
  EXPECT_FALSE(impl::wildcard_match<impl::Unit_walk>(u"\U00010000", u"?"));
  EXPECT_TRUE(impl::wildcard_match<impl::Unit_walk>(u"a.b.txt", u"*.txt"));
}

TEST(StringMatchTest, FindCaseBlind) {
  EXPECT_EQ(nym_string_find_nc(Nstring("Hello"), Nstring("LL"), 0), 2u);
  EXPECT_EQ(nym_string_find_nc(Nstring("Hello"), Nstring("LL"), 4), NYM_NPOS);
  EXPECT_EQ(nym_string_find_nc(Nstring("Hello"), Nstring(""), 5), 5u);
  EXPECT_EQ(nym_string_find_nc(Nstring("Hello"), Nstring(""), 6), NYM_NPOS);
  EXPECT_EQ(nym_string_find_nc(Wstring(u"Stra\u00DFE \u00C9T\u00C9"), Wstring(u"\u00E9t\u00E9"), 0), 7u);
  EXPECT_EQ(nym_string_find_nc(Wstring(u"ab"), Wstring(u"abc"), 0), NYM_NPOS);
  const char* hello = "Hello";
  EXPECT_EQ(nym_stristr(hello, "LLO"), hello + 2);
  EXPECT_EQ(nym_stristr(hello, ""), hello);
  EXPECT_EQ(nym_stristr(hello, nullptr), hello);
  EXPECT_EQ(nym_stristr(hello, "lox"), nullptr);
  EXPECT_STREQ(nym_stristr("aaab", "AAB"), "aab");
}

TEST(StringMatchTest, HashSameInBothEncodingsWithTheSignRule) {
  EXPECT_EQ(nym_string_hash(""), 5381u);
  EXPECT_EQ(nym_string_hash(u""), 5381u);
  EXPECT_EQ(nym_string_hash("a"), 177670u);
  // 0xC3774E35 reads as a negative number: its absolute value.
  EXPECT_EQ(nym_string_hash(u"hello world, this is nym"), 1015591371u);
  // The one sum whose absolute value has no positive 32-bit form keeps its sign.
  EXPECT_EQ(nym_string_hash(u"a\u8699\U000937B9\U00010008"), 0xFFFFFFFF80000000u);
  EXPECT_EQ(nym_string_hash(u8"a\u8699\U000937B9\U00010008"), 0xFFFFFFFF80000000u);
  EXPECT_EQ(nym_string_hash("\xC0\x80tail"), 5381u);  // an overlong zero ends the text
  EXPECT_EQ(nym_string_hash("\xFF"), nym_string_hash(u"\uFFFD"));  // a bad byte counts as U+FFFD
  EXPECT_EQ(nym_string_hash_nc(u8"ABC \u00C9"), nym_string_hash_nc(u"abc \u00E9"));
  EXPECT_EQ(nym_test::what_of([] { nym_string_hash(static_cast<const char*>(nullptr)); }),
            "nym_string_hash - null text.");
}

}  // namespace
