// A thread asleep on a buffer waits in an alertable sleep; a wake queues an empty
// asynchronous call onto its thread, which ends the sleep. A call queued before the thread
// sleeps stays pending and ends the sleep at once, so no wake-up is lost. A waiter is a real
// handle of the sleeping thread, owned by the list that holds it.
#include <windows.h>

#include "buffer_platform.h"

namespace nym::impl {

namespace {

void CALLBACK wake_thread(ULONG_PTR) {}

}  // namespace

unsigned int buffer_processor_count() {
  DWORD_PTR process_mask = 0;
  DWORD_PTR system_mask = 0;
  if (!GetProcessAffinityMask(GetCurrentProcess(), &process_mask, &system_mask)) return 1;
  unsigned int count = 0;
  for (DWORD low = static_cast<DWORD>(process_mask); low != 0; low &= low - 1) ++count;
  return count == 0 ? 1 : count;
}

void* buffer_new_waiter() {
  HANDLE self = nullptr;
  if (!DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &self, 0, FALSE,
                       DUPLICATE_SAME_ACCESS)) {
    return nullptr;
  }
  return self;
}

void buffer_free_waiter(void* waiter) { CloseHandle(static_cast<HANDLE>(waiter)); }

void buffer_sleep(void*) { SleepEx(INFINITE, TRUE); }

void buffer_wake(void* waiter) {
  QueueUserAPC(wake_thread, static_cast<HANDLE>(waiter), 0);
  CloseHandle(static_cast<HANDLE>(waiter));
}

void buffer_discard_waiter(void* waiter) { CloseHandle(static_cast<HANDLE>(waiter)); }

}  // namespace nym::impl
