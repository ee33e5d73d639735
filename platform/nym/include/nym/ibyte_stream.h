// Nym_ibyte_stream: the typed reads of an input stream over a caller's array of bytes, with no
// buffer. It doesn't own the bytes; they must outlive the stream. Reads at the end report
// NYM_S_END_OF_DATA.
#ifndef NYM_IBYTE_STREAM_H
#define NYM_IBYTE_STREAM_H

#include "nym/istream.h"

namespace nym {

class NYM_API Nym_ibyte_stream {
 public:
  Nym_ibyte_stream();
  // Null bytes with a size above 0 raise std::invalid_argument.
  Nym_ibyte_stream(const unsigned char* data, unsigned int size, Nym_status& status);
  virtual ~Nym_ibyte_stream();

  virtual void init(const unsigned char* data, unsigned int size, Nym_status& status);
  // Forgets the bytes: pointer, size and position become 0.
  virtual void detach();
  virtual uint64 read(uint64 count, void* data, Nym_status& status);
  virtual uint64 read_at(int64 position, uint64 count, void* data, Nym_status& status) const;
  virtual uint64 size() const { return m_size; }

  // The usual seek, with the number of bytes as the end; beyond the end is legal.
  void seek(Nym_seek_mode mode, int64 offset, Nym_status& status);
  void seek(int64 position) { m_position = position; }
  int64 tell() const { return m_position; }
  bool size_greater_than(int64 position) const { return static_cast<int64>(m_size) > position; }

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

 private:
  uint64 do_read(int64& position, uint64 count, bool advance, void* data, Nym_status& status) const;
  template <class T>
  void read_ordered(T& value, bool big_endian, Nym_status& status);

  const unsigned char* m_data = nullptr;
  unsigned int m_size = 0;
  int64 m_position = 0;
};

}  // namespace nym

#endif
