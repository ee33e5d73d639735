// The choice of kernel: the best the processor has, unless the caller names one.
#include "text/utf_kernel.h"

#if defined(NYM_UTF_SSSE3)
#include <cpuid.h>
#endif

namespace nym::impl {

#if defined(NYM_UTF_SSSE3)
namespace {

// LZCNT, the ABM bit of the extended features: clang before 16 has no name for it in
// __builtin_cpu_supports.
bool has_lzcnt() {
  unsigned a = 0, b = 0, c = 0, d = 0;
  return __get_cpuid(0x80000001u, &a, &b, &c, &d) != 0 && (c & (1u << 5)) != 0;
}

}  // namespace
#endif

bool utf_kernel_supported(Utf_kernel kernel) {
  switch (kernel) {
    case Utf_kernel::baseline:
      return true;
#if defined(NYM_UTF_SSSE3)
    // The compiler's checks ask the processor, and for the wide registers whether the system
    // saves them too.
    case Utf_kernel::ssse3: {
      static const bool ssse3 = __builtin_cpu_supports("ssse3") != 0;
      return ssse3;
    }
    case Utf_kernel::avx2: {
      static const bool avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
                               __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("popcnt") && has_lzcnt();
      return avx2;
    }
    case Utf_kernel::avx512: {
      static const bool avx512 = utf_kernel_supported(Utf_kernel::avx2) && __builtin_cpu_supports("avx512f") &&
                                 __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                                 __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2");
      return avx512;
    }
#endif
    default:
      return false;
  }
}

const char* utf_kernel_name(Utf_kernel kernel) {
  switch (kernel) {
    case Utf_kernel::baseline: return "baseline";
    case Utf_kernel::ssse3: return "ssse3";
    case Utf_kernel::avx2: return "avx2";
    case Utf_kernel::avx512: return "avx512";
  }
  return "?";
}

namespace {

Utf_kernel best_kernel() {
  static const Utf_kernel best = [] {
    for (const Utf_kernel k : {Utf_kernel::avx512, Utf_kernel::avx2, Utf_kernel::ssse3}) {
      if (utf_kernel_supported(k)) return k;
    }
    return Utf_kernel::baseline;
  }();
  return best;
}

}  // namespace

const unsigned char* utf8_to_utf16_append(const unsigned char* p, const unsigned char* end, Wstring& out,
                                          Utf_kernel kernel) {
  switch (kernel) {
#if defined(NYM_UTF_SSSE3)
    case Utf_kernel::ssse3: return utf8_to_utf16_ssse3(p, end, out);
    case Utf_kernel::avx2: return utf8_to_utf16_avx2(p, end, out);
    case Utf_kernel::avx512: return utf8_to_utf16_avx512(p, end, out);
#endif
    default: return utf8_to_utf16_baseline(p, end, out);
  }
}

const unsigned char* utf8_to_utf16_append(const unsigned char* p, const unsigned char* end, Wstring& out) {
  return utf8_to_utf16_append(p, end, out, best_kernel());
}

void utf16_to_utf8_append(const Wchar* p, const Wchar* end, Nstring& out, Utf_kernel kernel) {
  switch (kernel) {
#if defined(NYM_UTF_SSSE3)
    case Utf_kernel::ssse3: return utf16_to_utf8_ssse3(p, end, out);
    case Utf_kernel::avx2: return utf16_to_utf8_avx2(p, end, out);
    case Utf_kernel::avx512: return utf16_to_utf8_avx512(p, end, out);
#endif
    default: return utf16_to_utf8_baseline(p, end, out);
  }
}

void utf16_to_utf8_append(const Wchar* p, const Wchar* end, Nstring& out) {
  utf16_to_utf8_append(p, end, out, best_kernel());
}

}  // namespace nym::impl
