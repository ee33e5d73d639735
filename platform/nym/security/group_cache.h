// The library's one group cache (internal).
#ifndef NYM_SECURITY_GROUP_CACHE_H
#define NYM_SECURITY_GROUP_CACHE_H

#include "nym/acl.h"

namespace nym::impl {

// Made on first use, from any thread; destroyed when the library unloads.
Nym_acl_group_cache& library_group_cache();

// A copy of `from` that shares no argument list and no chain with it, so that it may pass to
// another thread while `from` stays in use.
Nym_status detached_copy(const Nym_status& from);

}  // namespace nym::impl

#endif
