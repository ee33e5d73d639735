// What Nym_file_system asks the system (internal): file_system_win32.cpp.
#ifndef NYM_FILE_FILE_SYSTEM_PLATFORM_H
#define NYM_FILE_FILE_SYSTEM_PLATFORM_H

#include "nym/status.h"
#include "nym/types.h"

namespace nym::impl {

// GetDriveTypeW's answer for the root; an empty root means the current directory's volume.
unsigned int system_drive_type(const Wstring& root);
// Total, total free and caller-available bytes; on failure false, the outputs untouched and
// the system's code in the status.
bool volume_stats(const Wstring& root, int64& total, int64& free, int64& available, Nym_status& status);

}  // namespace nym::impl

#endif
