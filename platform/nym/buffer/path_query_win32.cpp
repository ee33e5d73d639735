// nym_access and nym_type on the Windows run-time: _waccess and _wstat64.
#include <io.h>
#include <sys/stat.h>
#include <sys/types.h>

#include "path_query_platform.h"
#include "base/win32_wide.h"

namespace nym::impl {

Wchar path_separator() { return u'\\'; }

bool path_is_separator(Wchar unit) { return unit == u'\\' || unit == u'/'; }

bool path_mode(const Wstring& path, unsigned int& mode) {
  struct _stat64 info {};
  if (_wstat64(win32_wide(path), &info) != 0) return false;
  mode = info.st_mode;
  return true;
}

bool path_accessible(const Wstring& path, int mode) { return _waccess(win32_wide(path), mode) == 0; }

}  // namespace nym::impl
