// What nym_access and nym_type ask of the system (internal): path_query_win32.cpp and
// path_query_posix.cpp.
#ifndef NYM_BUFFER_PATH_QUERY_PLATFORM_H
#define NYM_BUFFER_PATH_QUERY_PLATFORM_H

#include "nym/types.h"

namespace nym::impl {

// The kinds of st_mode, as the Windows run-time gives them.
constexpr unsigned int PATH_MODE_DIRECTORY = 0x4000;
constexpr unsigned int PATH_MODE_CHARACTER = 0x2000;
constexpr unsigned int PATH_MODE_PIPE = 0x1000;
constexpr unsigned int PATH_MODE_REGULAR = 0x8000;

// The system's separator, which nym_type takes off or adds on its second try.
Wchar path_separator();
bool path_is_separator(Wchar unit);
// The kind bits of what lies at `path`, false if it can't be examined.
bool path_mode(const Wstring& path, unsigned int& mode);
// Whether `path` may be accessed: mode 0 exists, 2 write, 4 read, 6 both.
bool path_accessible(const Wstring& path, int mode);

}  // namespace nym::impl

#endif
