// Nym_file_system's system calls: GetDriveTypeW and GetDiskFreeSpaceExW.
#include <windows.h>

#include "file/file_system_platform.h"
#include "base/win32_wide.h"

namespace nym::impl {

namespace {

// Null asks about the current directory's volume, as a relative path's empty root means.
const wchar_t* root_or_null(const Wstring& root) { return root.empty() ? nullptr : win32_wide(root); }

}  // namespace

unsigned int system_drive_type(const Wstring& root) { return GetDriveTypeW(root_or_null(root)); }

bool volume_stats(const Wstring& root, int64& total, int64& free, int64& available, Nym_status& status) {
  ULARGE_INTEGER caller{};
  ULARGE_INTEGER all{};
  ULARGE_INTEGER all_free{};
  if (!GetDiskFreeSpaceExW(root_or_null(root), &caller, &all, &all_free)) {
    status = GetLastError();
    return false;
  }
  total = static_cast<int64>(all.QuadPart);
  free = static_cast<int64>(all_free.QuadPart);
  available = static_cast<int64>(caller.QuadPart);
  return true;
}

}  // namespace nym::impl
