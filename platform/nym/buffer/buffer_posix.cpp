// The host's hand-over between the writer and sleeping readers. A waiter is a flag, a mutex
// and a condition; wake sets the flag, so a wake before the sleep is kept. A listed waiter is
// shared by the sleeping thread and the list and freed by the last of them.
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <new>

#include "buffer_platform.h"

namespace nym::impl {

namespace {

struct Waiter {
  std::mutex mutex;
  std::condition_variable woken_up;
  bool woken = false;
  std::atomic<int> holders{2};  // the sleeping thread and the list
};

void release(Waiter* waiter) {
  if (waiter->holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete waiter;
}

}  // namespace

unsigned int buffer_processor_count() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count < 1 ? 1u : static_cast<unsigned int>(count);
}

void* buffer_new_waiter() { return new (std::nothrow) Waiter; }

void buffer_free_waiter(void* waiter) { delete static_cast<Waiter*>(waiter); }

void buffer_sleep(void* entry) {
  auto* waiter = static_cast<Waiter*>(entry);
  {
    std::unique_lock<std::mutex> hold(waiter->mutex);
    waiter->woken_up.wait(hold, [waiter] { return waiter->woken; });
  }
  release(waiter);
}

void buffer_wake(void* entry) {
  auto* waiter = static_cast<Waiter*>(entry);
  {
    std::lock_guard<std::mutex> hold(waiter->mutex);
    waiter->woken = true;
  }
  waiter->woken_up.notify_all();
  release(waiter);
}

void buffer_discard_waiter(void* waiter) { buffer_wake(waiter); }

}  // namespace nym::impl
