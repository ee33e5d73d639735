// The UTF differential harness of the unit tests and the fuzz target: whole-text conversions, their
// bounded form, appending and every kernel must give what the walkers give and stop where they
// stop. Each check answers the first difference it finds, or an empty text.
#ifndef NYM_TEST_UTF_HARNESS_H
#define NYM_TEST_UTF_HARNESS_H

#include <cstring>
#include <string>

#include "nym/string_basic.h"
#include "nym/utf.h"
#include "text/utf_walk.h"

namespace nym_test {

inline const unsigned char* utf8_bytes(const std::string& s) { return reinterpret_cast<const unsigned char*>(s.data()); }

// UTF-8 to UTF-16: `text` as terminated text, its first `bound` bytes (a sequence started before
// the bound takes its continuation past it), and each kernel over [0, bound), NULs included.
inline std::string check_utf8(const std::string& text, std::size_t bound) {
  using namespace nym;
  const unsigned char* const p = utf8_bytes(text);
  const std::size_t terminated = std::strlen(text.c_str());
  Wstring walked;
  impl::utf8_to_utf16_walk(p, p + terminated, walked);
  Wstring fast = u"stale";
  nym_utf8_to_utf16(text.c_str(), fast);
  if (fast != walked) return "nym_utf8_to_utf16 differs from the walk";
  if (fast.size() > terminated) return "more units than bytes";
  Wstring appended = u"pre";
  nym_string_append(appended, text.c_str());
  if (appended != u"pre" + fast) return "nym_string_append differs from nym_utf8_to_utf16";
  const auto* nul = static_cast<const unsigned char*>(std::memchr(p, 0, bound));
  walked.clear();
  impl::utf8_to_utf16_walk(p, nul != nullptr ? nul : p + bound, walked);
  nym_utf8_to_utf16(text.c_str(), bound, fast);
  if (fast != walked) return "the bounded nym_utf8_to_utf16 differs from the walk at bound " + std::to_string(bound);
  walked.clear();
  const unsigned char* const walk_end = impl::utf8_to_utf16_walk(p, p + bound, walked);
  for (const impl::Utf_kernel k : impl::ALL_UTF_KERNELS) {
    if (!impl::utf_kernel_supported(k)) continue;
    Wstring out = u"x";  // the kernels append
    const char* const name = impl::utf_kernel_name(k);
    if (impl::utf8_to_utf16_append(p, p + bound, out, k) != walk_end) return std::string(name) + " stops elsewhere";
    if (out != u"x" + walked) return std::string(name) + " differs at bound " + std::to_string(bound);
  }
  return {};
}

// UTF-16 to UTF-8: `text` as terminated text, and each kernel over all of it. Well-formed text
// comes back from UTF-8 unchanged, and the character walk sees the code points of the whole one.
inline std::string check_utf16(const nym::Wstring& text) {
  using namespace nym;
  const Wstring terminated(text.c_str());
  Nstring walked;
  impl::utf16_to_utf8_walk(terminated.data(), terminated.data() + terminated.size(), walked);
  Nstring fast = "stale";
  nym_utf16_to_utf8(text.c_str(), fast);
  if (fast != walked) return "nym_utf16_to_utf8 differs from the walk";
  Nstring appended = "pre";
  nym_string_append(appended, text.c_str());
  if (appended != "pre" + fast) return "nym_string_append differs from nym_utf16_to_utf8";
  Nstring all;
  impl::utf16_to_utf8_walk(text.data(), text.data() + text.size(), all);
  for (const impl::Utf_kernel k : impl::ALL_UTF_KERNELS) {
    if (!impl::utf_kernel_supported(k)) continue;
    Nstring out = "x";
    impl::utf16_to_utf8_append(text.data(), text.data() + text.size(), out, k);
    if (out != "x" + all) return std::string(impl::utf_kernel_name(k)) + " differs";
  }
  for (std::size_t i = 0; i < terminated.size(); ++i) {
    if (impl::is_high_surrogate(terminated[i]) && i + 1 < terminated.size() && impl::is_low_surrogate(terminated[i + 1])) {
      ++i;
    } else if (terminated[i] >= 0xD800 && terminated[i] <= 0xDFFF) {
      return {};  // not well-formed: no round trip to hold
    }
  }
  Wstring back;
  nym_utf8_to_utf16(fast.c_str(), back);
  if (back != terminated) return "well-formed text does not survive UTF-8 and back";
  U32string values;
  nym_utf16_to_utf32(text.c_str(), values);
  uint64 position = 0;
  for (const uint32 v : values) {
    if (nym_utf16_to_utf32_char(text.c_str(), position) != v) return "the character walk differs";
  }
  if (nym_utf16_to_utf32_char(text.c_str(), position) != 0 || position != NYM_NPOS) return "the walk does not end";
  return {};
}

}  // namespace nym_test

#endif
