// Character classes, case, normalisation and trimming, and the Unicode 7.0 table under them.
#include <gtest/gtest.h>

#include <unicode/uchar.h>

#include <stdexcept>

#include "nym/cwstring.h"
#include "nym/status.h"
#include "nym/unicode.h"

using namespace nym;
using impl::NYM_UNICODE_BIT_TABLE;

namespace {

// Characters whose general category changed after Unicode 7.0 (the table keeps 7.0's).
bool category_changed_after_7(unsigned cp) {
  return (cp >= 0x10D0 && cp <= 0x10FF) || (cp >= 0x13A0 && cp <= 0x13F4) || cp == 0x166D || cp == 0x1734 ||
         cp == 0x1885 || cp == 0x1886 || (cp >= 0x19B0 && cp <= 0x19C9) || cp == 0x1CF2 || cp == 0x1CF3 ||
         cp == 0xA9BD;
}

}  // namespace

// Sample entries of the generated table, and, wherever Unicode did not change since, agreement
// with the linked ICU: what the table calls assigned, upper or lower, ICU does too.
TEST(UnicodeBitTableTest, SamplesAndIcu) {
  // The bits ICU can't check, and the categories as they were in 7.0.
  const unsigned samples[][2] = {{0x00A0, 0xA1}, {0x1D400, 0xB6}, {0x08B3, 0x00}, {0x13A0, 0x87}, {0xA9BD, 0x85}};
  for (const auto& s : samples) EXPECT_EQ(NYM_UNICODE_BIT_TABLE[s[0]], s[1]) << std::hex << "U+" << s[0];
  for (unsigned cp = 0; cp < 0x30000; ++cp) {
    const unsigned char e = NYM_UNICODE_BIT_TABLE[cp];
    if (e == 0) continue;
    const auto c = static_cast<UChar32>(cp);
    ASSERT_NE(u_charType(c), U_UNASSIGNED) << std::hex << cp;
    ASSERT_TRUE((e & impl::NYM_UNICODE_UPPER) == 0 || u_isupper(c)) << std::hex << cp;
    ASSERT_TRUE((e & impl::NYM_UNICODE_LOWER) == 0 || u_islower(c)) << std::hex << cp;
    if (!category_changed_after_7(cp)) {
      ASSERT_EQ(e & impl::NYM_UNICODE_TYPE_MASK, impl::nym_get_icu_char_type(cp)) << std::hex << cp;
    }
  }
  EXPECT_TRUE(impl::nym_get_char_type(0xE0100) == NYM_CP_MARK && impl::nym_get_char_type(0x2FFFF) == NYM_CP_UNASSIGNED);
  EXPECT_EQ(Nym_cwstring("caf\xC3\xA9 \xF0\x9F\x98\x80 a\xC3"), Wstring(u"caf\u00E9 \U0001F600 a\uFFFD"));
}

TEST(UnicodeClassTest, SpaceBlankAlphaCase) {
  for (const Wchar c : {Wchar(0x20), Wchar(0x09), Wchar(0xA0), Wchar(0x3000), Wchar(0x2028)}) EXPECT_TRUE(nym_is_space(c)) << c;
  for (const Wchar c : {Wchar(0x85), Wchar(0x1F), Wchar(0xFF)}) EXPECT_FALSE(nym_is_space(c)) << c;
  EXPECT_TRUE(nym_is_space('\n') && !nym_is_space(static_cast<char>(0xA0))) << "narrow: the C locale's white space";
  EXPECT_TRUE(nym_is_blank(Nstring()) && nym_is_blank(Wstring(u" \u00A0\u3000")) && nym_is_blank(Nstring(" \t\r\n")));
  EXPECT_FALSE(nym_is_blank(Wstring(u" x ")) || nym_is_blank(Nstring(" x")));
  const struct {
    Wstring text;
    bool alpha, lower, upper;
  } wide[] = {
      {u"", false, false, false},
      {u"caf\u00E9", true, true, false},
      {u"\u4E00\u0301", true, false, false},      // other letter, mark
      {u"\U0001D400", true, false, true},        // a pair: one upper code point
      {u"\U0001F600", true, false, false},       // surrogates are class 6, whatever the pair stands for
      {u"a\u0378", false, true, false},          // unassigned
      {u"ABC \u00C0!", false, false, true},
      {u"\u01C5", true, false, false},           // titlecase has neither bit
      {u"\u13A0", true, false, false},           // Cherokee was caseless in Unicode 7
  };
  for (const auto& c : wide) {
    EXPECT_EQ(nym_is_alpha(c.text), c.alpha) << c.text.size();
    EXPECT_EQ(nym_is_lower(c.text), c.lower) << c.text.size();
    EXPECT_EQ(nym_is_upper(c.text), c.upper) << c.text.size();
  }
  EXPECT_FALSE(nym_is_alpha(Nstring("abc ")) || nym_is_alpha(Nstring("ab1")) || nym_is_alpha(Nstring()));
  EXPECT_FALSE(nym_is_alpha(Nstring("caf\xC3\xA9"))) << "bytes above 0x7F never count";
}

TEST(UnicodeCaseTest, CodePointsStringsAndWhatCannotBeDecoded) {
  const struct {
    unsigned cp, lower, upper;
  } cases[] = {{0xC0, 0xE0, 0xC0},         {0xE9, 0xE9, 0xC9},         {'1', '1', '1'},
               {0x1D400, 0x1D400, 0x1D400},  // mathematical letters: no mapping
               {0x10400, 0x10428, 0x10400}, {0x10428, 0x10428, 0x10400}, {0x01C5, 0x01C5, 0x01C5},
               {0x13A0, 0x13A0, 0x13A0},    // the table, not ICU, decides: no case in Unicode 7
               {0x1E900, 0x1E900, 0x1E900}, {0xE0041, 0xE0041, 0xE0041}};  // after 7; above the table
  for (const auto& c : cases) {
    EXPECT_EQ(nym_lower(c.cp), c.lower) << std::hex << c.cp;
    EXPECT_EQ(nym_upper(c.cp), c.upper) << std::hex << c.cp;
  }
  Wstring wide = u"\u00C9t\u00C9 \U00010400x";
  nym_lower(wide);
  EXPECT_EQ(wide, u"\u00E9t\u00E9 \U00010428x");
  Wstring upper;
  nym_upper(wide, upper);
  EXPECT_EQ(upper, u"\u00C9T\u00C9 \U00010400X");
  Wstring broken = Wstring(u"A") + Wchar(0xD800) + u"B" + Wchar(0xDC00) + u"C";
  nym_lower(broken);
  EXPECT_EQ(broken, Wstring(u"a") + Wchar(0xD800) + u"b" + Wchar(0xDC00) + u"c");
  Wstring with_nul(u"AB\0CD", 5);
  nym_lower(with_nul);
  EXPECT_EQ(with_nul, Wstring(u"ab\0CD", 5));
}

TEST(UnicodeNormalizeTest, NfkcAndItsErrors) {
  EXPECT_FALSE(nym_can_normalize(Wstring(u"abc")) || nym_can_normalize(Wstring(u"\U000E0100"))) << "above the table";
  EXPECT_TRUE(nym_can_normalize(Wstring(u"a\u00A0b")) && nym_can_normalize(Wstring(u"\U0002F800")));
  Nym_status status(0xC2000001u);
  Wstring out = u"old";
  nym_normalize(Wstring(u"\uFB01 \u00BD \U0001D400 e\u0301"), out, status);
  EXPECT_TRUE(out == Wstring(u"fi 1\u20442 A \u00E9") && status.value() == 0xC2000001u) << "status untouched";
  // Results beyond the 4,096-unit work area take the second call; exactly its size does not.
  for (const std::size_t n : {std::size_t(2048), std::size_t(2049)}) {
    nym_normalize(Wstring(n, u'\uFB01'), out, status);  // each becomes "fi"
    EXPECT_TRUE(out.size() == 2 * n && out.substr(out.size() - 2) == u"fi") << n;
  }
}

TEST(UnicodeTrimTest, EveryTrim) {
  Nstring n = " \t a b \r\n";
  nym_trim(n);
  Wstring w = u"\u00A0\u3000 a b \u2028";
  nym_trim(w);
  EXPECT_TRUE(n == "a b" && w == u"a b");
  w = u"  a b  ";
  nym_trim_leading(w);
  n = " x y ";
  nym_trim_all(n);
  EXPECT_TRUE(w == u"a b  " && n == "xy");
  nym_trim_trailing(w);
  nym_trim_all(w);
  EXPECT_EQ(w, u"ab");
  n = "00120";
  nym_trim_leading_chars('0', n);
  nym_trim_trailing_chars('0', n);
  EXPECT_EQ(n, "12");

  w = Wstring(u"\x01" u"a\x1F\x02" u"b\x1F", 6);
  nym_trim_all_ctrl(w, u'_');
  EXPECT_EQ(w, u"_a_b_") << "each run becomes one replacement";
  w = Wstring(u"\0a\x1F b\r\n\x7F", 8);
  nym_trim_all_ctrl(w, 0);
  EXPECT_EQ(w, u"a b\x7F") << "32 and 127 aren't below 32";
  EXPECT_THROW(nym_trim_all_ctrl(w, u'\x1F'), std::invalid_argument);

  const struct {
    Wstring in, out;
  } leading[] = {{u" \u00A0\u2028\u200B x", u"x"},
                 {u"   ", u"   "},                                  // nothing but class 1: unchanged
                 {Wstring(u"  \0x", 4), Wstring(u"  \0x", 4)},      // a NUL ends the walk first
                 {u" \u0378", u"\u0378"}};                         // unassigned is another class
  for (const auto& c : leading) {
    w = c.in;
    nym_trim_unicode_leading(w);
    EXPECT_EQ(w, c.out);
  }
  n = " \xC2\xA0\xE2\x80\x8B" "1";  // decoded: a no-break and a zero-width space
  nym_trim_unicode_leading(n);
  EXPECT_EQ(n, "1");
}
