#include <gtest/gtest.h>

#include <stdexcept>

#include "nym/status.h"
#include "nym/unicode.h"

using namespace nym;

namespace {

TEST(UnicodeClassTest, WideSpace) {
  EXPECT_TRUE(nym_is_space(Wchar(0x20)));
  EXPECT_TRUE(nym_is_space(Wchar(0x09)));
  EXPECT_TRUE(nym_is_space(Wchar(0x0D)));
  EXPECT_TRUE(nym_is_space(Wchar(0xA0)));
  EXPECT_FALSE(nym_is_space(Wchar(0x85)));
  EXPECT_FALSE(nym_is_space(Wchar(0x1F)));
  EXPECT_TRUE(nym_is_space(Wchar(0x3000)));  // through ICU
  EXPECT_TRUE(nym_is_space(Wchar(0x2028)));
  EXPECT_FALSE(nym_is_space(Wchar(0xFF)));
  EXPECT_TRUE(nym_is_space(' '));
  EXPECT_TRUE(nym_is_space('\n'));
  EXPECT_FALSE(nym_is_space('a'));
  EXPECT_FALSE(nym_is_space(static_cast<char>(0xA0)));  // C locale: not white space
}

TEST(UnicodeClassTest, Blank) {
  EXPECT_TRUE(nym_is_blank(Nstring()));
  EXPECT_TRUE(nym_is_blank(Wstring()));
  EXPECT_TRUE(nym_is_blank(Nstring(" \t\r\n")));
  EXPECT_TRUE(nym_is_blank(Wstring(u" \u00A0\u3000")));
  EXPECT_FALSE(nym_is_blank(Wstring(u" x ")));
  EXPECT_FALSE(nym_is_blank(Nstring(" x")));
}

TEST(UnicodeClassTest, Alpha) {
  EXPECT_FALSE(nym_is_alpha(Nstring()));
  EXPECT_FALSE(nym_is_alpha(Wstring()));
  EXPECT_FALSE(nym_is_alpha(Wstring(u"   ")));
  EXPECT_TRUE(nym_is_alpha(Nstring("  abcXYZ")));
  EXPECT_FALSE(nym_is_alpha(Nstring("abc ")));      // trailing white space
  EXPECT_FALSE(nym_is_alpha(Nstring("ab1")));
  EXPECT_FALSE(nym_is_alpha(Nstring("caf\xC3\xA9")));  // bytes above 0x7F never count
  EXPECT_TRUE(nym_is_alpha(Wstring(u"caf\u00E9")));
  EXPECT_TRUE(nym_is_alpha(Wstring(u"\u4E00\u0301")));  // other letter, mark
  EXPECT_TRUE(nym_is_alpha(Wstring(u"\U0001D400")));   // a pair: surrogates are class 6
  EXPECT_TRUE(nym_is_alpha(Wstring(u"\U0001F600")));   // ... whatever the pair stands for
  EXPECT_FALSE(nym_is_alpha(Wstring(u"a_b")));
  EXPECT_FALSE(nym_is_alpha(Wstring(u"a\u0378")));  // unassigned
}

TEST(UnicodeClassTest, LowerUpper) {
  EXPECT_TRUE(nym_is_lower(Wstring(u"abc1")));
  EXPECT_FALSE(nym_is_lower(Wstring(u"1")));
  EXPECT_FALSE(nym_is_lower(Wstring(u"aB")));
  EXPECT_FALSE(nym_is_lower(Wstring()));
  EXPECT_TRUE(nym_is_upper(Wstring(u"ABC \u00C0!")));
  EXPECT_FALSE(nym_is_upper(Wstring(u"ABc")));
  EXPECT_TRUE(nym_is_upper(Wstring(u"\U0001D400")));  // a pair decodes to one upper code point
  EXPECT_TRUE(nym_is_lower(Wstring(u"\U00010428")));  // Deseret small letter, from the table
  EXPECT_FALSE(nym_is_upper(Wstring(u"\u01C5")));     // titlecase has neither bit
  EXPECT_FALSE(nym_is_lower(Wstring(u"\u01C5")));
  EXPECT_FALSE(nym_is_upper(Wstring(u"\u13A0")));     // Cherokee was caseless in Unicode 7
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
    Wstring wide(c.text, c.text + std::char_traits<char>::length(c.text));
    EXPECT_EQ(nym_is_number(wide, c.base), c.expected) << c.text << " base " << c.base;
  }
  EXPECT_TRUE(nym_is_number(Wstring(u"\u00A012"), 10));  // wide white space includes U+00A0
}

TEST(UnicodeCaseTest, CodePoints) {
  EXPECT_EQ(nym_lower(0xC0u), 0xE0u);
  EXPECT_EQ(nym_upper(0xE9u), 0xC9u);
  EXPECT_EQ(nym_lower(unsigned('A')), unsigned('a'));
  EXPECT_EQ(nym_upper(unsigned('z')), unsigned('Z'));
  EXPECT_EQ(nym_lower(unsigned('1')), unsigned('1'));
  EXPECT_EQ(nym_lower(0x2FFFFu), 0x2FFFFu);
  EXPECT_EQ(nym_lower(0x1D400u), 0x1D400u);  // mathematical letters have no lower mapping
  EXPECT_EQ(nym_lower(0x10400u), 0x10428u);  // Deseret
  EXPECT_EQ(nym_upper(0x10428u), 0x10400u);
  EXPECT_EQ(nym_lower(0x01C5u), 0x01C5u);    // titlecase stays
  EXPECT_EQ(nym_upper(0x01C5u), 0x01C5u);
  // The table, not ICU, decides: Cherokee capitals had no case in Unicode 7.
  EXPECT_EQ(nym_lower(0x13A0u), 0x13A0u);
  EXPECT_EQ(nym_lower(0x1E900u), 0x1E900u);  // Adlam came after Unicode 7: no case here
  EXPECT_EQ(nym_upper(0x1E922u), 0x1E922u);
  EXPECT_EQ(nym_lower(0xE0041u), 0xE0041u);  // above the table: ICU alone
}

TEST(UnicodeCaseTest, NarrowIsBytewise) {
  Nstring s = "MiXeD 123 \xC3\x89";
  nym_lower(s);
  EXPECT_EQ(s, "mixed 123 \xC3\x89");
  Nstring out;
  nym_upper(Nstring("abc"), out);
  EXPECT_EQ(out, "ABC");
}

TEST(UnicodeCaseTest, WideCodePointByCodePoint) {
  Wstring s = u"\u00C9t\u00C9 \U00010400x";
  nym_lower(s);
  EXPECT_EQ(s, Wstring(u"\u00E9t\u00E9 \U00010428x"));
  Wstring out;
  nym_upper(s, out);
  EXPECT_EQ(out, Wstring(u"\u00C9T\u00C9 \U00010400X"));
  Wstring pair = u"\U00010428\U0001D41A";
  nym_upper(pair);
  EXPECT_EQ(pair, Wstring(u"\U00010400\U0001D41A"));
}

TEST(UnicodeCaseTest, WideKeepsWhatItCannotDecode) {
  Wstring s = Wstring(u"A") + Wchar(0xD800) + u"B" + Wchar(0xDC00) + u"C";
  nym_lower(s);
  EXPECT_EQ(s, Wstring(u"a") + Wchar(0xD800) + u"b" + Wchar(0xDC00) + u"c");
  Wstring with_nul(u"AB\0CD", 5);
  nym_lower(with_nul);
  EXPECT_EQ(with_nul, Wstring(u"ab\0CD", 5));
}

TEST(UnicodeNormalizeTest, CanNormalize) {
  EXPECT_FALSE(nym_can_normalize(Wstring()));
  EXPECT_FALSE(nym_can_normalize(Wstring(u"abc")));
  EXPECT_TRUE(nym_can_normalize(Wstring(u"a\u00A0b")));
  EXPECT_TRUE(nym_can_normalize(Wstring(u"\U0001D400")));   // decoded as a pair
  EXPECT_TRUE(nym_can_normalize(Wstring(u"\U0002F800")));   // compatibility ideograph
  EXPECT_FALSE(nym_can_normalize(Wstring(u"\U000E0100")));  // above the table never counts
}

TEST(UnicodeNormalizeTest, Nfkc) {
  Nym_status status(0xC2000001u);
  Wstring out = u"old";
  nym_normalize(Wstring(u"\uFB01 \u00BD \U0001D400 e\u0301"), out, status);
  EXPECT_EQ(out, Wstring(u"fi 1\u20442 A \u00E9"));
  EXPECT_EQ(status.value(), 0xC2000001u);  // untouched on success
}

TEST(UnicodeNormalizeTest, LongTextsTakeTheSecondCall) {
  for (const std::size_t n : {std::size_t(4095), std::size_t(4096), std::size_t(4097), std::size_t(20000)}) {
    Nym_status status;
    Wstring out;
    nym_normalize(Wstring(n, u'\uFB01'), out, status);  // each becomes "fi"
    EXPECT_TRUE(status.ok()) << n;
    Wstring expected;
    for (std::size_t i = 0; i < n; ++i) expected += u"fi";
    EXPECT_EQ(out, expected) << n;
  }
  Nym_status status;
  Wstring out;
  nym_normalize(Wstring(4096, u'a'), out, status);  // exactly the work area
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(out, Wstring(4096, u'a'));
}

TEST(UnicodeNormalizeTest, StopsAtEmbeddedNul) {
  Nym_status status;
  Wstring out;
  nym_normalize(Wstring(u"ab\0cd", 5), out, status);
  EXPECT_EQ(out, Wstring(u"ab"));
}

TEST(UnicodeNormalizeTest, TranslateIcuError) {
  const struct {
    int code;
    unsigned int expected;
  } cases[] = {{10, 0xC200009Eu}, {11, 0xC200009Fu}, {12, 0xC20000A0u}, {18, 0xC20000A2u}, {19, 0xC20000A3u}};
  for (const auto& c : cases) {
    Nym_status status(0xC2000005u);
    status.push(0xC2000006u);
    nym_translate_icu_error(c.code, status);
    EXPECT_EQ(status.value(), c.expected);
    EXPECT_EQ(status.num_args(), 0u);
    EXPECT_EQ(status.child(), nullptr);  // assigned, not pushed
  }
  Nym_status status(0xC2000005u);
  nym_translate_icu_error(-124, status);  // a warning is reported too
  EXPECT_EQ(status.value(), 0xC20000A1u);
  ASSERT_EQ(status.num_args(), 1u);
  const auto* arg = dynamic_cast<const Nym_int_status_arg*>(*status.begin());
  ASSERT_NE(arg, nullptr);
  EXPECT_EQ(arg->value(), -124);
  EXPECT_TRUE(arg->format());
  nym_translate_icu_error(0, status);
  EXPECT_EQ(status.value(), 0u);
}

TEST(UnicodeTrimTest, WhiteSpace) {
  Nstring n = " \t a b \r\n";
  nym_trim(n);
  EXPECT_EQ(n, "a b");
  Wstring w = u"\u00A0\u3000 a b \u2028";
  nym_trim(w);
  EXPECT_EQ(w, Wstring(u"a b"));
  w = u"  a b  ";
  nym_trim_leading(w);
  EXPECT_EQ(w, Wstring(u"a b  "));
  nym_trim_trailing(w);
  EXPECT_EQ(w, Wstring(u"a b"));
  nym_trim_all(w);
  EXPECT_EQ(w, Wstring(u"ab"));
  n = " x y ";
  nym_trim_all(n);
  EXPECT_EQ(n, "xy");
  n = "   ";
  nym_trim_leading(n);
  EXPECT_EQ(n, "");
  n = "  x ";
  nym_trim_trailing(n);
  EXPECT_EQ(n, "  x");
}

TEST(UnicodeTrimTest, Chars) {
  Nstring n = "00120";
  nym_trim_leading_chars('0', n);
  EXPECT_EQ(n, "120");
  nym_trim_trailing_chars('0', n);
  EXPECT_EQ(n, "12");
  Wstring w = u"a\\\\";
  nym_trim_trailing_chars(u'\\', w);
  EXPECT_EQ(w, Wstring(u"a"));
  n = "000";
  nym_trim_leading_chars('0', n);
  EXPECT_EQ(n, "");
}

TEST(UnicodeTrimTest, ControlCharacters) {
  Wstring w = u"a\t\nb";
  nym_trim_all_ctrl(w, u'_');
  EXPECT_EQ(w, Wstring(u"a_b"));
  w = Wstring(u"\x01" u"a\x1F\x02" u"b\x1F", 6);
  nym_trim_all_ctrl(w, u'_');
  EXPECT_EQ(w, Wstring(u"_a_b_"));
  w = Wstring(u"\0a\x1F b\r\n", 7);
  nym_trim_all_ctrl(w, 0);
  EXPECT_EQ(w, Wstring(u"a b"));
  EXPECT_THROW(nym_trim_all_ctrl(w, u'\x1F'), std::invalid_argument);
  w = u"x \x7F";
  nym_trim_all_ctrl(w, u'?');
  EXPECT_EQ(w, Wstring(u"x \x7F"));  // 32 and 127 aren't below 32
}

TEST(UnicodeTrimTest, UnicodeLeading) {
  Wstring w = u" \u00A0\u2028\u200B x";
  nym_trim_unicode_leading(w);
  EXPECT_EQ(w, Wstring(u"x"));
  w = u"   ";
  nym_trim_unicode_leading(w);
  EXPECT_EQ(w, Wstring(u"   "));  // nothing but class 1: unchanged
  nym_trim_leading(w);
  EXPECT_EQ(w, Wstring());
  w = Wstring(u"  \0x", 4);
  nym_trim_unicode_leading(w);
  EXPECT_EQ(w, Wstring(u"  \0x", 4));  // a NUL ends the walk first
  w = u" \u0378";
  nym_trim_unicode_leading(w);
  EXPECT_EQ(w, Wstring(u"\u0378"));  // unassigned is another class
  Nstring n = " \xC2\xA0\xE2\x80\x8B" "1";
  nym_trim_unicode_leading(n);
  EXPECT_EQ(n, "1");
  n = " \xC2\xA0";
  nym_trim_unicode_leading(n);
  EXPECT_EQ(n, " \xC2\xA0");
  n = " \xC3";  // a broken sequence decodes to U+FFFD, a symbol
  nym_trim_unicode_leading(n);
  EXPECT_EQ(n, "\xC3");
}

}  // namespace
