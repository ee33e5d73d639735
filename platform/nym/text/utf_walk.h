// The lenient UTF walkers every text conversion of the library shares (internal).
//
// They never fail and never validate: a malformed sequence becomes U+FFFD, overlong forms give
// their short value, encoded surrogates and values above U+10FFFF pass through. Five- and
// six-byte UTF-8 forms are decoded as such.
#ifndef NYM_TEXT_UTF_WALK_H
#define NYM_TEXT_UTF_WALK_H

#include <cstddef>
#include <cstdint>

#include "nym/types.h"

namespace nym::impl {

constexpr std::uint32_t REPLACEMENT_CHARACTER = 0xFFFD;

// Continuation bytes announced by a UTF-8 lead byte.
extern const std::uint8_t UTF8_CONTINUATION_COUNT[256];

inline bool is_utf8_continuation(unsigned char b) { return (b & 0xC0) == 0x80; }
inline bool is_high_surrogate(std::uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
inline bool is_low_surrogate(std::uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }
// The code point of a high surrogate and the low one after it.
inline std::uint32_t combine_surrogates(std::uint32_t high, std::uint32_t low) { return (high - 0xD7F7) * 1024 + low; }

// Decodes one character at p (p < end, *p not the terminator of a terminated string) and
// advances p; a malformed sequence gives BAD (the strict detectors pass a value that is no
// character). A byte that is not 10xxxxxx (a NUL among them) ends the sequence unconsumed, so
// a terminated string is never read past its NUL when `end` is null.
template <std::uint32_t BAD = REPLACEMENT_CHARACTER>
inline std::uint32_t decode_utf8(const unsigned char*& p, const unsigned char* end) {
  const unsigned char b = *p++;
  if (b < 0x80) return b;
  const unsigned n = UTF8_CONTINUATION_COUNT[b];
  if (n == 0) return BAD;
  std::uint32_t value = b & ((1u << (6 - n)) - 1);
  for (unsigned i = 0; i < n; ++i) {
    if ((end != nullptr && p == end) || !is_utf8_continuation(*p)) return BAD;
    value = (value << 6) | (*p++ & 0x3Fu);
  }
  return value;
}

// Decodes one character at p and advances p; BAD as above. A high surrogate consumes the
// following unit whatever it is, except the terminator (end null, unit 0) or the end of a
// bounded range.
template <std::uint32_t BAD = REPLACEMENT_CHARACTER>
inline std::uint32_t decode_utf16(const Wchar*& p, const Wchar* end) {
  const std::uint32_t u = *p++;
  if (u < 0xD800 || u > 0xDFFF) return u;
  if (is_low_surrogate(u)) return BAD;
  if ((end != nullptr && p == end) || (end == nullptr && *p == 0)) return BAD;
  const std::uint32_t w = *p++;
  if (is_low_surrogate(w)) return combine_surrogates(u, w);
  return BAD;
}

// Writes the UTF-8 form of v at q (1 to 4 bytes, as append_utf8) and answers the end.
inline char* encode_utf8(char* q, std::uint32_t v) {
  if (v < 0x80) {
    *q++ = static_cast<char>(v);
  } else if (v < 0x800) {
    *q++ = static_cast<char>(0xC0 | (v >> 6));
    *q++ = static_cast<char>(0x80 | (v & 0x3F));
  } else if (v < 0x10000) {
    *q++ = static_cast<char>(0xE0 | (v >> 12));
    *q++ = static_cast<char>(0x80 | ((v >> 6) & 0x3F));
    *q++ = static_cast<char>(0x80 | (v & 0x3F));
  } else {
    *q++ = static_cast<char>(0xF0 | ((v >> 18) & 0x07));
    *q++ = static_cast<char>(0x80 | ((v >> 12) & 0x3F));
    *q++ = static_cast<char>(0x80 | ((v >> 6) & 0x3F));
    *q++ = static_cast<char>(0x80 | (v & 0x3F));
  }
  return q;
}

// Writes the UTF-16 form of v at q (one unit or a pair, as append_utf16) and answers the end.
inline Wchar* encode_utf16(Wchar* q, std::uint32_t v) {
  if (v < 0x10000) {
    *q++ = static_cast<Wchar>(v);
  } else {
    const std::uint32_t x = v - 0x10000;
    *q++ = static_cast<Wchar>(0xD800 + ((x >> 10) & 0x3FF));
    *q++ = static_cast<Wchar>(0xDC00 + (x & 0x3FF));
  }
  return q;
}

// Appends the UTF-8 form of v (1 to 4 bytes; values above 0x1FFFFF lose their upper bits).
template <class String>
inline void append_utf8(String& out, std::uint32_t v) {
  using C = typename String::value_type;
  if (v < 0x80) {
    out.push_back(static_cast<C>(v));
  } else if (v < 0x800) {
    const C bytes[2] = {static_cast<C>(0xC0 | (v >> 6)), static_cast<C>(0x80 | (v & 0x3F))};
    out.append(bytes, 2);
  } else if (v < 0x10000) {
    const C bytes[3] = {static_cast<C>(0xE0 | (v >> 12)), static_cast<C>(0x80 | ((v >> 6) & 0x3F)),
                        static_cast<C>(0x80 | (v & 0x3F))};
    out.append(bytes, 3);
  } else {
    const C bytes[4] = {static_cast<C>(0xF0 | ((v >> 18) & 0x07)), static_cast<C>(0x80 | ((v >> 12) & 0x3F)),
                        static_cast<C>(0x80 | ((v >> 6) & 0x3F)), static_cast<C>(0x80 | (v & 0x3F))};
    out.append(bytes, 4);
  }
}

// Appends the UTF-16 form of v: one unit below 0x10000 (surrogates unchanged), else a pair.
inline void append_utf16(Wstring& out, std::uint32_t v) {
  if (v < 0x10000) {
    out.push_back(static_cast<Wchar>(v));
  } else {
    const std::uint32_t x = v - 0x10000;
    out.push_back(static_cast<Wchar>(0xD800 + ((x >> 10) & 0x3FF)));
    out.push_back(static_cast<Wchar>(0xDC00 + (x & 0x3FF)));
  }
}

// The kernels of a whole-text conversion: the baseline (vector steps over runs of ASCII with
// SSE2, which every x64 processor has, plain C++ elsewhere), SSSE3 for whole 16-byte windows of
// mixed text as well, and AVX2 and AVX-512 (with VBMI2) for 32- and 64-byte blocks. The default
// picks the best the processor has; the tests hold every kernel to the walkers.
enum class Utf_kernel { baseline, ssse3, avx2, avx512 };
constexpr Utf_kernel ALL_UTF_KERNELS[] = {Utf_kernel::baseline, Utf_kernel::ssse3, Utf_kernel::avx2,
                                          Utf_kernel::avx512};
bool utf_kernel_supported(Utf_kernel kernel);
const char* utf_kernel_name(Utf_kernel kernel);

// Whole-text conversions: the output of decode_utf8/decode_utf16 and append_utf16/append_utf8
// character by character, byte for byte, reached through fast paths for runs of ASCII and of
// well-formed short sequences. The walk covers [p, end); like decode_utf8(p, nullptr), a
// UTF-8 sequence that starts before `end` takes its continuation bytes past it (up to a NUL
// or a byte that is not 10xxxxxx), and the UTF-8 forms answer where the walk stopped. A
// UTF-16 high surrogate at end - 1 gives U+FFFD.
const unsigned char* utf8_to_utf16_append(const unsigned char* p, const unsigned char* end, Wstring& out);
const unsigned char* utf8_to_utf16_append(const unsigned char* p, const unsigned char* end, Wstring& out,
                                          Utf_kernel kernel);
void utf16_to_utf8_append(const Wchar* p, const Wchar* end, Nstring& out);
void utf16_to_utf8_append(const Wchar* p, const Wchar* end, Nstring& out, Utf_kernel kernel);

// The plain character-at-a-time loops the fast paths must equal (kept for the tests).
const unsigned char* utf8_to_utf16_walk(const unsigned char* p, const unsigned char* end, Wstring& out);
void utf16_to_utf8_walk(const Wchar* p, const Wchar* end, Nstring& out);

// Units before the terminator of UTF-16 text, or `max` when no terminator comes first.
// Reads whole aligned 64-byte lines, never beyond the line that holds the terminator or the
// last unit asked for.
std::size_t utf16_length(const Wchar* text, std::size_t max);
// Bytes before the first NUL of the first `max` bytes, or `max`. Reads as utf16_length.
std::size_t utf8_length(const unsigned char* text, std::size_t max);

}  // namespace nym::impl

#endif
