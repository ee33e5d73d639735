// The AVX-512 kernel from UTF-8: 64-byte blocks classified once into byte masks. Each unit is
// computed in the 16-bit lane of the byte that ends it, from that byte and the two before it
// (across the block's start too), and a compress packs those lanes; the scalar steps take
// each fault the masks find, and the vector resumes right after it.
#include "text/utf_kernel.h"

#if defined(NYM_UTF_AVX)

#include <immintrin.h>

// GCC 12's intrinsics start some results from a vector it leaves undefined on purpose.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

namespace nym::impl {

namespace {

// Byte indexes into [previous block, block] (0..63, 64..127) for the 32 lanes of each half:
// [j, j - 1] gives a lane its byte and the one before, [j - 2] the byte two back.
struct Lane_indexes {
  alignas(64) unsigned char pair[2][64];
  alignas(64) unsigned char third[2][64];
};

constexpr Lane_indexes make_lane_indexes() {
  Lane_indexes t{};
  for (unsigned half = 0; half < 2; ++half) {
    for (unsigned lane = 0; lane < 32; ++lane) {
      const unsigned j = 64 + 32 * half + lane;
      t.pair[half][2 * lane] = static_cast<unsigned char>(j);
      t.pair[half][2 * lane + 1] = static_cast<unsigned char>(j - 1);
      t.third[half][2 * lane] = static_cast<unsigned char>(j - 2);
      t.third[half][2 * lane + 1] = static_cast<unsigned char>(j - 2);
    }
  }
  return t;
}

constexpr Lane_indexes LANE_INDEXES = make_lane_indexes();

// `open`: the bytes of a sequence that the block before left open (0 to 3).
NYM_TARGET_AVX512 inline Byte_classes classify(__m512i x, unsigned open) {
  Byte_classes c;
  c.high = _mm512_movepi8_mask(x);
  c.cont = _mm512_cmplt_epi8_mask(x, _mm512_set1_epi8(-64));
  c.three = _mm512_cmpge_epu8_mask(x, _mm512_set1_epi8(-32));
  c.four = _mm512_cmpge_epu8_mask(x, _mm512_set1_epi8(-16));
  if ((c.four | open) != 0) {
    c.odd = _mm512_cmpge_epu8_mask(x, _mm512_set1_epi8(-8));
    c.f0 = _mm512_cmpeq_epi8_mask(x, _mm512_set1_epi8(-16));
    c.small = _mm512_cmplt_epu8_mask(x, _mm512_set1_epi8(-112));
  }
  return c;
}

NYM_TARGET_AVX512 inline Wchar* pack_units(__m512i units, __mmask32 kept, Wchar* q) {
  _mm512_storeu_si512(q, _mm512_maskz_compress_epi16(kept, units));
  return q + _mm_popcnt_u32(kept);
}

// The units of one half's 32 lanes, packed to q; `longer`: some end sequences of three bytes
// or more.
NYM_TARGET_AVX512 inline Wchar* decode_half(__m512i before, __m512i x, __m256i bytes, unsigned half,
                                            const Block_ends& e, bool longer, bool pairs, std::uint64_t keep, Wchar* q) {
  const unsigned shift = 32 * half;
  const auto lanes = [shift](std::uint64_t m) { return static_cast<__mmask32>(m >> shift); };
  const __m512i pair = _mm512_permutex2var_epi8(before, _mm512_load_si512(LANE_INDEXES.pair[half]), x);
  // The low six bits of this byte and the one before (a 110xxxxx lead has bit 5 clear, so the
  // same mask serves leads and continuations), weighted 1 and 64.
  const __m512i two = _mm512_maddubs_epi16(_mm512_and_si512(pair, _mm512_set1_epi16(0x3F3F)),
                                           _mm512_set1_epi16(0x4001));
  if (!longer) return pack_units(_mm512_mask_mov_epi16(two, lanes(e.ascii), _mm512_cvtepu8_epi16(bytes)), lanes(keep), q);
  // Shifting by 12 keeps the low four bits of a three-byte lead.
  const __m512i third = _mm512_permutex2var_epi8(before, _mm512_load_si512(LANE_INDEXES.third[half]), x);
  const __m512i three = _mm512_add_epi16(two, _mm512_slli_epi16(third, 12));
  __m512i units = _mm512_mask_mov_epi16(three, lanes(e.two), two);
  units = _mm512_mask_mov_epi16(units, lanes(e.ascii), _mm512_cvtepu8_epi16(bytes));
  if (pairs) {
    // (a & b) | c: the ten bits of each half of a pair under its surrogate prefix. The high
    // half holds bits 20..10 of the value less 0x40 (the 0x10000 a pair leaves out).
    const __m512i ten = _mm512_set1_epi16(0x3FF);
    const __m512i low = _mm512_ternarylogic_epi32(two, ten, _mm512_set1_epi16(static_cast<short>(0xDC00)), 0xEA);
    const __m512i high = _mm512_ternarylogic_epi32(_mm512_sub_epi16(_mm512_srli_epi16(three, 4), _mm512_set1_epi16(0x40)),
                                                   ten, _mm512_set1_epi16(static_cast<short>(0xD800)), 0xEA);
    units = _mm512_mask_mov_epi16(units, lanes(e.low), low);
    units = _mm512_mask_mov_epi16(units, lanes(e.high), high);
  }
  return pack_units(units, lanes(keep), q);
}

// The units that end at the bytes `keep` of block x (`before`: the block before it); writes up
// to 64 units at q.
NYM_TARGET_AVX512 inline Wchar* decode_block(__m512i before, __m512i x, const Block_ends& e, std::uint64_t keep,
                                             Wchar* q) {
  const bool pairs = (e.low | e.high) != 0;
  const bool longer = (keep & ~(e.ascii | e.two)) != 0;
  q = decode_half(before, x, _mm512_castsi512_si256(x), 0, e, longer, pairs, keep, q);
  return decode_half(before, x, _mm512_extracti64x4_epi64(x, 1), 1, e, longer, pairs, keep, q);
}

NYM_TARGET_AVX512 inline void widen(__m512i x, Wchar* q) {
  _mm512_storeu_si512(q, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(x)));
  _mm512_storeu_si512(q + 32, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(x, 1)));
}

}  // namespace

NYM_TARGET_AVX512 const unsigned char* utf8_to_utf16_avx512(const unsigned char* p, const unsigned char* end,
                                                             Wstring& out) {
  Wchar block[BLOCK + SLACK];
  while (p < end) {
    Wchar* q = block;
    Wchar* const limit = block + WIDE_BLOCK_FULL;
    while (q < limit) {
      // Whole blocks without faults, the path that matters. A unit is decoded in the block
      // that holds its last byte, so the position moves by 64 whatever the text, and no
      // block waits on the tests of the one before.
      __m512i before = _mm512_setzero_si512();
      Block_stream stream;
      while (end - p >= 64 && q < limit) {
        const __m512i x = _mm512_loadu_si512(p);
        if ((_mm512_movepi8_mask(x) | stream.open) == 0) {
          widen(x, q);
          p += 64;
          q += 64;
          // A run of ASCII in a loop of its own.
          while (end - p >= 64 && q < limit) {
            const __m512i y = _mm512_loadu_si512(p);
            if (_mm512_movepi8_mask(y) != 0) break;
            widen(y, q);
            p += 64;
            q += 64;
          }
          stream.after_ascii();
          continue;
        }
        const Byte_classes c = classify(x, stream.open);
        const Block_ends e = block_ends(c, stream.before);
        if (e.faults != 0) break;
        q = decode_block(before, x, e, e.keep, q);
        before = x;
        stream.after(c);
        p += 64;
      }
      q = stream.leave(p, q);
      if (p >= end || q >= limit) break;
      // A block with a fault, or the text's last bytes (through a masked load, which reads
      // nothing past them).
      const std::size_t left = static_cast<std::size_t>(end - p);
      if (left < 16) {
        // Short texts and ends: the scalar steps beat a vector load of bytes just written,
        // which waits for the stores before it.
        while (p < end) q = utf8_char_to_utf16(p, end, q);
        break;
      }
      const unsigned bytes = left >= 64 ? 64u : static_cast<unsigned>(left);
      const __m512i x = _mm512_maskz_loadu_epi8(_bzhi_u64(~0ull, bytes), p);
      const Byte_classes c = classify(x, 0);
      if (c.high == 0) {
        widen(x, q);
        p += bytes;
        q += bytes;
        continue;
      }
      const Block_plan plan = plan_block(c, bytes, left);
      if (plan.take != 0) q = decode_block(x, x, block_ends(c, Byte_classes{}), plan.keep, q);
      q = scalar_steps(plan, p, end, q);
    }
    out.append(block, static_cast<std::size_t>(q - block));
  }
  return p;
}

}  // namespace nym::impl

#endif
