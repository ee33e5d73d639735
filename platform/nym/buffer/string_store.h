// The resize of the string stores (internal): Nym_string_buffer and Nym_wstring_buffer.
#ifndef NYM_BUFFER_STRING_STORE_H
#define NYM_BUFFER_STRING_STORE_H

#include "nym/types.h"

namespace nym::impl {

// Sets the length to `units`, new units spaces. Room comes first, so that a failure leaves the
// string as it was.
template <class String>
void* resize_string(String& text, uint64 units) {
  if (units > text.size()) text.reserve(units);
  text.resize(units, static_cast<typename String::value_type>(' '));
  return text.data();
}

}  // namespace nym::impl

#endif
