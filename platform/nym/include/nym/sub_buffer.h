// Nym_sub_buffer: a read-only window on another buffer.
//
// Position 0 of the window is `start` in the parent, and the window ends at `end` (exclusive),
// or, with end NO_END, wherever the parent ends, however far that moves. Reads go through the
// parent, with its locks and its blocking, so a window on a store being written follows the
// writer. The window neither owns nor connects to its parent, which must outlive it.
//
// It takes no writer: connect_ostream and truncate report NYM_S_NO_WRITER_TAKEN, write reports
// NYM_S_WRITE_FAILED. A read below position 0 (which would show the parent's bytes before the
// window) or one whose parent raises reports NYM_S_READ_FAILED; a seek before the
// window's start, or one whose parent raises, reports NYM_S_BAD_SEEK with the position kept.
#ifndef NYM_SUB_BUFFER_H
#define NYM_SUB_BUFFER_H

#include "nym/buffer.h"

namespace nym {

constexpr unsigned int NYM_S_STREAMS_CONNECTED = 0xC20000A4u;  // set_end while streams use the window
constexpr unsigned int NYM_S_END_BEFORE_START = 0xC20000A5u;   // set_end below the start

class NYM_API Nym_sub_buffer : public Nym_buffer {
 public:
  // The end of a window that runs to the end of its parent.
  static const int64 NO_END = 0x7FFFFFFFFFFFFFFF;

  // An end below the start raises std::invalid_argument
  // "Nym_sub_buffer::Nym_sub_buffer - end value is less than start value".
  Nym_sub_buffer(const Nym_buffer& parent, int64 start, int64 end);
  ~Nym_sub_buffer() override;

  void connect_ostream(Nym_status& status) override;

  int64 start() const { return m_start; }
  int64 end() const { return m_end; }
  // Moves the end, only while no stream of any kind is connected to the window: otherwise
  // NYM_S_STREAMS_CONNECTED is pushed; an end below the start pushes NYM_S_END_BEFORE_START.
  virtual void set_end(int64 end, Nym_status& status);

 protected:
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override;
  void write(int64& position, uint64 count, const void* data, Nym_status& status) override;
  // The end of mode 2 is the window's end, or the parent's if the window has none.
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override;
  void truncate(int64 size, Nym_status& status) override;

 private:
  const Nym_buffer& m_parent;
  int64 m_start;
  int64 m_end;
};

}  // namespace nym

#endif
