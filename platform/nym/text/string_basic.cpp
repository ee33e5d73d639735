#include "nym/string_basic.h"

#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <cctype>
#include <limits>
#include <stdexcept>

#include "text/utf_walk.h"

namespace nym {

namespace {

const char DIGITS[] = "0123456789abcdef";

// The C locale's grouping, read per call as the locale may change between calls.
struct Digit_grouping {
  unsigned size = 0;  // 0: no grouping
  Nstring narrow_separator;
  Wchar wide_separator = 0;
};

Digit_grouping current_grouping(unsigned short base, bool format) {
  Digit_grouping g;
  if (!format || base != 10) return g;
  const std::lconv* lc = std::localeconv();
  if (lc == nullptr || lc->thousands_sep == nullptr || lc->grouping == nullptr) return g;
  // An empty separator, or one whose first byte has the top bit set, turns grouping off.
  if (static_cast<signed char>(lc->thousands_sep[0]) < 32) return g;
  const int size = static_cast<unsigned char>(lc->grouping[0]);
  // 0 and CHAR_MAX mean "no further grouping" in the C library's own terms.
  if (size <= 0 || size >= std::numeric_limits<char>::max()) return g;
  wchar_t wide = 0;
  if (std::mbtowc(&wide, lc->thousands_sep, 1) != 1) wide = static_cast<unsigned char>(lc->thousands_sep[0]);
  g.size = static_cast<unsigned>(size);
  g.narrow_separator = lc->thousands_sep;
  g.wide_separator = static_cast<Wchar>(wide);
  return g;
}

void check_base(unsigned short base, const char* text) {
  if (base < 2 || base > 16) throw std::invalid_argument(text);
}

// Writes the digits into a fixed work area from its end and appends them to `out`. The area
// stops the writing when full, so a grouped number is cut from its most significant end.
template <class C, std::size_t AREA>
void append_digits(uint64 magnitude, std::basic_string<C>& out, unsigned short base,
                   const Digit_grouping& grouping, const std::basic_string<C>& separator) {
  C area[AREA];
  std::size_t pos = AREA;
  unsigned in_group = 0;
  do {
    area[--pos] = static_cast<C>(DIGITS[magnitude % base]);
    magnitude /= base;
    if (grouping.size != 0 && ++in_group == grouping.size && magnitude != 0) {
      in_group = 0;
      for (auto it = separator.rbegin(); it != separator.rend() && pos != 0; ++it) area[--pos] = *it;
    }
  } while (magnitude != 0 && pos != 0);
  out.append(area + pos, AREA - pos);
}

template <class C, std::size_t AREA>
void format_signed(int64 value, std::basic_string<C>& out, unsigned short base, bool format,
                   const std::basic_string<C>& (*separator_of)(const Digit_grouping&, std::basic_string<C>&)) {
  const Digit_grouping g = current_grouping(base, format);
  std::basic_string<C> sep_store;
  const std::basic_string<C>& sep = separator_of(g, sep_store);
  if (value < 0) {
    out.assign(1, static_cast<C>('-'));
    // Unsigned negation keeps the lowest int64 exact.
    append_digits<C, AREA>(0 - static_cast<uint64>(value), out, base, g, sep);
  } else {
    out.clear();
    append_digits<C, AREA>(static_cast<uint64>(value), out, base, g, sep);
  }
}

template <class C, std::size_t AREA>
void format_unsigned(uint64 value, std::basic_string<C>& out, unsigned short base, bool format,
                     const std::basic_string<C>& (*separator_of)(const Digit_grouping&, std::basic_string<C>&)) {
  const Digit_grouping g = current_grouping(base, format);
  std::basic_string<C> sep_store;
  const std::basic_string<C>& sep = separator_of(g, sep_store);
  out.clear();
  append_digits<C, AREA>(value, out, base, g, sep);
}

const Nstring& narrow_separator(const Digit_grouping& g, Nstring&) { return g.narrow_separator; }
const Wstring& wide_separator(const Digit_grouping& g, Wstring& store) {
  if (g.size != 0) store.assign(1, g.wide_separator);
  return store;
}

constexpr std::size_t NARROW_AREA = 64;
constexpr std::size_t WIDE_AREA = 96;

bool is_c_space(std::uint32_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool is_digit(std::uint32_t c) { return c >= '0' && c <= '9'; }

// _atoi64: white space, sign, digits; saturates rather than wrapping.
template <class C>
int64 read_int64(const std::basic_string<C>& text) {
  std::size_t i = 0;
  const std::size_t n = text.size();
  while (i < n && is_c_space(static_cast<std::uint32_t>(text[i]))) ++i;
  bool negative = false;
  if (i < n && (text[i] == C('+') || text[i] == C('-'))) negative = text[i++] == C('-');
  const uint64 limit = negative ? uint64(1) << 63 : (uint64(1) << 63) - 1;
  uint64 magnitude = 0;
  for (; i < n && is_digit(static_cast<std::uint32_t>(text[i])); ++i) {
    const unsigned digit = static_cast<unsigned>(text[i] - C('0'));
    if (magnitude > (limit - digit) / 10) {
      magnitude = limit;
      break;
    }
    magnitude = magnitude * 10 + digit;
  }
  return negative ? static_cast<int64>(0 - magnitude) : static_cast<int64>(magnitude);
}

template <class C>
bool is_int32(const std::basic_string<C>& text) {
  std::size_t i = 0;
  const std::size_t n = text.size();
  while (i < n && is_c_space(static_cast<std::uint32_t>(text[i]))) ++i;
  if (i == n) return false;
  bool negative = false;
  if (text[i] == C('+') || text[i] == C('-')) {
    negative = text[i++] == C('-');
    if (i == n) return false;
  }
  while (i < n && text[i] == C('0')) ++i;
  const std::size_t first = i;
  for (; i < n; ++i) {
    if (!is_digit(static_cast<std::uint32_t>(text[i]))) return false;
  }
  static const char MAX_POSITIVE[] = "2147483647";
  static const char MAX_NEGATIVE[] = "2147483648";
  const char* limit = negative ? MAX_NEGATIVE : MAX_POSITIVE;
  const std::size_t digits = n - first;
  if (digits != 10) return digits < 10;
  for (std::size_t k = 0; k < 10; ++k) {
    const auto d = static_cast<char>(text[first + k]);
    if (d > limit[k]) return false;
    if (d < limit[k]) return true;
  }
  return true;
}

}  // namespace

void nym_itos(int64 value, Nstring& out, unsigned short base, bool format) {
  check_base(base, "nym_itos - base must be 2 to 16.");
  format_signed<char, NARROW_AREA>(value, out, base, format, narrow_separator);
}

void nym_itos(uint64 value, Nstring& out, unsigned short base, bool format) {
  check_base(base, "nym_itos - base must be 2 to 16.");
  format_unsigned<char, NARROW_AREA>(value, out, base, format, narrow_separator);
}

void nym_itow(int64 value, Wstring& out, unsigned short base, bool format) {
  check_base(base, "nym_itow - base must be 2 to 16.");
  format_signed<Wchar, WIDE_AREA>(value, out, base, format, wide_separator);
}

void nym_itow(uint64 value, Wstring& out, unsigned short base, bool format) {
  check_base(base, "nym_itow - base must be 2 to 16.");
  format_unsigned<Wchar, WIDE_AREA>(value, out, base, format, wide_separator);
}

int64 nym_stoi64(const Nstring& text) { return read_int64(text); }
int64 nym_wtoi64(const Wstring& text) { return read_int64(text); }

int nym_wtoi32(const Wstring& text) {
  if (!is_int32(text)) throw std::invalid_argument("nym::nym_wtoi32 number is invalid");
  return static_cast<int>(read_int64(text));
}

bool nym_is_int32(const Nstring& text) { return is_int32(text); }
bool nym_is_int32(const Wstring& text) { return is_int32(text); }

void nym_stow(const Nstring& in, Wstring& out) {
  out.clear();
  out.reserve(in.size());
  for (const char c : in) out.push_back(static_cast<unsigned char>(c));
}

void nym_wtos(const Wstring& in, Nstring& out, bool fail) {
  out.clear();
  out.reserve(in.size());
  for (const Wchar u : in) {
    if (u < 256) {
      out.push_back(static_cast<char>(u));
    } else if (u == impl::REPLACEMENT_CHARACTER || !fail) {
      out.push_back('?');
    } else {
      throw std::logic_error("Failed to convert wide string to narrow string.");
    }
  }
}

int nym_sprintf_s(char* buffer, uint64 size, const char* format, ...) {
  if (buffer == nullptr || format == nullptr) {
    errno = EINVAL;
    return -1;
  }
  va_list args;
  va_start(args, format);
  int r = std::vsnprintf(buffer, static_cast<std::size_t>(size), format, args);
  va_end(args);
  if (r < 0) r = -1;
  if (r == -1 || static_cast<std::uint32_t>(size) == static_cast<std::uint32_t>(r)) {
    // A zero-sized buffer has no last byte to terminate.
    if (size == 0) return -1;
    buffer[size - 1] = '\0';
    return static_cast<int>(size - 1);
  }
  return r;
}

int nym_compare_nc(const Wchar* a, const Wchar* b) {
  for (;; ++a, ++b) {
    const auto ca = static_cast<int>(std::towlower(static_cast<std::wint_t>(*a)));
    const auto cb = static_cast<int>(std::towlower(static_cast<std::wint_t>(*b)));
    if (ca != cb || *a == 0) return ca - cb;
  }
}

int nym_memicmp(const void* a, const void* b, uint64 count) {
  const auto* p = static_cast<const unsigned char*>(a);
  const auto* q = static_cast<const unsigned char*>(b);
  for (uint64 i = 0; i < count; ++i) {
    if (p[i] == q[i]) continue;
    const int fa = std::tolower(p[i]);
    const int fb = std::tolower(q[i]);
    if (fa != fb) return fa - fb;
  }
  return 0;
}

uint64 nym_string_length(const char* utf8) {
  if (utf8 == nullptr) return 0;
  uint64 count = 0;
  const auto* p = reinterpret_cast<const unsigned char*>(utf8);
  while (*p != 0) {
    unsigned continuation = impl::UTF8_CONTINUATION_COUNT[*p++];
    while (continuation-- != 0 && impl::is_utf8_continuation(*p)) ++p;
    ++count;
  }
  return count;
}

uint64 nym_string_length(const Wchar* utf16) {
  if (utf16 == nullptr) return 0;
  uint64 count = 0;
  for (const Wchar* p = utf16; *p != 0; ++count) {
    // The unit after a high surrogate goes with it untested, but never the terminator.
    if (impl::is_high_surrogate(*p++) && *p != 0) ++p;
  }
  return count;
}

bool nym_string_equal(const Wchar* a, const Wchar* b) {
  for (; *a == *b; ++a, ++b) {
    if (*a == 0) return true;
  }
  return false;
}

void nym_string_append(Nstring& text, unsigned int code_point) { impl::append_utf8(text, code_point); }

void nym_string_append(Nstring& text, const Wchar* more) {
  if (more == nullptr) return;
  text.reserve(text.size() + 128);
  while (*more != 0) impl::append_utf8(text, impl::decode_utf16(more, nullptr));
}

void nym_string_append(Wstring& text, const char* more) {
  if (more == nullptr) return;
  text.reserve(text.size() + 64);
  const auto* p = reinterpret_cast<const unsigned char*>(more);
  while (*p != 0) impl::append_utf16(text, impl::decode_utf8(p, nullptr));
}

unsigned short nym_utf_8_character_length(unsigned char lead) {
  if (lead > 0xF4) return 0xFFFF;
  if (impl::is_utf8_continuation(lead)) return 0;
  return static_cast<unsigned short>(impl::UTF8_CONTINUATION_COUNT[lead] + 1);
}

}  // namespace nym
