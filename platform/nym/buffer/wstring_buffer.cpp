#include "nym/wstring_buffer.h"

#include <stdexcept>

#include "string_store.h"

namespace nym {

namespace {

constexpr uint64 UNIT = sizeof(Wchar);

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

void* Nym_wstring_buffer::string_resize(Nym_buffer& store, uint64 units) {
  return impl::resize_string(static_cast<Nym_wstring_buffer&>(store).m_string, units);
}

void Nym_wstring_buffer::write(int64& position, uint64 count, const void* data, Nym_status& status) {
  status.clear();
  if (odd(position) || count % UNIT != 0) {
    throw std::invalid_argument(
        "Nym_wstring_buffer::write - position and number of bytes to write must be divisible by sizeof(Wchar)");
  }
  write_contiguous(position, count, data, status, string_bytes, string_resize, UNIT, NYM_NPOS);
}

void Nym_wstring_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  if (odd(offset) || (mode == NYM_SEEK_CURRENT && odd(position))) {
    throw std::invalid_argument("Nym_wstring_buffer::seek - position and offset must be divisible by sizeof(Wchar)");
  }
  seek_contiguous(mode, offset, position, status, string_bytes);
}

void Nym_wstring_buffer::truncate(int64 size, Nym_status& status) {
  truncate_contiguous(size, status, string_bytes, string_resize, UNIT);
}

}  // namespace nym
