// Helpers the path tests share.
#ifndef NYM_TESTS_FILE_PATH_TEST_SUPPORT_H
#define NYM_TESTS_FILE_PATH_TEST_SUPPORT_H

#include "nym/path.h"
#include "test_helpers.h"

namespace nym_test {

// A path holding exactly `text`: assignment does not simplify, the constructor would.
inline const nym::Nym_path as_path(const nym::Wstring& text) {
  nym::Nym_path p;
  p = text;
  return p;
}

}  // namespace nym_test

#endif
