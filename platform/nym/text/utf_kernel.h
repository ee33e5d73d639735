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

// utf16_length with the lines read by a kernel's instructions: SSE2 (on x64) for the baseline
// and SSSE3, AVX2 for the wide ones. The tests hold each to the same answers.
std::size_t utf16_length(const Wchar* text, std::size_t max, Utf_kernel kernel);

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
// 32-byte blocks; only on a processor with AVX2, BMI1, BMI2, POPCNT and LZCNT.
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
