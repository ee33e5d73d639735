// The read side of Nym_read_write_semaphore beside SRWLOCK shared and std::shared_mutex (one
// reader, and two readers at once), and a message handed from one producer thread to one
// consumer thread through Nym_message_queue beside a std::mutex + std::condition_variable queue.
#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <shared_mutex>

#if defined(_WIN32)
#include <windows.h>

#include "nym/message_queue.h"
#endif
#include "nym/read_write_semaphore.h"

using namespace nym;

namespace {

Nym_read_write_semaphore g_rw;
std::shared_mutex g_shared_mutex;
long long g_value = 0;

}  // namespace

static void BM_nym_read_write_semaphore_read(benchmark::State& state) {
  for (auto _ : state) {
    g_rw.read_lock();
    benchmark::DoNotOptimize(g_value);
    g_rw.read_unlock();
  }
}
BENCHMARK(BM_nym_read_write_semaphore_read)->Threads(1)->Threads(2)->UseRealTime();

static void BM_std_shared_mutex_read(benchmark::State& state) {
  for (auto _ : state) {
    g_shared_mutex.lock_shared();
    benchmark::DoNotOptimize(g_value);
    g_shared_mutex.unlock_shared();
  }
}
BENCHMARK(BM_std_shared_mutex_read)->Threads(1)->Threads(2)->UseRealTime();

#if defined(_WIN32)
namespace {

SRWLOCK g_srw = SRWLOCK_INIT;

// The peer queue: a deque of the same three values under a mutex, with a condition to wait on.
class Std_queue {
 public:
  void add_message(unsigned int id, void* data, unsigned int value) {
    {
      std::lock_guard<std::mutex> hold(m_mutex);
      m_messages.push_back({id, data, value});
    }
    m_added.notify_one();
  }
  unsigned int wait_for_message(void*& data, unsigned int& value) {
    std::unique_lock<std::mutex> hold(m_mutex);
    m_added.wait(hold, [&] { return !m_messages.empty(); });
    const Message m = m_messages.front();
    m_messages.pop_front();
    data = m.data;
    value = m.value;
    return m.id;
  }

 private:
  struct Message {
    unsigned int id;
    void* data;
    unsigned int value;
  };
  std::mutex m_mutex;
  std::condition_variable m_added;
  std::deque<Message> m_messages;
};

Nym_message_queue g_queue;
Std_queue g_std_queue;

}  // namespace

static void BM_srwlock_shared_read(benchmark::State& state) {
  for (auto _ : state) {
    AcquireSRWLockShared(&g_srw);
    benchmark::DoNotOptimize(g_value);
    ReleaseSRWLockShared(&g_srw);
  }
}
BENCHMARK(BM_srwlock_shared_read)->Threads(1)->Threads(2)->UseRealTime();

// Thread 0 posts and thread 1 takes, as many messages as iterations; both run the same count.
static void BM_nym_message_queue_post_get(benchmark::State& state) {
  void* data = nullptr;
  unsigned int value = 0;
  for (auto _ : state) {
    if (state.thread_index() == 0) {
      g_queue.add_message(1, &value, 2);
    } else {
      benchmark::DoNotOptimize(g_queue.wait_for_message(Nym_message_queue::FOREVER, data, value));
    }
  }
}
BENCHMARK(BM_nym_message_queue_post_get)->Threads(2)->UseRealTime();

static void BM_std_queue_post_get(benchmark::State& state) {
  void* data = nullptr;
  unsigned int value = 0;
  for (auto _ : state) {
    if (state.thread_index() == 0) {
      g_std_queue.add_message(1, &value, 2);
    } else {
      benchmark::DoNotOptimize(g_std_queue.wait_for_message(data, value));
    }
  }
}
BENCHMARK(BM_std_queue_post_get)->Threads(2)->UseRealTime();
#endif
