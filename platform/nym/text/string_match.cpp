// Wildcard match, case-blind find and the text hash.
#include "nym/string_match.h"

#include <unicode/uchar.h>

#include <cctype>
#include <cstring>
#include <stdexcept>

#include "nym/unicode.h"
#include "text/utf_walk.h"
#include "text/wildcard.h"

namespace nym {

namespace {

struct Match_fold {
  std::uint32_t operator()(std::uint32_t c) const {
    if (c >= 'A' && c <= 'Z') return c + 0x20;
    if (c < 0x80) return c;
    return static_cast<std::uint32_t>(u_tolower(static_cast<UChar32>(c)));
  }
};

[[noreturn]] __attribute__((noinline, cold)) void null_text(const char* what) {
  throw std::invalid_argument(std::string(what) + " - null text.");
}

template <class T>
inline const T* checked(const T* text, const char* what) {
  if (text == nullptr) null_text(what);
  return text;
}

// The signed absolute value of the 32-bit sum, widened with its sign.
uint64 hash_result(std::uint32_t h) {
  const auto s = static_cast<std::int32_t>(h);
  const int64 value = s == INT32_MIN ? static_cast<int64>(s) : (s < 0 ? -static_cast<int64>(s) : s);
  return static_cast<uint64>(value);
}

template <class Fold>
uint64 hash8(const char* text, Fold fold) {
  auto p = reinterpret_cast<const unsigned char*>(checked(text, "nym_string_hash"));
  std::uint32_t h = 5381;
  while (*p != 0) {
    const std::uint32_t c = impl::decode_utf8(p, nullptr);
    if (c == 0) break;
    h = h * 33 + fold(c);
  }
  return hash_result(h);
}

template <class Fold>
uint64 hash16(const Wchar* text, Fold fold) {
  const Wchar* p = checked(text, "nym_string_hash");
  std::uint32_t h = 5381;
  while (*p != 0) h = h * 33 + fold(impl::decode_utf16(p, nullptr));
  return hash_result(h);
}

template <class String>
uint64 find_lowered(const String& text, const String& what, uint64 position) {
  String t;
  String w;
  nym_lower(text, t);
  nym_lower(what, w);
  if (w.size() > t.size() || position > t.size() - w.size()) return NYM_NPOS;
  if (w.empty()) return position;
  const auto at = t.find(w, position);
  return at == String::npos ? NYM_NPOS : at;
}

}  // namespace

bool nym_string_match(const Wchar* text, const Wchar* pattern) {
  return impl::wildcard_match<impl::Code_point_walk>(checked(text, "nym_string_match"),
                                                     checked(pattern, "nym_string_match"));
}

bool nym_string_match_nc(const Wchar* text, const Wchar* pattern) {
  return impl::wildcard_match<impl::Code_point_walk>(checked(text, "nym_string_match_nc"),
                                                     checked(pattern, "nym_string_match_nc"), Match_fold());
}

uint64 nym_string_find_nc(const Nstring& text, const Nstring& what, uint64 position) {
  return find_lowered(text, what, position);
}

uint64 nym_string_find_nc(const Wstring& text, const Wstring& what, uint64 position) {
  return find_lowered(text, what, position);
}

const char* nym_stristr(const char* text, const char* what) {
  if (what == nullptr || *what == 0) return text;
  if (text == nullptr) return nullptr;
  const auto first = static_cast<unsigned char>(*what);
  const char either[3] = {static_cast<char>(std::toupper(first)), static_cast<char>(std::tolower(first)), 0};
  for (const char* at = text + std::strcspn(text, either); *at != 0; at += 1 + std::strcspn(at + 1, either)) {
    // As _strnicmp over what's length: the comparison ends at either text's end.
    const char* a = at;
    const char* b = what;
    while (*b != 0 && std::tolower(static_cast<unsigned char>(*a)) == std::tolower(static_cast<unsigned char>(*b))) {
      ++a;
      ++b;
    }
    if (*b == 0) return at;
  }
  return nullptr;
}

uint64 nym_string_hash(const char* utf8) { return hash8(utf8, impl::No_fold()); }
uint64 nym_string_hash(const Wchar* utf16) { return hash16(utf16, impl::No_fold()); }
uint64 nym_string_hash_nc(const char* utf8) { return hash8(utf8, Match_fold()); }
uint64 nym_string_hash_nc(const Wchar* utf16) { return hash16(utf16, Match_fold()); }

}  // namespace nym
