// The plain character-at-a-time walks: the reference every kernel must equal.
#include "text/utf_walk.h"

namespace nym::impl {

const unsigned char* utf8_to_utf16_walk(const unsigned char* p, const unsigned char* end, Wstring& out) {
  while (p < end) append_utf16(out, decode_utf8(p, nullptr));
  return p;
}

void utf16_to_utf8_walk(const Wchar* p, const Wchar* end, Nstring& out) {
  while (p < end) append_utf8(out, decode_utf16(p, end));
}

}  // namespace nym::impl
