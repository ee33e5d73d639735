// The wildcard rule as first written (one try of the rest at every text position after each
// star; exponential at worst), kept for the tests and the benchmark to hold the library's
// linear matcher to. `fold` maps each code point before comparing; "*" and "?" are never folded.
#ifndef NYM_TEST_RECURSIVE_MATCH_H
#define NYM_TEST_RECURSIVE_MATCH_H

#include <cstdint>

#include "text/utf_walk.h"

namespace nym_test {

template <class Fold>
bool recursive_match(const nym::Wchar* start, const nym::Wchar* t, const nym::Wchar* p, Fold fold) {
  while (*t != 0) {
    if (*p == 0) return false;
    if (*p == u'*') {
      while (*p == u'*') ++p;
      if (*p == 0) return true;
      for (; *t != 0; nym::impl::decode_utf16(t, nullptr)) {
        // A place on a low surrogate is handed on from the unit before it.
        const nym::Wchar* from = t != start && nym::impl::is_low_surrogate(*t) ? t - 1 : t;
        if (recursive_match(start, from, p, fold)) return true;
      }
      return false;
    }
    const std::uint32_t tc = nym::impl::decode_utf16(t, nullptr);
    const std::uint32_t pc = nym::impl::decode_utf16(p, nullptr);
    if (fold(tc) != fold(pc) && pc != u'?') return false;
  }
  while (*p == u'*') ++p;
  return *p == 0;
}

}  // namespace nym_test

#endif
