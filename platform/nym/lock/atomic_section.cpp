#include "nym/atomic.h"

namespace nym::atomic {

Nym_critical section;

}  // namespace nym::atomic
