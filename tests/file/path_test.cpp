// Nym_path: parts, levels, constructors, setters and the separators' travel rules.
#include <gtest/gtest.h>

#include <functional>
#include <tuple>
#include <vector>

#include "path_test_support.h"

using namespace nym;
using nym_test::as_path;
using nym_test::utf8;
using nym_test::what_of;

namespace {

// The levels joined by '/', then directory, filename, base and extension, then D and X for
// has_directory and has_extension.
std::string parts(const Nym_path& p) {
  std::string out;
  for (uint64 k = 0; k < p.levels(); ++k) out += (k ? "/" : "") + utf8(p[k]);
  out += "|" + utf8(p.directory()) + "|" + utf8(p.filename()) + "|" + utf8(p.base()) + "|" + utf8(p.extension());
  return out + "|" + (p.has_directory() ? "D" : "") + (p.has_extension() ? "X" : "");
}

TEST(PathTest, PartsOfTexts) {
  const std::pair<const char16_t*, const char*> cases[] = {
      {u"c:\\a\\b\\f.txt", R"(a/b/f|\a\b\|f.txt|f|txt|DX)"}, {u"a\\f", R"(a/f|a\|f|f||D)"},
      {u"\\f", R"(f|\|f|f||)"}, {u"c:\\", "|||||"}, {u"c:f", "||c:f|c:f||"},
      {u"\\\\s\\sh\\d\\f.x", R"(d/f|\d\|f.x|f|x|DX)"}, {u"\\\\s\\sh\\", R"(|\||||)"},
      {u".profile", ".profile||.profile|.profile||"}, {u"a.", "a||a.|a||X"}, {u"c:\\a.b\\", R"(a.b|\a.b\||||D)"},
      {u"", "|||||"},
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(utf8(text));
    const Nym_path p = as_path(text);
    EXPECT_EQ(Wstring(p), text) << "assignment must not simplify";
    EXPECT_EQ(parts(p), expected);
    EXPECT_EQ(p.legal(p.levels()), 0u);
    EXPECT_EQ(what_of([&] { (void)p[p.levels()]; }), "level index out of range.");
  }
}

// Each case: the drive (blank for none), then U for a UNC, A for absolute, F for a file path.
TEST(PathTest, DriveUncAndKind) {
  const std::pair<const char16_t*, const char*> cases[] = {
      {u"c:\\a", "c-AF"}, {u"c:a", "c-AF"}, {u"1:\\a", "1-AF"}, {u"::a", " --F"}, {u"\\\\", " UA-"},
      {u"\\", " -A-"}, {u"a\\b\\", " ---"}, {u"", " ---"}, {u"\\\\s\\x", " UAF"},
  };
  for (const auto& [text, expected] : cases) {
    const Nym_path p = as_path(text);
    const std::string kind{static_cast<char>(p.drive()), p.has_unc() ? 'U' : '-', p.is_absolute() ? 'A' : '-',
                           p.is_file_path() ? 'F' : '-'};
    EXPECT_EQ(kind, expected) << utf8(text);
    EXPECT_TRUE(p.has_drive() == (kind[0] != ' ') && p.is_relative() != p.is_absolute());
  }
  EXPECT_EQ(as_path(u"\\\\srv\\a.b").share(), u"a") << "a share that ends the text reads as its base";
  EXPECT_EQ(as_path(u"\\\\s\\sh\\d").unc(), u"\\\\s\\sh");
  EXPECT_EQ(what_of([] { (void)as_path(u"\\\\").server(); }), "level index out of range.");
}

TEST(PathTest, ConstructorsJoinAndSimplify) {
  const std::pair<Nym_path, const char16_t*> cases[] = {
      {Nym_path(u"a/b\\..\\c"), u"a\\c"}, {Nym_path(u"", u"f"), u"f"}, {Nym_path(u"\\", u"f"), u"\\f"},
      {Nym_path(u"a", u"f"), u"a\\f"}, {Nym_path(u"a\\..", u"f"), u"f"}, {Nym_path(u"d", u"f", u"txt"), u"d\\f.txt"},
      {Nym_path(u"s", u"sh", u"d", u"f"), u"\\\\s\\sh\\d\\f"}, {Nym_path(u"s", u"sh", u"", u"f"), u"\\\\s\\sh\\f"},
      {Nym_path(u"s", u"sh", u"\\", u"f"), u"\\\\s\\sh\\f"}, {Nym_path(u"s", u"sh", u"d", u"f", u"x"), u"\\\\s\\sh\\d\\f.x"},
      {Nym_path(u'c', u"a", u"f"), u"c:\\a\\f"}, {Nym_path(u'c', u"", u""), u"c:\\"},
      {Nym_path(u'Z', u"\\a\\", u"f", u"txt"), u"Z:\\a\\f.txt"},
  };
  for (const auto& [made, text] : cases) EXPECT_EQ(Wstring(made), text) << utf8(text);
  EXPECT_EQ(what_of([] { Nym_path(u'1', u"a", u"f"); }), "Invalid drive letter.");
  EXPECT_EQ(what_of([] { Nym_path(u"", u"sh", u"d", u"f"); }), "Server or share name is empty.");
  EXPECT_EQ(what_of([] { Nym_path(u"s", u"", u"d", u"f", u"x"); }), "Server or share name is empty.");
}

// Only ASCII letters are drive letters: not Latin-1 letters, and not the units 0x100 above
// the ASCII ones, which a byte-wide isalpha table would take for them.
TEST(PathTest, DriveLetterIsAscii) {
  for (unsigned c = 0; c < 0x10000; ++c) {
    Nym_path p;
    const bool accepted = what_of([&] { p.drive(static_cast<Wchar>(c)); }) == "(nothing raised)";
    ASSERT_EQ(accepted, (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) << std::hex << c;
  }
}

using Edit = std::function<void(Nym_path&)>;

TEST(PathTest, Setters) {
  const std::tuple<const char16_t*, Edit, const char16_t*> cases[] = {
      {u"a\\b", [](Nym_path& p) { p.drive(u'c'); }, u"c:a\\b\\"},
      {u"\\\\s\\sh\\a", [](Nym_path& p) { p.drive(u'c'); }, u"c:\\a"},
      {u"c:\\a", [](Nym_path& p) { p.remove_drive(); }, u"\\a"},
      {u"a", [](Nym_path& p) { p.drive_separator(u'|').drive(u'c'); }, u"c|a\\"},
      {u"c:\\a", [](Nym_path& p) { p.unc(u"s", u"sh"); }, u"\\\\s\\sh\\a"},
      {u"\\\\s\\sh\\a", [](Nym_path& p) { p.server(u"t").share(u"h"); }, u"\\\\t\\h\\a"},
      {u"\\\\s\\sh", [](Nym_path& p) { p.remove_unc(); }, u""},
      {u"c:\\a\\b\\f.txt", [](Nym_path& p) { p.directory(u"x"); }, u"c:\\x\\f.txt"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.filename(u"g.x").base(u"h"); }, u"c:\\a\\h.x"},
      {u"c:\\a.d\\f", [](Nym_path& p) { p.extension(u"x"); }, u"c:\\a.d\\f.x"},
      {u"a.b.c", [](Nym_path& p) { p.remove_extension(); }, u"a.b"},
      {u"a.b", [](Nym_path& p) { p.extension_separator(u'_'); }, u"a_b"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.level(1, u"g"); }, u"c:\\a\\g.txt"},
      {u"\\\\s\\sh\\a\\", [](Nym_path& p) { p.level(0, u"b"); }, u"\\\\s\\sh\\b\\"},
  };
  for (const auto& [text, edit, expected] : cases) {
    Nym_path p = as_path(text);
    edit(p);
    EXPECT_EQ(Wstring(p), expected) << utf8(text) << " -> " << utf8(expected);
  }
}

// A setter that raises leaves the path as it was.
TEST(PathTest, SetterFailuresLeaveThePath) {
  const std::tuple<const char16_t*, Edit, const char*> cases[] = {
      {u"c:\\a", [](Nym_path& p) { p.share(u"s"); }, "Path does not have a UNC."},
      {u"\\\\s\\sh", [](Nym_path& p) { p.server(u""); }, "Server name cannot be empty."},
      {u"c:\\a", [](Nym_path& p) { p.unc(u"", u"x"); }, "UNC server or share name is empty."},
      {u"\\\\srv", [](Nym_path& p) { p.unc(u"s", u"x"); }, "level index out of range."},
      {u"c:\\a\\f", [](Nym_path& p) { p.level(2, u"x"); }, "level index out of range."},
      // NYM_NPOS plus the drive's or the UNC's offset must not wrap round to level 0 or 1.
      {u"c:\\a\\f", [](Nym_path& p) { p.level(NYM_NPOS, u"x"); }, "level index out of range."},
      {u"\\\\s\\sh\\a\\f", [](Nym_path& p) { p.level(NYM_NPOS - 1, u"x"); }, "level index out of range."},
  };
  for (const auto& [text, edit, what] : cases) {
    Nym_path p = as_path(text);
    EXPECT_EQ(what_of([&] { edit(p); }), what) << utf8(text);
    EXPECT_EQ(Wstring(p), text);
  }
  EXPECT_THROW(Nym_path(u"c:\\a").server(u"s"), Nym_path::No_unc);
}

// The separators belong to one object: copies get the defaults, assignment keeps the target's.
TEST(PathTest, SeparatorsDoNotTravel) {
  Nym_path slashed;
  slashed.path_separator(u'/').extension_separator(u'_').drive_separator(u'|');
  slashed = Wstring(u"c|/a/f_x");
  EXPECT_EQ(slashed.drive(), u'c');
  EXPECT_EQ(slashed.extension(), u"x");
  const Nym_path copy(slashed);
  const Wstring separators{copy.path_separator(), copy.drive_separator(), copy.extension_separator()};
  EXPECT_EQ(separators, u"\\:.");
  EXPECT_EQ(Wstring(copy), u"c|/a/f_x") << "the copy is not simplified";
  EXPECT_EQ(Wstring(slashed.simplified()), u"c|\\a\\f_x") << "value results have the defaults";
  Nym_path target;
  target.path_separator(u'/');
  target = copy;
  EXPECT_EQ(target.path_separator(), u'/');
  // simplify turns slashes and backslashes alike into a third separator.
  Nym_path third;
  third.path_separator(u'|');
  third = Wstring(u"a/b\\c|.|d");
  third.simplify();
  EXPECT_EQ(Wstring(third), u"a|b|c|d");
}

TEST(PathTest, Comparisons) {
  const Nym_path a = as_path(u"c:\\a");
  EXPECT_TRUE(a == Wstring(u"c:\\a") && a != as_path(u"C:\\a")) << "case counts, also in the drive letter";
  EXPECT_TRUE(a != as_path(u"c:/a")) << "no simplification";
  EXPECT_TRUE(a < Wstring(u"c:\\a\\b") && !(a < a)) << "a prefix is the lesser";
  EXPECT_TRUE(as_path(u"a") < as_path(u"\xFFFF") && !(as_path(u"\xFFFF") < as_path(u"a"))) << "units are unsigned";
  EXPECT_TRUE(Nym_path::is_dot_directory(u"..") && !Nym_path::is_dot_directory(u"..."));
  Wstring s = u"a";
  Nym_path::append_path_separator(s);
  Nym_path::append_path_separator(s);
  EXPECT_EQ(s, u"a\\");
}

}  // namespace
