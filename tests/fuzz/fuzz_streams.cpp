// Random sequences of operations over the stores and the streams, at positions near both ends
// of the range, with a function store that breaks its contract (claims more bytes than asked,
// moves the position anywhere, lies about its size). Nothing may read or write outside an
// array, overflow, hang, or answer more bytes than were asked for.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "nym/func_buffer.h"
#include "nym/multi_buffer.h"
#include "nym/ostream.h"
#include "nym/raw_memory_buffer.h"
#include "nym/stream_helpers.h"
#include "nym/string_buffer.h"
#include "nym/sub_buffer.h"
#include "nym/utf.h"
#include "nym/utf_detect.h"
#include "nym/wstring_buffer.h"

using namespace nym;

namespace {

constexpr int64 MAX = std::numeric_limits<int64>::max();
constexpr int64 MIN = std::numeric_limits<int64>::min();

void check(bool ok) {
  if (!ok) std::abort();
}

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}
  bool more() const { return m_at < m_size; }
  std::uint64_t next(unsigned bytes = 1) {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < bytes; ++i) value = value << 8 | (m_at < m_size ? m_data[m_at++] : 0);
    return value;
  }
  // A position: often one of the places where arithmetic breaks, else a small one, or (`far`)
  // any. A write far away would only ask the wide store for more memory than there is.
  int64 position(bool far = true) {
    static const int64 edges[] = {0, 1, -1, -2, MIN, MAX, MAX - 1, MAX - 2, MAX - 5, MAX - 16384, MIN + 1};
    const auto pick = next();
    if (pick < 2 * std::size(edges)) return edges[pick % std::size(edges)];
    return far && pick % 3 == 0 ? static_cast<int64>(next(8)) : static_cast<int64>(next(2));
  }

 private:
  const std::uint8_t* m_data;
  std::size_t m_size;
  std::size_t m_at = 0;
};

// A function store that serves `bytes`, with its faults chosen by the input. It never moves a
// position back, nor claims data past its end but at the end itself, nor there while it gives
// a false size: each would make an endless stream (a window keeps what a read claimed, a chain
// trusts a member's size), which is no fault.
class Liar : public Nym_buffer_functor {
 public:
  Liar(std::vector<unsigned char> bytes, std::uint64_t extra, int64 size, bool jump)
      : m_bytes(std::move(bytes)), m_extra(extra), m_size(size), m_jump(jump) {}
  uint64 read(bool, int64& position, uint64 count, void* data, Nym_status& status) override {
    status.clear();
    if (position < 0 || static_cast<uint64>(position) >= m_bytes.size()) {
      status = NYM_S_END_OF_DATA;
      // Data claimed with the end of the data, once: at every place it would be endless too.
      const bool claim = m_extra % 3 == 0 && static_cast<uint64>(position) == m_bytes.size() &&
                         m_size == static_cast<int64>(m_bytes.size());
      return claim ? m_extra : 0;
    }
    const uint64 n = std::min<uint64>(count, m_bytes.size() - static_cast<uint64>(position));
    std::memcpy(data, m_bytes.data() + position, n);
    const uint64 moved = static_cast<uint64>(position) + n + (m_jump ? m_extra : 0);
    position = static_cast<int64>(std::min<uint64>(moved, MAX));
    return n + m_extra;
  }
  int64 size() override { return m_size; }
  void truncate(int64, Nym_status& status) override { status.clear(); }

 private:
  std::vector<unsigned char> m_bytes;
  std::uint64_t m_extra;
  int64 m_size;
  bool m_jump;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  const std::size_t head = static_cast<std::size_t>(in.next(2) % 512);
  std::vector<unsigned char> bytes(data + std::min(size, std::size_t{2}), data + std::min(size, 2 + head));
  Nstring narrow(bytes.begin(), bytes.end());
  Wstring wide(narrow.begin(), narrow.end());
  Nstring sink;
  Nym_string_buffer narrow_store(narrow, false);
  Nym_wstring_buffer wide_store(wide);
  Nym_raw_memory_buffer raw_store(static_cast<int64>(bytes.size()), bytes.data(), Nym_raw_memory_buffer::KEEP_MEMORY);
  // One input byte after another, in this order (not as a compiler orders arguments).
  const int64 start = static_cast<int64>(in.next() % 16);
  const int64 end = in.next() % 2 ? Nym_sub_buffer::NO_END : start + static_cast<int64>(in.next());
  Nym_sub_buffer window(narrow_store, start, end);
  const std::uint64_t extra = in.next() % 4 == 0 ? 0 : in.next(3);
  const int64 claimed_size = in.next() % 2 ? static_cast<int64>(in.next(8)) : static_cast<int64>(bytes.size());
  const bool jump = in.next() % 4 == 0;
  Nym_func_buffer liar(new Liar(bytes, extra, claimed_size, jump));
  Nym_multi_buffer chain({&raw_store, &liar, nullptr, &window}, false);
  Nym_string_buffer sink_store(sink, false);
  Nym_buffer* const stores[] = {&narrow_store, &wide_store, &raw_store, &window, &liar, &chain};
  Nym_status status;

  for (int op = 0; op < 48 && in.more(); ++op) {
    Nym_buffer& store = *stores[in.next() % std::size(stores)];
    const auto eol = static_cast<Nym_eol>(in.next() % 4);
    Nym_unbuffered_istream plain(store, false, status, eol);
    Nym_buffered_istream buffered(store, false, status, eol);
    Nym_istream& stream = in.next() % 2 ? static_cast<Nym_istream&>(plain) : buffered;
    const uint64 count = in.next() % 3 == 0 ? std::numeric_limits<uint64>::max() : in.next(2) % 20000;
    std::vector<unsigned char> area(static_cast<std::size_t>(std::min<uint64>(count, 20000)));
    stream.seek(in.position());
    try {
      switch (in.next() % 12) {
        case 0: check(stream.read(area.size(), area.data(), status) <= area.size()); break;
        case 1: check(stream.read_at(in.position(), area.size(), area.data(), status) <= area.size()); break;
        case 2: for (int i = 0; i < 40; ++i) buffered.read_char(); break;
        case 3: for (int i = 0; i < 40; ++i) buffered.read_wchar(); break;
        case 4: {
          Nstring line;
          Wstring wline;
          const uint64 max = in.next() % 100;
          stream.readln(max, line, status);
          stream.wreadln_be_at(in.position(), max, wline, status);
          check(line.size() <= std::max<uint64>(max, 1) && wline.size() <= std::max<uint64>(max, 1));
          break;
        }
        case 5: stream.size_greater_than(in.position()); break;
        case 6: {
          int64 value;
          stream.read_be(value, status);
          const auto mode = static_cast<Nym_seek_mode>(in.next() % 3);
          stream.seek(mode, in.position(), status);
          break;
        }
        case 7: {
          Nym_ostream out(store, status);  // attached only for this operation: a reader never waits
          out.seek(in.position(false));
          out.write(area.size() & ~std::size_t{1}, area.data(), status);
          const int64 at = in.position(false);
          out.write_at(at, in.next() % 4 * 2, "abcdefgh", status);
          out.writeln(narrow.substr(0, in.next() % 8), status);
          out.set_size(in.next(3) & ~uint64{1}, status);
          break;
        }
        case 8: {
          unsigned char flags;
          bool ascii;
          nym_is_utf8(&store, flags, ascii, status);
          nym_is_utf16(&store, static_cast<unsigned short>(in.next()), flags, status);
          break;
        }
        case 9: {
          sink.clear();
          Nym_ostream out(sink_store, status);
          if (in.next() % 2) nym_utf16_to_utf8(stream, out, status); else nym_utf8_to_utf16(stream, out, status);
          break;
        }
        case 10: {
          Wstring text;
          nym_stream_to_string(stream, text, count, status);
          check(text.size() <= count / 2);
          nym_count_lines(stream, status);
          break;
        }
        default: {
          sink.clear();
          Nym_ostream out(sink_store, status);
          nym_copy_stream(stream, out, count, status);
          check(sink.size() <= count);
          break;
        }
      }
    } catch (const std::invalid_argument&) {  // an odd position or count for the wide store
    } catch (const std::runtime_error& e) {   // read_char and read_wchar tell the end this way
      check(std::strcmp(e.what(), "Nym_buffered_istream::read_char - Error reading data") == 0);
    }
  }
  return 0;
}
