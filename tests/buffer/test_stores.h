// What the buffer tests need of the stores: any store with its protected operations opened up
// and its sleeps, signals and locks counted, and a functor that hands its bytes out a few at a
// time, as a pipe or a socket would.
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

template <class Store>
class Open : public Store {
 public:
  using Store::Store;

  nym::uint64 read_at(bool wait, nym::int64& position, nym::uint64 count, void* data, nym::Nym_status& status) const {
    return this->read(wait, position, count, data, status);
  }
  void write_at(nym::int64& position, nym::uint64 count, const void* data, nym::Nym_status& status) {
    this->write(position, count, data, status);
  }
  void seek_at(nym::Nym_seek_mode mode, nym::int64 offset, nym::int64& position, nym::Nym_status& status) const {
    this->seek(mode, offset, position, status);
  }
  void truncate_to(nym::int64 size, nym::Nym_status& status) { this->truncate(size, status); }
  void lock_for_reading() const { this->read_lock(); }
  void unlock_for_reading() const { this->read_unlock(); }
  void lock_for_writing() const { this->write_lock(); }
  void unlock_for_writing() const { this->write_unlock(); }
  // Everything from `position` on, without blocking; stops at the first error.
  std::string read_all(nym::int64 position, nym::Nym_status& status) const {
    std::string all;
    char chunk[7];
    for (;;) {
      const nym::uint64 n = this->read(false, position, sizeof chunk, chunk, status);
      if (status.is_error() || n == 0) break;
      all.append(chunk, n);
    }
    return all;
  }

  int signals() const { return m_signals.load(); }
  int sleeping() const { return m_sleeping.load(); }       // readers inside wait() now
  int readers_inside() const { return m_inside.load(); }   // held readers inside the read lock
  int writers_at_lock() const { return m_at_lock.load(); }  // writers inside write_lock() now
  int writers_arrived() const { return m_arrived.load(); }  // calls of write_lock() so far
  int writes_beside_readers() const { return m_breaches.load(); }
  // While set, every read waits inside the read lock, so that readers are seen sharing it.
  void hold_reads(bool hold) { m_hold.store(hold); }

 protected:
  nym::uint64 read(bool wait, nym::int64& position, nym::uint64 count, void* data,
                   nym::Nym_status& status) const override {
    if (!m_hold.load()) return Store::read(wait, position, count, data, status);
    this->read_lock();
    ++m_inside;
    while (m_hold.load()) std::this_thread::yield();
    const nym::uint64 n = Store::read(false, position, count, data, status);
    --m_inside;
    this->read_unlock();
    return n;
  }
  void write_lock() const override {
    ++m_arrived;
    ++m_at_lock;
    Store::write_lock();
    if (m_inside.load() != 0) ++m_breaches;
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
  mutable std::atomic<int> m_signals{0};
  mutable std::atomic<int> m_sleeping{0};
  mutable std::atomic<int> m_inside{0};
  mutable std::atomic<int> m_at_lock{0};
  mutable std::atomic<int> m_arrived{0};
  mutable std::atomic<int> m_breaches{0};
  std::atomic<bool> m_hold{false};
};

// Gives at most `step` bytes a read (0 makes a broken store that gives nothing and no error).
// Counts its destruction and its truncations.
class Trickle_functor : public nym::Nym_buffer_functor {
 public:
  Trickle_functor(std::string bytes, nym::uint64 step, std::atomic<int>* destroyed = nullptr)
      : m_bytes(std::move(bytes)), m_step(step), m_destroyed(destroyed) {}
  ~Trickle_functor() override {
    if (m_destroyed != nullptr) ++*m_destroyed;
  }

  nym::uint64 read(bool wait, nym::int64& position, nym::uint64 count, void* data, nym::Nym_status& status) override {
    status.clear();
    m_last_wait = wait;
    if (m_step == 0) return 0;
    if (position < 0 || position >= static_cast<nym::int64>(m_bytes.size())) {
      status = nym::NYM_S_END_OF_DATA;
      return 0;
    }
    const nym::uint64 n = std::min({count, m_step, static_cast<nym::uint64>(m_bytes.size() - position)});
    std::memcpy(data, m_bytes.data() + position, n);
    position += static_cast<nym::int64>(n);
    return n;
  }
  nym::int64 size() override { return static_cast<nym::int64>(m_bytes.size()); }
  void truncate(nym::int64 size, nym::Nym_status& status) override {
    status.clear();
    m_bytes.resize(static_cast<std::size_t>(size));
    ++m_truncations;
  }

  bool last_wait() const { return m_last_wait; }
  int truncations() const { return m_truncations; }
  const std::string& bytes() const { return m_bytes; }

 private:
  std::string m_bytes;
  nym::uint64 m_step;
  std::atomic<int>* m_destroyed;
  bool m_last_wait = false;
  int m_truncations = 0;
};

// A store of fixed bytes read through a function store, `step` bytes a read.
inline std::unique_ptr<nym::Nym_func_buffer> trickle(const std::string& bytes, nym::uint64 step) {
  return std::make_unique<nym::Nym_func_buffer>(new Trickle_functor(bytes, step));
}

// Spins (yielding) until `condition` holds; the watchdog ends a test that would wait for ever.
template <class Condition>
void until(Condition condition) {
  while (!condition()) std::this_thread::yield();
}

}  // namespace nym_test

#endif
