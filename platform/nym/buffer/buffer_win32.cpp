// A reader asleep at the end of a buffer waits in an alertable sleep; the writer's signal
// queues an empty asynchronous call onto its thread, which ends the sleep. A call queued
// before the reader sleeps stays pending and ends the sleep at once, so no wake-up is lost.
#include <windows.h>

#include <new>

#include "buffer_platform.h"
#include "nym/buffer.h"

namespace nym {

namespace impl {

unsigned int buffer_processor_count() {
  DWORD_PTR process_mask = 0;
  DWORD_PTR system_mask = 0;
  if (!GetProcessAffinityMask(GetCurrentProcess(), &process_mask, &system_mask)) return 1;
  unsigned int count = 0;
  for (DWORD low = static_cast<DWORD>(process_mask); low != 0; low &= low - 1) ++count;
  return count == 0 ? 1 : count;
}

void buffer_yield() { Sleep(0); }

void buffer_discard_waiter(void* waiter) { CloseHandle(static_cast<HANDLE>(waiter)); }

}  // namespace impl

namespace {

void CALLBACK wake_reader(ULONG_PTR) {}

}  // namespace

void Nym_buffer::wait() const {
  HANDLE self = nullptr;
  if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &self, 0, FALSE,
                       DUPLICATE_SAME_ACCESS)) {
    // Without a handle nobody can wake this thread: poll.
    read_unlock();
    Sleep(0);
    read_lock();
    return;
  }
  take_spin();
  try {
    m_waiters.push_back(self);
  } catch (const std::bad_alloc&) {
    release_spin();
    CloseHandle(self);
    read_unlock();
    Sleep(0);
    read_lock();
    return;
  }
  release_spin();
  read_unlock();
  SleepEx(INFINITE, TRUE);
  read_lock();
}

void Nym_buffer::signal() const {
  for (void* waiter : m_waiters) {
    QueueUserAPC(wake_reader, static_cast<HANDLE>(waiter), 0);
    CloseHandle(static_cast<HANDLE>(waiter));
  }
  m_waiters.clear();
}

}  // namespace nym
