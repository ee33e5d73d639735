#include "nym/stream_helpers.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <typeinfo>

#include "store_counts.h"

namespace nym {

namespace {

constexpr uint64 COPY_BLOCK = 65536;
constexpr uint64 TEXT_BLOCK = 1024;
constexpr uint64 SWAP_BLOCK = 4096;
constexpr uint64 LINE_MAX = 2048;

// Reads up to `limit` lines from the input's position and answers how many ended. The pieces of
// a line longer than LINE_MAX come with NYM_S_LINE_NOT_ENDED and are read on without counting.
// readln always consumes something when it succeeds or hands out a piece; should a stream ever
// not, the loop stops rather than read the same place for ever.
uint64 read_lines(Nym_istream& input, uint64 limit, Nym_status& status) {
  Nstring line;
  line.reserve(LINE_MAX);
  uint64 counted = 0;
  status.clear();
  while (counted < limit) {
    int64 before = input.tell();
    input.readln(LINE_MAX, line, status);
    while (status == NYM_S_LINE_NOT_ENDED && input.tell() != before) {
      before = input.tell();
      input.readln(LINE_MAX, line, status);
    }
    if (status.is_error() || input.tell() == before) break;
    ++counted;
  }
  return counted;
}

// An unbuffered stream of the library's own over a store that keeps its bytes still in memory
// hands them out in place: they go to the output straight from the store, copied once. A
// stream of another class may have its own read, so it is read as it reads (the class is told
// by its type's object, as the line readers tell theirs).
const void* read_block(Nym_istream& input, uint64 want, std::unique_ptr<unsigned char[]>& block, uint64& got,
                       Nym_status& status) {
  if (&typeid(input) == &typeid(Nym_unbuffered_istream)) {
    const void* data = nullptr;
    if (static_cast<Nym_unbuffered_istream&>(input).read_in_place(want, data, got, status)) return data;
  }
  if (!block) block.reset(new unsigned char[COPY_BLOCK]);
  got = impl::answered(input.read(want, block.get(), status), want);
  return block.get();
}

void copy(Nym_istream& input, Nym_ostream& output, bool counted, uint64 count, Nym_status& status) {
  std::unique_ptr<unsigned char[]> block;
  status.clear();
  uint64 left = count;
  for (;;) {
    const uint64 want = counted ? std::min(COPY_BLOCK, left) : COPY_BLOCK;
    if (want == 0) break;
    uint64 got = 0;
    const void* data = read_block(input, want, block, got, status);
    if (got > 0) {
      // The write clears the status: a read error that came with data is kept for the caller.
      const Nym_status read_status = status;
      output.write(got, data, status);
      if (!status.is_error() && read_status.is_error()) status = read_status;
      left -= std::min(got, left);
    }
    // A read that gives nothing and no error would be repeated for ever.
    if (status.is_error() || got == 0) break;
  }
  if (status == NYM_S_END_OF_DATA) status.clear();
}

void to_narrow(Nym_istream& input, Nstring& text, bool counted, uint64 count, Nym_status& status) {
  char block[TEXT_BLOCK];
  text.clear();
  status.clear();
  uint64 total = 0;
  uint64 left = count;
  for (;;) {
    const uint64 want = counted ? std::min(TEXT_BLOCK, left) : TEXT_BLOCK;
    if (want == 0) break;
    const uint64 got = impl::answered(input.read(want, block, status), want);
    left -= std::min(got, left);
    total += got;
    const void* zero = std::memchr(block, 0, got);
    text.append(block, zero == nullptr ? got : static_cast<uint64>(static_cast<const char*>(zero) - block));
    if (got == 0 || status.is_error() || text.size() < total) break;
  }
  if (status == NYM_S_END_OF_DATA) status.clear();
}

void to_wide(Nym_istream& input, Wstring& text, bool counted, uint64 count, Nym_status& status) {
  unsigned char block[TEXT_BLOCK];
  Wchar units[TEXT_BLOCK / 2];
  text.clear();
  status.clear();
  uint64 total = 0;  // units
  uint64 left = count;
  // A short read of an odd number of bytes leaves half a unit: it waits at the front of the
  // block for its second byte instead of being dropped.
  uint64 held = 0;
  for (;;) {
    uint64 want = TEXT_BLOCK - held;
    if (counted) want = std::min(want, left);
    if (want == 0) break;
    const uint64 got = impl::answered(input.read(want, block + held, status), want);
    left -= std::min(got, left);
    held += got;
    const uint64 whole = held / 2;
    std::memcpy(units, block, whole * 2);
    total += whole;
    const Wchar* zero = std::find(units, units + whole, Wchar(0));
    text.append(units, static_cast<uint64>(zero - units));
    if (held % 2 != 0) block[0] = block[held - 1];
    held %= 2;
    if (got == 0 || status.is_error() || text.size() < total) break;
  }
  if (status == NYM_S_END_OF_DATA) status.clear();
}

}  // namespace

unsigned int nym_eol_length(Nym_eol eol) {
  switch (eol) {
    case NYM_EOL_CR:
    case NYM_EOL_LF:
      return 1;
    case NYM_EOL_CRLF:
      return 2;
    default:
      return 0;
  }
}

void nym_copy_stream(Nym_istream& input, Nym_ostream& output, Nym_status& status) {
  copy(input, output, false, 0, status);
}

void nym_copy_stream(Nym_istream& input, Nym_ostream& output, uint64 count, Nym_status& status) {
  copy(input, output, true, count, status);
}

unsigned int nym_count_lines(Nym_istream& input, Nym_status& status) {
  input.seek(int64{0});
  const uint64 lines = read_lines(input, ~uint64{0}, status);
  if (status == NYM_S_END_OF_DATA) status.clear();
  return static_cast<unsigned int>(lines);
}

void nym_skip_lines(Nym_istream& input, unsigned int lines, Nym_status& status) {
  read_lines(input, lines, status);
}

void nym_stream_to_string(Nym_istream& input, Nstring& text, Nym_status& status) {
  to_narrow(input, text, false, 0, status);
}

void nym_stream_to_string(Nym_istream& input, Nstring& text, uint64 count, Nym_status& status) {
  to_narrow(input, text, true, count, status);
}

void nym_stream_to_string(Nym_istream& input, Wstring& text, Nym_status& status) {
  to_wide(input, text, false, 0, status);
}

void nym_stream_to_string(Nym_istream& input, Wstring& text, uint64 count, Nym_status& status) {
  to_wide(input, text, true, count, status);
}

void nym_swap_stream(Nym_istream& input, Nym_ostream& output, Nym_status& status) {
  unsigned char in[SWAP_BLOCK];
  unsigned char out[SWAP_BLOCK];
  status.clear();
  input.seek(int64{0});
  int64 remaining = input.size(status);
  if (status.is_error()) return;
  remaining -= remaining % 2;
  // As in to_wide: half a pair from a short read waits for its partner.
  uint64 held = 0;
  while (remaining > 0) {
    const uint64 want = std::min<uint64>(SWAP_BLOCK - held, static_cast<uint64>(remaining));
    const uint64 got = impl::answered(input.read(want, in + held, status), want);
    remaining -= static_cast<int64>(got);
    held += got;
    const uint64 pairs = held / 2;
    for (uint64 i = 0; i < pairs; ++i) {
      out[2 * i] = in[2 * i + 1];
      out[2 * i + 1] = in[2 * i];
    }
    if (held % 2 != 0) in[0] = in[held - 1];
    held %= 2;
    if (pairs > 0) {
      const Nym_status read_status = status;
      output.write(pairs * 2, out, status);
      if (!status.is_error() && read_status.is_error()) status = read_status;
    }
    if (status.is_error() || got == 0) break;
  }
  if (status == NYM_S_END_OF_DATA) status.clear();
}

}  // namespace nym
