#include "base/current_thread.h"

#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace nym::impl {

namespace {

// Asked of the kernel once per thread: every buffer read asks twice. A forked child's one
// thread has a new id, so the child forgets the parent's.
thread_local unsigned int t_thread_id = 0;

void forget_thread_id() { t_thread_id = 0; }

}  // namespace

// The kernel's thread id: unique among live threads like the Windows one, and bounded by
// pid_max (at most 2^22), so never the all-ones mark.
unsigned int current_thread_id() {
  if (t_thread_id == 0) {
    static const int registered = pthread_atfork(nullptr, nullptr, forget_thread_id);
    (void)registered;
    t_thread_id = static_cast<unsigned int>(syscall(SYS_gettid));
  }
  return t_thread_id;
}

void yield_processor() { sched_yield(); }

}  // namespace nym::impl
