// Directories: create every missing level, list by mask, copy a tree, remove by wildcard and
// clean up; and a wildcard match that stays fast on any pattern.
#include <string>
#include <vector>

#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  const Wstring top = u"recipe-dirs\\";
  Nym_status status;
  // Relative paths are fine; every missing level is made, top down.
  Nym_directory::create(top + u"src\\deep", status);
  check(status.ok(), "created");
  Nym_file::create_empty_file(top + u"src\\a.txt", status);
  Nym_file::create_empty_file(top + u"src\\b.log", status);
  Nym_file::create_empty_file(top + u"src\\deep\\c.txt", status);

  // Names come bare; "." and ".." never show; masks are the system's, case blind.
  std::vector<Wstring> names;
  Nym_directory::list(top + u"src\\*.TXT", names, 100, false);
  check(names == std::vector<Wstring>{u"a.txt"}, "listed by mask");
  Nym_status counted;
  check(Nym_directory::count_files(top + u"src", counted, u"*", false) == 3, "two files, one directory");

  // A tree copy into a directory that exists; into its own subtree it is refused.
  Nym_directory::create(top + u"copy", status);
  Nym_file::copy_files(top + u"src", u"*", top + u"copy", true, false, status);
  check(status.ok() && nym_type(top + u"copy\\deep\\c.txt") == NYM_TYPE_FILE, "tree copied");
  Nym_file::copy_files(top + u"src", u"*", top + u"src\\deep\\again", true, false, status);
  check(status == NYM_S_COPY_INTO_ITSELF, "not into itself");

  // Remove takes a wildcard in its last part; matching nothing is no error.
  Nym_file::remove(top + u"copy\\*.log", status);
  check(status.ok() && nym_type(top + u"copy\\b.log") == NYM_TYPE_NONE, "removed by mask");

  // The same matcher, for any text: linear, so a hostile pattern costs no more than its size.
  check(nym_string_match_nc(u"Report-2024.TXT", u"report-*.txt"), "case blind");
  const Wstring run(5000, u'a');
  check(!nym_string_match(run.c_str(), u"a*a*a*a*a*a*a*b"), "quick on any pattern");

  // Temporary names are unique in the process and free when made; the file isn't created.
  const Wstring scratch = Nym_file::temp_name(top, u"tmp");
  check(nym_type(scratch) == NYM_TYPE_NONE, "a free name");

  // Clean up: the contents, links removed as names and never followed, then the directory.
  Nym_directory::remove_contents(top, u"*", true, status);
  Nym_directory::remove(top, status);
  check(status.ok() && nym_type(top) == NYM_TYPE_NONE, "all gone");
  return recipe::result();
}
