// The walk of Nym_directory::create (internal), apart from the system so that it can be
// tested on any path: what lies at a path and how a directory is made are given.
//
// The missing levels are gathered bottom up and made top down, in a loop. A relative path's
// last parent is the working directory, which is there; the parent of a directory directly
// under \\server\share\ is the share. A parent that isn't shorter than its child (the drive
// root keeps a leading .., so c:\..\ only grows) ends the walk as a missing root instead of
// climbing for ever.
#ifndef NYM_FILE_DIRECTORY_CREATE_H
#define NYM_FILE_DIRECTORY_CREATE_H

#include <utility>
#include <vector>

#include "nym/cwstring.h"
#include "nym/directory.h"
#include "nym/path.h"
#include "nym/path_query.h"
#include "nym/status_arg.h"

namespace nym::impl {

// type_of(path) answers a Nym_type; make(path, status) answers false with the system's code.
template <class Type_of, class Make>
void create_directories(const Wstring& path, Type_of type_of, Make make, Nym_status& status) {
  status.clear();
  // Each missing level: the directory to make, and the path its failure names.
  std::vector<std::pair<Wstring, Wstring>> missing;
  Wstring asked = path;
  Nym_path dir(path, W_EMPTY);
  for (;;) {
    const Nym_type type = type_of(asked);
    if (type == NYM_TYPE_DIRECTORY) break;
    if (type != NYM_TYPE_NONE) {
      status.assign(NYM_S_NOT_A_DIRECTORY, Nym_wstring_status_arg(asked));
      return;
    }
    Nym_path parent = dir;
    parent.cd(W_DOTDOT);
    if (dir.levels() == 0 || (!parent.empty() && parent.levels() >= dir.levels())) {
      status.assign(NYM_S_ROOT_CREATE_FAILED, Nym_wstring_status_arg(static_cast<const Wstring&>(dir)));
      return;
    }
    missing.emplace_back(static_cast<const Wstring&>(dir), asked);
    if (parent.empty()) break;
    asked = static_cast<const Wstring&>(parent);
    dir = parent;
  }
  for (auto level = missing.rbegin(); level != missing.rend(); ++level) {
    if (!make(level->first, status)) {
      status.push(NYM_S_DIRECTORY_CREATE_FAILED, Nym_wstring_status_arg(level->second));
      return;
    }
  }
}

}  // namespace nym::impl

#endif
