// The baseline kernel: vector steps for runs of ASCII (SSE2, which every x64 processor has;
// plain C++ elsewhere), the scalar steps for the rest.
#include <algorithm>
#include <cstddef>

#include "text/utf_kernel.h"

#if defined(NYM_UTF_SSE2)
#include <emmintrin.h>
#endif

namespace nym::impl {

const unsigned char* utf8_to_utf16_baseline(const unsigned char* p, const unsigned char* end, Wstring& out) {
  Wchar block[BLOCK + SLACK];
  while (p < end) {
    Wchar* q = block;
    Wchar* const limit = block + BLOCK;
    while (p < end && q < limit) {
#if defined(NYM_UTF_SSE2)
      const __m128i zero = _mm_setzero_si128();
      while (end - p >= 32 && q < limit) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
        if (_mm_movemask_epi8(_mm_or_si128(a, b)) != 0) break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm_unpacklo_epi8(a, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q + 8), _mm_unpackhi_epi8(a, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q + 16), _mm_unpacklo_epi8(b, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q + 24), _mm_unpackhi_epi8(b, zero));
        p += 32;
        q += 32;
      }
      if (q >= limit) break;
      if (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const unsigned high = static_cast<unsigned>(_mm_movemask_epi8(bytes));
        // Widen all sixteen; only the ASCII prefix counts, the rest is overwritten later.
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q + 8), _mm_unpackhi_epi8(bytes, zero));
        const unsigned ascii = high == 0 ? 16 : lowest_bit(high);
        p += ascii;
        q += ascii;
        if (ascii == 16) continue;
      }
#endif
      // Scalar through mixed text; two ASCII bytes in a row send it back to the vector steps.
      // A character never gives more units than it has bytes, so 16 bytes stay in the slack.
      const unsigned char* const stop = p + std::min<std::ptrdiff_t>(end - p, 16);
      while (p < stop) {
        q = utf8_char_to_utf16(p, end, q);
        if (p < end && q[-1] < 0x80 && *p < 0x80) break;
      }
    }
    out.append(block, static_cast<std::size_t>(q - block));
  }
  return p;
}

void utf16_to_utf8_baseline(const Wchar* p, const Wchar* end, Nstring& out) {
  char block[BLOCK + SLACK];
  while (p < end) {
    char* q = block;
    char* const limit = block + BLOCK;
    while (p < end && q < limit) {
#if defined(NYM_UTF_SSE2)
      const __m128i not_ascii = _mm_set1_epi16(static_cast<short>(0xFF80));
      const __m128i zero = _mm_setzero_si128();
      while (end - p >= 32 && q < limit) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8));
        const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16));
        const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 24));
        const __m128i any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(any, not_ascii), zero)) != 0xFFFF) break;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm_packus_epi16(a, b));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q + 16), _mm_packus_epi16(c, d));
        p += 32;
        q += 32;
      }
      if (q >= limit) break;
      if (end - p >= 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 8));
        const unsigned ascii_a =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(a, not_ascii), zero)));
        const unsigned ascii_b =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(b, not_ascii), zero)));
        // The saturating pack is exact for the ASCII prefix, the only part taken.
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm_packus_epi16(a, b));
        const unsigned mask = ascii_a | (ascii_b << 16);
        // Two mask bits per unit: the ASCII prefix is half the trailing ones.
        const unsigned ascii = mask == 0xFFFFFFFFu ? 16 : lowest_bit(~mask) / 2;
        p += ascii;
        q += ascii;
        if (ascii == 16) continue;
      }
#endif
      // At most three bytes per unit, so eight units stay in the slack.
      const Wchar* const stop = p + std::min<std::ptrdiff_t>(end - p, 8);
      while (p < stop) {
        q = utf16_char_to_utf8(p, end, q);
        if (p < end && static_cast<unsigned char>(q[-1]) < 0x80 && *p < 0x80) break;
      }
    }
    out.append(block, static_cast<std::size_t>(q - block));
  }
}

}  // namespace nym::impl
