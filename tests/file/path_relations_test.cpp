// Nym_path as a whole: simplify (against a literal level-by-level copy), relative_to, the
// roots and the search-path splitter.
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <vector>

#include "nym/cwstring.h"
#include "nym/path.h"
#include "path_test_support.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::as_path;
using nym_test::u8;
using nym_test::what_of;

namespace {

// simplify exactly as the rule is stated, level by level, every look re-scanning the text
// from its start (cubic; for small inputs only). With `patched`, a look-back that would read
// past the end of a UNC directory path reads an empty level instead of raising.
class Literal_path {
 public:
  Literal_path(Wstring text, Wchar path_sep, Wchar drive_sep, Wchar ext_sep)
      : t(std::move(text)), sep(path_sep), dsep(drive_sep), xsep(ext_sep) {}

  Wstring simplify(bool patched) {
    for (Wchar& u : t) u = u == u'/' ? sep : u;
    for (Wchar& u : t) u = u == u'\\' ? sep : u;
    if (absolute_levels() == 0) return t;
    uint64 i = 0;
    for (;;) {
      uint64 len = 0;
      uint64 start = find_level(i, len);
      const Wstring c = t.substr(start, len);
      if (c.empty() || c == u".") {
        erase_level(start, len);
      } else if (c != u"..") {
        ++i;
      } else if (i == 0) {
        ++i;
      } else {
        bool found = false;
        for (uint64 j = i; j-- > 0 && !found;) {
          try {
            found = level(j, false) != u"..";
          } catch (const std::range_error&) {
            if (!patched) throw;
            found = true;
          }
        }
        if (!found) {
          ++i;
        } else {
          erase_level(start, len);
          --i;
          start = find_level(i, len);
          erase_level(start, len);
        }
      }
      if (i >= absolute_levels()) return t;
    }
  }

 private:
  void erase_level(uint64 start, uint64 len) { t.erase(start, len + (start + len < t.size() ? 1 : 0)); }
  bool has_drive() const { return t.find(dsep) == 1; }
  bool has_unc() const { return t.size() >= 2 && t[0] == sep && t[1] == sep; }
  uint64 absolute_levels() const {
    uint64 k = 0;
    while (k < t.size() && t[k] == sep) ++k;
    uint64 count = 0;
    for (; k < t.size(); ++k) count += t[k] == sep;
    return count;
  }
  uint64 find_filename() const {
    const uint64 k = t.rfind(sep);
    return k == Wstring::npos ? 0 : k + 1;
  }
  Wstring base() const {
    const uint64 f = find_filename();
    uint64 x = t.rfind(xsep);
    if (x == Wstring::npos || x <= f) x = t.size();
    return t.substr(f, x - f);
  }
  uint64 find_level(uint64 n, uint64& len) const {
    uint64 pos = has_unc() ? 2 : (!t.empty() && t[0] == sep) ? 1 : 0;
    uint64 start = 0;
    uint64 end = 0;
    for (uint64 pass = 0; pass < n + 1; ++pass) {
      if (pos >= t.size()) {
        len = 0;
        throw std::range_error("level index out of range.");
      }
      start = pos;
      end = pos;
      while (end < t.size() && t[end] != sep) ++end;
      pos = end + 1;
    }
    len = end - start;
    return start;
  }
  Wstring level(uint64 n, bool raw) const {
    if (!raw) n += has_drive() ? 1 : has_unc() ? 2 : 0;
    if (n == absolute_levels() && find_filename() < t.size()) return base();
    uint64 len = 0;
    const uint64 start = find_level(n, len);
    return start == 0 && len == 0 ? Wstring() : t.substr(start, len);
  }

  Wstring t;
  Wchar sep;
  Wchar dsep;
  Wchar xsep;
};

struct Separators {
  Wchar path = u'\\';
  Wchar drive = u':';
  Wchar extension = u'.';
};

Nym_path with_separators(const Wstring& text, Separators s) {
  Nym_path p;
  p.path_separator(s.path).drive_separator(s.drive).extension_separator(s.extension);
  p = text;
  return p;
}

// The library's simplify against the literal one; answers whether the literal raised.
bool expect_same_as_literal(const Wstring& text, Separators s) {
  Nym_path p = with_separators(text, s);
  p.simplify();
  bool raised = false;
  Wstring expected;
  try {
    expected = Literal_path(text, s.path, s.drive, s.extension).simplify(false);
  } catch (const std::range_error&) {
    raised = true;
    expected = Literal_path(text, s.path, s.drive, s.extension).simplify(true);
  }
  EXPECT_EQ(Wstring(p), expected) << u8(text);
  return raised;
}

TEST(PathSimplifyTest, Table) {
  const std::pair<const char16_t*, const char16_t*> cases[] = {
      {u"a/b\\c", u"a\\b\\c"},
      {u"a\\.\\b", u"a\\b"},
      {u".\\a", u"a"},
      {u"a\\\\b", u"a\\b"},
      {u"a\\\\", u"a\\"},
      {u"\\\\\\a\\b", u"\\\\a\\b"},
      {u"a\\..\\b", u"b"},
      {u"a\\b\\.\\", u"a\\b\\"},
      {u"a\\.\\", u"a\\"},
      {u"a\\..\\", u""},
      {u"a\\..", u"a\\.."},
      {u"a\\b\\..", u"a\\b\\.."},
      {u"a\\.", u"a\\."},
      {u".", u"."},
      {u"..", u".."},
      {u"..\\a", u"..\\a"},
      {u"..\\..\\a", u"..\\..\\a"},
      {u"a\\..\\..\\b", u"..\\b"},
      {u"b\\a\\..\\..", u"b\\.."},
      {u"x\\y.txt\\..\\z", u"x\\z"},
      {u"\\a\\..\\b", u"\\b"},
      {u"\\..\\b", u"\\..\\b"},
      {u"c:\\a\\..\\b", u"c:\\b"},
      {u"c:\\a\\b\\..\\..\\c", u"c:\\c"},
      {u"c:\\..\\b", u"c:\\..\\b"},
      {u"c:\\a\\..\\..\\b", u"c:\\..\\b"},
      {u"c:\\..", u"c:\\.."},
      {u"c:\\a\\..", u"c:\\a\\.."},
      {u"c:a", u"c:a"},
      {u"c:a\\..\\b", u"c:a\\..\\b"},
      {u"\\\\s\\sh\\a\\..\\b", u"\\\\s\\sh\\b"},
      {u"\\\\s\\sh\\..\\b", u"\\\\s\\b"},
      {u"\\\\s\\..\\b", u"\\\\b"},
      {u"\\\\s\\sh\\..", u"\\\\s\\sh\\.."},
      {u"c:\\a\\..\\", u"c:\\"},
      {u"c:\\..\\", u"c:\\..\\"},
      {u"\\a\\..\\", u"\\"},
      // A UNC directory path ending in ..\ takes its parent, as a drive path does; the share
      // and the server are levels like any other here, as in the rows above.
      {u"\\\\s\\sh\\a\\..\\", u"\\\\s\\sh\\"},
      {u"\\\\srv\\share\\dir\\sub\\..\\..\\", u"\\\\srv\\share\\"},
      {u"\\\\s\\sh\\..\\", u"\\\\s\\"},
      {u"\\\\s\\..\\", u"\\\\"},
      {u"\\\\s\\sh\\a\\..\\...", u"\\\\s\\sh\\..."},
  };
  for (const auto& [text, expected] : cases) {
    Nym_path p = as_path(text);
    p.simplify();
    EXPECT_EQ(Wstring(p), expected) << u8(text);
  }
  // The directory code climbs from \\srv\share\dir\ this way.
  EXPECT_EQ(Wstring(Nym_path(u"\\\\srv\\share\\dir\\").cd(u"..")), u"\\\\srv\\share\\");
  EXPECT_EQ(Wstring(Nym_path(u"\\\\srv\\share\\dir\\", u"..\\f")), u"\\\\srv\\share\\f");
}

// Every path of up to four pieces over a small alphabet, behind each kind of prefix.
TEST(PathSimplifyTest, SameAsLiteralOnAllShortPaths) {
  const Wstring pieces[] = {u"a", u".", u"..", u"", u"b.c", u"...", u"c:"};
  const Wstring prefixes[] = {u"", u"\\", u"\\\\", u"\\\\\\", u"c:", u"c:\\", u"\\\\s\\sh\\", u"/"};
  std::vector<Wstring> bodies{u""};
  for (std::size_t from = 0, length = 0; length < 4; ++length) {
    const std::size_t to = bodies.size();
    for (std::size_t k = from; k < to; ++k) {
      for (const Wstring& piece : pieces) bodies.push_back(bodies[k] + (length ? u"\\" : u"") + piece);
    }
    from = to;
  }
  int raised = 0;
  for (const Wstring& prefix : prefixes) {
    for (const Wstring& body : bodies) {
      raised += expect_same_as_literal(prefix + body, {});
      raised += expect_same_as_literal(prefix + body + u"\\", {});
      if (testing::Test::HasFailure()) return;
    }
  }
  EXPECT_GT(raised, 0) << "the inputs that made the literal rule raise must be among these";
}

Wstring random_path(std::mt19937& random, std::size_t max_pieces) {
  static const Wstring pieces[] = {u"a", u"b", u".", u"..", u"..", u"..", u"", u"x.y", u"...", u".z",
                                   u"c:", u":", u"|", u"a_b", u"_"};
  static const Wstring prefixes[] = {u"", u"\\", u"\\\\", u"/", u"//", u"\\\\\\", u"c:", u"c:\\", u"\\\\s\\sh\\"};
  static const Wstring joints[] = {u"\\", u"/", u"|", u":"};
  Wstring text = prefixes[random() % std::size(prefixes)];
  const std::size_t count = random() % (max_pieces + 1);
  for (std::size_t k = 0; k < count; ++k) {
    if (k > 0) text += joints[random() % 6 < 4 ? random() % 2 : random() % 4];
    text += pieces[random() % std::size(pieces)];
  }
  if (random() % 2) text += u"\\";
  return text;
}

TEST(PathSimplifyTest, SameAsLiteralOnRandomPaths) {
  std::mt19937 random(2208);
  const Separators choices[] = {{}, {u'/', u':', u'.'}, {u'|', u':', u'_'}, {u':', u':', u'.'}, {u'\\', u'|', u':'}};
  for (int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round) {
    const Separators s = round % 3 == 0 ? choices[random() % std::size(choices)] : Separators{};
    expect_same_as_literal(random_path(random, 14), s);
  }
}

// Long runs where the look-back has most to do: .. after .., .. after names, and both behind a
// drive and a UNC.
TEST(PathSimplifyTest, SameAsLiteralOnLongRuns) {
  const auto repeat = [](const Wstring& s, int n) {
    Wstring out;
    for (int k = 0; k < n; ++k) out += s;
    return out;
  };
  const Wstring bodies[] = {repeat(u"..\\", 60) + repeat(u"a\\", 60),
                            repeat(u"a\\", 60) + repeat(u"..\\", 70) + u"b",
                            repeat(u"a\\..\\", 60),
                            repeat(u"a\\b\\..\\", 40) + repeat(u"..\\", 45),
                            repeat(u".\\\\..\\", 50) + u"f.txt"};
  for (const Wstring& prefix : {Wstring(), Wstring(u"\\"), Wstring(u"c:\\"), Wstring(u"\\\\s\\sh\\")}) {
    for (const Wstring& body : bodies) expect_same_as_literal(prefix + body, {});
  }
}

// A 30,000-unit path of ..\ pieces: the literal rule needs minutes for it.
TEST(PathSimplifyTest, LongPathsStayFast) {
  Wstring dots;
  for (int k = 0; k < 10000; ++k) dots += u"..\\";
  EXPECT_EQ(Wstring(Nym_path(dots)), dots);
  EXPECT_EQ(Wstring(Nym_path(u"c:\\" + dots)), u"c:\\" + dots);
  Wstring names;
  for (int k = 0; k < 10000; ++k) names += u"a\\";
  EXPECT_EQ(Wstring(Nym_path(names + dots)), u"");
  EXPECT_EQ(Wstring(Nym_path(u"\\\\s\\sh\\" + names + dots)), u"\\\\s\\sh\\");
  Nym_path deep(u"c:\\" + names + u"f");
  deep.relative_to(u"c:\\" + names.substr(0, 10000) + u"b");
  EXPECT_EQ(Wstring(deep), u"..\\" + names.substr(0, 10000) + u"f");
}

TEST(PathRelationsTest, RelativeToTable) {
  struct Case {
    const char16_t* path;
    const char16_t* base;
    const char16_t* expected;
  };
  const Case cases[] = {
      {u"c:\\a\\b\\f.txt", u"c:\\a\\c", u"..\\b\\f.txt"},
      {u"c:\\a\\f.txt", u"c:\\a", u"f.txt"},
      {u"c:\\a\\f.txt", u"c:\\a\\b\\c", u"..\\..\\f.txt"},
      {u"c:\\a\\b\\", u"c:\\a", u"b\\"},
      {u"c:\\f", u"c:\\", u"f"},
      {u"\\\\s\\h\\a\\f", u"\\\\s\\h\\b", u"..\\a\\f"},
      {u"\\a\\b", u"\\a\\c", u"..\\b"},
      {u"c:\\A\\f", u"c:\\a", u"..\\A\\f"},
      {u"c:\\a\\", u"c:\\a\\", u""},
      {u"c:\\a", u"c:\\a\\", u"..\\a"},
      {u"d:\\a", u"c:\\a", u"d:\\a"},
      {u"d:\\x\\..\\a", u"c:\\a", u"d:\\x\\..\\a"},
      {u"c:\\a\\f", u"C:\\a", u"c:\\a\\f"},
      {u"\\\\s\\h\\a", u"\\\\s\\other\\a", u"\\\\s\\h\\a"},
  };
  for (const Case& c : cases) {
    Nym_path p = as_path(c.path);
    p.relative_to(c.base);
    EXPECT_EQ(Wstring(p), c.expected) << u8(c.path) << " against " << u8(c.base);
  }
  Nym_path relative = as_path(u"a\\b");
  EXPECT_EQ(what_of([&] { relative.relative_to(u"a\\b"); }), "Both paths should be absolute.");
  EXPECT_EQ(what_of([] { (void)as_path(u"c:\\a").relative_to(u"a"); }), "Both paths should be absolute.");
  EXPECT_EQ(Wstring(relative), u"a\\b");
}

// relative_to builds its answer with one simplify; stepping with cd level by level, as the
// rule is stated, must give the same.
Wstring relative_by_steps(Nym_path self, const Wstring& base) {
  Nym_path b(base, W_EMPTY);
  if (!b.is_absolute() || !self.is_absolute()) throw std::invalid_argument("Both paths should be absolute.");
  if (self.drive() != b.drive() || self.unc() != b.unc()) return self;
  self.simplify();
  b.simplify();
  const int64 n = static_cast<int64>(self.levels()) - (self.is_file_path() ? 1 : 0);
  const int64 m = static_cast<int64>(b.levels());
  int64 c = 0;
  while (n > 0 && c < m && c < n && b[c] == self[c]) ++c;
  Nym_path result;
  for (int64 k = 0; k < m - c; ++k) result.cd(W_DOTDOT);
  for (int64 k = c; k < n; ++k) result.cd(self[k]);
  result.filename(self.filename());
  return result;
}

TEST(PathRelationsTest, RelativeToSameAsStepByStep) {
  std::mt19937 random(11);
  const Wstring pieces[] = {u"a", u"b", u"A", u"..", u"..", u".", u"", u"x:", u"f.txt"};
  const Wstring roots[] = {u"c:\\", u"\\", u"\\\\s\\sh\\", u"c:", u"C:\\"};
  const auto make = [&](const Wstring& root) {
    Wstring text = root;
    for (std::size_t k = random() % 7; k > 0; --k) text += pieces[random() % std::size(pieces)] + u"\\";
    if (random() % 2) text += pieces[random() % std::size(pieces)];
    return text;
  };
  for (int round = 0; round < 5000 && !testing::Test::HasFailure(); ++round) {
    const Wstring root = roots[random() % std::size(roots)];
    const Wstring path = make(root);
    const Wstring base = make(random() % 8 ? root : roots[random() % std::size(roots)]);
    Wstring expected;
    const std::string expected_what = what_of([&] { expected = relative_by_steps(as_path(path), base); });
    Wstring got;
    const Nym_path p = as_path(path);
    const std::string got_what = what_of([&] { got = Wstring(p.relative_to(base)); });
    EXPECT_EQ(got_what, expected_what) << u8(path) << " against " << u8(base);
    EXPECT_EQ(got, expected) << u8(path) << " against " << u8(base);
  }
}

TEST(PathRelationsTest, Roots) {
  struct Case {
    const char16_t* text;
    const char16_t* root;
    const char16_t* root_and_directory;
  };
  const Case cases[] = {
      {u"c:\\a\\b\\f.txt", u"c:\\", u"c:\\a\\b\\"}, {u"a\\f", u"", u"a\\"},
      {u"\\a\\f", u"", u"\\a\\"},                     {u"c:\\f", u"c:\\", u"c:\\"},
      {u"\\\\s\\sh\\d\\f", u"\\\\s\\sh\\", u"\\\\s\\sh\\d\\"}, {u"c:a", u"c:\\", u"c:\\"},
      {u"\\a\\b", u"", u"\\a\\"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(as_path(c.text).file_system_root(), c.root) << u8(c.text);
    EXPECT_EQ(as_path(c.text).root_and_directory(), c.root_and_directory) << u8(c.text);
  }
  Nym_path slashed;
  slashed.path_separator(u'/');
  slashed = Wstring(u"//s/sh/d");
  EXPECT_EQ(slashed.file_system_root(), u"//s/sh/");
}

TEST(PathRelationsTest, ParseSearchPath) {
  struct Case {
    const char16_t* text;
    std::vector<Wstring> directories;
  };
  const Case cases[] = {
      {u"", {}},
      {u";;", {}},
      {u"c:\\a;;d:\\b;", {u"c:\\a", u"d:\\b"}},
      {u"\"c:/x y\";z", {u"c:/x y", u"z"}},
      {u"a;\"b;c\";d", {u"a", u"b;c", u"d"}},
      {u"a\"b\";c", {u"a\"b\"", u"c"}},
  };
  for (const Case& c : cases) {
    std::vector<Wstring> out{u"stale"};
    nym_parse_path(c.text, out);
    EXPECT_EQ(out, c.directories) << u8(c.text);
  }
}

}  // namespace
