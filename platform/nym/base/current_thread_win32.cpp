#include <windows.h>

#include "base/current_thread.h"

namespace nym::impl {

// Thread ids are non-zero multiples of 4, so never the all-ones mark.
unsigned int current_thread_id() { return GetCurrentThreadId(); }

void yield_processor() { Sleep(0); }

}  // namespace nym::impl
