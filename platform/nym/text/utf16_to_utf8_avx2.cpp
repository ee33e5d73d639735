// PLACEHOLDER until the AVX2 kernel lands: the SSSE3 kernel's output.
#include "text/utf_kernel.h"

#if defined(NYM_UTF_AVX)

namespace nym::impl {

NYM_TARGET_AVX2 void utf16_to_utf8_avx2(const Wchar* p, const Wchar* end, Nstring& out) {
  utf16_to_utf8_ssse3(p, end, out);
}

}  // namespace nym::impl

#endif
