#include <sys/syscall.h>
#include <unistd.h>

#include "sync/current_thread.h"

namespace nym::impl {

// The kernel's thread id: unique among live threads like the Windows one, and bounded by
// pid_max (at most 2^22), so never the all-ones mark.
unsigned int current_thread_id() { return static_cast<unsigned int>(syscall(SYS_gettid)); }

}  // namespace nym::impl
