// Two small questions about a path: may it be accessed in a way, and what lies there.
#ifndef NYM_PATH_QUERY_H
#define NYM_PATH_QUERY_H

#include "nym/file_access.h"
#include "nym/types.h"

namespace nym {

// What lies at a path.
enum Nym_type {
  NYM_TYPE_NONE = 0,       // no such path, or it can't be examined
  NYM_TYPE_FILE = 1,       // a regular file, or any kind not named below
  NYM_TYPE_DIRECTORY = 2,
  NYM_TYPE_CHARACTER_DEVICE = 3,
  NYM_TYPE_PIPE = 4
};

// The C run-time's _waccess: whether the path exists and, for write access, isn't marked
// read-only. No ACL is consulted, so true doesn't promise that an open succeeds. Read, write,
// both for NYM_ACCESS_READ_WRITE and NYM_ACCESS_ALL; any other value asks only for existence.
NYM_API bool nym_access(const Wstring& path, Nym_file_access access);
// What lies at the path; an empty path is NYM_TYPE_NONE. A directory is found with or
// without a trailing separator.
NYM_API Nym_type nym_type(const Wstring& path);

}  // namespace nym

#endif
