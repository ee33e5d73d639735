#include "nym/istream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "store_counts.h"

namespace nym {

// Defined here so that a caller may bind it to a reference: the DLL exports it.
const uint64 Nym_buffered_istream::WINDOW_SIZE;

// ---- Nym_istream

Nym_istream::Nym_istream() = default;

Nym_istream::Nym_istream(const Nym_buffer&, bool blocking, Nym_status&, Nym_eol eol)
    : m_blocking(blocking), m_eol(eol) {}

Nym_istream::~Nym_istream() { std::free(m_line_area); }

void Nym_istream::init(const Nym_buffer&, bool blocking, Nym_status&, Nym_eol eol) {
  m_eol = eol;
  m_blocking = blocking;
  m_position = 0;
}

void Nym_istream::detach() { m_buffer = nullptr; }

const Nym_buffer* Nym_istream::buffer() const { return m_buffer; }

void Nym_istream::seek(Nym_seek_mode mode, int64 offset, Nym_status& status) {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return;
  }
  m_buffer->seek(mode, offset, m_position, status);
}

int64 Nym_istream::size(Nym_status& status) {
  status.clear();
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return 0;
  }
  return m_buffer->size(m_blocking, status);
}

bool Nym_istream::size_greater_than(int64 position) const {
  if (m_buffer == nullptr) return false;
  Nym_status status;
  unsigned char byte = 0;
  return read_at(position, 1, &byte, status) == 1 && !status.is_error();
}

template <class T>
void Nym_istream::read_ordered(T& value, bool big_endian, Nym_status& status) {
  unsigned char bytes[sizeof(T)];
  uint64 got = 0;
  status.clear();
  // A blocking stream may see the value arrive in parts: read until it is whole or the data end.
  while (got < sizeof(T)) {
    const uint64 n = impl::answered(read(sizeof(T) - got, bytes + got, status), sizeof(T) - got);
    got += n;
    if (n == 0 || status.is_error()) break;
  }
  if (got < sizeof(T)) {
    // The end met by the extra read after a part of the value is not reported: as with any
    // short read, the end comes with the next read.
    if (got > 0 && status == NYM_S_END_OF_DATA) status.clear();
    status.push(NYM_S_TOO_FEW_BYTES);
    return;
  }
  if (big_endian) std::reverse(bytes, bytes + sizeof(T));
  std::memcpy(&value, bytes, sizeof(T));
}

void Nym_istream::read_be(short& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_istream::read_be(unsigned short& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_istream::read_be(int& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_istream::read_be(unsigned int& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_istream::read_be(int64& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_istream::read_be(uint64& value, Nym_status& status) { read_ordered(value, true, status); }
void Nym_istream::read_le(short& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_istream::read_le(unsigned short& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_istream::read_le(int& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_istream::read_le(unsigned int& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_istream::read_le(int64& value, Nym_status& status) { read_ordered(value, false, status); }
void Nym_istream::read_le(uint64& value, Nym_status& status) { read_ordered(value, false, status); }

// ---- Nym_unbuffered_istream

Nym_unbuffered_istream::Nym_unbuffered_istream() = default;

Nym_unbuffered_istream::Nym_unbuffered_istream(const Nym_buffer& buffer, bool blocking, Nym_status& status,
                                               Nym_eol eol)
    : Nym_istream(buffer, blocking, status, eol) {
  Nym_unbuffered_istream::init(buffer, blocking, status, eol);
}

Nym_unbuffered_istream::~Nym_unbuffered_istream() {
  if (m_buffer != nullptr) m_buffer->disconnect_unbuffered_istream();
}

void Nym_unbuffered_istream::init(const Nym_buffer& buffer, bool blocking, Nym_status& status, Nym_eol eol) {
  status.clear();
  buffer.connect_unbuffered_istream(status);
  if (!status.is_error()) m_buffer = &buffer;
  Nym_istream::init(buffer, blocking, status, eol);
}

void Nym_unbuffered_istream::detach() {
  if (m_buffer != nullptr) m_buffer->disconnect_unbuffered_istream();
  m_buffer = nullptr;
}

uint64 Nym_unbuffered_istream::read(uint64 count, void* data, Nym_status& status) {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return 0;
  }
  if (count == 0) return 0;
  return buffer_read(*m_buffer, m_blocking, m_position, count, data, status);
}

uint64 Nym_unbuffered_istream::read_at(int64 position, uint64 count, void* data, Nym_status& status) const {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return 0;
  }
  if (count == 0) return 0;
  return buffer_read(*m_buffer, m_blocking, position, count, data, status);
}

bool Nym_unbuffered_istream::read_in_place(uint64 count, const void*& data, uint64& got, Nym_status& status) {
  if (m_buffer == nullptr || count == 0) return false;
  return buffer_read_in_place(*m_buffer, m_position, count, data, got, status);
}

uint64 Nym_unbuffered_istream::read_at_no_blocking(int64 position, uint64 count, void* data,
                                                  Nym_status& status) const {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return 0;
  }
  if (count == 0) return 0;
  return buffer_read(*m_buffer, false, position, count, data, status);
}

// ---- Nym_buffered_istream

namespace {

const char READ_CHAR_ERROR[] = "Nym_buffered_istream::read_char - Error reading data";

}  // namespace

Nym_buffered_istream::Nym_buffered_istream() : m_window(new unsigned char[WINDOW_SIZE]) {}

Nym_buffered_istream::Nym_buffered_istream(const Nym_buffer& buffer, bool blocking, Nym_status& status,
                                           Nym_eol eol)
    : Nym_istream(buffer, blocking, status, eol), m_window(new unsigned char[WINDOW_SIZE]) {
  Nym_buffered_istream::init(buffer, blocking, status, eol);
}

Nym_buffered_istream::~Nym_buffered_istream() {
  if (m_buffer != nullptr) m_buffer->disconnect_buffered_istream();
  delete[] m_window;
}

void Nym_buffered_istream::init(const Nym_buffer& buffer, bool blocking, Nym_status& status, Nym_eol eol) {
  status.clear();
  buffer.connect_buffered_istream(status);
  m_window_start = 0;
  m_window_valid = 0;
  if (!status.is_error()) m_buffer = &buffer;
  Nym_istream::init(buffer, blocking, status, eol);
}

void Nym_buffered_istream::detach() {
  if (m_buffer != nullptr) m_buffer->disconnect_buffered_istream();
  m_buffer = nullptr;
  m_window_start = 0;
  m_window_valid = 0;
}

void Nym_buffered_istream::relocate_buffer(bool blocking, int64 position, Nym_status& status) const {
  m_window_start = position;
  m_window_valid = 0;
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return;
  }
  m_window_valid = buffer_read(*m_buffer, blocking, position, WINDOW_SIZE, m_window, status);
}

uint64 Nym_buffered_istream::read_from(int64& position, uint64 count, void* data, Nym_status& status) const {
  auto* out = static_cast<unsigned char*>(data);
  uint64 total = 0;
  status.clear();
  while (total < count && !status.is_error()) {
    uint64 offset = 0;
    if (in_window(position, 1, offset)) {
      const uint64 n = std::min(m_window_valid - offset, count - total);
      std::memcpy(out + total, m_window + offset, n);
      position += static_cast<int64>(n);
      total += n;
      continue;
    }
    relocate_buffer(m_blocking, position, status);
    if (status.is_error()) break;
    if (m_window_valid == 0) {
      status = NYM_S_END_OF_DATA;
      break;
    }
    const uint64 n = std::min(m_window_valid, count - total);
    std::memcpy(out + total, m_window, n);
    position += static_cast<int64>(n);
    total += n;
  }
  // A partial read is a success of its size; the error comes with the next read.
  if (status.is_error() && total > 0) status.clear();
  return total;
}

uint64 Nym_buffered_istream::read(uint64 count, void* data, Nym_status& status) {
  return read_from(m_position, count, data, status);
}

uint64 Nym_buffered_istream::read_at(int64 position, uint64 count, void* data, Nym_status& status) const {
  return read_from(position, count, data, status);
}

char Nym_buffered_istream::read_char_slow() {
  Nym_status status;
  relocate_buffer(m_blocking, m_position, status);
  if (status.is_error() || m_window_valid == 0) throw std::runtime_error(READ_CHAR_ERROR);
  ++m_position;
  return static_cast<char>(m_window[0]);
}

unsigned short Nym_buffered_istream::read_wchar_slow() {
  Nym_status status;
  relocate_buffer(m_blocking, m_position, status);
  // A window of one byte can't hold a unit: the second byte may still be on its way from the
  // writer, so read on behind the first rather than return half a unit.
  while (!status.is_error() && m_window_valid == 1 && m_buffer != nullptr) {
    int64 next = m_window_start + 1;
    const uint64 got = buffer_read(*m_buffer, m_blocking, next, WINDOW_SIZE - 1, m_window + 1, status);
    if (got == 0) break;
    m_window_valid = 1 + got;
  }
  if (status.is_error() || m_window_valid < 2) throw std::runtime_error(READ_CHAR_ERROR);
  m_position += 2;
  return static_cast<unsigned short>(m_window[0] | (m_window[1] << 8));
}

}  // namespace nym
