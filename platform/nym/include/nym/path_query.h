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

// Whether the path exists and may be opened for `access`: read, write, or both for
// NYM_ACCESS_READ_WRITE and NYM_ACCESS_ALL; any other value asks only whether it exists.
NYM_API bool nym_access(const Wstring& path, Nym_file_access access);
// What lies at the path; an empty path is NYM_TYPE_NONE. A directory is found with or
// without a trailing separator.
NYM_API Nym_type nym_type(const Wstring& path);

}  // namespace nym

#endif
