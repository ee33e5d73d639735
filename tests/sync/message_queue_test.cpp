#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <numeric>
#include <thread>
#include <tuple>
#include <vector>

#include "nym/message_queue.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

TEST(MessageQueueTest, MessagesComeBackInOrderWithTheirThreeValues) {
  Nym_message_queue queue;
  int payload[2] = {};
  using Message = std::tuple<unsigned int, void*, unsigned int>;
  const Message sent[] = {
      {1, &payload[0], 10}, {0xFFFFFFFFu, nullptr, 0}, {7, &payload[1], 0xFFFFFFFFu}, {7, nullptr, 3}};
  for (const Message& m : sent) queue.add_message(std::get<0>(m), std::get<1>(m), std::get<2>(m));
  EXPECT_EQ(what_of([&] { queue.add_message(0, &payload[0], 1); }), "Nym_message_queue::add_message() - msgid = 0");
  for (const Message& m : sent) {
    void* data = &queue;
    unsigned int value = 12345;
    const unsigned int id = queue.read_message(data, value);
    EXPECT_EQ(Message(id, data, value), m);
  }
  void* data = &queue;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(queue.wait_for_message(60, data), 0u);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(40));  // the timer's grain
  EXPECT_EQ(data, nullptr);
}

// Readers waiting without limit get every message once, each poster's in the order of posting,
// and none wakes with nothing; a stop message per reader ends them.
TEST(MessageQueueTest, WaitingReadersShareTheMessagesInOrder) {
  constexpr unsigned int MESSAGES = 1000, STOP = 0xFFFFFFFFu;
  Nym_message_queue queue;
  std::vector<std::vector<unsigned int>> seen(2);  // per reader, each message as poster * MESSAGES + value
  std::vector<std::thread> readers;
  for (auto& mine : seen) {
    readers.emplace_back([&] {
      void* data = nullptr;
      unsigned int value = 0;
      for (unsigned int id = 0; (id = queue.wait_for_message(Nym_message_queue::FOREVER, data, value)) != STOP;) {
        mine.push_back(id * MESSAGES + value);
      }
    });
  }
  std::thread poster([&] {
    for (unsigned int i = 0; i < MESSAGES; ++i) queue.add_message(2, nullptr, i);
  });
  for (unsigned int i = 0; i < MESSAGES; ++i) queue.add_message(1, nullptr, i);
  poster.join();
  for (int r = 0; r < 2; ++r) queue.add_message(STOP, nullptr, 0);
  for (auto& t : readers) t.join();
  std::vector<unsigned int> all;
  for (const auto& mine : seen) {
    for (size_t i = 1; i < mine.size(); ++i) {
      ASSERT_TRUE(mine[i] / MESSAGES != mine[i - 1] / MESSAGES || mine[i] > mine[i - 1]) << "out of order";
    }
    all.insert(all.end(), mine.begin(), mine.end());
  }
  std::sort(all.begin(), all.end());
  std::vector<unsigned int> posted(2 * MESSAGES);
  std::iota(posted.begin(), posted.end(), MESSAGES);
  EXPECT_EQ(all, posted);
}
