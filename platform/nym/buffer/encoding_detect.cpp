#include "nym/encoding_detect.h"

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "nym/istream.h"
#include "nym/unicode.h"
#include "text/utf_walk.h"

namespace nym {

namespace {

constexpr uint64 BLOCK = 16384;
constexpr uint64 SHORT_SAMPLE = 8;   // fewer bytes than this cap the confidence at 50
constexpr uint64 COHERENT_UNITS = 16;  // the fewest units that high-byte coherence may judge

enum class Mark { none, utf8, utf16le, utf16be };

// Control characters that text files do hold: tab, line feed, vertical tab, form feed,
// carriage return, the old end-of-file mark and escape (coloured logs).
bool is_text_control(unsigned int c) { return (c >= 0x09 && c <= 0x0D) || c == 0x1A || c == 0x1B; }

// Whether a UTF-16 unit (not a surrogate) may stand in text: assigned, and no control
// character other than those above (so no NUL and no C1 control).
bool is_text_unit(unsigned int u) {
  if (u < 0x20) return is_text_control(u);
  if (u >= 0x7F && u <= 0x9F) return false;
  return (impl::NYM_UNICODE_BIT_TABLE[u] & impl::NYM_UNICODE_ASSIGNED) != 0;
}

// Whether the eight bytes at p are all 0x20 to 0x7E: there is nothing to count in them.
bool is_printable_ascii(const unsigned char* p) {
  constexpr std::uint64_t ONES = 0x0101010101010101u;
  constexpr std::uint64_t HIGH = 0x8080808080808080u;
  std::uint64_t x;
  std::memcpy(&x, p, sizeof x);
  const std::uint64_t del = x ^ (ONES * 0x7F);
  // With no top bit set, (v - ONES * k) & ~v & HIGH is non-zero exactly when a byte is below k.
  return ((x & HIGH) | ((x - ONES * 0x20) & ~x & HIGH) | ((del - ONES) & ~del & HIGH)) == 0;
}

// One byte order's reading of the units: those that can't stand in text.
struct Utf16_reading {
  bool pending_high = false;
  uint64 bad = 0;

  void take(unsigned int u) {
    if (pending_high) {
      pending_high = false;
      if (impl::is_low_surrogate(u)) return;
      ++bad;
    }
    if (impl::is_high_surrogate(u)) pending_high = true;
    else if (impl::is_low_surrogate(u) || !is_text_unit(u)) ++bad;
  }
};

// The evidence of a sample, gathered block by block so that a store's short reads and the
// block boundaries change nothing: the first three bytes wait until the mark is decided, a
// UTF-8 sequence and a UTF-16 unit may span any two feeds.
//
// Most text is clean UTF-8, which needs none of the UTF-16 evidence, the costly part. So a
// light walk gathers only what UTF-8 needs; it gives up (feed answers false) at a UTF-16 mark
// or a zero byte, and after finish() asks for the full walk (full_needed) unless clean UTF-8
// decided the answer. The full walk then starts again from the first byte.
class Evidence {
 public:
  explicit Evidence(bool full) : m_full(full) {}

  bool feed(const unsigned char* p, uint64 n) {
    while (!m_head_done && n > 0) {
      m_head[m_head_count++] = *p++;
      --n;
      if (m_head_count == 3) decide_mark();
    }
    if (m_full) take_full(p, n);
    else take_light(p, n);
    return !m_gave_up;
  }

  bool full_needed() const { return m_gave_up || m_full_needed; }

  // `whole`: the data end here, so a cut character or a lone last byte counts against them.
  Nym_encoding_guess finish(bool whole) {
    if (!m_head_done) decide_mark();
    if (whole) {
      if (m_need > 0) ++m_utf8_bad;
      if (m_bytes % 2 != 0) {
        ++m_le.bad;
        ++m_be.bad;
      }
      if (m_le.pending_high) ++m_le.bad;
      if (m_be.pending_high) ++m_be.bad;
    }
    bool utf16_weighed = false;
    const Nym_encoding_guess g = judge(utf16_weighed);
    m_full_needed = !m_full && utf16_weighed;
    return g;
  }

 private:
  void decide_mark() {
    m_head_done = true;
    unsigned int skip = 0;
    if (m_head_count == 3 && m_head[0] == 0xEF && m_head[1] == 0xBB && m_head[2] == 0xBF) {
      m_mark = Mark::utf8;
      skip = 3;
    } else if (m_head_count >= 2 && m_head[0] == 0xFF && m_head[1] == 0xFE) {
      m_mark = Mark::utf16le;
      skip = 2;
    } else if (m_head_count >= 2 && m_head[0] == 0xFE && m_head[1] == 0xFF) {
      m_mark = Mark::utf16be;
      skip = 2;
    }
    if (m_mark == Mark::utf16le || m_mark == Mark::utf16be) m_gave_up = !m_full;
    if (m_full) take_full(m_head + skip, m_head_count - skip);
    else take_light(m_head + skip, m_head_count - skip);
  }

  void take_light(const unsigned char* p, uint64 n) {
    const unsigned char* const end = p + n;
    while (p < end && !m_gave_up) {
      if (m_need == 0) {
        while (end - p >= 8 && is_printable_ascii(p)) {
          p += 8;
          m_bytes += 8;
        }
        if (p == end) break;
      }
      const unsigned int b = *p++;
      if (b == 0) {
        ++m_zeros[m_bytes & 1];
        m_gave_up = m_mark != Mark::utf8;
      } else if ((b < 0x20 && !is_text_control(b)) || b == 0x7F) {
        ++m_controls;
      }
      if (b >= 0x80) ++m_high;
      utf8_step(b);
      ++m_bytes;
    }
  }

  void take_full(const unsigned char* p, uint64 n) {
    for (const unsigned char* const end = p + n; p < end; ++p) {
      const unsigned int b = *p;
      const unsigned int parity = static_cast<unsigned int>(m_bytes & 1);
      if (b == 0) ++m_zeros[parity];
      else if ((b < 0x20 && !is_text_control(b)) || b == 0x7F) ++m_controls;
      if (b >= 0x80) ++m_high;
      m_seen[parity].set(b);
      utf8_step(b);
      if (parity == 0) {
        m_even = b;
      } else {
        m_le.take(m_even | (b << 8));
        m_be.take((m_even << 8) | b);
        ++m_units;
      }
      ++m_bytes;
    }
  }

  // Well-formed UTF-8: the bounds of the first continuation byte shut out overlong forms,
  // surrogates and values above U+10FFFF.
  void utf8_step(unsigned int b) {
    if (m_need > 0) {
      if (b >= m_lo && b <= m_hi) {
        m_lo = 0x80;
        m_hi = 0xBF;
        if (--m_need == 0) ++m_utf8_sequences;
        return;
      }
      ++m_utf8_bad;
      m_need = 0;  // the breaking byte starts afresh
    }
    m_lo = 0x80;
    m_hi = 0xBF;
    if (b < 0x80) return;
    if (b >= 0xC2 && b <= 0xDF) m_need = 1;
    else if (b >= 0xE0 && b <= 0xEF) m_need = 2;
    else if (b >= 0xF0 && b <= 0xF4) m_need = 3;
    else ++m_utf8_bad;
    if (b == 0xE0) m_lo = 0xA0;
    else if (b == 0xED) m_hi = 0x9F;
    else if (b == 0xF0) m_lo = 0x90;
    else if (b == 0xF4) m_hi = 0x8F;
  }

  unsigned int distinct(unsigned int parity) const { return static_cast<unsigned int>(m_seen[parity].count()); }

  // UTF-16 in an order whose high bytes stand at `high` parity. Strong: the zero bytes fall
  // in the high byte, on half the units or on an eighth with the high bytes few (a script
  // beside spaces and digits). Coherent: no zero bytes needed, the high bytes take at most
  // half as many values as the low bytes.
  bool strong_utf16(const Utf16_reading& r, unsigned int high) const {
    const uint64 right = m_zeros[high];
    const uint64 wrong = m_zeros[1 - high];
    if (m_units == 0 || right == 0 || r.bad * 50 > m_units || wrong * 8 > right) return false;
    return right * 2 >= m_units || (right * 8 >= m_units && coherent(high));
  }
  bool coherent_utf16(const Utf16_reading& r, unsigned int high) const {
    return m_units >= COHERENT_UNITS && r.bad * 50 <= m_units && coherent(high);
  }
  bool coherent(unsigned int high) const { return distinct(high) * 2 <= distinct(1 - high); }

  // `utf16_weighed`: whether the answer rests on UTF-16 evidence.
  Nym_encoding_guess judge(bool& utf16_weighed) const {
    Nym_encoding_guess g;
    utf16_weighed = false;
    const uint64 zeros = m_zeros[0] + m_zeros[1];
    const bool text_bytes = m_controls * 20 <= m_bytes;
    const bool seven_bit = m_high == 0 && zeros == 0;
    if (m_mark == Mark::utf8) {
      g.mark = true;
      g.ascii = seven_bit;
      g.confidence = m_utf8_bad == 0 && zeros == 0 && text_bytes ? 100 : 50;
      return g;
    }
    if (m_mark != Mark::none) {
      utf16_weighed = true;
      const bool le = m_mark == Mark::utf16le;
      const Utf16_reading& r = le ? m_le : m_be;
      const bool contradicted = le ? strong_utf16(m_be, 0) && !strong_utf16(m_le, 1)
                                   : strong_utf16(m_le, 1) && !strong_utf16(m_be, 0);
      if ((r.bad <= 1 || r.bad * 10 <= m_units) && !contradicted) {
        g.encoding = le ? NYM_ENCODING_UTF16LE : NYM_ENCODING_UTF16BE;
        g.mark = true;
        g.ascii = false;
        g.confidence = r.bad == 0 ? 100 : 75;
        return g;
      }
    }
    if (m_bytes == 0) return g;  // nothing to judge: UTF-8 reads it as well as anything

    // A UTF-16 mark that the data don't bear out is no UTF-8 either: FF and FE never are.
    const bool utf8_mostly =
        m_mark == Mark::none && text_bytes &&
        (m_utf8_bad == 0 || (m_utf8_sequences >= 4 && m_utf8_bad * 20 <= m_utf8_sequences));
    const bool le_strong = strong_utf16(m_le, 1);
    const bool be_strong = strong_utf16(m_be, 0);
    unsigned int confidence = 0;
    utf16_weighed = !(utf8_mostly && zeros == 0);
    if (!utf16_weighed) {
      g.encoding = NYM_ENCODING_UTF8;
      if (m_utf8_bad > 0) confidence = 75;
      else if (m_high == 0 || m_utf8_sequences >= 4) confidence = 100;
      else confidence = m_utf8_sequences >= 2 ? 90 : 75;
    } else if (le_strong || be_strong) {
      const bool le = le_strong && (!be_strong || m_le.bad <= m_be.bad);
      const Utf16_reading& r = le ? m_le : m_be;
      g.encoding = le ? NYM_ENCODING_UTF16LE : NYM_ENCODING_UTF16BE;
      confidence = r.bad == 0 && m_zeros[le ? 0 : 1] == 0 ? 100 : 80;
    } else if (utf8_mostly && zeros * 32 <= m_bytes) {
      g.encoding = NYM_ENCODING_UTF8;  // a few NULs in UTF-8 text: padding, a terminator
      confidence = 50;
    } else if (coherent_utf16(m_le, 1) || coherent_utf16(m_be, 0)) {
      g.encoding = coherent_utf16(m_le, 1) ? NYM_ENCODING_UTF16LE : NYM_ENCODING_UTF16BE;
      confidence = 50;
    } else {
      g.encoding = NYM_ENCODING_NEITHER;
      confidence = m_utf8_bad + zeros + m_controls >= 4 ? 100 : 75;
    }
    g.ascii = seven_bit && g.encoding == NYM_ENCODING_UTF8;
    g.confidence = m_bytes < SHORT_SAMPLE ? std::min(confidence, 50u) : confidence;
    return g;
  }

  const bool m_full;
  bool m_gave_up = false;
  bool m_full_needed = false;

  unsigned char m_head[3] = {};
  unsigned int m_head_count = 0;
  bool m_head_done = false;
  Mark m_mark = Mark::none;

  uint64 m_bytes = 0;  // after the mark
  uint64 m_zeros[2] = {};
  uint64 m_controls = 0;
  uint64 m_high = 0;
  std::bitset<256> m_seen[2];

  unsigned int m_need = 0;
  unsigned int m_lo = 0x80;
  unsigned int m_hi = 0xBF;
  uint64 m_utf8_bad = 0;
  uint64 m_utf8_sequences = 0;

  unsigned int m_even = 0;
  uint64 m_units = 0;
  Utf16_reading m_le;
  Utf16_reading m_be;
};

}  // namespace

const char* nym_encoding_name(Nym_text_encoding encoding) {
  switch (encoding) {
    case NYM_ENCODING_UTF8: return "UTF-8";
    case NYM_ENCODING_UTF16LE: return "UTF-16LE";
    case NYM_ENCODING_UTF16BE: return "UTF-16BE";
    default: return "neither UTF-8 nor UTF-16";
  }
}

Nym_encoding_guess nym_detect_encoding(const void* data, uint64 size) {
  if (data == nullptr && size > 0) throw std::invalid_argument("nym_detect_encoding - null data.");
  const auto* bytes = static_cast<const unsigned char*>(data);
  Evidence light(false);
  if (light.feed(bytes, size)) {
    const Nym_encoding_guess g = light.finish(true);
    if (!light.full_needed()) return g;
  }
  Evidence full(true);
  full.feed(bytes, size);
  return full.finish(true);
}

namespace {

// Feeds the buffer from its start until the evidence gives up, `max_bytes` have come, or an
// error; answers whether the data ended there. End of data is cleared, other errors stay.
bool walk(const Nym_buffer& buffer, uint64 max_bytes, Evidence& evidence, Nym_status& status) {
  status.clear();
  Nym_unbuffered_istream in(buffer, true, status);
  if (status.is_error()) return false;
  unsigned char block[BLOCK] = {};
  uint64 left = max_bytes;
  bool whole = false;
  while (left > 0) {
    const uint64 want = std::min(BLOCK, left);
    // A store that reports more than it was asked for is held to the request.
    const uint64 got = std::min(in.read(want, block, status), want);
    left -= got;
    if (!evidence.feed(block, got)) break;
    if (status.is_error()) {
      whole = status.value() == NYM_S_END_OF_DATA;
      break;
    }
    // A read that gives nothing and reports nothing would never end the walk.
    if (got == 0) break;
  }
  if (status.value() == NYM_S_END_OF_DATA) status.clear();
  return whole;
}

}  // namespace

Nym_encoding_guess nym_detect_encoding(const Nym_buffer* buffer, uint64 max_bytes, Nym_status& status) {
  status.clear();
  if (buffer == nullptr) return Evidence(true).finish(true);
  Evidence light(false);
  bool whole = walk(*buffer, max_bytes, light, status);
  if (!light.full_needed()) {
    const Nym_encoding_guess g = light.finish(whole);
    if (!light.full_needed()) return g;
  }
  // The buffer is read a second time: a writer it had has left by now, or the limit held.
  Evidence full(true);
  whole = walk(*buffer, max_bytes, full, status);
  return full.finish(whole);
}

Nym_encoding_guess nym_detect_encoding(const Nym_buffer* buffer, Nym_status& status) {
  return nym_detect_encoding(buffer, NYM_NPOS, status);
}

}  // namespace nym
