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

unsigned count_if_bits(unsigned first, unsigned last, unsigned char bits) {
  unsigned n = 0;
  for (unsigned cp = first; cp <= last; ++cp) n += (NYM_UNICODE_BIT_TABLE[cp] & bits) != 0 ? 1 : 0;
  return n;
}

// Characters whose general category changed after Unicode 7.0 (the table keeps 7.0's).
bool category_changed_after_7(unsigned cp) {
  return (cp >= 0x10D0 && cp <= 0x10FF) || (cp >= 0x13A0 && cp <= 0x13F4) || cp == 0x166D || cp == 0x1734 ||
         cp == 0x1885 || cp == 0x1886 || (cp >= 0x19B0 && cp <= 0x19C9) || cp == 0x1CF2 || cp == 0x1CF3 ||
         cp == 0xA9BD;
}

}  // namespace

// The generated table's counts and sample entries, and, wherever Unicode did not change since,
// agreement with the linked ICU: what the table calls assigned, upper or lower, ICU does too.
TEST(UnicodeBitTableTest, CountsSamplesAndIcu) {
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, 0x80), 121132u) << "every non-zero entry is assigned";
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, 0x40), 0u);
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, impl::NYM_UNICODE_NFKC), 4793u);
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, impl::NYM_UNICODE_UPPER), 1490u);
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, impl::NYM_UNICODE_LOWER), 1841u);
  // The bits ICU can't check, and the categories as they were in 7.0.
  const unsigned samples[][2] = {{0x00A0, 0xA1}, {0x0041, 0x96}, {0x1D400, 0xB6}, {0xFDD0, 0x00},
                                 {0x08B3, 0x00}, {0x13A0, 0x87}, {0x166D, 0x83},  {0xA9BD, 0x85}};
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
  // Cf, Co, Lo above the table, no code point; then the table's own answer and what lies above it.
  EXPECT_TRUE(impl::nym_get_icu_char_type(0xE0001) == NYM_CP_OTHER && impl::nym_get_icu_char_type(0xF0000) == NYM_CP_CASED &&
              impl::nym_get_icu_char_type(0x30000) == NYM_CP_LETTER && impl::nym_get_icu_char_type(0x110000) == NYM_CP_OTHER);
  EXPECT_TRUE(impl::nym_get_char_type(0xE0100) == NYM_CP_MARK && impl::nym_get_char_type(0x2FFFF) == NYM_CP_UNASSIGNED);
  EXPECT_EQ(Nym_cwstring("caf\xC3\xA9 \xF0\x9F\x98\x80 a\xC3"), Wstring(u"caf\u00E9 \U0001F600 a\uFFFD"));
}

TEST(UnicodeClassTest, SpaceBlankAlphaCase) {
  for (const Wchar c : {Wchar(0x20), Wchar(0x09), Wchar(0xA0), Wchar(0x3000), Wchar(0x2028)}) EXPECT_TRUE(nym_is_space(c)) << c;
  for (const Wchar c : {Wchar(0x85), Wchar(0x1F), Wchar(0xFF)}) EXPECT_FALSE(nym_is_space(c)) << c;
  EXPECT_TRUE(nym_is_space('\n'));
  EXPECT_FALSE(nym_is_space(static_cast<char>(0xA0))) << "C locale: not white space";
  EXPECT_TRUE(nym_is_blank(Nstring()) && nym_is_blank(Wstring(u" \u00A0\u3000")) && nym_is_blank(Nstring(" \t\r\n")));
  EXPECT_FALSE(nym_is_blank(Wstring(u" x ")) || nym_is_blank(Nstring(" x")));
  const struct {
    Wstring text;
    bool alpha, lower, upper;
  } wide[] = {
      {u"", false, false, false},
      {u"   ", false, false, false},
      {u"caf\u00E9", true, true, false},
      {u"\u4E00\u0301", true, false, false},      // other letter, mark
      {u"\U0001D400", true, false, true},        // a pair: one upper code point
      {u"\U0001F600", true, false, false},       // surrogates are class 6, whatever the pair stands for
      {u"a_b", false, true, false},
      {u"a\u0378", false, true, false},          // unassigned
      {u"abc1", false, true, false},
      {u"ABC \u00C0!", false, false, true},
      {u"\U00010428", true, true, false},        // Deseret small letter, from the table
      {u"\u01C5", true, false, false},           // titlecase has neither bit
      {u"\u13A0", true, false, false},           // Cherokee was caseless in Unicode 7
  };
  for (const auto& c : wide) {
    EXPECT_EQ(nym_is_alpha(c.text), c.alpha) << c.text.size();
    EXPECT_EQ(nym_is_lower(c.text), c.lower) << c.text.size();
    EXPECT_EQ(nym_is_upper(c.text), c.upper) << c.text.size();
  }
  EXPECT_TRUE(nym_is_alpha(Nstring("  abcXYZ")));
  EXPECT_FALSE(nym_is_alpha(Nstring("abc ")) || nym_is_alpha(Nstring("ab1")) || nym_is_alpha(Nstring()));
  EXPECT_FALSE(nym_is_alpha(Nstring("caf\xC3\xA9"))) << "bytes above 0x7F never count";
}

TEST(UnicodeClassTest, Number) {
  const struct {
    const char* text;
    unsigned short base;
    bool expected;
  } cases[] = {
      {"-12", 10, true},  {"-12", 16, false}, {"0x1F", 16, true}, {"0X1F", 16, false}, {"+7", 10, true},
      {"  42", 10, true}, {"42 ", 10, false}, {"", 10, false},    {"   ", 10, false},   {"-", 10, false},
      {"0x", 16, false},  {"1f", 10, false},  {"1f", 16, true},   {"AbC", 16, true},   {"1f", 8, false},
      {"0x1F", 10, false}, {"+-1", 10, false}, {"12a", 2, false},  {"x1", 16, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(nym_is_number(Nstring(c.text), c.base), c.expected) << c.text << " base " << c.base;
    EXPECT_EQ(nym_is_number(Wstring(c.text, c.text + std::char_traits<char>::length(c.text)), c.base), c.expected)
        << c.text << " base " << c.base;
  }
  EXPECT_TRUE(nym_is_number(Wstring(u"\u00A012"), 10)) << "wide white space includes U+00A0";
}

TEST(UnicodeCaseTest, CodePointsStringsAndWhatCannotBeDecoded) {
  const struct {
    unsigned cp, lower, upper;
  } cases[] = {{0xC0, 0xE0, 0xC0},         {0xE9, 0xE9, 0xC9},         {'A', 'a', 'A'}, {'1', '1', '1'},
               {0x2FFFF, 0x2FFFF, 0x2FFFF}, {0x1D400, 0x1D400, 0x1D400},  // mathematical letters: no mapping
               {0x10400, 0x10428, 0x10400}, {0x10428, 0x10428, 0x10400}, {0x01C5, 0x01C5, 0x01C5},
               {0x13A0, 0x13A0, 0x13A0},    // the table, not ICU, decides: no case in Unicode 7
               {0x1E900, 0x1E900, 0x1E900}, {0xE0041, 0xE0041, 0xE0041}};  // after 7; above the table
  for (const auto& c : cases) {
    EXPECT_EQ(nym_lower(c.cp), c.lower) << std::hex << c.cp;
    EXPECT_EQ(nym_upper(c.cp), c.upper) << std::hex << c.cp;
  }
  Nstring narrow = "MiXeD 123 \xC3\x89";
  nym_lower(narrow);
  EXPECT_EQ(narrow, "mixed 123 \xC3\x89") << "narrow is byte-wise";
  Nstring out;
  nym_upper(Nstring("abc"), out);
  EXPECT_EQ(out, "ABC");
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
  EXPECT_FALSE(nym_can_normalize(Wstring()) || nym_can_normalize(Wstring(u"abc")));
  EXPECT_TRUE(nym_can_normalize(Wstring(u"a\u00A0b")) && nym_can_normalize(Wstring(u"\U0001D400")) &&
              nym_can_normalize(Wstring(u"\U0002F800")));
  EXPECT_FALSE(nym_can_normalize(Wstring(u"\U000E0100"))) << "above the table never counts";
  Nym_status status(0xC2000001u);
  Wstring out = u"old";
  nym_normalize(Wstring(u"\uFB01 \u00BD \U0001D400 e\u0301"), out, status);
  EXPECT_TRUE(out == Wstring(u"fi 1\u20442 A \u00E9") && status.value() == 0xC2000001u) << "status untouched";
  nym_normalize(Wstring(u"ab\0cd", 5), out, status);
  EXPECT_EQ(out, Wstring(u"ab")) << "stops at a NUL";
  // Results beyond the 4,096-unit work area take the second call; exactly its size does not.
  for (const std::size_t n : {std::size_t(2048), std::size_t(2049), std::size_t(20000)}) {
    nym_normalize(Wstring(n, u'\uFB01'), out, status);  // each becomes "fi"
    EXPECT_TRUE(out.size() == 2 * n && out.substr(out.size() - 2) == u"fi") << n;
  }
  nym_normalize(Wstring(4096, u'a'), out, status);
  EXPECT_EQ(out, Wstring(4096, u'a'));

  for (const auto& c : {std::make_pair(10, 0xC200009Eu), std::make_pair(19, 0xC20000A3u)}) {
    status = 0xC2000005u;
    status.push(0xC2000006u);
    nym_translate_icu_error(c.first, status);
    EXPECT_TRUE(status.value() == c.second && status.num_args() == 0u && status.child() == nullptr) << "assigned, not pushed";
  }
  nym_translate_icu_error(-124, status);  // a warning is reported too
  ASSERT_TRUE(status.value() == 0xC20000A1u && status.num_args() == 1u);
  const auto* arg = dynamic_cast<const Nym_int_status_arg*>(*status.begin());
  EXPECT_TRUE(arg != nullptr && arg->value() == -124 && arg->format());
  nym_translate_icu_error(0, status);
  EXPECT_EQ(status.value(), 0u);
}

TEST(UnicodeTrimTest, EveryTrim) {
  Nstring n = " \t a b \r\n";
  nym_trim(n);
  Wstring w = u"\u00A0\u3000 a b \u2028";
  nym_trim(w);
  EXPECT_TRUE(n == "a b" && w == u"a b");
  w = u"  a b  ";
  nym_trim_leading(w);
  EXPECT_EQ(w, u"a b  ");
  nym_trim_trailing(w);
  EXPECT_EQ(w, u"a b");
  nym_trim_all(w);
  n = " x y ";
  nym_trim_all(n);
  EXPECT_TRUE(w == u"ab" && n == "xy");
  n = "00120";
  nym_trim_leading_chars('0', n);
  nym_trim_trailing_chars('0', n);
  w = u"a\\\\";
  nym_trim_trailing_chars(u'\\', w);
  EXPECT_TRUE(n == "12" && w == u"a");

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
  const struct {
    Nstring in, out;
  } narrow_leading[] = {{" \xC2\xA0\xE2\x80\x8B" "1", "1"}, {" \xC2\xA0", " \xC2\xA0"},
                        {" \xC3", "\xC3"}};  // a broken sequence decodes to U+FFFD, a symbol
  for (const auto& c : narrow_leading) {
    n = c.in;
    nym_trim_unicode_leading(n);
    EXPECT_EQ(n, c.out);
  }
}
