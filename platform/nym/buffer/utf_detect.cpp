#include "nym/utf_detect.h"

#include <unicode/uchar.h>

#include <cstring>
#include <utility>

#include "nym/istream.h"
#include "nym/unicode.h"
#include "store_counts.h"
#include "text/utf_walk.h"

namespace nym {

namespace {

// What the walkers give for a malformed sequence here: a non-character, so it never passes.
constexpr std::uint32_t INVALID = 0xFFFF;
constexpr uint64 UTF8_BLOCK = 8192;
constexpr uint64 UTF16_BLOCK = 16384;

// A decoded value must be an assigned code point. 0xFFFF, the detectors' failure value, is a
// non-character and never passes.
bool is_valid_value(std::uint32_t v) {
  if (v < impl::NYM_UNICODE_BIT_TABLE_SIZE) return (impl::NYM_UNICODE_BIT_TABLE[v] & impl::NYM_UNICODE_ASSIGNED) != 0;
  return u_charType(static_cast<UChar32>(v)) != U_UNASSIGNED;
}

bool is_utf16_shaped(Wchar unit) {
  if ((unit & 0xFF) >= 0xC0) return (unit >= 0xD800 && unit <= 0xDFFF) || unit < 0x8000;
  return ((unit & 0x8000) != 0 && (unit & 0x4080) == 0) || unit < 0x0100;
}

bool is_seven_bit(Wchar unit) {
  const unsigned lo = unit & 0xFF;
  const unsigned hi = unit >> 8;
  return lo >= 0x01 && lo <= 0x7F && hi >= 0x01 && hi <= 0x7F;
}

Wchar load_unit(const unsigned char* p) {
  Wchar u;
  std::memcpy(&u, p, sizeof u);
  return u;
}

// A mark at the start of the data, as nym_is_utf16 reads it.
struct Utf16_mark {
  bool found = false;
  bool little_endian = false;
  bool utf8 = false;  // BB EF ?? BF in memory: kept as it stands, though the real UTF-8 mark is EF BB BF
};

// Looks for the mark in the first block. A UTF-16 mark is skipped by `first_unit`, and the
// block's count loses its two bytes, so the first scan stops one unit short.
Utf16_mark read_mark(const unsigned char* block, uint64& count, uint64& first_unit) {
  Utf16_mark mark;
  if (count < 2) return mark;
  const Wchar u0 = load_unit(block);
  if (u0 == 0xFEFF || u0 == 0xFFFE) {
    mark.found = true;
    mark.little_endian = u0 == 0xFEFF;
    count -= 2;
    first_unit = 1;
  } else if (count >= 4 && u0 == 0xEFBB && block[3] == 0xBF) {
    mark.utf8 = true;
  }
  return mark;
}

// What nym_is_utf16 counts over the blocks: the values that aren't valid in each byte order,
// the units shaped like UTF-16, and whether every unit is two seven-bit bytes.
struct Utf16_counts {
  uint64 bad_forward = 0;
  uint64 bad_swapped = 0;
  uint64 shaped = 0;
  bool seven_bit = true;

  // One block of `count` bytes from unit `first_unit` on (the swapped reading from its start);
  // a reading already past `limit` is not counted on. Leaves the block's bytes swapped.
  void take(unsigned char* block, uint64 count, uint64 first_unit, uint64 limit) {
    const Wchar* const units = reinterpret_cast<const Wchar*>(block);
    const Wchar* const end = units + count / 2;
    if (bad_forward <= limit) {
      for (const Wchar* p = units + first_unit; p < end;) {
        if (!is_valid_value(impl::decode_utf16<INVALID>(p, end))) ++bad_forward;
        const Wchar at = p[-1];
        if (shaped <= limit && is_utf16_shaped(at)) ++shaped;
        if (seven_bit && !is_seven_bit(at)) seven_bit = false;
      }
    }
    if (bad_swapped <= limit) {
      for (uint64 i = 0; i + 1 < count; i += 2) std::swap(block[i], block[i + 1]);
      for (const Wchar* p = units; p < end;) {
        if (!is_valid_value(impl::decode_utf16<INVALID>(p, end))) ++bad_swapped;
      }
    }
  }

  // The answer and its flags once the counting has ended (`result` false: both readings failed).
  bool judge(const Utf16_mark& mark, bool result, unsigned char& flags) const {
    const bool counted_little_endian = bad_forward <= bad_swapped;
    bool little_endian = counted_little_endian;
    bool mark_stands = false;
    if (!mark.found) {
      if (result && (seven_bit || mark.utf8 || (shaped < bad_forward && shaped < bad_swapped))) result = false;
    } else if (bad_forward == 0 || bad_swapped == 0 || counted_little_endian == mark.little_endian) {
      mark_stands = true;
      little_endian = mark.little_endian;
    }
    if (result) flags |= NYM_UTF_IS_UTF16;
    if (little_endian) flags |= NYM_UTF_LITTLE_ENDIAN;
    if (mark_stands) flags |= NYM_UTF_MARK;
    return result;
  }
};

}  // namespace

bool nym_is_utf8(const Nym_buffer* buffer, unsigned char& flags, bool& ascii, Nym_status& status) {
  flags = 0;
  ascii = true;
  if (status.is_error() || buffer == nullptr) return false;
  Nym_unbuffered_istream in(*buffer, true, status, NYM_EOL_CRLF);
  if (status.is_error()) return true;

  unsigned char block[UTF8_BLOCK];
  uint64 count = impl::answered(in.read(UTF8_BLOCK, block, status), UTF8_BLOCK);
  uint64 start = 0;
  static const unsigned char MARK8[3] = {0xEF, 0xBB, 0xBF};
  static const unsigned char MARK16_LE[2] = {0xFF, 0xFE};
  static const unsigned char MARK16_BE[2] = {0xFE, 0xFF};
  const std::size_t n3 = static_cast<std::size_t>(count < 3 ? count : 3);
  const std::size_t n2 = static_cast<std::size_t>(count < 2 ? count : 2);
  bool result = true;
  if (std::memcmp(block, MARK8, n3) == 0) {
    flags |= NYM_UTF_MARK;
    start = n3;
  } else if (std::memcmp(block, MARK16_LE, n2) == 0 || std::memcmp(block, MARK16_BE, n2) == 0) {
    result = false;
  }

  while (result) {
    const unsigned char* p = block + start;
    const unsigned char* const end = block + count;
    while (p < end) {
      if (*p >= 0x80) ascii = false;
      if (static_cast<uint64>(end - p - 1) < impl::UTF8_CONTINUATION_COUNT[*p]) {
        result = false;
        break;
      }
      // The block holds every continuation byte the lead announces (looked at above).
      if (!is_valid_value(impl::decode_utf8<INVALID>(p, nullptr))) {
        result = false;
        break;
      }
    }
    if (!result || status.is_error()) break;
    count = impl::answered(in.read(UTF8_BLOCK, block, status), UTF8_BLOCK);
    start = 0;
    // A read that gives nothing and reports nothing would never end the walk: it ends it as
    // the end of the data does.
    if (count == 0 && !status.is_error()) break;
  }
  if (status.value() == NYM_S_END_OF_DATA) status.clear();
  return result;
}

bool nym_is_utf16(const Nym_buffer* buffer, unsigned short tolerance, unsigned char& flags, Nym_status& status) {
  flags = 0;
  if (buffer == nullptr) return false;
  const int64 size = buffer->size(true, status);
  if (status.is_error()) {
    flags = NYM_UTF_IS_UTF16 | NYM_UTF_LITTLE_ENDIAN;
    return true;
  }
  if (size % 2 != 0) {
    flags = NYM_UTF_LITTLE_ENDIAN;
    return false;
  }
  const uint64 limit = static_cast<uint64>(tolerance) * static_cast<uint64>(size / 2) / 100;
  Nym_unbuffered_istream in(*buffer, true, status, NYM_EOL_CRLF);
  if (status.is_error()) return true;

  alignas(Wchar) unsigned char block[UTF16_BLOCK];
  uint64 count = impl::answered(in.read(UTF16_BLOCK, block, status), UTF16_BLOCK);
  uint64 first_unit = 0;
  const Utf16_mark mark = read_mark(block, count, first_unit);
  Utf16_counts counts;
  bool result = true;
  for (;;) {
    counts.take(block, count, first_unit, limit);
    if (counts.bad_forward > limit && counts.bad_swapped > limit) {
      result = false;
      break;
    }
    if (status.is_error()) break;
    count = impl::answered(in.read(UTF16_BLOCK, block, status), UTF16_BLOCK);
    first_unit = 0;
    // Also a read that gives nothing and reports nothing, which would never end the walk.
    if (count == 0) break;
  }
  if (status.orig_value() == NYM_S_END_OF_DATA) status.clear();
  return counts.judge(mark, result, flags);
}

}  // namespace nym
