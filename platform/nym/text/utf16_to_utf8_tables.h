// The byte shuffles that pack UTF-8 in the SSSE3 and AVX2 kernels from UTF-16 (internal): one
// 16-byte shuffle and its byte count for each set of lane lengths.
#ifndef NYM_TEXT_UTF16_TO_UTF8_TABLES_H
#define NYM_TEXT_UTF16_TO_UTF8_TABLES_H

#include "text/utf_kernel.h"

#if defined(NYM_UTF_SSSE3)

namespace nym::impl {

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

inline constexpr Shuffle_table TWO_BYTE_PACKING = make_two_byte_packing();
inline constexpr Shuffle_table SLOT_PACKING = make_slot_packing();

}  // namespace nym::impl

#endif

#endif
