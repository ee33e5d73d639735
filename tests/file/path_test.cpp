// Nym_path: parts, levels, constructors, setters and the separators' travel rules.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "nym/path.h"
#include "path_test_support.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::as_path;
using nym_test::u8;
using nym_test::what_of;

namespace {

struct Parts {
  const char16_t* text;
  uint64 levels;
  std::vector<Wstring> each_level;
  bool has_directory;
  const char16_t* directory;
  const char16_t* filename;
  const char16_t* base;
  const char16_t* extension;
  bool has_extension;
};

TEST(PathTest, PartsOfTexts) {
  const Parts cases[] = {
      {u"c:\\a\\b\\f.txt", 3, {u"a", u"b", u"f"}, true, u"\\a\\b\\", u"f.txt", u"f", u"txt", true},
      {u"\\a\\f", 2, {u"a", u"f"}, true, u"\\a\\", u"f", u"f", u"", false},
      {u"a\\f", 2, {u"a", u"f"}, true, u"a\\", u"f", u"f", u"", false},
      {u"\\f", 1, {u"f"}, false, u"\\", u"f", u"f", u"", false},
      {u"c:\\f", 1, {u"f"}, false, u"", u"f", u"f", u"", false},
      {u"c:\\", 0, {}, false, u"", u"", u"", u"", false},
      {u"c:f", 0, {}, false, u"", u"c:f", u"c:f", u"", false},
      {u"\\\\s\\sh\\d\\f.x", 2, {u"d", u"f"}, true, u"\\d\\", u"f.x", u"f", u"x", true},
      {u"\\\\s\\sh\\", 0, {}, false, u"\\", u"", u"", u"", false},
      {u".profile", 1, {u".profile"}, false, u"", u".profile", u".profile", u"", false},
      {u"a.", 1, {u"a"}, false, u"", u"a.", u"a", u"", true},
      {u"c:\\a.b\\", 1, {u"a.b"}, true, u"\\a.b\\", u"", u"", u"", false},
      {u"", 0, {}, false, u"", u"", u"", u"", false},
  };
  for (const Parts& c : cases) {
    SCOPED_TRACE(u8(c.text));
    const Nym_path p = as_path(c.text);
    EXPECT_EQ(Wstring(p), c.text) << "assignment must not simplify";
    EXPECT_EQ(p.levels(), c.levels);
    ASSERT_EQ(c.each_level.size(), c.levels);
    for (uint64 k = 0; k < c.levels; ++k) EXPECT_EQ(p[k], c.each_level[k]) << k;
    EXPECT_EQ(p.legal(c.levels), 0u);
    EXPECT_EQ(what_of([&] { (void)p[c.levels]; }), "level index out of range.");
    EXPECT_EQ(p.has_directory(), c.has_directory);
    EXPECT_EQ(p.directory(), c.directory);
    EXPECT_EQ(p.filename(), c.filename);
    EXPECT_EQ(p.base(), c.base);
    EXPECT_EQ(p.extension(), c.extension);
    EXPECT_EQ(p.has_extension(), c.has_extension);
  }
}

TEST(PathTest, DriveUncAndAbsolute) {
  struct Case {
    const char16_t* text;
    Wchar drive;
    bool unc;
    bool absolute;
    bool file;
  };
  const Case cases[] = {
      {u"c:\\a", u'c', false, true, true},   {u"c:a", u'c', false, true, true},
      {u"1:\\a", u'1', false, true, true},   {u"::a", u' ', false, false, true},
      {u"\\\\", u' ', true, true, false},    {u"\\", u' ', false, true, false},
      {u"\\\\s\\x", u' ', true, true, true}, {u"a\\b\\", u' ', false, false, false},
      {u"", u' ', false, false, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(u8(c.text));
    const Nym_path p = as_path(c.text);
    EXPECT_EQ(p.drive(), c.drive);
    EXPECT_EQ(p.has_drive(), c.drive != u' ');
    EXPECT_EQ(p.has_unc(), c.unc);
    EXPECT_EQ(p.is_absolute(), c.absolute);
    EXPECT_EQ(p.is_relative(), !c.absolute);
    EXPECT_EQ(p.is_file_path(), c.file);
    EXPECT_EQ(p.is_directory_path(), !c.file);
  }
  const Nym_path unc = as_path(u"\\\\srv\\a.b");
  EXPECT_EQ(unc.server(), u"srv");
  EXPECT_EQ(unc.share(), u"a") << "a share that ends the text reads as its base";
  EXPECT_EQ(as_path(u"\\\\s\\sh\\d").unc(), u"\\\\s\\sh");
  EXPECT_EQ(as_path(u"c:\\d").unc(), u"");
  EXPECT_EQ(what_of([] { (void)as_path(u"\\\\").server(); }), "level index out of range.");
}

TEST(PathTest, ConstructorsJoinAndSimplify) {
  struct Case {
    Nym_path made;
    const char16_t* text;
  };
  const Case cases[] = {
      {Nym_path(u"a/b\\..\\c"), u"a\\c"},
      {Nym_path(u"", u"f"), u"f"},
      {Nym_path(u"\\", u"f"), u"\\f"},
      {Nym_path(u"a", u"f"), u"a\\f"},
      {Nym_path(u"a\\", u"f"), u"a\\f"},
      {Nym_path(u"a\\..", u"f"), u"f"},
      {Nym_path(u"c:\\a", u""), u"c:\\a\\"},
      {Nym_path(u"d", u"f", u"txt"), u"d\\f.txt"},
      {Nym_path(u"d", u"f", u""), u"d\\f"},
      {Nym_path(u"s", u"sh", u"d", u"f"), u"\\\\s\\sh\\d\\f"},
      {Nym_path(u"s", u"sh", u"", u"f"), u"\\\\s\\sh\\f"},
      {Nym_path(u"s", u"sh", u"\\", u"f"), u"\\\\s\\sh\\f"},
      {Nym_path(u"s", u"sh", u"d", u"f", u"x"), u"\\\\s\\sh\\d\\f.x"},
      {Nym_path(u"s", u"sh", u"d", u"f", u""), u"\\\\s\\sh\\d\\f"},
      {Nym_path(u'c', u"a", u"f"), u"c:\\a\\f"},
      {Nym_path(u'c', u"", u""), u"c:\\"},
      {Nym_path(u'Z', u"\\a\\", u"f"), u"Z:\\a\\f"},
      {Nym_path(u'c', u"a", u"f", u"txt"), u"c:\\a\\f.txt"},
  };
  for (const Case& c : cases) EXPECT_EQ(Wstring(c.made), c.text) << u8(c.text);
  EXPECT_EQ(what_of([] { Nym_path(u'1', u"a", u"f"); }), "Invalid drive letter.");
  EXPECT_EQ(what_of([] { Nym_path(u'\x0163', u"a", u"f", u"x"); }), "Invalid drive letter.");
  EXPECT_EQ(what_of([] { Nym_path(u"", u"sh", u"d", u"f"); }), "Server or share name is empty.");
  EXPECT_EQ(what_of([] { Nym_path(u"s", u"", u"d", u"f", u"x"); }), "Server or share name is empty.");
}

// Only ASCII letters are drive letters: not Latin-1 letters, and not the units 0x100 above
// the ASCII ones, which a byte-wide isalpha table would take for them.
TEST(PathTest, DriveLetterIsAscii) {
  std::vector<unsigned> units;
  for (unsigned c = 0; c < 0x200; ++c) units.push_back(c);
  for (const unsigned c : {0x3A3u, 0x4141u, 0xFF21u, 0xFF41u, 0xFFFFu}) units.push_back(c);
  for (const unsigned c : units) {
    const bool ascii_letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    Nym_path p;
    const bool accepted = what_of([&] { p.drive(static_cast<Wchar>(c)); }) == "(nothing raised)";
    ASSERT_EQ(accepted, ascii_letter) << std::hex << c;
  }
}

TEST(PathTest, Setters) {
  struct Case {
    const char16_t* text;
    std::function<void(Nym_path&)> edit;
    const char16_t* expected;
  };
  const Case cases[] = {
      {u"a\\b", [](Nym_path& p) { p.drive(u'c'); }, u"c:a\\b\\"},
      {u"", [](Nym_path& p) { p.drive(u'c'); }, u"c:\\"},
      {u"\\a", [](Nym_path& p) { p.drive(u'c'); }, u"c:\\a"},
      {u"\\\\s\\sh\\a", [](Nym_path& p) { p.drive(u'c'); }, u"c:\\a"},
      {u"c:\\x", [](Nym_path& p) { p.drive(u'D'); }, u"D:\\x"},
      {u"c:\\a", [](Nym_path& p) { p.remove_drive(); }, u"\\a"},
      {u"\\a", [](Nym_path& p) { p.remove_drive(); }, u"\\a"},
      {u"c:\\a", [](Nym_path& p) { p.drive_separator(u'|'); }, u"c|\\a"},
      {u"a", [](Nym_path& p) { p.drive_separator(u'|').drive(u'c'); }, u"c|a\\"},
      {u"c:\\a", [](Nym_path& p) { p.unc(u"s", u"sh"); }, u"\\\\s\\sh\\a"},
      {u"c:a", [](Nym_path& p) { p.unc(u"s", u"sh"); }, u"\\\\s\\sh\\a"},
      {u"", [](Nym_path& p) { p.unc(u"s", u"sh"); }, u"\\\\s\\sh\\"},
      {u"\\\\x\\y\\a", [](Nym_path& p) { p.unc(u"s", u"sh"); }, u"\\\\s\\sh\\a"},
      {u"\\\\s\\sh\\a", [](Nym_path& p) { p.server(u"t"); }, u"\\\\t\\sh\\a"},
      {u"\\\\s\\sh\\a", [](Nym_path& p) { p.share(u"h"); }, u"\\\\s\\h\\a"},
      {u"\\\\s\\sh\\d\\f", [](Nym_path& p) { p.remove_unc(); }, u"\\d\\f"},
      {u"\\\\s\\sh", [](Nym_path& p) { p.remove_unc(); }, u""},
      {u"c:\\a", [](Nym_path& p) { p.remove_unc(); }, u"c:\\a"},
      {u"c:\\a\\b\\f.txt", [](Nym_path& p) { p.directory(u"x"); }, u"c:\\x\\f.txt"},
      {u"\\\\s\\sh\\d\\f", [](Nym_path& p) { p.directory(u"e"); }, u"\\\\s\\sh\\e\\f"},
      {u"a\\f", [](Nym_path& p) { p.directory(u"x\\y"); }, u"x\\y\\f"},
      {u"f", [](Nym_path& p) { p.directory(u"d"); }, u"d\\f"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.filename(u"g"); }, u"c:\\a\\g"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.base(u"g"); }, u"c:\\a\\g.txt"},
      {u"c:\\a\\f", [](Nym_path& p) { p.base(u"g"); }, u"c:\\a\\g"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.extension(u"md"); }, u"c:\\a\\f.md"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.extension(u""); }, u"c:\\a\\f"},
      {u"c:\\a\\f", [](Nym_path& p) { p.extension(u"x"); }, u"c:\\a\\f.x"},
      {u"c:\\a.d\\f", [](Nym_path& p) { p.extension(u""); }, u"c:\\a.d\\f"},
      {u"a.b.c", [](Nym_path& p) { p.remove_extension(); }, u"a.b"},
      {u".profile", [](Nym_path& p) { p.remove_extension(); }, u".profile"},
      {u"a.b", [](Nym_path& p) { p.extension_separator(u'_'); }, u"a_b"},
      {u"a.b\\c", [](Nym_path& p) { p.extension_separator(u'_'); }, u"a.b\\c"},
      {u"c:\\a\\b", [](Nym_path& p) { p.path_separator(u'/'); }, u"c:/a/b"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.level(1, u"g"); }, u"c:\\a\\g.txt"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.level(0, u"x"); }, u"c:\\x\\f.txt"},
      {u"\\\\s\\sh\\a\\", [](Nym_path& p) { p.level(0, u"b"); }, u"\\\\s\\sh\\b\\"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.cd(u"b"); }, u"c:\\a\\b\\f.txt"},
      {u"c:\\a\\f.txt", [](Nym_path& p) { p.cd(u".."); }, u"c:\\f.txt"},
      {u"c:\\a\\f", [](Nym_path& p) { p.cd(u"\\x"); }, u"c:\\x\\f"},
      {u"a\\f", [](Nym_path& p) { p.cd(u""); }, u"a\\f"},
      {u"c:\\a\\", [](Nym_path& p) { p.cd(u"..\\b"); }, u"c:\\b\\"},
      {u"c:\\", [](Nym_path& p) { p.cd(u".."); }, u"c:\\..\\"},
      {u"", [](Nym_path& p) { p.cd(u".."); }, u"..\\"},
      {u"f.txt", [](Nym_path& p) { p.cd(u".."); }, u"..\\f.txt"},
  };
  for (const Case& c : cases) {
    Nym_path p = as_path(c.text);
    c.edit(p);
    EXPECT_EQ(Wstring(p), c.expected) << u8(c.text) << " -> " << u8(c.expected);
  }
}

// A setter that raises leaves the path as it was.
TEST(PathTest, SetterFailuresLeaveThePath) {
  struct Case {
    const char16_t* text;
    std::function<void(Nym_path&)> edit;
    const char* what;
  };
  const Case cases[] = {
      {u"c:\\a", [](Nym_path& p) { p.server(u"s"); }, "Path does not have a UNC."},
      {u"c:\\a", [](Nym_path& p) { p.share(u"s"); }, "Path does not have a UNC."},
      {u"\\\\s\\sh", [](Nym_path& p) { p.server(u""); }, "Server name cannot be empty."},
      {u"\\\\s\\sh", [](Nym_path& p) { p.share(u""); }, "Share name cannot be empty."},
      {u"c:\\a", [](Nym_path& p) { p.unc(u"", u"x"); }, "UNC server or share name is empty."},
      {u"\\\\srv", [](Nym_path& p) { p.share(u"x"); }, "level index out of range."},
      {u"\\\\srv", [](Nym_path& p) { p.unc(u"s", u"x"); }, "level index out of range."},
      {u"\\\\srv", [](Nym_path& p) { p.remove_unc(); }, "level index out of range."},
      {u"\\\\srv", [](Nym_path& p) { p.drive(u'c'); }, "level index out of range."},
      {u"c:\\a", [](Nym_path& p) { p.drive(u'\x00E9'); }, "Invalid drive letter."},
      {u"c:\\a\\f", [](Nym_path& p) { p.level(2, u"x"); }, "level index out of range."},
      // NYM_NPOS plus the drive's or the UNC's offset must not wrap round to level 0 or 1.
      {u"c:\\a\\f", [](Nym_path& p) { p.level(NYM_NPOS, u"x"); }, "level index out of range."},
      {u"\\\\s\\sh\\a\\f", [](Nym_path& p) { p.level(NYM_NPOS - 1, u"x"); }, "level index out of range."},
      {u"c:\\a\\f", [](Nym_path& p) { (void)p[NYM_NPOS]; }, "level index out of range."},
      {u"a\\f", [](Nym_path& p) { (void)p[NYM_NPOS]; }, "level index out of range."},
  };
  for (const Case& c : cases) {
    Nym_path p = as_path(c.text);
    EXPECT_EQ(what_of([&] { c.edit(p); }), c.what) << u8(c.text);
    EXPECT_EQ(Wstring(p), c.text);
  }
  Nym_path p = as_path(u"c:\\a");
  EXPECT_THROW(p.server(u"s"), Nym_path::No_unc);
}

// The separators belong to one object: copies get the defaults, assignment keeps the target's.
TEST(PathTest, SeparatorsDoNotTravel) {
  Nym_path slashed;
  slashed.path_separator(u'/').extension_separator(u'_').drive_separator(u'|');
  slashed = Wstring(u"c|/a/f_x");
  EXPECT_EQ(slashed.drive(), u'c');
  EXPECT_EQ(slashed.extension(), u"x");
  EXPECT_EQ(slashed[0], u"a");

  const Nym_path copy(slashed);
  EXPECT_EQ(copy.path_separator(), u'\\');
  EXPECT_EQ(copy.drive_separator(), u':');
  EXPECT_EQ(copy.extension_separator(), u'.');
  EXPECT_EQ(Wstring(copy), u"c|/a/f_x") << "the copy is not simplified";
  EXPECT_EQ(Wstring(copy.simplified()), u"c|\\a\\f_x");
  EXPECT_EQ(slashed.simplified().path_separator(), u'\\') << "value results have the defaults";

  Nym_path target;
  target.path_separator(u'/');
  target = copy;
  EXPECT_EQ(target.path_separator(), u'/');
  target = Wstring(u"x\\y");
  EXPECT_EQ(target.path_separator(), u'/');
  EXPECT_EQ(target.levels(), 1u) << "a backslash is no separator here";

  // simplify turns both slashes and backslashes into a third separator.
  Nym_path third;
  third.path_separator(u'|');
  third = Wstring(u"a/b\\c|.|d");
  third.simplify();
  EXPECT_EQ(Wstring(third), u"a|b|c|d");
}

TEST(PathTest, Comparisons) {
  const Nym_path a = as_path(u"c:\\a");
  EXPECT_TRUE(a == Wstring(u"c:\\a"));
  EXPECT_TRUE(a != as_path(u"C:\\a")) << "case counts, also in the drive letter";
  EXPECT_TRUE(a != as_path(u"c:/a")) << "no simplification";
  EXPECT_TRUE(as_path(u"c:\\a") < Wstring(u"c:\\a\\b")) << "a prefix is the lesser";
  EXPECT_TRUE(as_path(u"a") < as_path(u"\xFFFF")) << "units compare unsigned";
  EXPECT_FALSE(as_path(u"\xFFFF") < as_path(u"a"));
  EXPECT_FALSE(a < a);
  EXPECT_TRUE(Nym_path::is_dot_directory(u".."));
  EXPECT_FALSE(Nym_path::is_dot_directory(u"..."));
  Wstring s = u"a";
  Nym_path::append_path_separator(s);
  Nym_path::append_path_separator(s);
  EXPECT_EQ(s, u"a\\");
  s.clear();
  Nym_path::append_path_separator(s);
  EXPECT_EQ(s, u"");
}

}  // namespace
