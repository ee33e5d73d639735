#include <gtest/gtest.h>

#include "nym/quote.h"

using namespace nym;

namespace {

Nstring quote(const Nstring& in) {
  Nstring out = "stale";
  nym_quote(in, out);
  return out;
}
Wstring quote(const Wstring& in) {
  Wstring out = u"stale";
  nym_quote(in, out);
  return out;
}
Nstring unquote(const Nstring& in) {
  Nstring out = "stale";
  nym_unquote(in, out);
  return out;
}
Wstring unquote(const Wstring& in) {
  Wstring out = u"stale";
  nym_unquote(in, out);
  return out;
}
Wstring widen(const Nstring& s) { return Wstring(s.begin(), s.end()); }

TEST(QuoteTest, Quote) {
  const struct {
    Nstring in;
    Nstring out;
  } cases[] = {
      {"", "\"\""},
      {"abc", "\"abc\""},
      {"a\"b", "\"a\\\"b\""},
      {"a\\b", "\"a\\\\b\""},
      {"\r\n\t\v\b\f\a", "\"\\r\\n\\t\\v\\b\\f\\a\""},
      {"it's", "\"it's\""},
      {Nstring("\0\x01\x1B", 3), Nstring("\"\0\x01\x1B\"", 5)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(quote(c.in), c.out);
    EXPECT_EQ(quote(widen(c.in)), widen(c.out));
  }
  EXPECT_EQ(quote(Wstring(u"\u00E9\"")), Wstring(u"\"\u00E9\\\"\""));
}

TEST(QuoteTest, Unquote) {
  const struct {
    Nstring in;
    Nstring narrow;
    Nstring wide;  // where the wide form differs (empty: same)
  } cases[] = {
      {"\"\"", "", ""},
      {"\"", "\"", ""},
      {"abc", "abc", ""},
      {"\"abc", "\"abc", ""},
      {"\"a\\\"b\"", "a\"b", ""},
      {"\\t\\r\\n\\f\\a\\b\\v\\\\", "\t\r\n\f\a\b\v\\", ""},
      {"\\x", Nstring(1, '\0'), ""},
      {"\\xg", Nstring("\0g", 2), ""},
      {"\\x41", "A", ""},
      {"\\x4a\\x4A", "JJ", ""},
      {"\\x2603", "&03", "\xE2\x98\x83"},  // U+2603: wide reads four digits
      {"\\101", "A", ""},
      {"\\1019", "A9", ""},
      {"\\18", Nstring("\x01" "8"), ""},
      {"\\8", "8", ""},
      {"\\9", "9", ""},
      {"\\q", "q", ""},
      {"\\'", "'", ""},
      {"abc\\", "abc\\", ""},
      {"\"abc\\\"", "abc\\", ""},
      {"\\777", "\xFF", "\xC7\xBF"},  // 511: cut to 8 bits narrow, 16 bits wide (U+01FF)
  };
  for (const auto& c : cases) {
    EXPECT_EQ(unquote(c.in), c.narrow) << c.in;
    Wstring wide_expected;
    if (c.wide.empty()) {
      wide_expected = widen(c.narrow);
    } else {
      wide_expected = c.wide == "\xE2\x98\x83" ? Wstring(u"\u2603") : Wstring(u"\u01FF");
    }
    EXPECT_EQ(unquote(widen(c.in)), wide_expected) << c.in;
  }
}

TEST(QuoteTest, StripQuotes) {
  const struct {
    const char16_t* in;
    const char16_t* out;
  } cases[] = {{u"", u""},         {u"\"", u"\""},       {u"'", u"'"},       {u"\"\"", u""},
               {u"''", u""},       {u"\"'", u"\"'"},     {u"\"a\"", u"a"},   {u"'a b'", u"a b"},
               {u"\"\"a\"\"", u"\"a\""}, {u"a\"", u"a\""}, {u"'a\"", u"'a\""}};
  for (const auto& c : cases) {
    Wstring out = u"stale";
    nym_strip_quotes(c.in, out);
    EXPECT_EQ(out, Wstring(c.out));
  }
}

TEST(QuoteTest, StripUnmatchedQuotes) {
  const struct {
    const char16_t* in;
    bool answer;
    const char16_t* out;
  } cases[] = {{u"", false, u""},          {u"\"", false, u""},     {u"\"a", true, u"a"},
               {u"a\"", true, u"a"},       {u"\"a\"", false, u""},  {u"abc", false, u""},
               {u"'a", false, u""},        {u"\"a'", true, u"a'"}};
  for (const auto& c : cases) {
    Wstring out = u"stale";
    EXPECT_EQ(nym_strip_unmatched_quotes(c.in, out), c.answer);
    EXPECT_EQ(out, Wstring(c.out));
  }
}

TEST(XmlEscapeTest, Wide) {
  const struct {
    Wstring in;
    bool escape_backslash;
    Wstring out;
  } cases[] = {
      {Wstring(u"\t"), true, Wstring(u"\\i")},
      {Wstring(u"\0", 1), true, Wstring(u"\\`")},
      {Wstring(u"\x01"), true, Wstring(u"\\a")},
      {Wstring(u"\x1E"), true, Wstring(u"\\~")},
      {Wstring(u"\x1F"), true, Wstring(u"\\_")},
      {Wstring(u"\u00E9 \x7F<&>\""), true, Wstring(u"\u00E9 \x7F<&>\"")},
      {Wstring(u"a\\b"), true, Wstring(u"a\\\\b")},
      {Wstring(u"a\\b"), false, Wstring(u"a\\b")},
      {Wstring(u"line\r\n"), false, Wstring(u"line\\m\\j")},
  };
  for (const auto& c : cases) {
    Wstring out = u"stale";
    nym_wstring_to_xml(c.in, out, c.escape_backslash);
    EXPECT_EQ(out, c.out);
    Wstring in_place = c.in;
    nym_wstring_to_xml(in_place, c.escape_backslash);
    EXPECT_EQ(in_place, c.out);
  }
}

TEST(XmlEscapeTest, NarrowEscapesHighBytes) {
  Nstring out;
  nym_string_to_xml(Nstring("caf\xC3\xA9\t"), out, true);
  EXPECT_EQ(out, "caf\\#\\\x09\\i");
  nym_string_to_xml(Nstring("\x80"), out, true);
  EXPECT_EQ(out, "\\\xE0");
  nym_string_to_xml(Nstring("\x1F\\"), out, false);
  EXPECT_EQ(out, "\\_\\");
}

TEST(XmlEscapeTest, FromXml) {
  const struct {
    Wstring in;
    Wstring out;
  } cases[] = {
      {Wstring(u"\\i"), Wstring(u"\t")},
      {Wstring(u"\\`"), Wstring(u"\0", 1)},
      {Wstring(u"\\_"), Wstring(u"\x1F")},
      {Wstring(u"\\\\"), Wstring(u"\\")},
      {Wstring(u"abc\\"), Wstring(u"abc")},
      {Wstring(u"\\A"), Wstring(1, static_cast<Wchar>(0x41 - 96))},  // wraps to 16 bits
  };
  for (const auto& c : cases) {
    Wstring out = u"stale";
    nym_wstring_from_xml(c.in, out);
    EXPECT_EQ(out, c.out);
  }
  Nstring out;
  nym_string_from_xml(Nstring("\\A\\#"), out);
  EXPECT_EQ(out, Nstring("\xE1\xC3"));  // wraps to 8 bits
}

// The round trips of random text are the fuzz target's (fuzz_quote); without backslash
// escaping a backslash does not come back.
TEST(XmlEscapeTest, WithoutBackslashEscapingABackslashIsLost) {
  Wstring xml;
  Wstring back;
  nym_wstring_to_xml(Wstring(u"a\\_"), xml, false);
  nym_wstring_from_xml(xml, back);
  EXPECT_EQ(back, Wstring(u"a\x1F"));
}

TEST(XmlEscapeTest, NarrowRoundTripsExceptTwoBytes) {
  for (unsigned b = 0; b < 256; ++b) {
    const Nstring in(1, static_cast<char>(b));
    Nstring xml;
    Nstring back;
    nym_string_to_xml(in, xml, true);
    nym_string_from_xml(xml, back);
    if (b == 0xFC) {
      EXPECT_EQ(back, "\\");  // escaped as a backslash and a backslash
    } else if (b == 0xFF) {
      EXPECT_EQ(back, "\x1F");  // escaped as a backslash and an underscore
    } else {
      EXPECT_EQ(back, in) << b;
    }
  }
}

}  // namespace
