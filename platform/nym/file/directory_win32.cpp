// The system calls of directories and file operations: the directory scan, creating, moving,
// copying and deleting by name, attributes, the working directory, and the environment and
// registry reads of the temporary directory's chain.
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "file/directory_platform.h"
#include "base/win32_wide.h"

namespace nym::impl {

namespace {

bool fail(Nym_status& status) {
  status = GetLastError();
  return false;
}

bool named(const Wstring& path, Nym_status& status) {
  if (path.find(Wchar{0}) == Wstring::npos) return true;
  status = ERROR_INVALID_NAME;
  return false;
}

void take_entry(const WIN32_FIND_DATAW& found, Wstring& name, unsigned int& attributes) {
  std::size_t n = 0;
  while (n < MAX_PATH && found.cFileName[n] != L'\0') ++n;
  name.assign(from_win32_wide(found.cFileName), n);
  attributes = found.dwFileAttributes;
}

// Text of registry data: up to the first U+0000 or the end of what the system returned.
Wstring registry_text(const std::vector<Wchar>& data, DWORD bytes) {
  const std::size_t units = std::min<std::size_t>(bytes / sizeof(Wchar), data.size());
  std::size_t n = 0;
  while (n < units && data[n] != 0) ++n;
  return Wstring(data.data(), n);
}

bool expand(const Wstring& text, Wstring& out) {
  std::vector<wchar_t> buffer(256);
  for (int tries = 0; tries < 4; ++tries) {
    const DWORD needed = ExpandEnvironmentStringsW(win32_wide(text), buffer.data(), static_cast<DWORD>(buffer.size()));
    if (needed == 0) return false;
    if (needed <= buffer.size()) {
      out.assign(from_win32_wide(buffer.data()), needed - 1);
      return true;
    }
    buffer.resize(needed);
  }
  return false;
}

}  // namespace

bool find_first(const Wstring& pattern, void*& handle, Wstring& name, unsigned int& attributes, Nym_status& status) {
  if (!named(pattern, status)) return false;
  WIN32_FIND_DATAW found;
  const HANDLE h = FindFirstFileW(win32_wide(pattern), &found);
  if (h == INVALID_HANDLE_VALUE) return fail(status);
  handle = h;
  take_entry(found, name, attributes);
  return true;
}

bool find_next(void* handle, Wstring& name, unsigned int& attributes, Nym_status& status) {
  WIN32_FIND_DATAW found;
  if (!FindNextFileW(handle, &found)) return fail(status);
  take_entry(found, name, attributes);
  return true;
}

void find_close(void* handle) { FindClose(handle); }

bool make_directory(const Wstring& path, Nym_status& status) {
  return named(path, status) && (CreateDirectoryW(win32_wide(path), nullptr) != 0 || fail(status));
}

bool remove_directory(const Wstring& path, Nym_status& status) {
  return named(path, status) && (RemoveDirectoryW(win32_wide(path)) != 0 || fail(status));
}

bool move_path(const Wstring& from, const Wstring& to, Nym_status& status) {
  return named(from, status) && named(to, status) &&
         (MoveFileW(win32_wide(from), win32_wide(to)) != 0 || fail(status));
}

bool copy_path(const Wstring& from, const Wstring& to, bool fail_if_exists, Nym_status& status) {
  return named(from, status) && named(to, status) &&
         (CopyFileW(win32_wide(from), win32_wide(to), fail_if_exists) != 0 || fail(status));
}

bool delete_path(const Wstring& path, Nym_status& status) {
  return named(path, status) && (DeleteFileW(win32_wide(path)) != 0 || fail(status));
}

bool path_attributes(const Wstring& path, unsigned int& attributes, Nym_status& status) {
  if (!named(path, status)) return false;
  const DWORD a = GetFileAttributesW(win32_wide(path));
  if (a == INVALID_FILE_ATTRIBUTES) return fail(status);
  attributes = a;
  return true;
}

bool set_path_attributes(const Wstring& path, unsigned int attributes, Nym_status& status) {
  return named(path, status) && (SetFileAttributesW(win32_wide(path), attributes) != 0 || fail(status));
}

Wstring current_directory() {
  std::vector<wchar_t> buffer(MAX_PATH);
  for (;;) {
    const DWORD n = GetCurrentDirectoryW(static_cast<DWORD>(buffer.size()), buffer.data());
    if (n == 0) return Wstring();
    // Too small: the answer is the size it needs, the terminator included.
    if (n < buffer.size()) return Wstring(from_win32_wide(buffer.data()), n);
    buffer.resize(n);
  }
}

unsigned int current_process_id() { return GetCurrentProcessId(); }

bool environment_value(const char16_t* name, Wstring& value) {
  const wchar_t* text = _wgetenv(win32_wide(name));
  if (text == nullptr) return false;
  value = from_win32_wide(text);
  return true;
}

bool default_user_temp(Wstring& text) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_USERS, L".DEFAULT\\Environment", 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return false;
  DWORD type = 0;
  DWORD bytes = 0;
  std::vector<Wchar> data;
  bool read = false;
  LONG result = RegQueryValueExW(key, L"TMP", nullptr, &type, nullptr, &bytes);
  // The value may grow between asking its size and reading it: ask again, a few times.
  for (int tries = 0; result == ERROR_SUCCESS && !read && tries < 4; ++tries) {
    data.assign(bytes / sizeof(Wchar) + 1, 0);
    DWORD got = static_cast<DWORD>(data.size() * sizeof(Wchar));
    result = RegQueryValueExW(key, L"TMP", nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &got);
    read = result == ERROR_SUCCESS;
    bytes = got;
    if (result == ERROR_MORE_DATA) result = ERROR_SUCCESS;
  }
  RegCloseKey(key);
  if (!read) return false;
  const Wstring value = registry_text(data, bytes);
  if (type == REG_EXPAND_SZ) return expand(value, text);
  text = type == REG_SZ ? value : Wstring();
  return true;
}

}  // namespace nym::impl
