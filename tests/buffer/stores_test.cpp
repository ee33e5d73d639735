// The stores: the string stores, and the read-only ones (raw memory, window, chain, function).
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "nym/istream.h"
#include "nym/multi_buffer.h"
#include "nym/ostream.h"
#include "nym/raw_memory_buffer.h"
#include "nym/string_buffer.h"
#include "nym/sub_buffer.h"
#include "nym/wstring_buffer.h"
#include "test_helpers.h"
#include "test_stores.h"

using namespace nym;
using nym_test::Open;
using nym_test::Trickle_functor;
using nym_test::what_of;

namespace {

constexpr int64 MAX64 = std::numeric_limits<int64>::max();
constexpr int64 LIMIT = static_cast<int64>(Nym_string_buffer::STRING_LIMIT);

std::unique_ptr<Open<Nym_raw_memory_buffer>> raw(const char* text) {
  return std::make_unique<Open<Nym_raw_memory_buffer>>(static_cast<int64>(std::strlen(text)),
                                                       reinterpret_cast<const unsigned char*>(text),
                                                       Nym_raw_memory_buffer::KEEP_MEMORY);
}

// The cause under a write failure.
unsigned int cause(const Nym_status& status) { return status.child() != nullptr ? status.child()->value() : 0; }

}  // namespace

// Writes pad, overwrite and grow; the limit is on where a write ends, padding included; a
// refused write changes nothing and leaves the lock free.
TEST(StringBufferTest, WritesAndWhatTheyRefuse) {
  const struct {
    const char* before;
    int64 at;
    const char* data;
    const char* after;  // null: refused, with this cause
    unsigned int cause;
  } cases[] = {{"", 10, "xy", "          xy", 0},
               {"abc", 2, "XYZ", "abXYZ", 0},
               {"", LIMIT, "x", nullptr, NYM_S_STRING_LIMIT},
               {"abc", -2, "xy", nullptr, NYM_S_BAD_SEEK},
               {"abc", MAX64 - 1, "xy", nullptr, NYM_S_BAD_SEEK}};
  for (const auto& c : cases) {
    Nstring text = c.before;
    Open<Nym_string_buffer> buffer(text, false);
    Nym_status status(0x1234);
    int64 position = c.at;
    const auto length = static_cast<int64>(std::strlen(c.data));
    buffer.write_at(position, static_cast<uint64>(length), c.data, status);
    const bool written = c.after != nullptr;
    EXPECT_EQ(std::make_tuple(text, status.value(), cause(status), position),
              std::make_tuple(written ? c.after : c.before, written ? 0u : NYM_S_WRITE_FAILED, c.cause,
                              written ? c.at + length : c.at))
        << c.at;
    EXPECT_EQ(buffer.read_all(0, status), text) << "the lock was left free";
  }
  Nstring free_text;
  Open<Nym_string_buffer> unlimited(free_text, true);
  Nym_status status;
  int64 position = LIMIT;
  unlimited.write_at(position, 2, "zz", status);
  EXPECT_TRUE(status.is_clear() && free_text.size() == static_cast<std::size_t>(LIMIT) + 2);
  // Far beyond what a string can hold: the string's own failure (with its text), under the write failure.
  position = MAX64 - 11;
  unlimited.write_at(position, 1, "x", status);
  EXPECT_TRUE(
      status == NYM_S_WRITE_FAILED &&
      (cause(status) == NYM_S_NO_MEMORY || (cause(status) == NYM_S_STD_EXCEPTION && status.child()->num_args() == 1)));
}

TEST(StringBufferTest, ReadsTruncatesAndTheWideStoresUnits) {
  Nstring text = "abcdef";
  Open<Nym_string_buffer> buffer(text, false);
  Nym_status status(0x1234);
  char data[16];
  int64 position = 4;
  EXPECT_TRUE(buffer.read_at(true, position, sizeof data, data, status) == 2 && status.is_clear()) << "short, no wait";

  Wstring wide = u"abc";
  Open<Nym_wstring_buffer> units(wide);
  position = 0;
  EXPECT_TRUE(units.read_at(false, position, 1, data, status) == 0 && status.is_clear()) << "half a unit reads nothing";
  EXPECT_EQ(units.read_at(false, position, 3, data, status), 2u);
  const unsigned char unaligned[] = {0xFF, 'x', 0, 'y', 0};  // the caller's bytes need not be aligned
  position = 10;
  units.write_at(position, 4, unaligned + 1, status);
  EXPECT_EQ(wide, u"abc  xy") << "padded with wide spaces";
  units.truncate_to(3, status);
  EXPECT_TRUE(wide == u"abc" && units.size(false, status) == 6);
  position = 3;
  EXPECT_EQ(what_of([&] { units.read_at(false, position, 2, data, status); }),
            "Nym_wstring_buffer::read - position must be divisible by sizeof(Wchar)");
  position = 0;
  // The odd test comes before the range test of the count.
  EXPECT_EQ(what_of([&] { units.write_at(position, static_cast<uint64>(MAX64) + 2, u"q", status); }),
            "Nym_wstring_buffer::write - position and number of bytes to write must be divisible by sizeof(Wchar)");
  EXPECT_EQ(what_of([&] { units.seek_at(NYM_SEEK_BEGIN, 3, position, status); }),
            "Nym_wstring_buffer::seek - position and offset must be divisible by sizeof(Wchar)");
  position = 3;
  units.seek_at(NYM_SEEK_BEGIN, 4, position, status);
  EXPECT_EQ(position, 4) << "an odd position is replaced, not used, from the start";
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
      {NYM_SEEK_BEGIN, 5, -1, {-1, -1, -1, -1}},
      {NYM_SEEK_BEGIN, 5, MAX64, {MAX64, MAX64, -1, -1}},  // a window adds its start
      {NYM_SEEK_CURRENT, 5, -5, {0, 0, 0, 0}},
      {NYM_SEEK_CURRENT, 5, -6, {-1, -1, -1, -1}},
      {NYM_SEEK_END, 0, -8, {2, 2, -1, -1}},
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
      EXPECT_EQ(std::make_pair(status.value(), position),
                std::make_pair(want < 0 ? NYM_S_BAD_SEEK : 0u, want < 0 ? c.start : want))
          << k << " mode " << c.mode << " offset " << c.offset;
    };
    check(string_store);
    check(*raw_store);
    check(window);
    check(open_window);
  }
}

namespace {

// Refuses a writer, and a write with NYM_S_WRITE_FAILED on top of what the status held.
template <class Store>
void check_read_only(Store& store, bool truncates) {
  Nym_status status;
  const std::string before = store.read_all(0, status);
  Nym_ostream out(store, status);
  EXPECT_TRUE(status == NYM_S_NO_WRITER_TAKEN && store.num_ostream() == 0 && out.buffer() == nullptr);
  int64 position = 0;
  status = 0xC2000042u;
  store.write_at(position, 1, "x", status);
  EXPECT_TRUE(status == NYM_S_WRITE_FAILED && cause(status) == 0xC2000042u && position == 0);
  if (truncates) {
    store.truncate_to(0, status);
    EXPECT_EQ(status, NYM_S_NO_WRITER_TAKEN);
  }
  Nym_status fresh;  // the raw store leaves the status alone on success
  EXPECT_TRUE(!before.empty() && store.read_all(0, fresh) == before);
}

}  // namespace

TEST(ReadOnlyBufferTest, RefuseWritersWritesAndNegativePositions) {
  const char* const text = "SECRET-public";
  Nym_raw_memory_buffer parent(13, reinterpret_cast<const unsigned char*>(text), Nym_raw_memory_buffer::KEEP_MEMORY);
  const auto raw_store = raw(text);
  Open<Nym_sub_buffer> window(parent, 7, 13);
  Open<Nym_multi_buffer> chain(std::vector<const Nym_buffer*>{&window}, false);
  Open<Nym_func_buffer> func(new Trickle_functor(text, 4));  // truncates through its functor
  check_read_only(*raw_store, true);
  check_read_only(window, true);
  check_read_only(chain, true);
  check_read_only(func, false);
  // A window must not show what lies before it, nor any store what lies before its start.
  Nym_sub_buffer open_window(parent, 7, Nym_sub_buffer::NO_END);
  for (const Nym_buffer* store :
       std::initializer_list<const Nym_buffer*>{raw_store.get(), &window, &open_window, &chain}) {
    for (const int64 at : {int64{-2}, std::numeric_limits<int64>::min()}) {
      Nym_status status;
      Nym_unbuffered_istream in(*store, false, status);
      char data[8];
      EXPECT_TRUE(in.read_at(at, 6, data, status) == 0 && status == NYM_S_READ_FAILED) << at;
    }
  }
}

TEST(RawMemoryBufferTest, ReadsWithoutTouchingTheStatusOwnsAsToldRefusesNull) {
  auto store = raw("abcdef");
  Nym_status status(0xC2000042u);
  char data[16];
  int64 position = 2;
  EXPECT_TRUE(store->read_at(true, position, ~uint64{0}, data, status) == 4 && status == 0xC2000042u) << "untouched";
  EXPECT_TRUE(store->read_at(true, position, 1, data, status) == 0 && status == NYM_S_END_OF_DATA) << "never waits";
  // The sanitizers report a leak or a mismatched delete here.
  { Nym_raw_memory_buffer one(1, new unsigned char('x'), Nym_raw_memory_buffer::DELETE_OBJECT); }
  { Nym_raw_memory_buffer many(4, new unsigned char[4](), Nym_raw_memory_buffer::DELETE_ARRAY); }
  EXPECT_THROW(Nym_raw_memory_buffer(1, nullptr, Nym_raw_memory_buffer::KEEP_MEMORY), std::invalid_argument);
  EXPECT_EQ(Open<Nym_raw_memory_buffer>(0, nullptr, Nym_raw_memory_buffer::KEEP_MEMORY).read_all(0, status), "");
}

TEST(MultiBufferTest, ReadsCrossMembersStopAtErrorsAndOwnTheirMembers) {
  auto a = raw("abcde");
  auto b = raw("fghij");
  auto empty = raw("");
  // A member that gives less than it holds is asked again, so no byte is skipped.
  const auto short_reads = nym_test::trickle("klmno", 2);
  Open<Nym_multi_buffer> multi(
      std::vector<const Nym_buffer*>{empty.get(), a.get(), nullptr, b.get(), empty.get(), short_reads.get()}, false);
  Nym_status status;
  EXPECT_TRUE(multi.read_all(3, status) == "defghijklmno" && status == NYM_S_END_OF_DATA && multi.size(false, status) == 15);
  char data[20] = {};
  int64 position = 5;  // exactly at a member's end
  EXPECT_TRUE(multi.read_at(false, position, 2, data, status) == 2 && std::string(data, 2) == "fg");
  // A member that gives nothing and no error ends the read rather than loop.
  const auto stuck = nym_test::trickle("abc", 0);
  position = 0;
  EXPECT_EQ(Open<Nym_multi_buffer>(std::vector<const Nym_buffer*>{stuck.get(), a.get()}, false)
                .read_at(false, position, 10, data, status),
            0u);
  Nym_func_buffer broken;  // no functor: its size fails
  Open<Nym_multi_buffer> failing(std::vector<const Nym_buffer*>{a.get(), &broken, a.get()}, false);
  position = 0;
  EXPECT_TRUE(failing.read_at(false, position, 8, data, status) == 5 && status == NYM_S_NO_FUNCTOR);
  failing.seek_at(NYM_SEEK_END, 0, position, status);
  EXPECT_TRUE(status == NYM_S_BAD_SEEK && status.contains_value(NYM_S_NO_FUNCTOR) && position == 5);
  // The sanitizers report a leak here.
  Nym_multi_buffer owner(std::vector<const Nym_buffer*>{new Nym_func_buffer(new Trickle_functor("a", 1)), nullptr},
                         true);
}

// Every reader of a store believes no more than it asked for: a functor that claims 64 bytes
// more than it gave is held to the request. (The stream fuzz target watches the memory.)
TEST(FuncBufferTest, AFunctorThatClaimsMoreThanAskedIsBelievedNoFurther) {
  const std::string text(100000, 'a');
  const auto store = nym_test::trickle(text, 1 << 20, 64);
  Nym_status status;
  Nym_buffered_istream in(*store, false, status);
  std::string got(50, '\0');
  EXPECT_TRUE(in.read(got.size(), &got[0], status) == 50 && got == text.substr(0, 50) && in.tell() == 50);
  for (int i = 0; i < 20000; ++i) ASSERT_EQ(in.read_wchar(), 0x6161u) << i;
  Nstring line;
  in.readln(10, line, status);
  EXPECT_EQ(line, "aaaaaaaaaa");
  Nstring ten(10, 'b');
  Nym_string_buffer after(ten, false);
  Nym_multi_buffer chain({store.get(), &after}, false);
  Nym_unbuffered_istream chained(chain, false, status);
  EXPECT_TRUE(chained.read(got.size(), &got[0], status) == 50 && got == text.substr(0, 50) && chained.tell() == 50);
}

TEST(SubBufferTest, AWindowShowsItsBytesOnlyAndMovesItsEndWhenNobodyReads) {
  auto parent = raw("0123456789abcde");  // 15 bytes
  Open<Nym_sub_buffer> beyond(*parent, 10, 20);
  Nym_status status;
  EXPECT_TRUE(beyond.read_all(0, status) == "abcde" && beyond.size(false, status) == 10) << "the window's end";
  char data[4];
  int64 position = MAX64;  // start + position leaves the positions: the read fails
  EXPECT_TRUE(beyond.read_at(false, position, 1, data, status) == 0 && status == NYM_S_READ_FAILED);
  EXPECT_EQ(what_of([&] { Nym_sub_buffer bad(*parent, 5, 4); }),
            "Nym_sub_buffer::Nym_sub_buffer - end value is less than start value");
  Nstring text = "0123";
  Nym_string_buffer growing(text, false);
  Open<Nym_sub_buffer> tail(growing, 2, Nym_sub_buffer::NO_END);
  Nym_ostream out(growing, status);
  out.write_at(4, 3, "456", status);
  EXPECT_EQ(tail.read_all(0, status), "23456") << "an open window follows its parent";

  Open<Nym_sub_buffer> sub(*parent, 2, 4);
  {
    Nym_buffered_istream in(sub, false, status);
    sub.set_end(8, status);
    EXPECT_TRUE(status == NYM_S_STREAMS_CONNECTED && sub.end() == 4);
  }
  status.clear();
  sub.set_end(1, status);
  EXPECT_TRUE(status == NYM_S_END_BEFORE_START && sub.end() == 4);
  status.clear();
  sub.set_end(8, status);
  EXPECT_TRUE(status.is_clear() && sub.start() == 2 && sub.read_all(0, status) == "234567");
}

TEST(FuncBufferTest, WithoutAFunctorEveryOperationReportsIt) {
  Open<Nym_func_buffer> none;
  Nym_status status;
  char data[8];
  int64 position = 0;
  EXPECT_TRUE(none.read_at(false, position, 1, data, status) == 0 && status == NYM_S_NO_FUNCTOR);
  EXPECT_TRUE(none.size(true, status) == 0 && status == NYM_S_NO_FUNCTOR);
  none.truncate_to(0, status);
  EXPECT_EQ(status, NYM_S_NO_FUNCTOR);
}
