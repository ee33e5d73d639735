#include "nym/unicode.h"

// The table is one long string literal, longer than the minimum a compiler must accept.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Woverlength-strings"
#endif

namespace nym::impl {

// One string literal keeps the compile of the 196,608 entries fast; the entries after the
// literal's end are zero-filled.
const unsigned char NYM_UNICODE_BIT_TABLE[NYM_UNICODE_BIT_TABLE_SIZE] =
#include "text/unicode_table.inc"
    ;

const unsigned int NYM_UNICODE_BIT_TABLE_LEN = NYM_UNICODE_BIT_TABLE_SIZE;

}  // namespace nym::impl
