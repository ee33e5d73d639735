// The heap buffer's pages and swap files on Windows: VirtualAlloc pages (64 KiB is the
// system's allocation grain) and a Nym_file read and written through OVERLAPPED offsets.
#include <windows.h>

#include <atomic>
#include <cstdio>

#include "file/heap_swap.h"
#include "nym/file.h"
#include "base/win32_wide.h"

namespace nym::impl {

void* heap_page_allocate() noexcept { return VirtualAlloc(nullptr, 65536, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE); }

void heap_page_free(void* page) noexcept {
  if (page != nullptr) VirtualFree(page, 0, MEM_RELEASE);
}

namespace {

// The temporary directory the system names, with its closing backslash; empty if it names none.
Wstring system_temp_directory() {
  wchar_t path[MAX_PATH + 2];
  const DWORD n = GetTempPathW(MAX_PATH + 1, path);
  if (n == 0 || n > MAX_PATH + 1) return Wstring();
  return Wstring(reinterpret_cast<const Wchar*>(path), n);
}

std::atomic<unsigned int> g_swap_serial{0};

}  // namespace

void* heap_swap_open(const Wstring& directory, Nym_status& status) {
  Wstring folder = directory.empty() ? system_temp_directory() : directory;
  if (!folder.empty() && folder.back() != u'\\' && folder.back() != u'/') folder += u'\\';
  auto* file = new Nym_file;
  // A fresh name each time; an existing file of the name is never replaced, the next name is tried.
  for (int attempt = 0; attempt < 16; ++attempt) {
    char name[48];
    std::snprintf(name, sizeof name, "nym%lx-%x.hbp", static_cast<unsigned long>(GetCurrentProcessId()),
                  g_swap_serial.fetch_add(1) + 1);
    Wstring path = folder;
    for (const char* c = name; *c != '\0'; ++c) path += static_cast<Wchar>(*c);
    file->open(path, NYM_FILE_CREATE_NEW, NYM_ACCESS_READ_WRITE, NYM_FILE_RANDOM_ACCESS | NYM_FILE_DELETE_ON_CLOSE,
               0, status);
    if (file->is_open()) return file;
    if (!status.contains_value(ERROR_FILE_EXISTS) && !status.contains_value(ERROR_ALREADY_EXISTS)) break;
  }
  delete file;
  return nullptr;
}

void heap_swap_close(void* swap) noexcept { delete static_cast<Nym_file*>(swap); }

Wstring heap_swap_path(const void* swap) { return static_cast<const Nym_file*>(swap)->path(); }

namespace {

OVERLAPPED at(uint64 offset) {
  OVERLAPPED place = {};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

}  // namespace

bool heap_swap_write(void* swap, uint64 offset, const void* data, uint64 count, Nym_status& status) {
  const HANDLE handle = static_cast<Nym_file*>(swap)->handle();
  const auto* bytes = static_cast<const unsigned char*>(data);
  while (count != 0) {
    // Never more than a page at a time, so the count fits a DWORD.
    OVERLAPPED place = at(offset);
    DWORD done = 0;
    if (!WriteFile(handle, bytes, static_cast<DWORD>(count), &done, &place) || done == 0) {
      status = GetLastError();
      if (status.ok()) status = ERROR_WRITE_FAULT;
      status.push(NYM_S_WRITE_FAILED);
      return false;
    }
    bytes += done;
    offset += done;
    count -= done;
  }
  return true;
}

bool heap_swap_read(const void* swap, uint64 offset, void* data, uint64 count, Nym_status& status) {
  const HANDLE handle = static_cast<const Nym_file*>(swap)->handle();
  auto* bytes = static_cast<unsigned char*>(data);
  while (count != 0) {
    OVERLAPPED place = at(offset);
    DWORD done = 0;
    if (!ReadFile(handle, bytes, static_cast<DWORD>(count), &done, &place)) {
      if (GetLastError() != ERROR_HANDLE_EOF) {
        status = GetLastError();
        status.push(NYM_S_READ_FAILED);
        return false;
      }
      done = 0;
    }
    if (done == 0) {
      // Beyond the end of the file: a page slot nobody wrote yet.
      ZeroMemory(bytes, count);
      return true;
    }
    bytes += done;
    offset += done;
    count -= done;
  }
  return true;
}

}  // namespace nym::impl
