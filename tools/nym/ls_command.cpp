// nym ls [--recurse] DIR [MASK]: the entries of DIR that match MASK (default *), one a line, a
// directory with a trailing backslash and a link marked as one; with --recurse those of every
// subdirectory too, each under its path from DIR. Links to directories are not entered.
#include <cstdio>
#include <vector>

#include "commands.h"
#include "nym/directory.h"
#include "nym/messages.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

// A scan that found no entry for the mask (the system's 2) is an empty listing, not a failure.
bool failed(const nym::Nym_directory_iterator& it) {
  return it.status().is_error() && !it.status().contains_value(2);
}

}  // namespace

int run_ls(const Words& words) {
  const bool recurse = !words.empty() && words[0] == "--recurse";
  const std::size_t first = recurse ? 1 : 0;
  if (words.size() < first + 1 || words.size() > first + 2) {
    std::fprintf(stderr, "usage: nym ls [--recurse] DIR [MASK]\n");
    return 2;
  }
  nym::Nym_status_lookup::initialise_message_list({"nym"});
  nym::Wstring root = wide(words[first]);
  nym::Nym_path::append_path_separator(root);
  const nym::Wstring mask = words.size() > first + 1 ? wide(words[first + 1]) : nym::Wstring(u"*");
  // Directories still to list, by their path from DIR; the next one is taken from the back.
  std::vector<nym::Wstring> pending{nym::Wstring()};
  int code = 0;
  while (!pending.empty()) {
    const nym::Wstring relative = pending.back();
    pending.pop_back();
    nym::Nym_directory_iterator it(root + relative, mask, false);
    for (; !it.end(); ++it) {
      const char* kind = it->link ? "\\ (link)" : it->directory ? "\\" : "";
      std::printf("%s%s\n", utf8(relative + it->name).c_str(), kind);
    }
    if (failed(it)) {
      nym::Wstring words_of;
      nym::Nym_status_lookup::to_string(it.status(), words_of);
      std::fprintf(stderr, "nym ls: %s\n", utf8(words_of).c_str());
      code = 1;
    }
    if (!recurse) continue;
    std::vector<nym::Wstring> inner;
    for (nym::Nym_directory_iterator sub(root + relative, u"*", false); !sub.end(); ++sub) {
      if (sub->directory && !sub->link) inner.push_back(relative + sub->name + u"\\");
    }
    pending.insert(pending.end(), inner.rbegin(), inner.rend());
  }
  return code;
}

}  // namespace nym_tool
