// What every recipe shares: a check that counts wrong results, UTF-16 text printed as UTF-8,
// and the exit code (1 when any check failed), so that a recipe cannot go wrong unseen.
#ifndef NYM_RECIPE_H
#define NYM_RECIPE_H

#include <cstdio>

#include <nym/nym.h>

namespace recipe {

inline int failures = 0;

inline void check(bool ok, const char* what) {
  if (!ok) {
    std::printf("wrong: %s\n", what);
    ++failures;
  }
}

inline void print(const char* label, const nym::Wstring& text) {
  nym::Nstring utf8;
  nym::nym_string_append(utf8, text.c_str());
  std::printf("%s: %s\n", label, utf8.c_str());
}

inline int result() {
  std::printf(failures == 0 ? "recipe ok\n" : "recipe FAILED\n");
  return failures == 0 ? 0 : 1;
}

}  // namespace recipe

#endif
