#include "nym/sub_buffer.h"

#include <algorithm>
#include <stdexcept>

namespace nym {

// Defined here so that a caller may bind it to a reference: the DLL exports it.
const int64 Nym_sub_buffer::NO_END;

Nym_sub_buffer::Nym_sub_buffer(const Nym_buffer& parent, int64 start, int64 end)
    : m_parent(parent), m_start(start), m_end(end) {
  if (end < start) throw std::invalid_argument("Nym_sub_buffer::Nym_sub_buffer - end value is less than start value");
}

Nym_sub_buffer::~Nym_sub_buffer() = default;

void Nym_sub_buffer::connect_ostream(Nym_status& status) { status = NYM_S_NO_WRITER_TAKEN; }

void Nym_sub_buffer::set_end(int64 end, Nym_status& status) {
  if (num_unbuffered_istream() != 0 || num_buffered_istream() != 0 || num_ostream() != 0) {
    status.push(NYM_S_STREAMS_CONNECTED);
  } else if (end < m_start) {
    status.push(NYM_S_END_BEFORE_START);
  } else {
    m_end = end;
  }
}

uint64 Nym_sub_buffer::read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const {
  status.clear();
  // Before the window lie the parent's bytes it is meant to hide.
  if (position < 0) {
    status = NYM_S_READ_FAILED;
    return 0;
  }
  uint64 got = 0;
  try {
    int64 absolute = nym_advance(m_start, position);
    if (m_end != NO_END) {
      if (absolute >= m_end) {
        status = NYM_S_END_OF_DATA;
        return 0;
      }
      count = std::min(count, static_cast<uint64>(m_end - absolute));
    }
    got = read_of(m_parent, wait, absolute, count, data, status);
  } catch (...) {
    status = NYM_S_READ_FAILED;
    return 0;
  }
  if (!status.is_error()) position += static_cast<int64>(got);
  return got;
}

void Nym_sub_buffer::write(int64&, uint64, const void*, Nym_status& status) { status.push(NYM_S_WRITE_FAILED); }

void Nym_sub_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  const int64 old = position;
  status.clear();
  try {
    int64 base = 0;
    switch (mode) {
      case NYM_SEEK_BEGIN:
        base = m_start;
        break;
      case NYM_SEEK_CURRENT:
        base = nym_advance(m_start, position);
        break;
      case NYM_SEEK_END:
        if (m_end != NO_END) {
          base = m_end;
        } else {
          seek_of(m_parent, NYM_SEEK_END, 0, base, status);
          if (status.is_error()) {
            position = old;
            status.push(NYM_S_BAD_SEEK);
            return;
          }
        }
        break;
      default:
        status = NYM_S_BAD_SEEK;
        return;
    }
    const int64 target = nym_advance(base, offset);
    if (target >= m_start) {
      position = target - m_start;
    } else {
      status = NYM_S_BAD_SEEK;
    }
  } catch (...) {
    position = old;
    status = NYM_S_BAD_SEEK;
  }
}

void Nym_sub_buffer::truncate(int64, Nym_status& status) { status = NYM_S_NO_WRITER_TAKEN; }

}  // namespace nym
