// Nym_thread's system side on the host: a POSIX thread and a small shared record that stands for
// the thread's handle (its identifier, whether it ended, and a condition to wait on). Closing
// the handle joins a thread that has ended and detaches one that runs on, so that no ended
// thread lingers. There is no component runtime and no hardware-fault translation here.
#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "base/current_thread.h"
#include "thread/thread_platform.h"

namespace nym::impl {

namespace {

struct Host_thread {
  unsigned (*entry)(void*);
  void* argument;
  pthread_t thread{};
  std::mutex mutex;
  std::condition_variable changed;
  unsigned int id = 0;
  bool ended = false;
  std::atomic<int> owners{2};  // the thread and the handle
};

void release(Host_thread* thread) {
  if (thread->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) delete thread;
}

void* trampoline(void* raw) {
  Host_thread* const thread = static_cast<Host_thread*>(raw);
  {
    std::lock_guard<std::mutex> hold(thread->mutex);
    thread->id = current_thread_id();
  }
  thread->changed.notify_all();
  thread->entry(thread->argument);
  {
    std::lock_guard<std::mutex> hold(thread->mutex);
    thread->ended = true;
  }
  thread->changed.notify_all();
  release(thread);
  return nullptr;
}

}  // namespace

void* thread_attributes(Nym_security*) { return nullptr; }

// The identifier is the kernel's, known only inside the thread: wait until it has told it.
void* thread_create(void*, unsigned (*entry)(void*), void* argument, unsigned int* thread_id) {
  Host_thread* const thread = new Host_thread{entry, argument, {}, {}, {}};
  const int error = pthread_create(&thread->thread, nullptr, trampoline, thread);
  if (error != 0) {
    delete thread;
    errno = error;
    return nullptr;
  }
  std::unique_lock<std::mutex> hold(thread->mutex);
  thread->changed.wait(hold, [&] { return thread->id != 0; });
  *thread_id = thread->id;
  return thread;
}

void thread_close(void* handle) noexcept {
  Host_thread* const thread = static_cast<Host_thread*>(handle);
  const pthread_t system_thread = thread->thread;
  bool ended = false;
  {
    std::lock_guard<std::mutex> hold(thread->mutex);
    ended = thread->ended;
  }
  release(thread);
  if (ended) {
    pthread_join(system_thread, nullptr);  // it is past its function: this ends at once
  } else {
    pthread_detach(system_thread);
  }
}

Thread_wait thread_wait(void* handle, unsigned int timeout, unsigned int&) {
  Host_thread* const thread = static_cast<Host_thread*>(handle);
  std::unique_lock<std::mutex> hold(thread->mutex);
  if (timeout == 0xFFFFFFFFu) {
    thread->changed.wait(hold, [&] { return thread->ended; });
    return Thread_wait::ended;
  }
  return thread->changed.wait_for(hold, std::chrono::milliseconds(timeout), [&] { return thread->ended; })
             ? Thread_wait::ended
             : Thread_wait::timed_out;
}

void thread_take_faults() {}

bool thread_init_com(int) { return true; }

void thread_sleep(unsigned int milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
  } else {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  }
}

}  // namespace nym::impl
