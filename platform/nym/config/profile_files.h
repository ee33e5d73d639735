// The operations on names that the profile editor's backup needs (internal): the one place to
// switch to Nym_file::move and Nym_file::remove. Windows only.
#ifndef NYM_CONFIG_PROFILE_FILES_H
#define NYM_CONFIG_PROFILE_FILES_H

#include "nym/status.h"

namespace nym::impl {

// Renames `from` to `to`, which must not exist: 0xC2000021 (to) if it does, else the system's
// code; either with 0xC2000023 (from, to) on top.
void profile_move_file(const Wstring& from, const Wstring& to, Nym_status& status);
// Removes the file; a path where nothing is is no error. The system's code with 0xC2000024
// (path) on top.
void profile_remove_file(const Wstring& path, Nym_status& status);

}  // namespace nym::impl

#endif
