// The UTF-8 and UTF-16 conversions, and each vector kernel, against the plain walkers they
// must equal, byte for byte, and the round trip that holds for well-formed text. The first
// byte picks the direction. The encoding detector gives one answer however a store hands the
// bytes out.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "nym/encoding_detect.h"
#include "nym/func_buffer.h"
#include "nym/utf.h"
#include "text/utf_walk.h"
#include "../buffer/open_store.h"

using namespace nym;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

void utf8_side(const unsigned char* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);  // terminated copy
  const std::size_t terminated = std::strlen(text.c_str());
  Wstring fast;
  nym_utf8_to_utf16(text.c_str(), fast);
  Wstring walked;
  impl::utf8_to_utf16_walk(reinterpret_cast<const unsigned char*>(text.c_str()),
                           reinterpret_cast<const unsigned char*>(text.c_str()) + terminated, walked);
  check(fast == walked);
  check(fast.size() <= terminated);  // never more units than bytes
  // Every vector kernel on its own, over the whole input with its NULs.
  const auto* all = reinterpret_cast<const unsigned char*>(text.data());
  Wstring all_walked;
  const unsigned char* const walk_end = impl::utf8_to_utf16_walk(all, all + size, all_walked);
  for (const impl::Utf_kernel k : {impl::Utf_kernel::sse2, impl::Utf_kernel::ssse3}) {
    if (!impl::utf_kernel_supported(k)) continue;
    Wstring kernel_out;
    check(impl::utf8_to_utf16_append(all, all + size, kernel_out, k) == walk_end);
    check(kernel_out == all_walked);
  }
  // The bounded form over every prefix length the input suggests.
  const std::size_t length = size == 0 ? 0 : data[0] % (size + 1);
  Wstring bounded;
  nym_utf8_to_utf16(text.c_str(), length, bounded);
  Wstring bounded_walked;
  const auto* b = reinterpret_cast<const unsigned char*>(text.c_str());
  const auto* nul = static_cast<const unsigned char*>(std::memchr(b, 0, length));
  impl::utf8_to_utf16_walk(b, nul != nullptr ? nul : b + length, bounded_walked);
  check(bounded == bounded_walked);
}

void utf16_side(const unsigned char* data, std::size_t size) {
  Wstring text(size / 2, 0);
  std::memcpy(&text[0], data, text.size() * 2);
  const Wchar* terminated_end = text.c_str() + Wstring(text.c_str()).size();
  Nstring fast;
  nym_utf16_to_utf8(text.c_str(), fast);
  Nstring walked;
  impl::utf16_to_utf8_walk(text.c_str(), terminated_end, walked);
  check(fast == walked);
  Nstring all_walked;
  impl::utf16_to_utf8_walk(text.data(), text.data() + text.size(), all_walked);
  for (const impl::Utf_kernel k : {impl::Utf_kernel::sse2, impl::Utf_kernel::ssse3}) {
    if (!impl::utf_kernel_supported(k)) continue;
    Nstring kernel_out;
    impl::utf16_to_utf8_append(text.data(), text.data() + text.size(), kernel_out, k);
    check(kernel_out == all_walked);
  }
  // Well-formed UTF-16 comes back unchanged.
  bool well_formed = true;
  for (const Wchar* p = text.c_str(); p < terminated_end; ++p) {
    if (impl::is_high_surrogate(*p) && p + 1 < terminated_end && impl::is_low_surrogate(p[1])) {
      ++p;
    } else if (*p >= 0xD800 && *p <= 0xDFFF) {
      well_formed = false;
    }
  }
  Wstring back;
  nym_utf8_to_utf16(fast.c_str(), back);
  if (well_formed) check(back == Wstring(text.c_str()));
  // Code points agree with the character walk, apart from its re-read after a bad high
  // surrogate: on well-formed text both walks see the same values.
  if (well_formed) {
    U32string values;
    nym_utf16_to_utf32(text.c_str(), values);
    uint64 pos = 0;
    for (const uint32 v : values) check(nym_utf16_to_utf32_char(text.c_str(), pos) == v);
    check(nym_utf16_to_utf32_char(text.c_str(), pos) == 0 && pos == NYM_NPOS);
  }
}

void detect_side(const unsigned char* data, std::size_t size, uint64 step) {
  const Nym_encoding_guess whole = nym_detect_encoding(data, size);
  check(whole.confidence <= 100 && whole.mark_size() <= size);
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const Nym_func_buffer buffer(new nym_test::Trickle_functor(bytes, step));
  Nym_status status;
  const Nym_encoding_guess stepped = nym_detect_encoding(&buffer, status);
  check(status.is_clear() && stepped.encoding == whole.encoding && stepped.mark == whole.mark &&
        stepped.ascii == whole.ascii && stepped.confidence == whole.confidence);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  if ((data[0] & 1) == 0) utf8_side(data + 1, size - 1);
  else utf16_side(data + 1, size - 1);
  detect_side(data + 1, size - 1, data[0] % 8 + 1);
  return 0;
}
