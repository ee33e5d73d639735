// What Nym_thread needs of the system (internal): thread_win32.cpp and thread_posix.cpp.
#ifndef NYM_THREAD_THREAD_PLATFORM_H
#define NYM_THREAD_THREAD_PLATFORM_H

#include <map>

#include "nym/critical.h"

namespace nym {
class Nym_security;
class Nym_thread;
}

namespace nym::impl {

// The process's registry of threads: life_lock serialises the start and end of threads,
// map_lock guards the map; always taken in that order.
struct Thread_registry {
  Nym_critical life_lock;
  Nym_critical map_lock;
  std::map<unsigned int, Nym_thread*> map;
};
Thread_registry& thread_registry();

// The creation attributes of `security`, or null for the system's default.
void* thread_attributes(Nym_security* security);
// The runtime's thread creation: the handle, or null with errno set.
void* thread_create(void* security_attributes, unsigned (*entry)(void*), void* argument, unsigned int* thread_id);
void thread_close(void* handle) noexcept;

enum class Thread_wait { ended, timed_out, failed };
// 0xFFFFFFFF waits without limit; a failure's system code goes to `error`.
Thread_wait thread_wait(void* handle, unsigned int timeout, unsigned int& error);

// In the new thread, before anything else: hardware faults as exceptions.
void thread_take_faults();
// In the new thread: the component runtime's initialisation; true when it answered 0.
bool thread_init_com(int model);

// 0 gives up the rest of the time slice.
void thread_sleep(unsigned int milliseconds);

}  // namespace nym::impl

#endif
