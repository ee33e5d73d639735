// Searching text: wildcard matching as file listings use it, case-blind finding, and a hash
// that gives the same value for the same text in UTF-8 and in UTF-16.
//
// Wildcards: "*" is any run of characters, the empty one too; "?" is exactly one code point (a
// surrogate pair is one) and never the end of the text; every other character is itself.
// There is no escape and no character set, and a full stop is nothing special: "*.*" wants a
// dot. Text is read leniently: a bad sequence is one U+FFFD. Matching costs at most the
// product of the two lengths and no recursion, whatever the pattern.
//
// Case-blind forms fold each code point of both sides first: A to Z become a to z, code points
// from U+0080 up take ICU's lower case (u_tolower), the rest stay.
//
// A null pointer raises std::invalid_argument "<function> - null text." instead of being read.
#ifndef NYM_STRING_MATCH_H
#define NYM_STRING_MATCH_H

#include "nym/types.h"

namespace nym {

NYM_API bool nym_string_match(const Wchar* text, const Wchar* pattern);
NYM_API bool nym_string_match_nc(const Wchar* text, const Wchar* pattern);

// The first place at or after `position` where `what` stands in `text`, both lowered first
// (the narrow form byte by byte with the C run-time's tolower, the wide one with nym_lower),
// as an index into the lowered text; NYM_NPOS when there is none, when `what` is longer than
// `text` or when `position` is past the last place it could start. An empty `what` is found
// at `position`.
NYM_API uint64 nym_string_find_nc(const Nstring& text, const Nstring& what, uint64 position);
NYM_API uint64 nym_string_find_nc(const Wstring& text, const Wstring& what, uint64 position);

// The first place in `text` where `what` stands, bytes compared case-blind in the C locale
// (not UTF-8 aware); null when there is none or `text` is null. A null or empty `what` gives
// `text`.
NYM_API const char* nym_stristr(const char* text, const char* what);

// h = h * 33 + c over the code points from h = 5381, in 32 bits; the answer is the absolute
// value of h read as a signed 32-bit number, widened with its sign: 0 to 2147483647, or
// 0xFFFFFFFF80000000 for h = 0x80000000. A code point of 0 ends the text, also from an overlong
// UTF-8 form.
NYM_API uint64 nym_string_hash(const char* utf8);
NYM_API uint64 nym_string_hash(const Wchar* utf16);
NYM_API uint64 nym_string_hash_nc(const char* utf8);
NYM_API uint64 nym_string_hash_nc(const Wchar* utf16);

}  // namespace nym

#endif
