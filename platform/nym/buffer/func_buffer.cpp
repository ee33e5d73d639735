#include "nym/func_buffer.h"

namespace nym {

Nym_buffer_functor::~Nym_buffer_functor() = default;

Nym_func_buffer::Nym_func_buffer(Nym_buffer_functor* functor) : m_functor(functor) {}

Nym_func_buffer::Nym_func_buffer() : m_functor(nullptr) {}

Nym_func_buffer::~Nym_func_buffer() { delete m_functor; }

void Nym_func_buffer::connect_ostream(Nym_status& status) { status = NYM_S_NO_WRITER_TAKEN; }

int64 Nym_func_buffer::size(bool, Nym_status& status) const {
  status.clear();
  if (m_functor == nullptr) {
    status = NYM_S_NO_FUNCTOR;
    return 0;
  }
  return m_functor->size();
}

uint64 Nym_func_buffer::read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const {
  if (m_functor == nullptr) {
    status = NYM_S_NO_FUNCTOR;
    return 0;
  }
  return m_functor->read(wait, position, count, data, status);
}

void Nym_func_buffer::write(int64&, uint64, const void*, Nym_status& status) { status.push(NYM_S_WRITE_FAILED); }

void Nym_func_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  int64 end = 0;
  if (mode == NYM_SEEK_END) {
    end = size(false, status);
    if (status.is_error()) {
      status.push(NYM_S_BAD_SEEK);
      return;
    }
  }
  seek_within(mode, offset, position, end, status);
}

void Nym_func_buffer::truncate(int64 size, Nym_status& status) {
  status.clear();
  if (m_functor == nullptr) {
    status = NYM_S_NO_FUNCTOR;
    return;
  }
  if (size > m_functor->size()) {
    status = NYM_S_END_OF_DATA;
    return;
  }
  m_functor->truncate(size, status);
}

}  // namespace nym
