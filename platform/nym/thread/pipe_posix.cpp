// The host's pipe calls over file descriptors; a handle is the descriptor, 0 meaning none.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

#include "thread/pipe_platform.h"

namespace nym::impl {

namespace {

int fd_of(void* handle) { return static_cast<int>(reinterpret_cast<std::intptr_t>(handle)); }
void* handle_of(int fd) { return reinterpret_cast<void*>(static_cast<std::intptr_t>(fd)); }

// Descriptor 0 would read as "no handle": move such an end above it.
bool above_zero(int& fd) {
  if (fd != 0) return true;
  const int moved = fcntl(fd, F_DUPFD_CLOEXEC, 1);
  close(fd);
  fd = moved;
  return moved > 0;
}

}  // namespace

bool pipe_create(void*& read_end, void*& write_end, Nym_security*, unsigned int& error) {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) {
    error = static_cast<unsigned int>(errno);
    return false;
  }
  if (!above_zero(fds[0]) || !above_zero(fds[1])) {
    error = static_cast<unsigned int>(errno);
    if (fds[0] > 0) close(fds[0]);
    if (fds[1] > 0) close(fds[1]);
    return false;
  }
  read_end = handle_of(fds[0]);
  write_end = handle_of(fds[1]);
  return true;
}

bool pipe_read_once(void* handle, unsigned char* buffer, unsigned int size, unsigned int& done, unsigned int& error) {
  done = 0;
  for (;;) {
    const ssize_t n = ::read(fd_of(handle), buffer, size);
    if (n > 0) {
      done = static_cast<unsigned int>(n);
      return true;
    }
    if (n < 0 && errno == EINTR) continue;
    error = n == 0 ? EPIPE : static_cast<unsigned int>(errno);  // the writer gone, as on Windows
    return false;
  }
}

// A write to a pipe without reader must fail, not raise SIGPIPE: the signal is blocked for the
// call and a signal it caused is taken back before the mask is restored.
bool pipe_write_all(void* handle, const unsigned char* buffer, uint64 size, uint64& done, unsigned int& error) {
  sigset_t pipe_signal, old_mask, pending;
  sigemptyset(&pipe_signal);
  sigaddset(&pipe_signal, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe_signal, &old_mask);
  sigpending(&pending);
  const bool was_pending = sigismember(&pending, SIGPIPE) == 1;
  done = 0;
  bool ok = true;
  while (done < size) {
    const ssize_t n = ::write(fd_of(handle), buffer + done, size - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      error = static_cast<unsigned int>(n < 0 ? errno : EIO);
      ok = false;
      break;
    }
    done += static_cast<uint64>(n);
  }
  if (!ok && error == EPIPE && !was_pending) {
    const timespec none = {0, 0};
    while (sigtimedwait(&pipe_signal, nullptr, &none) < 0 && errno == EINTR) {
    }
  }
  pthread_sigmask(SIG_SETMASK, &old_mask, nullptr);
  return ok;
}

void pipe_close(void* handle) noexcept { close(fd_of(handle)); }

}  // namespace nym::impl
