#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstring>
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

// Switches LC_NUMERIC to a locale that groups by three with a comma, for one test.
class Grouping_locale {
 public:
  Grouping_locale() {
    for (const char* name : {"en_US.UTF-8", "en_US.utf8", "English_United States.1252"}) {
      if (std::setlocale(LC_ALL, name) != nullptr) {
        m_name = name;
        return;
      }
    }
  }
  ~Grouping_locale() { std::setlocale(LC_ALL, "C"); }
  const char* name() const { return m_name; }

 private:
  const char* m_name = nullptr;
};

}  // namespace

TEST(NumberToTextTest, DigitsBasesAndGrouping) {
  EXPECT_EQ(itow(0) + u" " + itow(-255, 16) + u" " + itow(INT64_MIN) + u" " + itow(UINT64_MAX, 16),
            u"0 -ff -9223372036854775808 ffffffffffffffff");
  EXPECT_EQ(itos(UINT64_MAX, 2), std::string(64, '1')) << "64 binary digits exactly fill the work area";
  EXPECT_EQ(itos(INT64_MIN, 2), "-1" + std::string(63, '0'));
  EXPECT_EQ(itow(42u, 8), u"52") << "plain integer types pick the matching overload";
  Wstring out;
  Nstring n;
  EXPECT_THROW(nym_itow(int64(5), out, 0, false), std::invalid_argument) << "instead of dividing by zero";
  EXPECT_THROW(nym_itow(uint64(5), out, 17, false), std::invalid_argument);
  EXPECT_THROW(nym_itos(int64(5), n, 1, false), std::invalid_argument);
  EXPECT_EQ(itow(1234567, 10, true), u"1234567") << "the C locale has no separator";
  Grouping_locale locale;
  ASSERT_NE(locale.name(), nullptr) << "no grouping locale; scripts/deps.sh generates en_US.UTF-8";
  EXPECT_EQ(itos(-1234567, 10, true), "-1,234,567");
  EXPECT_EQ(itow(123456, 10, true) + u" " + itow(999, 10, true), u"123,456 999") << "no leading separator";
  EXPECT_EQ(itow(UINT64_MAX, 10, true), u"18,446,744,073,709,551,615");
  EXPECT_EQ(itow(1234567, 16, true), u"12d687") << "only base 10 groups";
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

TEST(TextToNumberTest, IsInt32) {
  const std::pair<Nstring, bool> cases[] = {
      {Nstring(20, '0') + "12", true}, {"2147483647", true}, {"-2147483648", true}, {"0000", true}, {"-0", true},
      {"2147483639", true},  // a smaller digit after equal ones
      {"-2147483649", false}, {"2147483648", false}, {"12345678901", false}, {"   ", false}, {"+", false}, {"1 ", false}};
  for (const auto& c : cases) EXPECT_EQ(nym_is_int32(c.first), c.second) << c.first;
  EXPECT_TRUE(nym_is_int32(Wstring(u"  -7")));
  EXPECT_FALSE(nym_is_int32(Wstring(u"\uFF11"))) << "a full-width digit is not a digit";
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
  try {
    nym_wtos(Wstring(u"ab\u0100c"), n, true);
    FAIL() << "no exception";
  } catch (const std::logic_error& e) {
    EXPECT_STREQ(e.what(), "Failed to convert wide string to narrow string.");
  }
  EXPECT_EQ(n, "ab");  // the units before the failure stay
}

TEST(SprintfTest, BoundedFormatting) {
  char buffer[8];
  EXPECT_TRUE(nym_sprintf_s(buffer, sizeof buffer, "%d-%s", 12, "ab") == 5 && std::string(buffer) == "12-ab");
  // Exactly `size` characters: cut to size - 1 and answered so; longer: the full length.
  EXPECT_TRUE(nym_sprintf_s(buffer, sizeof buffer, "%s", "abcdefgh") == 7 && std::string(buffer) == "abcdefg");
  EXPECT_TRUE(nym_sprintf_s(buffer, sizeof buffer, "%s", "abcdefghijk") == 11 && std::string(buffer) == "abcdefg");
  EXPECT_EQ(nym_sprintf_s(buffer, 0, "%s", ""), -1);
  errno = 0;
  EXPECT_TRUE(nym_sprintf_s(nullptr, 8, "x") == -1 && errno == EINVAL);
  errno = 0;
  EXPECT_TRUE(nym_sprintf_s(buffer, 8, nullptr) == -1 && errno == EINVAL);
}

TEST(CStringTest, CaseBlindCompares) {
  EXPECT_TRUE(nym_compare_nc(u"Hello", u"hELLO") == 0 && nym_compare_nc(u"abc", u"ABD") < 0);
  EXPECT_TRUE(nym_compare_nc(u"ab", u"abc") == -'c' && nym_compare_nc(u"abc", u"ab") == 'c');
  EXPECT_TRUE(nym_memicmp("ABCx", "abcy", 3) == 0 && nym_memicmp("ABCx", "abcy", 4) == 'x' - 'y');
  EXPECT_TRUE(nym_memicmp("a", "b", 0) == 0 && nym_memicmp("\xE0", "a", 1) > 0) << "bytes are unsigned";
  EXPECT_TRUE(nym_string_equal(u"abc", u"abc") && !nym_string_equal(u"abc", u"abd") && !nym_string_equal(u"abc", u"ab"));
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

TEST(Utf8LengthTest, LeadBytes) {
  const std::pair<unsigned char, int> cases[] = {{0x41, 1}, {0x80, 0}, {0xC0, 2}, {0xE0, 3}, {0xF4, 4}, {0xF5, 0xFFFF}};
  for (const auto& c : cases) EXPECT_EQ(nym_utf_8_character_length(c.first), c.second) << std::hex << int(c.first);
}

// The conversions themselves are utf_test's; here what appending adds to them.
TEST(AppendTest, AppendsAndEncodesCodePointsUnchecked) {
  Wstring kept = u"x";
  nym_string_append(kept, static_cast<const char*>(nullptr));
  nym_string_append(kept, "y\xC3");
  EXPECT_EQ(kept, u"xy\uFFFD") << "appended, never emptied";
  Nstring cp = "x";
  for (const unsigned v : {0x24u, 0xA2u, 0x20ACu, 0x10348u, 0xD800u}) nym_string_append(cp, v);
  EXPECT_EQ(cp, "x$\xC2\xA2\xE2\x82\xAC\xF0\x90\x8D\x88\xED\xA0\x80");
}
