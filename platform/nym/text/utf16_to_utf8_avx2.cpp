// The AVX2 kernel from UTF-16: 16 units a step, each 128-bit half packed with a byte shuffle
// from the tables the SSSE3 kernel uses, 32 units at a time over runs of ASCII. Surrogates
// take the vector step only as well-formed pairs.
#include "text/utf_kernel.h"
#include "text/utf_shuffle_tables.h"

#if defined(NYM_UTF_AVX)

#include <immintrin.h>

namespace nym::impl {

namespace {

NYM_TARGET_AVX2 inline __m256i splat16(int v) { return _mm256_set1_epi16(static_cast<short>(v)); }
NYM_TARGET_AVX2 inline __m256i select(__m256i mask, __m256i yes, __m256i no) {
  return _mm256_blendv_epi8(no, yes, mask);
}
NYM_TARGET_AVX2 inline __m256i is_zero(__m256i v) { return _mm256_cmpeq_epi16(v, _mm256_setzero_si256()); }
// A bit per 16-bit lane of a lane mask.
NYM_TARGET_AVX2 inline unsigned lane_bits(__m256i mask) {
  return _pext_u32(static_cast<unsigned>(_mm256_movemask_epi8(mask)), 0x55555555u);
}
// Two bits per lane: the lane's bit of the mask in the lower one.
NYM_TARGET_AVX2 inline unsigned spread(unsigned bits) { return _pdep_u32(bits, 0x55555555u); }

// The two 16-byte halves of v, each packed by its table entry, stored one after the other.
NYM_TARGET_AVX2 inline char* pack_halves(char* q, __m256i v, const Shuffle_table& table, unsigned lo, unsigned hi) {
  const __m256i control = _mm256_inserti128_si256(
      _mm256_castsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(table.shuffle[lo]))),
      _mm_load_si128(reinterpret_cast<const __m128i*>(table.shuffle[hi])), 1);
  const __m256i packed = _mm256_shuffle_epi8(v, control);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm256_castsi256_si128(packed));
  q += table.count[lo];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm256_extracti128_si256(packed, 1));
  return q + table.count[hi];
}

// Sixteen units below 0x800; bit j of `two` set when unit j takes two bytes.
NYM_TARGET_AVX2 inline char* encode_two(__m256i u, __m256i two_lanes, unsigned two, char* q) {
  const __m256i first = select(two_lanes, _mm256_or_si256(_mm256_srli_epi16(u, 6), splat16(0xC0)), u);
  const __m256i lanes = _mm256_or_si256(
      first, _mm256_slli_epi16(_mm256_or_si256(_mm256_and_si256(u, splat16(0x3F)), splat16(0x80)), 8));
  return pack_halves(q, lanes, TWO_BYTE_PACKING, two & 0xFF, (two >> 8) & 0xFF);
}

// Sixteen units of up to three bytes, or halves of well-formed pairs (two bytes each), with
// none cut by the step's start. `lengths` holds two bits per unit: the bytes to keep.
NYM_TARGET_AVX2 inline char* encode_three(__m256i u, __m256i two, __m256i three, __m256i surrogate, __m256i high,
                                          bool pairs, unsigned lengths, char* q) {
  const __m256i low6 = _mm256_or_si256(_mm256_and_si256(u, splat16(0x3F)), splat16(0x80));
  __m256i first = select(three, _mm256_or_si256(_mm256_srli_epi16(u, 12), splat16(0xE0)),
                         select(two, _mm256_or_si256(_mm256_srli_epi16(u, 6), splat16(0xC0)), u));
  __m256i second = select(
      three, _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(u, 6), splat16(0x3F)), splat16(0x80)), low6);
  if (pairs) {
    // With w = the high half's ten bits + 0x40 (bits 20..10 of the value): F0 | w >> 8 and
    // 80 | (w >> 2) & 3F in the high half's lane, 80 | (w & 3) << 4 | the low half's top
    // four bits and 80 | its low six in the low half's.
    const __m256i w = _mm256_add_epi16(_mm256_and_si256(u, splat16(0x3FF)), splat16(0x40));
    // Each lane's unit before it: the halves' seam crossed by moving the low half up.
    const __m256i before = _mm256_alignr_epi8(w, _mm256_permute2x128_si256(w, w, 0x08), 14);
    const __m256i pair_first = select(
        high, _mm256_or_si256(_mm256_srli_epi16(w, 8), splat16(0xF0)),
        _mm256_or_si256(splat16(0x80), _mm256_or_si256(_mm256_slli_epi16(_mm256_and_si256(before, splat16(3)), 4),
                                                       _mm256_and_si256(_mm256_srli_epi16(u, 6), splat16(0x0F)))));
    const __m256i pair_second =
        select(high, _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(w, 2), splat16(0x3F)), splat16(0x80)), low6);
    first = select(surrogate, pair_first, first);
    second = select(surrogate, pair_second, second);
  }
  // Slots [b0, b1, b2, 0]: units 0-3 and 8-11 in `lower`, 4-7 and 12-15 in `upper`.
  const __m256i first_two = _mm256_or_si256(first, _mm256_slli_epi16(second, 8));
  const __m256i lower = _mm256_shuffle_epi8(
      _mm256_unpacklo_epi16(first_two, low6),
      _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_load_si128(
                                  reinterpret_cast<const __m128i*>(SLOT_PACKING.shuffle[lengths & 0xFF]))),
                              _mm_load_si128(reinterpret_cast<const __m128i*>(
                                  SLOT_PACKING.shuffle[(lengths >> 16) & 0xFF])),
                              1));
  const __m256i upper = _mm256_shuffle_epi8(
      _mm256_unpackhi_epi16(first_two, low6),
      _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_load_si128(
                                  reinterpret_cast<const __m128i*>(SLOT_PACKING.shuffle[(lengths >> 8) & 0xFF]))),
                              _mm_load_si128(reinterpret_cast<const __m128i*>(SLOT_PACKING.shuffle[lengths >> 24])),
                              1));
  const auto put = [&q](__m128i bytes, unsigned slot_lengths) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(q), bytes);
    q += SLOT_PACKING.count[slot_lengths];
  };
  put(_mm256_castsi256_si128(lower), lengths & 0xFF);
  put(_mm256_castsi256_si128(upper), (lengths >> 8) & 0xFF);
  put(_mm256_extracti128_si256(lower, 1), (lengths >> 16) & 0xFF);
  put(_mm256_extracti128_si256(upper, 1), lengths >> 24);
  return q;
}

}  // namespace

NYM_TARGET_AVX2 void utf16_to_utf8_avx2(const Wchar* p, const Wchar* end, Nstring& out) {
  char block[BLOCK + SLACK];
  const __m256i not_ascii = splat16(0xFF80);
  const __m256i not_two = splat16(0xF800);
  while (p < end) {
    char* q = block;
    // A step's 16-byte stores end by q + 64, inside the slack.
    char* const limit = block + BLOCK;
    while (end - p >= 16 && q < limit) {
      const __m256i u = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
      const __m256i two_lanes = _mm256_xor_si256(is_zero(_mm256_and_si256(u, not_ascii)), splat16(-1));
      const unsigned two = lane_bits(two_lanes);
      if (two == 0) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(q),
                         _mm_packus_epi16(_mm256_castsi256_si128(u), _mm256_extracti128_si256(u, 1)));
        p += 16;
        q += 16;
        // A run of ASCII may go on: 32 units at a time.
        while (end - p >= 32 && q < limit) {
          const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
          const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 16));
          if (!_mm256_testz_si256(_mm256_or_si256(a, b), not_ascii)) break;
          // The pack works per 128-bit half; the permute puts the halves back in order.
          _mm256_storeu_si256(reinterpret_cast<__m256i*>(q),
                              _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8));
          p += 32;
          q += 32;
        }
        continue;
      }
      const __m256i three_lanes = _mm256_xor_si256(is_zero(_mm256_and_si256(u, not_two)), splat16(-1));
      const unsigned three = lane_bits(three_lanes);
      if (three == 0) {
        q = encode_two(u, two_lanes, two, q);
        p += 16;
        // Text of one- and two-byte forms may go on: 32 units at a time without the other
        // tests, until something longer or 32 units of ASCII.
        while (end - p >= 32 && q < limit) {
          const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
          const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 16));
          const __m256i a_two = _mm256_xor_si256(is_zero(_mm256_and_si256(a, not_ascii)), splat16(-1));
          const __m256i b_two = _mm256_xor_si256(is_zero(_mm256_and_si256(b, not_ascii)), splat16(-1));
          const __m256i any = _mm256_or_si256(a_two, b_two);
          if (!_mm256_testz_si256(_mm256_or_si256(a, b), not_two) || _mm256_testz_si256(any, any)) break;
          q = encode_two(a, a_two, lane_bits(a_two), q);
          q = encode_two(b, b_two, lane_bits(b_two), q);
          p += 32;
        }
        continue;
      }
      const __m256i surrogate_lanes = _mm256_cmpeq_epi16(_mm256_and_si256(u, splat16(0xF800)), splat16(0xD800));
      const unsigned surrogate = lane_bits(surrogate_lanes);
      // Two bits per unit: one byte, one more for two bytes or more, one more for three;
      // a pair's halves take two each.
      unsigned lengths = 0x55555555u + spread(two) + spread(three) - spread(surrogate);
      unsigned units = 16;
      __m256i high_lanes = _mm256_setzero_si256();
      if (surrogate != 0) {
        high_lanes = _mm256_cmpeq_epi16(_mm256_and_si256(u, splat16(0xFC00)), splat16(0xD800));
        const unsigned high = lane_bits(high_lanes);
        // Only well-formed pairs, each high half directly followed by a low one; a high half
        // in the last lane waits for the next step.
        if ((surrogate & ~high) != ((high << 1) & 0xFFFF)) {
          const Wchar* const stop = p + 16;
          while (p < stop) q = utf16_char_to_utf8(p, end, q);
          continue;
        }
        if ((high & 0x8000) != 0) {
          units = 15;
          lengths &= 0x3FFFFFFF;
        }
      }
      q = encode_three(u, two_lanes, three_lanes, surrogate_lanes, high_lanes, surrogate != 0, lengths, q);
      p += units;
    }
    while (p < end && q < limit) q = utf16_char_to_utf8(p, end, q);
    out.append(block, static_cast<std::size_t>(q - block));
  }
}

}  // namespace nym::impl

#endif
