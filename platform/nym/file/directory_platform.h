// What directories and the file operations ask of the system (internal): directory_win32.cpp.
// Each call that can fail answers false with the system's code in the status. A path holding
// U+0000 is refused (the system's code for a bad name) rather than cut short at it, which
// would act on another path.
#ifndef NYM_FILE_DIRECTORY_PLATFORM_H
#define NYM_FILE_DIRECTORY_PLATFORM_H

#include "nym/status.h"
#include "nym/types.h"

namespace nym::impl {

// The attribute bits the library looks at.
constexpr unsigned int ENTRY_READ_ONLY = 0x01;
constexpr unsigned int ENTRY_DIRECTORY = 0x10;
constexpr unsigned int ENTRY_LINK = 0x400;  // a reparse point: junction or symbolic link
constexpr unsigned int NO_MORE_FILES = 18;  // the system's normal end of a scan

// FindFirstFileW / FindNextFileW: the entry's name and attributes; FindClose.
bool find_first(const Wstring& pattern, void*& handle, Wstring& name, unsigned int& attributes, Nym_status& status);
bool find_next(void* handle, Wstring& name, unsigned int& attributes, Nym_status& status);
void find_close(void* handle);

bool make_directory(const Wstring& path, Nym_status& status);
bool remove_directory(const Wstring& path, Nym_status& status);
bool move_path(const Wstring& from, const Wstring& to, Nym_status& status);
bool copy_path(const Wstring& from, const Wstring& to, bool fail_if_exists, Nym_status& status);
bool delete_path(const Wstring& path, Nym_status& status);
bool path_attributes(const Wstring& path, unsigned int& attributes, Nym_status& status);
bool set_path_attributes(const Wstring& path, unsigned int attributes, Nym_status& status);

// GetCurrentDirectoryW at whatever length it needs; empty on failure.
Wstring current_directory();
unsigned int current_process_id();
// _wgetenv: false when the variable isn't set.
bool environment_value(const char16_t* name, Wstring& value);
// The value TMP of HKEY_USERS\.DEFAULT\Environment: false when the key or the value can't be
// read; REG_EXPAND_SZ expanded, REG_SZ as it stands, any other type the empty text.
bool default_user_temp(Wstring& text);

}  // namespace nym::impl

#endif
