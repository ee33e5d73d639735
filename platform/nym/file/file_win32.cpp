// Nym_file's system calls: CreateFileW, ReadFile, WriteFile, SetFilePointerEx and their kin,
// LockFileEx, GetFileTime, GetVolumeInformationW and _wstat64.
#include <windows.h>

#include <sys/stat.h>
#include <sys/types.h>
#include <time.h>

#include "file/file_platform.h"
#include "nym/security.h"
#include "base/win32_wide.h"

namespace nym::impl {

namespace {

// A closed object's handle is all ones, which the system would take for the current process.
bool usable(void* handle, Nym_status& status) {
  if (handle != INVALID_HANDLE_VALUE) return true;
  status = ERROR_INVALID_HANDLE;
  return false;
}

bool fail(Nym_status& status) {
  status = GetLastError();
  return false;
}

}  // namespace

bool file_create(const Wstring& path, unsigned int access, unsigned int share, Nym_security* security,
                 unsigned int disposition, unsigned int flags, void*& handle, Nym_status& status) {
  // The system would read the name only up to a U+0000 and open another file.
  if (path.find(Wchar{0}) != Wstring::npos) {
    status = ERROR_INVALID_NAME;
    return false;
  }
  SECURITY_ATTRIBUTES* attributes = security != nullptr ? security->security_attributes(false) : nullptr;
  const HANDLE h = CreateFileW(win32_wide(path), access, share, attributes, disposition, flags, nullptr);
  if (h == INVALID_HANDLE_VALUE) return fail(status);
  handle = h;
  return true;
}

void file_close(void* handle) {
  if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
}

bool file_read(void* handle, void* buffer, unsigned int count, unsigned int& done, Nym_status& status) {
  done = 0;
  if (!usable(handle, status)) return false;
  DWORD n = 0;
  const BOOL ok = ReadFile(handle, buffer, count, &n, nullptr);
  done = n <= count ? n : count;
  return ok != 0 || fail(status);
}

bool file_write(void* handle, const void* buffer, unsigned int count, unsigned int& done, Nym_status& status) {
  done = 0;
  if (!usable(handle, status)) return false;
  DWORD n = 0;
  const BOOL ok = WriteFile(handle, buffer, count, &n, nullptr);
  done = n <= count ? n : count;
  return ok != 0 || fail(status);
}

void file_stop_process() {
  // No destructor or handler may run: a crash doesn't run them either.
  TerminateProcess(GetCurrentProcess(), 70);
  ExitProcess(70);
}

bool file_seek(void* handle, int64 offset, int origin, int64& position, Nym_status& status) {
  if (!usable(handle, status)) return false;
  LARGE_INTEGER distance;
  distance.QuadPart = offset;
  LARGE_INTEGER moved;
  const DWORD method = origin == 1 ? FILE_CURRENT : origin == 2 ? FILE_END : FILE_BEGIN;
  if (!SetFilePointerEx(handle, distance, &moved, method)) return fail(status);
  position = moved.QuadPart;
  return true;
}

bool file_size(void* handle, int64& size) {
  LARGE_INTEGER n;
  if (handle == INVALID_HANDLE_VALUE || !GetFileSizeEx(handle, &n)) return false;
  size = n.QuadPart;
  return true;
}

bool file_flush(void* handle, Nym_status& status) {
  return usable(handle, status) && (FlushFileBuffers(handle) != 0 || fail(status));
}

bool file_set_end(void* handle, Nym_status& status) {
  return usable(handle, status) && (SetEndOfFile(handle) != 0 || fail(status));
}

bool file_time(void* handle, File_time_kind kind, File_stamp& stamp) {
  if (handle == INVALID_HANDLE_VALUE) return false;
  FILETIME t;
  if (!GetFileTime(handle, kind == FILE_CREATED ? &t : nullptr, kind == FILE_ACCESSED ? &t : nullptr,
                   kind == FILE_MODIFIED ? &t : nullptr)) {
    return false;
  }
  SYSTEMTIME s;
  if (!FileTimeToSystemTime(&t, &s)) return false;
  stamp = {s.wYear, s.wMonth, s.wDay, s.wHour, s.wMinute, s.wSecond, s.wMilliseconds};
  return true;
}

bool system_file_system_name(const Wstring& root, Wstring& name) {
  wchar_t text[80];
  if (!GetVolumeInformationW(root.empty() ? nullptr : win32_wide(root), nullptr, 0, nullptr, nullptr, nullptr, text,
                             80)) {
    return false;
  }
  text[79] = L'\0';
  name = from_win32_wide(text);
  return true;
}

bool path_size(const Wstring& path, int64& size) {
  struct _stat64 info {};
  if (_wstat64(win32_wide(path), &info) != 0) return false;
  size = info.st_size;
  return true;
}

bool path_time(const Wstring& path, File_time_kind kind, std::tm& local) {
  struct _stat64 info {};
  if (_wstat64(win32_wide(path), &info) != 0) return false;
  const __time64_t t = kind == FILE_CREATED ? info.st_ctime : kind == FILE_ACCESSED ? info.st_atime : info.st_mtime;
  // The run-time's answer lives in its per-thread area: copied before anything else can call it.
  const std::tm* reading = _localtime64(&t);
  if (reading == nullptr) return false;
  local = *reading;
  return true;
}

bool file_lock_region(void* handle, int64 start, unsigned int length, bool exclusive, Nym_status& status) {
  if (!usable(handle, status)) return false;
  OVERLAPPED where{};
  where.Offset = static_cast<DWORD>(static_cast<uint64>(start));
  where.OffsetHigh = static_cast<DWORD>(static_cast<uint64>(start) >> 32);
  const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (exclusive ? LOCKFILE_EXCLUSIVE_LOCK : 0);
  return LockFileEx(handle, flags, 0, length, 0, &where) != 0 || fail(status);
}

bool file_unlock_region(void* handle, int64 start, unsigned int length, Nym_status& status) {
  if (!usable(handle, status)) return false;
  OVERLAPPED where{};
  where.Offset = static_cast<DWORD>(static_cast<uint64>(start));
  where.OffsetHigh = static_cast<DWORD>(static_cast<uint64>(start) >> 32);
  return UnlockFileEx(handle, 0, length, 0, &where) != 0 || fail(status);
}

void system_pause(unsigned int milliseconds) { Sleep(milliseconds); }

}  // namespace nym::impl
