#include <gtest/gtest.h>

#include <clocale>
#include <stdexcept>
#include <string>

#include "nym/string_basic.h"
#include "test_helpers.h"

using namespace nym;

namespace {

template <class V>
Wstring itow(V v, unsigned short base = 10, bool format = false) {
  Wstring out = u"junk";
  nym_itow(v, out, base, format);
  return out;
}
template <class V>
Nstring itos(V v, unsigned short base = 10, bool format = false) {
  Nstring out = "junk";
  nym_itos(v, out, base, format);
  return out;
}

}  // namespace

TEST(NumberToTextTest, DigitsBasesAndGrouping) {
  EXPECT_EQ(itow(0) + u" " + itow(-255, 16) + u" " + itow(INT64_MIN) + u" " + itow(UINT64_MAX, 16),
            u"0 -ff -9223372036854775808 ffffffffffffffff");
  EXPECT_EQ(itos(UINT64_MAX, 2), std::string(64, '1')) << "64 binary digits exactly fill the work area";
  EXPECT_EQ(itos(INT64_MIN, 2), "-1" + std::string(63, '0'));
  Wstring out;
  Nstring n;
  EXPECT_THROW(nym_itow(int64(5), out, 0, false), std::invalid_argument) << "instead of dividing by zero";
  EXPECT_THROW(nym_itos(uint64(5), n, 17, false), std::invalid_argument);
  EXPECT_EQ(itow(1234567, 10, true), u"1234567") << "the C locale has no separator";
  const char* grouping = nullptr;  // a locale that groups by three with a comma
  for (const char* name : {"en_US.UTF-8", "en_US.utf8", "English_United States.1252"}) {
    if (grouping == nullptr && std::setlocale(LC_ALL, name) != nullptr) grouping = name;
  }
  ASSERT_NE(grouping, nullptr) << "no grouping locale; scripts/deps.sh generates en_US.UTF-8";
  EXPECT_EQ(itos(-1234567, 10, true), "-1,234,567");
  EXPECT_EQ(itow(123456, 10, true) + u" " + itow(999, 10, true), u"123,456 999") << "no leading separator";
  EXPECT_EQ(itow(UINT64_MAX, 10, true) + u" " + itow(1234567, 16, true), u"18,446,744,073,709,551,615 12d687")
      << "only base 10 groups";
  std::setlocale(LC_ALL, "C");
}

TEST(TextToNumberTest, ReadsLikeAtoi64AndWtoi32IsStrict) {
  const std::pair<const char*, int64> cases[] = {{"  -123abc", -123}, {"+42", 42}, {"abc", 0}, {"", 0},
                                                 {"-9223372036854775808", INT64_MIN}, {"99999999999999999999", INT64_MAX},
                                                 {"-99999999999999999999", INT64_MIN}};
  for (const auto& c : cases) EXPECT_EQ(nym_stoi64(c.first), c.second) << c.first;
  EXPECT_TRUE(nym_wtoi64(u"\t 77 ") == 77 && nym_wtoi64(u"- 5") == 0);
  EXPECT_TRUE(nym_wtoi32(u"-2147483648") == INT32_MIN && nym_wtoi32(u"2147483647") == INT32_MAX && nym_wtoi32(u" +12") == 12);
  for (const char16_t* bad : {u"2147483648", u"12 ", u"", u"-", u"1x", u"-2147483649"}) {
    EXPECT_EQ(nym_test::what_of([&] { nym_wtoi32(bad); }), "nym::nym_wtoi32 number is invalid");
  }
}

TEST(NarrowWideTest, Latin1BothWays) {
  Wstring w;
  nym_stow(Nstring("a\0\xE9\xFF", 4), w);
  EXPECT_EQ(w, Wstring(u"a\0\u00E9\u00FF", 4));
  Nstring n = "junk";
  nym_wtos(Wstring(u"\u00E9\uFFFD\0x", 4), n, true);
  EXPECT_EQ(n, Nstring("\xE9?\0x", 4));
  nym_wtos(Wstring(u"a\u0100b"), n, false);
  EXPECT_EQ(n, "a?b");
  EXPECT_EQ(nym_test::what_of([&] { nym_wtos(Wstring(u"ab\u0100c"), n, true); }),
            "Failed to convert wide string to narrow string.");
  EXPECT_EQ(n, "ab");  // the units before the failure stay
}

TEST(CStringTest, CharacterCounts) {
  const std::pair<const char*, uint64> narrow[] = {
      {nullptr, 0}, {"", 0}, {"\xC3\xA9", 1}, {"\xC3", 1}, {"\xC3\x41", 2}, {"\xF0\x9F\x98\x80x", 2},
      {"\x80\x80", 2},                      // stray continuations count one each
      {"\xFC\x80\x80\x80\x80\x80", 1}};  // six-byte form
  for (const auto& c : narrow) EXPECT_EQ(nym_string_length(c.first), c.second) << (c.first ? c.first : "null");
  const Wchar high_last[] = {u'a', 0xD800, 0};
  const std::pair<const Wchar*, uint64> wide[] = {{nullptr, 0}, {u"", 0}, {u"\U0001F600", 1}, {u"\xDC00\xDC00", 2},
                                                  {u"\xD800x", 1},  // the following unit goes untested
                                                  {high_last, 2}};  // stops at the terminator
  for (const auto& c : wide) EXPECT_EQ(nym_string_length(c.first), c.second);
}

// The conversions themselves are utf_test's; here what appending adds to them.
TEST(AppendTest, AppendsAndEncodesCodePointsUnchecked) {
  Wstring kept = u"x";
  nym_string_append(kept, static_cast<const char*>(nullptr));
  EXPECT_EQ(kept, u"x") << "null appends nothing";
  Nstring cp = "x";
  for (const unsigned v : {0x24u, 0xA2u, 0x20ACu, 0x10348u, 0xD800u}) nym_string_append(cp, v);
  EXPECT_EQ(cp, "x$\xC2\xA2\xE2\x82\xAC\xF0\x90\x8D\x88\xED\xA0\x80");
}
