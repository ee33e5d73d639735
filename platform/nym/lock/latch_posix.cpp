#include <sched.h>

#include "nym/latch.h"

namespace nym {

void Nym_latch::wait() { sched_yield(); }

}  // namespace nym
