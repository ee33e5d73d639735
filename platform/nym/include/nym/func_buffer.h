// Nym_func_buffer: a read-only store whose data come from a caller's object, a
// Nym_buffer_functor.
//
// The buffer owns the functor and destroys it. read, size and truncate go to the functor; the
// `wait` of size has no effect here, and read passes it on. Without a functor, read, size and
// truncate report NYM_S_NO_FUNCTOR (and 0). It takes no writer: connect_ostream reports
// NYM_S_NO_WRITER_TAKEN and write NYM_S_WRITE_FAILED.
#ifndef NYM_FUNC_BUFFER_H
#define NYM_FUNC_BUFFER_H

#include "nym/buffer.h"

namespace nym {

constexpr unsigned int NYM_S_NO_FUNCTOR = 0xC200009Du;  // a function buffer without its functor

// The caller's side of Nym_func_buffer. read follows the rules of Nym_buffer's read (clear the
// status, copy what lies at the position, move it, NYM_S_END_OF_DATA at the end); size gives
// the length; truncate is asked only for a size within that length. Calls come from the
// threads of the buffer's readers, possibly several at once.
class NYM_API Nym_buffer_functor {
 public:
  // There is no state to copy or to take.
  Nym_buffer_functor(const Nym_buffer_functor&) {}
  explicit Nym_buffer_functor(int64 = 0) {}
  Nym_buffer_functor& operator=(const Nym_buffer_functor&) { return *this; }
  virtual ~Nym_buffer_functor();

  virtual uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) = 0;
  virtual int64 size() = 0;
  virtual void truncate(int64 size, Nym_status& status) = 0;
};

class NYM_API Nym_func_buffer : public Nym_buffer {
 public:
  // Takes ownership of `functor`, which may be null.
  explicit Nym_func_buffer(Nym_buffer_functor* functor);
  Nym_func_buffer();
  ~Nym_func_buffer() override;
  Nym_func_buffer(const Nym_func_buffer&) = delete;
  Nym_func_buffer& operator=(const Nym_func_buffer&) = delete;

  void connect_ostream(Nym_status& status) override;
  // The functor's size.
  int64 size(bool wait, Nym_status& status) const override;

 protected:
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override;
  void write(int64& position, uint64 count, const void* data, Nym_status& status) override;
  // The usual seek, with the functor's size as the end.
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override;
  // A size above the functor's size reports NYM_S_END_OF_DATA; otherwise the functor truncates.
  void truncate(int64 size, Nym_status& status) override;

 private:
  Nym_buffer_functor* m_functor;
};

}  // namespace nym

#endif
