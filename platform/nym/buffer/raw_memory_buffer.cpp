#include "nym/raw_memory_buffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <typeinfo>

namespace nym {

Nym_raw_memory_buffer::Nym_raw_memory_buffer(int64 size, const unsigned char* data, Delete_method method)
    : m_size(size), m_data(data), m_delete(method) {
  if (data == nullptr && size > 0) {
    throw std::invalid_argument("Nym_raw_memory_buffer::Nym_raw_memory_buffer - null data.");
  }
}

Nym_raw_memory_buffer::~Nym_raw_memory_buffer() {
  if (m_delete == DELETE_OBJECT) {
    delete m_data;
  } else if (m_delete == DELETE_ARRAY) {
    delete[] m_data;
  }
}

void Nym_raw_memory_buffer::connect_ostream(Nym_status& status) { status = NYM_S_NO_WRITER_TAKEN; }

uint64 Nym_raw_memory_buffer::span(int64 position, uint64 count, Nym_status& status) const {
  // A position below 0 is refused as every store refuses it; at the end the data have ended.
  if (position < 0 || position >= m_size) {
    status = position < 0 ? NYM_S_READ_FAILED : NYM_S_END_OF_DATA;
    return 0;
  }
  const auto wanted = static_cast<int64>(std::min<uint64>(count, std::numeric_limits<int64>::max()));
  const int64 n = std::min(wanted, m_size - position);
  if (n < 0) throw std::overflow_error("streampos too negative for size_t");
  return static_cast<uint64>(n);
}

uint64 Nym_raw_memory_buffer::read(bool, int64& position, uint64 count, void* data, Nym_status& status) const {
  const uint64 n = span(position, count, status);
  if (n > 0) std::memcpy(data, m_data + position, n);
  position += static_cast<int64>(n);
  return n;
}

bool Nym_raw_memory_buffer::read_in_place(int64& position, uint64 count, const void*& data, uint64& got,
                                          Nym_status& status) const {
  // A derived store may read otherwise: it is read with its own read.
  if (&typeid(*this) != &typeid(Nym_raw_memory_buffer)) return false;
  got = span(position, count, status);
  data = got > 0 ? m_data + position : m_data;
  position += static_cast<int64>(got);
  return true;
}

void Nym_raw_memory_buffer::write(int64&, uint64, const void*, Nym_status& status) { status.push(NYM_S_WRITE_FAILED); }

void Nym_raw_memory_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  seek_within(mode, offset, position, m_size, status);
}

void Nym_raw_memory_buffer::truncate(int64, Nym_status& status) { status = NYM_S_NO_WRITER_TAKEN; }

}  // namespace nym
