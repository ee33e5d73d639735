// Character classes, case mapping, normalisation and trimming for narrow and wide strings.
//
// The narrow forms are byte-wise and follow the C run-time (isspace, tolower, ...). The wide
// forms are Unicode-aware: a static table answers U+0000..U+2FFFF with one byte load (Unicode
// 7.0 data), and only code points above it, case mapping outside ASCII and normalisation call
// into ICU. Nothing here needs start-up work; only nym_normalize and nym_translate_icu_error
// report, every other operation answers for any input.
#ifndef NYM_UNICODE_H
#define NYM_UNICODE_H

#include "nym/types.h"

namespace nym {

class Nym_status;

// ICU failures as the library reports them (nym_translate_icu_error).
constexpr unsigned int NYM_S_ICU_INVALID_CHAR = 0xC200009Eu;        // ICU 10
constexpr unsigned int NYM_S_ICU_TRUNCATED_CHAR = 0xC200009Fu;      // ICU 11
constexpr unsigned int NYM_S_ICU_ILLEGAL_CHAR = 0xC20000A0u;        // ICU 12
constexpr unsigned int NYM_S_ICU_ERROR = 0xC20000A1u;               // any other; arg: the ICU code
constexpr unsigned int NYM_S_ICU_ILLEGAL_ESCAPE = 0xC20000A2u;      // ICU 18
constexpr unsigned int NYM_S_ICU_UNSUPPORTED_ESCAPE = 0xC20000A3u;  // ICU 19

// The class of a code point: the low three bits of its table entry.
enum Nym_unicode_code_point_type : unsigned char {
  NYM_CP_UNASSIGNED = 0,   // only from the table: unassigned code points and non-characters
  NYM_CP_OTHER = 1,        // separators, control and format characters, anything not below
  NYM_CP_NUMBER = 2,       // numbers
  NYM_CP_PUNCTUATION = 3,  // punctuation, mathematical and currency symbols
  NYM_CP_SYMBOL = 4,       // other symbols
  NYM_CP_MARK = 5,         // marks and modifier symbols
  NYM_CP_CASED = 6,        // cased and modifier letters, enclosing marks, private use, surrogates
  NYM_CP_LETTER = 7,       // other letters, such as ideographs
};

namespace impl {

// Per-code-point bits of U+0000..U+2FFFF: 0x80 assigned (the whole entry is 0 otherwise),
// 0x20 changed by NFKC, 0x10 upper case, 0x08 lower case, 0x07 the Nym_unicode_code_point_type.
constexpr unsigned int NYM_UNICODE_BIT_TABLE_SIZE = 0x30000;
extern NYM_API const unsigned char NYM_UNICODE_BIT_TABLE[NYM_UNICODE_BIT_TABLE_SIZE];
extern NYM_API const unsigned int NYM_UNICODE_BIT_TABLE_LEN;  // NYM_UNICODE_BIT_TABLE_SIZE

constexpr unsigned char NYM_UNICODE_ASSIGNED = 0x80;
constexpr unsigned char NYM_UNICODE_NFKC = 0x20;
constexpr unsigned char NYM_UNICODE_UPPER = 0x10;
constexpr unsigned char NYM_UNICODE_LOWER = 0x08;
constexpr unsigned char NYM_UNICODE_TYPE_MASK = 0x07;

// The class of a code point from ICU's general category; meant for code points at or above
// the table (the table's own values are data and need not agree). Never answers 0.
NYM_API Nym_unicode_code_point_type nym_get_icu_char_type(unsigned int code_point);

// The class of any code point: the table below its end, ICU above.
NYM_API Nym_unicode_code_point_type nym_get_char_type(unsigned int code_point);

}  // namespace impl

// White space: isspace of the byte as unsigned; for a unit 9 to 13, 32 and 160 below 255,
// u_isspace from 255 up (so U+0085 is not white space).
NYM_API bool nym_is_space(char c);
NYM_API bool nym_is_space(Wchar c);
// True for the empty string and for white space only.
NYM_API bool nym_is_blank(const Nstring& text);
NYM_API bool nym_is_blank(const Wstring& text);
// After leading white space, at least one character and only marks and letters (classes 5 to
// 7); trailing white space gives false. The wide form goes unit by unit (a surrogate pair is
// alphabetic); in the narrow form a byte of 0x80 or above is never alphabetic.
NYM_API bool nym_is_alpha(const Nstring& text);
NYM_API bool nym_is_alpha(const Wstring& text);
// Whether the cased code points are all lower (upper) case and there is at least one;
// caseless code points don't count either way.
NYM_API bool nym_is_lower(const Wstring& text);
NYM_API bool nym_is_upper(const Wstring& text);
// Leading white space, then for base 16 an optional "0x" (lower case, no sign), else an
// optional sign, then one or more decimal digits (and a-f, A-F for base 16). Any base other
// than 16 means decimal.
NYM_API bool nym_is_number(const Nstring& text, unsigned short base);
NYM_API bool nym_is_number(const Wstring& text, unsigned short base);

// Case of one code point. Below the table's end a code point that the table says has no
// upper (lower) case is left alone whatever ICU says; ASCII never reaches ICU.
NYM_API unsigned int nym_lower(unsigned int code_point);
NYM_API unsigned int nym_upper(unsigned int code_point);
// Byte by byte with the C run-time's tolower / toupper: ASCII only under the default "C"
// locale, and never UTF-8 aware. Use the wide forms for text.
NYM_API void nym_lower(Nstring& text);
NYM_API void nym_upper(Nstring& text);
NYM_API void nym_lower(const Nstring& in, Nstring& out);
NYM_API void nym_upper(const Nstring& in, Nstring& out);
// Code point by code point; a unit may become a pair and the string grows. Units the decoder
// can't read (lone surrogates) and anything after an embedded NUL are kept as they are.
NYM_API void nym_lower(Wstring& text);
NYM_API void nym_upper(Wstring& text);
NYM_API void nym_lower(const Wstring& in, Wstring& out);
NYM_API void nym_upper(const Wstring& in, Wstring& out);

// Whether a code point below the table's end is changed by NFKC; false for the empty string.
NYM_API bool nym_can_normalize(const Wstring& text);
// NFKC of the text up to its first NUL. On failure `out` is unchanged and the status holds
// the code of nym_translate_icu_error; on success the status is not touched. These two stand
// above the status layer (status/icu_status.cpp): include nym/status.h to call them.
NYM_API void nym_normalize(const Wstring& in, Wstring& out, Nym_status& status);
// ICU error code to status: 0 clears; 10, 11, 12, 18, 19 give NYM_S_ICU_INVALID_CHAR,
// NYM_S_ICU_TRUNCATED_CHAR, NYM_S_ICU_ILLEGAL_CHAR, NYM_S_ICU_ILLEGAL_ESCAPE,
// NYM_S_ICU_UNSUPPORTED_ESCAPE; anything else (warnings too) NYM_S_ICU_ERROR with the code as
// a grouped Nym_int_status_arg. The code is assigned: an earlier chain is dropped.
NYM_API void nym_translate_icu_error(int code, Nym_status& status);

// Trimming, in place. White space is isspace (narrow) or nym_is_space (wide).
NYM_API void nym_trim(Nstring& text);
NYM_API void nym_trim(Wstring& text);
NYM_API void nym_trim_leading(Nstring& text);
NYM_API void nym_trim_leading(Wstring& text);
NYM_API void nym_trim_trailing(Nstring& text);
NYM_API void nym_trim_trailing(Wstring& text);
// Removes white space everywhere, also within the text.
NYM_API void nym_trim_all(Nstring& text);
NYM_API void nym_trim_all(Wstring& text);
NYM_API void nym_trim_leading_chars(char c, Nstring& text);
NYM_API void nym_trim_trailing_chars(char c, Nstring& text);
NYM_API void nym_trim_trailing_chars(Wchar c, Wstring& text);
// Removes every unit of 31 or below; with a non-zero `replacement` each run of them becomes
// one `replacement`. A replacement from 1 to 31 throws std::invalid_argument.
NYM_API void nym_trim_all_ctrl(Wstring& text, Wchar replacement);
// Erases the leading code points of class 1 (UTF-8 in the narrow form, UTF-16 in the wide),
// but only when a code point of another class follows before the end or a NUL: a text of
// such code points alone is left as it is.
NYM_API void nym_trim_unicode_leading(Nstring& text);
NYM_API void nym_trim_unicode_leading(Wstring& text);

}  // namespace nym

#endif
