#include "nym/string_buffer.h"

#include <algorithm>
#include <cstring>

#include "store_counts.h"
#include "store_failure.h"

namespace nym {

Nym_string_buffer::Nym_string_buffer(Nstring& text, bool no_limit) : m_string(text), m_no_limit(no_limit) {}

Nym_string_buffer::~Nym_string_buffer() = default;

uint64 Nym_string_buffer::read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const {
  return read_contiguous(wait, position, count, data, status, string_bytes, 1);
}

const void* Nym_string_buffer::string_bytes(const Nym_buffer& store, uint64& size) {
  const Nstring& text = static_cast<const Nym_string_buffer&>(store).m_string;
  size = text.size();
  return text.data();
}

void Nym_string_buffer::write(int64& position, uint64 count, const void* data, Nym_status& status) {
  status.clear();
  check_write_count(count);
  if (count == 0) return;
  write_lock();
  if (position < 0 || impl::count_within_positions(position, count) < count) {
    status = NYM_S_BAD_SEEK;
    status.push(NYM_S_WRITE_FAILED);
  } else if (!m_no_limit && static_cast<uint64>(position) + count > STRING_LIMIT) {
    status = NYM_S_STRING_LIMIT;
    status.push(NYM_S_WRITE_FAILED);
  } else {
    try {
      const auto at = static_cast<uint64>(position);
      // Room first, so that a failure leaves the string as it was.
      m_string.reserve(std::max<uint64>(m_string.size(), at + count));
      if (at > m_string.size()) m_string.append(at - m_string.size(), ' ');
      m_string.replace(at, std::min<uint64>(count, m_string.size() - at), static_cast<const char*>(data), count);
      position += static_cast<int64>(count);
    } catch (...) {
      impl::status_from_exception(status, NYM_S_WRITE_FAILED);
    }
  }
  signal();
  write_unlock();
}

void Nym_string_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  read_lock();
  const auto end = static_cast<int64>(m_string.size());
  read_unlock();
  seek_within(mode, offset, position, end, status);
}

void Nym_string_buffer::truncate(int64 size, Nym_status& status) {
  status.clear();
  // Under the write lock, so that no reader copies from the string while it shrinks.
  write_lock();
  if (size < 0 || static_cast<uint64>(size) > m_string.size()) {
    status = NYM_S_END_OF_DATA;
  } else {
    m_string.resize(static_cast<uint64>(size));
  }
  write_unlock();
}

}  // namespace nym
