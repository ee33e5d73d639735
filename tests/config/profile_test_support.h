// What the profile tests and the fuzz target share.
#ifndef NYM_TESTS_CONFIG_PROFILE_TEST_SUPPORT_H
#define NYM_TESTS_CONFIG_PROFILE_TEST_SUPPORT_H

#include <string>

#include "config/profile_format.h"
#include "nym/unicode.h"

namespace nym_test {

// The bytes of 16-bit text as it stands in memory: little-endian on both builds.
inline std::string bytes_of(const nym::Wstring& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(nym::Wchar));
}

// Escapes undo; a line of a key and a value (no white space at their ends, no comment) splits
// back into them; a header's name lies inside its line. The first half of `text` is the key.
inline bool profile_rules_hold(const nym::Wstring& text) {
  using namespace nym::impl;
  const auto trimmed = [](nym::Wstring t) { return nym::nym_trim(t), t; };
  const nym::Wstring key = text.substr(0, text.size() / 2), value = text.substr(text.size() / 2);
  if (profile_unescape(profile_escape(value)) != value || profile_unescape(profile_escape_key(key)) != key) return false;
  nym::Wstring k, v, name;
  if (profile_header(text, name) && name.size() + 2 > text.size()) return false;
  if (profile_is_comment(key) || trimmed(key) != key || trimmed(value) != value) return true;
  const nym::Wstring line = profile_entry_line({key, value});
  profile_split_line(line, k, v);
  return line.find_first_of(u"\r\n") == nym::Wstring::npos && k == key && v == value;
}

}  // namespace nym_test

#endif
