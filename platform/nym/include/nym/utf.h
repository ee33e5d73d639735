// Conversion of text between UTF-8, UTF-16 and UTF-32, and comparison across encodings.
//
// Every conversion shares the library's lenient decoders: nothing here fails, malformed input
// becomes U+FFFD, overlong forms give their short value and encoded surrogates pass through.
// Wide text is UTF-16 in host byte order. Whole-string conversions empty `out` first.
#ifndef NYM_UTF_H
#define NYM_UTF_H

#include <cstdint>
#include <string>

#include "nym/types.h"

namespace nym {

class Nym_istream;
class Nym_ostream;
class Nym_status;

using uint32 = std::uint32_t;
// UTF-32 text: one code point per element.
using U32string = std::basic_string<uint32>;

// UTF-8 up to its terminator; `in` must not be null.
NYM_API void nym_utf8_to_utf16(const char* in, Wstring& out);
// UTF-8 while the position is below in + length, ending early at a NUL byte. A sequence that
// starts inside the range takes its continuation bytes even past the end (up to a NUL or a
// byte that is not 10xxxxxx), so the bytes after the range must be readable up to one of
// those. `in` must not be null.
NYM_API void nym_utf8_to_utf16(const char* in, uint64 length, Wstring& out);
// UTF-16 up to its terminator; null gives an empty result.
NYM_API void nym_utf16_to_utf8(const Wchar* in, Nstring& out);
// UTF-16 up to its terminator; `in` must not be null.
NYM_API void nym_utf16_to_utf32(const Wchar* in, U32string& out);
// UTF-32 up to a 0 value; `in` must not be null. Values are encoded without any check.
NYM_API void nym_utf32_to_utf16(const uint32* in, Wstring& out);
// UTF-32 up to a 0 value; null gives an empty result.
NYM_API void nym_utf32_to_utf8(const uint32* in, Nstring& out);

// Streams: UTF-8 read a byte at a time, each character written as soon as it is complete,
// as one write of two bytes per UTF-16 unit in host order; a NUL is an ordinary character, a
// byte that breaks a sequence is dropped with it (one U+FFFD for both), and a character cut
// by the end of the data is dropped. No byte-order mark is written. The status is cleared
// first and holds, at the end, what a read or write reported, except the end of the data.
NYM_API void nym_utf8_to_utf16(Nym_istream& in, Nym_ostream& out, Nym_status& status);
// UTF-16 in host order read in blocks of 16,384 bytes, each converted as a terminated string
// (a NUL unit loses the rest of its block) and written with one write. A pair is never split
// between blocks; a high surrogate that ends the data becomes U+FFFD and a last odd byte is
// dropped. A byte-order mark is converted like any other character. Status as above.
NYM_API void nym_utf16_to_utf8(Nym_istream& in, Nym_ostream& out, Nym_status& status);

// The code point at `position` (bytes or units into terminated text); `position` moves past
// it. At the terminator, for a null `text`, for a decoded value 0 (C0 80) or when `position`
// is already NYM_NPOS: 0, and `position` becomes NYM_NPOS.
NYM_API uint32 nym_utf8_to_utf32_char(const char* text, uint64& position);
// As above for UTF-16, except that a bad high surrogate moves on by one unit only: the unit
// after it is read again by the next call.
NYM_API uint32 nym_utf16_to_utf32_char(const Wchar* text, uint64& position);

// Comparison of terminated texts by code point (so UTF-16 sorts in code point order): the
// first difference, first minus second, 0 when equal. The _nc forms fold A-Z and, above 127,
// u_tolower before comparing. The first word of the name is the first argument's encoding.
NYM_API int nym_utf8_compare(const char* a, const char* b);
NYM_API int nym_utf16_compare(const Wchar* a, const Wchar* b);
NYM_API int nym_utf8_utf16_compare(const char* a, const Wchar* b);
NYM_API int nym_utf16_utf8_compare(const Wchar* a, const char* b);
NYM_API int nym_utf8_compare_nc(const char* a, const char* b);
NYM_API int nym_utf16_compare_nc(const Wchar* a, const Wchar* b);
NYM_API int nym_utf8_utf16_compare_nc(const char* a, const Wchar* b);
NYM_API int nym_utf16_utf8_compare_nc(const Wchar* a, const char* b);

}  // namespace nym

#endif
