// Wrapping integer arithmetic for the date and time code (internal): the 64-bit time
// arithmetic wraps around rather than checking, and signed overflow must not be undefined.
#ifndef NYM_TIME_WRAP_H
#define NYM_TIME_WRAP_H

#include <cstdint>

#include "nym/types.h"

namespace nym::impl {

inline int64 wrap_add(int64 a, int64 b) {
  return static_cast<int64>(static_cast<uint64>(a) + static_cast<uint64>(b));
}
inline int64 wrap_sub(int64 a, int64 b) {
  return static_cast<int64>(static_cast<uint64>(a) - static_cast<uint64>(b));
}
inline int64 wrap_mul(int64 a, int64 b) {
  return static_cast<int64>(static_cast<uint64>(a) * static_cast<uint64>(b));
}
inline int wrap_mul32(int a, int b) {
  return static_cast<int>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

}  // namespace nym::impl

#endif
