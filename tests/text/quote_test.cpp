// Quoting, quote stripping and XML escaping; the round trips of random text are fuzz_quote's.
#include <gtest/gtest.h>

#include "nym/quote.h"

using namespace nym;

namespace {

Wstring widen(const Nstring& s) { return Wstring(s.begin(), s.end()); }

template <class String>
String quote(const String& in) {
  String out;
  nym_quote(in, out);
  return out;
}

template <class String>
String unquote(const String& in) {
  String out;
  nym_unquote(in, out);
  return out;
}

}  // namespace

TEST(QuoteTest, QuoteUnquoteAndStrip) {
  const std::pair<Nstring, Nstring> quoted[] = {
      {"", "\"\""}, {"a\"b", "\"a\\\"b\""}, {"a\\b", "\"a\\\\b\""}, {"\r\n\t\v\b\f\a", "\"\\r\\n\\t\\v\\b\\f\\a\""},
      {"it's", "\"it's\""}, {Nstring("\0\x01\x1B", 3), Nstring("\"\0\x01\x1B\"", 5)}};
  for (const auto& c : quoted) {
    EXPECT_EQ(quote(c.first), c.second);
    EXPECT_EQ(quote(widen(c.first)), widen(c.second));
  }
  const struct {
    Nstring in, narrow;
    Wstring wide;  // where the wide form differs
  } unquoted[] = {
      {"\"\"", "", u""}, {"\"", "\"", u"\""}, {"\"abc", "\"abc", u"\"abc"}, {"\"a\\\"b\"", "a\"b", u"a\"b"},
      {"\\t\\r\\n\\f\\a\\b\\v\\\\", "\t\r\n\f\a\b\v\\", u"\t\r\n\f\a\b\v\\"},
      {"\\x", Nstring(1, '\0'), Wstring(1, u'\0')}, {"\\xg", Nstring("\0g", 2), Wstring(u"\0g", 2)},
      {"\\x4a\\x4A", "JJ", u"JJ"}, {"\\x2603", "&03", u"\u2603"},  // wide reads four hex digits
      {"\\1019", "A9", u"A9"}, {"\\18", "\x01" "8", u"\x01" u"8"}, {"\\8\\q\\'", "8q'", u"8q'"},
      {"abc\\", "abc\\", u"abc\\"}, {"\"abc\\\"", "abc\\", u"abc\\"},
      {"\\777", "\xFF", u"\u01FF"}};  // 511: cut to 8 bits narrow, 16 bits wide
  for (const auto& c : unquoted) {
    EXPECT_EQ(unquote(c.in), c.narrow) << c.in;
    EXPECT_EQ(unquote(widen(c.in)), c.wide) << c.in;
  }

  const std::pair<const char16_t*, const char16_t*> strip[] = {
      {u"", u""},     {u"\"", u"\""},   {u"''", u""},   {u"\"'", u"\"'"}, {u"'a b'", u"a b"},
      {u"\"\"a\"\"", u"\"a\""}, {u"a\"", u"a\""}, {u"'a\"", u"'a\""}};
  for (const auto& c : strip) {
    Wstring out = u"stale";
    nym_strip_quotes(c.first, out);
    EXPECT_EQ(out, c.second);
  }
  const struct {
    const char16_t* in;
    bool answer;
    const char16_t* out;
  } unmatched[] = {{u"\"", false, u""}, {u"\"a", true, u"a"}, {u"a\"", true, u"a"}, {u"\"a\"", false, u""},
                   {u"'a", false, u""}, {u"\"a'", true, u"a'"}};
  for (const auto& c : unmatched) {
    Wstring out = u"stale";
    EXPECT_EQ(nym_strip_unmatched_quotes(c.in, out), c.answer);
    EXPECT_EQ(out, c.out);
  }
}

TEST(XmlEscapeTest, ToAndFrom) {
  const struct {
    Wstring in;
    bool escape_backslash;
    Wstring out;
  } to[] = {{Wstring(u"\t\0\x01\x1E\x1F", 5), true, u"\\i\\`\\a\\~\\_"},
            {u"\u00E9 \x7F<&>\"", true, u"\u00E9 \x7F<&>\""},
            {u"a\\b", true, u"a\\\\b"}, {u"a\\b\r\n", false, u"a\\b\\m\\j"}};
  for (const auto& c : to) {
    Wstring out = u"stale", in_place = c.in;
    nym_wstring_to_xml(c.in, out, c.escape_backslash);
    nym_wstring_to_xml(in_place, c.escape_backslash);
    EXPECT_TRUE(out == c.out && in_place == c.out);
  }
  Nstring narrow;
  nym_string_to_xml(Nstring("caf\xC3\xA9\t\x80"), narrow, true);
  EXPECT_EQ(narrow, "caf\\#\\\x09\\i\\\xE0") << "bytes above 0x7F are escaped too";
  const std::pair<Wstring, Wstring> from[] = {
      {u"\\i\\`\\_\\\\", Wstring(u"\t\0\x1F\\", 4)}, {u"abc\\", u"abc"}, {u"\\A", Wstring(1, static_cast<Wchar>(0x41 - 96))}};
  for (const auto& c : from) {
    Wstring out = u"stale";
    nym_wstring_from_xml(c.first, out);
    EXPECT_EQ(out, c.second) << "wraps to 16 bits";
  }
  nym_string_from_xml(Nstring("\\A\\#"), narrow);
  EXPECT_EQ(narrow, Nstring("\xE1\xC3")) << "wraps to 8 bits";
  // Every byte comes back but two, escaped as a backslash and a backslash or an underscore.
  for (unsigned b = 0; b < 256; ++b) {
    Nstring xml, back;
    nym_string_to_xml(Nstring(1, static_cast<char>(b)), xml, true);
    nym_string_from_xml(xml, back);
    EXPECT_EQ(back, b == 0xFC ? "\\" : b == 0xFF ? "\x1F" : Nstring(1, static_cast<char>(b))) << b;
  }
}
