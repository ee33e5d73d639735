// The AVX2 kernel from UTF-8: the AVX-512 kernel's blocks and masks on two 32-byte vectors.
// Each unit is computed in the 16-bit lane of the byte that ends it, sixteen lanes at a time,
// and a byte shuffle per eight lanes packs them. The scalar steps take each fault the masks
// find, and the vector resumes right after it.
#include "text/utf_kernel.h"
#include "text/utf_shuffle_tables.h"

#if defined(NYM_UTF_AVX)

#include <immintrin.h>

namespace nym::impl {

namespace {

NYM_TARGET_AVX2 inline std::uint64_t bits(__m256i lo, __m256i hi) {
  return static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(lo))) |
         static_cast<std::uint64_t>(static_cast<unsigned>(_mm256_movemask_epi8(hi))) << 32;
}

// Signed compares: 80..BF are below C0 (-64), and so on.
NYM_TARGET_AVX2 inline std::uint64_t below(__m256i lo, __m256i hi, char v) {
  const __m256i s = _mm256_set1_epi8(v);
  return bits(_mm256_cmpgt_epi8(s, lo), _mm256_cmpgt_epi8(s, hi));
}

NYM_TARGET_AVX2 inline std::uint64_t above(__m256i lo, __m256i hi, char v) {
  const __m256i s = _mm256_set1_epi8(v);
  return bits(_mm256_cmpgt_epi8(lo, s), _mm256_cmpgt_epi8(hi, s));
}

// `open`: the bytes of a sequence that the block before left open (0 to 3).
NYM_TARGET_AVX2 inline Byte_classes classify(__m256i lo, __m256i hi, unsigned open) {
  Byte_classes c;
  c.high = bits(lo, hi);
  c.cont = below(lo, hi, -64);
  c.three = above(lo, hi, -33) & c.high;
  c.four = above(lo, hi, -17) & c.high;
  if ((c.four | open) != 0) {
    c.odd = above(lo, hi, -9) & c.high;
    c.f0 = bits(_mm256_cmpeq_epi8(lo, _mm256_set1_epi8(-16)), _mm256_cmpeq_epi8(hi, _mm256_set1_epi8(-16)));
    c.small = below(lo, hi, -112);
  }
  return c;
}

// Sixteen bits of a mask as all-ones 16-bit lanes.
NYM_TARGET_AVX2 inline __m256i lane_mask(std::uint64_t m) {
  const __m256i lane_bits = _mm256_setr_epi16(1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192,
                                              16384, static_cast<short>(0x8000));
  return _mm256_cmpeq_epi16(_mm256_and_si256(_mm256_set1_epi16(static_cast<short>(m & 0xFFFF)), lane_bits),
                            lane_bits);
}

// The units of the 16 bytes x (the bytes of the block from 16 * chunk; `before` holds the
// 16 before them) at q: the lanes of `keep` end units.
NYM_TARGET_AVX2 inline Wchar* decode_chunk(__m128i x, __m128i before, unsigned chunk, const Block_ends& ends,
                                           bool pairs, std::uint64_t keep, Wchar* q) {
  const unsigned shift = 16 * chunk;
  const __m128i b = _mm_alignr_epi8(x, before, 15);
  const __m128i pair_lo = _mm_unpacklo_epi8(x, b);
  const __m128i pair_hi = _mm_unpackhi_epi8(x, b);
  const __m256i pair = _mm256_inserti128_si256(_mm256_castsi128_si256(pair_lo), pair_hi, 1);
  const __m256i third = _mm256_cvtepu8_epi16(_mm_alignr_epi8(x, before, 14));
  // The low six bits of this byte and the one before (a 110xxxxx lead has bit 5 clear, so the
  // same mask serves leads and continuations), weighted 1 and 64; shifting by 12 keeps the low
  // four bits of a three-byte lead.
  const __m256i two = _mm256_maddubs_epi16(_mm256_and_si256(pair, _mm256_set1_epi16(0x3F3F)),
                                           _mm256_set1_epi16(0x4001));
  const __m256i three = _mm256_add_epi16(two, _mm256_slli_epi16(third, 12));
  __m256i units = _mm256_blendv_epi8(three, two, lane_mask(ends.two >> shift));
  units = _mm256_blendv_epi8(units, _mm256_cvtepu8_epi16(x), lane_mask(ends.ascii >> shift));
  if (pairs) {
    // The high half holds bits 20..10 of the value less 0x40 (the 0x10000 a pair leaves out).
    const __m256i ten = _mm256_set1_epi16(0x3FF);
    const __m256i low = _mm256_or_si256(_mm256_and_si256(two, ten), _mm256_set1_epi16(static_cast<short>(0xDC00)));
    const __m256i high = _mm256_or_si256(
        _mm256_and_si256(_mm256_sub_epi16(_mm256_srli_epi16(three, 4), _mm256_set1_epi16(0x40)), ten),
        _mm256_set1_epi16(static_cast<short>(0xD800)));
    units = _mm256_blendv_epi8(units, low, lane_mask(ends.low >> shift));
    units = _mm256_blendv_epi8(units, high, lane_mask(ends.high >> shift));
  }
  const unsigned lo = static_cast<unsigned>(keep >> shift) & 0xFF;
  const unsigned hi = static_cast<unsigned>(keep >> (shift + 8)) & 0xFF;
  const __m256i shuffle =
      _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(LANE_PACKING.shuffle[lo]))),
                              _mm_load_si128(reinterpret_cast<const __m128i*>(LANE_PACKING.shuffle[hi])), 1);
  const __m256i packed = _mm256_shuffle_epi8(units, shuffle);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm256_castsi256_si128(packed));
  q += LANE_PACKING.count[lo];
  _mm_storeu_si128(reinterpret_cast<__m128i*>(q), _mm256_extracti128_si256(packed, 1));
  return q + LANE_PACKING.count[hi];
}

// The units that end at the bytes `keep` of the block [x0, x1] (`before`: the last 16 bytes
// of the block before it); writes up to 64 units at q.
NYM_TARGET_AVX2 inline Wchar* decode_block(__m128i before, __m256i x0, __m256i x1, const Block_ends& e,
                                           std::uint64_t keep, Wchar* q) {
  const bool pairs = (e.low | e.high) != 0;
  const __m128i chunks[5] = {before, _mm256_castsi256_si128(x0), _mm256_extracti128_si256(x0, 1),
                             _mm256_castsi256_si128(x1), _mm256_extracti128_si256(x1, 1)};
  for (unsigned i = 0; i < 4; ++i) q = decode_chunk(chunks[i + 1], chunks[i], i, e, pairs, keep, q);
  return q;
}

NYM_TARGET_AVX2 inline void widen(__m256i x, Wchar* q) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(q), _mm256_cvtepu8_epi16(_mm256_castsi256_si128(x)));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(q + 16), _mm256_cvtepu8_epi16(_mm256_extracti128_si256(x, 1)));
}

}  // namespace

NYM_TARGET_AVX2 const unsigned char* utf8_to_utf16_avx2(const unsigned char* p, const unsigned char* end,
                                                         Wstring& out) {
  Wchar block[BLOCK + SLACK];
  while (p < end) {
    Wchar* q = block;
    Wchar* const limit = block + WIDE_BLOCK_FULL;
    while (q < limit) {
      // Whole blocks at a stride of 64, as in the AVX-512 kernel; `before` keeps the last 16
      // bytes of the block before.
      __m128i before = _mm_setzero_si128();
      Block_stream stream;
      while (end - p >= 64 && q < limit) {
        const __m256i x0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
        const __m256i x1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 32));
        if ((_mm256_movemask_epi8(_mm256_or_si256(x0, x1)) | stream.open) == 0) {
          widen(x0, q);
          widen(x1, q + 32);
          p += 64;
          q += 64;
          while (end - p >= 64 && q < limit) {
            const __m256i y0 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
            const __m256i y1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 32));
            if (_mm256_movemask_epi8(_mm256_or_si256(y0, y1)) != 0) break;
            widen(y0, q);
            widen(y1, q + 32);
            p += 64;
            q += 64;
          }
          stream.after_ascii();
          continue;
        }
        const Byte_classes c = classify(x0, x1, stream.open);
        const Block_ends e = block_ends(c, stream.before);
        if (e.faults != 0) break;
        q = decode_block(before, x0, x1, e, e.keep, q);
        before = _mm256_extracti128_si256(x1, 1);
        stream.after(c);
        p += 64;
      }
      q = stream.leave(p, q);
      if (p >= end || q >= limit) break;
      // A block with a fault, or the text's last bytes: masked loads of whole 4-byte words,
      // which read nothing past them (the last 1 to 3 bytes go to the scalar steps).
      const std::size_t left = static_cast<std::size_t>(end - p);
      if (left < 16) {
        // Short texts and ends: the scalar steps beat a vector load of bytes just written,
        // which waits for the stores before it.
        while (p < end) q = utf8_char_to_utf16(p, end, q);
        break;
      }
      const unsigned bytes = left >= 64 ? 64u : static_cast<unsigned>(left) & ~3u;
      const __m256i words = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
      const int whole = static_cast<int>(bytes / 4);
      const __m256i x0 = _mm256_maskload_epi32(reinterpret_cast<const int*>(p),
                                               _mm256_cmpgt_epi32(_mm256_set1_epi32(whole), words));
      const __m256i x1 = _mm256_maskload_epi32(reinterpret_cast<const int*>(bytes > 32 ? p + 32 : p),
                                               _mm256_cmpgt_epi32(_mm256_set1_epi32(whole - 8), words));
      const Byte_classes c = classify(x0, x1, 0);
      if (c.high == 0) {
        widen(x0, q);
        widen(x1, q + 32);
        p += bytes;
        q += bytes;
        continue;
      }
      const Block_plan plan = plan_block(c, bytes, left);
      if (plan.take != 0) q = decode_block(_mm_setzero_si128(), x0, x1, block_ends(c, Byte_classes{}), plan.keep, q);
      q = scalar_steps(plan, p, end, q);
    }
    out.append(block, static_cast<std::size_t>(q - block));
  }
  return p;
}

}  // namespace nym::impl

#endif
