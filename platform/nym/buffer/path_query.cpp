#include "nym/path_query.h"

#include "path_query_platform.h"

namespace nym {

bool nym_access(const Wstring& path, Nym_file_access access) {
  int mode = 0;
  switch (access) {
    case NYM_ACCESS_READ:
      mode = 4;
      break;
    case NYM_ACCESS_WRITE:
      mode = 2;
      break;
    case NYM_ACCESS_READ_WRITE:
    case NYM_ACCESS_ALL:
      mode = 6;
      break;
    default:
      mode = 0;
  }
  return impl::path_accessible(path, mode);
}

Nym_type nym_type(const Wstring& path) {
  if (path.empty()) return NYM_TYPE_NONE;
  unsigned int mode = 0;
  if (!impl::path_mode(path, mode)) {
    // The run-time finds a directory only without its trailing separator, a root only with it.
    Wstring other = path;
    if (impl::path_is_separator(other.back())) {
      other.pop_back();
    } else {
      other.push_back(impl::path_separator());
    }
    if (other.empty() || !impl::path_mode(other, mode)) return NYM_TYPE_NONE;
  }
  if ((mode & impl::PATH_MODE_DIRECTORY) != 0) return NYM_TYPE_DIRECTORY;
  if ((mode & impl::PATH_MODE_CHARACTER) != 0) return NYM_TYPE_CHARACTER_DEVICE;
  if ((mode & impl::PATH_MODE_PIPE) != 0) return NYM_TYPE_PIPE;
  return NYM_TYPE_FILE;
}

}  // namespace nym
