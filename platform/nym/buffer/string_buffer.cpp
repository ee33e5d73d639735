#include "nym/string_buffer.h"

#include "string_store.h"

namespace nym {

// Defined here so that a caller may bind it to a reference: the DLL exports it.
const uint64 Nym_string_buffer::STRING_LIMIT;

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

void* Nym_string_buffer::string_resize(Nym_buffer& store, uint64 units) {
  return impl::resize_string(static_cast<Nym_string_buffer&>(store).m_string, units);
}

void Nym_string_buffer::write(int64& position, uint64 count, const void* data, Nym_status& status) {
  write_contiguous(position, count, data, status, string_bytes, string_resize, 1, m_no_limit ? NYM_NPOS : STRING_LIMIT);
}

void Nym_string_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  seek_contiguous(mode, offset, position, status, string_bytes);
}

void Nym_string_buffer::truncate(int64 size, Nym_status& status) {
  truncate_contiguous(size, status, string_bytes, string_resize, 1);
}

}  // namespace nym
