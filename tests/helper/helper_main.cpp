// nym_test_helper: the tests' child process, one subcommand per job:
//   nym_test_helper <subcommand> <arguments...>
// The exit code is the answer: 0 done as asked, 2 a wrong call, and each subcommand's own codes
// for what went wrong. Tests start it with nym_test::run_helper, which waits with a bound.
//
// To add a subcommand: write `int name(const Args& args)` below with its exit codes in its
// comment, and add a row to COMMANDS (name, number of arguments, usage). Bound every wait, so
// that a test that gave up leaves no helper behind; take kernel objects of the test as
// inherited handles in decimal (nym_test::Inherited_handle on the test's side, handle_argument
// here).
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>

#include "nym/file.h"
#include "nym/mutex.h"
#include "nym/profile_access.h"
#include "nym/utf.h"
#endif
#include "nym/read_write_semaphore.h"

namespace {

using Args = std::vector<std::string>;
using std::chrono::milliseconds;

// A whole decimal number, or false.
bool number_argument(const std::string& text, unsigned long long& value) {
  if (text.empty() || text.size() > 19 || text.find_first_not_of("0123456789") != std::string::npos) return false;
  value = std::strtoull(text.c_str(), nullptr, 10);
  return true;
}

// A count that threads raise and another awaits with a bound.
class Count {
 public:
  void raise() {
    std::lock_guard<std::mutex> hold(m_mutex);
    ++m_count;
    m_raised.notify_all();
  }
  bool wait_for(int count, milliseconds limit) {
    std::unique_lock<std::mutex> hold(m_mutex);
    return m_raised.wait_for(hold, limit, [&] { return m_count >= count; });
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_raised;
  int m_count = 0;
};

// rw-upgrade-deadlock <ms>: two threads holding a read lock both call write_lock and must stay
// blocked for <ms>, while this thread may still read and may not write. Exit codes: 1 an upgrade
// got through; 3 the readers did not get going within 10 s; 4 this thread was let write, or not
// let read. The blocked threads end with the process.
int rw_upgrade_deadlock(const Args& args) {
  unsigned long long ms = 0;
  if (!number_argument(args[0], ms)) return 2;
  auto* rw = new nym::Nym_read_write_semaphore;  // never destroyed: blocked threads use it
  auto* reading = new Count;
  auto* through = new Count;
  for (int i = 0; i < 2; ++i) {
    std::thread([=] {
      rw->read_lock();
      reading->raise();
      reading->wait_for(3, std::chrono::seconds(10));
      rw->write_lock();
      through->raise();
    }).detach();
  }
  if (!reading->wait_for(2, std::chrono::seconds(10))) return 3;
  reading->raise();
  if (!rw->try_read_lock()) return 4;
  rw->read_unlock();
  if (rw->try_write_lock()) return 4;
  return through->wait_for(1, milliseconds(ms)) ? 1 : 0;
}

// sleep <ms>: sleeps, then exits with 0.
int sleep_for(const Args& args) {
  unsigned long long ms = 0;
  if (!number_argument(args[0], ms)) return 2;
  std::this_thread::sleep_for(milliseconds(ms));
  return 0;
}

// exit <code>: exits with <code>, a decimal that may be negative (-1 exits with 0xFFFFFFFF).
int exit_with(const Args& args) {
  const bool negative = !args[0].empty() && args[0][0] == '-';
  unsigned long long value = 0;
  if (!number_argument(args[0].substr(negative ? 1 : 0), value) || value > 0x80000000ull) return 2;
  return negative ? static_cast<int>(-static_cast<long long>(value)) : static_cast<int>(static_cast<unsigned int>(value));
}

#if defined(_WIN32)
// echo: copies its standard input to its standard output, byte for byte, until the input ends.
// Exit code 1: the output failed.
int echo(const Args&) {
  char block[4096];
  DWORD n = 0, written = 0;
  while (ReadFile(GetStdHandle(STD_INPUT_HANDLE), block, sizeof block, &n, nullptr) && n != 0) {
    for (DWORD done = 0; done < n; done += written) {
      if (!WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), block + done, n - done, &written, nullptr)) return 1;
    }
  }
  return 0;
}

// pipe-write <name> <text>: opens \\.\pipe\<name> for writing (waiting up to 20 s for the
// server to make it or to free an instance), writes <text> and closes. Exit codes: 10 the pipe
// did not open within 20 s; 11 the write failed.
int pipe_write(const Args& args) {
  nym::Wstring name;
  nym::nym_utf8_to_utf16(("\\\\.\\pipe\\" + args[0]).c_str(), name);
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  HANDLE pipe = INVALID_HANDLE_VALUE;
  while (pipe == INVALID_HANDLE_VALUE) {
    pipe = CreateFileW(reinterpret_cast<const wchar_t*>(name.c_str()), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                       nullptr);
    if (pipe != INVALID_HANDLE_VALUE) break;
    if (std::chrono::steady_clock::now() > limit) return 10;
    if (GetLastError() == ERROR_PIPE_BUSY) {
      WaitNamedPipeW(reinterpret_cast<const wchar_t*>(name.c_str()), 1000);
    } else {
      Sleep(5);  // the server has not made the pipe yet
    }
  }
  DWORD written = 0;
  const bool ok = WriteFile(pipe, args[1].data(), static_cast<DWORD>(args[1].size()), &written, nullptr) &&
                  written == args[1].size();
  CloseHandle(pipe);
  return ok ? 0 : 11;
}

HANDLE handle_argument(const std::string& text) {
  unsigned long long value = 0;
  return number_argument(text, value) ? reinterpret_cast<HANDLE>(static_cast<uintptr_t>(value)) : nullptr;
}

// mutex-handoff <name> <ready> <release>: the mutex of that name must be held (by the test);
// signals the event <ready>, takes the mutex, signals <ready> again and lets go once <release>
// is signalled. Exit codes: 10 the mutex was free; 11 it did not come within 20 s; 12 <release>
// did not come within 20 s; 13 an event handle was refused.
int mutex_handoff(const Args& args) {
  const HANDLE ready = handle_argument(args[1]), release = handle_argument(args[2]);
  if (ready == nullptr || release == nullptr) return 2;
  nym::Wstring name;
  nym::nym_utf8_to_utf16(args[0].c_str(), name);
  nym::Nym_mutex mutex(name, false, nullptr);
  if (mutex.try_lock(0)) return 10;
  if (!SetEvent(ready)) return 13;
  if (!mutex.try_lock(20000)) return 11;
  if (!SetEvent(ready)) return 13;
  const DWORD released = WaitForSingleObject(release, 20000);
  mutex.unlock();
  return released == WAIT_OBJECT_0 ? 0 : released == WAIT_TIMEOUT ? 12 : 13;
}

// The file and region of the file-lock subcommands: <path> <shared|exclusive> <start> <length>.
struct Region {
  nym::Wstring path;
  nym::Nym_file_lock type;
  long long start, length;
};

bool region_arguments(const Args& args, Region& region) {
  unsigned long long start = 0, length = 0;
  if ((args[1] != "shared" && args[1] != "exclusive") || !number_argument(args[2], start) ||
      !number_argument(args[3], length)) {
    return false;
  }
  nym::nym_utf8_to_utf16(args[0].c_str(), region.path);
  region.type = args[1] == "shared" ? nym::NYM_LOCK_SHARED : nym::NYM_LOCK_EXCLUSIVE;
  region.start = static_cast<long long>(start);
  region.length = static_cast<long long>(length);
  return true;
}

bool open_shared(nym::Nym_file& file, const nym::Wstring& path) {
  nym::Nym_status status;
  file.open(path, nym::NYM_FILE_OPEN_ALWAYS, nym::NYM_ACCESS_READ_WRITE, 0,
            nym::NYM_SHARE_READ | nym::NYM_SHARE_WRITE | nym::NYM_SHARE_DELETE, status);
  return status.ok();
}

// file-lock-hold <path> <shared|exclusive> <start> <length> <ready> <release>: locks the region
// through a Nym_file of its own, signals the event <ready> and holds the lock until <release> is
// signalled. Exit codes: 10 the file did not open; 11 the lock was refused; 12 <release> did not
// come within 20 s; 13 an event handle was refused.
int file_lock_hold(const Args& args) {
  Region region;
  const HANDLE ready = handle_argument(args[4]), release = handle_argument(args[5]);
  if (!region_arguments(args, region) || ready == nullptr || release == nullptr) return 2;
  nym::Nym_file file;
  if (!open_shared(file, region.path)) return 10;
  nym::Nym_status status;
  file.lock(region.type, region.start, region.length, 0, status);
  if (status.is_error()) return 11;
  if (!SetEvent(ready)) return 13;
  const DWORD released = WaitForSingleObject(release, 20000);
  file.unlock(region.start, region.length, status);
  return released == WAIT_OBJECT_0 ? 0 : released == WAIT_TIMEOUT ? 12 : 13;
}

// file-lock-try <path> <shared|exclusive> <start> <length>: one attempt to lock the region.
// Exit codes: 0 it was locked (and let go); 1 it is held elsewhere (the system's lock violation
// under NYM_S_LOCK_FAILED); 10 the file did not open; 11 any other answer.
int file_lock_try(const Args& args) {
  Region region;
  if (!region_arguments(args, region)) return 2;
  nym::Nym_file file;
  if (!open_shared(file, region.path)) return 10;
  nym::impl::nym_set_lock_pause([](unsigned int) {});  // one attempt, without the second's wait
  nym::Nym_status status;
  file.lock(region.type, region.start, region.length, 0, status);
  if (status.ok()) return 0;
  const bool held = status == nym::NYM_S_LOCK_FAILED && status.child() != nullptr &&
                    *status.child() == ERROR_LOCK_VIOLATION;
  return held ? 1 : 11;
}

// The profile crash's write fault: writes to one path stop the process after so many bytes.
nym::Wstring g_fault_path;
unsigned long long g_fault_bytes = 0;

nym::uint64 cut_write(const nym::Wstring& path, nym::uint64 count, bool& stop) {
  if (path != g_fault_path || count <= g_fault_bytes) {
    g_fault_bytes -= path == g_fault_path ? count : 0;
    return count;
  }
  stop = true;
  return g_fault_bytes;
}

// profile-crash <path> <moment> <bytes>: two commits, inserting k1=v1 and then k2=3000 x's at the
// head of the first section, dying in the second: after <bytes> bytes to the backup ("backup")
// or to the profile ("write"), or after the commit ("commit"). Exit codes: 70 died as asked; 10
// the profile did not open; 11 an operation failed; 12 lived on.
int profile_crash(const Args& args) {
  nym::Wstring path;
  nym::nym_utf8_to_utf16(args[0].c_str(), path);
  if (!number_argument(args[2], g_fault_bytes)) return 2;
  nym::Nym_status status;
  nym::Nym_profile_access profile(path, nym::NYM_FILE_MUST_EXIST, nym::NYM_ACCESS_READ_WRITE, status);
  if (status.is_error()) return 10;
  const std::pair<nym::Wstring, nym::Wstring> edits[] = {{u"k1", u"v1"}, {u"k2", nym::Wstring(3000, u'x')}};
  for (const auto& edit : edits) {
    profile.reset_section_position(status);
    if (status.ok()) profile.insert_entry(edit, status);
    if (status.is_error()) return 11;
    if (&edit == &edits[1] && (args[1] == "backup" || args[1] == "write")) {
      g_fault_path = args[1] == "backup" ? path + u".bak" : path;
      nym::impl::nym_set_write_fault(cut_write);
    }
    profile.commit_changes(status);
    if (status.is_error()) return 11;
  }
  if (args[1] == "commit") TerminateProcess(GetCurrentProcess(), 70);
  return 12;
}
#endif

struct Command {
  const char* name;
  size_t arguments;
  int (*run)(const Args&);
  const char* usage;
};

const Command COMMANDS[] = {
    {"rw-upgrade-deadlock", 1, rw_upgrade_deadlock, "rw-upgrade-deadlock <ms>"},
    {"sleep", 1, sleep_for, "sleep <ms>"},
    {"exit", 1, exit_with, "exit <code>"},
#if defined(_WIN32)
    {"echo", 0, echo, "echo"},
    {"pipe-write", 2, pipe_write, "pipe-write <name> <text>"},
    {"mutex-handoff", 3, mutex_handoff, "mutex-handoff <name> <ready-handle> <release-handle>"},
    {"file-lock-hold", 6, file_lock_hold,
     "file-lock-hold <path> <shared|exclusive> <start> <length> <ready-handle> <release-handle>"},
    {"file-lock-try", 4, file_lock_try, "file-lock-try <path> <shared|exclusive> <start> <length>"},
    {"profile-crash", 3, profile_crash, "profile-crash <path> <backup|write|commit> <bytes>"},
#endif
};

}  // namespace

int main(int argc, char** argv) {
  for (const Command& command : COMMANDS) {
    if (argc != static_cast<int>(command.arguments) + 2 || std::strcmp(argv[1], command.name) != 0) continue;
    const int code = command.run(Args(argv + 2, argv + argc));
    std::fflush(nullptr);
    std::_Exit(code);  // threads a subcommand left blocked end here, without destructors
  }
  std::fprintf(stderr, "usage: nym_test_helper <subcommand> <arguments...>\n");
  for (const Command& command : COMMANDS) std::fprintf(stderr, "  %s\n", command.usage);
  return 2;
}
