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
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>

#include "nym/file.h"
#include "resource_count.h"
#include "nym/mutex.h"
#include "nym/pipe.h"
#include "nym/profile_access.h"
#include "nym/utf.h"
#endif
#include "nym/event.h"
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

// rw-upgrade-deadlock <ms>: two threads holding a read lock both call write_lock and must stay
// blocked for <ms>, while this thread may still read and may not write. Exit codes: 1 an upgrade
// got through; 3 the readers did not get going within 10 s; 4 this thread was let write, or not
// let read. The blocked threads end with the process.
int rw_upgrade_deadlock(const Args& args) {
  unsigned long long ms = 0;
  if (!number_argument(args[0], ms) || ms > 600000) return 2;
  // Never destroyed: the blocked threads use them.
  auto* rw = new nym::Nym_read_write_semaphore;
  auto* readers = new std::atomic<int>(0);
  auto* both_reading = new nym::Nym_event;
  auto* go = new nym::Nym_event;
  auto* through = new nym::Nym_event;
  for (int i = 0; i < 2; ++i) {
    std::thread([=] {
      rw->read_lock();
      if (++*readers == 2) both_reading->signal();
      go->wait(10000);
      rw->write_lock();
      through->signal();
    }).detach();
  }
  if (!both_reading->wait(10000)) return 3;
  go->signal();
  if (!rw->try_read_lock()) return 4;
  rw->read_unlock();
  if (rw->try_write_lock()) return 4;
  return through->wait(static_cast<unsigned int>(ms)) ? 1 : 0;
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
// echo <pipe>: opens \\.\pipe\<pipe> as a Nym_named_pipe_client (waiting up to 20 s for the
// server to make it or to free an instance) and sends back what it reads until the server goes.
// Exit codes: 1 the output failed; 10 the pipe did not open within 20 s.
int echo(const Args& args) {
  std::unique_ptr<nym::Nym_pipe> pipe;
  nym::Wstring name;
  nym::nym_utf8_to_utf16(args[0].c_str(), name);
  for (const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20); !pipe; Sleep(5)) {
    nym::Nym_status status;
    auto client = std::make_unique<nym::Nym_named_pipe_client>(name, u".", nym::Nym_pipe_client_options(), status);
    if (status.ok()) pipe = std::move(client);
    if (!pipe && std::chrono::steady_clock::now() > limit) return 10;
  }
  unsigned char block[4096];
  nym::Nym_status status;
  for (nym::uint64 n = 0; (n = pipe->read(block, sizeof block, status)) != 0;) {
    if (pipe->write(block, n, status) != n) return 1;
  }
  return 0;
}

HANDLE handle_argument(const std::string& text) {
  unsigned long long value = 0;
  return number_argument(text, value) ? reinterpret_cast<HANDLE>(static_cast<uintptr_t>(value)) : nullptr;
}

// Signals the event <ready> and waits up to 20 s for <release>. Exit codes: 12 <release> did not
// come; 13 an event handle was refused.
int signal_and_wait(HANDLE ready, HANDLE release) {
  if (!SetEvent(ready)) return 13;
  const DWORD released = WaitForSingleObject(release, 20000);
  return released == WAIT_OBJECT_0 ? 0 : released == WAIT_TIMEOUT ? 12 : 13;
}

// mutex-handoff <name> <ready> <release>: the mutex of that name must be held (by the test);
// signals the event <ready>, takes the mutex, signals <ready> again and lets go once <release>
// is signalled. Exit codes: 10 the mutex was free; 11 it did not come within 20 s; 12, 13 as
// signal_and_wait.
int mutex_handoff(const Args& args) {
  const HANDLE ready = handle_argument(args[1]), release = handle_argument(args[2]);
  if (ready == nullptr || release == nullptr) return 2;
  nym::Wstring name;
  nym::nym_utf8_to_utf16(args[0].c_str(), name);
  nym::Nym_mutex mutex(name, false, nullptr);
  if (mutex.try_lock(0)) return 10;
  if (!SetEvent(ready)) return 13;
  if (!mutex.try_lock(20000)) return 11;
  const int code = signal_and_wait(ready, release);
  mutex.unlock();
  return code;
}

// Opens <path> through `file`, shared with every other opener, and asks once for the lock
// <shared|exclusive> <start> <length> into `status`. Exit codes: 0 asked; 2 a wrong call; 10 the
// file did not open.
int lock_region(const Args& args, nym::Nym_file& file, nym::Nym_status& status) {
  unsigned long long start = 0, length = 0;
  if ((args[1] != "shared" && args[1] != "exclusive") || !number_argument(args[2], start) ||
      !number_argument(args[3], length)) {
    return 2;
  }
  nym::Wstring path;
  nym::nym_utf8_to_utf16(args[0].c_str(), path);
  file.open(path, nym::NYM_FILE_OPEN_ALWAYS, nym::NYM_ACCESS_READ_WRITE, 0,
            nym::NYM_SHARE_READ | nym::NYM_SHARE_WRITE | nym::NYM_SHARE_DELETE, status);
  if (!status.ok()) return 10;
  status.clear();
  file.lock(args[1] == "shared" ? nym::NYM_LOCK_SHARED : nym::NYM_LOCK_EXCLUSIVE, static_cast<long long>(start),
            static_cast<long long>(length), 0, status);
  return 0;
}

// file-lock-hold <path> <shared|exclusive> <start> <length> <ready> <release>: locks the region
// through a Nym_file of its own, signals the event <ready> and holds the lock until <release> is
// signalled. Exit codes: 10 the file did not open; 11 the lock was refused; 12, 13 as
// signal_and_wait.
int file_lock_hold(const Args& args) {
  const HANDLE ready = handle_argument(args[4]), release = handle_argument(args[5]);
  if (ready == nullptr || release == nullptr) return 2;
  nym::Nym_file file;
  nym::Nym_status status;
  if (const int code = lock_region(args, file, status)) return code;
  if (status.is_error()) return 11;
  const int code = signal_and_wait(ready, release);
  file.unlock(std::stoll(args[2]), std::stoll(args[3]), status);
  return code;
}

// file-lock-try <path> <shared|exclusive> <start> <length>: one attempt to lock the region.
// Exit codes: 0 it was locked (and let go); 1 it is held elsewhere (the system's lock violation
// under NYM_S_LOCK_FAILED); 10 the file did not open; 11 any other answer.
int file_lock_try(const Args& args) {
  nym::impl::nym_set_lock_pause([](unsigned int) {});  // one attempt, without the second's wait
  nym::Nym_file file;
  nym::Nym_status status;
  if (const int code = lock_region(args, file, status)) return code;
  if (status.ok()) return 0;
  const bool held = status == nym::NYM_S_LOCK_FAILED && status.child() != nullptr &&
                    *status.child() == ERROR_LOCK_VIOLATION;
  return held ? 1 : 11;
}

int __cdecl own_new_handler(size_t) { return 0; }

// load-unload <copy-path>: loads and unloads a copy of nym2208.dll (a second instance) over
// new-mode 0 and a handler of this helper's. Exit codes: 10 no copy or load; 11 load didn't set
// mode 1 and its handler; 12 unload didn't put them back or left the copy; 13 a thread stayed.
int load_unload(const Args& args) {
  using Handler = int(__cdecl*)(size_t);
  const HMODULE crt = GetModuleHandleW(L"msvcrt.dll");
  auto find = [crt](const char* name) { return reinterpret_cast<void*>(GetProcAddress(crt, name)); };
  auto set_mode = reinterpret_cast<int(__cdecl*)(int)>(find("?_set_new_mode@@YAHH@Z"));
  auto query_mode = reinterpret_cast<int(__cdecl*)()>(find("?_query_new_mode@@YAHXZ"));
  auto set_handler = reinterpret_cast<Handler(__cdecl*)(Handler)>(find("?_set_new_handler@@YAP6AH_K@ZP6AH0@Z@Z"));
  auto query_handler = reinterpret_cast<Handler(__cdecl*)()>(find("?_query_new_handler@@YAP6AH_K@ZXZ"));
  wchar_t original[MAX_PATH];
  const std::wstring copy(args[0].begin(), args[0].end());  // the test passes an ASCII path
  if (!set_mode || !query_mode || !set_handler || !query_handler ||
      !GetModuleFileNameW(GetModuleHandleW(L"nym2208.dll"), original, MAX_PATH) ||
      !CopyFileW(original, copy.c_str(), FALSE)) {
    return 10;
  }
  set_mode(0);
  set_handler(own_new_handler);
  const nym_test::Resource_count before = nym_test::count_resources();
  const HMODULE library = LoadLibraryW(copy.c_str());
  const bool loaded_right = library != nullptr && query_mode() == 1 && query_handler() != own_new_handler;
  if (library != nullptr) FreeLibrary(library);
  const bool restored = query_mode() == 0 && query_handler() == own_new_handler && !GetModuleHandleW(copy.c_str());
  const nym_test::Resource_count after = nym_test::count_resources();
  DeleteFileW(copy.c_str());
  return library == nullptr ? 10 : !loaded_right ? 11 : !restored ? 12 : after.threads != before.threads ? 13 : 0;
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
    {"echo", 1, echo, "echo <pipe>"},
    {"mutex-handoff", 3, mutex_handoff, "mutex-handoff <name> <ready-handle> <release-handle>"},
    {"file-lock-hold", 6, file_lock_hold,
     "file-lock-hold <path> <shared|exclusive> <start> <length> <ready-handle> <release-handle>"},
    {"file-lock-try", 4, file_lock_try, "file-lock-try <path> <shared|exclusive> <start> <length>"},
    {"load-unload", 1, load_unload, "load-unload <copy-path>"},
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
