#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

#include "nym/istream.h"
#include "nym/string_buffer.h"
#include "test_store.h"
#include "watchdog.h"

using namespace nym;
using nym_test::Test_store;

namespace {

std::string bytes_of(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out.push_back(static_cast<char>(v));
  return out;
}

std::string pattern(std::size_t size) {
  std::string out(size, '\0');
  for (std::size_t i = 0; i < size; ++i) out[i] = static_cast<char>((i * 7 + i / 251) & 0xFF);
  return out;
}

// Both stream kinds, for the tests that hold for either.
template <class Stream>
class IstreamTest : public testing::Test {};
using Streams = testing::Types<Nym_unbuffered_istream, Nym_buffered_istream>;
TYPED_TEST_SUITE(IstreamTest, Streams);

}  // namespace

TYPED_TEST(IstreamTest, DetachedStreamReportsNotAttached) {
  TypeParam stream;
  Nym_status status;
  char data[4];
  EXPECT_EQ(stream.read(4, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
  status.clear();
  EXPECT_EQ(stream.read_at(0, 4, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
  status.clear();
  stream.seek(NYM_SEEK_BEGIN, 1, status);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
  EXPECT_EQ(stream.size(status), 0);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
  Nstring line;
  stream.readln(10, line, status);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
  EXPECT_FALSE(stream.size_greater_than(0));
  stream.seek(int64{5});
  EXPECT_EQ(stream.tell(), 0) << "tell is 0 when detached";
  EXPECT_EQ(stream.buffer(), nullptr);
}

TYPED_TEST(IstreamTest, ReadsInOrderToTheEnd) {
  const std::string text = pattern(50000);
  Test_store store(text);
  Nym_status status;
  TypeParam stream(store, false, status);
  ASSERT_TRUE(status.is_clear());
  EXPECT_EQ(stream.buffer(), &store);
  std::string got;
  char chunk[777];
  for (;;) {
    const uint64 n = stream.read(sizeof chunk, chunk, status);
    if (status.is_error()) break;
    got.append(chunk, n);
  }
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  EXPECT_EQ(got, text);
  EXPECT_EQ(stream.tell(), 50000);
}

TYPED_TEST(IstreamTest, ReadAtLeavesThePositionAlone) {
  Test_store store("0123456789");
  Nym_status status;
  TypeParam stream(store, false, status);
  char data[4] = {};
  stream.seek(int64{2});
  EXPECT_EQ(stream.read_at(6, 3, data, status), 3u);
  EXPECT_EQ(std::string(data, 3), "678");
  EXPECT_EQ(stream.tell(), 2);
  EXPECT_EQ(stream.read(2, data, status), 2u);
  EXPECT_EQ(std::string(data, 2), "23");
  EXPECT_EQ(stream.tell(), 4);
  EXPECT_EQ(stream.read(0, data, status), 0u);
  EXPECT_TRUE(status.is_clear());
}

TYPED_TEST(IstreamTest, SeekTellAndSize) {
  Test_store store("0123456789");
  Nym_status status;
  TypeParam stream(store, false, status);
  stream.seek(NYM_SEEK_END, -3, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(stream.tell(), 7);
  stream.seek(NYM_SEEK_CURRENT, -8, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);
  EXPECT_EQ(stream.tell(), 7);
  EXPECT_EQ(stream.size(status), 10);
  EXPECT_TRUE(stream.size_greater_than(9));
  EXPECT_FALSE(stream.size_greater_than(10));
}

TYPED_TEST(IstreamTest, ByteOrderReads) {
  Test_store store(bytes_of({1, 2, 3, 4, 1, 2, 3, 4, 0xFF, 0xFE, 1, 2, 3}));
  Nym_status status;
  TypeParam stream(store, false, status);
  int be = 0;
  stream.read_be(be, status);
  EXPECT_EQ(be, 0x01020304);
  int le = 0;
  stream.read_le(le, status);
  EXPECT_EQ(le, 0x04030201);
  short s = 0;
  stream.read_be(s, status);
  EXPECT_EQ(s, static_cast<short>(0xFFFE));
  EXPECT_TRUE(status.is_clear());
  unsigned int three = 77;
  stream.read_be(three, status);
  EXPECT_EQ(status.value(), NYM_S_TOO_FEW_BYTES);
  EXPECT_FALSE(status.has_child()) << "part of a value is a short read, not the end of the data";
  EXPECT_EQ(stream.tell(), 13) << "the position moves by what was read";
  // Nothing left at all: the end of the data stays under the report.
  stream.read_be(three, status);
  EXPECT_EQ(status.value(), NYM_S_TOO_FEW_BYTES);
  ASSERT_TRUE(status.has_child());
  EXPECT_EQ(status.child()->value(), NYM_S_END_OF_DATA);
}

TYPED_TEST(IstreamTest, WideByteOrderReads) {
  Test_store store(bytes_of({1, 2, 3, 4, 5, 6, 7, 8, 1, 2, 3, 4, 5, 6, 7, 8, 0x80, 0}));
  Nym_status status;
  TypeParam stream(store, false, status);
  uint64 be = 0;
  stream.read_be(be, status);
  EXPECT_EQ(be, 0x0102030405060708ull);
  int64 le = 0;
  stream.read_le(le, status);
  EXPECT_EQ(le, 0x0807060504030201ll);
  unsigned short u = 0;
  stream.read_le(u, status);
  EXPECT_EQ(u, 0x0080u);
  EXPECT_TRUE(status.is_clear());
  stream.read_le(u, status);
  EXPECT_EQ(status.value(), NYM_S_TOO_FEW_BYTES);
}

TYPED_TEST(IstreamTest, DetachDisconnectsAndInitReattaches) {
  Test_store first("abc");
  Test_store second("xyz");
  Nym_status status;
  TypeParam stream(first, false, status);
  stream.detach();
  EXPECT_EQ(first.num_unbuffered_istream() + first.num_buffered_istream(), 0u);
  stream.init(second, false, status, NYM_EOL_LF);
  EXPECT_EQ(stream.get_eol(), NYM_EOL_LF);
  char c = 0;
  stream.read(1, &c, status);
  EXPECT_EQ(c, 'x');
  EXPECT_EQ(second.num_unbuffered_istream() + second.num_buffered_istream(), 1u);
}

TYPED_TEST(IstreamTest, BlockingStreamFollowsTheWriter) {
  nym_test::Watchdog watchdog("BlockingStreamFollowsTheWriter");
  Test_store store;
  Nym_status status;
  store.connect_ostream(status);
  std::string got;
  Nym_status reader_status;
  int64 size_seen = -1;
  std::thread reader([&] {
    TypeParam stream(store, true, reader_status);
    char chunk[64];
    for (;;) {
      const uint64 n = stream.read(sizeof chunk, chunk, reader_status);
      if (reader_status.is_error()) break;
      got.append(chunk, n);
    }
    Nym_status size_status;
    size_seen = stream.size(size_status);
  });
  for (int i = 0; i < 50; ++i) store.append("line " + std::to_string(i) + "\n");
  store.disconnect_ostream();
  reader.join();
  std::string expected;
  for (int i = 0; i < 50; ++i) expected += "line " + std::to_string(i) + "\n";
  EXPECT_EQ(got, expected);
  EXPECT_EQ(reader_status.value(), NYM_S_END_OF_DATA);
  EXPECT_EQ(size_seen, static_cast<int64>(expected.size()));
}

// Positions set without a check, near both ends of the range: below 0 the store refuses the
// read, at the last positions the data have ended, and no piece of a line comes from nothing.
TYPED_TEST(IstreamTest, PositionsAtTheExtremesFailOrEndAsDocumented) {
  Nstring text = "hello world\n";
  Nym_string_buffer store(text, false);
  Nym_status status;
  TypeParam stream(store, false, status);
  constexpr int64 MAX = std::numeric_limits<int64>::max();
  for (const int64 at : {std::numeric_limits<int64>::min(), int64{-2}, MAX - 5, MAX - 1, MAX}) {
    const unsigned int expected = at < 0 ? NYM_S_READ_FAILED : NYM_S_END_OF_DATA;
    char data[4];
    EXPECT_EQ(stream.read_at(at, sizeof data, data, status), 0u) << at;
    EXPECT_EQ(status.value(), expected) << at;
    EXPECT_FALSE(stream.size_greater_than(at)) << at;
    stream.seek(at);
    EXPECT_EQ(stream.read(sizeof data, data, status), 0u) << at;
    EXPECT_EQ(status.value(), expected) << at;
    Nstring line = "x";
    Wstring wide = u"x";
    EXPECT_EQ(stream.readln(10, line, status), NYM_EOL_ANY);
    EXPECT_EQ(status.value(), expected) << at;
    EXPECT_EQ(stream.wreadln_at(at, 10, wide, status), NYM_EOL_ANY);
    EXPECT_EQ(status.value(), expected) << at;
    EXPECT_TRUE(line.empty() && wide.empty()) << at;
    EXPECT_EQ(stream.tell(), at);
    if constexpr (std::is_same_v<TypeParam, Nym_buffered_istream>) {
      EXPECT_THROW(stream.read_char(), std::runtime_error) << at;
      EXPECT_THROW(stream.read_wchar(), std::runtime_error) << at;
    }
  }
}

TEST(BufferedIstreamTest, LargeReadCrossesTheWindow) {
  const std::string text = pattern(30000);
  Test_store store(text);
  Nym_status status;
  Nym_buffered_istream stream(store, false, status);
  std::string got(20000, '\0');
  EXPECT_EQ(stream.read(20000, got.data(), status), 20000u);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(got, text.substr(0, 20000));
  std::string rest(20000, '\0');
  EXPECT_EQ(stream.read(20000, rest.data(), status), 10000u) << "a partial read that meets the end succeeds";
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(rest.substr(0, 10000), text.substr(20000));
  EXPECT_EQ(stream.read(1, rest.data(), status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
}

TEST(BufferedIstreamTest, ReadCharWalksTheDataAndRaisesAtTheEnd) {
  const std::string text = pattern(40000);
  Test_store store(text);
  Nym_status status;
  Nym_buffered_istream stream(store, false, status);
  std::string got;
  for (std::size_t i = 0; i < text.size(); ++i) got.push_back(stream.read_char());
  EXPECT_EQ(got, text);
  try {
    stream.read_char();
    FAIL() << "no exception";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "Nym_buffered_istream::read_char - Error reading data");
  }
  Nym_buffered_istream detached;
  EXPECT_THROW(detached.read_char(), std::runtime_error);
}

TEST(BufferedIstreamTest, ReadWcharNeverSplitsAUnit) {
  // An odd start puts a unit across the window's last byte and the next window.
  std::string text = "x";
  for (int i = 0; i < 10000; ++i) text += bytes_of({i & 0xFF, (i >> 8) & 0xFF});
  Test_store store(text);
  Nym_status status;
  Nym_buffered_istream stream(store, false, status);
  EXPECT_EQ(stream.read_char(), 'x');
  for (int i = 0; i < 10000; ++i) ASSERT_EQ(stream.read_wchar(), static_cast<unsigned short>(i)) << i;
  EXPECT_EQ(stream.tell(), 20001);
  EXPECT_THROW(stream.read_wchar(), std::runtime_error);
}

TEST(BufferedIstreamTest, HalfAUnitAtTheEndRaises) {
  Test_store store(bytes_of({0x41, 0, 0x42}));
  Nym_status status;
  Nym_buffered_istream stream(store, false, status);
  EXPECT_EQ(stream.read_wchar(), 0x41u);
  EXPECT_THROW(stream.read_wchar(), std::runtime_error);
}

TEST(BufferedIstreamTest, ReadWcharWaitsForTheSecondByte) {
  nym_test::Watchdog watchdog("ReadWcharWaitsForTheSecondByte");
  Test_store store;
  Nym_status status;
  store.connect_ostream(status);
  store.append(bytes_of({0x34}));
  unsigned short unit = 0;
  std::thread reader([&] {
    Nym_status s;
    Nym_buffered_istream stream(store, true, s);
    unit = stream.read_wchar();
  });
  while (store.sleeping() != 1) std::this_thread::yield();
  store.append(bytes_of({0x12}));
  store.disconnect_ostream();
  reader.join();
  EXPECT_EQ(unit, 0x1234u);
}

TEST(BufferedIstreamTest, WindowKeepsItsBytesAfterTheStoreChanges) {
  Test_store store("abcdef");
  Nym_status status;
  Nym_buffered_istream stream(store, false, status);
  EXPECT_EQ(stream.read_char(), 'a');
  int64 position = 1;
  store.write_at(position, 1, "Z", status);
  EXPECT_EQ(stream.read_char(), 'b') << "the window is a cache of what it read";
  Nym_unbuffered_istream direct(store, false, status);
  char c = 0;
  direct.read_at(1, 1, &c, status);
  EXPECT_EQ(c, 'Z');
}

TEST(UnbufferedIstreamTest, InitOnAnAttachedStreamKeepsTheOldConnection) {
  Test_store first("abc");
  Test_store second("xyz");
  Nym_status status;
  {
    Nym_unbuffered_istream stream(first, false, status);
    stream.init(second, false, status, NYM_EOL_ANY);
    EXPECT_EQ(first.num_unbuffered_istream(), 1u);
    EXPECT_EQ(second.num_unbuffered_istream(), 1u);
  }
  EXPECT_EQ(second.num_unbuffered_istream(), 0u) << "the destructor disconnects the buffer it holds";
  EXPECT_EQ(first.num_unbuffered_istream(), 1u);
}
