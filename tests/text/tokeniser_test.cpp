#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "nym/tokeniser.h"

using namespace nym;

namespace {

using Ntokens = std::vector<Nstring>;
using Wtokens = std::vector<Wstring>;

Ntokens run(const Nym_narrow_tokeniser& t, const Nstring& text) {
  Ntokens tokens{"stale"};
  t.tokenise(text, tokens);
  return tokens;
}

Wtokens run(const Nym_tokeniser& t, const Wstring& text) {
  Wtokens tokens{u"stale"};
  t.tokenise(text, tokens);
  return tokens;
}

// Narrow and wide must behave alike: each case runs through both.
struct Case {
  const char* name;
  const char* separators;
  const char* ignore;
  const char* terminators;
  const char* terminals;
  bool include_separators;
  bool allow_empty;
  const char* text;
  Ntokens expected;
};

Wstring widen(const std::string& s) { return Wstring(s.begin(), s.end()); }

TEST(TokeniserTest, Rules) {
  const Case cases[] = {
      {"empty text", ",", "", "", "", false, true, "", {}},
      {"skipped empties", ",", "", "", "", false, false, "a,,b", {"a", "b"}},
      {"leading and trailing", ",", "", "", "", false, true, ",a,", {"", "a", ""}},
      {"quotes keep spaces", " \t", "", "\n", "", false, false, "x \"a b\" y", {"x", "\"a b\"", "y"}},
      {"quote inside a token", " ", "", "", "", false, false, "k=\"a b\"c d", {"k=\"a b\"c", "d"}},
      {"escaped quote in quotes", " ", "", "", "", false, false, "\"a\\\" b\" c", {"\"a\\\" b\"", "c"}},
      {"backslash last in quotes", " ", "", "", "", false, false, "\"a\\", {"\"a\\"}},
      {"unterminated quote", " ", "", "", "", false, false, "a \"b c", {"a", "\"b c"}},
      {"terminator in quotes", " ", "", "\n", "", false, false, "\"a\nb\" c\nd", {"\"a\nb\"", "c"}},
      {"ignore", " ", "-", "", "", false, false, "a-b -c", {"ab", "c"}},
      {"terminal", "", "", "", "=", false, false, "k=v", {"k", "=", "v"}},
      // A character in several sets: terminator, then ignore, then separator, then terminal.
      {"terminator beats ignore", " ", ";", ";", "", false, false, "a;b", {"a"}},
      {"ignore beats separator", ",", ",", "", "", false, false, "a,b", {"ab"}},
      {"separator beats terminal", ",", "", "", ",", false, false, "a,b", {"a", "b"}},
      {"quote beats everything", "\"", "\"", "\"", "\"", false, false, "a\"b", {"a\"b"}},
  };
  for (const Case& c : cases) {
    const Nym_narrow_tokeniser n(c.separators, c.ignore, c.terminators, c.terminals, c.include_separators,
                                 c.allow_empty);
    EXPECT_EQ(run(n, c.text), c.expected) << c.name;
    const Nym_tokeniser w(widen(c.separators), widen(c.ignore), widen(c.terminators), widen(c.terminals),
                          c.include_separators, c.allow_empty);
    Wtokens expected;
    for (const auto& e : c.expected) expected.push_back(widen(e));
    EXPECT_EQ(run(w, widen(c.text)), expected) << c.name;
  }
}

TEST(TokeniserTest, SettersWideCharactersAndLongTokens) {
  Nym_tokeniser t;
  t.separators(u",");
  t.ignore(u" ");
  t.terminators(u";");
  t.terminals(u"=");
  t.include_separators(true);
  t.allow_empty_tokens(true);
  EXPECT_EQ(run(t, u"a b,=c;d"), (Wtokens{u"ab,", u"", u"=", u"c"}));
  const Nym_tokeniser wide(u"\u3000", u"", u"", u"\u2192", false, false);
  EXPECT_EQ(run(wide, u"\u4E00\u3000\u4E8C\u2192\U0001F600"), (Wtokens{u"\u4E00", u"\u4E8C", u"\u2192", u"\U0001F600"}));
  const Wstring big(5000, u'x');
  EXPECT_EQ(run(Nym_tokeniser(), big + u" y\tz\nw"), (Wtokens{big, u"y", u"z"})) << "the defaults";
}

}  // namespace
