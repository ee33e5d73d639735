// What a buffer asks of the system (internal): buffer_win32.cpp and buffer_posix.cpp.
#ifndef NYM_BUFFER_BUFFER_PLATFORM_H
#define NYM_BUFFER_BUFFER_PLATFORM_H

namespace nym::impl {

// Processors available to the process (at least 1).
unsigned int buffer_processor_count();
// Gives up the rest of the time slice.
void buffer_yield();
// Releases a waiter entry that no signal() will reach (the buffer is being destroyed).
void buffer_discard_waiter(void* waiter);

}  // namespace nym::impl

#endif
