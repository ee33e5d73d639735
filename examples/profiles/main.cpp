// Profiles: edit a configuration file in a cache, commit it over a backup, roll back one commit,
// and read it section by section.
#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  const Wstring name = u"recipe-profile.ini";
  Nym_status status;
  {
    // A writer holds the file alone until close; every edit stays in memory until a commit.
    Nym_profile_access profile(name, NYM_FILE_REPLACE, NYM_ACCESS_READ_WRITE, status);
    check(status.ok(), "opened");
    profile.create_new_section(u"Server", status);
    profile.insert_entry({u"; where to listen", u""}, status);  // a comment is an item too
    profile.insert_entry({u"host", u"alpha"}, status);
    profile.insert_entry({u"greeting", u"a=b\nc"}, status);  // '=' and line ends are escaped
    profile.commit_changes(status);
    check(status.ok(), "first commit");

    // The second commit keeps the first's content as recipe-profile.ini.bak ...
    profile.set_current_section(u"server", status);  // names match without regard to case
    profile.move_to_key(u"HOST", status);
    profile.delete_entry(status);
    profile.insert_entry({u"host", u"beta"}, status);
    profile.commit_changes(status);
    // ... and rollback copies it back: the file is as it was before that commit.
    profile.rollback(status);
    check(status.ok(), "rolled back");
    profile.close(status);  // commits what is left (nothing) and removes the backup
  }

  // The reader lists the sections at open and loads one section at a time; comments are
  // skipped by the navigation.
  Nym_profile_reader reader(name, status);
  std::vector<Wstring> sections;
  reader.get_section_list(sections, status);
  check(sections == std::vector<Wstring>{u"Server"}, "one section");
  reader.set_current_section(u"SERVER", status);
  std::pair<Wstring, Wstring> entry;
  reader.get_current_entry(entry, status);
  check(entry.first == u"host" && entry.second == u"alpha", "the value before the rolled-back commit");
  reader.move_to_key(u"greeting", status);
  reader.get_current_entry(entry, status);
  check(entry.second == u"a=b\nc", "escapes come back");
  reader.move_to_key(u"port", status);
  check(status == NYM_S_NO_SUCH_ENTRY, "a missing key");
  reader.close(status);
  Nym_profile_reader missing(u"no-such.ini", status);
  check(status == NYM_S_PROFILE_OPEN_FAILED && status.contains_value(NYM_S_FILE_NOT_FOUND), "missing file");
  std::remove("recipe-profile.ini");
  return recipe::result();
}
