// Input streams over a Nym_buffer: Nym_istream with its unbuffered and buffered forms.
//
// A stream holds what the buffer lacks: the position of the next read, whether reads block
// at the end of the data while a writer is connected, and the line-end rule of its line
// readers. It doesn't own its buffer: it attaches (the buffer counts it) and detaches at the
// latest in its destructor. A stream object belongs to one thread; several streams may read
// one buffer at once. A default-constructed stream is detached and reports
// NYM_S_STREAM_NOT_ATTACHED from everything but seek(int64) and tell().
//
// Reads report NYM_S_END_OF_DATA at the end: callers loop until it comes and clear it.
#ifndef NYM_ISTREAM_H
#define NYM_ISTREAM_H

#include "nym/buffer.h"

namespace nym {

constexpr unsigned int NYM_S_LINE_NOT_ENDED = 0xC200001Cu;  // a line cut at max, or ended by the data
constexpr unsigned int NYM_S_TOO_FEW_BYTES = 0xC200002Au;   // read_be / read_le found less than the value

// The line-end rule, and what a line reader reports: 0 any (as a rule: accept CR, LF or
// CR LF; as a report: no line end found), 1 CR, 2 LF, 3 CR LF.
enum Nym_eol { NYM_EOL_ANY = 0, NYM_EOL_CR = 1, NYM_EOL_LF = 2, NYM_EOL_CRLF = 3 };

class NYM_API Nym_istream {
 public:
  virtual ~Nym_istream();
  Nym_istream(const Nym_istream&) = delete;
  Nym_istream& operator=(const Nym_istream&) = delete;

  // The derived forms attach to `buffer`; this one stores eol, blocking and position 0 and
  // connects nothing. Calling init on an attached stream does not disconnect the old buffer.
  virtual void init(const Nym_buffer& buffer, bool blocking, Nym_status& status, Nym_eol eol);
  // Disconnects and forgets the buffer.
  virtual void detach();
  virtual const Nym_buffer* buffer() const;
  // Reads up to `count` bytes at the position and moves it on; a short read is normal.
  virtual uint64 read(uint64 count, void* data, Nym_status& status) = 0;
  // Reads at `position`, leaving this stream's position alone.
  virtual uint64 read_at(int64 position, uint64 count, void* data, Nym_status& status) const = 0;

  Nym_eol get_eol() const { return m_eol; }
  // The buffer's seek on this stream's position: NYM_S_BAD_SEEK leaves it unchanged.
  void seek(Nym_seek_mode mode, int64 offset, Nym_status& status);
  // Sets the position without any check.
  void seek(int64 position) { m_position = position; }
  // The position, or 0 when detached.
  int64 tell() const { return m_buffer != nullptr ? m_position : 0; }
  // The buffer's length; a blocking stream waits for the writer to finish.
  int64 size(Nym_status& status);
  // Whether a byte exists at `position`; a blocking stream waits until the writer has got that
  // far or has finished.
  bool size_greater_than(int64 position) const;

  // Integers in big-endian (read_be) or little-endian (read_le) byte order. Fewer bytes than
  // the value needs give NYM_S_TOO_FEW_BYTES; the position moves by what was read.
  void read_be(short& value, Nym_status& status);
  void read_be(unsigned short& value, Nym_status& status);
  void read_be(int& value, Nym_status& status);
  void read_be(unsigned int& value, Nym_status& status);
  void read_be(int64& value, Nym_status& status);
  void read_be(uint64& value, Nym_status& status);
  void read_le(short& value, Nym_status& status);
  void read_le(unsigned short& value, Nym_status& status);
  void read_le(int& value, Nym_status& status);
  void read_le(unsigned int& value, Nym_status& status);
  void read_le(int64& value, Nym_status& status);
  void read_le(uint64& value, Nym_status& status);

  // Line readers. Each reads one line of at most `max` characters under the stream's eol rule
  // into `line` (without its line end) and answers the line end it found, NYM_EOL_ANY for none.
  // A line longer than `max` comes in pieces of `max`; a piece, and a last line that the data
  // end without a line end, report NYM_S_LINE_NOT_ENDED. At the end of the data with nothing
  // read: an empty line and NYM_S_END_OF_DATA. The sequential forms move the position past the
  // line and its end; the _at forms read at `position` and leave the stream's position alone.
  // readln reads bytes; wreadln and its second name xreadln read 16-bit units as stored
  // (little-endian), the _be forms swap each unit's bytes first.
  Nym_eol readln(uint64 max, Nstring& line, Nym_status& status);
  Nym_eol readln_at(int64 position, uint64 max, Nstring& line, Nym_status& status);
  Nym_eol wreadln(uint64 max, Wstring& line, Nym_status& status);
  Nym_eol wreadln_at(int64 position, uint64 max, Wstring& line, Nym_status& status);
  Nym_eol wreadln_le(uint64 max, Wstring& line, Nym_status& status);
  Nym_eol wreadln_le_at(int64 position, uint64 max, Wstring& line, Nym_status& status);
  Nym_eol wreadln_be(uint64 max, Wstring& line, Nym_status& status);
  Nym_eol wreadln_be_at(int64 position, uint64 max, Wstring& line, Nym_status& status);
  Nym_eol xreadln(uint64 max, Wstring& line, Nym_status& status);
  Nym_eol xreadln_at(int64 position, uint64 max, Wstring& line, Nym_status& status);
  Nym_eol xreadln_le(uint64 max, Wstring& line, Nym_status& status);
  Nym_eol xreadln_le_at(int64 position, uint64 max, Wstring& line, Nym_status& status);
  Nym_eol xreadln_be(uint64 max, Wstring& line, Nym_status& status);
  Nym_eol xreadln_be_at(int64 position, uint64 max, Wstring& line, Nym_status& status);

 protected:
  Nym_istream(const Nym_buffer& buffer, bool blocking, Nym_status& status, Nym_eol eol);
  Nym_istream();

  // The buffer's protected operations, for the derived streams.
  static uint64 buffer_read(const Nym_buffer& buffer, bool wait, int64& position, uint64 count, void* data,
                            Nym_status& status) {
    return Nym_buffer::read_of(buffer, wait, position, count, data, status);
  }
  static bool buffer_read_in_place(const Nym_buffer& buffer, int64& position, uint64 count, const void*& data,
                                   uint64& got, Nym_status& status) {
    return Nym_buffer::read_in_place_of(buffer, position, count, data, got, status);
  }

  const Nym_buffer* m_buffer = nullptr;
  int64 m_position = 0;
  bool m_blocking = false;
  Nym_eol m_eol = NYM_EOL_ANY;

 private:
  template <class Unit>
  Nym_eol read_line(int64 position, bool advance, bool swap, uint64 max, std::basic_string<Unit>& line,
                    Nym_status& status);
  template <class T>
  void read_ordered(T& value, bool big_endian, Nym_status& status);

  void* m_line_area = nullptr;
  uint64 m_line_area_size = 0;
};

// Goes to the buffer on every call.
class NYM_API Nym_unbuffered_istream : public Nym_istream {
 public:
  Nym_unbuffered_istream();
  Nym_unbuffered_istream(const Nym_buffer& buffer, bool blocking, Nym_status& status, Nym_eol eol = NYM_EOL_ANY);
  ~Nym_unbuffered_istream() override;

  void init(const Nym_buffer& buffer, bool blocking, Nym_status& status, Nym_eol eol) override;
  void detach() override;
  uint64 read(uint64 count, void* data, Nym_status& status) override;
  uint64 read_at(int64 position, uint64 count, void* data, Nym_status& status) const override;
  // For the stream helpers: a read that hands out where the next bytes lie instead of copying
  // them (see Nym_buffer::read_in_place), answered as read answers. False, with nothing read,
  // when the store must be read with read.
  bool read_in_place(uint64 count, const void*& data, uint64& got, Nym_status& status);

 protected:
  // read_at that never waits, whatever the stream's flag.
  virtual uint64 read_at_no_blocking(int64 position, uint64 count, void* data, Nym_status& status) const;
};

// Keeps a window of 16,384 bytes, for callers who read a byte or a unit at a time. The window
// is a cache: read_at and size_greater_than replace it though they are const, so a shared
// object isn't safe. A window filled from a store that has grown since keeps its old bytes.
class NYM_API Nym_buffered_istream : public Nym_istream {
 public:
  static const uint64 WINDOW_SIZE = 16384;

  Nym_buffered_istream();
  Nym_buffered_istream(const Nym_buffer& buffer, bool blocking, Nym_status& status, Nym_eol eol = NYM_EOL_ANY);
  ~Nym_buffered_istream() override;

  void init(const Nym_buffer& buffer, bool blocking, Nym_status& status, Nym_eol eol) override;
  void detach() override;
  // Loops until `count` bytes or an error; a partial read that ends at an error succeeds with
  // its size, and the error comes with the next read.
  uint64 read(uint64 count, void* data, Nym_status& status) override;
  uint64 read_at(int64 position, uint64 count, void* data, Nym_status& status) const override;

  // The byte (or the 16-bit unit, in the platform's order) at the position, which moves on.
  // Raises std::runtime_error "Nym_buffered_istream::read_char - Error reading data" at the end
  // of the data or on a failed read.
  char read_char() {
    uint64 offset;
    if (in_window(m_position, 1, offset)) {
      ++m_position;
      return static_cast<char>(m_window[offset]);
    }
    return read_char_slow();
  }
  unsigned short read_wchar() {
    uint64 offset;
    if (in_window(m_position, 2, offset)) {
      const unsigned char* at = m_window + offset;
      m_position += 2;
      return static_cast<unsigned short>(at[0] | (at[1] << 8));
    }
    return read_wchar_slow();
  }

 private:
  friend class Nym_istream;  // the line readers scan the window in place

  // Where the window holds `position`, with the number of bytes it holds from there; null
  // when it doesn't hold it.
  const unsigned char* window_from(int64 position, uint64& bytes) const {
    uint64 offset;
    if (!in_window(position, 1, offset)) return nullptr;
    bytes = m_window_valid - offset;
    return m_window + offset;
  }
  // Whether `bytes` bytes from `position` lie in the window, and where. The difference is
  // taken unsigned: a position may be anywhere, and never overflows it. The window never
  // reaches past the last position, so a position moved within it stays a position.
  bool in_window(int64 position, uint64 bytes, uint64& offset) const {
    offset = static_cast<uint64>(position) - static_cast<uint64>(m_window_start);
    return position >= m_window_start && offset < m_window_valid && m_window_valid - offset >= bytes;
  }

  char read_char_slow();
  unsigned short read_wchar_slow();
  uint64 read_from(int64& position, uint64 count, void* data, Nym_status& status) const;
  void relocate_buffer(bool blocking, int64 position, Nym_status& status) const;

  unsigned char* m_window = nullptr;
  mutable int64 m_window_start = 0;
  mutable uint64 m_window_valid = 0;
};

}  // namespace nym

#endif
