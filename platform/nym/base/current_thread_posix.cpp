#include "base/current_thread.h"

#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace nym::impl {

// The kernel's thread id: unique among live threads like the Windows one, and bounded by
// pid_max (at most 2^22), so never the all-ones mark.
unsigned int current_thread_id() { return static_cast<unsigned int>(syscall(SYS_gettid)); }

void yield_processor() { sched_yield(); }

}  // namespace nym::impl
