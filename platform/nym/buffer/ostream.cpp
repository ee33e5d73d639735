#include "nym/ostream.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "store_counts.h"
#include "swap_unit.h"

namespace nym {

namespace {

// The line-end text of a rule, in the unit of the line writer.
template <class Unit>
uint64 eol_text(Nym_eol eol, Unit (&text)[2]) {
  switch (eol) {
    case NYM_EOL_CR:
      text[0] = 0x0D;
      return 1;
    case NYM_EOL_LF:
      text[0] = 0x0A;
      return 1;
    case NYM_EOL_CRLF:
      text[0] = 0x0D;
      text[1] = 0x0A;
      return 2;
    default:
      return 0;
  }
}

}  // namespace

Nym_ostream::Nym_ostream() = default;

Nym_ostream::Nym_ostream(Nym_buffer& buffer, Nym_status& status, Nym_eol eol) { init(buffer, status, eol); }

Nym_ostream::~Nym_ostream() {
  if (m_buffer != nullptr) m_buffer->disconnect_ostream();
}

Nym_buffer* Nym_ostream::buffer() { return m_buffer; }

void Nym_ostream::init(Nym_buffer& buffer, Nym_status& status, Nym_eol eol) {
  // Keeping an old place would leave that buffer's blocking readers asleep for good.
  detach();
  m_eol = eol;
  m_position = 0;
  buffer.connect_ostream(status);
  if (!status.is_error()) m_buffer = &buffer;
}

void Nym_ostream::detach() {
  if (m_buffer == nullptr) return;
  Nym_buffer* buffer = m_buffer;
  m_buffer = nullptr;
  buffer->disconnect_ostream();
}

void Nym_ostream::write(uint64 count, const void* data, Nym_status& status) {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return;
  }
  m_buffer->write(m_position, count, data, status);
}

void Nym_ostream::write_at(int64 position, uint64 count, const void* data, Nym_status& status) const {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return;
  }
  m_buffer->write(position, count, data, status);
}

void Nym_ostream::seek(Nym_seek_mode mode, int64 offset, Nym_status& status) {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return;
  }
  m_buffer->seek(mode, offset, m_position, status);
}

int64 Nym_ostream::size(Nym_status& status) {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return 0;
  }
  int64 end = 0;
  m_buffer->seek(NYM_SEEK_END, 0, end, status);
  return end;
}

void Nym_ostream::set_size(int64 size, Nym_status& status) {
  status.clear();
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return;
  }
  const int64 current = this->size(status);
  if (status.is_error()) return;
  if (size <= current) {
    m_buffer->truncate(size, status);
  } else {
    const unsigned char zero = 0;
    write_at(size - 1, 1, &zero, status);
  }
}

template <class T>
void Nym_ostream::write_ordered(T value, bool big_endian, Nym_status& status) {
  unsigned char bytes[sizeof(T)];
  std::memcpy(bytes, &value, sizeof(T));
  if (big_endian) std::reverse(bytes, bytes + sizeof(T));
  write(sizeof(T), bytes, status);
}

void Nym_ostream::write_be(const int64& value, Nym_status& status) { write_ordered(value, true, status); }
void Nym_ostream::write_be(const uint64& value, Nym_status& status) { write_ordered(value, true, status); }
void Nym_ostream::write_be(short value, Nym_status& status) { write_ordered(value, true, status); }
void Nym_ostream::write_be(unsigned short value, Nym_status& status) { write_ordered(value, true, status); }
void Nym_ostream::write_be(int value, Nym_status& status) { write_ordered(value, true, status); }
void Nym_ostream::write_be(unsigned int value, Nym_status& status) { write_ordered(value, true, status); }
void Nym_ostream::write_le(const int64& value, Nym_status& status) { write_ordered(value, false, status); }
void Nym_ostream::write_le(const uint64& value, Nym_status& status) { write_ordered(value, false, status); }
void Nym_ostream::write_le(short value, Nym_status& status) { write_ordered(value, false, status); }
void Nym_ostream::write_le(unsigned short value, Nym_status& status) { write_ordered(value, false, status); }
void Nym_ostream::write_le(int value, Nym_status& status) { write_ordered(value, false, status); }
void Nym_ostream::write_le(unsigned int value, Nym_status& status) { write_ordered(value, false, status); }

template <class Unit>
void Nym_ostream::write_line(const Unit* text, uint64 units, bool swap, Nym_status& status) {
  if (m_buffer == nullptr) {
    status = NYM_S_STREAM_NOT_ATTACHED;
    return;
  }
  Unit end[2] = {};
  const uint64 end_units = eol_text(m_eol, end);
  std::basic_string<Unit> swapped;
  if constexpr (sizeof(Unit) == 2) {
    if (swap) {
      swapped.assign(text, units);
      for (auto& unit : swapped) unit = impl::swap_unit(unit);
      for (uint64 i = 0; i < end_units; ++i) end[i] = impl::swap_unit(end[i]);
      text = swapped.data();
    }
  }
  const int64 entry = m_position;
  status.clear();
  uint64 meant = units * sizeof(Unit);
  write(meant, text, status);
  if (!status.is_error()) {
    write(end_units * sizeof(Unit), end, status);
    meant += end_units * sizeof(Unit);
  }
  // Where the sum would leave the range of positions the store has already refused the write.
  if (entry >= 0 && impl::count_within_positions(entry, meant) == meant) m_position = entry + static_cast<int64>(meant);
}

void Nym_ostream::writeln(const Nstring& line, Nym_status& status) {
  write_line(line.data(), line.size(), false, status);
}
void Nym_ostream::wwriteln(const Wstring& line, Nym_status& status) {
  write_line(line.data(), line.size(), false, status);
}
void Nym_ostream::wwriteln_le(const Wstring& line, Nym_status& status) {
  write_line(line.data(), line.size(), false, status);
}
void Nym_ostream::wwriteln_be(const Wstring& line, Nym_status& status) {
  write_line(line.data(), line.size(), true, status);
}
void Nym_ostream::xwriteln(const Wstring& line, Nym_status& status) { wwriteln(line, status); }
void Nym_ostream::xwriteln_le(const Wstring& line, Nym_status& status) { wwriteln_le(line, status); }
void Nym_ostream::xwriteln_be(const Wstring& line, Nym_status& status) { wwriteln_be(line, status); }

}  // namespace nym
