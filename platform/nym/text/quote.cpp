#include "nym/quote.h"

namespace nym {

namespace {

template <class C>
C escape_letter(C c) {
  switch (c) {
    case C('"'): return C('"');
    case C('\\'): return C('\\');
    case C('\r'): return C('r');
    case C('\n'): return C('n');
    case C('\t'): return C('t');
    case C('\v'): return C('v');
    case C('\b'): return C('b');
    case C('\f'): return C('f');
    case C('\a'): return C('a');
    default: return C(0);
  }
}

template <class S>
void quote(const S& in, S& out) {
  using C = typename S::value_type;
  out.clear();
  out.reserve(in.size() + 2);
  out.push_back(C('"'));
  for (const C c : in) {
    const C letter = escape_letter(c);
    if (letter != C(0)) {
      out.push_back(C('\\'));
      out.push_back(letter);
    } else {
      out.push_back(c);
    }
  }
  out.push_back(C('"'));
}

inline int hex_value(std::uint32_t c) {
  if (c >= '0' && c <= '9') return static_cast<int>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<int>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<int>(c - 'A' + 10);
  return -1;
}

// MAX_HEX: hexadecimal digits of one \x escape, two bytes' or four units' worth.
template <class S, std::size_t MAX_HEX>
void unquote(const S& in, S& out) {
  using C = typename S::value_type;
  using U = std::make_unsigned_t<C>;
  out.clear();
  std::size_t i = 0;
  std::size_t n = in.size();
  if (n >= 2 && in[0] == C('"') && in[n - 1] == C('"')) {
    i = 1;
    --n;
  }
  out.reserve(n - i);
  while (i < n) {
    const C c = in[i++];
    if (c != C('\\') || i == n) {
      out.push_back(c);
      continue;
    }
    const C e = in[i++];
    switch (e) {
      case C('t'): out.push_back(C('\t')); break;
      case C('r'): out.push_back(C('\r')); break;
      case C('n'): out.push_back(C('\n')); break;
      case C('f'): out.push_back(C('\f')); break;
      case C('a'): out.push_back(C('\a')); break;
      case C('b'): out.push_back(C('\b')); break;
      case C('v'): out.push_back(C('\v')); break;
      case C('x'): {
        std::uint32_t value = 0;
        for (std::size_t k = 0; k < MAX_HEX && i < n; ++k, ++i) {
          const int d = hex_value(static_cast<U>(in[i]));
          if (d < 0) break;
          value = value * 16 + static_cast<std::uint32_t>(d);
        }
        out.push_back(static_cast<C>(static_cast<U>(value)));
        break;
      }
      default:
        if (e >= C('0') && e <= C('7')) {
          std::uint32_t value = static_cast<std::uint32_t>(e - C('0'));
          for (std::size_t k = 1; k < 3 && i < n && in[i] >= C('0') && in[i] <= C('7'); ++k, ++i) {
            value = value * 8 + static_cast<std::uint32_t>(in[i] - C('0'));
          }
          out.push_back(static_cast<C>(static_cast<U>(value)));
        } else {
          // Also the escaped double quote and backslash, and the digits 8 and 9.
          out.push_back(e);
        }
        break;
    }
  }
}

// `below` says whether a character is escaped as itself plus 96: signed bytes below 31 in the
// narrow form, units below 31 in the wide form.
template <class S, class Below>
void to_xml(const S& in, S& out, bool escape_backslash, Below below) {
  using C = typename S::value_type;
  out.clear();
  out.reserve(in.size());
  for (const C c : in) {
    if (c == C('\\') && escape_backslash) {
      out.push_back(C('\\'));
      out.push_back(C('\\'));
    } else if (below(c)) {
      out.push_back(C('\\'));
      out.push_back(static_cast<C>(c + 96));
    } else if (c == C(31)) {
      out.push_back(C('\\'));
      out.push_back(C('_'));
    } else {
      out.push_back(c);
    }
  }
}

template <class S>
void from_xml(const S& in, S& out) {
  using C = typename S::value_type;
  out.clear();
  out.reserve(in.size());
  const std::size_t n = in.size();
  for (std::size_t i = 0; i < n; ++i) {
    const C c = in[i];
    if (c != C('\\')) {
      out.push_back(c);
      continue;
    }
    if (++i == n) break;
    const C e = in[i];
    if (e == C('\\')) out.push_back(C('\\'));
    else if (e == C('_')) out.push_back(C(31));
    else out.push_back(static_cast<C>(e - 96));
  }
}

bool narrow_below(char c) { return static_cast<signed char>(c) < 31; }
bool wide_below(Wchar c) { return c < 31; }

}  // namespace

void nym_quote(const Nstring& in, Nstring& out) { quote(in, out); }
void nym_quote(const Wstring& in, Wstring& out) { quote(in, out); }
void nym_unquote(const Nstring& in, Nstring& out) { unquote<Nstring, 2>(in, out); }
void nym_unquote(const Wstring& in, Wstring& out) { unquote<Wstring, 4>(in, out); }

void nym_strip_quotes(const Wstring& in, Wstring& out) {
  const std::size_t n = in.size();
  if (n >= 2 && in[0] == in[n - 1] && (in[0] == u'"' || in[0] == u'\'')) {
    out.assign(in, 1, n - 2);
  } else {
    out = in;
  }
}

bool nym_strip_unmatched_quotes(const Wstring& in, Wstring& out) {
  out.clear();
  if (in.empty()) return false;
  const bool first = in.front() == u'"';
  const bool last = in.back() == u'"';
  if (!first && last) {
    out.assign(in, 0, in.size() - 1);
    return true;
  }
  if (first && !last) {
    out.assign(in, 1, Wstring::npos);
    return true;
  }
  return false;
}

void nym_string_to_xml(const Nstring& in, Nstring& out, bool escape_backslash) {
  to_xml(in, out, escape_backslash, narrow_below);
}

void nym_wstring_to_xml(const Wstring& in, Wstring& out, bool escape_backslash) {
  to_xml(in, out, escape_backslash, wide_below);
}

void nym_wstring_to_xml(Wstring& text, bool escape_backslash) {
  Wstring out;
  to_xml(text, out, escape_backslash, wide_below);
  text.swap(out);
}

void nym_string_from_xml(const Nstring& in, Nstring& out) { from_xml(in, out); }
void nym_wstring_from_xml(const Wstring& in, Wstring& out) { from_xml(in, out); }

}  // namespace nym
