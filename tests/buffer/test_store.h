// A store on the buffer contract for the tests: bytes in a vector, read and written under the
// base class's locks, with blocking readers. Also counts its signals, so tests can see them.
#ifndef NYM_TEST_STORE_H
#define NYM_TEST_STORE_H

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "nym/buffer.h"

namespace nym_test {

class Test_store : public nym::Nym_buffer {
 public:
  Test_store() = default;
  explicit Test_store(const std::string& bytes) : m_bytes(bytes.begin(), bytes.end()) {}

  // The protected operations, for the tests.
  nym::uint64 read_at(bool wait, nym::int64& position, nym::uint64 count, void* data, nym::Nym_status& status) const {
    return read(wait, position, count, data, status);
  }
  void write_at(nym::int64& position, nym::uint64 count, const void* data, nym::Nym_status& status) {
    write(position, count, data, status);
  }
  void append(const std::string& bytes) {
    nym::Nym_status status;
    nym::int64 position = m_end.load();
    write(position, bytes.size(), bytes.data(), status);
  }
  void seek_at(nym::Nym_seek_mode mode, nym::int64 offset, nym::int64& position, nym::Nym_status& status) const {
    seek(mode, offset, position, status);
  }
  void lock_for_reading() const { read_lock(); }
  void unlock_for_reading() const { read_unlock(); }
  int signals() const { return m_signals.load(); }
  // Readers inside wait() at this moment (registered, or about to be).
  int sleeping() const { return m_sleeping.load(); }
  // Readers inside read() at this moment.
  int readers_inside() const { return m_inside.load(); }
  // Holds every read inside the lock until released, to show readers sharing it.
  void hold_reads(bool hold) { m_hold.store(hold); }

 protected:
  nym::uint64 read(bool wait, nym::int64& position, nym::uint64 count, void* data,
                   nym::Nym_status& status) const override {
    status.clear();
    read_lock();
    ++m_inside;
    while (m_hold.load()) std::this_thread::yield();
    nym::uint64 n = 0;
    for (;;) {
      const auto end = static_cast<nym::int64>(m_bytes.size());
      if (position < 0) {
        status = nym::NYM_S_READ_FAILED;
        break;
      }
      if (position < end) {
        n = std::min<nym::uint64>(count, static_cast<nym::uint64>(end - position));
        std::memcpy(data, m_bytes.data() + position, n);
        position += static_cast<nym::int64>(n);
        break;
      }
      if (!wait || !has_writer()) {
        status = nym::NYM_S_END_OF_DATA;
        break;
      }
      this->wait();
    }
    --m_inside;
    read_unlock();
    return n;
  }

  void write(nym::int64& position, nym::uint64 count, const void* data, nym::Nym_status& status) override {
    check_write_count(count);
    status.clear();
    // The second test only tells the compiler what check_write_count has made sure of.
    if (count == 0 || count > static_cast<nym::uint64>(std::numeric_limits<nym::int64>::max())) return;
    write_lock();
    const auto end = static_cast<std::size_t>(position) + count;
    if (m_bytes.size() < end) m_bytes.resize(end, 0);
    std::memcpy(m_bytes.data() + position, data, count);
    position += static_cast<nym::int64>(count);
    m_end.store(static_cast<nym::int64>(m_bytes.size()));
    signal();
    write_unlock();
  }

  void seek(nym::Nym_seek_mode mode, nym::int64 offset, nym::int64& position, nym::Nym_status& status) const override {
    read_lock();
    const auto end = static_cast<nym::int64>(m_bytes.size());
    read_unlock();
    seek_within(mode, offset, position, end, status);
  }

  void wait() const override {
    ++m_sleeping;
    Nym_buffer::wait();
    --m_sleeping;
  }
  void signal() const override {
    ++m_signals;
    Nym_buffer::signal();
  }

  void truncate(nym::int64 size, nym::Nym_status& status) override {
    status.clear();
    write_lock();
    if (size < 0 || static_cast<std::size_t>(size) > m_bytes.size()) {
      status = nym::NYM_S_END_OF_DATA;
    } else {
      m_bytes.resize(static_cast<std::size_t>(size));
      m_end.store(size);
    }
    write_unlock();
  }

 private:
  std::vector<unsigned char> m_bytes;
  std::atomic<nym::int64> m_end{static_cast<nym::int64>(m_bytes.size())};
  mutable std::atomic<int> m_signals{0};
  mutable std::atomic<int> m_inside{0};
  mutable std::atomic<int> m_sleeping{0};
  std::atomic<bool> m_hold{false};
};

}  // namespace nym_test

#endif
