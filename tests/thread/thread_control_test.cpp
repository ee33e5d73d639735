// The Windows-only side of Nym_thread: suspend, resume, kill, priority, the component runtime,
// security and hardware faults. Built with -fnon-call-exceptions, so that a fault in a thread's
// function can arrive as an exception.
#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "nym/security.h"
#include "nym/thread.h"
#include "test_helpers.h"
#include "watchdog.h"

using namespace nym;

namespace {

// A kernel event: a thread that waits on one may be ended at any moment without harm.
class Win32_gate {
 public:
  Win32_gate() : m_event(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~Win32_gate() { CloseHandle(m_event); }
  Win32_gate(const Win32_gate&) = delete;
  Win32_gate& operator=(const Win32_gate&) = delete;
  void open() { SetEvent(m_event); }
  bool wait(DWORD limit = 20000) { return WaitForSingleObject(m_event, limit) == WAIT_OBJECT_0; }

 private:
  HANDLE m_event;
};

void wait_at_gate(void* gate) { static_cast<Win32_gate*>(gate)->wait(60000); }

void returns_at_once(void*) {}

// A new thread starts and ends: no registry lock was left held.
bool starts_and_ends() {
  Nym_status status;
  Nym_thread thread(returns_at_once, nullptr, status);
  return status.ok() && thread.wait(20000, status) && thread.state() == NYM_THREAD_FINISHED;
}

// What the hook does at each point: opens `arrived` and waits for `proceed`, once.
struct Hook_stop {
  std::atomic<unsigned int> point{0xFFFFFFFFu};
  Win32_gate arrived, proceed;
};
Hook_stop* g_stop = nullptr;

void stop_at_point(unsigned int point) {
  unsigned int expected = point;
  if (g_stop != nullptr && g_stop->point.compare_exchange_strong(expected, 0xFFFFFFFFu)) {
    g_stop->arrived.open();
    g_stop->proceed.wait();
  }
}

// kill on another thread; `done` opens when it has returned.
struct Killer {
  Win32_gate done;
  Nym_status status;
  std::thread thread;
  explicit Killer(Nym_thread& target)
      : thread([this, &target] {
          target.kill(status);
          done.open();
        }) {}
  ~Killer() { thread.join(); }
};

}  // namespace

TEST(ThreadControlTest, SuspendAndResumeWriteTheStateAndRefuseTheCallingThread) {
  nym_test::Watchdog watchdog("SuspendAndResumeWriteTheStateAndRefuseTheCallingThread");
  Win32_gate gate;
  Nym_status status;
  Nym_thread thread(wait_at_gate, &gate, status);
  thread.suspend(status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(thread.state(), NYM_THREAD_SUSPENDED);
  gate.open();
  EXPECT_FALSE(thread.wait(50, status)) << "a suspended thread doesn't go on";
  thread.resume(status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(thread.state(), NYM_THREAD_RUNNING);
  EXPECT_TRUE(thread.wait(20000, status));
  EXPECT_EQ(thread.state(), NYM_THREAD_FINISHED);

  Nym_status inside[2];
  Nym_thread self(
      [](void* raw) {
        auto* out = static_cast<Nym_status*>(raw);
        nym_thread_object(0)->suspend(out[0]);
        nym_thread_object(0)->resume(out[1]);
      },
      inside, status);
  self.wait(status);
  EXPECT_EQ(inside[0], NYM_S_THREAD_SUSPEND_FAILED);
  EXPECT_EQ(inside[1], NYM_S_THREAD_RESUME_FAILED);
  // Killing itself raises in the thread, and what it raised is the thread's failure.
  Nym_thread killer(
      [](void*) {
        Nym_status s;
        nym_thread_object(0)->kill(s);
      },
      nullptr, status);
  killer.wait(status);
  Nym_status failed;
  killer.get_failed_status(failed);
  ASSERT_EQ(failed, NYM_S_THREAD_EXCEPTION);
  Wstring text;
  (*failed.begin())->to_string(text);
  EXPECT_EQ(nym_test::utf8(text), "Nym_thread::kill - cannot kill current thread");
}

TEST(ThreadControlTest, PrioritiesMapOntoTheSystemsAndAnUnknownOneChangesNothing) {
  nym_test::Watchdog watchdog("PrioritiesMapOntoTheSystemsAndAnUnknownOneChangesNothing");
  Win32_gate gate;
  Nym_status status;
  Nym_thread thread(wait_at_gate, &gate, status);
  HANDLE handle = OpenThread(THREAD_QUERY_INFORMATION, FALSE, thread.thread_id());
  ASSERT_NE(handle, nullptr);
  const int expected[] = {THREAD_PRIORITY_HIGHEST, THREAD_PRIORITY_ABOVE_NORMAL, THREAD_PRIORITY_NORMAL,
                          THREAD_PRIORITY_BELOW_NORMAL, THREAD_PRIORITY_LOWEST};
  for (int p = 0; p < 5; ++p) {
    thread.set_priority(static_cast<Nym_thread_priority>(p), status);
    EXPECT_TRUE(status.is_clear());
    EXPECT_EQ(GetThreadPriority(handle), expected[p]) << p;
  }
  thread.set_priority(static_cast<Nym_thread_priority>(5), status);
  EXPECT_EQ(status, NYM_S_THREAD_BAD_PRIORITY);
  EXPECT_EQ(GetThreadPriority(handle), THREAD_PRIORITY_LOWEST);
  CloseHandle(handle);
  gate.open();
  thread.wait(status);
}

TEST(ThreadControlTest, KillEndsARunningThreadAndTakesItOutOfTheRegistry) {
  nym_test::Watchdog watchdog("KillEndsARunningThreadAndTakesItOutOfTheRegistry");
  Win32_gate gate;
  Nym_status status;
  Nym_thread thread(wait_at_gate, &gate, status);
  const unsigned int id = thread.thread_id();
  thread.kill(status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(thread.state(), NYM_THREAD_KILLED);
  EXPECT_TRUE(thread.wait(20000, status));
  EXPECT_EQ(nym_thread_object(id), nullptr);
  EXPECT_TRUE(starts_and_ends());
}

// The creator of a thread holds the start lock until its thread has come up: a kill of the
// creator waits for that, so the lock is never left held by a dead thread.
TEST(ThreadControlTest, KillOfACreatorWaitsUntilTheStartItIsMakingIsDone) {
  nym_test::Watchdog watchdog("KillOfACreatorWaitsUntilTheStartItIsMakingIsDone");
  Hook_stop stop;
  g_stop = &stop;
  const impl::Nym_thread_hook previous = impl::nym_set_thread_hook(stop_at_point);
  struct Creator {
    Hook_stop* stop;
    Win32_gate idle;
  } creator{&stop, {}};
  Nym_status status;
  Nym_thread thread(
      [](void* raw) {
        Creator& c = *static_cast<Creator*>(raw);
        c.stop->point = 0;  // the next thread to come up stops there
        Nym_status s;
        Nym_thread made(returns_at_once, nullptr, s);
        c.idle.wait(60000);
      },
      &creator, status);
  ASSERT_TRUE(stop.arrived.wait());
  {
    Killer killer(thread);
    EXPECT_FALSE(killer.done.wait(100)) << "killed while it held the start lock";
    stop.proceed.open();
    EXPECT_TRUE(killer.done.wait());
    EXPECT_TRUE(killer.status.is_clear());
  }
  EXPECT_TRUE(thread.wait(20000, status));
  EXPECT_TRUE(starts_and_ends());
  impl::nym_set_thread_hook(previous);
  g_stop = nullptr;
}

// A thread in its ending steps holds both registry locks: kill waits, and then finds the thread
// leaving on its own and leaves it be.
TEST(ThreadControlTest, KillOfAnEndingThreadWaitsAndLetsItEnd) {
  nym_test::Watchdog watchdog("KillOfAnEndingThreadWaitsAndLetsItEnd");
  Hook_stop stop;
  g_stop = &stop;
  stop.point = 1;
  const impl::Nym_thread_hook previous = impl::nym_set_thread_hook(stop_at_point);
  Nym_status status;
  Nym_thread thread(returns_at_once, nullptr, status);
  ASSERT_TRUE(stop.arrived.wait());
  {
    Killer killer(thread);
    EXPECT_FALSE(killer.done.wait(100)) << "killed inside the registry's locks";
    stop.proceed.open();
    EXPECT_TRUE(killer.done.wait());
    EXPECT_TRUE(killer.status.is_clear());
  }
  EXPECT_TRUE(thread.wait(20000, status));
  EXPECT_EQ(thread.state(), NYM_THREAD_FINISHED);
  thread.suspend(status);
  EXPECT_EQ(status, NYM_S_THREAD_SUSPEND_FAILED) << "an ended thread isn't suspended";
  EXPECT_TRUE(starts_and_ends());
  impl::nym_set_thread_hook(previous);
  g_stop = nullptr;
}

// The thread's apartment is the one asked for: asking for the other model in the thread is
// refused, asking again for the same says it is there already.
TEST(ThreadControlTest, TheComponentRuntimeIsInitialisedAsAsked) {
  nym_test::Watchdog watchdog("TheComponentRuntimeIsInitialisedAsAsked");
  struct Case {
    int com;
    HRESULT multi;
  };
  const Case cases[] = {{NYM_THREAD_COM_NONE, S_OK},
                        {NYM_THREAD_COM_APARTMENT, RPC_E_CHANGED_MODE},
                        {NYM_THREAD_COM_MULTI, S_FALSE},
                        {7, S_OK}};
  for (const Case& c : cases) {
    HRESULT seen = E_FAIL;
    Nym_status status;
    Nym_thread thread(
        [](void* raw) {
          const HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
          if (SUCCEEDED(hr)) CoUninitialize();
          *static_cast<HRESULT*>(raw) = hr;
        },
        &seen, status, false, 0, false, nullptr, static_cast<Nym_thread_COM>(c.com));
    EXPECT_TRUE(status.is_clear());
    thread.wait(status);
    EXPECT_EQ(seen, c.multi) << c.com;
  }
}

TEST(ThreadControlTest, AddSecurityTiesTheThreadsHandle) {
  nym_test::Watchdog watchdog("AddSecurityTiesTheThreadsHandle");
  Win32_gate gate;
  Nym_status status;
  Nym_thread thread(wait_at_gate, &gate, status);
  Nym_security security;
  thread.add_security(security, status);
  EXPECT_TRUE(status.is_clear());
  std::unique_ptr<Nym_acl> acl(security.get_disc_acl(status));
  EXPECT_TRUE(status.ok()) << "the thread's own list is read through its handle";
  EXPECT_NE(acl, nullptr);
  gate.open();
  thread.wait(status);
}

namespace {

volatile int* volatile g_bad_pointer = reinterpret_cast<int*>(0x10);
volatile int g_sink = 0;

__attribute__((noipa)) void read_bad_pointer(void*) { g_sink = *g_bad_pointer; }

}  // namespace

TEST(ThreadControlTest, AHardwareFaultInTheFunctionBecomesTheFailedStatus) {
  nym_test::Watchdog watchdog("AHardwareFaultInTheFunctionBecomesTheFailedStatus");
  Nym_status status;
  Nym_thread thread(read_bad_pointer, nullptr, status);
  thread.wait(status);
  EXPECT_EQ(thread.state(), NYM_THREAD_FAILED);
  Nym_status failed;
  thread.get_failed_status(failed);
  ASSERT_EQ(failed, NYM_S_THREAD_EXCEPTION);
  Wstring text;
  (*failed.begin())->to_string(text);
  EXPECT_NE(nym_test::utf8(text).find("Exception code is 0xc0000005"), std::string::npos) << nym_test::utf8(text);
}
