// The heap buffer's pages and swap files on Windows: VirtualAlloc pages (64 KiB is the
// system's allocation grain) and a Nym_file under a temporary name, read and written through
// OVERLAPPED offsets.
#include <windows.h>

#include <memory>

#include "file/heap_swap.h"
#include "nym/file.h"

namespace nym::impl {

void* heap_page_allocate() noexcept { return VirtualAlloc(nullptr, 65536, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE); }

void heap_page_free(void* page) noexcept {
  if (page != nullptr) VirtualFree(page, 0, MEM_RELEASE);
}

void* heap_swap_open(const Wstring& directory, Nym_status& status) {
  static const Wstring HBP = u"hbp";
  std::unique_ptr<Nym_file> file(new Nym_file);
  // A name nothing lies at, created new: never replace a file another process took meanwhile.
  for (int attempt = 0; attempt < 8; ++attempt) {
    file->open(Nym_file::temp_name(directory, HBP), NYM_FILE_CREATE_NEW, NYM_ACCESS_READ_WRITE,
               NYM_FILE_RANDOM_ACCESS | NYM_FILE_DELETE_ON_CLOSE, 0, status);
    if (file->is_open()) return file.release();
    if (!status.contains_value(ERROR_FILE_EXISTS) && !status.contains_value(ERROR_ALREADY_EXISTS)) break;
  }
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
