#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "nym/thread.h"
#include "resource_count.h"
#include "test_helpers.h"
#if defined(_WIN32)
#include "helper_process.h"
#include "nym/process.h"
#endif

using namespace nym;
using nym_test::utf8;

namespace {

// Whether `done` was kept within a bound. A promise, not the host's Nym_event: a waiter may
// destroy it as soon as it is kept, and that event notifies after letting go of its lock.
bool kept(std::promise<void>& done) {
  return done.get_future().wait_for(std::chrono::seconds(20)) == std::future_status::ready;
}

std::string first_arg(const Nym_status& status) {
  Wstring text;
  if (status.num_args() > 0) (*status.begin())->to_string(text);
  return utf8(text);
}

struct Seen {
  unsigned int id = 0;
  Nym_thread* object = nullptr;
};

void note_self(void* seen) {
  static_cast<Seen*>(seen)->id = nym_current_thread_id();
  static_cast<Seen*>(seen)->object = nym_thread_object(0);
}

void throw_standard(void*) { throw std::runtime_error("disk on fire \xE9"); }
void throw_logic(void*) { throw std::logic_error(""); }
void throw_other(void*) { throw 42; }

constexpr unsigned int STOP = 0xFFFFFFFFu;

// Counts each poster's messages until STOP; each must come whole and in its poster's order.
// `child` is the exit code the stress test's child is given, and then the one it ended with.
struct Inbox {
  unsigned int next[3] = {};
  bool wrong = false;
  Nym_status status;
  unsigned int child = 0;
};

void read_inbox(void* raw) {
  Inbox& in = *static_cast<Inbox*>(raw);
  unsigned int poster = 0, sequence = 0;
  int negative = 0;
  for (;;) {
    nym_thread_get_message(poster, sequence, negative, in.status);
    if (in.status.is_error() || poster == STOP) return;
    if (poster >= 3 || sequence != in.next[poster]++ || negative != -static_cast<int>(sequence)) in.wrong = true;
  }
}

void read_one_message(void* status) {
  unsigned int a = 0, b = 0;
  int c = 0;
  nym_thread_get_message(a, b, c, *static_cast<Nym_status*>(status));
}

}  // namespace

// The thread stays found until its object goes, a failed one too; then no later thread that
// gets its identifier may find the dead object.
TEST(ThreadTest, HowTheFunctionEndsIsTheThreadsState) {
  struct Case {
    void (*fn)(void*);
    Nym_thread_state state;
    unsigned int code, args;
    std::string text;
  };
  const Case cases[] = {{note_self, NYM_THREAD_FINISHED, 0, 0, ""},
                        {throw_standard, NYM_THREAD_FAILED, NYM_S_THREAD_EXCEPTION, 1, "disk on fire \xC3\xA9"},
                        {throw_logic, NYM_THREAD_FAILED, NYM_S_THREAD_EXCEPTION, 1, ""},
                        {throw_other, NYM_THREAD_FAILED, NYM_S_THREAD_UNKNOWN_EXCEPTION, 0, ""}};
  unsigned int id = 0;  // at the end the last case's: a failed thread
  for (const Case& c : cases) {
    SCOPED_TRACE(c.code);
    Seen seen;
    Nym_status status(NYM_S_NO_MEMORY);
    {
      Nym_thread thread(c.fn, &seen, status);
      EXPECT_TRUE(status.is_clear());
      id = thread.thread_id();
      thread.wait(status);
      EXPECT_TRUE(status.is_clear());
      EXPECT_EQ(thread.state(), c.state);
      Nym_status failed;
      thread.get_failed_status(failed);
      EXPECT_EQ(failed, c.code);
      EXPECT_EQ(failed.num_args(), c.args);
      EXPECT_EQ(first_arg(failed), c.text);
      EXPECT_EQ(nym_thread_object(id), c.state == NYM_THREAD_FAILED ? &thread : nullptr);
      EXPECT_TRUE(c.fn != note_self || (seen.id == id && seen.object == &thread));
    }
    EXPECT_EQ(nym_thread_object(id), nullptr);
  }
  bool reused = false;
  Nym_thread* found = nullptr;
  for (int i = 0; i < 3000 && !reused; ++i) {
    std::thread([&] {
      if (nym_current_thread_id() != id) return;
      reused = true;
      found = nym_thread_object(0);
    }).join();
  }
  if (!reused) GTEST_SKIP() << "the system handed out no identifier twice in 3000 threads";
  EXPECT_EQ(found, nullptr);
}

// Messages need a thread started here, and its pipe.
TEST(ThreadTest, WithoutAnObjectOrAPipeNeitherPostNorReadWorks) {
  Nym_status inside, status;
  Nym_thread* object = reinterpret_cast<Nym_thread*>(1);
  std::thread([&] {
    object = nym_thread_object(0);
    read_one_message(&inside);
  }).join();
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(inside, NYM_S_NO_THREAD_OBJECT);
  Nym_thread thread(read_one_message, &inside, status, false, 0, false);
  thread.post_message(1, 2, 3, status);
  EXPECT_EQ(status, NYM_S_POST_MESSAGE_FAILED);
  thread.wait(status);
  EXPECT_EQ(inside, NYM_S_GET_MESSAGE_FAILED);
  EXPECT_EQ(nym_test::what_of([&] { Nym_thread none(nullptr, nullptr, status); }),
            "Nym_thread::start - null function");
}

// The object goes while its thread waits for a message that no one can post any more: the
// thread is let go instead of waiting for ever, and finds no object afterwards.
TEST(ThreadTest, DestroyingTheObjectLetsItsWaitingReaderGo) {
  for (bool detached : {true, false}) {
    struct Reader {
      std::promise<void> reading, done;
      Nym_status status;
      Nym_thread* object_after = reinterpret_cast<Nym_thread*>(1);
    } reader;
    Nym_status status;
    auto thread = std::make_unique<Nym_thread>(
        [](void* raw) {
          Reader& r = *static_cast<Reader*>(raw);
          r.reading.set_value();
          read_one_message(&r.status);
          r.object_after = nym_thread_object(0);
          r.done.set_value();
        },
        &reader, status, detached);
    ASSERT_TRUE(kept(reader.reading));
    EXPECT_FALSE(thread->wait(0, status));
    EXPECT_TRUE(status.is_clear());
    thread.reset();
    ASSERT_TRUE(kept(reader.done));
    EXPECT_TRUE(reader.status == NYM_S_GET_MESSAGE_FAILED || reader.status == NYM_S_NO_THREAD_OBJECT) << detached;
    EXPECT_EQ(reader.object_after, nullptr);
  }
}

namespace {

int g_refusal = 0;

void* refuse_thread(void*, unsigned (*)(void*), void*, unsigned int*) {
  errno = g_refusal;
  return nullptr;
}

}  // namespace

// A start the runtime refuses leaves no thread, whatever errno says, and is reported; an errno
// of 0 too, where waiting for the thread to come up would never end.
TEST(ThreadTest, ARefusedStartIsReportedByItsErrno) {
  const unsigned int cases[][2] = {{ENOMEM, NYM_S_NO_MEMORY},        {EACCES, NYM_S_NO_MEMORY},
                                   {EAGAIN, NYM_S_TOO_MANY_THREADS}, {EINVAL, NYM_S_THREAD_BAD_ARGUMENT},
                                   {EIO, NYM_S_THREAD_START_FAILED}, {0, NYM_S_THREAD_START_FAILED}};
  const impl::Nym_thread_creator previous = impl::nym_set_thread_creator(refuse_thread);
  for (const auto& c : cases) {
    g_refusal = static_cast<int>(c[0]);
    Seen seen;
    Nym_status status;
    {
      Nym_thread thread(note_self, &seen, status);
      EXPECT_EQ(status, c[1]) << c[0];
      EXPECT_EQ(first_arg(status), c[1] == NYM_S_THREAD_START_FAILED ? std::to_string(c[0]) : "");
      EXPECT_EQ(thread.state(), NYM_THREAD_NOT_STARTED);
      EXPECT_EQ(thread.thread_id(), 0u);
      Nym_status waited(NYM_S_NO_MEMORY);
      thread.wait(waited);
      EXPECT_TRUE(waited.is_clear());
      EXPECT_TRUE(thread.wait(0, waited));
    }
    EXPECT_EQ(seen.id, 0u) << "the function never ran";
  }
  impl::nym_set_thread_creator(previous);
}

// Threads with message pipes start, take the messages of several posters at once, whole and in
// each poster's order, run a child process each (Windows) and end, and leave nothing behind:
// neither a thread nor a handle (a descriptor on the host).
TEST(ThreadTest, StressThreadsMessagesAndChildrenLeaveNothingBehind) {
  constexpr unsigned int THREADS = 40, EACH = 100;
  const nym_test::Resource_count before = nym_test::count_resources();
  {
    std::vector<Inbox> inboxes(THREADS);
    std::vector<std::unique_ptr<Nym_thread>> threads;
    Nym_status status;
    for (unsigned int i = 0; i < THREADS; ++i) {
      inboxes[i].child = 100 + i;
      threads.push_back(std::make_unique<Nym_thread>(
          [](void* raw) {
            read_inbox(raw);
#if defined(_WIN32)
            unsigned int& code = static_cast<Inbox*>(raw)->child;
            const std::wstring program = nym_test::helper_program();
            const std::string args = "exit " + std::to_string(code);
            Nym_status s;  // mode 2: started, then waited for
            Nym_process child(Wstring(program.begin(), program.end()), Wstring(args.begin(), args.end()),
                              Nym_process_details(), s);
            child.wait(s, 60000);
            code = s.is_clear() ? child.get_exit_code(s) : 0;
#endif
          },
          &inboxes[i], status));
      ASSERT_TRUE(status.is_clear());
    }
    std::vector<std::thread> posters;
    std::atomic<int> failures{0};
    for (unsigned int p = 0; p < 3; ++p) {
      posters.emplace_back([&, p] {
        Nym_status s;
        for (unsigned int i = 0; i < EACH; ++i) {
          for (const auto& thread : threads) {
            thread->post_message(p, i, -static_cast<int>(i), s);
            failures += s.is_clear() ? 0 : 1;
          }
        }
      });
    }
    for (std::thread& t : posters) t.join();
    for (const auto& thread : threads) thread->post_message(STOP, 0, 0, status);
    EXPECT_EQ(failures.load(), 0);
    for (unsigned int i = 0; i < THREADS; ++i) {
      const Inbox& in = inboxes[i];
      EXPECT_TRUE(threads[i]->wait(60000, status));
      EXPECT_EQ(threads[i]->state(), NYM_THREAD_FINISHED);
      EXPECT_TRUE(in.status.ok() && !in.wrong && in.next[0] + in.next[1] + in.next[2] == 3 * EACH) << i;
      EXPECT_EQ(in.child, 100 + i);
    }
  }
  const nym_test::Resource_count after = nym_test::count_resources();
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.handles, before.handles);
}
