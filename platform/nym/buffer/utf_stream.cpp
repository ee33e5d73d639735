// Conversion of text between a Nym_istream and a Nym_ostream (declared with the string
// conversions in nym/utf.h).
#include "nym/utf.h"

#include <cstddef>
#include <cstdint>

#include "nym/ostream.h"
#include "store_counts.h"
#include "text/utf_walk.h"

namespace nym {

namespace {

// Writes one character as one write of two bytes per UTF-16 unit, in host order.
void write_units(Nym_ostream& out, std::uint32_t value, Nym_status& status) {
  Wchar units[2];
  const Wchar* const end = impl::encode_utf16(units, value);
  for (const Wchar* u = units; u < end && !status.is_error(); ++u) out.write(sizeof(Wchar), u, status);
}

}  // namespace

void nym_utf8_to_utf16(Nym_istream& in, Nym_ostream& out, Nym_status& status) {
  status.clear();
  std::uint32_t value = 0;
  unsigned missing = 0;  // continuation bytes the character being read still needs
  for (;;) {
    unsigned char b = 0;
    // A read that gives nothing and reports nothing would never end the loop: it ends it as
    // the end of the data does.
    if (in.read(1, &b, status) == 0) break;
    // The end of the data may come with the last byte, which is still used.
    const bool ended = status == NYM_S_END_OF_DATA;
    if (ended) status.clear();
    if (missing != 0) {
      if (impl::is_utf8_continuation(b)) {
        value = (value << 6) | (b & 0x3Fu);
        if (--missing == 0) write_units(out, value, status);
      } else {
        // The byte that breaks a sequence goes with it: it doesn't start the next character.
        missing = 0;
        write_units(out, impl::REPLACEMENT_CHARACTER, status);
      }
    } else if (b < 0x80) {
      write_units(out, b, status);  // a NUL too: it doesn't end the conversion here
    } else {
      missing = impl::UTF8_CONTINUATION_COUNT[b];
      if (missing == 0) {
        write_units(out, impl::REPLACEMENT_CHARACTER, status);
      } else {
        value = b & ((1u << (6 - missing)) - 1);
      }
    }
    if (status.is_error()) return;
    if (ended) break;
  }
  // A character cut by the end is dropped.
  if (status == NYM_S_END_OF_DATA) status.clear();
}

void nym_utf16_to_utf8(Nym_istream& in, Nym_ostream& out, Nym_status& status) {
  status.clear();
  constexpr std::size_t BLOCK = 16384;
  // Room for a block behind up to three bytes kept from the one before, and a terminator.
  Wchar units[BLOCK / 2 + 4];
  unsigned char* const bytes = reinterpret_cast<unsigned char*>(units);
  std::size_t kept = 0;
  // Where the bytes at `units` begin in the stream.
  int64 origin = in.tell();
  Nstring text;
  while (!status.is_error()) {
    const uint64 got = impl::answered(in.read(BLOCK, bytes + kept, status), BLOCK);
    // A read that gives nothing and reports nothing would never end the loop: it ends it as
    // the end of the data does.
    const bool ended = got == 0 && (!status.is_error() || status == NYM_S_END_OF_DATA);
    if (kept != 0 && ended && kept >= sizeof(Wchar)) {
      // The kept bytes end the data: a high surrogate there becomes U+FFFD, as the walkers
      // make it elsewhere, and a stray last byte is dropped.
      Nym_status write_status;
      out.write(3, "\xEF\xBF\xBD", write_status);
      if (write_status.is_error()) status = write_status;
    }
    if (ended || got == 0) break;
    const std::size_t count = kept + static_cast<std::size_t>(got);
    kept = 0;
    std::size_t n = count / 2;
    const bool high_last = n != 0 && impl::is_high_surrogate(units[n - 1]);
    // The end of the data, or an error, that comes with these bytes ends the data here: they
    // are converted as they stand. Holding some back to read again would meet the same end,
    // and the seek back would clear it, for ever.
    const bool last = status.is_error();
    if (!last) {
      if (n == 0 || (high_last && n == 1)) {
        // A block of nothing but one byte or a high surrogate (and perhaps an odd byte) would
        // be read alone again, forever at the end of the data. Keep it at the front instead
        // and read on: what comes next decides.
        kept = count;
        continue;
      }
      // An odd byte, and a high surrogate, are read again with what completes them: a pair is
      // never split between blocks. The next block starts after what this one converts, at
      // least one unit on from its start: found from where the block began, not by stepping
      // back from where the read left the position, which a store that answers more bytes
      // than it moves over would bring back to the same block for ever.
      const auto back = static_cast<int64>(count % 2 + (high_last ? 2 : 0));
      if (back != 0) {
        const int64 moved = in.tell() - origin;
        in.seek(NYM_SEEK_CURRENT, static_cast<int64>(count) - back - moved, status);
      }
      if (status.is_error()) continue;
      if (high_last) --n;
    }
    origin = in.tell();
    if (n == 0) continue;  // a stray last byte is dropped
    // A NUL unit ends the block's conversion, and the rest of the block is lost.
    units[n] = 0;
    nym_utf16_to_utf8(units, text);
    const Nym_status read_status = status;
    out.write(text.size(), text.data(), status);
    if (!status.is_error() && read_status.is_error()) status = read_status;
  }
  if (status == NYM_S_END_OF_DATA) status.clear();
}

}  // namespace nym
