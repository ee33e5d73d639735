// Any store with its protected operations opened up and its sleeps, signals and locks counted, and
// a functor that hands its bytes out a few at a time, as a pipe or a socket would.
#ifndef NYM_TEST_STORES_H
#define NYM_TEST_STORES_H

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "nym/func_buffer.h"

namespace nym_test {

using nym::int64;
using nym::uint64;

template <class Store>
class Open : public Store {
 public:
  using Store::Store;

  uint64 read_at(bool wait, int64& position, uint64 count, void* data, nym::Nym_status& status) const {
    return this->read(wait, position, count, data, status);
  }
  void write_at(int64& position, uint64 count, const void* data, nym::Nym_status& status) {
    this->write(position, count, data, status);
  }
  void seek_at(nym::Nym_seek_mode mode, int64 offset, int64& position, nym::Nym_status& status) const {
    this->seek(mode, offset, position, status);
  }
  void truncate_to(int64 size, nym::Nym_status& status) { this->truncate(size, status); }
  void lock_for_reading() const { this->read_lock(); }
  void unlock_for_reading() const { this->read_unlock(); }
  void lock_for_writing() const { this->write_lock(); }
  void unlock_for_writing() const { this->write_unlock(); }
  // Everything from `position` on, without blocking; stops at the first error.
  std::string read_all(int64 position, nym::Nym_status& status) const {
    std::string all;
    char chunk[7];
    for (uint64 n; (n = this->read(false, position, sizeof chunk, chunk, status)) != 0 && !status.is_error();) {
      all.append(chunk, n);
    }
    return all;
  }

  int signals() const { return m_signals; }                  // one a write
  int sleeping() const { return m_sleeping; }                // readers inside wait() now
  int readers_inside() const { return m_inside; }            // held readers inside the read lock
  int readers_arrived() const { return m_read_arrived; }     // calls of read_lock() so far
  int writers_arrived() const { return m_arrived; }          // calls of write_lock() so far
  int writers_at_lock() const { return m_at_lock; }          // writers inside write_lock() now
  // While set, every read waits inside the read lock, so that readers are seen sharing it.
  void hold_reads(bool hold) { m_hold = hold; }

 protected:
  uint64 read(bool wait, int64& position, uint64 count, void* data, nym::Nym_status& status) const override {
    if (!m_hold) return Store::read(wait, position, count, data, status);
    this->read_lock();
    ++m_inside;
    while (m_hold) std::this_thread::yield();
    const uint64 n = Store::read(false, position, count, data, status);
    --m_inside;
    this->read_unlock();
    return n;
  }
  void read_lock() const override {
    ++m_read_arrived;
    Store::read_lock();
  }
  void write_lock() const override {
    ++m_arrived;
    ++m_at_lock;
    Store::write_lock();
    --m_at_lock;
  }
  void wait() const override {
    ++m_sleeping;
    Store::wait();
    --m_sleeping;
  }
  void signal() const override {
    ++m_signals;
    Store::signal();
  }

 private:
  mutable std::atomic<int> m_signals{0}, m_sleeping{0}, m_inside{0}, m_read_arrived{0}, m_arrived{0}, m_at_lock{0};
  std::atomic<bool> m_hold{false};
};

// Gives at most `step` bytes a read (0 makes a broken store that gives nothing and no error),
// claims `extra` bytes more than it gave, and fails with a read error from `fail_at` on.
class Trickle_functor : public nym::Nym_buffer_functor {
 public:
  Trickle_functor(std::string bytes, uint64 step, uint64 extra = 0, uint64 fail_at = ~uint64{0})
      : m_bytes(std::move(bytes)), m_step(step), m_extra(extra), m_fail_at(fail_at) {}
  uint64 read(bool, int64& position, uint64 count, void* data, nym::Nym_status& status) override {
    status.clear();
    ++reads;
    if (m_step == 0) return 0;
    if (position < 0 || position >= static_cast<int64>(m_bytes.size())) {
      status = nym::NYM_S_END_OF_DATA;
      return 0;
    }
    if (static_cast<uint64>(position) >= m_fail_at) {
      status = nym::NYM_S_READ_FAILED;
      return 0;
    }
    const uint64 n = std::min({count, m_step, static_cast<uint64>(m_bytes.size() - position), m_fail_at - position});
    std::memcpy(data, m_bytes.data() + position, n);
    position += static_cast<int64>(n);
    return n + m_extra;
  }
  int64 size() override { return static_cast<int64>(m_bytes.size()); }
  void truncate(int64, nym::Nym_status& status) override { status.clear(); }
  int reads = 0;

 private:
  std::string m_bytes;
  uint64 m_step;
  uint64 m_extra;
  uint64 m_fail_at;
};

// A store of fixed bytes read through a function store, `step` bytes a read.
inline std::unique_ptr<nym::Nym_func_buffer> trickle(const std::string& bytes, uint64 step, uint64 extra = 0,
                                                     uint64 fail_at = ~uint64{0}) {
  return std::make_unique<nym::Nym_func_buffer>(new Trickle_functor(bytes, step, extra, fail_at));
}

// `size` bytes that repeat no short period, so that a byte out of place shows.
inline std::string pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + i / 251) & 0xFF);
  return bytes;
}

// Spins (yielding) until `condition` holds; the watchdog ends a test that would wait for ever.
template <class Condition>
void until(Condition condition) {
  while (!condition()) std::this_thread::yield();
}

}  // namespace nym_test

#endif
