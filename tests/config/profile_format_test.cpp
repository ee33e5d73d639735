// The profile line rules, and whole files read and written over a string store: both builds.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "config/profile_format.h"
#include "profile_test_support.h"
#include "nym/string_buffer.h"

using namespace nym;
using impl::Profile_entry;

namespace {

using nym_test::bytes_of;

struct Scan {
  std::vector<Wstring> names;
  std::vector<int64> offsets;
  std::vector<Profile_entry> entries;  // of the first section
  Nym_status status;
};

Scan scan(std::string bytes) {
  Scan s;
  Nym_string_buffer buffer(bytes, true);
  impl::profile_scan_sections(buffer, true, s.names, s.offsets, s.status);
  if (s.status.ok() && !s.names.empty()) {
    impl::profile_read_section(buffer, true, s.names, s.offsets, s.names[0], s.entries, s.status);
  }
  return s;
}

// What the editor writes after loading `bytes`.
std::string rewrite(std::string bytes) {
  impl::Profile_sections sections;
  Nym_status status;
  Nym_string_buffer in(bytes, true);
  impl::profile_load(in, true, sections, status);
  std::string out;
  Nym_string_buffer buffer(out, true);
  int64 end = 0;
  impl::profile_write(buffer, false, sections, end, status);
  EXPECT_TRUE(status.ok() && end == static_cast<int64>(out.size()));
  return out;
}

Wstring random_text(std::mt19937& rng, std::size_t max) {
  static const Wstring alphabet = u"\\\\\\==0AD5C\n\r a;[]";
  Wstring text(rng() % (max + 1), u' ');
  for (Wchar& c : text) c = alphabet[rng() % alphabet.size()];
  return text;
}

}  // namespace

TEST(ProfileFormatTest, UnescapeAndEscapeTable) {
  using Case = std::pair<Wstring, Wstring>;  // written, meaning
  const Case unescape[] = {
      {u"a\\=b\\0Ac", u"a=b\nc"}, {u"\\0D\\5C", u"\r\\"},  {u"x\\", u"x\\"},   {u"\\0", u"\\0"},
      {u"\\0a", u"\\0a"},         {u"\\5Cx", u"\\x"},       {u"\\q=", u"\\q="}, {u"\\\\=", u"\\="},
  };
  for (const Case& c : unescape) EXPECT_EQ(impl::profile_unescape(c.first), c.second) << bytes_of(c.first);
  const Case escape[] = {
      {u"a\\=b\\0Ac\\0D", u"a=b\nc\r"}, {u"\\5C=", u"\\="}, {u"\\5C0A", u"\\0A"}, {u"\\\\0A", u"\\\n"},
  };
  for (const Case& c : escape) EXPECT_EQ(impl::profile_escape(c.second), c.first) << bytes_of(c.second);
}

TEST(ProfileFormatTest, SplitTable) {
  struct Case {
    Wstring line, key, value;
  };
  const Case cases[] = {
      {u"key=a=b", u"key", u"a=b"},      {u"=value", u"", u"value"},     {u"  k  =  a b  ", u"k", u"a b"},
      {u"k=v\\0A", u"k", u"v\n"},        {u"k\\=1=2", u"k=1", u"2"},     {u"; c = d ", u"; c = d ", u""},
      {u"  ;c=d", u";c", u"d"},          {u"novalue", u"novalue", u""}, {u"", u"", u""},
      {u"\\5C=x", u"\\", u"x"},
  };
  for (const Case& c : cases) {
    Wstring key = u"stale", value = u"stale";
    impl::profile_split_line(c.line, key, value);
    EXPECT_EQ(key, c.key) << bytes_of(c.line);
    EXPECT_EQ(value, c.value) << bytes_of(c.line);
  }
}

TEST(ProfileFormatTest, LineRulesHoldOnRandomText) {
  std::mt19937 rng(2208);
  for (int i = 0; i < 20000; ++i) {
    const Wstring text = random_text(rng, 16);
    ASSERT_TRUE(nym_test::profile_rules_hold(text)) << bytes_of(text);
  }
}

// Without CR LF the body read must end at the end of the data, not wait for a header.
TEST(ProfileFormatTest, LineEndsOtherThanCrLfListSectionsAndEndTheBodyRead) {
  const std::string long_line = bytes_of(u"[a]\r\nk=" + Wstring(512 * 1024, u'v'));
  struct Case {
    const char* what;
    std::string bytes;
    std::vector<Wstring> names;
    std::size_t entries;
  };
  const Case cases[] = {
      {"LF", bytes_of(u"\uFEFF[a]\nk=v\n[b]\nx=y\n"), {u"a", u"b"}, 0},
      {"CR", bytes_of(u"[a]\rk=v\r[b]\r"), {u"a", u"b"}, 0},
      {"mixed", bytes_of(u"[a]\r\nk=v\n[b]\rx=y\r\n"), {u"a", u"b"}, 1},
      {"odd", bytes_of(u"[a]\r\nk=v\r\n") + "z", {u"a"}, 1},
      {"odd, no line end", bytes_of(u"[a]\r\nk=v") + "z", {u"a"}, 1},
      {"mark only", bytes_of(u"\uFEFF"), {}, 0},
      {"empty", "", {}, 0},
      {"one line", long_line, {u"a"}, 1},
      {"header last", bytes_of(u"x\n[a]"), {u"a"}, 0},
      {"brackets", bytes_of(u"[\r\n]\r\n[]x\r\n\uFEFF]\r\n [ a [b] ] \r\n"), {u" a [b] "}, 0},
  };
  for (const Case& c : cases) {
    const Scan s = scan(c.bytes);
    EXPECT_TRUE(s.status.ok()) << c.what;
    EXPECT_EQ(s.names, c.names) << c.what;
    EXPECT_EQ(s.entries.size(), c.entries) << c.what;
  }
  EXPECT_EQ(scan(long_line).entries.at(0).second.size(), 512u * 1024u);
  // The mark before the first header: the section still starts at offset 0.
  EXPECT_EQ(scan(bytes_of(u"\uFEFF[a]\r\n")).offsets, std::vector<int64>{0});
}

TEST(ProfileFormatTest, SectionBodyStopsAtTheNextHeaderAndKeepsEveryLine) {
  const Scan s = scan(bytes_of(u"pre=1\r\n[A]\r\n; note\r\n\r\nk = v\r\n=x\r\n[b]\r\nz=1\r\n[a]\r\nlater=1\r\n"));
  EXPECT_EQ(s.offsets, (std::vector<int64>{14, 66, 86}));
  EXPECT_EQ(s.entries, (std::vector<Profile_entry>{{u"; note", u""}, {u"", u""}, {u"k", u"v"}, {u"", u"x"}}));
}

// Blank lines, one-unit lines and lines before the first header go; comments stay; a file the
// editor wrote comes back byte for byte.
TEST(ProfileFormatTest, EditorLoadDropsWhatItMustAndRewritesItsOwnFilesExactly) {
  const std::string messy =
      bytes_of(u"lost=1\r\n\uFEFF[one]\n  ; kept \r\n;\r\nx\r\n\r\nk = a\\=b\\0Ac \r[two]\r\n\r\n[three]");
  const std::string expected = bytes_of(
      u"\uFEFF[one]\r\n; kept\r\nk=a\\=b\\0Ac\r\n\r\n[two]\r\n\r\n[three]\r\n\r\n");
  const std::string once = rewrite(messy);
  EXPECT_EQ(once, expected);
  EXPECT_EQ(rewrite(once), once);
  EXPECT_EQ(scan(once).entries, (std::vector<Profile_entry>{{u"; kept", u""}, {u"k", u"a=b\nc"}, {u"", u""}}));
}
