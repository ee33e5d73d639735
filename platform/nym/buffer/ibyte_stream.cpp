#include "nym/ibyte_stream.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace nym {

Nym_ibyte_stream::Nym_ibyte_stream() = default;

Nym_ibyte_stream::Nym_ibyte_stream(const unsigned char* data, unsigned int size, Nym_status& status) {
  Nym_ibyte_stream::init(data, size, status);
}

Nym_ibyte_stream::~Nym_ibyte_stream() = default;

void Nym_ibyte_stream::init(const unsigned char* data, unsigned int size, Nym_status& status) {
  if (data == nullptr && size > 0) throw std::invalid_argument("Nym_ibyte_stream::init - null data.");
  status.clear();
  m_data = data;
  m_size = size;
  m_position = 0;
}

void Nym_ibyte_stream::detach() {
  m_data = nullptr;
  m_size = 0;
  m_position = 0;
}

uint64 Nym_ibyte_stream::do_read(int64& position, uint64 count, bool advance, void* data, Nym_status& status) const {
  status.clear();
  // A position set below 0 by seek(int64) lies before the bytes: nothing is there to read.
  const int64 left = position < 0 ? 0 : static_cast<int64>(m_size) - position;
  if (left < 1) {
    status = NYM_S_END_OF_DATA;
    return 0;
  }
  const uint64 n = std::min(static_cast<uint64>(left), count);
  if (n > 0) std::memcpy(data, m_data + position, n);
  if (advance) position += static_cast<int64>(n);
  return n;
}

uint64 Nym_ibyte_stream::read(uint64 count, void* data, Nym_status& status) {
  return do_read(m_position, count, true, data, status);
}

uint64 Nym_ibyte_stream::read_at(int64 position, uint64 count, void* data, Nym_status& status) const {
  return do_read(position, count, false, data, status);
}

void Nym_ibyte_stream::seek(Nym_seek_mode mode, int64 offset, Nym_status& status) {
  const int64 old = m_position;
  status.clear();
  try {
    switch (mode) {
      case NYM_SEEK_BEGIN: m_position = nym_advance(0, offset); break;
      case NYM_SEEK_CURRENT: m_position = nym_advance(m_position, offset); break;
      case NYM_SEEK_END: m_position = nym_advance(static_cast<int64>(m_size), offset); break;
      default: status = NYM_S_BAD_SEEK; break;
    }
  } catch (...) {
    m_position = old;
    status = NYM_S_BAD_SEEK;
  }
}

template <class T>
void Nym_ibyte_stream::read_ordered(T& value, bool big_endian, Nym_status& status) {
  unsigned char bytes[sizeof(T)];
  if (read(sizeof(T), bytes, status) < sizeof(T)) {
    status.push(NYM_S_TOO_FEW_BYTES);
    return;
  }
  if (big_endian) std::reverse(bytes, bytes + sizeof(T));
  std::memcpy(&value, bytes, sizeof(T));
}

void Nym_ibyte_stream::read_be(short& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_ibyte_stream::read_be(unsigned short& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_ibyte_stream::read_be(int& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_ibyte_stream::read_be(unsigned int& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_ibyte_stream::read_be(int64& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_ibyte_stream::read_be(uint64& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_ibyte_stream::read_le(short& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_ibyte_stream::read_le(unsigned short& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_ibyte_stream::read_le(int& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_ibyte_stream::read_le(unsigned int& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_ibyte_stream::read_le(int64& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_ibyte_stream::read_le(uint64& value, Nym_status& status) { read_ordered(value, false, status); }

}  // namespace nym
