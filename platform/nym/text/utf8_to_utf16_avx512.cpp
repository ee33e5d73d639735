// PLACEHOLDER until the AVX512 kernel lands: the SSSE3 kernel's output.
#include "text/utf_kernel.h"

#if defined(NYM_UTF_AVX)

namespace nym::impl {

NYM_TARGET_AVX512 const unsigned char* utf8_to_utf16_avx512(const unsigned char* p, const unsigned char* end,
                                                         Wstring& out) {
  return utf8_to_utf16_ssse3(p, end, out);
}

}  // namespace nym::impl

#endif
