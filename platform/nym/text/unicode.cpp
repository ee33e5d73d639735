#include "nym/unicode.h"

#include <unicode/uchar.h>
#include <unicode/unorm.h>
#include <unicode/utypes.h>

#include <cctype>
#include <cwctype>
#include <memory>
#include <stdexcept>

#include "nym/utf.h"
#include "text/normalize.h"
#include "text/utf_walk.h"

namespace nym {

namespace impl {

Nym_unicode_code_point_type nym_get_icu_char_type(unsigned int code_point) {
  switch (u_charType(static_cast<UChar32>(code_point))) {
    case U_UPPERCASE_LETTER:
    case U_LOWERCASE_LETTER:
    case U_TITLECASE_LETTER:
    case U_MODIFIER_LETTER:
    case U_ENCLOSING_MARK:
    case U_PRIVATE_USE_CHAR:
    case U_SURROGATE:
      return NYM_CP_CASED;
    case U_OTHER_LETTER:
      return NYM_CP_LETTER;
    case U_NON_SPACING_MARK:
    case U_COMBINING_SPACING_MARK:
    case U_MODIFIER_SYMBOL:
      return NYM_CP_MARK;
    case U_DECIMAL_DIGIT_NUMBER:
    case U_LETTER_NUMBER:
    case U_OTHER_NUMBER:
      return NYM_CP_NUMBER;
    case U_DASH_PUNCTUATION:
    case U_START_PUNCTUATION:
    case U_END_PUNCTUATION:
    case U_CONNECTOR_PUNCTUATION:
    case U_OTHER_PUNCTUATION:
    case U_MATH_SYMBOL:
    case U_CURRENCY_SYMBOL:
    case U_INITIAL_PUNCTUATION:
    case U_FINAL_PUNCTUATION:
      return NYM_CP_PUNCTUATION;
    case U_OTHER_SYMBOL:
      return NYM_CP_SYMBOL;
    default:
      return NYM_CP_OTHER;
  }
}

Nym_unicode_code_point_type nym_get_char_type(unsigned int code_point) {
  if (code_point < NYM_UNICODE_BIT_TABLE_SIZE) {
    return static_cast<Nym_unicode_code_point_type>(NYM_UNICODE_BIT_TABLE[code_point] & NYM_UNICODE_TYPE_MASK);
  }
  return nym_get_icu_char_type(code_point);
}

}  // namespace impl

namespace {

using impl::NYM_UNICODE_BIT_TABLE;
using impl::NYM_UNICODE_BIT_TABLE_SIZE;

bool narrow_space(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

bool is_alpha_type(unsigned type) { return type >= NYM_CP_MARK && type <= NYM_CP_LETTER; }

// Case bits of one code point: the table below its end, ICU above.
unsigned case_bits(std::uint32_t cp) {
  if (cp < NYM_UNICODE_BIT_TABLE_SIZE) {
    return NYM_UNICODE_BIT_TABLE[cp] & (impl::NYM_UNICODE_UPPER | impl::NYM_UNICODE_LOWER);
  }
  unsigned bits = 0;
  if (u_isupper(static_cast<UChar32>(cp))) bits |= impl::NYM_UNICODE_UPPER;
  if (u_islower(static_cast<UChar32>(cp))) bits |= impl::NYM_UNICODE_LOWER;
  return bits;
}

bool wide_case_is(const Wstring& text, unsigned wanted) {
  unsigned seen = 0;
  const Wchar* p = text.data();
  const Wchar* end = p + text.size();
  while (p < end) seen |= case_bits(impl::decode_utf16(p, end));
  return seen == wanted;
}

template <class C, class Space, class Digit>
bool is_number(const std::basic_string<C>& text, unsigned short base, Space space, Digit digit) {
  std::size_t i = 0;
  const std::size_t n = text.size();
  while (i < n && space(text[i])) ++i;
  if (i == n) return false;
  if (base == 16) {
    if (n - i >= 2 && text[i] == C('0') && text[i + 1] == C('x')) i += 2;
  } else if (text[i] == C('+') || text[i] == C('-')) {
    ++i;
  }
  if (i == n) return false;
  for (; i < n; ++i) {
    const C c = text[i];
    if (digit(c)) continue;
    if (base == 16 && ((c >= C('a') && c <= C('f')) || (c >= C('A') && c <= C('F')))) continue;
    return false;
  }
  return true;
}

// Maps each code point in place; a unit the decoder answers U+FFFD for, and anything behind
// an embedded NUL, stays as it is.
void map_wide(Wstring& text, unsigned int (*map)(unsigned int)) {
  uint64 pos = 0;
  while (pos < text.size()) {
    const uint64 start = pos;
    const uint32 cp = nym_utf16_to_utf32_char(text.c_str(), pos);
    if (pos == NYM_NPOS) break;
    const uint32 mapped = map(cp);
    if (mapped == cp) continue;
    Wstring units;
    impl::append_utf16(units, mapped);
    text.replace(static_cast<std::size_t>(start), static_cast<std::size_t>(pos - start), units);
    pos = start + units.size();
  }
}

template <class S, class Space>
void trim_leading(S& text, Space space) {
  std::size_t i = 0;
  while (i < text.size() && space(text[i])) ++i;
  text.erase(0, i);
}

template <class S, class Space>
void trim_trailing(S& text, Space space) {
  std::size_t n = text.size();
  while (n > 0 && space(text[n - 1])) --n;
  text.erase(n);
}

template <class S, class Space>
void trim_all(S& text, Space space) {
  std::size_t out = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!space(text[i])) text[out++] = text[i];
  }
  text.erase(out);
}

}  // namespace

bool nym_is_space(char c) { return narrow_space(c); }

bool nym_is_space(Wchar c) {
  if (c < 255) return (c >= 9 && c <= 13) || c == 32 || c == 160;
  return u_isspace(c) != 0;
}

bool nym_is_blank(const Nstring& text) {
  for (const char c : text) {
    if (!narrow_space(c)) return false;
  }
  return true;
}

bool nym_is_blank(const Wstring& text) {
  for (const Wchar c : text) {
    if (!nym_is_space(c)) return false;
  }
  return true;
}

bool nym_is_alpha(const Nstring& text) {
  std::size_t i = 0;
  while (i < text.size() && narrow_space(text[i])) ++i;
  if (i == text.size()) return false;
  for (; i < text.size(); ++i) {
    // A byte of 0x80 or above, taken as signed, is no code point.
    const signed char c = static_cast<signed char>(text[i]);
    if (c < 0 || !is_alpha_type(NYM_UNICODE_BIT_TABLE[c] & impl::NYM_UNICODE_TYPE_MASK)) return false;
  }
  return true;
}

bool nym_is_alpha(const Wstring& text) {
  std::size_t i = 0;
  while (i < text.size() && nym_is_space(text[i])) ++i;
  if (i == text.size()) return false;
  for (; i < text.size(); ++i) {
    if (!is_alpha_type(NYM_UNICODE_BIT_TABLE[text[i]] & impl::NYM_UNICODE_TYPE_MASK)) return false;
  }
  return true;
}

bool nym_is_lower(const Wstring& text) { return wide_case_is(text, impl::NYM_UNICODE_LOWER); }
bool nym_is_upper(const Wstring& text) { return wide_case_is(text, impl::NYM_UNICODE_UPPER); }

bool nym_is_number(const Nstring& text, unsigned short base) {
  return is_number(text, base, narrow_space, [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; });
}

bool nym_is_number(const Wstring& text, unsigned short base) {
  return is_number(text, base, [](Wchar c) { return nym_is_space(c); },
                   [](Wchar c) { return std::iswdigit(static_cast<std::wint_t>(c)) != 0; });
}

unsigned int nym_lower(unsigned int code_point) {
  if (code_point >= NYM_UNICODE_BIT_TABLE_SIZE) return static_cast<unsigned int>(u_tolower(static_cast<UChar32>(code_point)));
  if ((NYM_UNICODE_BIT_TABLE[code_point] & impl::NYM_UNICODE_UPPER) == 0) return code_point;
  if (code_point >= 'A' && code_point <= 'Z') return code_point | 0x20;
  if (code_point < 128) return code_point;
  return static_cast<unsigned int>(u_tolower(static_cast<UChar32>(code_point)));
}

unsigned int nym_upper(unsigned int code_point) {
  if (code_point >= NYM_UNICODE_BIT_TABLE_SIZE) return static_cast<unsigned int>(u_toupper(static_cast<UChar32>(code_point)));
  if ((NYM_UNICODE_BIT_TABLE[code_point] & impl::NYM_UNICODE_LOWER) == 0) return code_point;
  if (code_point >= 'a' && code_point <= 'z') return code_point ^ 0x20;
  if (code_point < 128) return code_point;
  return static_cast<unsigned int>(u_toupper(static_cast<UChar32>(code_point)));
}

void nym_lower(Nstring& text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

void nym_upper(Nstring& text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
}

void nym_lower(const Nstring& in, Nstring& out) {
  out = in;
  nym_lower(out);
}

void nym_upper(const Nstring& in, Nstring& out) {
  out = in;
  nym_upper(out);
}

void nym_lower(Wstring& text) { map_wide(text, static_cast<unsigned int (*)(unsigned int)>(nym_lower)); }
void nym_upper(Wstring& text) { map_wide(text, static_cast<unsigned int (*)(unsigned int)>(nym_upper)); }

void nym_lower(const Wstring& in, Wstring& out) {
  out = in;
  nym_lower(out);
}

void nym_upper(const Wstring& in, Wstring& out) {
  out = in;
  nym_upper(out);
}

bool nym_can_normalize(const Wstring& text) {
  const Wchar* p = text.data();
  const Wchar* end = p + text.size();
  while (p < end) {
    const std::uint32_t cp = impl::decode_utf16(p, end);
    if (cp < NYM_UNICODE_BIT_TABLE_SIZE && (NYM_UNICODE_BIT_TABLE[cp] & impl::NYM_UNICODE_NFKC) != 0) return true;
  }
  return false;
}

namespace {

// The normalisation call of the ICU release the library was written against; later releases
// keep it, marked deprecated.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#endif
int32_t icu_nfkc(const UChar* source, UChar* result, int32_t capacity, UErrorCode& error) {
  return unorm_normalize(source, -1, UNORM_NFKC, 0, result, capacity, &error);
}
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

}  // namespace

namespace impl {

bool normalize_nfkc(const Wstring& in, Wstring& out, int& icu_error) {
  constexpr int32_t WORK_AREA = 4096;
  UChar work[WORK_AREA];
  UErrorCode error = U_ZERO_ERROR;
  const int32_t length = icu_nfkc(in.c_str(), work, WORK_AREA, error);
  // A result of exactly the work area's size is complete, only not terminated.
  if (error == U_ZERO_ERROR || (error == U_STRING_NOT_TERMINATED_WARNING && length == WORK_AREA)) {
    out.assign(work, static_cast<std::size_t>(length));
    return true;
  }
  if (error == U_BUFFER_OVERFLOW_ERROR && length > WORK_AREA) {
    const auto capacity = static_cast<std::size_t>(length) + 1;
    std::unique_ptr<UChar[]> large(new UChar[capacity]);
    error = U_ZERO_ERROR;
    const int32_t second = icu_nfkc(in.c_str(), large.get(), static_cast<int32_t>(capacity), error);
    if (error == U_ZERO_ERROR) {
      out.assign(large.get(), static_cast<std::size_t>(second));
      return true;
    }
  }
  icu_error = error;
  return false;
}

}  // namespace impl

void nym_trim(Nstring& text) {
  trim_trailing(text, narrow_space);
  trim_leading(text, narrow_space);
}

void nym_trim(Wstring& text) {
  trim_trailing(text, [](Wchar c) { return nym_is_space(c); });
  trim_leading(text, [](Wchar c) { return nym_is_space(c); });
}

void nym_trim_leading(Nstring& text) { trim_leading(text, narrow_space); }
void nym_trim_leading(Wstring& text) { trim_leading(text, [](Wchar c) { return nym_is_space(c); }); }
void nym_trim_trailing(Nstring& text) { trim_trailing(text, narrow_space); }
void nym_trim_trailing(Wstring& text) { trim_trailing(text, [](Wchar c) { return nym_is_space(c); }); }
void nym_trim_all(Nstring& text) { trim_all(text, narrow_space); }
void nym_trim_all(Wstring& text) { trim_all(text, [](Wchar c) { return nym_is_space(c); }); }

void nym_trim_leading_chars(char c, Nstring& text) { trim_leading(text, [c](char x) { return x == c; }); }
void nym_trim_trailing_chars(char c, Nstring& text) { trim_trailing(text, [c](char x) { return x == c; }); }
void nym_trim_trailing_chars(Wchar c, Wstring& text) { trim_trailing(text, [c](Wchar x) { return x == c; }); }

void nym_trim_all_ctrl(Wstring& text, Wchar replacement) {
  if (replacement != 0 && replacement <= 31) {
    throw std::invalid_argument("nym_trim_all_ctrl - replacement must be 0 or above 31.");
  }
  std::size_t out = 0;
  bool in_run = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const Wchar c = text[i];
    if (c <= 31) {
      if (!in_run && replacement != 0) text[out++] = replacement;
      in_run = true;
    } else {
      text[out++] = c;
      in_run = false;
    }
  }
  text.erase(out);
}

void nym_trim_unicode_leading(Nstring& text) {
  const auto* begin = reinterpret_cast<const unsigned char*>(text.c_str());
  const unsigned char* p = begin;
  while (*p != 0) {
    const unsigned char* at = p;
    if (impl::nym_get_char_type(impl::decode_utf8(p, nullptr)) != NYM_CP_OTHER) {
      text.erase(0, static_cast<std::size_t>(at - begin));
      return;
    }
  }
}

void nym_trim_unicode_leading(Wstring& text) {
  const Wchar* begin = text.c_str();
  const Wchar* p = begin;
  while (*p != 0) {
    const Wchar* at = p;
    if (impl::nym_get_char_type(impl::decode_utf16(p, nullptr)) != NYM_CP_OTHER) {
      text.erase(0, static_cast<std::size_t>(at - begin));
      return;
    }
  }
}

}  // namespace nym
