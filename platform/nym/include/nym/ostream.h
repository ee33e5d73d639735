// Nym_ostream: the one writer of a Nym_buffer.
//
// The stream holds the writing position that the buffer lacks, and the line-end rule of its
// line writers. It doesn't own the buffer: it takes the buffer's one writer place when it
// attaches and gives it up in detach() or its destructor. While it is attached, blocking
// readers of the buffer wait for more data at the end instead of reporting the end of the
// data; giving the place up wakes them. A stream object belongs to one thread.
//
// Every operation of a detached stream reports NYM_S_STREAM_NOT_ATTACHED, except seek(int64)
// and tell(). Writes report what the store reports: NYM_S_WRITE_FAILED above a more exact
// cause, and std::out_of_range "writing too many bytes to the buffer." for a count above
// 0x7FFFFFFFFFFFFFFF.
#ifndef NYM_OSTREAM_H
#define NYM_OSTREAM_H

#include "nym/istream.h"

namespace nym {

class NYM_API Nym_ostream {
 public:
  // Detached, position 0, rule NYM_EOL_ANY.
  Nym_ostream();
  // As init().
  Nym_ostream(Nym_buffer& buffer, Nym_status& status, Nym_eol eol = NYM_EOL_ANY);
  // Gives up the writer's place, so that blocking readers see the end of the data.
  virtual ~Nym_ostream();
  Nym_ostream(const Nym_ostream&) = delete;
  Nym_ostream& operator=(const Nym_ostream&) = delete;

  virtual Nym_buffer* buffer();
  // Writes at the position and moves it on by what the store took.
  virtual void write(uint64 count, const void* data, Nym_status& status);
  // Writes at `position`, leaving this stream's position alone.
  virtual void write_at(int64 position, uint64 count, const void* data, Nym_status& status) const;

  // Takes the buffer's writer place, with position 0 and the rule `eol`. A buffer that has a
  // writer already, or takes none (the read-only stores), gives NYM_S_NO_WRITER_TAKEN and the
  // stream stays detached. A stream that was attached gives up its old place first.
  void init(Nym_buffer& buffer, Nym_status& status, Nym_eol eol = NYM_EOL_ANY);
  // Gives up the writer's place (which wakes blocking readers); nothing when detached.
  void detach();

  Nym_eol get_eol() const { return m_eol; }
  // The buffer's seek on this stream's position: NYM_S_BAD_SEEK leaves it unchanged. Beyond the
  // end is legal; the next write extends the store.
  void seek(Nym_seek_mode mode, int64 offset, Nym_status& status);
  // Sets the position without any check.
  void seek(int64 position) { m_position = position; }
  // The position, or 0 when detached.
  int64 tell() const { return m_buffer != nullptr ? m_position : 0; }
  // The store's present length (never waits).
  int64 size(Nym_status& status);
  // Truncates the store to `size`, or extends it by writing one zero byte at size - 1 with the
  // store's own rule for the gap (spaces in string buffers). The position stays.
  void set_size(int64 size, Nym_status& status);

  // Integers in big-endian (write_be) or little-endian (write_le) byte order, through write().
  void write_be(const int64& value, Nym_status& status);
  void write_be(const uint64& value, Nym_status& status);
  void write_be(short value, Nym_status& status);
  void write_be(unsigned short value, Nym_status& status);
  void write_be(int value, Nym_status& status);
  void write_be(unsigned int value, Nym_status& status);
  void write_le(const int64& value, Nym_status& status);
  void write_le(const uint64& value, Nym_status& status);
  void write_le(short value, Nym_status& status);
  void write_le(unsigned short value, Nym_status& status);
  void write_le(int value, Nym_status& status);
  void write_le(unsigned int value, Nym_status& status);

  // Line writers: the text, then the rule's line end (CR, LF or CR LF; none for NYM_EOL_ANY),
  // each through write(); the line end only if the text went in. Afterwards the position is the
  // entry position plus what was meant to be written up to the first failure, so a line whose
  // text failed still counts its text. writeln writes bytes; wwriteln and its second name
  // xwriteln write 16-bit units as they stand in memory (little-endian), the _be forms with
  // each unit's bytes swapped.
  void writeln(const Nstring& line, Nym_status& status);
  void wwriteln(const Wstring& line, Nym_status& status);
  void wwriteln_le(const Wstring& line, Nym_status& status);
  void wwriteln_be(const Wstring& line, Nym_status& status);
  void xwriteln(const Wstring& line, Nym_status& status);
  void xwriteln_le(const Wstring& line, Nym_status& status);
  void xwriteln_be(const Wstring& line, Nym_status& status);

 private:
  template <class T>
  void write_ordered(T value, bool big_endian, Nym_status& status);
  template <class Unit>
  void write_line(const Unit* text, uint64 units, bool swap, Nym_status& status);

  Nym_buffer* m_buffer = nullptr;
  int64 m_position = 0;
  Nym_eol m_eol = NYM_EOL_ANY;
};

}  // namespace nym

#endif
