// 200 threads with message pipes pass a token round a ring, then all end: nothing of them may
// be left behind, neither a thread nor a handle (a descriptor on the host).
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "nym/thread.h"
#include "resource_count.h"
#include "watchdog.h"

using namespace nym;

namespace {

constexpr unsigned int THREADS = 200, ROUNDS = 5, TOKEN = 1, STOP = 2;

struct Ring {
  std::vector<std::unique_ptr<Nym_thread>> threads;
  std::atomic<unsigned int> failures{0};
  std::mutex mutex;
  std::condition_variable changed;
  bool done = false;
};

struct Member {
  Ring* ring;
  unsigned int index;
};

// Hands the token on with one hop fewer; the last hop tells the test.
void pass_token(void* raw) {
  const Member& me = *static_cast<Member*>(raw);
  for (;;) {
    unsigned int kind = 0, hops = 0;
    int check = 0;
    Nym_status status;
    nym_thread_get_message(kind, hops, check, status);
    if (status.is_error() || kind == STOP) {
      if (status.is_error()) ++me.ring->failures;
      return;
    }
    if (check != -static_cast<int>(hops)) ++me.ring->failures;
    if (hops == 0) {
      std::lock_guard<std::mutex> hold(me.ring->mutex);
      me.ring->done = true;
      me.ring->changed.notify_all();
      continue;
    }
    const unsigned int next_hops = hops - 1;
    me.ring->threads[(me.index + 1) % THREADS]->post_message(TOKEN, next_hops, -static_cast<int>(next_hops), status);
    if (!status.is_clear()) ++me.ring->failures;
  }
}

}  // namespace

TEST(ThreadStressTest, TwoHundredThreadsPassMessagesAndLeaveNothingBehind) {
  nym_test::Watchdog watchdog("TwoHundredThreadsPassMessagesAndLeaveNothingBehind", std::chrono::seconds(240));
  const nym_test::Resource_count before = nym_test::count_resources();
  {
    Ring ring;
    std::vector<Member> members(THREADS);
    for (unsigned int i = 0; i < THREADS; ++i) {
      members[i] = {&ring, i};
      Nym_status status;
      ring.threads.push_back(std::make_unique<Nym_thread>(pass_token, &members[i], status));
      ASSERT_TRUE(status.is_clear()) << i;
    }
    Nym_status status;
    ring.threads[0]->post_message(TOKEN, THREADS * ROUNDS, -static_cast<int>(THREADS * ROUNDS), status);
    {
      std::unique_lock<std::mutex> hold(ring.mutex);
      EXPECT_TRUE(ring.changed.wait_for(hold, std::chrono::seconds(180), [&] { return ring.done; }));
    }
    for (const auto& thread : ring.threads) thread->post_message(STOP, 0, 0, status);
    for (const auto& thread : ring.threads) {
      EXPECT_TRUE(thread->wait(60000, status));
      EXPECT_EQ(thread->state(), NYM_THREAD_FINISHED);
    }
    EXPECT_EQ(ring.failures.load(), 0u);
  }
  const nym_test::Resource_count after = nym_test::count_resources();
  EXPECT_EQ(after.threads, before.threads);
  EXPECT_EQ(after.handles, before.handles);
}
