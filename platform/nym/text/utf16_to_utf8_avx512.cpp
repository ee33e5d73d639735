// The AVX-512 kernel from UTF-16: 32 units a step, classified into mask registers. Each unit's
// bytes are formed in a 32-bit lane (a 16-bit one when no unit needs three bytes) and packed
// with a byte compress; surrogates take the vector step only as well-formed pairs.
#include "text/utf_kernel.h"

#if defined(NYM_UTF_AVX)

#include <immintrin.h>

// GCC 12 takes the undefined pass-through of the unmasked AVX-512 intrinsics for a read of an
// uninitialized value.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace nym::impl {

namespace {

// Byte roles of a 32-bit lane in memory order [b0 b1 b2 b3]: the lead byte's marker, 80 for a
// continuation byte (the bytes dropped are zero). An ASCII unit stands alone in b0, a pair's
// value in its high half's lane.
constexpr std::uint32_t ONE_BYTE = 0x00000000;
constexpr std::uint32_t TWO_BYTES = 0x80C00000;
constexpr std::uint32_t THREE_BYTES = 0x8080E000;
constexpr std::uint32_t FOUR_BYTES = 0x808080F0;
// Multishift offsets that put bits 18, 12, 6 and 0 of each 32-bit lane in b0..b3.
constexpr long long SIX_BIT_FIELDS = 0x20262C3200060C12;
// (high << 10) + low + this is the value of a pair.
constexpr std::uint32_t PAIR_BIAS = 0x10000u - (0xD800u << 10) - 0xDC00u;
// Ternary-logic tables over the inputs' selector bytes A = F0, B = CC, C = AA.
constexpr int A_AND_B_OR_C = (0xF0 & 0xCC) | 0xAA;
constexpr int A_THEN_B_ELSE_B_OR_C = (0xF0 & 0xCC) | (~0xF0 & (0xCC | 0xAA) & 0xFF);

NYM_TARGET_AVX512 inline __m512i splat16(int v) { return _mm512_set1_epi16(static_cast<short>(v)); }
NYM_TARGET_AVX512 inline __m512i splat32(std::uint32_t v) { return _mm512_set1_epi32(static_cast<int>(v)); }
NYM_TARGET_AVX512 inline std::uint64_t low_bits64(unsigned n) { return _bzhi_u64(~std::uint64_t{0}, n); }

NYM_TARGET_AVX512 inline char* compress_store(char* q, __mmask64 keep, __m512i bytes) {
  // The compress goes to a register: its memory form is slow on some processors.
  _mm512_storeu_si512(q, _mm512_maskz_compress_epi8(keep, bytes));
  return q + _mm_popcnt_u64(keep);
}

// The steps, with their constants made once per call.
struct Steps {
  __m512i not_ascii;
  __m512i not_two;
  __m512i d800;
  __m512i x400;
  __m512i x800;
  __m512i two_fields;
  __m512i low6;
  __m512i two_markers;
  __m512i six_bit_fields;
  __m512i role_bits;
  __m512i pair_bias;
  __m512i one_byte;
  __m512i two_bytes;
  __m512i three_bytes;
  __m512i four_bytes;

  NYM_TARGET_AVX512 Steps()
      : not_ascii(splat16(0xFF80)),
        not_two(splat16(0xF800)),
        d800(splat16(0xD800)),
        x400(splat16(0x400)),
        x800(splat16(0x800)),
        two_fields(_mm512_set1_epi64(0x3036202610160006)),
        low6(splat16(0x3F3F)),
        two_markers(splat16(0x80C0)),
        six_bit_fields(_mm512_set1_epi64(SIX_BIT_FIELDS)),
        role_bits(splat32(0xC0C0C000)),
        pair_bias(splat32(PAIR_BIAS)),
        one_byte(splat32(ONE_BYTE)),
        two_bytes(splat32(TWO_BYTES)),
        three_bytes(splat32(THREE_BYTES)),
        four_bytes(splat32(FOUR_BYTES)) {}

  // Units below 0x800, [C0 | u >> 6, 80 | u & 3F] per 16-bit lane; the first `units` lanes count.
  NYM_TARGET_AVX512 char* encode_two(__m512i u, __mmask32 ascii, unsigned units, char* q) const {
    // Bits 6.. and 0.. of each 16-bit lane, then the markers; u < 0x800 leaves bits 6 and 7
    // of the first field clear.
    const __m512i fields = _mm512_multishift_epi64_epi8(two_fields, u);
    const __m512i lanes =
        _mm512_mask_mov_epi16(_mm512_ternarylogic_epi32(fields, low6, two_markers, A_AND_B_OR_C), ascii, u);
    // Each lane's first byte, and its second where the unit is not ASCII (made with scalar
    // instructions, which leave the vector units to the rest).
    const __mmask64 keep =
        (_pdep_u64(static_cast<__mmask32>(~ascii), 0xAAAAAAAAAAAAAAAA) | 0x5555555555555555) & low_bits64(2 * units);
    return compress_store(q, keep, lanes);
  }

  // Sixteen units zero-extended to 32-bit lanes; `next` holds the unit after each, for the
  // pairs. The masks' low 16 bits are theirs; only the first `units` lanes count.
  template <bool PAIRS>
  NYM_TARGET_AVX512 char* encode_wide(__m512i d, __m512i next, unsigned ascii_lanes, unsigned two_lanes,
                                      unsigned high_lanes, unsigned low_lanes, unsigned units, char* q) const {
    const auto ascii = static_cast<__mmask16>(ascii_lanes);
    const auto two = static_cast<__mmask16>(two_lanes);
    const auto high = static_cast<__mmask16>(high_lanes);
    __m512i value = d;
    __m512i roles = three_bytes;
    if (PAIRS) {
      value = _mm512_mask_add_epi32(d, high, _mm512_add_epi32(_mm512_slli_epi32(d, 10), next), pair_bias);
      roles = _mm512_mask_mov_epi32(roles, high, four_bytes);
    }
    value = _mm512_mask_slli_epi32(value, ascii, d, 18);
    roles = _mm512_mask_mov_epi32(roles, two, two_bytes);
    roles = _mm512_mask_mov_epi32(roles, ascii, one_byte);
    const __m512i fields = _mm512_multishift_epi64_epi8(six_bit_fields, value);
    // Bits 6 and 7 of b1..b3 come from the roles alone, the rest from the field or its
    // marker: a lead's field is narrow enough to leave its marker's bits clear.
    const __m512i bytes = _mm512_ternarylogic_epi32(role_bits, roles, fields, A_THEN_B_ELSE_B_OR_C);
    // The bytes kept, a nibble a lane, made with scalar instructions: b0 for ASCII and a pair,
    // b1 for three bytes and a pair, b2 and b3 for all but ASCII; nothing for a low half.
    const unsigned wide = ~ascii_lanes & 0xFFFF & ~low_lanes;
    const std::uint64_t lanes = 0x1111111111111111;
    const std::uint64_t keep = (_pdep_u64((ascii_lanes | high_lanes) & 0xFFFF, lanes) |
                                _pdep_u64(wide & ~two_lanes, lanes) << 1 | _pdep_u64(wide, lanes) * 0xC) &
                               low_bits64(4 * units);
    return compress_store(q, keep, bytes);
  }

  enum class Result { fault, ascii, two, mixed };

  // Converts the n units of u (n <= 32, lanes past n zero; n == 32 when FULL), followed in the
  // text by `after` (0 at its end). `carry` is 1 when lane 0 is the low half of a pair that
  // the step before took, and comes back 1 when this step takes the pair that its last lane
  // starts, so that the position moves on by whole steps whatever the text. Answers a fault,
  // having written nothing, when the units are not all plain characters and well-formed pairs;
  // else whether they were all ASCII, all below 0x800, or neither.
  template <bool FULL>
  NYM_TARGET_AVX512 Result step(__m512i u, unsigned n, std::uint32_t after, unsigned& carry, char*& q) const {
    if (FULL) n = 32;
    const __mmask32 wide = _mm512_test_epi16_mask(u, not_ascii);
    if (wide == 0) {
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(q), _mm512_cvtepi16_epi8(u));
      q += n;
      return Result::ascii;
    }
    const __mmask32 three = _mm512_test_epi16_mask(u, not_two);
    if (three == 0) {
      q = encode_two(u, ~wide, n, q);
      return Result::two;
    }
    const __m512i from_d800 = _mm512_sub_epi16(u, d800);
    const __mmask32 surrogate = _mm512_cmplt_epu16_mask(from_d800, x800);
    __mmask32 high = 0;
    __mmask32 low = 0;
    if (surrogate != 0) {
      high = _mm512_cmplt_epu16_mask(from_d800, x400);
      low = surrogate & ~high;
      const unsigned last_high = (high >> (n - 1)) & 1;
      const unsigned after_low = after - 0xDC00u < 0x400u ? 1 : 0;
      // Each high half directly followed by a low one (the last by `after`), and each low one
      // so preceded.
      const __mmask32 preceded = ((high << 1) | carry) & _bzhi_u32(~0u, n);
      if ((low != preceded) | (last_high > after_low)) return Result::fault;
      carry = last_high;
    }
    const __mmask32 ascii = ~wide;
    const __mmask32 two = wide & ~three;
    const __m512i d0 = _mm512_cvtepu16_epi32(_mm512_castsi512_si256(u));
    const __m512i d1 = _mm512_cvtepu16_epi32(_mm512_extracti64x4_epi64(u, 1));
    const unsigned units0 = n < 16 ? n : 16;
    const unsigned units1 = n - units0;
    if (surrogate == 0) {
      q = encode_wide<false>(d0, d0, ascii, two, 0, 0, units0, q);
      if (units1 != 0) q = encode_wide<false>(d1, d1, ascii >> 16, two >> 16, 0, 0, units1, q);
    } else {
      const __m512i next0 = _mm512_alignr_epi32(d1, d0, 1);
      const __m512i next1 = _mm512_alignr_epi32(_mm512_set1_epi32(static_cast<int>(after)), d1, 1);
      q = encode_wide<true>(d0, next0, ascii, two, high, low, units0, q);
      if (units1 != 0) q = encode_wide<true>(d1, next1, ascii >> 16, two >> 16, high >> 16, low >> 16, units1, q);
    }
    return Result::mixed;
  }
};

}  // namespace

NYM_TARGET_AVX512 void utf16_to_utf8_avx512(const Wchar* p, const Wchar* end, Nstring& out) {
  alignas(64) char block[BLOCK + SLACK];
  // A step stores two 64-byte vectors at most 49 bytes apart (a pair's four bytes in the last
  // lane of the first half); a scalar stretch of 32 units writes at most 97 bytes.
  char* const limit = block + BLOCK + SLACK - 112;
  const __m512i even_bytes = _mm512_set_epi64(0x7E7C7A7876747270, 0x6E6C6A6866646260, 0x5E5C5A5856545250,
                                              0x4E4C4A4846444240, 0x3E3C3A3836343230, 0x2E2C2A2826242220,
                                              0x1E1C1A1816141210, 0x0E0C0A0806040200);
  const Steps steps;
  unsigned carry = 0;
  while (p < end) {
    char* q = block;
    while (q < limit && p < end) {
      Steps::Result taken;
      unsigned n = 32;
      if (end - p > 32) {
        taken = steps.step<true>(_mm512_loadu_si512(p), 32, p[32], carry, q);
      } else {
        // Masked-out lanes are never read.
        n = static_cast<unsigned>(end - p);
        taken = steps.step<false>(_mm512_maskz_loadu_epi16(_bzhi_u32(~0u, n), p), n, 0, carry, q);
      }
      if (taken == Steps::Result::mixed) {
        p += n;
        continue;
      }
      if (taken == Steps::Result::two) {
        p += n;
        // Text of one- and two-byte forms may go on: the step without its other tests, two at
        // a time, until something longer or 64 units of ASCII (a byte a unit).
        while (end - p >= 64 && q < limit - 16) {
          const __m512i a = _mm512_loadu_si512(p);
          const __m512i b = _mm512_loadu_si512(p + 32);
          if (_mm512_test_epi16_mask(_mm512_or_si512(a, b), steps.not_two) != 0) break;
          char* const before = q;
          q = steps.encode_two(a, ~_mm512_test_epi16_mask(a, steps.not_ascii), 32, q);
          q = steps.encode_two(b, ~_mm512_test_epi16_mask(b, steps.not_ascii), 32, q);
          p += 64;
          if (q - before == 64) break;
        }
        while (end - p >= 32 && q < limit) {
          const __m512i u = _mm512_loadu_si512(p);
          if (_mm512_test_epi16_mask(u, steps.not_two) != 0) break;
          char* const before = q;
          q = steps.encode_two(u, ~_mm512_test_epi16_mask(u, steps.not_ascii), 32, q);
          p += 32;
          if (q - before == 32) break;
        }
        continue;
      }
      if (taken == Steps::Result::ascii) {
        p += n;
        // A run of ASCII may go on: 64 units at a time.
        while (end - p >= 64 && q < limit) {
          const __m512i a = _mm512_loadu_si512(p);
          const __m512i b = _mm512_loadu_si512(p + 32);
          if (_mm512_test_epi16_mask(_mm512_or_si512(a, b), steps.not_ascii) != 0) break;
          _mm512_storeu_si512(q, _mm512_permutex2var_epi8(a, even_bytes, b));
          p += 64;
          q += 64;
        }
        continue;
      }
      // A lone or broken surrogate among them: these units the scalar way, less the low half
      // of a pair already written.
      const Wchar* const stop = p + n;
      p += carry;
      carry = 0;
      while (p < stop) q = utf16_char_to_utf8(p, end, q);
    }
    out.append(block, static_cast<std::size_t>(q - block));
  }
}

}  // namespace nym::impl

#endif
