// Nym_thread's system side on Windows: the runtime's thread creation, waits, the component
// runtime, and the control operations.
#include "nym/thread.h"

#include <objbase.h>
#include <process.h>
#include <windows.h>

#include <mutex>
#include <stdexcept>

#include "nym/exception.h"
#include "nym/security.h"
#include "thread/thread_platform.h"

namespace nym {

namespace impl {

void* thread_attributes(Nym_security* security) {
  return security != nullptr ? security->security_attributes(false) : nullptr;
}

void* thread_create(void* security_attributes, unsigned (*entry)(void*), void* argument, unsigned int* thread_id) {
  return reinterpret_cast<void*>(_beginthreadex(security_attributes, 0, entry, argument, 0, thread_id));
}

void thread_close(void* handle) noexcept { CloseHandle(handle); }

Thread_wait thread_wait(void* handle, unsigned int timeout, unsigned int& error) {
  switch (WaitForSingleObject(handle, timeout)) {
    case WAIT_OBJECT_0:
      return Thread_wait::ended;
    case WAIT_FAILED:
      error = GetLastError();
      return Thread_wait::failed;
    default:
      return Thread_wait::timed_out;
  }
}

void thread_take_faults() { nym_install_exception_translator(); }

// S_FALSE (initialised already) counts as failure too.
bool thread_init_com(int model) {
  return CoInitializeEx(nullptr, model == NYM_THREAD_COM_APARTMENT ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED) ==
         S_OK;
}

void thread_sleep(unsigned int milliseconds) { Sleep(milliseconds); }

}  // namespace impl

namespace {

using Guard = std::lock_guard<Nym_critical>;

}  // namespace

// Under both registry locks, so that the thread can't be stopped inside either: a thread
// suspended there would hold up every start and end until resumed.
void Nym_thread::suspend(Nym_status& status) {
  status.clear();
  impl::Thread_registry& registry = impl::thread_registry();
  const Guard life(registry.life_lock);
  const Guard map(registry.map_lock);
  if (m_thread_id == nym_current_thread_id() || m_ended || SuspendThread(m_handle) == static_cast<DWORD>(-1)) {
    status = NYM_S_THREAD_SUSPEND_FAILED;
    return;
  }
  m_state.store(NYM_THREAD_SUSPENDED, std::memory_order_release);
}

// Under the locks too, so that a thread that is let go and ends at once finds its state
// RUNNING in its ending steps, and becomes FINISHED.
void Nym_thread::resume(Nym_status& status) {
  status.clear();
  impl::Thread_registry& registry = impl::thread_registry();
  const Guard life(registry.life_lock);
  const Guard map(registry.map_lock);
  if (m_thread_id == nym_current_thread_id() || ResumeThread(m_handle) == static_cast<DWORD>(-1)) {
    status = NYM_S_THREAD_RESUME_FAILED;
    return;
  }
  m_state.store(NYM_THREAD_RUNNING, std::memory_order_release);
}

// Both registry locks, in their order: a thread ended while it held one would leave it held
// for ever, and every later start and end would hang.
void Nym_thread::kill(Nym_status& status) {
  status.clear();
  if (m_thread_id == nym_current_thread_id()) throw std::logic_error("Nym_thread::kill - cannot kill current thread");
  impl::Thread_registry& registry = impl::thread_registry();
  const Guard life(registry.life_lock);
  const Guard map(registry.map_lock);
  const auto it = registry.map.find(m_thread_id);
  if (it != registry.map.end() && it->second == this) registry.map.erase(it);
  if (m_ended) return;  // on its way out through the runtime and the loader: ending it there could hang them
  if (!TerminateThread(m_handle, 0)) {
    status = NYM_S_THREAD_KILL_FAILED;
    return;
  }
  m_state.store(NYM_THREAD_KILLED, std::memory_order_release);
}

void Nym_thread::set_priority(Nym_thread_priority priority, Nym_status& status) const {
  static const int VALUES[] = {THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_NORMAL,
                               THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_LOWEST};
  status.clear();
  const unsigned int index = static_cast<unsigned int>(priority);
  if (index >= sizeof VALUES / sizeof VALUES[0]) {
    status = NYM_S_THREAD_BAD_PRIORITY;
    return;
  }
  if (!SetThreadPriority(m_handle, VALUES[index])) status = NYM_S_THREAD_PRIORITY_FAILED;
}

void Nym_thread::add_security(Nym_security& security, Nym_status& status) {
  status.clear();
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, m_handle, status);
}

}  // namespace nym
