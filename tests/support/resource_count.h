// What a process holds, counted before and after a test so that leaks show: its threads, and its
// handles (Windows) or open file descriptors (the host); -1 where unknown.
#ifndef NYM_TEST_RESOURCE_COUNT_H
#define NYM_TEST_RESOURCE_COUNT_H

#if defined(_WIN32)
#include <windows.h>
#include <tlhelp32.h>
#else
#include <dirent.h>
#endif

namespace nym_test {

struct Resource_count {
  long threads = -1;
  long handles = -1;
};

#if defined(_WIN32)
inline Resource_count count_resources() {
  Resource_count count;
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  count.threads = snapshot == INVALID_HANDLE_VALUE ? -1 : 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count.threads;
  }
  if (snapshot != INVALID_HANDLE_VALUE) CloseHandle(snapshot);
  DWORD handles = 0;
  if (GetProcessHandleCount(GetCurrentProcess(), &handles)) count.handles = static_cast<long>(handles);
  return count;
}
#else
inline long entries_in(const char* folder) {
  DIR* dir = opendir(folder);
  long n = dir == nullptr ? -1 : 0;
  while (dir != nullptr && readdir(dir) != nullptr) ++n;
  if (dir != nullptr) closedir(dir);
  return n;  // "." and ".." included, before and after alike
}

inline Resource_count count_resources() { return {entries_in("/proc/self/task"), entries_in("/proc/self/fd")}; }
#endif

}  // namespace nym_test

#endif
