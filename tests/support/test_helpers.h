// Small helpers the test suites share.
#ifndef NYM_TEST_HELPERS_H
#define NYM_TEST_HELPERS_H

#include <exception>
#include <string>

#include "nym/string_basic.h"

namespace nym_test {

// The text of the exception that f raises, or "(nothing raised)".
template <class F>
std::string what_of(F&& f) {
  try {
    f();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "(nothing raised)";
}

// Wide text as UTF-8, so that failures print readably.
inline std::string utf8(const nym::Wstring& wide) {
  std::string narrow;
  nym::nym_string_append(narrow, wide.c_str());
  return narrow;
}

// value.to_string(format, out) as UTF-8, so that failures print readably.
template <class T>
std::string text(const T& value, const char16_t* format) {
  nym::Wstring out = u"junk";
  value.to_string(format, out);
  return utf8(out);
}

}  // namespace nym_test

#endif
