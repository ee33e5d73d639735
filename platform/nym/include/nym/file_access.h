// Nym_file_access: how a file is to be opened, shared by the file, the file buffer and
// nym_access. The type holds any int: Nym_file's long open asks for no access at all for a
// value outside the list, and nym_access only for existence.
#ifndef NYM_FILE_ACCESS_H
#define NYM_FILE_ACCESS_H

namespace nym {

enum Nym_file_access : int {
  NYM_ACCESS_READ = 0,        // GENERIC_READ
  NYM_ACCESS_WRITE = 1,       // GENERIC_WRITE
  NYM_ACCESS_READ_WRITE = 2,  // both
  NYM_ACCESS_ALL = 3          // GENERIC_ALL
};

}  // namespace nym

#endif
