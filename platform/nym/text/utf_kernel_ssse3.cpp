// The SSSE3 kernel: whole 16-byte windows of short sequences, decoded and packed with a byte
// shuffle; the scalar steps take whatever the window test refuses.
#include "text/utf_kernel.h"
#include "text/utf_shuffle_tables.h"

#if defined(NYM_UTF_SSSE3)

#include <emmintrin.h>
#include <tmmintrin.h>

namespace nym::impl {

namespace {

// Four mask bits spread to the low bit of four 2-bit fields.
constexpr unsigned char SPREAD[16] = {0x00, 0x01, 0x04, 0x05, 0x10, 0x11, 0x14, 0x15,
                                      0x40, 0x41, 0x44, 0x45, 0x50, 0x51, 0x54, 0x55};

NYM_TARGET_SSSE3 inline __m128i load(const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); }
NYM_TARGET_SSSE3 inline void store(void* p, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
NYM_TARGET_SSSE3 inline __m128i splat16(int v) { return _mm_set1_epi16(static_cast<short>(v)); }
NYM_TARGET_SSSE3 inline __m128i select(__m128i mask, __m128i yes, __m128i no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}
NYM_TARGET_SSSE3 inline Wchar* pack_lanes(Wchar* q, __m128i lanes, unsigned keep) {
  store(q, _mm_shuffle_epi8(lanes, load(LANE_PACKING.shuffle[keep])));
  return q + LANE_PACKING.count[keep];
}

// The UTF-16 unit ending at each lane, from the lane's byte a and the two before it (b, c),
// zero-extended: ASCII, or the last byte of a two- or three-byte sequence. Lanes that end
// nothing give garbage, dropped by the packing.
NYM_TARGET_SSSE3 inline __m128i decode_short(__m128i a, __m128i b, __m128i c) {
  // A 110xxxxx lead has bit 5 clear, so b & 0x3F serves for a lead and a continuation alike.
  const __m128i b_cont = _mm_cmpeq_epi16(_mm_and_si128(b, splat16(0xC0)), splat16(0x80));
  const __m128i upper = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(b, splat16(0x3F)), 6),
                                     _mm_and_si128(_mm_slli_epi16(c, 12), b_cont));
  return _mm_or_si128(_mm_and_si128(a, splat16(0x7F)), _mm_and_si128(_mm_cmpgt_epi16(a, splat16(0x7F)), upper));
}

// As decode_short, with four-byte sequences (lead d three lanes back): the low surrogate at
// their last byte and the high surrogate at the byte before it.
NYM_TARGET_SSSE3 inline __m128i decode_long(__m128i a, __m128i b, __m128i c, __m128i d) {
  const __m128i four_end = _mm_cmpgt_epi16(d, splat16(0xEF));
  const __m128i four_high = _mm_cmpgt_epi16(c, splat16(0xEF));
  const __m128i low = _mm_or_si128(splat16(0xDC00), _mm_or_si128(_mm_slli_epi16(_mm_and_si128(b, splat16(0x0F)), 6),
                                                                 _mm_and_si128(a, splat16(0x3F))));
  // Bits 20..10 of the value; the high half carries them less 0x40, the 0x10000 that a pair
  // leaves out.
  const __m128i top = _mm_or_si128(_mm_or_si128(_mm_slli_epi16(_mm_and_si128(c, splat16(0x07)), 8),
                                                _mm_slli_epi16(_mm_and_si128(b, splat16(0x3F)), 2)),
                                   _mm_and_si128(_mm_srli_epi16(a, 4), splat16(0x03)));
  const __m128i high =
      _mm_or_si128(splat16(0xD800), _mm_and_si128(_mm_sub_epi16(top, splat16(0x40)), splat16(0x3FF)));
  return select(four_end, low, select(four_high, high, decode_short(a, b, c)));
}

}  // namespace

namespace {

NYM_TARGET_SSSE3 inline void classify(__m128i x, unsigned shift, Byte_classes& c) {
  const auto bits = [shift](__m128i m) {
    return static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(m))) << shift;
  };
  const std::uint64_t high = bits(x);
  c.high |= high;
  c.cont |= bits(_mm_cmplt_epi8(x, _mm_set1_epi8(-64)));
  c.three |= bits(_mm_cmpgt_epi8(x, _mm_set1_epi8(-33))) & high;
  c.four |= bits(_mm_cmpgt_epi8(x, _mm_set1_epi8(-17))) & high;
  c.odd |= bits(_mm_cmpgt_epi8(x, _mm_set1_epi8(-9))) & high;
  c.f0 |= bits(_mm_cmpeq_epi8(x, _mm_set1_epi8(-16)));
  c.small |= bits(_mm_cmplt_epi8(x, _mm_set1_epi8(-112)));
}

// How many of the `bytes` classified (16 or 64) decode as whole windows, and the lanes that
// hold units; 0 when a fault comes first.
inline unsigned window_take(const Byte_classes& c, unsigned bytes, std::uint64_t& keep) {
  return window_faults(c, bytes) != 0 ? 0 : window_cut(c, bytes, keep);
}

// The units of one 16-byte window whose lanes `keep` end sequences; `before` is the window
// before it (zeros at the start of a run).
NYM_TARGET_SSSE3 inline Wchar* decode_window(__m128i x, __m128i before, unsigned keep, bool pairs, Wchar* q) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i x1 = _mm_alignr_epi8(x, before, 15);
  const __m128i x2 = _mm_alignr_epi8(x, before, 14);
  __m128i lo;
  __m128i hi;
  if (!pairs) {
    lo = decode_short(_mm_unpacklo_epi8(x, zero), _mm_unpacklo_epi8(x1, zero), _mm_unpacklo_epi8(x2, zero));
    hi = decode_short(_mm_unpackhi_epi8(x, zero), _mm_unpackhi_epi8(x1, zero), _mm_unpackhi_epi8(x2, zero));
  } else {
    const __m128i x3 = _mm_alignr_epi8(x, before, 13);
    lo = decode_long(_mm_unpacklo_epi8(x, zero), _mm_unpacklo_epi8(x1, zero), _mm_unpacklo_epi8(x2, zero),
                     _mm_unpacklo_epi8(x3, zero));
    hi = decode_long(_mm_unpackhi_epi8(x, zero), _mm_unpackhi_epi8(x1, zero), _mm_unpackhi_epi8(x2, zero),
                     _mm_unpackhi_epi8(x3, zero));
  }
  q = pack_lanes(q, lo, keep & 0xFF);
  return pack_lanes(q, hi, (keep >> 8) & 0xFF);
}

NYM_TARGET_SSSE3 inline Wchar* widen(__m128i x, Wchar* q) {
  const __m128i zero = _mm_setzero_si128();
  store(q, _mm_unpacklo_epi8(x, zero));
  store(q + 8, _mm_unpackhi_epi8(x, zero));
  return q + 16;
}

}  // namespace

NYM_TARGET_SSSE3 const unsigned char* utf8_to_utf16_ssse3(const unsigned char* p, const unsigned char* end, Wstring& out) {
  Wchar block[BLOCK + SLACK];
  const __m128i zero = _mm_setzero_si128();
  while (p < end) {
    Wchar* q = block;
    Wchar* const limit = block + BLOCK;
    while (end - p >= 16 && q < limit) {
      // 64 bytes at a time: four windows share one test, and the position moves once.
      while (end - p >= 64 && q < limit) {
        const __m128i x0 = load(p);
        const __m128i x1 = load(p + 16);
        const __m128i x2 = load(p + 32);
        const __m128i x3 = load(p + 48);
        if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(x0, x1), _mm_or_si128(x2, x3))) == 0) {
          q = widen(x3, widen(x2, widen(x1, widen(x0, q))));
          p += 64;
          continue;
        }
        Byte_classes c;
        classify(x0, 0, c);
        classify(x1, 16, c);
        classify(x2, 32, c);
        classify(x3, 48, c);
        std::uint64_t keep = 0;
        const unsigned k = window_take(c, 64, keep);
        if (k == 0) break;
        const bool pairs = c.four != 0;
        q = decode_window(x0, zero, static_cast<unsigned>(keep), pairs, q);
        q = decode_window(x1, x0, static_cast<unsigned>(keep >> 16), pairs, q);
        q = decode_window(x2, x1, static_cast<unsigned>(keep >> 32), pairs, q);
        q = decode_window(x3, x2, static_cast<unsigned>(keep >> 48), pairs, q);
        p += k;
      }
      if (end - p < 16 || q >= limit) break;
      const __m128i x = load(p);
      if (_mm_movemask_epi8(x) == 0) {
        q = widen(x, q);
        p += 16;
        continue;
      }
      Byte_classes c;
      classify(x, 0, c);
      std::uint64_t keep = 0;
      const unsigned k = window_take(c, 16, keep);
      if (k != 0) {
        q = decode_window(x, zero, static_cast<unsigned>(keep), c.four != 0, q);
        p += k;
        continue;
      }
      // Something unusual in the window: sixteen bytes the scalar way (at most 32 units).
      const unsigned char* const stop = p + 16;
      while (p < stop) q = utf8_char_to_utf16(p, end, q);
    }
    while (p < end && q < limit) q = utf8_char_to_utf16(p, end, q);
    out.append(block, static_cast<std::size_t>(q - block));
  }
  return p;
}

namespace {

// Lane masks of eight units: two bytes or more, three bytes or more (surrogates included),
// surrogate, high surrogate.
struct Unit_classes {
  __m128i two, three, surrogate, high;
};

NYM_TARGET_SSSE3 inline Unit_classes classify_units(__m128i u) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i ones = _mm_cmpeq_epi16(zero, zero);
  Unit_classes c;
  c.two = _mm_xor_si128(_mm_cmpeq_epi16(_mm_and_si128(u, splat16(0xFF80)), zero), ones);
  c.three = _mm_xor_si128(_mm_cmpeq_epi16(_mm_and_si128(u, splat16(0xF800)), zero), ones);
  c.surrogate = _mm_cmpeq_epi16(_mm_and_si128(u, splat16(0xF800)), splat16(0xD800));
  c.high = _mm_cmpeq_epi16(_mm_and_si128(u, splat16(0xFC00)), splat16(0xD800));
  return c;
}

// A bit per lane of two lane masks (a: lanes 0..7, b: lanes 8..15).
NYM_TARGET_SSSE3 inline unsigned lane_bits(__m128i a, __m128i b) {
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(a, b)));
}

// UTF-8 of eight units of at most two bytes each.
NYM_TARGET_SSSE3 inline char* encode_two(__m128i u, __m128i two, unsigned two_bits, char* q) {
  const __m128i first = select(two, _mm_or_si128(_mm_srli_epi16(u, 6), splat16(0xC0)), u);
  const __m128i lanes =
      _mm_or_si128(first, _mm_slli_epi16(_mm_or_si128(_mm_and_si128(u, splat16(0x3F)), splat16(0x80)), 8));
  store(q, _mm_shuffle_epi8(lanes, load(TWO_BYTE_PACKING.shuffle[two_bits])));
  return q + TWO_BYTE_PACKING.count[two_bits];
}

// UTF-8 of eight units of up to three bytes, or halves of well-formed pairs (two bytes each;
// `before` is the unit before the first, for a pair cut by the group's start). `lengths`
// holds two bits per unit: the bytes to keep.
NYM_TARGET_SSSE3 inline char* encode_three(__m128i u, __m128i before, const Unit_classes& c, bool pairs,
                                           unsigned lengths, char* q) {
  const __m128i low6 = _mm_or_si128(_mm_and_si128(u, splat16(0x3F)), splat16(0x80));
  __m128i first = select(c.three, _mm_or_si128(_mm_srli_epi16(u, 12), splat16(0xE0)),
                         select(c.two, _mm_or_si128(_mm_srli_epi16(u, 6), splat16(0xC0)), u));
  __m128i second =
      select(c.three, _mm_or_si128(_mm_and_si128(_mm_srli_epi16(u, 6), splat16(0x3F)), splat16(0x80)), low6);
  if (pairs) {
    // With w = the high half's ten bits + 0x40 (bits 20..10 of the value): F0 | w >> 8 and
    // 80 | (w >> 2) & 3F in the high half's lane, 80 | (w & 3) << 4 | the low half's top
    // four bits and 80 | its low six in the low half's.
    const __m128i w = _mm_add_epi16(_mm_and_si128(u, splat16(0x3FF)), splat16(0x40));
    const __m128i w_before = _mm_add_epi16(_mm_and_si128(_mm_alignr_epi8(u, before, 14), splat16(0x3FF)),
                                           splat16(0x40));
    const __m128i pair_first =
        select(c.high, _mm_or_si128(_mm_srli_epi16(w, 8), splat16(0xF0)),
               _mm_or_si128(splat16(0x80), _mm_or_si128(_mm_slli_epi16(_mm_and_si128(w_before, splat16(3)), 4),
                                                        _mm_and_si128(_mm_srli_epi16(u, 6), splat16(0x0F)))));
    const __m128i pair_second =
        select(c.high, _mm_or_si128(_mm_and_si128(_mm_srli_epi16(w, 2), splat16(0x3F)), splat16(0x80)), low6);
    first = select(c.surrogate, pair_first, first);
    second = select(c.surrogate, pair_second, second);
  }
  // Slots [b0, b1, b2, 0], four units each.
  const __m128i first_two = _mm_or_si128(first, _mm_slli_epi16(second, 8));
  const unsigned lo = lengths & 0xFF;
  const unsigned hi = (lengths >> 8) & 0xFF;
  store(q, _mm_shuffle_epi8(_mm_unpacklo_epi16(first_two, low6), load(SLOT_PACKING.shuffle[lo])));
  q += SLOT_PACKING.count[lo];
  store(q, _mm_shuffle_epi8(_mm_unpackhi_epi16(first_two, low6), load(SLOT_PACKING.shuffle[hi])));
  return q + SLOT_PACKING.count[hi];
}

// Two bits per unit of eight: 1, plus one for each mask bit that is set.
inline unsigned spread_lengths(unsigned a, unsigned b) {
  return 0x5555u + SPREAD[a & 15] + (SPREAD[(a >> 4) & 15] << 8) + SPREAD[b & 15] + (SPREAD[(b >> 4) & 15] << 8);
}

}  // namespace

NYM_TARGET_SSSE3 void utf16_to_utf8_ssse3(const Wchar* p, const Wchar* end, Nstring& out) {
  char block[BLOCK + SLACK];
  const __m128i zero = _mm_setzero_si128();
  const __m128i not_ascii = splat16(0xFF80);
  while (p < end) {
    char* q = block;
    char* const limit = block + BLOCK;
    // Sixteen units at a time: at most 48 bytes.
    while (end - p >= 16 && q < limit) {
      const __m128i a = load(p);
      const __m128i b = load(p + 8);
      const __m128i any = _mm_or_si128(a, b);
      if (_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(any, not_ascii), zero)) == 0xFFFF) {
        store(q, _mm_packus_epi16(a, b));
        p += 16;
        q += 16;
        continue;
      }
      const Unit_classes ca = classify_units(a);
      const Unit_classes cb = classify_units(b);
      const unsigned two = lane_bits(ca.two, cb.two);
      const unsigned three = lane_bits(ca.three, cb.three);
      if (three == 0) {
        q = encode_two(a, ca.two, two & 0xFF, q);
        q = encode_two(b, cb.two, two >> 8, q);
        p += 16;
        continue;
      }
      unsigned lengths_a = spread_lengths(two, three);
      unsigned lengths_b = spread_lengths(two >> 8, three >> 8);
      const unsigned surrogate = lane_bits(ca.surrogate, cb.surrogate);
      unsigned units = 16;
      if (surrogate != 0) {
        // Only well-formed pairs, each high half directly followed by a low one; a high half
        // in the last lane waits for the next step.
        const unsigned high = lane_bits(ca.high, cb.high);
        if ((surrogate & ~high) != ((high << 1) & 0xFFFF)) {
          const Wchar* const stop = p + 16;
          while (p < stop) q = utf16_char_to_utf8(p, end, q);
          continue;
        }
        // Surrogates were counted three bytes as units of 0x800 and more; they take two.
        lengths_a -= SPREAD[surrogate & 15] + (SPREAD[(surrogate >> 4) & 15] << 8);
        lengths_b -= SPREAD[(surrogate >> 8) & 15] + (SPREAD[(surrogate >> 12) & 15] << 8);
        if ((high & 0x8000) != 0) {
          units = 15;
          lengths_b &= 0x3FFF;
        }
      }
      q = encode_three(a, zero, ca, surrogate != 0, lengths_a, q);
      q = encode_three(b, a, cb, surrogate != 0, lengths_b, q);
      p += units;
    }
    while (p < end && q < limit) q = utf16_char_to_utf8(p, end, q);
    out.append(block, static_cast<std::size_t>(q - block));
  }
}
}  // namespace nym::impl

#endif  // NYM_UTF_SSSE3
