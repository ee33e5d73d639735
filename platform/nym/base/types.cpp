#include <cstring>

#include "nym/types.h"

namespace nym {

const uint64 NYM_NPOS = ~uint64(0);

bool nym_guid_equal(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }

}  // namespace nym
