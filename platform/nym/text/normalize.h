// NFKC through ICU, without a status (internal): nym_normalize reports its failure, a layer up.
#ifndef NYM_TEXT_NORMALIZE_H
#define NYM_TEXT_NORMALIZE_H

#include "nym/types.h"

namespace nym::impl {

// NFKC of the text up to its first NUL into `out`; false with ICU's error code, `out`
// unchanged, when ICU fails.
bool normalize_nfkc(const Wstring& in, Wstring& out, int& icu_error);

}  // namespace nym::impl

#endif
