// How far a read or write may go from a position, and how much of a store's answer to believe
// (internal). Every reader of a store or stream goes through these two, so that neither a
// position near the end of the range nor a store that breaks its contract can take a reader
// outside its arrays.
#ifndef NYM_BUFFER_STORE_COUNTS_H
#define NYM_BUFFER_STORE_COUNTS_H

#include <limits>

#include "nym/types.h"

namespace nym::impl {

// The part of `count` that positions from `position` on can hold: no position passes
// 0x7FFFFFFFFFFFFFFF, so a read there can't return more, and position + the result never
// overflows. From a position below 0 the room reaches past 2^63; the store refuses such a
// position itself.
constexpr uint64 count_within_positions(int64 position, uint64 count) {
  const uint64 room = static_cast<uint64>(std::numeric_limits<int64>::max()) - static_cast<uint64>(position);
  return count < room ? count : room;
}

// What a read answered, believed only up to what it was asked for: a store (a caller's
// functor, say) that claims more can give wrong bytes, never a copy past the caller's array.
constexpr uint64 answered(uint64 got, uint64 asked) { return got < asked ? got : asked; }

}  // namespace nym::impl

#endif
