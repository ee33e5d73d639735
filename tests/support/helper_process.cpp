#include "helper_process.h"

#if defined(_WIN32)
#include <windows.h>

#include <cstdint>

#include "nym/utf.h"
#else
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <condition_variable>
#include <mutex>
#include <thread>

extern char** environ;
#endif

namespace nym_test {

#if defined(_WIN32)

namespace {

// Each argument quoted, with the backslashes before its closing quote doubled, as the C
// run-time splits a command line. Arguments holding a quote are not needed and refused.
bool append_quoted(std::wstring& line, const std::string& arg) {
  if (arg.find('"') != std::string::npos) return false;
  nym::Wstring text;
  nym::nym_utf8_to_utf16(arg.c_str(), text);
  const size_t trailing = text.size() - (text.find_last_not_of(u'\\') + 1);
  line += L" \"" + std::wstring(text.begin(), text.end()) + std::wstring(trailing, L'\\') + L'"';
  return true;
}

HANDLE inheritable(void* handle) {
  HANDLE duplicate = nullptr;
  DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &duplicate, 0, TRUE, DUPLICATE_SAME_ACCESS);
  return duplicate;
}

}  // namespace

std::wstring helper_program() {
  std::wstring path(32768, L'\0');
  const DWORD n = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  path.resize(n < path.size() ? n : 0);
  path.resize(path.find_last_of(L"\\/") + 1);  // npos + 1 == 0: no folder
  return path + L"nym_test_helper.exe";
}

int run_helper(const std::vector<std::string>& args, std::chrono::milliseconds limit) {
  return run_helper_with_streams(args, limit, nullptr, nullptr);
}

int run_helper_with_streams(const std::vector<std::string>& args, std::chrono::milliseconds limit, void* std_in,
                            void* std_out) {
  const std::wstring path = helper_program();
  std::wstring line = L"nym_test_helper";
  for (const std::string& arg : args) {
    if (!append_quoted(line, arg)) return HELPER_NOT_STARTED;
  }
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  if (std_in != nullptr || std_out != nullptr) {
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = inheritable(std_in != nullptr ? std_in : GetStdHandle(STD_INPUT_HANDLE));
    startup.hStdOutput = inheritable(std_out != nullptr ? std_out : GetStdHandle(STD_OUTPUT_HANDLE));
    startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  }
  PROCESS_INFORMATION process = {};
  const BOOL created =
      CreateProcessW(path.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
  // The helper has its copies now; ours would keep its input from ever ending.
  if (startup.hStdInput != nullptr) CloseHandle(startup.hStdInput);
  if (startup.hStdOutput != nullptr) CloseHandle(startup.hStdOutput);
  if (!created) return HELPER_NOT_STARTED;
  CloseHandle(process.hThread);
  int code = HELPER_TIMED_OUT;
  DWORD exit_code = 0;
  if (WaitForSingleObject(process.hProcess, static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0 &&
      GetExitCodeProcess(process.hProcess, &exit_code)) {
    code = static_cast<int>(exit_code);
  } else {
    TerminateProcess(process.hProcess, 255);
    WaitForSingleObject(process.hProcess, 10000);
  }
  CloseHandle(process.hProcess);
  return code;
}

Inherited_handle::Inherited_handle(void* handle) {
  HANDLE duplicate = nullptr;
  if (DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &duplicate, 0, TRUE, DUPLICATE_SAME_ACCESS)) {
    m_duplicate = duplicate;
  }
}

Inherited_handle::~Inherited_handle() {
  if (m_duplicate != nullptr) CloseHandle(m_duplicate);
}

std::string Inherited_handle::text() const { return std::to_string(reinterpret_cast<uintptr_t>(m_duplicate)); }

#else

namespace {

std::string helper_path() {
  std::string path(PATH_MAX, '\0');
  const ssize_t n = readlink("/proc/self/exe", path.data(), path.size());
  path.resize(n > 0 ? static_cast<size_t>(n) : 0);
  path.resize(path.find_last_of('/') + 1);
  return path + "nym_test_helper";
}

}  // namespace

// A reaper thread waits for the child, so that the test can wait for the reaper with a bound.
int run_helper(const std::vector<std::string>& args, std::chrono::milliseconds limit) {
  std::string path = helper_path();
  std::vector<std::string> owned(args);
  std::vector<char*> argv{path.data()};
  for (std::string& arg : owned) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  if (posix_spawn(&pid, path.c_str(), nullptr, nullptr, argv.data(), environ) != 0) return HELPER_NOT_STARTED;
  std::mutex mutex;
  std::condition_variable ended;
  int status = -1;
  std::thread reaper([&] {
    int s = 0;
    while (waitpid(pid, &s, 0) < 0 && errno == EINTR) {
    }
    std::lock_guard<std::mutex> hold(mutex);
    status = s;
    ended.notify_all();
  });
  std::unique_lock<std::mutex> hold(mutex);
  const bool in_time = ended.wait_for(hold, limit, [&] { return status != -1; });
  hold.unlock();
  if (!in_time) kill(pid, SIGKILL);
  reaper.join();
  if (!in_time) return HELPER_TIMED_OUT;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

#endif

}  // namespace nym_test
