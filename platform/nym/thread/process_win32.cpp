// Nym_process: the program is found as the C runtime's spawn finds it, then started by its
// full path through the runtime. (Some runtimes search PATH only once per process, so a
// spawn by bare name would fail from the second start on.)
#include <process.h>
#include <windows.h>

#include <cerrno>
#include <vector>

#include "nym/process.h"
#include "nym/status.h"
#include "base/win32_wide.h"

namespace nym {

namespace {

constexpr DWORD LONGEST_PATH = 32768;

bool has_folder(const Wstring& name) { return name.find_first_of(u"\\/:") != Wstring::npos; }

bool has_extension(const Wstring& name) {
  const size_t dot = name.rfind(u'.');
  const size_t folder = name.find_last_of(u"\\/:");
  return dot != Wstring::npos && (folder == Wstring::npos || dot > folder);
}

// The full path of the file `name` in `folder`, if it is there and isn't a directory.
bool file_in(const Wstring& folder, const Wstring& name, Wstring& full) {
  std::vector<wchar_t> buffer(LONGEST_PATH);
  const DWORD n = SearchPathW(impl::win32_wide(folder), impl::win32_wide(name), nullptr, LONGEST_PATH, buffer.data(),
                              nullptr);
  if (n == 0 || n >= LONGEST_PATH) return false;
  const DWORD attributes = GetFileAttributesW(buffer.data());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return false;
  full.assign(impl::from_win32_wide(buffer.data()), n);
  return true;
}

Wstring environment_path() {
  std::vector<wchar_t> buffer(LONGEST_PATH);
  DWORD n = GetEnvironmentVariableW(L"PATH", buffer.data(), static_cast<DWORD>(buffer.size()));
  if (n >= buffer.size()) {  // too small: n is the size needed
    buffer.resize(n);
    n = GetEnvironmentVariableW(L"PATH", buffer.data(), static_cast<DWORD>(buffer.size()));
    if (n >= buffer.size()) return Wstring();
  }
  return Wstring(impl::from_win32_wide(buffer.data()), n);
}

// As the runtime: the name as given (relative to the current directory), then for a bare name
// each folder of PATH in order; in each place a name without extension is tried with .com,
// .exe, .bat and .cmd in that order.
bool find_program(const Wstring& name, Wstring& full) {
  if (name.empty() || name.find(Wchar(0)) != Wstring::npos) return false;
  std::vector<Wstring> names;
  if (has_extension(name)) {
    names.push_back(name);
  } else {
    for (const Wchar* extension : {u".com", u".exe", u".bat", u".cmd"}) names.push_back(name + extension);
  }
  auto in_folder = [&](const Wstring& folder) {
    for (const Wstring& candidate : names) {
      if (file_in(folder, candidate, full)) return true;
    }
    return false;
  };
  if (in_folder(u".")) return true;
  if (has_folder(name)) return false;
  const Wstring path = environment_path();
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find(u';', start);
    if (end == Wstring::npos) end = path.size();
    Wstring folder = path.substr(start, end - start);
    if (folder.size() >= 2 && folder.front() == u'"' && folder.back() == u'"') folder = folder.substr(1, folder.size() - 2);
    if (!folder.empty() && in_folder(folder)) return true;
    start = end + 1;
  }
  return false;
}

// The runtime's spawn of one argument string; the result as the runtime gives it.
intptr_t spawn(int mode, const Wstring& full, const Wstring& line) {
  return _wspawnl(mode, impl::win32_wide(full), impl::win32_wide(line), static_cast<const wchar_t*>(nullptr));
}

}  // namespace

Nym_process::Nym_process(const Wstring& program, const Wstring& arguments, const Nym_process_details& details,
                         Nym_status& status)
    : m_program(program), m_mode(details.mode), m_arguments(arguments) {
  start_process(program, arguments, details, status);
}

Nym_process::Nym_process() = default;

Nym_process::~Nym_process() {
  if (m_handle != nullptr) CloseHandle(m_handle);
}

void Nym_process::start_process(const Wstring& program, const Wstring& arguments, const Nym_process_details& details,
                                Nym_status& status) {
  status.clear();
  bool wait_after = details.wait;
  if (is_running()) {
    // The running process keeps its program and mode, so that its exit code is still read right.
    status = NYM_S_PROCESS_ALREADY_RUNNING;
    status.push(NYM_S_PROCESS_START_FAILED, Nym_wstring_status_arg(program));
    return;
  }
  m_mode = details.mode;
  m_program = program;
  if (m_handle != nullptr) {  // an earlier process that has ended: its handle isn't needed any more
    CloseHandle(m_handle);
    m_handle = nullptr;
  }
  bool started = true;
  Wstring full;
  if (m_mode == 0 || m_mode == 1) {
    wait_after = true;
    started = find_program(program, full);
    if (started) {
      errno = 0;
      const intptr_t result = spawn(_P_WAIT, full, arguments);
      // A program may itself exit with -1: only errno tells a failed start.
      if (result == -1 && errno != 0) {
        started = false;
      } else {
        m_exit_code = static_cast<unsigned int>(result);
      }
    }
  } else if (m_mode == 2) {
    Wstring file = program;
    if (!file.empty() && file.front() == u'"') file.erase(0, 1);
    if (!file.empty() && file.back() == u'"') file.pop_back();
    started = find_program(file, full);
    if (started) {
      const intptr_t result = spawn(_P_NOWAIT, full, program + u" " + arguments);
      // -1 is the current process's pseudo-handle: never keep it as the child's.
      if (result == -1 || result == 0) {
        started = false;
      } else {
        m_handle = reinterpret_cast<void*>(result);
      }
    }
  }
  if (!started) {
    status.assign(NYM_S_PROCESS_START_FAILED, Nym_wstring_status_arg(program));
    return;
  }
  if (wait_after) wait(status, details.timeout);
}

void Nym_process::wait(Nym_status& status, unsigned int timeout) const {
  status.clear();
  if (m_handle != nullptr && WaitForSingleObject(m_handle, timeout) == WAIT_TIMEOUT) {
    status.assign(NYM_S_PROCESS_STILL_RUNNING, Nym_wstring_status_arg(m_program), Nym_wstring_status_arg(m_arguments));
  }
}

bool Nym_process::is_running() const { return m_handle != nullptr && WaitForSingleObject(m_handle, 0) == WAIT_TIMEOUT; }

unsigned long Nym_process::id() const { return is_running() ? GetProcessId(m_handle) : 0; }

unsigned int Nym_process::get_exit_code(Nym_status& status) const {
  if (is_running()) {
    status.assign(NYM_S_PROCESS_EXIT_CODE_RUNNING, Nym_wstring_status_arg(m_program));
    return m_exit_code;
  }
  if (m_mode != 2) return m_exit_code;
  DWORD code = 0;
  if (!GetExitCodeProcess(m_handle, &code)) {
    status = GetLastError();
    status.push(NYM_S_PROCESS_EXIT_CODE_FAILED, Nym_wstring_status_arg(m_program));
    return m_exit_code;
  }
  m_exit_code = code;
  return code;
}

void Nym_process::terminate(Nym_status& status, unsigned int timeout) const {
  if (m_handle == nullptr) return;
  if (!terminate(GetProcessId(m_handle), timeout)) {
    status = GetLastError();
    status.push(NYM_S_PROCESS_TERMINATE_FAILED, Nym_wstring_status_arg(m_program));
  }
}

// Waiting on the process needs the right to synchronise with it as well as to end it.
bool Nym_process::terminate(unsigned long process_id, unsigned int timeout) {
  const HANDLE process = OpenProcess(PROCESS_TERMINATE | (timeout != 0 ? SYNCHRONIZE : 0), FALSE, process_id);
  if (process == nullptr) return false;
  bool ended = TerminateProcess(process, 0) != FALSE;
  if (timeout != 0) ended = WaitForSingleObject(process, timeout) == WAIT_OBJECT_0;
  const DWORD error = GetLastError();
  CloseHandle(process);
  SetLastError(error);
  return ended;
}

}  // namespace nym
