// nym profile sections|get|set FILE ...: a profile file's section names, a section's entries or
// one value (through Nym_profile_reader), or one value written (through Nym_profile_access,
// which commits and closes).
#include <cstdio>

#include "commands.h"
#include "nym/profile_access.h"
#include "nym/profile_reader.h"

namespace nym_tool {

namespace {

int report(const nym::Nym_status& status) { return nym_tool::report("profile", status); }

int sections(const nym::Wstring& file) {
  nym::Nym_status status;
  nym::Nym_profile_reader reader(file, status);
  std::vector<nym::Wstring> names;
  if (status.ok()) reader.get_section_list(names, status);
  if (status.is_error()) return report(status);
  for (const nym::Wstring& name : names) std::printf("[%s]\n", utf8(name).c_str());
  return 0;
}

// With a key, its value alone; without, every entry of the section as key=value.
int get(const nym::Wstring& file, const nym::Wstring& section, const nym::Wstring* key) {
  nym::Nym_status status;
  nym::Nym_profile_reader reader(file, status);
  if (status.ok()) reader.set_current_section(section, status);
  if (status.ok() && key != nullptr) reader.move_to_key(*key, status);
  if (status.is_error()) return report(status);
  std::pair<nym::Wstring, nym::Wstring> entry;
  if (key != nullptr) {
    reader.get_current_entry(entry, status);
    if (status.is_error()) return report(status);
    std::printf("%s\n", utf8(entry.second).c_str());
    return 0;
  }
  for (; !reader.end_of_entries(); reader.move_to_next_entry(status)) {
    reader.get_current_entry(entry, status);
    if (status.is_error()) return report(status);
    std::printf("%s=%s\n", utf8(entry.first).c_str(), utf8(entry.second).c_str());
  }
  return 0;
}

// Replaces the first entry of that key, or appends one to the section, which is made if needed.
int set(const nym::Wstring& file, const nym::Wstring& section, const nym::Wstring& key, const nym::Wstring& value) {
  nym::Nym_status status;
  nym::Nym_profile_access profile(file, nym::NYM_FILE_OPEN_ALWAYS, nym::NYM_ACCESS_READ_WRITE, status);
  if (status.is_error()) return report(status);
  profile.create_new_section(section, status);
  if (status == nym::NYM_S_SECTION_EXISTS) status.clear();
  if (status.ok()) profile.move_to_key(key, status);
  if (status.ok()) {
    profile.delete_entry(status);
  } else if (status == nym::NYM_S_NO_SUCH_ENTRY) {
    // Past the last item, so that the insert appends.
    while (status.ok() || status == nym::NYM_S_NO_SUCH_ENTRY) {
      profile.move_to_next_entry(status);
      if (status == nym::NYM_S_NO_SUCH_ENTRY) {
        status.clear();
        break;
      }
    }
  }
  if (status.ok()) profile.insert_entry({key, value}, status);
  if (status.ok()) profile.close(status);
  if (status.is_error()) return report(status);
  std::printf("written\n");
  return 0;
}

}  // namespace

int run_profile(const Words& words) {
  const std::string verb = words.empty() ? std::string() : words[0];
  const bool fits = (verb == "sections" && words.size() == 2) ||
                    (verb == "get" && (words.size() == 3 || words.size() == 4)) ||
                    (verb == "set" && words.size() == 5);
  if (!fits) {
    std::fprintf(stderr,
                 "usage: nym profile sections FILE | get FILE SECTION [KEY] | set FILE SECTION KEY VALUE\n");
    return 2;
  }
  const nym::Wstring file = wide(words[1]);
  if (verb == "sections") return sections(file);
  if (verb == "get") {
    const nym::Wstring key = words.size() == 4 ? wide(words[3]) : nym::Wstring();
    return get(file, wide(words[2]), words.size() == 4 ? &key : nullptr);
  }
  return set(file, wide(words[2]), wide(words[3]), wide(words[4]));
}

}  // namespace nym_tool
