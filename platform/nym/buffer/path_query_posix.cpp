// nym_access and nym_type on the host: the path as UTF-8, stat and access, with the kinds
// mapped onto the Windows run-time's bits.
#include <sys/stat.h>
#include <unistd.h>

#include "path_query_platform.h"
#include "nym/string_basic.h"

namespace nym::impl {

namespace {

Nstring narrow(const Wstring& path) {
  Nstring text;
  nym_string_append(text, path.c_str());
  return text;
}

}  // namespace

Wchar path_separator() { return u'/'; }

bool path_is_separator(Wchar unit) { return unit == u'/'; }

bool path_mode(const Wstring& path, unsigned int& mode) {
  struct stat info {};
  if (::stat(narrow(path).c_str(), &info) != 0) return false;
  if (S_ISDIR(info.st_mode)) {
    mode = PATH_MODE_DIRECTORY;
  } else if (S_ISCHR(info.st_mode)) {
    mode = PATH_MODE_CHARACTER;
  } else if (S_ISFIFO(info.st_mode)) {
    mode = PATH_MODE_PIPE;
  } else {
    mode = PATH_MODE_REGULAR;
  }
  return true;
}

bool path_accessible(const Wstring& path, int mode) { return ::access(narrow(path).c_str(), mode) == 0; }

}  // namespace nym::impl
