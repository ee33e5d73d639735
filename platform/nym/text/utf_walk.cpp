#include "text/utf_walk.h"

namespace nym::impl {

// 0x80..0xBF are continuation bytes and 0xFE/0xFF never lead: both announce nothing.
const std::uint8_t UTF8_CONTINUATION_COUNT[256] = {
    // 0x00..0xBF
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    // 0xC0..0xDF
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    // 0xE0..0xEF, 0xF0..0xF7, 0xF8..0xFB, 0xFC..0xFD, 0xFE..0xFF
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 0, 0};

}  // namespace nym::impl

#include <algorithm>
#include <cstddef>
#include <cstring>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define NYM_UTF_SSE2 1
#endif

#if defined(__clang__) || defined(__GNUC__)
#define NYM_NO_SANITIZE_ADDRESS __attribute__((no_sanitize_address))
#else
#define NYM_NO_SANITIZE_ADDRESS
#endif

namespace nym::impl {

namespace {

// Output goes through a block on the stack and is appended per block, so the string grows
// only as its own growth rule says and never holds a worst-case reservation.
constexpr std::size_t BLOCK = 8192;
// Room behind the block's limit for one step of the widest path (32 units or bytes).
constexpr std::size_t SLACK = 32;

inline unsigned lowest_bit(unsigned mask) {
#if defined(__GNUC__) || defined(__clang__)
  return static_cast<unsigned>(__builtin_ctz(mask));
#else
  unsigned n = 0;
  while ((mask & 1u) == 0) {
    mask >>= 1;
    ++n;
  }
  return n;
#endif
}

}  // namespace

void utf8_to_utf16_walk(const unsigned char* p, const unsigned char* end, Wstring& out) {
  while (p < end) append_utf16(out, decode_utf8(p, nullptr));
}

void utf16_to_utf8_walk(const Wchar* p, const Wchar* end, Nstring& out) {
  while (p < end) append_utf8(out, decode_utf16(p, end));
}

void utf8_to_utf16_append(const unsigned char* p, const unsigned char* end, Wstring& out) {
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
      // Scalar through mixed text while four bytes remain, so that no sequence needs a bounds
      // test: short well-formed sequences inline, everything unusual through the walker
      // itself. Two ASCII bytes in a row send it back to the vector steps.
      // A sequence never gives more units than it has bytes, so the stop also keeps q within
      // the block's slack.
      const unsigned char* const stop = p + std::min<std::ptrdiff_t>(end - p - 3, limit - q);
      while (p < stop) {
        const unsigned b = p[0];
        if (b < 0x80) {
          *q++ = static_cast<Wchar>(b);
          ++p;
          if (*p < 0x80) break;
          continue;
        }
        // A continuation byte less 0x80 is at most 0x3F; anything else wraps above it.
        if (b < 0xE0) {
          const unsigned t1 = p[1] - 0x80u;
          if (b >= 0xC0 && t1 <= 0x3F) {
            *q++ = static_cast<Wchar>(((b & 0x1F) << 6) | t1);
            p += 2;
            continue;
          }
        } else if (b < 0xF0) {
          const unsigned t1 = p[1] - 0x80u;
          const unsigned t2 = p[2] - 0x80u;
          if ((t1 | t2) <= 0x3F) {
            *q++ = static_cast<Wchar>(((b & 0x0F) << 12) | (t1 << 6) | t2);
            p += 3;
            continue;
          }
        } else if (b < 0xF8) {
          const unsigned t1 = p[1] - 0x80u;
          const unsigned t2 = p[2] - 0x80u;
          const unsigned t3 = p[3] - 0x80u;
          if ((t1 | t2 | t3) <= 0x3F) {
            q = encode_utf16(q, ((b & 0x07) << 18) | (t1 << 12) | (t2 << 6) | t3);
            p += 4;
            continue;
          }
        }
        q = encode_utf16(q, decode_utf8(p, nullptr));
      }
      if (end - p < 4) {
        while (p < end && q < limit) q = encode_utf16(q, decode_utf8(p, nullptr));
      }
    }
    out.append(block, static_cast<std::size_t>(q - block));
  }
}

void utf16_to_utf8_append(const Wchar* p, const Wchar* end, Nstring& out) {
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
      // Scalar through mixed text while two units remain, so that a pair needs no bounds test.
      // At most three bytes per unit (four per pair), so the stop keeps q within the block's
      // slack; it allows at least one unit while q is below the limit.
      const Wchar* const stop = p + std::min<std::ptrdiff_t>(end - p - 1, (limit - q + 2) / 3);
      while (p < stop) {
        const std::uint32_t u = *p;
        if (u < 0x80) {
          *q++ = static_cast<char>(u);
          ++p;
          if (*p < 0x80) break;
        } else if (u < 0x800) {
          q[0] = static_cast<char>(0xC0 | (u >> 6));
          q[1] = static_cast<char>(0x80 | (u & 0x3F));
          q += 2;
          ++p;
        } else if (u < 0xD800 || u > 0xDFFF) {
          q[0] = static_cast<char>(0xE0 | (u >> 12));
          q[1] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
          q[2] = static_cast<char>(0x80 | (u & 0x3F));
          q += 3;
          ++p;
        } else if (u <= 0xDBFF && is_low_surrogate(p[1])) {
          const std::uint32_t v = (u - 0xD7F7) * 1024 + p[1];
          q[0] = static_cast<char>(0xF0 | (v >> 18));
          q[1] = static_cast<char>(0x80 | ((v >> 12) & 0x3F));
          q[2] = static_cast<char>(0x80 | ((v >> 6) & 0x3F));
          q[3] = static_cast<char>(0x80 | (v & 0x3F));
          q += 4;
          p += 2;
        } else {
          q = encode_utf8(q, decode_utf16(p, end));
        }
      }
      if (end - p < 2) {
        while (p < end && q < limit) q = encode_utf8(q, decode_utf16(p, end));
      }
    }
    out.append(block, static_cast<std::size_t>(q - block));
  }
}

// Aligned 16-byte loads never cross a page, so the scan may read past the terminator inside
// the last block; it looks at nothing beyond it.
NYM_NO_SANITIZE_ADDRESS std::size_t utf16_length(const Wchar* text) {
  const Wchar* p = text;
#if defined(NYM_UTF_SSE2)
  if ((reinterpret_cast<std::uintptr_t>(p) & 1) == 0) {
    while ((reinterpret_cast<std::uintptr_t>(p) & 15) != 0) {
      if (*p == 0) return static_cast<std::size_t>(p - text);
      ++p;
    }
    const __m128i zero = _mm_setzero_si128();
    for (;;) {
      const __m128i units = _mm_load_si128(reinterpret_cast<const __m128i*>(p));
      const unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(units, zero)));
      if (mask != 0) return static_cast<std::size_t>(p - text) + lowest_bit(mask) / 2;
      p += 8;
    }
  }
#endif
  while (*p != 0) ++p;
  return static_cast<std::size_t>(p - text);
}

// As utf16_length, for bytes: the scan starts at the aligned block that holds `text` and
// ignores what lies before it. Stops at `max` when no NUL comes first.
NYM_NO_SANITIZE_ADDRESS std::size_t utf8_length(const unsigned char* text, std::size_t max) {
#if defined(NYM_UTF_SSE2)
  if (max == 0) return 0;
  const std::size_t skew = reinterpret_cast<std::uintptr_t>(text) & 15;
  const unsigned char* block = text - skew;
  const __m128i zero = _mm_setzero_si128();
  unsigned mask = static_cast<unsigned>(
      _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_load_si128(reinterpret_cast<const __m128i*>(block)), zero)));
  mask &= ~0u << skew;
  std::size_t seen = 16 - skew;  // bytes of the text covered so far
  while (mask == 0) {
    if (seen >= max) return max;
    block += 16;
    mask = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_load_si128(reinterpret_cast<const __m128i*>(block)), zero)));
    seen += 16;
  }
  const std::size_t at = static_cast<std::size_t>(block - text) + lowest_bit(mask);
  return at < max ? at : max;
#else
  std::size_t n = 0;
  while (n < max && text[n] != 0) ++n;
  return n;
#endif
}

}  // namespace nym::impl
