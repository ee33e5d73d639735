// Basic string helpers: numbers to text and back, Latin-1 narrowing and widening, small
// C-string helpers, and the UTF-8/UTF-16 bridges the rest of the library is built on.
//
// A narrow string is Latin-1 for nym_stow/nym_wtos and UTF-8 for nym_string_append and
// nym_string_length(const char*). The UTF walkers are lenient: they never fail, malformed
// input becomes U+FFFD, and overlong or out-of-range forms pass through undetected.
#ifndef NYM_STRING_BASIC_H
#define NYM_STRING_BASIC_H

#include <type_traits>

#include "nym/types.h"

namespace nym {

// Numbers to text in `base` (2 to 16, lower-case digits). With `format` and base 10 the digits
// are grouped by the thousands separator of the C run-time's locale (setlocale's, not the
// user's regional settings): none under the default "C" locale. Negatives carry a leading "-".
NYM_API void nym_itos(int64 value, Nstring& out, unsigned short base, bool format);
NYM_API void nym_itos(uint64 value, Nstring& out, unsigned short base, bool format);
NYM_API void nym_itow(int64 value, Wstring& out, unsigned short base, bool format);
NYM_API void nym_itow(uint64 value, Wstring& out, unsigned short base, bool format);

// Any other integer type picks the signed or unsigned form by its own signedness, so that
// nym_itow(42, ...) is not ambiguous.
template <class T, class = std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool> &&
                                            !std::is_same_v<T, int64> && !std::is_same_v<T, uint64>>>
inline void nym_itos(T value, Nstring& out, unsigned short base, bool format) {
  if constexpr (std::is_signed_v<T>) nym_itos(static_cast<int64>(value), out, base, format);
  else nym_itos(static_cast<uint64>(value), out, base, format);
}
template <class T, class = std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool> &&
                                            !std::is_same_v<T, int64> && !std::is_same_v<T, uint64>>>
inline void nym_itow(T value, Wstring& out, unsigned short base, bool format) {
  if constexpr (std::is_signed_v<T>) nym_itow(static_cast<int64>(value), out, base, format);
  else nym_itow(static_cast<uint64>(value), out, base, format);
}

// Text to numbers, read as the C run-time's _atoi64: leading white space, a sign, decimal
// digits up to the first other character; 0 without digits; saturates at the int64 limits.
NYM_API int64 nym_stoi64(const Nstring& text);
NYM_API int64 nym_wtoi64(const Wstring& text);
// Strict: the text must pass nym_is_int32, else std::invalid_argument
// "nym::nym_wtoi32 number is invalid".
NYM_API int nym_wtoi32(const Wstring& text);

// Whether the text is optional leading white space, an optional sign and only digits whose
// value fits a signed 32-bit number. Trailing white space makes it false.
NYM_API bool nym_is_int32(const Nstring& text);
NYM_API bool nym_is_int32(const Wstring& text);

// Latin-1 widening: each byte becomes the unit of the same value (NULs included).
NYM_API void nym_stow(const Nstring& in, Wstring& out);
// Latin-1 narrowing: units below 256 become bytes, U+FFFD becomes "?"; any other unit becomes
// "?" or, with `fail`, throws std::logic_error "Failed to convert wide string to narrow string."
// leaving the bytes before it in `out`.
NYM_API void nym_wtos(const Wstring& in, Nstring& out, bool fail);

// Bounded formatting. Null buffer or format: errno = EINVAL, -1. A text that needs `size`
// bytes or more than the buffer holds is cut; the answer is size - 1 when the text needed
// exactly `size` (or failed to encode), and the full length otherwise.
NYM_API int nym_sprintf_s(char* buffer, uint64 size, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 3, 4)))
#endif
    ;

// Case-blind compare of two terminated wide strings, unit by unit with towlower: the
// difference of the first pair that differs (first minus second), 0 when equal.
NYM_API int nym_compare_nc(const Wchar* a, const Wchar* b);
// Case-blind compare of `count` bytes with tolower; bytes are unsigned.
NYM_API int nym_memicmp(const void* a, const void* b, uint64 count);

// Characters (not bytes) in terminated UTF-8 text; null counts 0. Malformed text counts.
NYM_API uint64 nym_string_length(const char* utf8);
// Code points in terminated UTF-16 text; null counts 0. A high surrogate takes the next unit.
NYM_API uint64 nym_string_length(const Wchar* utf16);
// Exact equality of two terminated wide strings; neither may be null.
NYM_API bool nym_string_equal(const Wchar* a, const Wchar* b);

// Appends one code point as UTF-8 (1 to 4 bytes, no check of the value).
NYM_API void nym_string_append(Nstring& text, unsigned int code_point);
// Appends terminated UTF-16 text as UTF-8; null does nothing; bad units give EF BF BD.
NYM_API void nym_string_append(Nstring& text, const Wchar* more);
// Appends terminated UTF-8 text as UTF-16; null does nothing; bad bytes give U+FFFD.
NYM_API void nym_string_append(Wstring& text, const char* more);

// Length of the UTF-8 sequence that `lead` starts: 1 to 4, 0 for a continuation byte, 0xFFFF
// for a byte above 0xF4.
NYM_API unsigned short nym_utf_8_character_length(unsigned char lead);

}  // namespace nym

#endif
