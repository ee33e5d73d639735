// What the library asks of the system about the calling thread (internal):
// current_thread_win32.cpp and current_thread_posix.cpp.
#ifndef NYM_BASE_CURRENT_THREAD_H
#define NYM_BASE_CURRENT_THREAD_H

namespace nym::impl {

// The calling thread's identifier: unique among live threads, never 0 and never 0xFFFFFFFF
// (the "no thread" mark of the read-write semaphore).
unsigned int current_thread_id();

// Gives up the rest of the calling thread's time slice.
void yield_processor();

}  // namespace nym::impl

#endif
