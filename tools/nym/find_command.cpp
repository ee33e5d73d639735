// nym find NAME [SEARCHPATH]: the first directory of SEARCHPATH (";" between directories; by
// default the PATH of the environment) that holds a file NAME, as programs are found. A NAME
// of *.EXT (or *) lists every file with that extension in each directory instead.
#include <cstdio>
#include <vector>

#include "commands.h"
#include "nym/directory.h"
#include "nym/string_basic.h"

namespace nym_tool {

int run_find(const Words& words) {
  if (words.empty() || words.size() > 2) {
    std::fprintf(stderr, "usage: nym find NAME [SEARCHPATH]\n");
    return 2;
  }
  const nym::Wstring name = wide(words[0]);
  nym::Wstring search_path;
  if (words.size() == 2) {
    search_path = wide(words[1]);
  } else {
    nym::nym_get_path(search_path);
  }
  std::vector<nym::Wstring> found;
  if (name == u"*" || name.compare(0, 2, u"*.") == 0) {
    nym::nym_find_files(search_path, name.size() > 2 ? name.substr(2) : nym::Wstring(), found);
  } else {
    nym::Wstring first;
    nym::nym_find_file(search_path, name, first);
    if (!first.empty()) found.push_back(first);
  }
  for (const nym::Wstring& path : found) std::printf("%s\n", utf8(path).c_str());
  if (found.empty()) std::fprintf(stderr, "nym find: no %s along the search path\n", words[0].c_str());
  return found.empty() ? 1 : 0;
}

}  // namespace nym_tool
