#include "nym/wstring_buffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "store_counts.h"
#include "store_failure.h"

namespace nym {

namespace {

constexpr uint64 UNIT = sizeof(Wchar);
constexpr uint64 MAX_UNITS = static_cast<uint64>(std::numeric_limits<int64>::max());

bool odd(int64 value) { return value % 2 != 0; }

}  // namespace

Nym_wstring_buffer::Nym_wstring_buffer(Wstring& text) : m_string(text) {}

Nym_wstring_buffer::~Nym_wstring_buffer() = default;

uint64 Nym_wstring_buffer::read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const {
  status.clear();
  if (odd(position)) {
    throw std::invalid_argument("Nym_wstring_buffer::read - position must be divisible by sizeof(Wchar)");
  }
  return read_contiguous(wait, position, count, data, status, string_bytes, UNIT);
}

const void* Nym_wstring_buffer::string_bytes(const Nym_buffer& store, uint64& size) {
  const Wstring& text = static_cast<const Nym_wstring_buffer&>(store).m_string;
  size = text.size() * UNIT;
  return text.data();
}

void Nym_wstring_buffer::write(int64& position, uint64 count, const void* data, Nym_status& status) {
  status.clear();
  if (odd(position) || count % UNIT != 0) {
    throw std::invalid_argument(
        "Nym_wstring_buffer::write - position and number of bytes to write must be divisible by sizeof(Wchar)");
  }
  check_write_count(count);
  if (count == 0) return;
  write_lock();
  const uint64 units = count / UNIT;
  if (position < 0 || impl::count_within_positions(position, count) < count) {
    status = NYM_S_BAD_SEEK;
    status.push(NYM_S_WRITE_FAILED);
  } else if (static_cast<uint64>(position) / UNIT + units == MAX_UNITS) {
    status = NYM_S_STRING_LIMIT;
    status.push(NYM_S_WRITE_FAILED);
  } else {
    try {
      const auto at = static_cast<uint64>(position) / UNIT;
      // Room first, so that a failure leaves the string as it was.
      m_string.reserve(std::max<uint64>(m_string.size(), at + units));
      if (at > m_string.size()) m_string.append(at - m_string.size(), u' ');
      if (at + units > m_string.size()) m_string.resize(at + units);
      // memcpy rather than replace: the caller's bytes need not be aligned for Wchar.
      std::memcpy(&m_string[at], data, count);
      position += static_cast<int64>(count);
    } catch (...) {
      impl::status_from_exception(status, NYM_S_WRITE_FAILED);
    }
  }
  signal();
  write_unlock();
}

void Nym_wstring_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  if (odd(offset) || (mode == NYM_SEEK_CURRENT && odd(position))) {
    throw std::invalid_argument("Nym_wstring_buffer::seek - position and offset must be divisible by sizeof(Wchar)");
  }
  read_lock();
  const auto end = static_cast<int64>(m_string.size() * UNIT);
  read_unlock();
  seek_within(mode, offset, position, end, status);
}

void Nym_wstring_buffer::truncate(int64 size, Nym_status& status) {
  status.clear();
  write_lock();
  if (size < 0 || static_cast<uint64>(size) > m_string.size()) {
    status = NYM_S_END_OF_DATA;
  } else {
    m_string.resize(static_cast<uint64>(size));
  }
  write_unlock();
}

}  // namespace nym
