#include <windows.h>

#include "sync/current_thread.h"

namespace nym::impl {

// Thread ids are multiples of 4, so never the all-ones mark.
unsigned int current_thread_id() { return GetCurrentThreadId(); }

}  // namespace nym::impl
