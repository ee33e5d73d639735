// The line readers: one algorithm for bytes and for 16-bit units.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <typeinfo>

#if defined(__SSE2__)
#include <emmintrin.h>
#if defined(__GNUC__) || defined(__clang__)
#include <immintrin.h>
#define NYM_LINES_AVX2 1
#endif
#endif

#include "nym/istream.h"
#include "store_counts.h"
#include "swap_unit.h"

namespace nym {

namespace {

// Characters asked of the stream per read.
constexpr uint64 PORTION = 78;
// The line area is made this large (or max + 2, if smaller) at once and grows only for
// longer lines, so that a caller may pass a huge max without a huge allocation.
constexpr uint64 FIRST_AREA = 4096;

#if defined(__SSE2__)
// Where sixteen bytes hold `a` (or `b`, with `Two`): one bit per byte.
template <class Unit, bool Two>
unsigned hits_in(const Unit* at, __m128i a, __m128i b) {
  const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
  const auto equal = [&units](__m128i w) {
    return sizeof(Unit) == 1 ? _mm_cmpeq_epi8(units, w) : _mm_cmpeq_epi16(units, w);
  };
  const __m128i hits = Two ? _mm_or_si128(equal(a), equal(b)) : equal(a);
  return static_cast<unsigned>(_mm_movemask_epi8(hits));
}
#endif

#if defined(NYM_LINES_AVX2)
#define NYM_TARGET_AVX2 __attribute__((target("avx2")))

template <class Unit>
NYM_TARGET_AVX2 inline __m256i spread_avx2(Unit u) {
  return sizeof(Unit) == 1 ? _mm256_set1_epi8(static_cast<char>(u)) : _mm256_set1_epi16(static_cast<short>(u));
}

// Where thirty-two bytes hold `a` (or `b`, with `Two`): one bit per byte.
template <class Unit, bool Two>
NYM_TARGET_AVX2 inline std::uint32_t hits_in_avx2(const Unit* at, __m256i a, __m256i b) {
  const __m256i units = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
  const __m256i hit_a = sizeof(Unit) == 1 ? _mm256_cmpeq_epi8(units, a) : _mm256_cmpeq_epi16(units, a);
  if (!Two) return static_cast<std::uint32_t>(_mm256_movemask_epi8(hit_a));
  const __m256i hit_b = sizeof(Unit) == 1 ? _mm256_cmpeq_epi8(units, b) : _mm256_cmpeq_epi16(units, b);
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_or_si256(hit_a, hit_b)));
}

// Sixty-four bytes a step on a processor with AVX2, where long lines spend their time: the
// first hit, or where fewer than sixty-four bytes are left before `to`.
template <bool Two, class Unit>
NYM_TARGET_AVX2 uint64 find_either_avx2(const Unit* area, uint64 from, uint64 to, Unit a, Unit b) {
  constexpr uint64 per = 32 / sizeof(Unit);
  const __m256i want_a = spread_avx2(a);
  const __m256i want_b = spread_avx2(b);
  for (; to - from >= 2 * per; from += 2 * per) {
    const std::uint64_t both = hits_in_avx2<Unit, Two>(area + from, want_a, want_b) |
                               (static_cast<std::uint64_t>(hits_in_avx2<Unit, Two>(area + from + per, want_a, want_b)) << 32);
    if (both != 0) return from + static_cast<uint64>(__builtin_ctzll(both)) / sizeof(Unit);
  }
  return from;
}

bool has_avx2() {
  static const bool avx2 = __builtin_cpu_supports("avx2") != 0;
  return avx2;
}
#endif

// The index of the first `a` (or `b`, with `Two`) in [from, to), or `to`: thirty-two bytes a
// step (sixty-four with AVX2), never reading past `to` (the system's memchr may go a byte at a
// time).
template <bool Two, class Unit>
uint64 find_either(const Unit* area, uint64 from, uint64 to, Unit a, Unit b) {
#if defined(NYM_LINES_AVX2)
  if ((to - from) * sizeof(Unit) >= 64 && has_avx2()) {
    from = find_either_avx2<Two>(area, from, to, a, b);
    if (from < to && (area[from] == a || (Two && area[from] == b))) return from;
  }
#endif
#if defined(__SSE2__)
  constexpr uint64 per = 16 / sizeof(Unit);
  const auto spread = [](Unit u) {
    return sizeof(Unit) == 1 ? _mm_set1_epi8(static_cast<char>(u)) : _mm_set1_epi16(static_cast<short>(u));
  };
  const __m128i want_a = spread(a);
  const __m128i want_b = spread(b);
  for (; to - from >= 2 * per; from += 2 * per) {
    const unsigned low = hits_in<Unit, Two>(area + from, want_a, want_b);
    const unsigned high = hits_in<Unit, Two>(area + from + per, want_a, want_b);
    if ((low | high) != 0) {
      const unsigned both = low | (high << 16);
      return from + static_cast<uint64>(__builtin_ctz(both)) / sizeof(Unit);
    }
  }
  if (to - from >= per) {
    const unsigned low = hits_in<Unit, Two>(area + from, want_a, want_b);
    if (low != 0) return from + static_cast<uint64>(__builtin_ctz(low)) / sizeof(Unit);
    from += per;
  }
#endif
  while (from < to && area[from] != a && (!Two || area[from] != b)) ++from;
  return from;
}

// The search for a line end, fed the units read so far; it remembers where it stopped.
template <class Unit>
class Line_end_scan {
 public:
  // The _be forms compare with swapped line ends rather than swap every unit.
  Line_end_scan(Nym_eol rule, bool swap)
      : m_rule(rule),
        m_cr(swap ? static_cast<Unit>(0x0D00) : static_cast<Unit>(0x0D)),
        m_lf(swap ? static_cast<Unit>(0x0A00) : static_cast<Unit>(0x0A)) {}

  // Looks on through the first `whole` units of the line, up to the first line end; `area`
  // holds the units from `first` on (first <= seen()).
  void scan(const Unit* area, uint64 whole, uint64 first = 0) {
    while (m_seen < whole && !m_found) {
      if (m_after_cr) {
        const Unit c = area[m_seen - first];
        if (m_rule == NYM_EOL_CRLF) {
          if (c == m_lf) found(NYM_EOL_CRLF, m_seen - 1, 2);
          m_after_cr = c == m_cr;
        } else if (c == m_lf) {
          found(NYM_EOL_CRLF, m_seen - 1, 2);
        } else {
          // After a lone CR the line ended before this character, which stays for the next line.
          found(NYM_EOL_CR, m_seen - 1, 1);
        }
        ++m_seen;
        continue;
      }
      // In the normal state only CR and LF matter: skip to the next of them.
      const uint64 from = m_seen - first;
      const uint64 to = whole - first;
      m_seen = first + (m_rule == NYM_EOL_LF                             ? find_either<false>(area, from, to, m_lf, m_lf)
                        : m_rule == NYM_EOL_CR || m_rule == NYM_EOL_CRLF ? find_either<false>(area, from, to, m_cr, m_cr)
                                                                         : find_either<true>(area, from, to, m_cr, m_lf));
      if (m_seen == whole) break;
      if (m_rule == NYM_EOL_CR || m_rule == NYM_EOL_LF) {
        found(m_rule, m_seen, 1);
      } else if (m_rule != NYM_EOL_CRLF && area[m_seen - first] == m_lf) {  // any; an unknown rule reads as any
        found(NYM_EOL_LF, m_seen, 1);
      } else {
        m_after_cr = true;
      }
      ++m_seen;
    }
  }

  // The data end here: a CR last ends the line under the rule "any".
  void finish() {
    if (m_found) return;
    if (m_rule != NYM_EOL_CR && m_rule != NYM_EOL_LF && m_rule != NYM_EOL_CRLF && m_after_cr) {
      found(NYM_EOL_CR, m_seen - 1, 1);
    } else {
      m_line_length = m_seen;
    }
  }

  // A piece of a longer line: a line end seen just beyond it is still reported, not consumed.
  void cut(uint64 limit) {
    if (m_line_length <= limit) return;
    m_line_length = limit;
    m_eol_length = 0;
    m_found = false;
  }

  bool ended() const { return m_found; }
  uint64 seen() const { return m_seen; }
  Nym_eol report() const { return m_report; }
  uint64 line_length() const { return m_line_length; }
  uint64 eol_length() const { return m_eol_length; }

 private:
  void found(Nym_eol report, uint64 line_length, uint64 eol_length) {
    m_found = true;
    m_report = report;
    m_line_length = line_length;
    m_eol_length = eol_length;
  }

  Nym_eol m_rule;
  Unit m_cr;
  Unit m_lf;
  uint64 m_seen = 0;  // whole characters examined
  bool m_after_cr = false;
  bool m_found = false;
  Nym_eol m_report = NYM_EOL_ANY;
  uint64 m_line_length = 0;
  uint64 m_eol_length = 0;
};

}  // namespace

template <class Unit>
Nym_eol Nym_istream::read_line(int64 position, bool advance, bool swap, uint64 max, std::basic_string<Unit>& line,
                               Nym_status& status) {
  constexpr uint64 unit = sizeof(Unit);
  status.clear();

  // A max of 0 would hand out empty pieces of a non-empty line for ever, never moving on:
  // it reads as 1, which gives the same answer for every line that is empty.
  const uint64 limit = max == 0 ? 1 : std::min<uint64>(max, std::numeric_limits<uint64>::max() / unit - 2);
  const uint64 look = limit + 2;  // the look-ahead of a line that ends in CR

  // A buffered stream of the library's own class mostly holds the line in its window: scanned
  // there and copied once into the line. Where the window ends before the line is settled (its
  // end, or the look-ahead, not in it) the line is read the long way below, as if never
  // looked at. A derived class may read otherwise, so it always goes the long way. The class
  // is told by its type's object, without comparing names: should two objects stand for it,
  // a "no" costs only time.
  Line_end_scan<Unit> scan(m_eol, swap);
  const Unit* units = nullptr;
  const auto* window =
      &typeid(*this) == &typeid(Nym_buffered_istream) ? static_cast<const Nym_buffered_istream*>(this) : nullptr;
  if (window != nullptr) {
    uint64 held = 0;
    const unsigned char* at = window->window_from(position, held);
    if (at != nullptr && reinterpret_cast<std::uintptr_t>(at) % alignof(Unit) == 0) {
      const uint64 whole = std::min(held / unit, look);
      scan.scan(reinterpret_cast<const Unit*>(at), whole);
      if (scan.ended() || whole == look) {
        units = reinterpret_cast<const Unit*>(at);
      } else {
        scan = Line_end_scan<Unit>(m_eol, swap);
      }
    }
  }
  if (units == nullptr) {
    line.clear();
    auto ensure_area = [this](uint64 bytes) {
      if (m_line_area_size >= bytes) return;
      void* grown = std::realloc(m_line_area, bytes);
      if (grown == nullptr) throw std::bad_alloc();
      m_line_area = grown;
      m_line_area_size = bytes;
    };
    ensure_area(std::min(look, FIRST_AREA) * unit);

    uint64 bytes = 0;  // read so far, at `position`
    while (!scan.ended() && scan.seen() < look) {
      const int64 at = position + static_cast<int64>(bytes);
      // What the window holds is taken whole, with no call: a portion would copy the same bytes,
      // and the window is refilled at its end either way.
      uint64 held = 0;
      const unsigned char* in_window = window != nullptr ? window->window_from(at, held) : nullptr;
      if (in_window != nullptr) {
        held = std::min(held, look * unit - bytes);
        // Looked at in the window first where whole units line up, so that only the part the
        // line takes is copied, not the whole window.
        const bool in_place = bytes % unit == 0 && reinterpret_cast<std::uintptr_t>(in_window) % alignof(Unit) == 0;
        if (in_place) {
          const uint64 first = bytes / unit;
          scan.scan(reinterpret_cast<const Unit*>(in_window), first + held / unit, first);
          if (scan.ended()) held = (scan.seen() - first) * unit;
        }
        ensure_area(std::max(bytes + held, std::min(look * unit, m_line_area_size * 2)));
        std::memcpy(static_cast<unsigned char*>(m_line_area) + bytes, in_window, held);
        bytes += held;
        if (!in_place) scan.scan(static_cast<const Unit*>(m_line_area), bytes / unit);
        continue;
      }
      const uint64 want =
          impl::count_within_positions(at, std::min(PORTION, look - scan.seen()) * unit - bytes % unit);
      if (want == 0) {
        status = NYM_S_END_OF_DATA;  // nothing lies beyond the last position
        break;
      }
      if (m_line_area_size < bytes + want) {
        ensure_area(std::min(look * unit, std::max(m_line_area_size * 2, bytes + want)));
      }
      const uint64 got =
          impl::answered(read_at(at, want, static_cast<unsigned char*>(m_line_area) + bytes, status), want);
      if (status.is_error()) break;
      // A store that answers nothing without an error would be asked again for ever.
      if (got == 0) break;
      bytes += got;
      scan.scan(static_cast<const Unit*>(m_line_area), bytes / unit);
    }
    units = static_cast<const Unit*>(m_line_area);
  }
  scan.finish();
  scan.cut(limit);

  // Appending to the emptied line skips the overlap checks of a general replace.
  line.clear();
  line.append(units, static_cast<std::size_t>(scan.line_length()));
  if constexpr (sizeof(Unit) == 2) {
    if (swap) {
      for (auto& c : line) c = impl::swap_unit(c);
    }
  }
  if (scan.seen() > 0 && status == NYM_S_END_OF_DATA) status.clear();
  if (!scan.ended() && status.ok()) status.push(NYM_S_LINE_NOT_ENDED);
  if (advance) m_position = position + static_cast<int64>((scan.line_length() + scan.eol_length()) * unit);
  return scan.report();
}

Nym_eol Nym_istream::readln(uint64 max, Nstring& line, Nym_status& status) {
  return read_line(m_position, true, false, max, line, status);
}
Nym_eol Nym_istream::readln_at(int64 position, uint64 max, Nstring& line, Nym_status& status) {
  return read_line(position, false, false, max, line, status);
}

Nym_eol Nym_istream::wreadln(uint64 max, Wstring& line, Nym_status& status) {
  return read_line(m_position, true, false, max, line, status);
}
Nym_eol Nym_istream::wreadln_at(int64 position, uint64 max, Wstring& line, Nym_status& status) {
  return read_line(position, false, false, max, line, status);
}
Nym_eol Nym_istream::wreadln_le(uint64 max, Wstring& line, Nym_status& status) {
  return read_line(m_position, true, false, max, line, status);
}
Nym_eol Nym_istream::wreadln_le_at(int64 position, uint64 max, Wstring& line, Nym_status& status) {
  return read_line(position, false, false, max, line, status);
}
Nym_eol Nym_istream::wreadln_be(uint64 max, Wstring& line, Nym_status& status) {
  return read_line(m_position, true, true, max, line, status);
}
Nym_eol Nym_istream::wreadln_be_at(int64 position, uint64 max, Wstring& line, Nym_status& status) {
  return read_line(position, false, true, max, line, status);
}

Nym_eol Nym_istream::xreadln(uint64 max, Wstring& line, Nym_status& status) { return wreadln(max, line, status); }
Nym_eol Nym_istream::xreadln_at(int64 position, uint64 max, Wstring& line, Nym_status& status) {
  return wreadln_at(position, max, line, status);
}
Nym_eol Nym_istream::xreadln_le(uint64 max, Wstring& line, Nym_status& status) {
  return wreadln_le(max, line, status);
}
Nym_eol Nym_istream::xreadln_le_at(int64 position, uint64 max, Wstring& line, Nym_status& status) {
  return wreadln_le_at(position, max, line, status);
}
Nym_eol Nym_istream::xreadln_be(uint64 max, Wstring& line, Nym_status& status) {
  return wreadln_be(max, line, status);
}
Nym_eol Nym_istream::xreadln_be_at(int64 position, uint64 max, Wstring& line, Nym_status& status) {
  return wreadln_be_at(position, max, line, status);
}

}  // namespace nym
