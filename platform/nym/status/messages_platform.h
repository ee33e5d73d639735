// Where the message classes meet the system's message tables (internal): messages_win32.cpp
// loads files and calls FormatMessageW; messages_posix.cpp stands for a system without
// message tables, where no file loads and no code has a system text.
#ifndef NYM_STATUS_MESSAGES_PLATFORM_H
#define NYM_STATUS_MESSAGES_PLATFORM_H

#include "nym/types.h"

namespace nym::impl {

// The insertion strings every lookup passes: one per possible argument of a status.
constexpr int MESSAGE_INSERTS = 8;

// Loads a message file by the system's ordinary search for libraries: its module, or null
// with the system's error code in `error`.
void* load_message_file(const Wstring& name, unsigned int& error);
void free_message_file(void* module) noexcept;
// The text of `code` from `module` and then the system's table, or from the system's table
// alone when `module` is null; `inserts` holds MESSAGE_INSERTS strings. False (and `text`
// empty) when no table has the code.
bool format_message_text(void* module, unsigned int code, const Wstring* inserts, Wstring& text);

}  // namespace nym::impl

#endif
