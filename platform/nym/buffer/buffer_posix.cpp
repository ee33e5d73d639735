// The host's hand-over between the writer and sleeping readers. Each sleeping reader
// registers a waiter of its own under its read lock; signal marks every waiter woken and
// empties the list. The mark is kept in the waiter, so a signal that comes before the reader
// sleeps is not lost. A waiter is shared by the reader and the list and freed by the last.
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>

#include "buffer_platform.h"
#include "nym/buffer.h"

namespace nym {

namespace {

struct Waiter {
  std::mutex mutex;
  std::condition_variable woken_up;
  bool woken = false;
  std::atomic<int> holders{2};  // the sleeping reader and the list
};

void release(Waiter* waiter) {
  if (waiter->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete waiter;
}

void wake(Waiter* waiter) {
  {
    std::lock_guard<std::mutex> hold(waiter->mutex);
    waiter->woken = true;
  }
  waiter->woken_up.notify_all();
}

}  // namespace

namespace impl {

unsigned int buffer_processor_count() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count < 1 ? 1u : static_cast<unsigned int>(count);
}

void buffer_yield() { sched_yield(); }

void buffer_discard_waiter(void* waiter) {
  wake(static_cast<Waiter*>(waiter));
  release(static_cast<Waiter*>(waiter));
}

}  // namespace impl

void Nym_buffer::wait() const {
  Waiter* waiter = new (std::nothrow) Waiter;
  bool registered = false;
  if (waiter != nullptr) {
    take_spin();
    try {
      m_waiters.push_back(waiter);
      registered = true;
    } catch (const std::bad_alloc&) {
    }
    release_spin();
  }
  if (!registered) {
    // Nobody could wake this thread: poll.
    delete waiter;
    read_unlock();
    sched_yield();
    read_lock();
    return;
  }
  read_unlock();
  {
    std::unique_lock<std::mutex> hold(waiter->mutex);
    waiter->woken_up.wait(hold, [waiter] { return waiter->woken; });
  }
  release(waiter);
  read_lock();
}

void Nym_buffer::signal() const {
  for (void* entry : m_waiters) {
    wake(static_cast<Waiter*>(entry));
    release(static_cast<Waiter*>(entry));
  }
  m_waiters.clear();
}

}  // namespace nym
