// Nym_file_buffer: a Nym_file as a Nym_buffer, so that every stream, line reader and stream
// helper works on a file. Windows only.
//
// The buffer either opens a file itself and owns it (open, and the constructors that open), or
// uses a caller's open file (attach), which must outlive it and is left open by its destructor;
// close closes the file in both cases. The file has one position, the system's, and the
// streams each hold their own, so every transfer moves the file to the stream's position
// first. That takes two steps on the shared position, so readers exclude one another as well
// as the writer: every read, write, seek and truncate holds the buffer's write lock, and all
// transfers are serial. A blocking reader at the end of the file sleeps until a writer through
// this same buffer writes or leaves; writers elsewhere (another object, another process) wake
// nobody. An attached Nym_file may still be used directly between transfers (each transfer
// places the file again), but not from another thread while streams use the buffer.
//
// Reports: NYM_S_NO_FILE when closed, NYM_S_FILE_ALREADY_HELD from open and attach on a buffer
// that holds a file; the file's own codes pass through (NYM_S_END_OF_DATA at the end). An
// exception inside a transfer becomes NYM_S_NO_MEMORY, NYM_S_STD_EXCEPTION (with its text) or
// NYM_S_UNKNOWN_EXCEPTION, with NYM_S_READ_FAILED on top for reads and writes alike; inside a
// seek NYM_S_SEEK_FAILED.
#ifndef NYM_FILE_BUFFER_H
#define NYM_FILE_BUFFER_H

#include "nym/buffer.h"
#include "nym/file.h"

namespace nym {

constexpr unsigned int NYM_S_NO_FILE = 0xC2000031u;            // the buffer holds no file
constexpr unsigned int NYM_S_FILE_ALREADY_HELD = 0xC2000032u;  // a file is open or attached already

class NYM_API Nym_file_buffer : public Nym_buffer {
 public:
  // Closed.
  Nym_file_buffer();
  // attach.
  Nym_file_buffer(Nym_file& file, Nym_status& status);
  // open.
  Nym_file_buffer(const Wstring& path, Nym_file_access access, Nym_status& status);
  Nym_file_buffer(const Wstring& path, Nym_file_open open_mode, Nym_file_access access, unsigned int flags,
                  unsigned int share, Nym_status& status);
  // Closes and destroys a file it opened; an attached file stays open.
  ~Nym_file_buffer() override;
  Nym_file_buffer(const Nym_file_buffer&) = delete;
  Nym_file_buffer& operator=(const Nym_file_buffer&) = delete;

  // Uses the caller's open file, not owned. NYM_S_FILE_ALREADY_HELD with a file held already.
  void attach(Nym_file& file, Nym_status& status);
  // Opens a file of its own, as Nym_file's open does, and reports as it does; a failed open
  // leaves the buffer closed. NYM_S_FILE_ALREADY_HELD (the held file stays in use) with a file
  // held already.
  void open(const Wstring& path, Nym_file_access access, Nym_status& status);
  void open(const Wstring& path, Nym_file_open open_mode, Nym_file_access access, unsigned int flags,
            unsigned int share, Nym_status& status);
  // Closes the file, attached or owned, and destroys it if owned. The buffer may open or attach
  // again afterwards.
  void close();

 protected:
  // Moves the file to `position` and reads. At the end with `wait` and a writer connected, it
  // sleeps and looks again.
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override;
  // Moves the file to `position` and writes; a count of 0 writes nothing.
  void write(int64& position, uint64 count, const void* data, Nym_status& status) override;
  // Modes 0 and 2 go to the file as they are (the system refuses a negative position, and
  // allows one beyond the end); mode 1 seeks from the start to position + offset, and a sum
  // past the range of 64 bits gives NYM_S_SEEK_FAILED. The position changes only on success.
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override;
  // Ends the file at `size`, which may extend it.
  void truncate(int64 size, Nym_status& status) override;
  // Readers exclude each other: both take the write lock.
  void read_lock() const override;
  void read_unlock() const override;

 private:
  // Holds the file that `make` opens, unless one is held already.
  template <class Make>
  void open_file(Make make, Nym_status& status);
  // Moves the file to `position` unless it stands there.
  bool place(int64 position, Nym_status& status) const;
  void drop_file();

  Nym_file* m_file = nullptr;
  bool m_owned = false;
};

}  // namespace nym

#endif
