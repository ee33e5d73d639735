#include <windows.h>

#include "nym/latch.h"

namespace nym {

void Nym_latch::wait() { Sleep(0); }

}  // namespace nym
