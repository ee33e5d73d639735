// Nym_path as a whole: simplify (against a literal level-by-level copy), cd, relative_to, the
// roots and the search-path splitter.
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "path_test_support.h"

using namespace nym;
using nym_test::as_path;
using nym_test::utf8;
using nym_test::what_of;

namespace {

// simplify exactly as the rule is stated, level by level, every look re-scanning the text
// (cubic: small inputs only). With `patched`, a look-back that would read past the end of a
// UNC directory path reads an empty level instead of raising.
struct Literal_path {
  static constexpr Wchar sep = u'\\', dsep = u':', xsep = u'.';
  Wstring t;

  bool unc() const { return t.size() >= 2 && t[0] == sep && t[1] == sep; }
  uint64 absolute_levels() const {
    const uint64 k = t.find_first_not_of(sep);
    return k == Wstring::npos ? 0 : std::count(t.begin() + k, t.end(), sep);
  }
  std::pair<uint64, uint64> find_level(uint64 n) const {  // start and length
    uint64 start = unc() ? 2 : !t.empty() && t[0] == sep, end = start - 1;
    for (uint64 pass = 0; pass <= n; ++pass) {
      if ((start = end + 1) >= t.size()) throw std::range_error("level index out of range.");
      end = std::min<uint64>(t.find(sep, start), t.size());
    }
    return {start, end - start};
  }
  Wstring level(uint64 n) const {
    n += t.find(dsep) == 1 ? 1 : unc() ? 2 : 0;
    const uint64 f = t.rfind(sep) + 1, x = t.rfind(xsep);
    if (n == absolute_levels() && f < t.size()) return t.substr(f, (x != Wstring::npos && x > f ? x : t.size()) - f);
    const auto [start, len] = find_level(n);
    return t.substr(start, len);
  }
  void erase_level(uint64 i) {
    const auto [start, len] = find_level(i);
    t.erase(start, len + (start + len < t.size() ? 1 : 0));
  }
  Wstring simplify(bool patched) {
    for (Wchar& u : t) u = u == u'/' ? sep : u;
    for (uint64 i = 0; i < absolute_levels();) {
      const auto [start, len] = find_level(i);
      const Wstring c = t.substr(start, len);
      bool found = false;
      for (uint64 j = i; c == u".." && j-- > 0 && !found;) {
        try {
          found = level(j) != u"..";
        } catch (const std::range_error&) {
          if (!patched) throw;
          found = true;
        }
      }
      if (c.empty() || c == u".") {
        erase_level(i);
      } else if (found) {
        erase_level(i);
        erase_level(--i);
      } else {
        ++i;
      }
    }
    return t;
  }
};

// The library's simplify against the literal one; answers whether the literal raised.
bool same_as_literal(const Wstring& text) {
  Wstring expected;
  const bool raised = what_of([&] { expected = Literal_path{text}.simplify(false); }) != "(nothing raised)";
  if (raised) expected = Literal_path{text}.simplify(true);
  EXPECT_EQ(Wstring(as_path(text).simplified()), expected) << utf8(text);
  return raised;
}

TEST(PathSimplifyTest, Table) {
  const std::pair<const char16_t*, const char16_t*> cases[] = {
      {u"a/b\\c", u"a\\b\\c"}, {u"a\\.\\b", u"a\\b"}, {u".\\a", u"a"}, {u"a\\\\", u"a\\"}, {u"\\\\\\a\\b", u"\\\\a\\b"},
      {u"a\\..\\", u""}, {u"a\\..", u"a\\.."}, {u"a\\.", u"a\\."}, {u"..\\..\\a", u"..\\..\\a"},
      {u"a\\..\\..\\b", u"..\\b"}, {u"b\\a\\..\\..", u"b\\.."}, {u"x\\y.txt\\..\\z", u"x\\z"}, {u"\\..\\b", u"\\..\\b"},
      {u"c:\\a\\b\\..\\..\\c", u"c:\\c"}, {u"c:\\a\\..\\..\\b", u"c:\\..\\b"}, {u"c:\\..", u"c:\\.."},
      {u"c:a\\..\\b", u"c:a\\..\\b"}, {u"\\\\s\\sh\\..\\b", u"\\\\s\\b"}, {u"\\\\s\\..\\b", u"\\\\b"},
      {u"\\\\s\\sh\\..", u"\\\\s\\sh\\.."}, {u"c:\\..\\", u"c:\\..\\"}, {u"\\a\\..\\", u"\\"},
      // A UNC directory path ending in ..\ takes its parent, as a drive path does; the share
      // and the server are levels like any other, as in the rows above.
      {u"\\\\s\\sh\\d\\e\\..\\..\\", u"\\\\s\\sh\\"}, {u"\\\\s\\..\\", u"\\\\"},
      {u"\\\\s\\sh\\a\\..\\...", u"\\\\s\\sh\\..."},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(Wstring(as_path(text).simplified()), expected) << utf8(text);
}

// Every path of up to four pieces over a small alphabet behind each kind of prefix.
TEST(PathSimplifyTest, SameAsLiteral) {
  const Wstring pieces[] = {u"a", u".", u"..", u"", u"b.c", u"...", u"c:"};
  std::vector<Wstring> bodies{u""};
  for (std::size_t from = 0, length = 0; length < 4; ++length) {
    for (const std::size_t to = bodies.size(); from < to; ++from) {
      for (const Wstring& piece : pieces) bodies.push_back(bodies[from] + (length ? u"\\" : u"") + piece);
    }
  }
  int raised = 0;
  for (const Wstring prefix : {u"", u"\\", u"\\\\", u"\\\\\\", u"c:", u"c:\\", u"\\\\s\\sh\\", u"/"}) {
    for (const Wstring& body : bodies) raised += same_as_literal(prefix + body) + same_as_literal(prefix + body + u"\\");
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GT(raised, 0) << "the inputs on which the literal rule raises must be among these";
}

// A 30,000-unit path of ..\ pieces: the literal rule takes minutes over it.
TEST(PathSimplifyTest, LongPathsStayFast) {
  Wstring names, dots;
  for (int k = 0; k < 10000; ++k) names += u"a\\", dots += u"..\\";
  EXPECT_EQ(Wstring(Nym_path(u"\\\\s\\sh\\" + names + dots)), u"\\\\s\\sh\\");
  EXPECT_EQ(Wstring(as_path(u"c:\\" + names + u"f").relative_to(u"c:\\" + names.substr(0, 10000) + u"b")),
            u"..\\" + names.substr(0, 10000) + u"f");
}

TEST(PathRelationsTest, Cd) {
  const char16_t* const cases[][3] = {
      {u"c:\\a\\f.txt", u"b", u"c:\\a\\b\\f.txt"}, {u"c:\\a\\f.txt", u"..", u"c:\\f.txt"},
      {u"c:\\a\\f", u"\\x", u"c:\\x\\f"}, {u"a\\f", u"", u"a\\f"}, {u"c:\\a\\", u"..\\b", u"c:\\b\\"},
      {u"c:\\", u"..", u"c:\\..\\"}, {u"", u"..", u"..\\"}, {u"f.txt", u"..", u"..\\f.txt"},
      {u"\\\\srv\\share\\dir\\", u"..", u"\\\\srv\\share\\"},  // how the directory code climbs
  };
  for (const auto& c : cases) EXPECT_EQ(Wstring(as_path(c[0]).cd(c[1])), c[2]) << utf8(c[0]) << " " << utf8(c[1]);
}

TEST(PathRelationsTest, RelativeTo) {
  const char16_t* const cases[][3] = {
      {u"c:\\a\\b\\f.txt", u"c:\\a\\c", u"..\\b\\f.txt"}, {u"c:\\f", u"c:\\", u"f"},
      {u"c:\\a\\f.txt", u"c:\\a\\b\\c", u"..\\..\\f.txt"}, {u"c:\\a\\b\\", u"c:\\a", u"b\\"},
      {u"\\\\s\\h\\a\\f", u"\\\\s\\h\\b", u"..\\a\\f"}, {u"\\a\\b", u"\\a\\c", u"..\\b"},
      {u"c:\\A\\f", u"c:\\a", u"..\\A\\f"}, {u"c:\\a\\", u"c:\\a\\", u""}, {u"c:\\a", u"c:\\a\\", u"..\\a"},
      {u"d:\\a", u"c:\\a", u"d:\\a"}, {u"d:\\x\\..\\a", u"c:\\a", u"d:\\x\\..\\a"}, {u"c:\\a\\f", u"C:\\a", u"c:\\a\\f"},
      {u"\\\\s\\h\\a", u"\\\\s\\other\\a", u"\\\\s\\h\\a"},
  };
  for (const auto& c : cases) EXPECT_EQ(Wstring(as_path(c[0]).relative_to(Wstring(c[1]))), c[2]) << utf8(c[0]);
  Nym_path relative = as_path(u"a\\b");
  EXPECT_EQ(what_of([&] { relative.relative_to(u"a\\b"); }), "Both paths should be absolute.");
  EXPECT_EQ(what_of([] { as_path(u"c:\\a").relative_to(u"a"); }), "Both paths should be absolute.");
  EXPECT_EQ(Wstring(relative), u"a\\b");
}

TEST(PathRelationsTest, RootsAndSearchPath) {
  const char16_t* const roots[][2] = {  // the file system root, then the root and directory
      {u"c:\\a\\b\\f.txt", u"c:\\|c:\\a\\b\\"}, {u"a\\f", u"|a\\"}, {u"\\a\\f", u"|\\a\\"}, {u"c:\\f", u"c:\\|c:\\"},
      {u"\\\\s\\sh\\d\\f", u"\\\\s\\sh\\|\\\\s\\sh\\d\\"}, {u"c:a", u"c:\\|c:\\"},
  };
  for (const auto& [text, expected] : roots) {
    EXPECT_EQ(as_path(text).file_system_root() + u"|" + as_path(text).root_and_directory(), expected) << utf8(text);
  }
  const std::pair<const char16_t*, std::vector<Wstring>> searches[] = {
      {u";;", {}}, {u"c:\\a;;d:\\b;", {u"c:\\a", u"d:\\b"}}, {u"\"c:/x y\";z", {u"c:/x y", u"z"}},
      {u"a;\"b;c\";d", {u"a", u"b;c", u"d"}}, {u"a\"b\";c", {u"a\"b\"", u"c"}},
  };
  for (const auto& [text, directories] : searches) {
    std::vector<Wstring> out{u"stale"};
    nym_parse_path(text, out);
    EXPECT_EQ(out, directories) << utf8(text);
  }
}

}  // namespace
