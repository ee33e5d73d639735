// Nym_read_write_semaphore: many readers or one writer, with per-thread bookkeeping; and
// Nym_read_lock, Nym_write_lock, its scoped holders.
//
// The semaphore knows which threads read and which thread writes, so both kinds of hold are
// recursive (each lock needs its own unlock), the writer may also read, the only reader may
// take the write lock without letting go (upgrade), and a writer that read-locks and then
// write-unlocks keeps reading while others may join it (downgrade). Its Nym_critical is held
// only for the bookkeeping, never in a wait; threads wait on two manual-reset events and try
// again when woken. There is no timed wait. Any thread may call any operation.
//
// Kept by design, and the caller's to avoid:
// - Two threads that both hold a read lock and both call write_lock wait for ever, each
//   seeing the other as a reader. Nothing detects it. Only one reader may upgrade: release
//   the read lock and call write_lock instead where another reader may upgrade too.
// - New readers get in whenever no writer holds the semaphore, whether writers wait or not,
//   so a stream of overlapping readers can starve a writer.
// - A thread that ends holding a read lock blocks every writer for ever (a write lock, too,
//   blocks everyone): holds are bookkept per thread id and are never taken back.
// - write_unlock does not ask who calls it: any thread may end the write hold.
//
// The only error of the class's own is write_unlock without a write hold, which raises
// std::logic_error "Nym_read_write_semaphore::write_unlock - there is no write lock". Failing
// events or critical section raise Nym_sys_call_fail; an allocation failure leaves as
// std::bad_alloc with nothing changed.
#ifndef NYM_READ_WRITE_SEMAPHORE_H
#define NYM_READ_WRITE_SEMAPHORE_H

#include <vector>

#include "nym/critical.h"
#include "nym/event.h"

namespace nym {

class NYM_API Nym_read_write_semaphore {
 public:
  // Room for `expected_readers` read holds is made at once, so that ordinary use does not
  // allocate.
  explicit Nym_read_write_semaphore(unsigned int expected_readers = 10);
  // Does nothing about holders or waiters: no thread may use the semaphore any more.
  ~Nym_read_write_semaphore();
  Nym_read_write_semaphore(const Nym_read_write_semaphore&) = delete;
  Nym_read_write_semaphore& operator=(const Nym_read_write_semaphore&) = delete;

  // Waits while another thread writes.
  void read_lock() const;
  // False when another thread writes; never waits.
  bool try_read_lock() const;
  // Drops one read hold of the calling thread; one that holds none changes nothing.
  void read_unlock() const;
  // Waits while another thread writes or any other thread reads.
  void write_lock();
  // False when another thread writes or any other thread reads; never waits.
  bool try_write_lock();
  // Drops one level of the write hold; at the last, readers and waiting writers may go on.
  void write_unlock();

 private:
  bool other_reader(unsigned int thread_id) const;
  void thread_waiting() const;

  mutable Nym_critical m_crit;
  Nym_event m_read_ok;   // readers wait on it while a writer holds
  Nym_event m_write_ok;  // writers wait on it
  mutable bool m_read_ok_set = true;  // the events' states, known under m_crit
  mutable bool m_write_ok_set = true;
  mutable std::vector<unsigned int> m_readers;  // one entry per read hold, thread ids
  unsigned int m_writer;                        // 0xFFFFFFFF: none
  unsigned int m_write_count;
  std::vector<unsigned int> m_waiting_writers;
};

// Holds a read lock for its lifetime.
class NYM_API Nym_read_lock {
 public:
  explicit Nym_read_lock(const Nym_read_write_semaphore& semaphore) : m_semaphore(&semaphore) { m_semaphore->read_lock(); }
  ~Nym_read_lock() { m_semaphore->read_unlock(); }
  Nym_read_lock(const Nym_read_lock&) = delete;
  Nym_read_lock& operator=(const Nym_read_lock&) = delete;

 private:
  const Nym_read_write_semaphore* m_semaphore;
};

// Holds the write lock for its lifetime.
class NYM_API Nym_write_lock {
 public:
  explicit Nym_write_lock(Nym_read_write_semaphore& semaphore) : m_semaphore(&semaphore) { m_semaphore->write_lock(); }
  ~Nym_write_lock() { m_semaphore->write_unlock(); }
  Nym_write_lock(const Nym_write_lock&) = delete;
  Nym_write_lock& operator=(const Nym_write_lock&) = delete;

 private:
  Nym_read_write_semaphore* m_semaphore;
};

}  // namespace nym

#endif
