// Paths: parts, the joining constructors, what simplify keeps, cd, relative_to, a search path.
#include "recipe.h"

using namespace nym;
using recipe::check;

// A path compares with a Wstring or a path; against a bare literal the comparison is ambiguous.
Wstring text(const Nym_path& path) { return path; }

int main() {
  // Every part is searched in the text. The drive is no level; the last level is the base.
  const Nym_path file(u"c:\\srv\\logs\\app.2024.log");
  check(file.directory() == u"\\srv\\logs\\" && file.base() == u"app.2024" && file.extension() == u"log", "parts");
  check(file.levels() == 3 && file[0] == u"srv" && file[2] == u"app.2024", "levels");
  check(!Nym_path(u".profile").has_extension(), "a leading full stop starts no extension");
  const Nym_path unc(u"\\\\srv\\share\\dir\\f.txt");
  check(unc.server() == u"srv" && unc.unc() == u"\\\\srv\\share" && unc.levels() == 2, "a UNC is no level");

  // The constructors with parts join them with backslashes and simplify.
  check(text(Nym_path(u"c:\\a\\b", u"..\\f.txt")) == u"c:\\a\\f.txt", "joined, then simplified");
  check(text(Nym_path(u'd', u"data", u"report", u"csv")) == u"d:\\data\\report.csv", "a drive roots the directory");
  check(text(Nym_path(u"logs", u"app", u"")) == u"logs\\app", "an empty extension adds no full stop");

  // simplify: slashes become backslashes, "." and empty levels go, ".." takes the level before.
  check(text(Nym_path(u"a/./b//c\\..\\d")) == u"a\\b\\d", "the usual");
  // The last piece of a text without a trailing backslash is never looked at.
  check(text(Nym_path(u"a\\..")) == u"a\\.." && Nym_path(u"a\\..\\").empty(), "a\\.. stays, a\\..\\ is empty");
  check(text(Nym_path(u"c:\\..\\b")) == u"c:\\..\\b" && text(Nym_path(u"..\\a")) == u"..\\a", "no climbing");
  check(text(Nym_path(u"\\\\s\\sh\\..\\b")) == u"\\\\s\\b", "a UNC's share is a level like any other");

  // Assignment copies text only: no simplifying, and the target keeps its own separators.
  Nym_path assigned;
  assigned = Wstring(u"a\\.\\b");
  check(text(assigned) == u"a\\.\\b" && text(assigned.simplified()) == u"a\\b", "assignment doesn't simplify");
  Nym_path slashes(u"x\\y");
  slashes.path_separator(u'/');  // rewrites the text: x/y
  const Nym_path copy(slashes);  // the same text, with a backslash for separator again
  check(slashes.filename() == u"y" && copy.filename() == u"x/y", "separators don't travel with a copy");

  // cd: a relative directory goes before the filename, a rooted one replaces the directory.
  check(text(file.cd(u"..\\old")) == u"c:\\srv\\old\\app.2024.log" && text(file.cd(u"\\x")) == u"c:\\x\\app.2024.log",
        "cd");
  // relative_to: both absolute; another drive, even in another case, leaves the path as it is.
  const Nym_path deep(u"c:\\a\\b\\f.txt"), upper(u"C:\\a\\f.txt");
  check(text(deep.relative_to(u"c:\\a\\c")) == u"..\\b\\f.txt", "relative");
  check(text(upper.relative_to(u"c:\\a")) == u"C:\\a\\f.txt", "drive letters compare exactly");
  try {
    Nym_path(u"a\\f.txt").relative_to(u"c:\\a");
    check(false, "a relative path raises");
  } catch (const std::invalid_argument&) {
  }

  // A search path splits at ";" outside quotes, empty parts dropped; a quoted part is unquoted,
  // escapes and all, so its backslashes must be doubled.
  std::vector<Wstring> dirs;
  nym_parse_path(u"c:\\bin;;\"d:\\\\my;tools\";\"e:\\tmp\"", dirs);
  check(dirs == std::vector<Wstring>{u"c:\\bin", u"d:\\my;tools", u"e:\tmp"}, "\\t in quotes is a tab");
  return recipe::result();
}
