// The pipe interface and the two forms whose logic is the same on every build: the anonymous
// pipe and the handle pair. Their system calls are in pipe_win32.cpp and pipe_posix.cpp.
#include <utility>

#include "nym/pipe.h"
#include "nym/status.h"
#include "thread/pipe_platform.h"

namespace nym {

namespace {

// A single system call moves at most 4 GiB - 1; a larger read is simply a short one.
constexpr uint64 MAX_ONE_READ = 0xFFFFFFFFu;

uint64 read_handle(void* handle, unsigned char* buffer, uint64 size, Nym_status& status) {
  status.clear();
  if (handle == nullptr) {
    status = NYM_S_PIPE_NO_READ_HANDLE;
    return 0;
  }
  if (size == 0) return 0;  // a read of nothing would wait for data on some systems
  unsigned int done = 0, error = 0;
  if (!impl::pipe_read_once(handle, buffer, static_cast<unsigned int>(size < MAX_ONE_READ ? size : MAX_ONE_READ),
                            done, error)) {
    status = error;
    status.push(NYM_S_PIPE_READ_FAILED);
  }
  return done;
}

uint64 write_handle(void* handle, const unsigned char* buffer, uint64 size, Nym_status& status) {
  status.clear();
  if (handle == nullptr) {
    status = NYM_S_PIPE_NO_WRITE_HANDLE;
    return 0;
  }
  uint64 done = 0;
  unsigned int error = 0;
  if (!impl::pipe_write_all(handle, buffer, size, done, error)) {
    status = error;
    status.push(NYM_S_PIPE_WRITE_FAILED);
    return 0;
  }
  return done;
}

}  // namespace

Nym_pipe::~Nym_pipe() = default;

Nym_handle_pipe::~Nym_handle_pipe() = default;

Nym_anonymous_pipe::Nym_anonymous_pipe(Nym_status& status, Nym_security* security) {
  status.clear();
  unsigned int error = 0;
  if (!impl::pipe_create(m_read, m_write, security, error)) {
    m_read = m_write = nullptr;
    status = error;
    status.push(NYM_S_PIPE_CREATE_FAILED);
  }
}

Nym_anonymous_pipe::Nym_anonymous_pipe(Nym_anonymous_pipe&& other) noexcept
    : Nym_handle_pipe(other),
      m_read(std::exchange(other.m_read, nullptr)),
      m_write(std::exchange(other.m_write, nullptr)) {}

Nym_anonymous_pipe& Nym_anonymous_pipe::operator=(Nym_anonymous_pipe&& other) noexcept {
  if (this != &other) {
    if (m_read != nullptr) impl::pipe_close(m_read);
    if (m_write != nullptr) impl::pipe_close(m_write);
    Nym_handle_pipe::operator=(other);
    m_read = std::exchange(other.m_read, nullptr);
    m_write = std::exchange(other.m_write, nullptr);
  }
  return *this;
}

Nym_anonymous_pipe::~Nym_anonymous_pipe() {
  if (m_read != nullptr) impl::pipe_close(m_read);
  if (m_write != nullptr) impl::pipe_close(m_write);
}

uint64 Nym_anonymous_pipe::write(const unsigned char* buffer, uint64 size, Nym_status& status) {
  return write_handle(m_write, buffer, size, status);
}

uint64 Nym_anonymous_pipe::read(unsigned char* buffer, uint64 size, Nym_status& status) {
  return read_handle(m_read, buffer, size, status);
}

void Nym_anonymous_pipe::close_write_end() noexcept {
  if (m_write != nullptr) impl::pipe_close(std::exchange(m_write, nullptr));
}

Nym_fdpair_pipe::Nym_fdpair_pipe(void* read_handle, void* write_handle) : m_read(read_handle), m_write(write_handle) {}

Nym_fdpair_pipe::~Nym_fdpair_pipe() = default;

uint64 Nym_fdpair_pipe::write(const unsigned char* buffer, uint64 size, Nym_status& status) {
  return write_handle(m_write, buffer, size, status);
}

uint64 Nym_fdpair_pipe::read(unsigned char* buffer, uint64 size, Nym_status& status) {
  return read_handle(m_read, buffer, size, status);
}

}  // namespace nym
