#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "nym/message_queue.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

TEST(MessageQueueTest, MessagesComeBackInOrderWithTheirThreeValues) {
  Nym_message_queue queue;
  EXPECT_EQ(queue.read_message(), 0u);
  int payload[2] = {};
  struct Message {
    unsigned int id;
    void* data;
    unsigned int value;
  };
  const Message sent[] = {{1, &payload[0], 10}, {0xFFFFFFFFu, nullptr, 0}, {7, &payload[1], 0xFFFFFFFFu}, {7, nullptr, 3}};
  for (const Message& m : sent) queue.add_message(m.id, m.data, m.value);
  EXPECT_EQ(what_of([&] { queue.add_message(0, &payload[0], 1); }), "Nym_message_queue::add_message() - msgid = 0");
  for (const Message& m : sent) {
    void* data = &queue;
    unsigned int value = 12345;
    EXPECT_EQ(queue.read_message(data, value), m.id);
    EXPECT_EQ(data, m.data);
    EXPECT_EQ(value, m.value);
  }
  void* data = &queue;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(queue.wait_for_message(60, data), 0u);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));  // the timer's grain
  EXPECT_EQ(data, nullptr);
}

// Readers waiting without limit get every message once, each in the order of posting, and none
// wakes with nothing; a stop message per reader ends them.
TEST(MessageQueueTest, WaitingReadersShareTheMessagesInOrder) {
  constexpr unsigned int MESSAGES = 5000, STOP = 0xFFFFFFFFu;
  Nym_message_queue queue;
  struct Seen {
    unsigned int count[2] = {}, last[2] = {};
    bool wrong = false;
  };
  std::vector<Seen> seen(2);
  std::vector<std::thread> threads;
  for (Seen& s : seen) {
    threads.emplace_back([&] {
      for (;;) {
        void* data = nullptr;
        unsigned int value = 0;
        const unsigned int id = queue.wait_for_message(Nym_message_queue::FOREVER, data, value);
        if (id == STOP) return;
        if (id == 0 || id > 2 || value <= s.last[id - 1]) {
          s.wrong = true;
          continue;
        }
        s.last[id - 1] = value;
        ++s.count[id - 1];
      }
    });
  }
  for (unsigned int w = 1; w <= 2; ++w) {
    threads.emplace_back([&, w] {
      for (unsigned int i = 1; i <= MESSAGES; ++i) queue.add_message(w, nullptr, i);
    });
  }
  threads[3].join();
  threads[2].join();
  for (int r = 0; r < 2; ++r) queue.add_message(STOP, nullptr, 0);
  threads[1].join();
  threads[0].join();
  EXPECT_FALSE(seen[0].wrong || seen[1].wrong);
  EXPECT_EQ(seen[0].count[0] + seen[1].count[0], MESSAGES);
  EXPECT_EQ(seen[0].count[1] + seen[1].count[1], MESSAGES);
}
