// Helpers the path tests share.
#ifndef NYM_TESTS_FILE_PATH_TEST_SUPPORT_H
#define NYM_TESTS_FILE_PATH_TEST_SUPPORT_H

#include <string>

#include "nym/path.h"
#include "nym/string_basic.h"

namespace nym_test {

// A path holding exactly `text`: assignment does not simplify, the constructor would.
inline const nym::Nym_path as_path(const nym::Wstring& text) {
  nym::Nym_path p;
  p = text;
  return p;
}

// UTF-8 for failure messages.
inline std::string u8(const nym::Wstring& text) {
  std::string out;
  nym::nym_string_append(out, text.c_str());
  return out;
}

}  // namespace nym_test

#endif
