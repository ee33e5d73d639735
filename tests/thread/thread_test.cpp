#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "nym/thread.h"
#include "resource_count.h"
#include "test_helpers.h"

using namespace nym;

namespace {

// The text of a status's first argument, "" without one.
std::string first_arg(const Nym_status& status) {
  Wstring text;
  if (status.num_args() > 0) (*status.begin())->to_string(text);
  return nym_test::utf8(text);
}

struct Seen {
  unsigned int id = 0;
  Nym_thread* object = nullptr;
};

void note_self(void* seen) { *static_cast<Seen*>(seen) = {nym_current_thread_id(), nym_thread_object(0)}; }
void throw_standard(void*) { throw std::runtime_error("disk on fire \xE9"); }
void throw_other(void*) { throw 42; }

void read_one_message(void* status) {
  unsigned int a = 0, b = 0;
  int c = 0;
  nym_thread_get_message(a, b, c, *static_cast<Nym_status*>(status));
}

constexpr unsigned int STOP = 0xFFFFFFFFu;

// Counts each poster's messages until STOP; each must come whole and in its poster's order.
struct Inbox {
  unsigned int next[3] = {};
  bool wrong = false;
  Nym_status status;
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

}  // namespace

// The thread stays found until its object goes, a failed one too.
TEST(ThreadTest, HowTheFunctionEndsIsTheThreadsState) {
  struct Case {
    void (*fn)(void*);
    Nym_thread_state state;
    unsigned int code;
    std::pair<unsigned int, std::string> arg;  // how many, and the first
  };
  const Case cases[] = {{note_self, NYM_THREAD_FINISHED, 0, {0, ""}},
                        {throw_standard, NYM_THREAD_FAILED, NYM_S_THREAD_EXCEPTION, {1, "disk on fire \xC3\xA9"}},
                        {throw_other, NYM_THREAD_FAILED, NYM_S_THREAD_UNKNOWN_EXCEPTION, {0, ""}}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.code);
    Seen seen;
    unsigned int id = 0;
    Nym_status status(NYM_S_NO_MEMORY), failed;
    {
      Nym_thread thread(c.fn, &seen, status);
      id = thread.thread_id();
      thread.wait(status);
      EXPECT_TRUE(status.is_clear());
      EXPECT_EQ(thread.state(), c.state);
      thread.get_failed_status(failed);
      EXPECT_EQ(failed, c.code);
      EXPECT_EQ(std::make_pair(failed.num_args(), first_arg(failed)), c.arg);
      EXPECT_EQ(nym_thread_object(id), c.state == NYM_THREAD_FAILED ? &thread : nullptr);
      EXPECT_TRUE(c.fn != note_self || (seen.id == id && seen.object == &thread));
    }
    EXPECT_EQ(nym_thread_object(id), nullptr);
  }
}

// Messages need a thread started here, and its pipe. The object goes while its thread waits for a
// message that no one can post any more: the thread is let go instead of waiting for ever, and
// finds no object afterwards. Promises, not the host's Nym_event: the waiter may destroy one as
// soon as it is kept.
TEST(ThreadTest, WithoutAnObjectOrAPipeNoMessageComes) {
  Nym_status status;
  Nym_thread* object = reinterpret_cast<Nym_thread*>(1);
  std::thread([&] {
    object = nym_thread_object(0);
    read_one_message(&status);
  }).join();
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(status, NYM_S_NO_THREAD_OBJECT);
  EXPECT_EQ(nym_test::what_of([&] { Nym_thread none(nullptr, nullptr, status); }), "Nym_thread::start - null function");
  for (int kind = 0; kind < 3; ++kind) {  // without a pipe, detached, joinable
    struct Reader {
      std::promise<void> reading, done;
      Nym_status status;
      Nym_thread* object_after = reinterpret_cast<Nym_thread*>(1);
    } reader;
    auto thread = std::make_unique<Nym_thread>(
        [](void* raw) {
          Reader& r = *static_cast<Reader*>(raw);
          r.reading.set_value();
          read_one_message(&r.status);
          r.object_after = nym_thread_object(0);
          r.done.set_value();
        },
        &reader, status, kind == 1, 0, kind != 0);
    ASSERT_EQ(reader.reading.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    if (kind == 0) thread->post_message(1, 2, 3, status);
    EXPECT_EQ(status, kind == 0 ? NYM_S_POST_MESSAGE_FAILED : 0u);
    EXPECT_TRUE(kind == 0 ? thread->wait(20000, status) : !thread->wait(0, status)) << "waits for a message";
    thread.reset();
    ASSERT_EQ(reader.done.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_TRUE(reader.status == NYM_S_GET_MESSAGE_FAILED || (kind != 0 && reader.status == NYM_S_NO_THREAD_OBJECT));
    EXPECT_TRUE(kind == 0 || reader.object_after == nullptr) << kind;
  }
}

namespace {

int g_refusal = 0;

void* refuse_thread(void*, unsigned (*)(void*), void*, unsigned int*) {
  errno = g_refusal;
  return nullptr;
}

}  // namespace

// A start the runtime refuses leaves no thread, whatever errno says, and is reported; an errno of 0
// too, where waiting for the thread to come up would never end.
TEST(ThreadTest, ARefusedStartIsReportedByItsErrno) {
  const unsigned int cases[][2] = {{ENOMEM, NYM_S_NO_MEMORY},
                                   {EAGAIN, NYM_S_TOO_MANY_THREADS},
                                   {EINVAL, NYM_S_THREAD_BAD_ARGUMENT},
                                   {EIO, NYM_S_THREAD_START_FAILED},
                                   {0, NYM_S_THREAD_START_FAILED}};
  const impl::Nym_thread_creator previous = impl::nym_set_thread_creator(refuse_thread);
  for (const auto& c : cases) {
    g_refusal = static_cast<int>(c[0]);
    Seen seen;
    Nym_status status, waited(NYM_S_NO_MEMORY);
    {
      Nym_thread thread(note_self, &seen, status);
      const bool with_errno = c[1] == NYM_S_THREAD_START_FAILED;
      EXPECT_EQ(status, c[1]) << c[0];
      EXPECT_EQ(first_arg(status), with_errno ? std::to_string(c[0]) : "");
      EXPECT_TRUE(thread.state() == NYM_THREAD_NOT_STARTED && thread.thread_id() == 0);
      thread.wait(waited);
      EXPECT_TRUE(waited.is_clear() && thread.wait(0, waited));
    }
    EXPECT_EQ(seen.id, 0u) << "the function never ran";
  }
  impl::nym_set_thread_creator(previous);
}

// Threads with message pipes start, take the messages of several posters at once, whole and in each
// poster's order, run a child process each (Windows) and end, and leave nothing behind: neither a
// thread nor a handle (a descriptor on the host).
TEST(ThreadTest, StressThreadsAndMessagesLeaveNothingBehind) {
  constexpr unsigned int THREADS = 6, EACH = 40;
  const nym_test::Resource_count before = nym_test::count_resources();
  {
    std::vector<Inbox> inboxes(THREADS);
    std::vector<std::unique_ptr<Nym_thread>> threads;
    Nym_status status;
    for (unsigned int i = 0; i < THREADS; ++i) {
      threads.push_back(std::make_unique<Nym_thread>(read_inbox, &inboxes[i], status));
      ASSERT_TRUE(status.is_clear());
    }
    std::vector<std::thread> posters;
    for (unsigned int p = 0; p < 3; ++p) {
      posters.emplace_back([&, p] {
        Nym_status s;
        for (unsigned int i = 0; i < EACH; ++i) {
          for (const auto& thread : threads) {
            thread->post_message(p, i, -static_cast<int>(i), s);
            EXPECT_TRUE(s.is_clear());
          }
        }
      });
    }
    for (std::thread& t : posters) t.join();
    for (const auto& thread : threads) thread->post_message(STOP, 0, 0, status);
    for (unsigned int i = 0; i < THREADS; ++i) {
      const Inbox& in = inboxes[i];
      EXPECT_TRUE(threads[i]->wait(60000, status) && threads[i]->state() == NYM_THREAD_FINISHED);
      EXPECT_TRUE(in.status.ok() && !in.wrong && in.next[0] + in.next[1] + in.next[2] == 3 * EACH) << i;
    }
  }
  const nym_test::Resource_count after = nym_test::count_resources();
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.handles, before.handles);
}
