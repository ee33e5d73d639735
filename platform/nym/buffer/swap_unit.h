// The _be line readers and writers swap each 16-bit unit's bytes (internal).
#ifndef NYM_BUFFER_SWAP_UNIT_H
#define NYM_BUFFER_SWAP_UNIT_H

namespace nym::impl {

constexpr char16_t swap_unit(char16_t unit) { return static_cast<char16_t>(((unit & 0xFFu) << 8) | (unit >> 8)); }

}  // namespace nym::impl

#endif
