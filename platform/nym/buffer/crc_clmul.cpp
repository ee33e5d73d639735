// CRC-32 and CRC-64 by carry-less multiplication: 16 bytes a step with PCLMULQDQ, 64 with
// VPCLMULQDQ on AVX-512. Only these functions are built for those instructions (per-function
// targets), so the rest of the library stays baseline x86-64; crc.cpp calls them only on a
// processor that has them. The arithmetic and the constants are explained in crc_kernels.h.
#include "crc_kernels.h"

#if defined(__x86_64__)
#include <immintrin.h>

#define NYM_CLMUL_TARGET __attribute__((target("pclmul,sse4.1,ssse3")))
#define NYM_AVX512_TARGET __attribute__((target("avx512f,avx512bw,avx512vl,vpclmulqdq,pclmul,sse4.1,ssse3")))

namespace nym::impl {

namespace {

using std::size_t;
using std::uint32_t;
using std::uint64_t;

struct Crc32_shape {
  using Reg = uint32_t;
  static constexpr bool reflected = true;
  static constexpr Fold_pair fold(unsigned int bits) { return crc32_fold(bits); }
  static Reg bytes(Reg c, const unsigned char* p, size_t n) { return crc32_bytes(c, p, n); }
};

struct Crc64_shape {
  using Reg = uint64_t;
  static constexpr bool reflected = false;
  static constexpr Fold_pair fold(unsigned int bits) { return crc64_fold(bits); }
  static Reg bytes(Reg c, const unsigned char* p, size_t n) { return crc64_bytes(c, p, n); }
};

template <unsigned int Bits, class Shape>
struct Fold_constant {
  static constexpr Fold_pair value = Shape::fold(Bits);
};

NYM_CLMUL_TARGET inline __m128i pair128(Fold_pair f) {
  return _mm_set_epi64x(static_cast<long long>(f.high), static_cast<long long>(f.low));
}

NYM_CLMUL_TARGET inline __m128i reverse_bytes_mask() {
  return _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

// 16 bytes of data as a remainder register: as they lie for the reflected CRC, with the first
// byte on top for the other.
template <class Shape>
NYM_CLMUL_TARGET inline __m128i load16(const unsigned char* p) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  if constexpr (Shape::reflected) {
    return v;
  } else {
    return _mm_shuffle_epi8(v, reverse_bytes_mask());
  }
}

// The running register enters by being added to the first bits of the data.
NYM_CLMUL_TARGET inline __m128i start_register(uint32_t c) { return _mm_cvtsi32_si128(static_cast<int>(c)); }
NYM_CLMUL_TARGET inline __m128i start_register(uint64_t c) {
  return _mm_set_epi64x(static_cast<long long>(c), 0);
}

NYM_CLMUL_TARGET inline __m128i fold128(__m128i x, __m128i k) {
  return _mm_xor_si128(_mm_clmulepi64_si128(x, k, 0x00), _mm_clmulepi64_si128(x, k, 0x11));
}

NYM_CLMUL_TARGET inline uint64_t high64(__m128i x) { return static_cast<uint64_t>(_mm_extract_epi64(x, 1)); }
NYM_CLMUL_TARGET inline uint64_t low64(__m128i x) { return static_cast<uint64_t>(_mm_cvtsi128_si64(x)); }

// 128 remainder bits to the CRC-32 register: times x^32, then modulo P.
NYM_CLMUL_TARGET inline uint32_t finish(__m128i x, uint32_t) {
  constexpr Crc32_finish f{};
  const __m128i k = _mm_set_epi64x(static_cast<long long>(f.k63), static_cast<long long>(f.k95));
  // High half times x^96, plus the low half moved up by 32 places: 96 bits, in bits 32..127.
  __m128i t = _mm_xor_si128(_mm_clmulepi64_si128(x, k, 0x00), _mm_srli_si128(x, 4));
  t = _mm_and_si128(t, _mm_set_epi64x(-1, static_cast<long long>(0xFFFFFFFF00000000u)));
  // Its top 32 bits times x^64: 64 bits, in the high half.
  const __m128i u = _mm_xor_si128(_mm_clmulepi64_si128(t, k, 0x10), t);
  // Barrett: the quotient's 32 bits, then the remainder.
  const __m128i b = _mm_set_epi64x(static_cast<long long>(f.poly), static_cast<long long>(f.mu));
  __m128i q = _mm_clmulepi64_si128(u, b, 0x01);
  q = _mm_and_si128(q, _mm_set_epi64x(0, 0xFFFFFFFF));
  const __m128i qp = _mm_clmulepi64_si128(q, b, 0x10);
  return static_cast<uint32_t>((high64(u) ^ low64(qp)) >> 32);
}

// 128 remainder bits to the CRC-64 register.
NYM_CLMUL_TARGET inline uint64_t finish(__m128i x, uint64_t) {
  constexpr Crc64_finish f{};
  const __m128i v = fold128(x, pair128(f.to_127));
  const __m128i b = _mm_set_epi64x(static_cast<long long>(f.poly), static_cast<long long>(f.mu));
  const uint64_t q = high64(v) ^ high64(_mm_clmulepi64_si128(v, b, 0x01));
  const __m128i qp = _mm_clmulepi64_si128(_mm_cvtsi64_si128(static_cast<long long>(q)), b, 0x10);
  return low64(v) ^ low64(qp);
}

// 16-byte steps from a 128-bit remainder, then the register; the tail goes by bytes.
template <class Shape>
NYM_CLMUL_TARGET inline typename Shape::Reg finish_blocks(__m128i x, const unsigned char* p, size_t n) {
  const __m128i k128 = pair128(Fold_constant<128, Shape>::value);
  for (; n >= 16; p += 16, n -= 16) x = _mm_xor_si128(fold128(x, k128), load16<Shape>(p));
  return Shape::bytes(finish(x, typename Shape::Reg{}), p, n);
}

// Eight remainders side by side, 128 bytes a round, so that the products overlap in time.
template <class Shape>
NYM_CLMUL_TARGET typename Shape::Reg clmul_update(typename Shape::Reg c, const unsigned char* p, size_t n) {
  if (n < 16) return Shape::bytes(c, p, n);
  if (n < 128) return finish_blocks<Shape>(_mm_xor_si128(load16<Shape>(p), start_register(c)), p + 16, n - 16);
  __m128i x[8];
  for (int i = 0; i < 8; ++i) x[i] = load16<Shape>(p + 16 * i);
  x[0] = _mm_xor_si128(x[0], start_register(c));
  p += 128;
  n -= 128;
  const __m128i k1024 = pair128(Fold_constant<1024, Shape>::value);
  for (; n >= 128; p += 128, n -= 128) {
    for (int i = 0; i < 8; ++i) x[i] = _mm_xor_si128(fold128(x[i], k1024), load16<Shape>(p + 16 * i));
  }
  // Each remainder moved over the blocks after it, all into the last one.
  const __m128i k[7] = {pair128(Fold_constant<896, Shape>::value), pair128(Fold_constant<768, Shape>::value),
                        pair128(Fold_constant<640, Shape>::value), pair128(Fold_constant<512, Shape>::value),
                        pair128(Fold_constant<384, Shape>::value), pair128(Fold_constant<256, Shape>::value),
                        pair128(Fold_constant<128, Shape>::value)};
  __m128i sum = x[7];
  for (int i = 0; i < 7; ++i) sum = _mm_xor_si128(sum, fold128(x[i], k[i]));
  return finish_blocks<Shape>(sum, p, n);
}

// The zero-masked forms of broadcast and extract: GCC 12 warns about the undefined lanes of
// the plain ones.
NYM_AVX512_TARGET inline __m512i broadcast128(__m128i x) { return _mm512_maskz_broadcast_i32x4(0xFFFF, x); }

NYM_AVX512_TARGET inline __m512i pair512(Fold_pair f) { return broadcast128(pair128(f)); }

template <class Shape>
NYM_AVX512_TARGET inline __m512i load64(const unsigned char* p) {
  const __m512i v = _mm512_loadu_si512(p);
  if constexpr (Shape::reflected) {
    return v;
  } else {
    return _mm512_shuffle_epi8(v, broadcast128(reverse_bytes_mask()));
  }
}

// x * k folded, plus d: the three-way sum is one instruction.
NYM_AVX512_TARGET inline __m512i fold512(__m512i x, __m512i k, __m512i d) {
  return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(x, k, 0x00), _mm512_clmulepi64_epi128(x, k, 0x11), d,
                                   0x96);
}

// Four 512-bit remainders side by side, 256 bytes a round; shorter data go 16 bytes a step.
template <class Shape>
NYM_AVX512_TARGET typename Shape::Reg avx512_update(typename Shape::Reg c, const unsigned char* p, size_t n) {
  if (n < 256) return clmul_update<Shape>(c, p, n);
  __m512i z[4];
  for (int i = 0; i < 4; ++i) z[i] = load64<Shape>(p + 64 * i);
  z[0] = _mm512_xor_si512(z[0], _mm512_inserti32x4(_mm512_setzero_si512(), start_register(c), 0));
  p += 256;
  n -= 256;
  const __m512i k2048 = pair512(Fold_constant<2048, Shape>::value);
  for (; n >= 256; p += 256, n -= 256) {
    for (int i = 0; i < 4; ++i) z[i] = fold512(z[i], k2048, load64<Shape>(p + 64 * i));
  }
  __m512i sum = fold512(z[0], pair512(Fold_constant<1536, Shape>::value), z[3]);
  sum = fold512(z[1], pair512(Fold_constant<1024, Shape>::value), sum);
  sum = fold512(z[2], pair512(Fold_constant<512, Shape>::value), sum);
  const __m512i k512 = pair512(Fold_constant<512, Shape>::value);
  for (; n >= 64; p += 64, n -= 64) sum = fold512(sum, k512, load64<Shape>(p));
  // The four lanes into the last: lanes 0 to 2 moved over 384, 256 and 128 bits.
  constexpr Fold_pair k384 = Fold_constant<384, Shape>::value;
  constexpr Fold_pair k256 = Fold_constant<256, Shape>::value;
  constexpr Fold_pair k128 = Fold_constant<128, Shape>::value;
  const __m512i lanes = _mm512_set_epi64(0, 0, static_cast<long long>(k128.high), static_cast<long long>(k128.low),
                                         static_cast<long long>(k256.high), static_cast<long long>(k256.low),
                                         static_cast<long long>(k384.high), static_cast<long long>(k384.low));
  __m512i t = _mm512_xor_si512(_mm512_clmulepi64_epi128(sum, lanes, 0x00), _mm512_clmulepi64_epi128(sum, lanes, 0x11));
  t = _mm512_mask_mov_epi64(t, 0xC0, sum);
  const __m256i half =
      _mm256_xor_si256(_mm512_maskz_extracti64x4_epi64(0xF, t, 0), _mm512_maskz_extracti64x4_epi64(0xF, t, 1));
  const __m128i x = _mm_xor_si128(_mm256_castsi256_si128(half), _mm256_extracti128_si256(half, 1));
  return finish_blocks<Shape>(x, p, n);
}

}  // namespace

bool crc_clmul_available() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("ssse3");
}

bool crc_avx512_available() {
  return crc_clmul_available() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("vpclmulqdq");
}

uint32_t crc32_clmul(uint32_t c, const unsigned char* p, size_t n) { return clmul_update<Crc32_shape>(c, p, n); }
uint64_t crc64_clmul(uint64_t c, const unsigned char* p, size_t n) { return clmul_update<Crc64_shape>(c, p, n); }
uint32_t crc32_avx512(uint32_t c, const unsigned char* p, size_t n) { return avx512_update<Crc32_shape>(c, p, n); }
uint64_t crc64_avx512(uint64_t c, const unsigned char* p, size_t n) { return avx512_update<Crc64_shape>(c, p, n); }

}  // namespace nym::impl

#else

// Other processors fold by table only.
namespace nym::impl {

bool crc_clmul_available() { return false; }
bool crc_avx512_available() { return false; }
std::uint32_t crc32_clmul(std::uint32_t c, const unsigned char* p, std::size_t n) { return crc32_bytes(c, p, n); }
std::uint64_t crc64_clmul(std::uint64_t c, const unsigned char* p, std::size_t n) { return crc64_bytes(c, p, n); }
std::uint32_t crc32_avx512(std::uint32_t c, const unsigned char* p, std::size_t n) { return crc32_bytes(c, p, n); }
std::uint64_t crc64_avx512(std::uint64_t c, const unsigned char* p, std::size_t n) { return crc64_bytes(c, p, n); }

}  // namespace nym::impl

#endif
