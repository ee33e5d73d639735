#include "nym/buffer.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

#include "base/current_thread.h"
#include "buffer_platform.h"
#include "nym/string_buffer.h"
#include "store_counts.h"
#include "store_failure.h"

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

// m_writer_thread: set under the spin word, read without it as well.
template <class T>
T load_shared(const T& word) {
  return __atomic_load_n(&word, __ATOMIC_ACQUIRE);
}
template <class T>
void store_shared(T& word, T value) {
  __atomic_store_n(&word, value, __ATOMIC_RELEASE);
}

std::atomic<bool> waiters_available{true};

// A waiter for the calling thread, or null when none can be had.
void* new_waiter() { return waiters_available.load() ? impl::buffer_new_waiter() : nullptr; }

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

bool impl::nym_set_buffer_waiters(bool available) { return waiters_available.exchange(available); }

Nym_buffer::Nym_buffer() {
  m_waiters.reserve(8);
  processors();
  m_id = m_id_generator.next();
  if (m_id == 0) m_id = m_id_generator.next();  // the wrapped counter never gives out 0
}

Nym_buffer::~Nym_buffer() {
  for (void* waiter : m_waiters) impl::buffer_discard_waiter(waiter);
  if (m_writer_waiter != nullptr) impl::buffer_discard_waiter(m_writer_waiter);
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

// The spin word is taken on every read: the compiler's atomics here, inline, rather than
// calls of the exported ones.
inline void Nym_buffer::take_spin() const {
  int free_word = 0;
  if (__atomic_compare_exchange_n(&m_spin, &free_word, 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) return;
  const bool alone = processors() < 2;
  for (;;) {
    // Waits with plain reads, which leave the word's line shared, and tries again only once it
    // looks free: a compare-exchange in the loop would take the line from its holder each time.
    do {
      if (alone) {
        impl::yield_processor();
      } else {
#if defined(__x86_64__) || defined(__i386__)
        __builtin_ia32_pause();
#endif
      }
    } while (__atomic_load_n(&m_spin, __ATOMIC_RELAXED) != 0);
    free_word = 0;
    if (__atomic_compare_exchange_n(&m_spin, &free_word, 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) return;
  }
}

inline void Nym_buffer::release_spin() const { __atomic_store_n(&m_spin, 0, __ATOMIC_RELEASE); }

Nym_buffer::Reader_thread* Nym_buffer::reader_entry(unsigned int thread) const {
  for (unsigned int i = 0; i < m_reader_slots_used; ++i) {
    if (m_reader_slots[i].thread == thread) return &m_reader_slots[i];
  }
  for (Reader_thread& entry : m_more_readers) {
    if (entry.thread == thread) return &entry;
  }
  return nullptr;
}

void Nym_buffer::read_lock() const {
  const unsigned int self = impl::current_thread_id();
  // A read inside this thread's own write: the write lock shuts everyone else out already,
  // and opening the group now would let other readers in beside the write.
  if (load_shared(m_writer_thread) == self) return;
  take_spin();
  // A writer is in: wait for it on its lock (never with the spin word held), then look again.
  while (load_shared(m_writer_thread) != 0) {
    release_spin();
    m_writer_lock.lock();
    m_writer_lock.unlock();
    take_spin();
  }
  Reader_thread* const entry = reader_entry(self);
  if (entry != nullptr) {
    ++entry->depth;
  } else if (m_reader_slots_used < READER_SLOTS) {
    m_reader_slots[m_reader_slots_used++] = Reader_thread{self, 1};
  } else {
    try {
      m_more_readers.push_back(Reader_thread{self, 1});
    } catch (...) {
      release_spin();
      throw;
    }
  }
  ++m_readers;
  release_spin();
}

void Nym_buffer::read_unlock() const {
  const unsigned int self = impl::current_thread_id();
  if (load_shared(m_writer_thread) == self) return;
  take_spin();
  Reader_thread* const entry = reader_entry(self);
  if (entry != nullptr && --entry->depth == 0) {
    // The last entry fills the gap, from the vector while it holds any. The usual reader is
    // the last entry itself and copies nothing: reading back the entry just written would stall
    // the path on a store that has not reached the cache.
    if (!m_more_readers.empty()) {
      if (entry != &m_more_readers.back()) *entry = m_more_readers.back();
      m_more_readers.pop_back();
    } else {
      const Reader_thread* const last = &m_reader_slots[--m_reader_slots_used];
      if (entry != last) *entry = *last;
    }
  }
  void* writer = nullptr;
  if (m_readers != 0 && --m_readers == 0) {
    writer = m_writer_waiter;
    m_writer_waiter = nullptr;
  }
  release_spin();
  if (writer != nullptr) impl::buffer_wake(writer);
}

void Nym_buffer::write_lock() const {
  const unsigned int self = impl::current_thread_id();
  if (load_shared(m_writer_thread) == self) {
    m_writer_lock.lock();
    ++m_writer_depth;
    return;
  }
  // A reader of this buffer would wait for itself to leave, for ever; looked at before the
  // writer lock, which another writer waiting for this reader may hold.
  take_spin();
  const bool reading = m_readers != 0 && reader_entry(self) != nullptr;
  release_spin();
  if (reading) throw std::logic_error("Nym_buffer::write_lock - this thread holds a read lock on the buffer.");
  m_writer_lock.lock();
  for (;;) {
    take_spin();
    if (m_readers == 0) {
      // Marked under the spin word, where readers count themselves in: from here no reader
      // enters until write_unlock.
      store_shared(m_writer_thread, std::uintptr_t{self});
      release_spin();
      break;
    }
    release_spin();
    wait_for_readers(self);
  }
  m_writer_depth = 1;
}

void Nym_buffer::write_unlock() const {
  if (m_writer_depth != 0 && --m_writer_depth == 0) store_shared(m_writer_thread, std::uintptr_t{0});
  m_writer_lock.unlock();
}

void Nym_buffer::wait_for_readers(std::uintptr_t self) const {
  void* waiter = new_waiter();
  if (waiter == nullptr) {
    impl::yield_processor();  // nobody could wake this thread: poll
    return;
  }
  // Only the thread that holds the writer lock gets here, so the slot is free.
  take_spin();
  const bool readers_in = m_readers != 0;
  if (readers_in) {
    m_writer_waiter = waiter;
    m_writer_waiter_thread = self;
  }
  release_spin();
  if (!readers_in) {
    impl::buffer_free_waiter(waiter);
    return;
  }
  impl::buffer_sleep(waiter);
  // Woken by something else than the last reader (another asynchronous call on Windows): the
  // waiter is still listed, and the caller looks again. Known by its thread, not by its value,
  // which a later writer's waiter may have once this one is freed.
  take_spin();
  const bool still_listed = m_writer_waiter != nullptr && m_writer_waiter_thread == self;
  if (still_listed) m_writer_waiter = nullptr;
  release_spin();
  if (still_listed) impl::buffer_discard_waiter(waiter);
}

void Nym_buffer::wait() const {
  void* waiter = new_waiter();
  if (waiter != nullptr) {
    bool listed = true;
    take_spin();
    try {
      m_waiters.push_back(waiter);
    } catch (const std::bad_alloc&) {
      listed = false;
    }
    release_spin();
    if (!listed) {
      impl::buffer_free_waiter(waiter);
      waiter = nullptr;
    }
  }
  read_unlock();
  if (waiter != nullptr) {
    impl::buffer_sleep(waiter);
  } else {
    impl::yield_processor();  // nobody could wake this thread: poll
  }
  read_lock();
}

void Nym_buffer::signal() const {
  for (void* waiter : m_waiters) impl::buffer_wake(waiter);
  m_waiters.clear();
}

uint64 Nym_buffer::read_of(const Nym_buffer& other, bool wait, int64& position, uint64 count, void* data,
                           Nym_status& status) {
  const uint64 asked = impl::count_within_positions(position, count);
  if (asked == 0 && count != 0) {
    status = NYM_S_END_OF_DATA;  // nothing lies beyond the last position
    return 0;
  }
  return impl::answered(other.read(wait, position, asked, data, status), asked);
}

bool Nym_buffer::read_in_place(int64&, uint64, const void*&, uint64&, Nym_status&) const { return false; }

bool Nym_buffer::read_in_place_of(const Nym_buffer& other, int64& position, uint64 count, const void*& data,
                                  uint64& got, Nym_status& status) {
  const uint64 asked = impl::count_within_positions(position, count);
  if (asked == 0 && count != 0) {
    if (!other.read_in_place(position, 0, data, got, status)) return false;
    got = 0;
    status = NYM_S_END_OF_DATA;  // nothing lies beyond the last position
    return true;
  }
  if (!other.read_in_place(position, asked, data, got, status)) return false;
  got = impl::answered(got, asked);
  return true;
}

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
      if (!wait_for_data(wait, status)) break;
    }
  } catch (...) {
    read_unlock();
    throw;
  }
  read_unlock();
  return n;
}

void Nym_buffer::write_contiguous(int64& position, uint64 count, const void* data, Nym_status& status,
                                  Contiguous_bytes bytes, Contiguous_resize resize, uint64 unit, uint64 limit) {
  status.clear();
  check_write_count(count);
  if (count == 0) return;
  write_lock();
  if (position < 0 || impl::count_within_positions(position, count) < count) {
    status = NYM_S_BAD_SEEK;
    status.push(NYM_S_WRITE_FAILED);
  } else if (static_cast<uint64>(position) + count > limit) {
    status = NYM_S_STRING_LIMIT;
    status.push(NYM_S_WRITE_FAILED);
  } else {
    try {
      const uint64 at = static_cast<uint64>(position) / unit;
      const uint64 end = at + count / unit;
      uint64 length = 0;
      void* start = const_cast<void*>(bytes(*this, length));
      if (end > length / unit) start = resize(*this, end);
      // Unaligned, and possibly the store's own bytes: a copy hands out a memory store's bytes in
      // place, and they may lie in this very string.
      std::memmove(static_cast<unsigned char*>(start) + at * unit, data, static_cast<std::size_t>(count));
      position += static_cast<int64>(count);
    } catch (...) {
      impl::status_from_exception(status, NYM_S_WRITE_FAILED);
    }
  }
  signal();
  write_unlock();
}

void Nym_buffer::seek_contiguous(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status,
                                 Contiguous_bytes bytes) const {
  uint64 length = 0;
  read_lock();
  bytes(*this, length);
  read_unlock();
  seek_within(mode, offset, position, static_cast<int64>(length), status);
}

void Nym_buffer::truncate_contiguous(int64 size, Nym_status& status, Contiguous_bytes bytes, Contiguous_resize resize,
                                     uint64 unit) {
  status.clear();
  // Under the write lock, so that no reader copies from the store while it shrinks.
  write_lock();
  uint64 length = 0;
  bytes(*this, length);
  if (size < 0 || static_cast<uint64>(size) > length / unit) {
    status = NYM_S_END_OF_DATA;
  } else {
    resize(*this, static_cast<uint64>(size));
  }
  write_unlock();
}

void Nym_buffer::check_write_count(uint64 count) {
  if (count > static_cast<uint64>(MAX_POSITION)) throw std::out_of_range("writing too many bytes to the buffer.");
}

}  // namespace nym
