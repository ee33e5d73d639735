// The Windows-only side of Nym_thread: suspend, resume, kill, priority, security and hardware
// faults. Built with -fnon-call-exceptions, so that a fault in a thread's
// function can arrive as an exception.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>

#include "nym/acl.h"
#include "nym/event.h"
#include "nym/security.h"
#include "nym/thread.h"
#include "test_helpers.h"

using namespace nym;

namespace {

// The gates are kernel events: a thread that waits on one may be ended at any moment.
void wait_at_gate(void* gate) { static_cast<Nym_event*>(gate)->wait(60000); }

void returns_at_once(void*) {}

// A new thread starts and ends: no registry lock was left held.
bool starts_and_ends() {
  Nym_status status;
  Nym_thread thread(returns_at_once, nullptr, status);
  return status.ok() && thread.wait(20000, status) && thread.state() == NYM_THREAD_FINISHED;
}

// The text of the exception the thread's function ended with.
std::string failure_text(const Nym_thread& thread) {
  Nym_status failed;
  thread.get_failed_status(failed);
  Wstring text;
  if (failed == NYM_S_THREAD_EXCEPTION) (*failed.begin())->to_string(text);
  return nym_test::utf8(text);
}

// While it lives, the next thread to pass `point` stops there until `proceed`, after telling
// `arrived`.
struct Hook_stop;
Hook_stop* g_stop = nullptr;
struct Hook_stop {
  std::atomic<unsigned int> point;
  Nym_event arrived, proceed;
  impl::Nym_thread_hook previous;
  explicit Hook_stop(unsigned int at) : point(at) {
    g_stop = this;
    previous = impl::nym_set_thread_hook([](unsigned int reached) {
      if (g_stop->point.compare_exchange_strong(reached, 0xFFFFFFFFu)) {
        g_stop->arrived.signal();
        g_stop->proceed.wait(20000);
      }
    });
  }
  ~Hook_stop() {
    impl::nym_set_thread_hook(previous);
    proceed.signal();
  }
};

// Kills `target` from another thread while a thread is stopped in the registry's locks: the kill
// waits until it goes on, then succeeds, and the target ends.
void expect_kill_to_wait(Nym_thread& target, Hook_stop& stop) {
  ASSERT_TRUE(stop.arrived.wait(20000));
  Nym_status status;
  auto killed = std::async(std::launch::async, [&] { target.kill(status); });
  EXPECT_NE(killed.wait_for(std::chrono::milliseconds(100)), std::future_status::ready) << "killed inside the locks";
  stop.proceed.signal();
  EXPECT_EQ(killed.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  EXPECT_TRUE(status.is_clear());
  EXPECT_TRUE(target.wait(20000, status));
}

}  // namespace

// On one waiting thread: its priorities, suspend and resume (seen in the system's suspend count),
// and at last kill.
TEST(ThreadControlTest, PrioritySuspendAndKillActOnTheThreadsHandle) {
  Nym_event gate;
  Nym_status status;
  Nym_thread thread(wait_at_gate, &gate, status);
  HANDLE handle = OpenThread(THREAD_QUERY_INFORMATION | THREAD_SUSPEND_RESUME, FALSE, thread.thread_id());
  for (int p = 0; p < 5; ++p) {  // from THREAD_PRIORITY_HIGHEST (2) down
    thread.set_priority(static_cast<Nym_thread_priority>(p), status);
    EXPECT_TRUE(status.is_clear() && GetThreadPriority(handle) == 2 - p) << p;
  }
  thread.set_priority(static_cast<Nym_thread_priority>(5), status);
  EXPECT_EQ(status, NYM_S_THREAD_BAD_PRIORITY);
  EXPECT_EQ(GetThreadPriority(handle), THREAD_PRIORITY_LOWEST);

  for (bool suspend : {true, false}) {
    suspend ? thread.suspend(status) : thread.resume(status);
    EXPECT_TRUE(status.is_clear());
    EXPECT_EQ(thread.state(), suspend ? NYM_THREAD_SUSPENDED : NYM_THREAD_RUNNING);
    EXPECT_EQ(SuspendThread(handle), suspend ? 1u : 0u);
    ResumeThread(handle);
  }
  CloseHandle(handle);

  Nym_security security;
  thread.add_security(security, status);
  std::unique_ptr<Nym_acl> acl(security.get_disc_acl(status));
  EXPECT_TRUE(status.ok() && acl != nullptr) << "the thread's own list is read through its handle";

  const unsigned int id = thread.thread_id();
  thread.kill(status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(thread.state(), NYM_THREAD_KILLED);
  EXPECT_TRUE(thread.wait(20000, status));
  EXPECT_EQ(nym_thread_object(id), nullptr);
}

// The thread's apartment is the one asked for: asking for the other model in the thread is
// refused, asking again for the same says it is there already.
TEST(ThreadControlTest, TheComponentRuntimeIsInitialisedAsAsked) {
  const HRESULT cases[][2] = {
      {NYM_THREAD_COM_NONE, S_OK}, {NYM_THREAD_COM_APARTMENT, RPC_E_CHANGED_MODE}, {NYM_THREAD_COM_MULTI, S_FALSE}, {7, S_OK}};
  for (const auto& c : cases) {
    HRESULT seen = E_FAIL;
    Nym_status status;
    Nym_thread thread(
        [](void* raw) {
          const HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
          if (SUCCEEDED(hr)) CoUninitialize();
          *static_cast<HRESULT*>(raw) = hr;
        },
        &seen, status, false, 0, false, nullptr, static_cast<Nym_thread_COM>(c[0]));
    EXPECT_TRUE(status.is_clear());
    thread.wait(status);
    EXPECT_EQ(seen, c[1]) << c[0];
  }
}

// The creator of a thread holds the start lock until its thread has come up: a kill of the creator
// waits for that, so the lock is never left held by a dead thread. A thread in its ending steps
// holds both registry locks: kill waits, and then finds the thread leaving on its own and leaves it
// be.
TEST(ThreadControlTest, KillWaitsWhileItsTargetIsInTheRegistrysLocks) {
  Nym_status status;
  {
    Hook_stop stop(0xFFFFFFFFu);
    Nym_event idle;
    Nym_thread creator(
        [](void* idle_event) {
          g_stop->point = 0;  // the next thread to come up stops there
          Nym_status s;
          Nym_thread made(returns_at_once, nullptr, s);
          static_cast<Nym_event*>(idle_event)->wait(60000);
        },
        &idle, status);
    expect_kill_to_wait(creator, stop);
  }
  EXPECT_TRUE(starts_and_ends());
  Hook_stop stop(1);
  Nym_thread thread(returns_at_once, nullptr, status);
  expect_kill_to_wait(thread, stop);
  EXPECT_EQ(thread.state(), NYM_THREAD_FINISHED);
  EXPECT_TRUE(starts_and_ends());
}

namespace {

volatile int* volatile g_bad_pointer = reinterpret_cast<int*>(0x10);
volatile int g_sink = 0;

__attribute__((noipa)) void read_bad_pointer(void*) { g_sink = *g_bad_pointer; }

// In the thread itself suspend and resume fail and wait raises; kill raises out of the function.
void control_itself(void* seen) {
  Nym_thread& me = *nym_thread_object(0);
  Nym_status suspended, resumed, scratch;
  me.suspend(suspended);
  me.resume(resumed);
  const bool refused = suspended == NYM_S_THREAD_SUSPEND_FAILED && resumed == NYM_S_THREAD_RESUME_FAILED;
  *static_cast<std::string*>(seen) = (refused ? "refused; " : "done; ") + nym_test::what_of([&] { me.wait(scratch); });
  me.kill(scratch);
}

}  // namespace

TEST(ThreadControlTest, AKillOrAHardwareFaultInTheFunctionBecomesTheFailedStatus) {
  const struct {
    void (*fn)(void*);
    const char* seen;
    const char* failure;
  } cases[] = {{control_itself, "refused; Nym_thread::wait - cannot wait for current thread",
                "Nym_thread::kill - cannot kill current thread"},
               {read_bad_pointer, "", "Exception code is 0xc0000005"}};
  for (const auto& c : cases) {
    std::string seen;
    Nym_status status;
    Nym_thread thread(c.fn, &seen, status);
    thread.wait(status);
    EXPECT_EQ(thread.state(), NYM_THREAD_FAILED);
    EXPECT_EQ(seen, c.seen);
    EXPECT_NE(failure_text(thread).find(c.failure), std::string::npos) << failure_text(thread);
  }
}
