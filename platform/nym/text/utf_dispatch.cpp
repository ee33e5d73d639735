// The choice of kernel: the best the processor has, unless the caller names one.
#include "text/utf_kernel.h"

#if defined(NYM_UTF_SSSE3)
#include <cpuid.h>
#endif

namespace nym::impl {

#if defined(NYM_UTF_SSSE3)

namespace {

bool cpu_has_ssse3() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_SSSE3) != 0;
}

}  // namespace

#endif

bool utf_kernel_supported(Utf_kernel kernel) {
#if defined(NYM_UTF_SSSE3)
  static const bool ssse3 = cpu_has_ssse3();
  if (kernel == Utf_kernel::ssse3) return ssse3;
#else
  if (kernel == Utf_kernel::ssse3) return false;
#endif
  return true;
}

namespace {

Utf_kernel best_kernel() {
  static const Utf_kernel best = utf_kernel_supported(Utf_kernel::ssse3) ? Utf_kernel::ssse3 : Utf_kernel::baseline;
  return best;
}

}  // namespace

const unsigned char* utf8_to_utf16_append(const unsigned char* p, const unsigned char* end, Wstring& out,
                                          Utf_kernel kernel) {
#if defined(NYM_UTF_SSSE3)
  if (kernel == Utf_kernel::ssse3) return utf8_to_utf16_ssse3(p, end, out);
#endif
  (void)kernel;
  return utf8_to_utf16_baseline(p, end, out);
}

const unsigned char* utf8_to_utf16_append(const unsigned char* p, const unsigned char* end, Wstring& out) {
  return utf8_to_utf16_append(p, end, out, best_kernel());
}

void utf16_to_utf8_append(const Wchar* p, const Wchar* end, Nstring& out, Utf_kernel kernel) {
#if defined(NYM_UTF_SSSE3)
  if (kernel == Utf_kernel::ssse3) return utf16_to_utf8_ssse3(p, end, out);
#endif
  (void)kernel;
  utf16_to_utf8_baseline(p, end, out);
}

void utf16_to_utf8_append(const Wchar* p, const Wchar* end, Nstring& out) {
  utf16_to_utf8_append(p, end, out, best_kernel());
}

}  // namespace nym::impl
