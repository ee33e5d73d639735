// Nym_string_buffer: a caller's narrow string as a buffer.
//
// The string stays the caller's and must outlive the buffer; while streams use the buffer the
// caller must not touch the string directly. Reads and writes follow the contract of
// Nym_buffer, with its locks and its blocking readers, so a blocking reader follows a writer on
// the same string. Positions are byte offsets in the string.
//
// A write beyond the end pads the string with spaces up to the position, and a write in the
// middle overwrites. Unless built with `no_limit`, a write that would reach past 655,360 bytes
// (STRING_LIMIT) is refused with NYM_S_STRING_LIMIT under NYM_S_WRITE_FAILED. A write whose
// storage fails reports NYM_S_NO_MEMORY, NYM_S_STD_EXCEPTION (with the text) or
// NYM_S_UNKNOWN_EXCEPTION, each under NYM_S_WRITE_FAILED; a write at a negative position, or
// one that would pass the last position, reports NYM_S_BAD_SEEK under NYM_S_WRITE_FAILED, a
// read at a negative position NYM_S_READ_FAILED. truncate to
// a size beyond the length (or below 0) reports NYM_S_END_OF_DATA.
#ifndef NYM_STRING_BUFFER_H
#define NYM_STRING_BUFFER_H

#include "nym/buffer.h"

namespace nym {

constexpr unsigned int NYM_S_STRING_LIMIT = 0xC200008Fu;  // the string is at its limit

class NYM_API Nym_string_buffer : public Nym_buffer {
 public:
  static const uint64 STRING_LIMIT = 0xA0000;

  Nym_string_buffer(Nstring& text, bool no_limit);
  ~Nym_string_buffer() override;

 protected:
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override;
  void write(int64& position, uint64 count, const void* data, Nym_status& status) override;
  // The usual seek, with the string's length as the end.
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override;
  void truncate(int64 size, Nym_status& status) override;

 private:
  static const void* string_bytes(const Nym_buffer& store, uint64& size);
  static void* string_resize(Nym_buffer& store, uint64 units);
  Nstring& m_string;
  bool m_no_limit;
};

}  // namespace nym

#endif
