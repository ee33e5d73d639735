// Nym_raw_memory_buffer: a block of memory shown as a read-only store.
//
// The store can't change, so it takes no lock and never blocks: a read at or beyond the end
// reports NYM_S_END_OF_DATA whatever its `wait`, and a successful read leaves the status as it
// was. It takes no writer (connect_ostream and truncate report NYM_S_NO_WRITER_TAKEN, so no
// Nym_ostream attaches) and write reports NYM_S_WRITE_FAILED. The memory is the caller's, or
// the buffer deletes it in its destructor as the Delete_method says. It must stay where it is
// while the buffer lives: nym_copy_stream hands it to its output in place.
#ifndef NYM_RAW_MEMORY_BUFFER_H
#define NYM_RAW_MEMORY_BUFFER_H

#include "nym/buffer.h"

namespace nym {

class NYM_API Nym_raw_memory_buffer : public Nym_buffer {
 public:
  enum Delete_method {
    KEEP_MEMORY = 0,    // the memory stays the caller's
    DELETE_OBJECT = 1,  // the destructor deletes it as one object (new unsigned char)
    DELETE_ARRAY = 2    // the destructor deletes it as an array (new unsigned char[])
  };

  // Null data with a size above 0 raises std::invalid_argument.
  Nym_raw_memory_buffer(int64 size, const unsigned char* data, Delete_method method);
  ~Nym_raw_memory_buffer() override;

  void connect_ostream(Nym_status& status) override;

 protected:
  // A copy that would reach below the data raises std::overflow_error
  // "streampos too negative for size_t"; a position below 0 is refused (NYM_S_READ_FAILED).
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override;
  void write(int64& position, uint64 count, const void* data, Nym_status& status) override;
  // The usual seek, with the size as the end.
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override;
  void truncate(int64 size, Nym_status& status) override;
  // The bytes lie still in the caller's memory and are read without a lock: handed out in place
  // (by this class itself; a derived one is read with its read).
  bool read_in_place(int64& position, uint64 count, const void*& data, uint64& got, Nym_status& status) const override;

 private:
  // How many bytes a read of `count` at `position` takes (0, with the status, where it takes none).
  uint64 span(int64 position, uint64 count, Nym_status& status) const;

  int64 m_size;
  const unsigned char* m_data;
  Delete_method m_delete;
};

}  // namespace nym

#endif
