// The atomics (nym/interlocked.h) and `atomic::section`, a process-wide Nym_critical that the
// library itself never takes: it is there for callers who need one lock over non-atomic
// updates.
#ifndef NYM_ATOMIC_H
#define NYM_ATOMIC_H

#include "nym/critical.h"
#include "nym/interlocked.h"

namespace nym::atomic {

extern NYM_API Nym_critical section;

}  // namespace nym::atomic

#endif
