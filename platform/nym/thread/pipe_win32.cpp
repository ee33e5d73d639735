// Pipes over kernel handles: the calls under the anonymous pipe and the handle pair, their
// add_security, and the two ends of a named pipe.
#include <windows.h>

#include <utility>

#include "nym/pipe.h"
#include "nym/security.h"
#include "nym/status.h"
#include "base/win32_wide.h"
#include "thread/pipe_platform.h"

namespace nym {

namespace impl {

bool pipe_create(void*& read_end, void*& write_end, Nym_security* security, unsigned int& error) {
  HANDLE r = nullptr, w = nullptr;
  if (!CreatePipe(&r, &w, security != nullptr ? security->security_attributes(false) : nullptr, 0)) {
    error = GetLastError();
    return false;
  }
  read_end = r;
  write_end = w;
  return true;
}

bool pipe_read_once(void* handle, unsigned char* buffer, unsigned int size, unsigned int& done, unsigned int& error) {
  DWORD n = 0;
  const BOOL ok = ReadFile(handle, buffer, size, &n, nullptr);
  done = n;
  if (!ok) error = GetLastError();
  return ok != FALSE;
}

// At most 1 GiB a call: WriteFile counts in 32 bits.
constexpr uint64 MAX_ONE_WRITE = 0x40000000u;

bool pipe_write_all(void* handle, const unsigned char* buffer, uint64 size, uint64& done, unsigned int& error) {
  done = 0;
  while (done < size) {
    const uint64 left = size - done;
    DWORD n = 0;
    if (!WriteFile(handle, buffer + done, static_cast<DWORD>(left < MAX_ONE_WRITE ? left : MAX_ONE_WRITE), &n, nullptr)) {
      error = GetLastError();
      return false;
    }
    done += n;
  }
  return true;
}

void pipe_close(void* handle) noexcept { CloseHandle(handle); }

}  // namespace impl

namespace {

void tie_pair(void* read_end, void* write_end, Nym_security& security, Nym_status& status) {
  status.clear();
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, read_end, status);
  if (!status.is_error()) security.associate_with_object(NYM_SEC_OBJ_KERNEL, write_end, status);
}

const Wchar SERVER_PREFIX[] = u"\\\\.\\pipe\\";
const Wchar CLIENT_PREFIX[] = u"\\\\";
const Wchar CLIENT_INFIX[] = u"\\pipe\\";

bool holds_null(const Wstring& text) { return text.find(Wchar(0)) != Wstring::npos; }

// An overlapped handle needs its structure and event for every call; the call is then awaited,
// so the caller sees blocking I/O either way. A null event means a plain blocking handle.
template <class Call>
BOOL io(HANDLE handle, HANDLE event, DWORD& done, Call call) {
  if (event == nullptr) return call(static_cast<OVERLAPPED*>(nullptr));
  OVERLAPPED overlapped = {};
  overlapped.hEvent = event;
  if (!call(&overlapped) && GetLastError() != ERROR_IO_PENDING) return FALSE;
  return GetOverlappedResult(handle, &overlapped, &done, TRUE);
}

// The named forms report only a closed object; a failing call answers what went through.
uint64 named_read(HANDLE handle, HANDLE event, unsigned char* buffer, uint64 size, Nym_status& status) {
  status.clear();
  if (handle == nullptr) {
    status = NYM_S_NAMED_PIPE_NOT_OPEN;
    return 0;
  }
  if (size == 0) return 0;
  DWORD done = 0;
  const DWORD ask = static_cast<DWORD>(size < 0xFFFFFFFFu ? size : 0xFFFFFFFFu);
  io(handle, event, done, [&](OVERLAPPED* o) { return ReadFile(handle, buffer, ask, o != nullptr ? nullptr : &done, o); });
  return done;
}

uint64 named_write(HANDLE handle, HANDLE event, const unsigned char* buffer, uint64 size, Nym_status& status) {
  status.clear();
  if (handle == nullptr) {
    status = NYM_S_NAMED_PIPE_NOT_OPEN;
    return 0;
  }
  uint64 total = 0;
  while (total < size) {
    const uint64 left = size - total;
    const DWORD ask = static_cast<DWORD>(left < impl::MAX_ONE_WRITE ? left : impl::MAX_ONE_WRITE);
    DWORD done = 0;
    const BOOL ok = io(handle, event, done, [&](OVERLAPPED* o) {
      return WriteFile(handle, buffer + total, ask, o != nullptr ? nullptr : &done, o);
    });
    total += done;
    if (!ok || done == 0) break;
  }
  return total;
}

}  // namespace

void Nym_anonymous_pipe::add_security(Nym_security& security, Nym_status& status) {
  tie_pair(m_read, m_write, security, status);
}

void Nym_fdpair_pipe::add_security(Nym_security& security, Nym_status& status) {
  tie_pair(m_read, m_write, security, status);
}

Nym_named_pipe_server::Nym_named_pipe_server(const Wstring& name, const Nym_pipe_server_options& options,
                                             Nym_status& status, Nym_security* security) {
  SECURITY_ATTRIBUTES* attributes = security != nullptr ? security->security_attributes(false) : nullptr;
  status.clear();
  m_type = NYM_PIPE_SERVER;
  static const DWORD ACCESS[] = {PIPE_ACCESS_OUTBOUND, PIPE_ACCESS_INBOUND, PIPE_ACCESS_DUPLEX};
  DWORD open_mode = options.mode < 3 ? ACCESS[options.mode] : 0;
  if (options.write_through) open_mode |= FILE_FLAG_WRITE_THROUGH;
  if (options.overlapped) open_mode |= FILE_FLAG_OVERLAPPED;
  if (holds_null(name)) {
    status = ERROR_INVALID_NAME;
    status.push(NYM_S_NAMED_PIPE_CREATE_FAILED);
    return;
  }
  const Wstring full = SERVER_PREFIX + name;
  const HANDLE handle = CreateNamedPipeW(impl::win32_wide(full), open_mode, 0, options.max_instances,
                                         options.out_buffer_size, options.in_buffer_size, options.default_timeout,
                                         attributes);
  if (handle == INVALID_HANDLE_VALUE) {
    status = GetLastError();
    status.push(NYM_S_NAMED_PIPE_CREATE_FAILED);
    return;
  }
  m_handle = handle;
  if (options.overlapped) {
    m_read_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_write_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (m_read_event == nullptr || m_write_event == nullptr) {
      status = GetLastError();
      status.push(NYM_S_NAMED_PIPE_CREATE_FAILED);
      release();
    }
  }
}

Nym_named_pipe_server::Nym_named_pipe_server(Nym_named_pipe_server&& other) noexcept
    : Nym_handle_pipe(other),
      m_handle(std::exchange(other.m_handle, nullptr)),
      m_read_event(std::exchange(other.m_read_event, nullptr)),
      m_write_event(std::exchange(other.m_write_event, nullptr)) {}

Nym_named_pipe_server& Nym_named_pipe_server::operator=(Nym_named_pipe_server&& other) noexcept {
  if (this != &other) {
    release();
    Nym_handle_pipe::operator=(other);
    m_handle = std::exchange(other.m_handle, nullptr);
    m_read_event = std::exchange(other.m_read_event, nullptr);
    m_write_event = std::exchange(other.m_write_event, nullptr);
  }
  return *this;
}

Nym_named_pipe_server::~Nym_named_pipe_server() { release(); }

// Flush first, so that the client can read what was written before it is disconnected.
void Nym_named_pipe_server::release() noexcept {
  if (m_handle != nullptr) {
    FlushFileBuffers(m_handle);
    DisconnectNamedPipe(m_handle);
    CloseHandle(m_handle);
    m_handle = nullptr;
  }
  if (m_read_event != nullptr) CloseHandle(std::exchange(m_read_event, nullptr));
  if (m_write_event != nullptr) CloseHandle(std::exchange(m_write_event, nullptr));
}

uint64 Nym_named_pipe_server::write(const unsigned char* buffer, uint64 size, Nym_status& status) {
  return named_write(m_handle, m_write_event, buffer, size, status);
}

uint64 Nym_named_pipe_server::read(unsigned char* buffer, uint64 size, Nym_status& status) {
  return named_read(m_handle, m_read_event, buffer, size, status);
}

// The result isn't looked at: a client that connected before the call passes silently.
void Nym_named_pipe_server::wait_for_client(Nym_status& status) const {
  status.clear();
  if (m_handle == nullptr) {
    status = NYM_S_NAMED_PIPE_NOT_OPEN;
    return;
  }
  DWORD unused = 0;
  io(m_handle, m_read_event, unused, [&](OVERLAPPED* o) { return ConnectNamedPipe(m_handle, o); });
}

void Nym_named_pipe_server::add_security(Nym_security& security, Nym_status& status) {
  status.clear();
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, m_handle, status);
}

Nym_named_pipe_client::Nym_named_pipe_client(const Wstring& name, const Wstring& host,
                                             const Nym_pipe_client_options& options, Nym_status& status) {
  m_type = NYM_PIPE_CLIENT;
  status.clear();
  static const DWORD ACCESS[] = {GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE};
  if (holds_null(name) || holds_null(host)) {
    status = ERROR_INVALID_NAME;
    status.push(NYM_S_NAMED_PIPE_OPEN_FAILED);
    return;
  }
  const Wstring full = CLIENT_PREFIX + host + CLIENT_INFIX + name;
  const HANDLE handle = CreateFileW(impl::win32_wide(full), options.mode < 3 ? ACCESS[options.mode] : 0, 0, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    status = GetLastError();
    status.push(NYM_S_NAMED_PIPE_OPEN_FAILED);
    return;
  }
  m_handle = handle;
}

Nym_named_pipe_client::Nym_named_pipe_client(Nym_named_pipe_client&& other) noexcept
    : Nym_handle_pipe(other), m_handle(std::exchange(other.m_handle, nullptr)) {}

Nym_named_pipe_client& Nym_named_pipe_client::operator=(Nym_named_pipe_client&& other) noexcept {
  if (this != &other) {
    if (m_handle != nullptr) CloseHandle(m_handle);
    Nym_handle_pipe::operator=(other);
    m_handle = std::exchange(other.m_handle, nullptr);
  }
  return *this;
}

Nym_named_pipe_client::~Nym_named_pipe_client() {
  if (m_handle != nullptr) CloseHandle(m_handle);
}

uint64 Nym_named_pipe_client::write(const unsigned char* buffer, uint64 size, Nym_status& status) {
  return named_write(m_handle, nullptr, buffer, size, status);
}

uint64 Nym_named_pipe_client::read(unsigned char* buffer, uint64 size, Nym_status& status) {
  return named_read(m_handle, nullptr, buffer, size, status);
}

}  // namespace nym
