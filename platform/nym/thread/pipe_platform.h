// The system calls under the handle-based pipes (internal): pipe_win32.cpp over kernel handles,
// pipe_posix.cpp over file descriptors. Each call reports the system's code of a failure in
// `error`.
#ifndef NYM_THREAD_PIPE_PLATFORM_H
#define NYM_THREAD_PIPE_PLATFORM_H

#include "nym/types.h"

namespace nym {
class Nym_security;
}

namespace nym::impl {

// Both ends of a new anonymous pipe.
bool pipe_create(void*& read_end, void*& write_end, Nym_security* security, unsigned int& error);
// One blocking read of 1 to 2^32-1 bytes; `done` is what the system reported read. The write
// end gone with the pipe empty is a failure.
bool pipe_read_once(void* handle, unsigned char* buffer, unsigned int size, unsigned int& done, unsigned int& error);
// Writes all `size` bytes (in as many calls as the system needs); `done` counts what went.
bool pipe_write_all(void* handle, const unsigned char* buffer, uint64 size, uint64& done, unsigned int& error);
void pipe_close(void* handle) noexcept;

}  // namespace nym::impl

#endif
