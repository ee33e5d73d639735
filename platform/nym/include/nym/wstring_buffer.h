// Nym_wstring_buffer: a caller's wide string as a buffer.
//
// As Nym_string_buffer, over 16-bit units: positions, counts and sizes are in bytes, two to
// the unit, except in truncate, which counts units. A read, write or seek that would split a
// unit raises std::invalid_argument; a read of fewer than two bytes reads nothing. Padding is
// in 16-bit spaces and there is no limit of 655,360 bytes.
#ifndef NYM_WSTRING_BUFFER_H
#define NYM_WSTRING_BUFFER_H

#include "nym/string_buffer.h"

namespace nym {

class NYM_API Nym_wstring_buffer : public Nym_buffer {
 public:
  explicit Nym_wstring_buffer(Wstring& text);
  ~Nym_wstring_buffer() override;

 protected:
  // An odd position raises std::invalid_argument
  // "Nym_wstring_buffer::read - position must be divisible by sizeof(Wchar)".
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override;
  // An odd position or count raises std::invalid_argument "Nym_wstring_buffer::write - position
  // and number of bytes to write must be divisible by sizeof(Wchar)".
  void write(int64& position, uint64 count, const void* data, Nym_status& status) override;
  // The end is the length times two. An odd offset, or an odd position from the current one,
  // raises std::invalid_argument
  // "Nym_wstring_buffer::seek - position and offset must be divisible by sizeof(Wchar)".
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override;
  // `size` is in units: truncate(4, status) leaves four characters.
  void truncate(int64 size, Nym_status& status) override;

 private:
  static const void* string_bytes(const Nym_buffer& store, uint64& size);
  static void* string_resize(Nym_buffer& store, uint64 units);
  Wstring& m_string;
};

}  // namespace nym

#endif
