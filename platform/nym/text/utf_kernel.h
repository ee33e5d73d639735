// What the whole-text conversion kernels share (internal): the vector instructions the build
// may use, the output blocks, the scalar steps every kernel falls back on, and the kernels
// themselves, chosen in utf_dispatch.cpp: one file per instruction set (utf_kernel_baseline.cpp,
// utf_kernel_ssse3.cpp), or per direction and instruction set for the wide ones
// (utf8_to_utf16_avx2.cpp and so on).
//
// The wide kernels take their instructions from target attributes, never from per-file
// compiler flags: inline functions of the standard headers compiled with AVX flags could be
// the copy the linker keeps for the whole program.
#ifndef NYM_TEXT_UTF_KERNEL_H
#define NYM_TEXT_UTF_KERNEL_H

#include <cstddef>
#include <cstdint>

#include "text/utf_walk.h"

#if defined(__x86_64__) || defined(_M_X64)
#define NYM_UTF_SSE2 1
#if defined(__GNUC__) || defined(__clang__)
#define NYM_UTF_SSSE3 1
#define NYM_TARGET_SSSE3 __attribute__((target("ssse3")))
#define NYM_UTF_AVX 1
#define NYM_TARGET_AVX2 __attribute__((target("avx2,bmi,bmi2,popcnt,lzcnt")))
#define NYM_TARGET_AVX512 \
  __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,avx2,bmi,bmi2,popcnt,lzcnt")))
#endif
#endif

namespace nym::impl {

// Output goes through a block on the stack and is appended per block, so the string grows
// only as its own growth rule says and never holds a worst-case reservation.
constexpr std::size_t BLOCK = 8192;
// Room behind the block's limit for one step of the widest path (64 units or bytes).
constexpr std::size_t SLACK = 64;
// Where the wide UTF-8 kernels call a block full: at half of it, so that the block and the
// input it comes from share a 32 KiB first-level cache (ASCII 69 -> 63 us a MiB). A step
// of theirs writes up to 64 units past it, a little more when the scalar steps take a fault.
constexpr std::size_t WIDE_BLOCK_FULL = BLOCK / 2;

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

// One character of UTF-8 at p (p < end) as UTF-16 at q: well-formed sequences inline while
// four bytes remain, so that they need no bounds test, everything else through the walker.
inline Wchar* utf8_char_to_utf16(const unsigned char*& p, const unsigned char* end, Wchar* q) {
  const unsigned b = p[0];
  if (b < 0x80) {
    *q = static_cast<Wchar>(b);
    ++p;
    return q + 1;
  }
  if (end - p >= 4) {
    // A continuation byte less 0x80 is at most 0x3F; anything else wraps above it.
    if (b < 0xE0) {
      const unsigned t1 = p[1] - 0x80u;
      if (b >= 0xC0 && t1 <= 0x3F) {
        *q = static_cast<Wchar>(((b & 0x1F) << 6) | t1);
        p += 2;
        return q + 1;
      }
    } else if (b < 0xF0) {
      const unsigned t1 = p[1] - 0x80u;
      const unsigned t2 = p[2] - 0x80u;
      if ((t1 | t2) <= 0x3F) {
        *q = static_cast<Wchar>(((b & 0x0F) << 12) | (t1 << 6) | t2);
        p += 3;
        return q + 1;
      }
    } else if (b < 0xF8) {
      const unsigned t1 = p[1] - 0x80u;
      const unsigned t2 = p[2] - 0x80u;
      const unsigned t3 = p[3] - 0x80u;
      if ((t1 | t2 | t3) <= 0x3F) {
        p += 4;
        return encode_utf16(q, ((b & 0x07) << 18) | (t1 << 12) | (t2 << 6) | t3);
      }
    }
  }
  return encode_utf16(q, decode_utf8(p, nullptr));
}

// One character of UTF-16 at p (p < end) as UTF-8 at q.
inline char* utf16_char_to_utf8(const Wchar*& p, const Wchar* end, char* q) {
  const std::uint32_t u = *p;
  if (u < 0x80) {
    *q = static_cast<char>(u);
    ++p;
    return q + 1;
  }
  if (u < 0x800) {
    q[0] = static_cast<char>(0xC0 | (u >> 6));
    q[1] = static_cast<char>(0x80 | (u & 0x3F));
    ++p;
    return q + 2;
  }
  if (u < 0xD800 || u > 0xDFFF) {
    q[0] = static_cast<char>(0xE0 | (u >> 12));
    q[1] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
    q[2] = static_cast<char>(0x80 | (u & 0x3F));
    ++p;
    return q + 3;
  }
  if (u <= 0xDBFF && end - p >= 2 && is_low_surrogate(p[1])) {
    const std::uint32_t v = combine_surrogates(u, p[1]);
    q[0] = static_cast<char>(0xF0 | (v >> 18));
    q[1] = static_cast<char>(0x80 | ((v >> 12) & 0x3F));
    q[2] = static_cast<char>(0x80 | ((v >> 6) & 0x3F));
    q[3] = static_cast<char>(0x80 | (v & 0x3F));
    p += 2;
    return q + 4;
  }
  return encode_utf8(q, decode_utf16(p, end));
}

#if defined(NYM_UTF_SSSE3)
// Byte classes of up to 64 bytes of UTF-8 as bit masks: 80 and above, continuation 80..BF,
// leads of three and four bytes (and more), leads F8..FF, F0, and bytes below 90.
struct Byte_classes {
  std::uint64_t high = 0, cont = 0, three = 0, four = 0, odd = 0, f0 = 0, small = 0;
};

// The bytes of the first `bytes` where the walker's output is not the plain formula of the
// block steps: a lead without its continuation bytes, a stray continuation byte, a lead
// F8..FF, and F0 before 80..8F (an overlong that gives one unit, not a pair). A sequence cut
// by the end is none of these.
inline std::uint64_t window_faults(const Byte_classes& c, unsigned bytes) {
  const std::uint64_t all = bytes >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bytes) - 1;
  const std::uint64_t lead = c.high & ~c.cont;
  const std::uint64_t expected = (lead << 1) | (c.three << 2) | (c.four << 3);
  return ((expected ^ c.cont) | c.odd | ((c.f0 << 1) & c.small)) & all;
}

// The bytes of the first k (whole sequences, k > 0) that end units: each sequence's last
// byte, and a pair's high half at the byte before.
inline std::uint64_t unit_ends(const Byte_classes& c, unsigned k) {
  const std::uint64_t taken = k >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << k) - 1;
  return ((~c.cont >> 1) | (std::uint64_t{1} << (k - 1)) | (c.four << 2)) & taken;
}

// How many of the first `bytes` (which hold no fault) decode as whole sequences, and the
// bytes that end units: each sequence's last byte, and a pair's high half at the byte before.
// A sequence cut by the end waits for the next window.
inline unsigned window_cut(const Byte_classes& c, unsigned bytes, std::uint64_t& keep) {
  if (bytes == 0) return 0;
  const std::uint64_t all = bytes >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bytes) - 1;
  const std::uint64_t starts = ~c.cont & all;
  // Only the last sequence can be cut: every byte before the end is as its lead announces.
  const unsigned last = 63u - static_cast<unsigned>(__builtin_clzll(starts));
  const unsigned length = 1 + static_cast<unsigned>(((c.high & ~c.cont) >> last) & 1) +
                          static_cast<unsigned>((c.three >> last) & 1) + static_cast<unsigned>((c.four >> last) & 1);
  const unsigned k = last + length > bytes ? last : bytes;
  if (k == 0) return 0;
  keep = unit_ends(c, k);
  return k;
}

// The bytes of a sequence that a whole block without faults leaves open at its end (0 to 3):
// at most one of a lead at 63, a three-byte lead at 62, a four-byte one at 61.
inline unsigned open_at_end(const Byte_classes& c) {
  return static_cast<unsigned>(((c.high & ~c.cont) >> 63) + ((c.three >> 61) & 2) + ((c.four >> 61) & 1) * 3);
}

// A block's bytes by the unit that ends there, counting the sequences that the block before
// (classes `b`; empty at a walker's boundary) left open: ASCII, the end of a two-byte
// sequence, the low and high halves of pairs, and every byte that ends a unit. `faults`
// holds the bytes where the walker's output is not the formula's (as window_faults).
struct Block_ends {
  std::uint64_t ascii, two, low, high, keep, faults;
};

inline Block_ends block_ends(const Byte_classes& c, const Byte_classes& b) {
  const std::uint64_t lead = c.high & ~c.cont;
  const std::uint64_t lead_before = b.high & ~b.cont;
  const std::uint64_t expected = (lead << 1) | (c.three << 2) | (c.four << 3) | (lead_before >> 63) |
                                 (b.three >> 62) | (b.four >> 61);
  Block_ends e;
  e.faults = (expected ^ c.cont) | c.odd | (((c.f0 << 1) | (b.f0 >> 63)) & c.small);
  e.ascii = ~c.high;
  e.two = ((lead & ~c.three) << 1) | ((lead_before & ~b.three) >> 63);
  e.low = (c.four << 3) | (b.four >> 61);
  e.high = (c.four << 2) | (b.four >> 62);
  e.keep = e.ascii | e.two | ((c.three & ~c.four) << 2) | ((b.three & ~b.four) >> 62) | e.low | e.high;
  return e;
}

// What a wide kernel does with a block that holds a fault, or with the text's last `left`
// bytes (fewer than 64; `bytes` is the smaller of 64 and `left`): the formula takes the first
// `take` bytes (their units end at the bytes of `keep`), then the scalar steps run to
// `scalar_end` bytes from the block's start: through the first fault, at least 16 bytes into
// the block so that dense faults cost no block test per byte, or to the end of the text when
// a sequence is cut there (the walker takes its continuation bytes from beyond).
struct Block_plan {
  unsigned take = 0;
  std::size_t scalar_end = 0;
  std::uint64_t keep = 0;
};

inline Block_plan plan_block(const Byte_classes& c, unsigned bytes, std::size_t left) {
  Block_plan plan;
  const std::uint64_t faults = window_faults(c, bytes);
  const unsigned first = faults != 0 ? static_cast<unsigned>(__builtin_ctzll(faults)) : bytes;
  plan.take = window_cut(c, first, plan.keep);
  plan.scalar_end = plan.take;
  if (plan.take == bytes) return plan;
  const std::size_t run = first < 16 ? 16 : first + 1;
  plan.scalar_end = run < left ? run : left;
  return plan;
}

// After the formula's units of a plan: the scalar steps, from the plan's end to its stop.
inline Wchar* scalar_steps(const Block_plan& plan, const unsigned char*& p, const unsigned char* end, Wchar* q) {
  const unsigned char* const stop = p + plan.scalar_end;
  p += plan.take;
  while (p < stop) q = utf8_char_to_utf16(p, end, q);
  return q;
}

// What a wide kernel carries from one whole block to the next: the classes of the block
// before (none after ASCII or at a walker's boundary) and the bytes of a sequence it left
// open (0 to 3).
struct Block_stream {
  Byte_classes before;
  unsigned open = 0;

  void after_ascii() { before = Byte_classes{}; }
  void after(const Byte_classes& c) {
    before = c;
    open = open_at_end(c);
  }
  // Back to the lead of a sequence left open, a walker's boundary. Open by three bytes, it is
  // a pair whose high half ended the units written: taken back too.
  Wchar* leave(const unsigned char*& p, Wchar* q) {
    p -= open;
    const bool half = open == 3;
    *this = Block_stream{};
    return half ? q - 1 : q;
  }
};
#endif
// The terminator scans with the lines read by a kernel's instructions (SSE2 where the build
// has it, plain C++ elsewhere): for utf16_length AVX2 for the wide kernels, for utf8_length
// AVX-512 for the AVX-512 one. The forms without a kernel pick the best the processor has;
// the tests hold each to the same answers.
std::size_t utf16_length(const Wchar* text, std::size_t max, Utf_kernel kernel);
std::size_t utf8_length(const unsigned char* text, std::size_t max, Utf_kernel kernel);

// The baseline kernel: SSE2 steps over runs of ASCII where the build has SSE2 (every x64
// processor), plain C++ elsewhere; the scalar steps for the rest.
const unsigned char* utf8_to_utf16_baseline(const unsigned char* p, const unsigned char* end, Wstring& out);
void utf16_to_utf8_baseline(const Wchar* p, const Wchar* end, Nstring& out);

#if defined(NYM_UTF_SSSE3)
// Whole 16-byte windows of short sequences, decoded and packed with a byte shuffle. Only on a
// processor with SSSE3.
NYM_TARGET_SSSE3 const unsigned char* utf8_to_utf16_ssse3(const unsigned char* p, const unsigned char* end,
                                                           Wstring& out);
NYM_TARGET_SSSE3 void utf16_to_utf8_ssse3(const Wchar* p, const Wchar* end, Nstring& out);
#endif

#if defined(NYM_UTF_AVX)
// 32-byte vectors; only on a processor with AVX2, BMI1, BMI2, POPCNT and LZCNT.
NYM_TARGET_AVX2 const unsigned char* utf8_to_utf16_avx2(const unsigned char* p, const unsigned char* end,
                                                         Wstring& out);
NYM_TARGET_AVX2 void utf16_to_utf8_avx2(const Wchar* p, const Wchar* end, Nstring& out);
// 64-byte blocks; only with AVX-512 F, BW, VL, VBMI and VBMI2 as well.
NYM_TARGET_AVX512 const unsigned char* utf8_to_utf16_avx512(const unsigned char* p, const unsigned char* end,
                                                             Wstring& out);
NYM_TARGET_AVX512 void utf16_to_utf8_avx512(const Wchar* p, const Wchar* end, Nstring& out);
#endif

}  // namespace nym::impl

#endif
