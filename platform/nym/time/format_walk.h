// The format walk the time classes' to_string share (internal).
#ifndef NYM_TIME_FORMAT_WALK_H
#define NYM_TIME_FORMAT_WALK_H

#include <cstddef>
#include <ctime>

#include "nym/types.h"

namespace nym::impl {

// Replaces `result` with `format`, handing the character after each "%" to on_token; a "%"
// that ends the format is kept as text.
template <class On_token>
void expand_format(const Wstring& format, Wstring& result, On_token&& on_token) {
  result.clear();
  const std::size_t n = format.size();
  for (std::size_t i = 0; i < n; ++i) {
    const Wchar c = format[i];
    if (c != u'%' || i + 1 == n) {
      result += c;
      continue;
    }
    on_token(format[++i]);
  }
}

// Appends what the C library's strftime makes of "%<token>" for t.
void append_strftime(Wstring& result, Wchar token, const std::tm& t);

}  // namespace nym::impl

#endif
