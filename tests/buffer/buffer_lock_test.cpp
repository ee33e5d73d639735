// The contract every store shares, on the shipped string stores: connections, the reader group and
// its writer, and the hand-over that lets a blocking reader sleep at the end of the data. A lost
// wake-up or a deadlock hangs a test, which the watchdog turns into a failure.
#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "nym/multi_buffer.h"
#include "nym/stream_helpers.h"
#include "nym/string_buffer.h"
#include "nym/sub_buffer.h"
#include "nym/wstring_buffer.h"
#include "test_helpers.h"
#include "test_stores.h"

using namespace nym;
using nym_test::Open;
using nym_test::until;
using nym_test::what_of;
using String_store = Open<Nym_string_buffer>;
using Wide_store = Open<Nym_wstring_buffer>;

namespace {

constexpr int64 MAX64 = std::numeric_limits<int64>::max();

std::string all_bytes(const Nym_buffer& store) {
  Nym_status status;
  Nym_unbuffered_istream in(store, false, status);
  std::string bytes(64, '\0');
  bytes.resize(in.read_at(0, bytes.size(), &bytes[0], status));
  return bytes;
}

void spin_a_while() {
  for (int i = 0; i < 2000; ++i) std::this_thread::yield();
}

}  // namespace

TEST(BufferTest, ConnectionsTheOneWriterAndWhatARefusedWriteLeaves) {
  Nstring text = "abc";
  String_store store(text, false);
  store.disconnect_ostream();  // no writer: nothing to signal
  Nym_status status(0x1234);
  store.connect_ostream(status);
  store.connect_ostream(status);
  EXPECT_TRUE(status == NYM_S_NO_WRITER_TAKEN && store.num_ostream() == 1);
  char data[8];
  int64 position = 3;
  EXPECT_TRUE(store.read_at(false, position, 1, data, status) == 0 && status == NYM_S_END_OF_DATA) << "a writer, no wait";
  store.disconnect_ostream();
  store.disconnect_ostream();
  EXPECT_TRUE(store.signals() == 1 && store.num_ostream() == 0) << "the writer leaving wakes the readers, once";
  EXPECT_TRUE(store.read_at(true, position, 1, data, status) == 0 && status == NYM_S_END_OF_DATA) << "a wait, no writer";
  position = 0;
  EXPECT_EQ(what_of([&] { store.write_at(position, static_cast<uint64>(MAX64) + 1, "", status); }),
            "writing too many bytes to the buffer.");
  EXPECT_EQ(store.read_all(0, status), "abc") << "the lock was left free";
}

// Two readers inside the read lock at once; a writer that arrives meanwhile is seen waiting at
// the write lock, and gets in only once both have left.
TEST(BufferTest, ReadersShareTheLockAndTheWriterWaitsForThem) {
  Nstring text = "abcdef";
  String_store store(text, false);
  store.hold_reads(true);
  auto read_one = [&] {
    Nym_status status;
    int64 position = 0;
    char byte;
    store.read_at(false, position, 1, &byte, status);
  };
  std::thread r1(read_one);
  std::thread r2(read_one);
  until([&] { return store.readers_inside() == 2; });
  std::thread writer([&] {
    Nym_status status;
    int64 position = 6;
    store.write_at(position, 1, "g", status);
  });
  until([&] { return store.writers_arrived() == 1; });
  spin_a_while();
  EXPECT_EQ(store.writers_at_lock(), 1) << "the writer got past the lock while readers were inside";
  store.hold_reads(false);
  r1.join();
  r2.join();
  writer.join();
  EXPECT_EQ(text, "abcdefg");
}

namespace {

// A reads first and B joins it; A stops and writes while B is still inside. A's write waits
// for B, whose read sees one version.
template <class Store>
void check_write_waits_for_the_group_it_opened(Store& store) {
  Nym_status status;
  Nym_ostream out(store, status);
  const std::string before = all_bytes(store);
  const int arrived = store.writers_arrived();
  std::atomic<bool> inside{false};
  bool waiting = false;
  std::string seen;
  store.lock_for_reading();
  std::thread b([&] {
    store.lock_for_reading();
    inside = true;
    until([&] { return store.writers_arrived() > arrived; });
    spin_a_while();
    waiting = store.writers_at_lock() == 1;
    seen = all_bytes(store);
    store.unlock_for_reading();
  });
  until([&] { return inside.load(); });
  store.unlock_for_reading();
  out.write(4, "XXXX", status);
  b.join();
  EXPECT_TRUE(waiting) << "the write got in beside a reader";
  EXPECT_EQ(seen, before);
  EXPECT_EQ(all_bytes(store).substr(0, 4), "XXXX");
}

}  // namespace

TEST(BufferLockTest, AReaderThatWritesWaitsForTheRestOfItsGroup) {
  Nstring narrow = "abcdefgh";
  String_store narrow_store(narrow, false);
  check_write_waits_for_the_group_it_opened(narrow_store);
  Wstring wide = u"abcdefgh";
  Wide_store wide_store(wide);
  check_write_waits_for_the_group_it_opened(wide_store);
}

// A write under the thread's own read lock would wait for itself: it raises, in the thread that
// opened the group and in those that joined it, beyond the few noted in place too. A read
// under the thread's own write lock is covered by it, and lets no other reader in.
TEST(BufferLockTest, TheLockAThreadHoldsDecidesItsNext) {
  Nstring text = "abc";
  String_store store(text, false);
  Nym_status status;
  Nym_ostream out(store, status);
  constexpr int READERS = 6;
  std::atomic<int> holding{0};
  std::atomic<int> raised{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < READERS; ++i) {
    readers.emplace_back([&] {
      store.lock_for_reading();
      ++holding;
      until([&] { return holding.load() == READERS; });
      Nym_status own;
      const std::string what = what_of([&] { out.write_at(0, 1, "x", own); });
      if (what == "Nym_buffer::write_lock - this thread holds a read lock on the buffer.") ++raised;
      store.unlock_for_reading();
    });
  }
  for (auto& t : readers) t.join();
  EXPECT_EQ(raised.load(), READERS);

  store.lock_for_writing();
  store.lock_for_reading();
  std::atomic<bool> read{false};
  const int arrived = store.readers_arrived();
  std::thread reader([&] { read = !all_bytes(store).empty(); });
  until([&] { return store.readers_arrived() > arrived; });  // the reader is at the lock
  spin_a_while();
  store.unlock_for_reading();
  spin_a_while();
  EXPECT_FALSE(read.load()) << "a reader got in beside the write";
  store.unlock_for_writing();
  reader.join();
  EXPECT_TRUE(read.load());
}

// One writer and several blocking readers of every kind, many rounds, on both string stores:
// every reader sees every byte in order and ends when the writer leaves. With `waiters` false
// no thread can register to be woken, and sleepers poll instead.
void run_writer_and_readers(bool wide, bool waiters) {
  constexpr int ROUNDS = 4;
  constexpr int READERS = 3;
  constexpr uint64 TOTAL = 60000;
  const bool had_waiters = impl::nym_set_buffer_waiters(waiters);
  std::mt19937 random(2208);
  for (int round = 0; round < ROUNDS; ++round) {
    Nstring narrow;
    Wstring wide_text;
    std::unique_ptr<Nym_buffer> store;
    if (wide) store = std::make_unique<Nym_wstring_buffer>(wide_text);
    else store = std::make_unique<Nym_string_buffer>(narrow, true);
    Nym_status status;
    Nym_ostream out(*store, status);
    std::vector<std::pair<std::string, unsigned int>> seen(READERS);  // the bytes and the status at the end
    std::vector<std::thread> readers;
    for (int r = 0; r < READERS; ++r) {
      readers.emplace_back([&, r] {
        Nym_status s;
        // A window from 0 that follows the store, on the narrow one.
        std::unique_ptr<Nym_buffer> window;
        if (r == 2 && !wide) window = std::make_unique<Nym_sub_buffer>(*store, 0, Nym_sub_buffer::NO_END);
        const Nym_buffer& source = window ? *window : *store;
        std::unique_ptr<Nym_istream> in;
        if (r % 2 == 1) in = std::make_unique<Nym_buffered_istream>(source, true, s);
        else in = std::make_unique<Nym_unbuffered_istream>(source, true, s);
        std::mt19937 sizes(static_cast<unsigned>(round * 10 + r));
        char chunk[5000];
        for (;;) {
          uint64 want = 1 + sizes() % (sizeof chunk - 1);
          if (wide) want += want % 2;  // the wide store reads whole units from even positions
          const uint64 n = in->read(want, chunk, s);
          if (s.is_error()) break;
          seen[r].first.append(chunk, n);
        }
        seen[r].second = s.value();
      });
    }
    const std::string expected = nym_test::pattern(TOTAL);
    for (uint64 done = 0; done < TOTAL && status.is_clear();) {
      // Mostly small writes, so that readers often reach the end and sleep; some large ones.
      uint64 size = std::min<uint64>(TOTAL - done, random() % 8 == 0 ? 1 + random() % 20000 : 1 + random() % 64);
      if (wide) size += size % 2;
      out.write(size, expected.data() + done, status);
      done += size;
    }
    out.detach();
    for (auto& t : readers) t.join();
    for (int r = 0; r < READERS; ++r) {
      ASSERT_EQ(seen[r], std::make_pair(expected, NYM_S_END_OF_DATA)) << round << " " << r;
    }
    ASSERT_EQ(store->num_unbuffered_istream() + store->num_buffered_istream(), 0u);
  }
  impl::nym_set_buffer_waiters(had_waiters);
}

TEST(BufferStressTest, OneWriterManyBlockingReadersOnTheNarrowStore) { run_writer_and_readers(false, true); }
TEST(BufferStressTest, OneWriterManyBlockingReadersOnTheWideStore) { run_writer_and_readers(true, true); }

TEST(BufferStressTest, WithoutWaitersSleepersPoll) {
  run_writer_and_readers(false, false);
  impl::nym_set_buffer_waiters(false);
  Nstring text = "abcdefgh";
  String_store store(text, false);
  check_write_waits_for_the_group_it_opened(store);
  impl::nym_set_buffer_waiters(true);
}

// A chain asks each member its final length, so a reader of a chain whose member still has a
// writer waits until that writer leaves, and then reads what it wrote.
TEST(MultiBufferTest, AMemberWithALiveWriterIsReadOnceItIsFinal) {
  Nstring head = "head:";
  String_store member(head, false);
  Nstring tail_text = ":tail";
  Nym_string_buffer tail(tail_text, false);
  Nym_multi_buffer chain({&member, &tail}, false);
  Nym_status status;
  Nym_ostream out(member, status);
  out.seek(NYM_SEEK_END, 0, status);
  std::thread writer([&] {
    Nym_status s;
    until([&] { return member.sleeping() == 1; });  // the chain's reader waits for the length
    out.write(3, "abc", s);
    out.write(3, "def", s);
    out.detach();
  });
  Nym_unbuffered_istream in(chain, false, status);
  Nstring all;
  nym_stream_to_string(in, all, status);
  writer.join();
  EXPECT_TRUE(status.is_clear() && all == "head:abcdef:tail");
}

TEST(BufferTest, AdvanceKeepsPositionsWithinRange) {
  constexpr int64 MIN64 = std::numeric_limits<int64>::min();
  const int64 cases[][3] = {{0, -1, -1},   {MAX64, 1, -2}, {5, -5, 0},         {0, MAX64, MAX64},
                            {1, MAX64, -2}, {MAX64, MIN64, -1}, {MAX64, -MAX64, 0}, {-1, 5, -1}};  // -1 under, -2 over
  for (const auto& c : cases) {
    const std::string what = what_of([&] { EXPECT_EQ(nym_advance(c[0], c[1]), c[2]); });
    EXPECT_EQ(what, c[2] == -1 ? "Stream position going negative." : c[2] == -2 ? "Stream position too large." : "(nothing raised)")
        << c[0] << " " << c[1];
  }
}
