#include "nym/utf.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "text/utf_walk.h"

namespace nym {

namespace {

const unsigned char* bytes(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

// One value of terminated text; the terminator answers 0 and is never stepped over.
inline std::uint32_t next_value(const unsigned char*& p) { return *p == 0 ? 0 : impl::decode_utf8(p, nullptr); }
inline std::uint32_t next_value(const Wchar*& p) { return *p == 0 ? 0 : impl::decode_utf16(p, nullptr); }

inline std::uint32_t fold(std::uint32_t v) {
  if (v >= 'A' && v <= 'Z') return v + 0x20;
  if (v > 127) return static_cast<std::uint32_t>(u_tolower(static_cast<UChar32>(v)));
  return v;
}

// Null compares as empty text.
const unsigned char* terminated(const char* text) { return text != nullptr ? bytes(text) : bytes(""); }
const Wchar* terminated(const Wchar* text) { return text != nullptr ? text : u""; }

template <bool FOLD, class A, class B>
int compare(A a, B b) {
  for (;;) {
    std::uint32_t x = next_value(a);
    std::uint32_t y = next_value(b);
    if (FOLD) {
      x = fold(x);
      y = fold(y);
    }
    if (x != y || x == 0) return static_cast<int>(x - y);
  }
}

// The terminator is found a slice at a time, so that the conversion reads each slice again
// while it is still in the cache (the C run-time's strlen is byte by byte on some systems).
constexpr std::size_t SLICE = 16384;

// Converts the bytes before the first NUL of the first `length`. The walk may run past a
// slice's end inside a sequence; the next slice starts where it stopped.
void utf8_slices(const unsigned char* p, uint64 length, Wstring& out) {
  uint64 done = 0;
  while (done < length) {
    const std::size_t ask = static_cast<std::size_t>(std::min<uint64>(SLICE, length - done));
    const std::size_t n = impl::utf8_length(p, ask);
    const unsigned char* const next = impl::utf8_to_utf16_append(p, p + n, out);
    if (n < ask) return;  // the NUL, which no sequence takes
    done += static_cast<uint64>(next - p);
    p = next;
  }
}

}  // namespace

void nym_utf8_to_utf16(const char* in, Wstring& out) {
  out.clear();
  utf8_slices(bytes(in), NYM_NPOS, out);
}

void nym_utf8_to_utf16(const char* in, uint64 length, Wstring& out) {
  out.clear();
  // The walk also ends at a NUL inside the range: a NUL is never part of a sequence.
  utf8_slices(bytes(in), length, out);
}

void nym_utf16_to_utf8(const Wchar* in, Nstring& out) {
  out.clear();
  if (in == nullptr) return;
  for (;;) {
    std::size_t n = impl::utf16_length(in, SLICE);
    if (n < SLICE) {
      impl::utf16_to_utf8_append(in, in + n, out);
      return;
    }
    // A pair is never split between slices: a high surrogate that starts a character at the
    // end waits for the next. A run of high surrogates pairs them off from its first unit (a
    // character start), so the last one starts a character only when the run is odd.
    std::size_t run = 0;
    while (run < n && impl::is_high_surrogate(in[n - 1 - run])) ++run;
    if (run % 2 != 0) --n;
    impl::utf16_to_utf8_append(in, in + n, out);
    in += n;
  }
}

void nym_utf16_to_utf32(const Wchar* in, U32string& out) {
  out.clear();
  while (*in != 0) out.push_back(impl::decode_utf16(in, nullptr));
}

void nym_utf32_to_utf16(const uint32* in, Wstring& out) {
  out.clear();
  for (; *in != 0; ++in) impl::append_utf16(out, *in);
}

void nym_utf32_to_utf8(const uint32* in, Nstring& out) {
  out.clear();
  if (in == nullptr) return;
  for (; *in != 0; ++in) impl::append_utf8(out, *in);
}

uint32 nym_utf8_to_utf32_char(const char* text, uint64& position) {
  if (text == nullptr || position == NYM_NPOS || text[position] == 0) {
    position = NYM_NPOS;
    return 0;
  }
  const unsigned char* p = bytes(text) + position;
  const std::uint32_t value = impl::decode_utf8(p, nullptr);
  // An overlong NUL (C0 80) ends the text as the terminator does.
  position = value == 0 ? NYM_NPOS : static_cast<uint64>(p - bytes(text));
  return value;
}

uint32 nym_utf16_to_utf32_char(const Wchar* text, uint64& position) {
  if (text == nullptr || position == NYM_NPOS || text[position] == 0) {
    position = NYM_NPOS;
    return 0;
  }
  const std::uint32_t u = text[position];
  if (impl::is_high_surrogate(u) && impl::is_low_surrogate(text[position + 1])) {
    const std::uint32_t w = text[position + 1];
    position += 2;
    return impl::combine_surrogates(u, w);
  }
  // Unlike the other walks, a bad high surrogate leaves the unit after it to the next call.
  ++position;
  return u >= 0xD800 && u <= 0xDFFF ? impl::REPLACEMENT_CHARACTER : u;
}

int nym_utf8_compare(const char* a, const char* b) { return compare<false>(terminated(a), terminated(b)); }
int nym_utf16_compare(const Wchar* a, const Wchar* b) { return compare<false>(terminated(a), terminated(b)); }
int nym_utf8_utf16_compare(const char* a, const Wchar* b) { return compare<false>(terminated(a), terminated(b)); }
int nym_utf16_utf8_compare(const Wchar* a, const char* b) { return compare<false>(terminated(a), terminated(b)); }
int nym_utf8_compare_nc(const char* a, const char* b) { return compare<true>(terminated(a), terminated(b)); }
int nym_utf16_compare_nc(const Wchar* a, const Wchar* b) { return compare<true>(terminated(a), terminated(b)); }
int nym_utf8_utf16_compare_nc(const char* a, const Wchar* b) { return compare<true>(terminated(a), terminated(b)); }
int nym_utf16_utf8_compare_nc(const Wchar* a, const char* b) { return compare<true>(terminated(a), terminated(b)); }

}  // namespace nym
