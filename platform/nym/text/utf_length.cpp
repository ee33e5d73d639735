// The terminator scans: whole aligned 64-byte lines at a time.
#include <cstddef>
#include <cstdint>

#include "text/utf_kernel.h"

#if defined(NYM_UTF_SSE2)
#include <emmintrin.h>
#endif
#if defined(NYM_UTF_AVX)
#include <immintrin.h>
#endif

// Both AddressSanitizer and ThreadSanitizer take the aligned reads past the terminator for
// reads of a neighbouring block.
#if defined(__clang__) || defined(__GNUC__)
#define NYM_NO_SANITIZE_READS __attribute__((no_sanitize("address", "thread")))
#else
#define NYM_NO_SANITIZE_READS
#endif

namespace nym::impl {

namespace {

#if defined(NYM_UTF_AVX)
// The lines from p (aligned) on: the offset from `text` of the first terminator, or `max` once
// `stop` is passed.
NYM_TARGET_AVX2 NYM_NO_SANITIZE_READS std::size_t utf16_lines_avx2(const Wchar* text, const Wchar* p,
                                                                   const Wchar* stop, std::size_t max) {
  const __m256i zero = _mm256_setzero_si256();
  for (;;) {
    const __m256i a = _mm256_cmpeq_epi16(_mm256_load_si256(reinterpret_cast<const __m256i*>(p)), zero);
    const __m256i b = _mm256_cmpeq_epi16(_mm256_load_si256(reinterpret_cast<const __m256i*>(p + 16)), zero);
    const __m256i any = _mm256_or_si256(a, b);
    if (!_mm256_testz_si256(any, any)) {
      const std::uint64_t mask = static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(a))) |
                                 static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(b))) << 32;
      const std::size_t at = static_cast<std::size_t>(p - text) + static_cast<std::size_t>(__builtin_ctzll(mask)) / 2;
      return at < max ? at : max;
    }
    p += 32;
    if (stop != nullptr && p >= stop) return max;
  }
}
#endif

#if defined(NYM_UTF_SSE2)
NYM_NO_SANITIZE_READS std::size_t utf16_lines_sse2(const Wchar* text, const Wchar* p, const Wchar* stop,
                                                   std::size_t max) {
  const __m128i zero = _mm_setzero_si128();
  for (;;) {
    const __m128i a = _mm_cmpeq_epi16(_mm_load_si128(reinterpret_cast<const __m128i*>(p)), zero);
    const __m128i b = _mm_cmpeq_epi16(_mm_load_si128(reinterpret_cast<const __m128i*>(p + 8)), zero);
    const __m128i c = _mm_cmpeq_epi16(_mm_load_si128(reinterpret_cast<const __m128i*>(p + 16)), zero);
    const __m128i d = _mm_cmpeq_epi16(_mm_load_si128(reinterpret_cast<const __m128i*>(p + 24)), zero);
    if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) != 0) {
      const std::uint64_t mask = static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(a))) |
                                 static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(b))) << 16 |
                                 static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(c))) << 32 |
                                 static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(d))) << 48;
      const std::size_t at = static_cast<std::size_t>(p - text) + static_cast<std::size_t>(__builtin_ctzll(mask)) / 2;
      return at < max ? at : max;
    }
    p += 32;
    if (stop != nullptr && p >= stop) return max;
  }
}
#endif

#if defined(NYM_UTF_AVX)
// A line to a vector: the scan keeps pace with the conversion that reads the text again.
NYM_NO_SANITIZE_READS NYM_TARGET_AVX512 std::size_t utf8_length_avx512(const unsigned char* text, std::size_t max) {
  if (max == 0) return 0;
  const std::size_t skew = reinterpret_cast<std::uintptr_t>(text) & 63;
  const unsigned char* line = text - skew;
  __m512i x = _mm512_load_si512(line);
  std::uint64_t nuls = _mm512_testn_epi8_mask(x, x) >> skew;
  std::size_t before = 0;     // bytes of the text before the line
  std::size_t seen = 64 - skew;  // and up to the line's end
  for (;;) {
    if (nuls != 0) {
      const std::size_t at = before + static_cast<std::size_t>(_tzcnt_u64(nuls));
      return at < max ? at : max;
    }
    if (seen >= max) return max;
    before = seen;
    seen += 64;
    line += 64;
    x = _mm512_load_si512(line);
    nuls = _mm512_testn_epi8_mask(x, x);
  }
}
#endif

NYM_NO_SANITIZE_READS std::size_t utf8_length_sse2(const unsigned char* text, std::size_t max) {
#if defined(NYM_UTF_SSE2)
  if (max == 0) return 0;
  const std::size_t skew = reinterpret_cast<std::uintptr_t>(text) & 63;
  const unsigned char* line = text - skew;
  const __m128i zero = _mm_setzero_si128();
  std::uint64_t drop = ~std::uint64_t{0} << skew;  // the bytes before the text
  std::size_t seen = 64 - skew;                       // bytes of the text scanned with this line
  for (;;) {
    const __m128i a = _mm_load_si128(reinterpret_cast<const __m128i*>(line));
    const __m128i b = _mm_load_si128(reinterpret_cast<const __m128i*>(line + 16));
    const __m128i c = _mm_load_si128(reinterpret_cast<const __m128i*>(line + 32));
    const __m128i d = _mm_load_si128(reinterpret_cast<const __m128i*>(line + 48));
    const __m128i least = _mm_min_epu8(_mm_min_epu8(a, b), _mm_min_epu8(c, d));
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(least, zero)) != 0) {
      const std::uint64_t mask =
          (static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, zero)))) |
           static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(b, zero)))) << 16 |
           static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(c, zero)))) << 32 |
           static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(d, zero)))) << 48) &
          drop;
      if (mask != 0) {
        const std::size_t at = static_cast<std::size_t>(line - text) + static_cast<std::size_t>(__builtin_ctzll(mask));
        return at < max ? at : max;
      }
    }
    if (seen >= max) return max;
    line += 64;
    seen += 64;
    drop = ~std::uint64_t{0};
  }
#else
  std::size_t n = 0;
  while (n < max && text[n] != 0) ++n;
  return n;
#endif
}

}  // namespace

// Aligned loads never cross a page, so the scans may read past the terminator inside the
// last aligned block; they look at nothing beyond it. Whole 64-byte lines go at a time.
std::size_t utf16_length(const Wchar* text, std::size_t max) {
  return utf16_length(text, max, utf_kernel_supported(Utf_kernel::avx2) ? Utf_kernel::avx2 : Utf_kernel::baseline);
}

NYM_NO_SANITIZE_READS std::size_t utf16_length(const Wchar* text, std::size_t max, Utf_kernel kernel) {
  static_cast<void>(kernel);
  const Wchar* p = text;
  // No stop when `max` reaches past the end of the address space.
  const Wchar* const stop =
      max <= (UINTPTR_MAX - reinterpret_cast<std::uintptr_t>(text)) / sizeof(Wchar) ? text + max : nullptr;
#if defined(NYM_UTF_SSE2)
  if ((reinterpret_cast<std::uintptr_t>(p) & 1) == 0) {
    while ((reinterpret_cast<std::uintptr_t>(p) & 63) != 0) {
      if (p == stop || *p == 0) return static_cast<std::size_t>(p - text);
      ++p;
    }
#if defined(NYM_UTF_AVX)
    if (kernel == Utf_kernel::avx2 || kernel == Utf_kernel::avx512) return utf16_lines_avx2(text, p, stop, max);
#endif
    return utf16_lines_sse2(text, p, stop, max);
  }
#endif
  while (p != stop && *p != 0) ++p;
  return static_cast<std::size_t>(p - text);
}

// As utf16_length, for bytes: the scan starts at the aligned line that holds `text` and
// ignores what lies before it. Stops at `max` when no NUL comes first.
std::size_t utf8_length(const unsigned char* text, std::size_t max) {
  return utf8_length(text, max, utf_kernel_supported(Utf_kernel::avx512) ? Utf_kernel::avx512 : Utf_kernel::baseline);
}

std::size_t utf8_length(const unsigned char* text, std::size_t max, Utf_kernel kernel) {
#if defined(NYM_UTF_AVX)
  if (kernel == Utf_kernel::avx512) return utf8_length_avx512(text, max);
#endif
  static_cast<void>(kernel);
  return utf8_length_sse2(text, max);
}

}  // namespace nym::impl
