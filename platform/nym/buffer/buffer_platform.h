// What a buffer asks of the system (internal): buffer_win32.cpp and buffer_posix.cpp.
//
// A waiter lets one thread sleep until another wakes it. It is made by the thread that will
// sleep, handed to a list under the buffer's spin word, and woken (or discarded) from that
// list; a wake that comes before the sleep is kept, so the sleep then ends at once.
#ifndef NYM_BUFFER_BUFFER_PLATFORM_H
#define NYM_BUFFER_BUFFER_PLATFORM_H

#include <cstdint>

namespace nym::impl {

// Processors available to the process (at least 1).
unsigned int buffer_processor_count();
// A waiter for the calling thread, or null if none can be made (the caller then polls).
void* buffer_new_waiter();
// Frees a waiter that was never handed to a list.
void buffer_free_waiter(void* waiter);
// Sleeps until the waiter is woken (at once if it was woken already). May end early on the
// platform's other wake-ups: callers look again after it.
void buffer_sleep(void* waiter);
// Wakes a listed waiter's thread; the list lets go of it.
void buffer_wake(void* waiter);
// Lets go of a listed waiter that no wake will reach (the buffer is being destroyed, or the
// sleeper took itself off the list).
void buffer_discard_waiter(void* waiter);

}  // namespace nym::impl

#endif
