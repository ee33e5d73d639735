#include <gtest/gtest.h>

#include "nym/cwstring.h"

using namespace nym;

TEST(CwstringTest, ReadsItsLiteralAsUtf8) {
  const Nym_cwstring accented("caf\xC3\xA9 \xF0\x9F\x98\x80");
  EXPECT_EQ(accented, Wstring(u"caf\u00E9 \U0001F600"));
  const Nym_cwstring broken("a\xC3");
  EXPECT_EQ(broken, Wstring(u"a\uFFFD"));
}

TEST(CwstringTest, ConstantsHaveTheirValues) {
  struct Row {
    const Wstring& constant;
    const char16_t* value;
  };
  const Row rows[] = {
      {W_EMPTY, u""},          {W_SPACE, u" "},          {W_UNDERSCORE, u"_"},   {W_HYPHEN, u"-"},
      {W_EQUALS, u"="},        {W_COLON, u":"},          {W_SEMICOLON, u";"},    {W_BANG, u"!"},
      {W_PERCENT, u"%"},       {W_DOLLAR, u"$"},         {W_AMPERSAND, u"&"},    {W_COMMA, u","},
      {W_SLASH, u"/"},         {W_BACKSLASH, u"\\"},     {W_STAR, u"*"},         {W_OPARA, u"("},
      {W_CPARA, u")"},         {W_STARDOTSTAR, u"*.*"},  {W_DOT, u"."},          {W_DOTDOT, u".."},
      {W_QUOTE, u"\""},        {W_TAB, u"\t"},           {W_CR, u"\r"},          {W_LF, u"\n"},
      {W_CRLF, u"\r\n"},       {W_TRUE, u"true"},        {W_FALSE, u"false"},    {W_LT, u"lt"},
      {W_GT, u"gt"},           {W_AMP, u"amp"},          {W_APOS, u"apos"},      {W_WORD_QUOTE, u"quot"},
      {W_NBSP, u"nbsp"},       {W_DOCTYPE, u"!DOCTYPE"}, {W_CDATA, u"![CDATA["}, {W_HTTP_EQUIV, u"HTTP-EQUIV"},
      {W_CONTENT, u"CONTENT"}, {W_META, u"META"},        {W_COMMENT, u"!--"},    {WU_UTF8, u"UTF-8"},
      {WU_UTF16, u"UTF-16"},   {WU_UTF32, u"UTF-32"},    {WU_UNICODE, u"UNICODE"}, {WU_LATIN1, u"ISO-8859-1"},
      {WL_UTF8, u"utf-8"},     {WL_UTF16, u"utf-16"},    {WL_UTF32, u"utf-32"},  {WL_UNICODE, u"unicode"},
      {WL_LATIN1, u"iso-8859-1"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.constant, Wstring(row.value));
}

TEST(CwstringTest, NposIsAllOnes) { EXPECT_EQ(NYM_NPOS, 0xFFFFFFFFFFFFFFFFull); }
