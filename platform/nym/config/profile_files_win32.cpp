// MoveFileW and DeleteFileW for the profile editor's backup.
#include "config/profile_files.h"

#include <windows.h>

#include "base/win32_wide.h"

namespace nym::impl {

namespace {

constexpr unsigned int TARGET_EXISTS = 0xC2000021u;
constexpr unsigned int MOVE_FAILED = 0xC2000023u;
constexpr unsigned int REMOVE_FAILED = 0xC2000024u;

bool exists(const Wstring& path) { return GetFileAttributesW(win32_wide(path)) != INVALID_FILE_ATTRIBUTES; }

}  // namespace

void profile_move_file(const Wstring& from, const Wstring& to, Nym_status& status) {
  status.clear();
  if (exists(to)) {
    status.assign(TARGET_EXISTS, Nym_wstring_status_arg(to));
  } else if (!MoveFileW(win32_wide(from), win32_wide(to))) {
    status = GetLastError();
  }
  if (status.is_error()) status.push(MOVE_FAILED, Nym_wstring_status_arg(from), Nym_wstring_status_arg(to));
}

void profile_remove_file(const Wstring& path, Nym_status& status) {
  status.clear();
  if (DeleteFileW(win32_wide(path))) return;
  const DWORD error = GetLastError();
  if (error == ERROR_FILE_NOT_FOUND) return;
  status = error;
  status.push(REMOVE_FAILED, Nym_wstring_status_arg(path));
}

}  // namespace nym::impl
