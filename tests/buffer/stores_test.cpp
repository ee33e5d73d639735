// The stores: the string stores, and the read-only ones (raw memory, window, chain, function).
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "nym/func_buffer.h"
#include "nym/istream.h"
#include "nym/multi_buffer.h"
#include "nym/ostream.h"
#include "nym/raw_memory_buffer.h"
#include "nym/string_buffer.h"
#include "nym/sub_buffer.h"
#include "nym/utf.h"
#include "nym/utf_detect.h"
#include "nym/wstring_buffer.h"
#include "test_helpers.h"
#include "test_stores.h"

using namespace nym;
using nym_test::Open;
using nym_test::Trickle_functor;
using nym_test::what_of;

namespace {

constexpr int64 MAX64 = std::numeric_limits<int64>::max();
constexpr uint64 LIMIT = Nym_string_buffer::STRING_LIMIT;

const unsigned char* bytes_of(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

std::unique_ptr<Open<Nym_raw_memory_buffer>> raw(const char* text) {
  return std::make_unique<Open<Nym_raw_memory_buffer>>(static_cast<int64>(std::strlen(text)), bytes_of(text),
                                                       Nym_raw_memory_buffer::KEEP_MEMORY);
}

// The cause under a write failure.
unsigned int cause(const Nym_status& status) { return status.child() != nullptr ? status.child()->value() : 0; }

}  // namespace

TEST(StringBufferTest, WritesPadOverwriteGrowAndStopAtTheLimit) {
  const struct {
    const char* before;
    int64 at;
    const char* data;
    const char* after;
  } cases[] = {{"", 10, "xy", "          xy"}, {"abcdef", 2, "XY", "abXYef"}, {"abc", 2, "XYZ", "abXYZ"},
               {"abc", 3, "d", "abcd"},         {"abc", 5, "d", "abc  d"}};
  for (const auto& c : cases) {
    Nstring text = c.before;
    Open<Nym_string_buffer> buffer(text, false);
    Nym_status status(0x1234);
    int64 position = c.at;
    buffer.write_at(position, std::strlen(c.data), c.data, status);
    EXPECT_TRUE(status.is_clear()) << c.before << " at " << c.at;
    EXPECT_EQ(text, c.after) << c.before << " at " << c.at;
    EXPECT_EQ(position, c.at + static_cast<int64>(std::strlen(c.data)));
  }
  // The limit is on where a write ends, padding included, whatever the string holds.
  Nstring text;
  Open<Nym_string_buffer> limited(text, false);
  Nym_status status;
  int64 position = static_cast<int64>(LIMIT);
  limited.write_at(position, 1, "x", status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  EXPECT_EQ(cause(status), NYM_S_STRING_LIMIT);
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(position, static_cast<int64>(LIMIT));
  position = static_cast<int64>(LIMIT) - 1;
  limited.write_at(position, 1, "y", status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text.size(), LIMIT);
  Nstring free_text;
  Open<Nym_string_buffer> unlimited(free_text, true);
  position = static_cast<int64>(LIMIT);
  unlimited.write_at(position, 2, "zz", status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(free_text.size(), LIMIT + 2);
}

// A refused write changes nothing and leaves the lock free; the string's own failure comes
// under the write failure.
TEST(StringBufferTest, BadWritesChangeNothing) {
  Nstring text = "abc";
  Open<Nym_string_buffer> buffer(text, true);
  Wstring wide = u"abc";
  Open<Nym_wstring_buffer> wide_buffer(wide);
  Nym_status status;
  for (const int64 at : {int64{-2}, MAX64 - 1}) {
    int64 position = at;
    buffer.write_at(position, 2, "xy", status);
    EXPECT_EQ(cause(status), NYM_S_BAD_SEEK) << at;
    position = at;
    wide_buffer.write_at(position, 2, u"x", status);
    EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED) << at;
    EXPECT_EQ(cause(status), NYM_S_BAD_SEEK) << at;
    EXPECT_EQ(position, at);
  }
  // Far beyond what a string can hold.
  int64 position = MAX64 - 11;
  buffer.write_at(position, 1, "x", status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  EXPECT_TRUE(cause(status) == NYM_S_STD_EXCEPTION || cause(status) == NYM_S_NO_MEMORY) << std::hex << cause(status);
  if (cause(status) == NYM_S_STD_EXCEPTION) {
    EXPECT_EQ(status.child()->num_args(), 1u) << "the exception's text";
  }
  wide_buffer.write_at(position, 2, u"x", status);
  EXPECT_TRUE(cause(status) == NYM_S_STD_EXCEPTION || cause(status) == NYM_S_NO_MEMORY) << std::hex << cause(status);
  EXPECT_EQ(position, MAX64 - 11);
  EXPECT_EQ(buffer.read_all(0, status), "abc");
  EXPECT_EQ(wide, u"abc");
}

TEST(StringBufferTest, ReadsAndTruncates) {
  Nstring text = "abcdef";
  Open<Nym_string_buffer> buffer(text, false);
  Nym_status status(0x1234);
  char data[16];
  int64 position = 4;
  EXPECT_EQ(buffer.read_at(true, position, sizeof data, data, status), 2u) << "short, without blocking";
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(std::string(data, 2), "ef");
  position = 100;
  EXPECT_EQ(buffer.read_at(false, position, 1, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  for (const int64 size : {int64{7}, int64{-1}}) {
    buffer.truncate_to(size, status);
    EXPECT_EQ(status.value(), NYM_S_END_OF_DATA) << size;
  }
  buffer.truncate_to(6, status);
  EXPECT_TRUE(status.is_clear());
  buffer.truncate_to(2, status);
  EXPECT_EQ(text, "ab");
  buffer.truncate_to(0, status);
  EXPECT_EQ(text, "");
}

TEST(WstringBufferTest, WholeUnitsOnly) {
  Wstring text = u"abc";
  Open<Nym_wstring_buffer> buffer(text);
  Nym_status status(0x1234);
  unsigned char data[16] = {};
  int64 position = 0;
  EXPECT_EQ(buffer.read_at(false, position, 1, data, status), 0u) << "half a unit reads nothing";
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(buffer.read_at(false, position, 3, data, status), 2u);
  EXPECT_EQ(data[0], 'a');
  EXPECT_EQ(buffer.read_at(false, position, 16, data, status), 4u);
  EXPECT_EQ(position, 6);
  // The caller's bytes need not be aligned; padding is in wide spaces; a write overwrites.
  const unsigned char unaligned[] = {0xFF, 'x', 0, 'y', 0};
  position = 10;
  buffer.write_at(position, 4, unaligned + 1, status);
  EXPECT_EQ(text, u"abc  xy");
  position = 2;
  buffer.write_at(position, 2, u"Z", status);
  EXPECT_EQ(text, u"aZc  xy");
  buffer.truncate_to(8, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA) << "truncate counts units";
  buffer.truncate_to(3, status);
  EXPECT_EQ(text, u"aZc");
  EXPECT_EQ(buffer.size(false, status), 6);
  buffer.seek_at(NYM_SEEK_END, -8, position, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);

  const std::string odd_write =
      "Nym_wstring_buffer::write - position and number of bytes to write must be divisible by sizeof(Wchar)";
  const std::string odd_seek = "Nym_wstring_buffer::seek - position and offset must be divisible by sizeof(Wchar)";
  position = 3;
  EXPECT_EQ(what_of([&] { buffer.read_at(false, position, 2, data, status); }),
            "Nym_wstring_buffer::read - position must be divisible by sizeof(Wchar)");
  EXPECT_EQ(what_of([&] { buffer.write_at(position, 2, u"q", status); }), odd_write);
  EXPECT_EQ(what_of([&] { buffer.seek_at(NYM_SEEK_CURRENT, 2, position, status); }), odd_seek);
  position = 0;
  EXPECT_EQ(what_of([&] { buffer.write_at(position, 3, u"qq", status); }), odd_write);
  // The odd test comes before the range test of the count.
  EXPECT_EQ(what_of([&] { buffer.write_at(position, static_cast<uint64>(MAX64) + 2, u"q", status); }), odd_write);
  EXPECT_EQ(what_of([&] { buffer.seek_at(NYM_SEEK_BEGIN, 3, position, status); }), odd_seek);
  position = 3;
  buffer.seek_at(NYM_SEEK_BEGIN, 4, position, status);
  EXPECT_EQ(position, 4) << "an odd position is replaced, not used, from the start";
  EXPECT_EQ(text, u"aZc");
}

// Every store's seek on one table: the base by mode, the offset added with nym_advance, a bad
// seek leaving the position, beyond the end legal.
TEST(StoreSeekTest, ModesAndBoundaries) {
  Nstring text = "0123456789";
  Open<Nym_string_buffer> string_store(text, false);
  const auto raw_store = raw("0123456789");
  Open<Nym_sub_buffer> window(*raw_store, 3, 8);
  Open<Nym_sub_buffer> open_window(*raw_store, 3, Nym_sub_buffer::NO_END);
  const struct {
    Nym_seek_mode mode;
    int64 start, offset;
    int64 result[4];  // string, raw, window, open window; -1: NYM_S_BAD_SEEK and the start stays
  } cases[] = {
      {NYM_SEEK_BEGIN, 5, 0, {0, 0, 0, 0}},
      {NYM_SEEK_BEGIN, 5, -1, {-1, -1, -1, -1}},
      {NYM_SEEK_BEGIN, 5, MAX64, {MAX64, MAX64, -1, -1}},  // a window adds its start
      {NYM_SEEK_CURRENT, 5, -5, {0, 0, 0, 0}},
      {NYM_SEEK_CURRENT, 5, -6, {-1, -1, -1, -1}},
      {NYM_SEEK_CURRENT, MAX64, 1, {-1, -1, -1, -1}},
      {NYM_SEEK_END, 0, 0, {10, 10, 5, 7}},
      {NYM_SEEK_END, 0, -5, {5, 5, 0, 2}},
      {NYM_SEEK_END, 0, -8, {2, 2, -1, -1}},
      {NYM_SEEK_END, 0, 7, {17, 17, 12, 14}},
      {NYM_SEEK_END, 0, MAX64 - 10, {MAX64, MAX64, MAX64 - 5, MAX64 - 3}},
      {NYM_SEEK_END, 0, MAX64, {-1, -1, -1, -1}},
      {static_cast<Nym_seek_mode>(3), 5, 0, {-1, -1, -1, -1}},
  };
  for (const auto& c : cases) {
    int k = 0;
    auto check = [&](const auto& store) {
      Nym_status status(0x1234);
      int64 position = c.start;
      store.seek_at(c.mode, c.offset, position, status);
      const int64 want = c.result[k++];
      EXPECT_EQ(status.value(), want < 0 ? NYM_S_BAD_SEEK : 0u) << k << " mode " << c.mode << " offset " << c.offset;
      EXPECT_EQ(position, want < 0 ? c.start : want) << k << " mode " << c.mode << " offset " << c.offset;
    };
    check(string_store);
    check(*raw_store);
    check(window);
    check(open_window);
  }
}

// ---- The read-only stores

namespace {

// Refuses a writer, and a write with NYM_S_WRITE_FAILED on top of what the status held.
template <class Store>
void check_read_only(Store& store, bool truncates) {
  Nym_status status;
  const std::string before = store.read_all(0, status);
  ASSERT_FALSE(before.empty());
  Nym_ostream out(store, status);
  EXPECT_EQ(status.value(), NYM_S_NO_WRITER_TAKEN);
  EXPECT_EQ(store.num_ostream(), 0u);
  EXPECT_EQ(out.buffer(), nullptr);
  int64 position = 0;
  status = 0xC2000042u;
  store.write_at(position, 1, "x", status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  EXPECT_EQ(cause(status), 0xC2000042u);
  EXPECT_EQ(position, 0);
  if (truncates) {
    store.truncate_to(0, status);
    EXPECT_EQ(status.value(), NYM_S_NO_WRITER_TAKEN);
  }
  Nym_status fresh;  // the raw store leaves the status alone on success
  EXPECT_EQ(store.read_all(0, fresh), before);
}

}  // namespace

TEST(ReadOnlyBufferTest, RefuseWritersAndWrites) {
  const char* const text = "0123456789";
  Nym_raw_memory_buffer parent(10, bytes_of(text), Nym_raw_memory_buffer::KEEP_MEMORY);
  Open<Nym_raw_memory_buffer> raw_store(10, bytes_of(text), Nym_raw_memory_buffer::KEEP_MEMORY);
  Open<Nym_sub_buffer> sub(parent, 2, 8);
  Open<Nym_multi_buffer> multi(std::vector<const Nym_buffer*>{&parent}, false);
  Open<Nym_func_buffer> func(new Trickle_functor(text, 4));  // truncates through its functor
  check_read_only(raw_store, true);
  check_read_only(sub, true);
  check_read_only(multi, true);
  check_read_only(func, false);
}

// A window must not show what lies before it, nor any store what lies before its start.
TEST(ReadOnlyBufferTest, EveryStoreRefusesANegativePosition) {
  Nstring text = "SECRET-public";
  Wstring wide = u"SECRET-public";
  Nym_string_buffer narrow_store(text, false);
  Nym_wstring_buffer wide_store(wide);
  const auto raw_store = raw("SECRET-public");
  Nym_sub_buffer window(narrow_store, 7, 13);
  Nym_sub_buffer open_window(narrow_store, 7, Nym_sub_buffer::NO_END);
  Nym_multi_buffer chain({&window}, false);
  for (const Nym_buffer* store : std::initializer_list<const Nym_buffer*>{
           &narrow_store, &wide_store, raw_store.get(), &window, &open_window, &chain}) {
    for (const int64 at : {int64{-2}, int64{-6}, std::numeric_limits<int64>::min()}) {
      Nym_status status;
      Nym_unbuffered_istream in(*store, false, status);
      char data[8];
      EXPECT_EQ(in.read_at(at, 6, data, status), 0u) << at;
      EXPECT_EQ(status.value(), NYM_S_READ_FAILED) << at;
    }
  }
}

TEST(RawMemoryBufferTest, ReadsWithoutTouchingTheStatusOwnsAsToldRefusesNull) {
  auto store = raw("abcdef");
  Nym_status status(0xC2000042u);
  char data[16];
  int64 position = 2;
  EXPECT_EQ(store->read_at(true, position, 3, data, status), 3u);
  EXPECT_EQ(std::string(data, 3), "cde");
  EXPECT_EQ(status.value(), 0xC2000042u) << "status untouched on success";
  EXPECT_EQ(store->read_at(true, position, std::numeric_limits<uint64>::max(), data, status), 1u);
  EXPECT_EQ(store->read_at(true, position, 1, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA) << "the end, though wait was true";
  EXPECT_EQ(store->size(false, status), 6);
  // The sanitizers report a leak or a mismatched delete here.
  { Nym_raw_memory_buffer one(1, new unsigned char('x'), Nym_raw_memory_buffer::DELETE_OBJECT); }
  { Nym_raw_memory_buffer many(4, new unsigned char[4](), Nym_raw_memory_buffer::DELETE_ARRAY); }
  EXPECT_THROW(Nym_raw_memory_buffer(1, nullptr, Nym_raw_memory_buffer::KEEP_MEMORY), std::invalid_argument);
  Open<Nym_raw_memory_buffer> empty(0, nullptr, Nym_raw_memory_buffer::KEEP_MEMORY);
  position = 0;
  EXPECT_EQ(empty.read_at(false, position, 1, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
}

TEST(SubBufferTest, AWindowShowsItsBytesOnly) {
  auto parent = raw("0123456789abcde");  // 15 bytes
  Open<Nym_sub_buffer> beyond(*parent, 10, 20);
  Nym_status status;
  char data[100];
  int64 position = 0;
  EXPECT_EQ(beyond.read_at(false, position, sizeof data, data, status), 5u);
  EXPECT_EQ(std::string(data, 5), "abcde");
  EXPECT_EQ(beyond.size(false, status), 10) << "the end is the window's, not the parent's";
  Open<Nym_sub_buffer> middle(*parent, 2, 5);
  EXPECT_EQ(middle.read_all(0, status), "234");
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  position = MAX64;  // start + position leaves the positions: the read fails
  EXPECT_EQ(middle.read_at(false, position, 1, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_READ_FAILED);
  EXPECT_EQ(what_of([&] { Nym_sub_buffer bad(*parent, 5, 4); }),
            "Nym_sub_buffer::Nym_sub_buffer - end value is less than start value");
  Open<Nym_sub_buffer> empty(*parent, 5, 5);
  EXPECT_EQ(empty.read_all(0, status), "");
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);

  Nstring text = "0123";
  Nym_string_buffer growing(text, false);
  Open<Nym_sub_buffer> tail(growing, 2, Nym_sub_buffer::NO_END);
  EXPECT_EQ(tail.read_all(0, status), "23");
  Nym_ostream out(growing, status);
  out.write_at(4, 3, "456", status);
  EXPECT_EQ(tail.read_all(0, status), "23456") << "an open window follows its parent";
}

TEST(SubBufferTest, SetEndOnlyWithoutStreams) {
  auto parent = raw("0123456789");
  Open<Nym_sub_buffer> sub(*parent, 2, 4);
  Nym_status status;
  {
    Nym_unbuffered_istream a(sub, false, status);
    sub.set_end(8, status);
    EXPECT_EQ(status.value(), NYM_S_STREAMS_CONNECTED);
    a.detach();
    Nym_buffered_istream b(sub, false, status);
    status.clear();
    sub.set_end(8, status);
    EXPECT_EQ(status.value(), NYM_S_STREAMS_CONNECTED);
  }
  status.clear();
  sub.set_end(1, status);
  EXPECT_EQ(status.value(), NYM_S_END_BEFORE_START);
  EXPECT_EQ(sub.end(), 4);
  status.clear();
  sub.set_end(8, status);
  EXPECT_TRUE(status.is_clear()) << "set_end pushes only when it refuses";
  EXPECT_EQ(sub.start(), 2);
  EXPECT_EQ(sub.read_all(0, status), "234567");
}

TEST(MultiBufferTest, ReadsCrossMembersAndSkipEmptyOnes) {
  auto a = raw("abcde");
  auto b = raw("fghij");
  auto empty = raw("");
  // A member that gives less than it holds is asked again, so no byte is skipped.
  const auto short_reads = nym_test::trickle("klmno", 2);
  Open<Nym_multi_buffer> multi(
      std::vector<const Nym_buffer*>{empty.get(), a.get(), nullptr, b.get(), empty.get(), short_reads.get()}, false);
  Nym_status status;
  char data[20] = {};
  int64 position = 3;
  EXPECT_EQ(multi.read_at(false, position, 12, data, status), 12u);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(std::string(data, 12), "defghijklmno");
  EXPECT_EQ(multi.read_at(false, position, 1, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  position = 5;  // exactly at a member's end
  EXPECT_EQ(multi.read_at(false, position, 2, data, status), 2u);
  EXPECT_EQ(std::string(data, 2), "fg");
  EXPECT_EQ(multi.size(false, status), 15);
  Open<Nym_multi_buffer> none(std::vector<const Nym_buffer*>{}, false);
  EXPECT_EQ(none.read_all(0, status), "");
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  // A member that gives nothing and no error ends the read rather than loop.
  const auto stuck = nym_test::trickle("abc", 0);
  Open<Nym_multi_buffer> stalled(std::vector<const Nym_buffer*>{stuck.get(), a.get()}, false);
  position = 0;
  EXPECT_EQ(stalled.read_at(false, position, 10, data, status), 0u);
  EXPECT_EQ(position, 0);
}

TEST(MultiBufferTest, MemberErrorsStopTheReadAndOwnedMembersAreDestroyed) {
  auto a = raw("ab");
  Nym_func_buffer broken;  // no functor: its size fails
  Open<Nym_multi_buffer> multi(std::vector<const Nym_buffer*>{a.get(), &broken, a.get()}, false);
  Nym_status status;
  char data[8];
  int64 position = 0;
  EXPECT_EQ(multi.read_at(false, position, 8, data, status), 2u);
  EXPECT_EQ(status.value(), NYM_S_NO_FUNCTOR);
  multi.seek_at(NYM_SEEK_END, 0, position, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);
  EXPECT_TRUE(status.contains_value(NYM_S_NO_FUNCTOR));
  EXPECT_EQ(position, 2);
  multi.seek_at(NYM_SEEK_BEGIN, 1, position, status);
  EXPECT_TRUE(status.is_clear()) << "seeking from the start needs no length";
  EXPECT_EQ(multi.size(false, status), 0);
  EXPECT_TRUE(status.is_error());

  std::atomic<int> destroyed{0};
  {
    Nym_multi_buffer owner(std::vector<const Nym_buffer*>{new Nym_func_buffer(new Trickle_functor("a", 1, &destroyed)),
                                                          nullptr,
                                                          new Nym_func_buffer(new Trickle_functor("b", 1, &destroyed))},
                           true);
    EXPECT_EQ(std::distance(owner.begin(), owner.end()), 3);
  }
  EXPECT_EQ(destroyed.load(), 2);
  Nym_func_buffer kept(new Trickle_functor("c", 1, &destroyed));
  { Nym_multi_buffer borrower(std::vector<const Nym_buffer*>{&kept}, false); }
  EXPECT_EQ(destroyed.load(), 2);
}

TEST(FuncBufferTest, PassesToTheFunctorOrReportsItsAbsence) {
  Open<Nym_func_buffer> none;
  Nym_status status;
  char data[8];
  int64 position = 0;
  EXPECT_EQ(none.read_at(false, position, 1, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_NO_FUNCTOR);
  status.clear();
  EXPECT_EQ(none.size(true, status), 0);
  EXPECT_EQ(status.value(), NYM_S_NO_FUNCTOR);
  none.truncate_to(0, status);
  EXPECT_EQ(status.value(), NYM_S_NO_FUNCTOR);
  none.seek_at(NYM_SEEK_END, 0, position, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);

  std::atomic<int> destroyed{0};
  {
    auto* functor = new Trickle_functor("abcdef", 4, &destroyed);
    Open<Nym_func_buffer> func(functor);
    position = 1;
    EXPECT_EQ(func.read_at(true, position, 8, data, status), 4u);
    EXPECT_TRUE(functor->last_wait());
    EXPECT_EQ(std::string(data, 4), "bcde");
    EXPECT_EQ(func.size(true, status), 6) << "no writer to wait for";
    func.seek_at(NYM_SEEK_END, -2, position, status);
    EXPECT_EQ(position, 4);
    func.truncate_to(7, status);
    EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
    EXPECT_EQ(functor->truncations(), 0);
    func.truncate_to(3, status);
    EXPECT_EQ(functor->bytes(), "abc");
  }
  EXPECT_EQ(destroyed.load(), 1);
}

// Breaks the contract: fills what it is asked for, but claims 64 bytes more and moves the
// position by as much, up to a length of 100,000.
struct Overclaim_functor : Nym_buffer_functor {
  uint64 read(bool, int64& position, uint64 count, void* data, Nym_status& status) override {
    status = position >= 0 && position < 100000 ? 0u : NYM_S_END_OF_DATA;
    if (status.is_error()) return 0;
    std::memset(data, 'a', count);
    position += static_cast<int64>(std::min<uint64>(count, 100000)) + 64;
    return count + 64;
  }
  int64 size() override { return 100000; }
  void truncate(int64, Nym_status& status) override { status.clear(); }
};

// Every reader of a store believes no more than it asked for: a functor that claims more
// gives wrong bytes at worst, never a copy past the reader's array.
TEST(FuncBufferTest, AFunctorThatClaimsMoreThanAskedIsBelievedNoFurther) {
  Nym_func_buffer store(new Overclaim_functor);
  Nym_status status;
  unsigned char flags = 0;
  bool ascii = false;
  EXPECT_TRUE(nym_is_utf8(&store, flags, ascii, status));
  EXPECT_TRUE(ascii);
  nym_is_utf16(&store, 10, flags, status);
  Nstring converted;
  Nym_string_buffer target(converted, true);
  {
    Nym_unbuffered_istream in(store, false, status);
    Nym_ostream out(target, status);
    nym_utf16_to_utf8(in, out, status);
    EXPECT_TRUE(status.ok());
  }
  Nym_buffered_istream in(store, false, status);
  for (int i = 0; i < 20000; ++i) ASSERT_EQ(in.read_char(), 'a') << i;
  for (int i = 0; i < 20000; ++i) ASSERT_EQ(in.read_wchar(), 0x6161u) << i;
  Nstring line;
  in.readln(10, line, status);
  EXPECT_EQ(line, "aaaaaaaaaa");
  Nstring ten(10, 'b');
  Nym_string_buffer after(ten, false);
  Nym_multi_buffer chain({&store, &after}, false);
  Nym_unbuffered_istream chained(chain, false, status);
  std::string got(50, '\0');
  EXPECT_EQ(chained.read(got.size(), &got[0], status), 50u);
  EXPECT_EQ(got, std::string(50, 'a'));
}
