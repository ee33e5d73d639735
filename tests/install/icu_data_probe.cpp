// The ICU data that ships holds what the library loads (NFKC) and nothing else, and a product
// that wants the rest adds ICU's full data archive through ICU_DATA. Run as
// `icu_data_probe slim` (no ICU_DATA) or `icu_data_probe full` (ICU_DATA names the directory
// of icudt72l.dat).
#include <unicode/unorm2.h>
#include <unicode/utypes.h>

#include <cstdio>
#include <cstring>

namespace {

bool loads(const char* what, const UNormalizer2* (*get)(UErrorCode*)) {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* normalizer = get(&error);
  std::printf("%s: %s\n", what, u_errorName(error));
  return U_SUCCESS(error) && normalizer != nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  const bool full = argc == 2 && std::strcmp(argv[1], "full") == 0;
  if (argc != 2 || (!full && std::strcmp(argv[1], "slim") != 0)) {
    std::printf("usage: icu_data_probe slim|full\n");
    return 2;
  }
  // NFKC is the library's; NFKC_Casefold and UTS 46 stand for everything it leaves out.
  const bool nfkc = loads("nfkc", unorm2_getNFKCInstance);
  const bool casefold = loads("nfkc_cf", unorm2_getNFKCCasefoldInstance);
  UErrorCode error = U_ZERO_ERROR;
  const bool uts46 = unorm2_getInstance(nullptr, "uts46", UNORM2_COMPOSE, &error) != nullptr && U_SUCCESS(error);
  std::printf("uts46: %s\n", u_errorName(error));
  return (nfkc && casefold == full && uts46 == full) ? 0 : 1;
}
