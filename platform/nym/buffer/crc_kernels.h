// The arithmetic of the two CRCs (internal): byte tables and folding constants, derived from
// the polynomials at compile time, and the block kernels that use them.
//
// A CRC is the message M(x) times x^w, reduced modulo the polynomial P(x) of degree w. Folding
// (after Gopal et al., "Fast CRC Computation for Generic Polynomials Using PCLMULQDQ", Intel
// 2009) keeps a 128-bit remainder R of the data so far and moves it over the next D bits in one
// step: R * x^D is congruent to Rhigh * (x^(D+64) mod P) + Rlow * (x^D mod P), two carry-less
// products of 64 by at most 64 bits. The last 128 bits are reduced to w bits by the same step
// and a Barrett reduction with floor(x^2w / P).
//
// CRC-32 runs reflected: the first bit of the data is the lowest bit of a register, so a
// register's bit i stands for x^(n-1-i) and a carry-less product of two such 64-bit registers
// comes out one place short (x^(126-k) at bit k). Its constants make up for that: they are
// x^(D+63) and x^(D-1) rather than x^(D+64) and x^D. CRC-64 runs in the natural order, with
// each 16-byte block's bytes reversed on loading.
#ifndef NYM_BUFFER_CRC_KERNELS_H
#define NYM_BUFFER_CRC_KERNELS_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace nym::impl {

// x^32 and x^64 are implied.
constexpr std::uint32_t CRC32_POLY = 0x04C11DB7u;  // 0xEDB88320 reflected
constexpr std::uint64_t CRC64_POLY = 0x42F0E1EBA9EA3693u;

// x^n mod P in the natural order (bit i is x^i), for the polynomial of the width of U.
template <class U>
constexpr U xpow_mod(unsigned int n, U poly) {
  constexpr unsigned int top = sizeof(U) * 8 - 1;
  U r = 1;
  for (unsigned int i = 0; i < n; ++i) r = static_cast<U>((r << 1) ^ (((r >> top) & 1u) != 0 ? poly : U{0}));
  return r;
}

// floor(x^2w / P) without its leading x^w, by long division: the remainder of x^2w after the
// quotient's first term is poly * x^w, and each further quotient bit is the remainder's top
// bit as it shifts.
template <class U>
constexpr U barrett_quotient(U poly) {
  constexpr unsigned int width = sizeof(U) * 8;
  U r = poly;
  U q = 0;
  for (unsigned int i = width; i-- > 0;) {
    const bool top = ((r >> (width - 1)) & 1u) != 0;
    if (top) q = static_cast<U>(q | (U{1} << i));
    r = static_cast<U>((r << 1) ^ (top ? poly : U{0}));
  }
  return q;
}

constexpr std::uint64_t reverse64(std::uint64_t v) {
  std::uint64_t r = 0;
  for (int i = 0; i < 64; ++i) r |= ((v >> i) & 1u) << (63 - i);
  return r;
}

// The byte tables: entry i of the 32-bit one is i shifted right through eight steps, of the
// 64-bit one i << 56 shifted left through eight.
struct Crc_tables {
  std::array<std::uint32_t, 256> crc32{};
  std::array<std::uint64_t, 256> crc64{};
};

constexpr Crc_tables make_crc_tables() {
  Crc_tables t;
  constexpr std::uint32_t reflected = 0xEDB88320u;
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t c = i;
    for (int k = 0; k < 8; ++k) c = (c & 1u) != 0 ? (c >> 1) ^ reflected : c >> 1;
    t.crc32[i] = c;
    std::uint64_t d = static_cast<std::uint64_t>(i) << 56;
    for (int k = 0; k < 8; ++k) d = (d >> 63) != 0 ? (d << 1) ^ CRC64_POLY : d << 1;
    t.crc64[i] = d;
  }
  return t;
}

inline constexpr Crc_tables CRC_TABLES = make_crc_tables();
static_assert(CRC_TABLES.crc32[1] == 0x77073096u && CRC_TABLES.crc64[1] == CRC64_POLY);
static_assert(barrett_quotient<std::uint32_t>(CRC32_POLY) == 0x04D101DFu);  // the well-known mu

// A pair of folding constants, in the register order of the 128-bit remainder: `low` multiplies
// its low 64 bits, `high` its high 64 bits.
struct Fold_pair {
  std::uint64_t low;
  std::uint64_t high;
};

// Moving the remainder over `bits` more bits of data.
constexpr Fold_pair crc32_fold(unsigned int bits) {
  // Reflected: the low half holds the high-order terms.
  return {reverse64(xpow_mod<std::uint32_t>(bits + 63, CRC32_POLY)),
          reverse64(xpow_mod<std::uint32_t>(bits - 1, CRC32_POLY))};
}
constexpr Fold_pair crc64_fold(unsigned int bits) {
  return {xpow_mod<std::uint64_t>(bits, CRC64_POLY), xpow_mod<std::uint64_t>(bits + 64, CRC64_POLY)};
}

// The last steps of CRC-32: 128 to 96 bits (x^95), 96 to 64 (x^63), then Barrett with mu and
// P as 33-bit reflected values.
struct Crc32_finish {
  std::uint64_t k95 = reverse64(xpow_mod<std::uint32_t>(95, CRC32_POLY));
  std::uint64_t k63 = reverse64(xpow_mod<std::uint32_t>(63, CRC32_POLY));
  std::uint64_t mu = reverse64((std::uint64_t{1} << 32) | barrett_quotient<std::uint32_t>(CRC32_POLY)) >> 31;
  std::uint64_t poly = reverse64((std::uint64_t{1} << 32) | CRC32_POLY) >> 31;
};
// CRC-64: 128 bits times x^64 to 127 bits (x^64 and x^128), then Barrett; mu's and P's x^64
// terms are applied apart.
struct Crc64_finish {
  Fold_pair to_127 = crc64_fold(64);
  std::uint64_t mu = barrett_quotient<std::uint64_t>(CRC64_POLY);
  std::uint64_t poly = CRC64_POLY;
};

// The byte loops of the definition: the reference every faster way must equal.
inline std::uint32_t crc32_bytes(std::uint32_t c, const unsigned char* p, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) c = CRC_TABLES.crc32[(c ^ p[i]) & 0xFFu] ^ (c >> 8);
  return c;
}
inline std::uint64_t crc64_bytes(std::uint64_t c, const unsigned char* p, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) c = CRC_TABLES.crc64[(c >> 56) ^ p[i]] ^ (c << 8);
  return c;
}

// The folding kernels (crc_clmul.cpp): each takes and answers the running register, handles
// any length and falls back on the byte loop for what is too short to fold. Callable only
// where crc_clmul_available / crc_avx512_available say so.
bool crc_clmul_available();
bool crc_avx512_available();
std::uint32_t crc32_clmul(std::uint32_t c, const unsigned char* p, std::size_t n);
std::uint64_t crc64_clmul(std::uint64_t c, const unsigned char* p, std::size_t n);
std::uint32_t crc32_avx512(std::uint32_t c, const unsigned char* p, std::size_t n);
std::uint64_t crc64_avx512(std::uint64_t c, const unsigned char* p, std::size_t n);

}  // namespace nym::impl

#endif
