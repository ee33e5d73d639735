// The heap buffer's pages and swap files on the host: malloc'd pages and an unlinked file
// read and written with pread and pwrite.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "file/heap_swap.h"
#include "nym/string_basic.h"

namespace nym::impl {

// Zeroed, as the system's pages are: a gap never shows what the memory held before.
void* heap_page_allocate() noexcept { return std::calloc(1, 65536); }

void heap_page_free(void* page) noexcept { std::free(page); }

namespace {

struct Swap {
  int fd;
  Wstring path;
};

bool fail(Nym_status& status, unsigned int above) {
  status = static_cast<unsigned int>(errno != 0 ? errno : EIO);
  status.push(above);
  return false;
}

}  // namespace

void* heap_swap_open(const Wstring& directory, Nym_status& status) {
  Nstring folder;
  if (directory.empty()) {
    const char* tmp = std::getenv("TMPDIR");
    folder = tmp != nullptr && *tmp != '\0' ? tmp : "/tmp";
  } else {
    nym_string_append(folder, directory.c_str());
  }
  if (folder.back() != '/') folder += '/';
  Nstring name = folder + "nymXXXXXX.hbp";
  const int fd = mkstemps(&name[0], 4);
  if (fd < 0) {
    fail(status, 0xC2000026u);  // NYM_S_FILE_OPEN_FAILED
    return nullptr;
  }
  // Gone from the directory at once, as the system deletes a Windows swap file on close.
  unlink(name.c_str());
  auto* swap = new Swap{fd, Wstring()};
  nym_string_append(swap->path, name.c_str());
  return swap;
}

void heap_swap_close(void* swap) noexcept {
  auto* s = static_cast<Swap*>(swap);
  if (s == nullptr) return;
  close(s->fd);
  delete s;
}

Wstring heap_swap_path(const void* swap) { return static_cast<const Swap*>(swap)->path; }

bool heap_swap_write(void* swap, uint64 offset, const void* data, uint64 count, Nym_status& status) {
  const int fd = static_cast<Swap*>(swap)->fd;
  const auto* bytes = static_cast<const unsigned char*>(data);
  while (count != 0) {
    const ssize_t done = pwrite(fd, bytes, count, static_cast<off_t>(offset));
    if (done <= 0) {
      if (done < 0 && errno == EINTR) continue;
      return fail(status, 0xC200001Au);  // NYM_S_WRITE_FAILED
    }
    bytes += done;
    offset += static_cast<uint64>(done);
    count -= static_cast<uint64>(done);
  }
  return true;
}

bool heap_swap_read(const void* swap, uint64 offset, void* data, uint64 count, Nym_status& status) {
  const int fd = static_cast<const Swap*>(swap)->fd;
  auto* bytes = static_cast<unsigned char*>(data);
  while (count != 0) {
    const ssize_t done = pread(fd, bytes, count, static_cast<off_t>(offset));
    if (done < 0) {
      if (errno == EINTR) continue;
      return fail(status, 0xC200001Bu);  // NYM_S_READ_FAILED
    }
    if (done == 0) {
      std::memset(bytes, 0, count);  // a slot beyond the end of the file: nobody wrote it yet
      return true;
    }
    bytes += done;
    offset += static_cast<uint64>(done);
    count -= static_cast<uint64>(done);
  }
  return true;
}

}  // namespace nym::impl
