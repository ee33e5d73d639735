// What Nym_file asks the system (internal): file_win32.cpp. Each call that can fail answers
// false with the system's code in the status; a closed handle (all ones) fails with the code
// for an invalid handle without reaching the system.
#ifndef NYM_FILE_FILE_PLATFORM_H
#define NYM_FILE_FILE_PLATFORM_H

#include <cstdint>
#include <ctime>

#include "nym/status.h"
#include "nym/types.h"

namespace nym {
class Nym_security;
}

namespace nym::impl {

void* const CLOSED_HANDLE = reinterpret_cast<void*>(~std::uintptr_t{0});

// CreateFileW with the platform's access, share, disposition and flag values.
bool file_create(const Wstring& path, unsigned int access, unsigned int share, Nym_security* security,
                 unsigned int disposition, unsigned int flags, void*& handle, Nym_status& status);
void file_close(void* handle);
// ReadFile / WriteFile of at most 0xFFFFFFFF bytes; `done` is set in every case.
bool file_read(void* handle, void* buffer, unsigned int count, unsigned int& done, Nym_status& status);
bool file_write(void* handle, const void* buffer, unsigned int count, unsigned int& done, Nym_status& status);
// Ends the process at once, for the write fault's `stop`.
[[noreturn]] void file_stop_process();
// SetFilePointerEx: origin 0 start, 1 current, 2 end; the new position in `position`.
bool file_seek(void* handle, int64 offset, int origin, int64& position, Nym_status& status);
bool file_size(void* handle, int64& size);
bool file_flush(void* handle, Nym_status& status);
bool file_set_end(void* handle, Nym_status& status);

// A file time as the calendar and clock fields of the system's reading.
struct File_stamp {
  int year, month, day, hour, minute, second, milliseconds;
};
enum File_time_kind { FILE_CREATED = 0, FILE_ACCESSED = 1, FILE_MODIFIED = 2 };
// GetFileTime and FileTimeToSystemTime.
bool file_time(void* handle, File_time_kind kind, File_stamp& stamp);
// GetVolumeInformationW's file-system name; an empty root asks about the current directory's.
bool system_file_system_name(const Wstring& root, Wstring& name);
// _wstat64: the size, and a time as _localtime64 reads it.
bool path_size(const Wstring& path, int64& size);
bool path_time(const Wstring& path, File_time_kind kind, std::tm& local);

// One attempt of LockFileEx (never waiting) and UnlockFileEx, over `length` bytes from `start`.
bool file_lock_region(void* handle, int64 start, unsigned int length, bool exclusive, Nym_status& status);
bool file_unlock_region(void* handle, int64 start, unsigned int length, Nym_status& status);
void system_pause(unsigned int milliseconds);

}  // namespace nym::impl

#endif
