// The byte shuffles that the SSSE3 and AVX2 kernels pack their output with (internal): one
// 16-byte shuffle and its count for each of 256 cases.
#ifndef NYM_TEXT_UTF_SHUFFLE_TABLES_H
#define NYM_TEXT_UTF_SHUFFLE_TABLES_H

#include "text/utf_kernel.h"

#if defined(NYM_UTF_SSSE3)

namespace nym::impl {

// A byte shuffle for each of 256 cases, and how many lanes or bytes each keeps.
struct Shuffle_table {
  alignas(16) unsigned char shuffle[256][16];
  unsigned char count[256];
};

// For each set of eight 16-bit lanes (a bit per lane), the shuffle that packs those lanes to
// the front; count is in lanes.
constexpr Shuffle_table make_lane_packing() {
  Shuffle_table t{};
  for (unsigned m = 0; m < 256; ++m) {
    unsigned k = 0;
    for (unsigned lane = 0; lane < 8; ++lane) {
      if ((m & (1u << lane)) != 0) {
        t.shuffle[m][k++] = static_cast<unsigned char>(2 * lane);
        t.shuffle[m][k++] = static_cast<unsigned char>(2 * lane + 1);
      }
    }
    t.count[m] = static_cast<unsigned char>(k / 2);
    for (; k < 16; ++k) t.shuffle[m][k] = 0x80;
  }
  return t;
}

// UTF-8 of eight units of at most two bytes, each lane holding [first, second]: bit j set
// when unit j takes both bytes. count is in bytes.
constexpr Shuffle_table make_two_byte_packing() {
  Shuffle_table t{};
  for (unsigned m = 0; m < 256; ++m) {
    unsigned k = 0;
    for (unsigned lane = 0; lane < 8; ++lane) {
      t.shuffle[m][k++] = static_cast<unsigned char>(2 * lane);
      if ((m & (1u << lane)) != 0) t.shuffle[m][k++] = static_cast<unsigned char>(2 * lane + 1);
    }
    t.count[m] = static_cast<unsigned char>(k);
    for (; k < 16; ++k) t.shuffle[m][k] = 0x80;
  }
  return t;
}

// UTF-8 of four units in 32-bit slots [b0, b1, b2, b3]: two bits per unit give how many of
// its slot's bytes to keep (0 to 3). count is in bytes.
constexpr Shuffle_table make_slot_packing() {
  Shuffle_table t{};
  for (unsigned m = 0; m < 256; ++m) {
    unsigned k = 0;
    for (unsigned slot = 0; slot < 4; ++slot) {
      const unsigned length = (m >> (2 * slot)) & 3;
      for (unsigned i = 0; i < length; ++i) t.shuffle[m][k++] = static_cast<unsigned char>(4 * slot + i);
    }
    t.count[m] = static_cast<unsigned char>(k);
    for (; k < 16; ++k) t.shuffle[m][k] = 0x80;
  }
  return t;
}

inline constexpr Shuffle_table LANE_PACKING = make_lane_packing();
inline constexpr Shuffle_table TWO_BYTE_PACKING = make_two_byte_packing();
inline constexpr Shuffle_table SLOT_PACKING = make_slot_packing();

}  // namespace nym::impl

#endif

#endif
