// The text operations that report through a status: they stand in the status layer, above the
// ICU calls they wrap (text/unicode.cpp).
#include "nym/unicode.h"

#include <unicode/utypes.h>

#include "nym/status.h"
#include "text/normalize.h"

namespace nym {

void nym_normalize(const Wstring& in, Wstring& out, Nym_status& status) {
  int error = 0;
  if (!impl::normalize_nfkc(in, out, error)) nym_translate_icu_error(error, status);
}

void nym_translate_icu_error(int code, Nym_status& status) {
  switch (code) {
    case U_ZERO_ERROR:
      status.clear();
      return;
    case U_INVALID_CHAR_FOUND:
      status = NYM_S_ICU_INVALID_CHAR;
      return;
    case U_TRUNCATED_CHAR_FOUND:
      status = NYM_S_ICU_TRUNCATED_CHAR;
      return;
    case U_ILLEGAL_CHAR_FOUND:
      status = NYM_S_ICU_ILLEGAL_CHAR;
      return;
    case U_ILLEGAL_ESCAPE_SEQUENCE:
      status = NYM_S_ICU_ILLEGAL_ESCAPE;
      return;
    case U_UNSUPPORTED_ESCAPE_SEQUENCE:
      status = NYM_S_ICU_UNSUPPORTED_ESCAPE;
      return;
    default:
      status.assign(NYM_S_ICU_ERROR, Nym_int_status_arg(code, true));
      return;
  }
}

}  // namespace nym
