// The calling thread's identifier as the read-write semaphore keeps it (internal):
// current_thread_win32.cpp and current_thread_posix.cpp. Never 0xFFFFFFFF, the "no thread" mark.
#ifndef NYM_SYNC_CURRENT_THREAD_H
#define NYM_SYNC_CURRENT_THREAD_H

namespace nym::impl {

unsigned int current_thread_id();

}  // namespace nym::impl

#endif
