// The one wildcard matcher of the library (internal): "*" any run, "?" one character,
// everything else itself, no escapes. nym_string_match and the directory iterator's masks
// both come here.
//
// Matching remembers the last star only: on a mismatch the text the star took grows by one
// character and the rest of the pattern is tried again. An earlier star never needs another
// try, since whatever the later pattern finds after a longer run it finds after the shorter
// one too. So the cost is at most text × pattern, with no recursion, where trying every split
// at every star is exponential (a*a*a*a*b against a run of a's) and takes a stack frame per
// star.
#ifndef NYM_TEXT_WILDCARD_H
#define NYM_TEXT_WILDCARD_H

#include <cstdint>

#include "nym/types.h"
#include "text/utf_walk.h"

namespace nym::impl {

// One unit is one character.
struct Unit_walk {
  static std::uint32_t next(const Wchar*& p) { return *p++; }
  static const Wchar* start_after_star(const Wchar*, const Wchar* p) { return p; }
};

// One code point is one character, read by the lenient decoder (bad sequences are U+FFFD).
struct Code_point_walk {
  static std::uint32_t next(const Wchar*& p) { return decode_utf16(p, nullptr); }
  // Where a star hands the text on: a place on a low surrogate (the tail of a bad sequence)
  // is moved back onto the unit before it, never before the text's start. This keeps the
  // answers of nym_string_match as they have always been on malformed text.
  static const Wchar* start_after_star(const Wchar* text, const Wchar* p) {
    return p != text && is_low_surrogate(*p) ? p - 1 : p;
  }
};

struct No_fold {
  std::uint32_t operator()(std::uint32_t c) const { return c; }
};

// Counts nothing; a test passes a counter of its own to bound the steps.
struct No_steps {
  void operator()() const {}
};

// Whether the terminated `text` matches the terminated `pattern`. Pattern characters are
// read by the same walk as the text; "*" and "?" are the single units, never folded.
template <class Walk, class Fold = No_fold, class Steps = No_steps>
bool wildcard_match(const Wchar* text, const Wchar* pattern, Fold fold = Fold(), Steps step = Steps()) {
  const Wchar* t = text;
  const Wchar* p = pattern;
  const Wchar* after_star = nullptr;  // the pattern behind the last star
  const Wchar* star_took = nullptr;   // where the last star's run ends so far
  for (;;) {
    step();
    if (*t != 0) {
      if (*p == u'*') {
        while (*p == u'*') ++p;
        if (*p == 0) return true;
        after_star = p;
        star_took = t;
        t = Walk::start_after_star(text, t);
        continue;
      }
      if (*p != 0) {
        const Wchar* t_next = t;
        const Wchar* p_next = p;
        const std::uint32_t tc = Walk::next(t_next);
        const std::uint32_t pc = Walk::next(p_next);
        if (fold(tc) == fold(pc) || pc == u'?') {
          t = t_next;
          p = p_next;
          continue;
        }
      }
    } else {
      while (*p == u'*') ++p;
      if (*p == 0) return true;
    }
    if (after_star == nullptr) return false;
    Walk::next(star_took);
    if (*star_took == 0) return false;
    t = Walk::start_after_star(text, star_took);
    p = after_star;
  }
}

}  // namespace nym::impl

#endif
