#include "nym/buffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "buffer_platform.h"

namespace nym {

namespace {

constexpr int64 MAX_POSITION = std::numeric_limits<int64>::max();

// Counts are atomic words; a read is an atomic add of 0.
unsigned int load(volatile int& word) { return static_cast<unsigned int>(atomic::xadd(&word, 0)); }

void decrement_unless_zero(volatile int& word) {
  int seen = atomic::xadd(&word, 0);
  while (seen != 0) {
    const int found = atomic::xcompexch(&word, seen - 1, seen);
    if (found == seen) return;
    seen = found;
  }
}

// Counted once, by the first buffer built.
unsigned int processors() {
  static const unsigned int count = impl::buffer_processor_count();
  return count;
}

}  // namespace

Nym_atomic_counter<unsigned int> Nym_buffer::m_id_generator;

int64 nym_advance(int64 position, int64 offset) {
  if (position < 0) throw std::underflow_error("Stream position going negative.");
  if (offset >= 0) {
    if (offset > MAX_POSITION - position) throw std::overflow_error("Stream position too large.");
  } else if (offset < -position) {
    throw std::underflow_error("Stream position going negative.");
  }
  return position + offset;
}

int64 nym_difference(int64 a, int64 b) { return a - b; }

Nym_buffer::Nym_buffer() {
  m_waiters.reserve(8);
  processors();
  m_id = m_id_generator.next();
  if (m_id == 0) m_id = m_id_generator.next();  // the wrapped counter never gives out 0
}

Nym_buffer::~Nym_buffer() {
  for (void* waiter : m_waiters) impl::buffer_discard_waiter(waiter);
}

void Nym_buffer::connect_unbuffered_istream(Nym_status&) const { atomic::xadd(&m_unbuffered_readers, 1); }

void Nym_buffer::connect_buffered_istream(Nym_status&) const { atomic::xadd(&m_buffered_readers, 1); }

void Nym_buffer::connect_ostream(Nym_status& status) {
  status.clear();
  if (atomic::xexchange(&m_writers, 1) != 0) status = NYM_S_NO_WRITER_TAKEN;
}

void Nym_buffer::disconnect_unbuffered_istream() const { decrement_unless_zero(m_unbuffered_readers); }

void Nym_buffer::disconnect_buffered_istream() const { decrement_unless_zero(m_buffered_readers); }

void Nym_buffer::disconnect_ostream() {
  if (atomic::xcompexch(&m_writers, 0, 1) == 1) {
    write_lock();
    signal();
    write_unlock();
  }
}

unsigned int Nym_buffer::num_unbuffered_istream() const { return load(m_unbuffered_readers); }
unsigned int Nym_buffer::num_buffered_istream() const { return load(m_buffered_readers); }
unsigned int Nym_buffer::num_ostream() const { return load(const_cast<volatile int&>(m_writers)); }

int64 Nym_buffer::size(bool wait_for_writer, Nym_status& status) const {
  int64 position = 0;
  read_lock();
  try {
    while (wait_for_writer && has_writer()) wait();
    try {
      seek(NYM_SEEK_END, 0, position, status);
    } catch (...) {
      status = NYM_S_SIZE_UNKNOWN;
    }
  } catch (...) {
    read_unlock();
    throw;
  }
  read_unlock();
  return status.is_error() ? 0 : position;
}

void Nym_buffer::take_spin() const {
  const bool alone = processors() < 2;
  while (atomic::xcompexch(&m_spin, 1, 0) != 0) {
    if (alone) {
      impl::buffer_yield();
    } else {
#if defined(__x86_64__) || defined(__i386__)
      __builtin_ia32_pause();
#endif
    }
  }
}

void Nym_buffer::release_spin() const { atomic::xexchange(&m_spin, 0); }

void Nym_buffer::read_lock() const {
  take_spin();
  if (m_readers++ == 0) m_writer_lock.lock();
  release_spin();
}

void Nym_buffer::read_unlock() const {
  take_spin();
  if (--m_readers == 0) m_writer_lock.unlock();
  release_spin();
}

void Nym_buffer::write_lock() const { m_writer_lock.lock(); }

void Nym_buffer::write_unlock() const { m_writer_lock.unlock(); }

void Nym_buffer::seek_within(Nym_seek_mode mode, int64 offset, int64& position, int64 end, Nym_status& status) {
  const int64 old = position;
  status.clear();
  if (mode != NYM_SEEK_BEGIN && mode != NYM_SEEK_CURRENT && mode != NYM_SEEK_END) {
    status = NYM_S_BAD_SEEK;
    return;
  }
  const int64 base = mode == NYM_SEEK_BEGIN ? 0 : mode == NYM_SEEK_CURRENT ? position : end;
  try {
    position = nym_advance(base, offset);
  } catch (...) {
    position = old;
    status = NYM_S_BAD_SEEK;
  }
}

uint64 Nym_buffer::read_contiguous(bool wait, int64& position, uint64 count, void* data, Nym_status& status,
                                   Contiguous_bytes bytes, uint64 unit) const {
  status.clear();
  uint64 n = 0;
  read_lock();
  try {
    for (;;) {
      if (position < 0) {
        status = NYM_S_READ_FAILED;
        break;
      }
      uint64 end = 0;
      const auto* start = static_cast<const unsigned char*>(bytes(*this, end));
      const auto at = static_cast<uint64>(position);
      if (at < end) {
        n = std::min(count - count % unit, end - at);
        std::memcpy(data, start + at, static_cast<std::size_t>(n));
        position += static_cast<int64>(n);
        break;
      }
      if (!wait || !has_writer()) {
        status = NYM_S_END_OF_DATA;
        break;
      }
      this->wait();
    }
  } catch (...) {
    read_unlock();
    throw;
  }
  read_unlock();
  return n;
}

void Nym_buffer::check_write_count(uint64 count) {
  if (count > static_cast<uint64>(MAX_POSITION)) throw std::out_of_range("writing too many bytes to the buffer.");
}

}  // namespace nym
