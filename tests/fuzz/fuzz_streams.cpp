// Random operations over the stores and streams, at positions near 0 and near both ends of the
// range, with a function store that claims more bytes than asked, moves positions past what it
// gave and lies about its size. Nothing may touch memory outside an array, overflow, hang,
// answer more than was asked, or raise what is not documented.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
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

struct Input {
  const std::uint8_t* data;
  std::size_t size;
  std::size_t at = 0;
  std::uint64_t next(unsigned bytes = 1) {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < bytes; ++i) value = value << 8 | (at < size ? data[at++] : 0);
    return value;
  }
  // Often a place where sums break; else a small position or (`far`) any. Writes stay near:
  // far away they would only ask for more memory than there is, or take long to fill.
  int64 position(bool far = true) {
    static const int64 edges[] = {0, 1, -1, -2, MIN, MAX, MAX - 1, MAX - 2, MAX - 5, MAX - 16384};
    const auto pick = next();
    if (pick < 2 * std::size(edges)) return edges[pick % std::size(edges)];
    if (!far) return static_cast<int64>(next(2) % 4096);
    return pick % 3 == 0 ? static_cast<int64>(next(8)) : static_cast<int64>(next(2));
  }
};

// Serves `bytes`, claims `extra` more each read, and (`jump`) moves the position by as much. It
// never moves back, nor claims data past its end but once at it, and then only with a true
// size: each would make an endless stream, which is no fault.
struct Liar : Nym_buffer_functor {
  std::vector<unsigned char> bytes;
  uint64 extra;
  int64 length;
  bool jump;
  Liar(std::vector<unsigned char> b, uint64 e, int64 l, bool j) : bytes(std::move(b)), extra(e), length(l), jump(j) {}
  uint64 read(bool, int64& position, uint64 count, void* data, Nym_status& status) override {
    status.clear();
    if (position < 0 || static_cast<uint64>(position) >= bytes.size()) {
      status = NYM_S_END_OF_DATA;
      const bool claim = extra % 3 == 0 && static_cast<uint64>(position) == bytes.size() && length == position;
      return claim ? extra : 0;
    }
    const uint64 n = std::min<uint64>(count, bytes.size() - static_cast<uint64>(position));
    std::memcpy(data, bytes.data() + position, n);
    position = static_cast<int64>(std::min<uint64>(static_cast<uint64>(position) + n + (jump ? extra : 0), MAX));
    return n + extra;
  }
  int64 size() override { return length; }
  void truncate(int64, Nym_status& status) override { status.clear(); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in{data, size};
  const std::size_t head = std::min<std::size_t>(size, in.next(2) % 512);
  std::vector<unsigned char> bytes(data, data + head);
  Nstring narrow(bytes.begin(), bytes.end());
  Wstring wide(narrow.begin(), narrow.end());
  Nstring sink;
  Nym_string_buffer narrow_store(narrow, false);
  Nym_wstring_buffer wide_store(wide);
  Nym_raw_memory_buffer raw_store(static_cast<int64>(head), bytes.data(), Nym_raw_memory_buffer::KEEP_MEMORY);
  // One input byte after another, in this order (not as a compiler orders arguments).
  const int64 start = static_cast<int64>(in.next() % 16);
  const int64 end = in.next() % 2 ? Nym_sub_buffer::NO_END : start + static_cast<int64>(in.next());
  Nym_sub_buffer window(narrow_store, start, end);
  const uint64 extra = in.next() % 4 == 0 ? 0 : in.next(3);
  const int64 length = in.next() % 2 ? static_cast<int64>(in.next(8)) : static_cast<int64>(head);
  const bool jump = in.next() % 4 == 0;
  Nym_func_buffer liar(new Liar(bytes, extra, length, jump));
  Nym_multi_buffer chain({&raw_store, &liar, nullptr, &window}, false);
  Nym_string_buffer sink_store(sink, false);
  Nym_buffer* const stores[] = {&narrow_store, &wide_store, &raw_store, &window, &liar, &chain};
  Nym_status status;
  for (int op = 0; op < 48 && in.at < size; ++op) {
    Nym_buffer& store = *stores[in.next() % std::size(stores)];
    const auto eol = static_cast<Nym_eol>(in.next() % 4);
    Nym_unbuffered_istream plain(store, false, status, eol);
    Nym_buffered_istream buffered(store, false, status, eol);
    Nym_istream& stream = in.next() % 2 ? static_cast<Nym_istream&>(plain) : buffered;
    const uint64 count = in.next() % 3 == 0 ? ~uint64{0} : in.next(2) % 20000;
    std::vector<unsigned char> area(std::min<uint64>(count, 20000));
    stream.seek(in.position());
    sink.clear();
    Nym_ostream out(sink_store, status);  // writers stay attached for one operation only: no read waits
    try {
      switch (in.next() % 11) {
        case 0: check(stream.read(area.size(), area.data(), status) <= area.size()); break;
        case 1: check(stream.read_at(in.position(), area.size(), area.data(), status) <= area.size()); break;
        case 2: for (int i = 0; i < 40; ++i) in.next() % 2 ? buffered.read_char() : buffered.read_wchar(); break;
        case 3: {
          Nstring line;
          Wstring wline;
          const uint64 max = in.next() % 100;
          stream.readln(max, line, status);
          stream.wreadln_be_at(in.position(), max, wline, status);
          check(line.size() <= std::max<uint64>(max, 1) && wline.size() <= std::max<uint64>(max, 1));
          break;
        }
        case 4: {
          int64 value;
          stream.read_be(value, status);
          stream.size_greater_than(in.position());
          const auto mode = static_cast<Nym_seek_mode>(in.next() % 3);
          stream.seek(mode, in.position(), status);
          break;
        }
        case 5: {
          Nym_ostream to(store, status);
          to.seek(in.position(false));
          to.write(area.size() & ~std::size_t{1}, area.data(), status);
          const int64 at = in.position(false);
          to.write_at(at, in.next() % 4 * 2, "abcdefgh", status);
          to.writeln(narrow.substr(0, 6), status);
          to.set_size(static_cast<int64>(in.next(2) % 4096 & ~uint64{1}), status);
          break;
        }
        case 6: {
          unsigned char flags;
          bool ascii;
          nym_is_utf8(&store, flags, ascii, status);
          nym_is_utf16(&store, static_cast<unsigned short>(in.next()), flags, status);
          break;
        }
        case 7: nym_utf16_to_utf8(stream, out, status); break;
        case 8: nym_utf8_to_utf16(stream, out, status); break;
        case 9: {
          Wstring text;
          nym_stream_to_string(stream, text, count, status);
          check(text.size() <= count / 2);
          nym_count_lines(stream, status);
          break;
        }
        default: nym_copy_stream(stream, out, count, status); check(sink.size() <= count); break;
      }
    } catch (const std::invalid_argument&) {  // an odd position or count for the wide store
    } catch (const std::runtime_error& e) {   // read_char and read_wchar tell the end this way
      check(std::strcmp(e.what(), "Nym_buffered_istream::read_char - Error reading data") == 0);
    }
  }
  return 0;
}
