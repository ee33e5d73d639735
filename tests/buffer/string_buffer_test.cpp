#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>

#include "nym/istream.h"
#include "nym/ostream.h"
#include "nym/string_buffer.h"
#include "nym/wstring_buffer.h"
#include "open_store.h"

using namespace nym;
using nym_test::Open;

namespace {

constexpr int64 MAX64 = std::numeric_limits<int64>::max();
constexpr uint64 LIMIT = Nym_string_buffer::STRING_LIMIT;

template <class Raise>
void expect_invalid_argument(Raise raise, const char* text) {
  try {
    raise();
    ADD_FAILURE() << "no exception, expected: " << text;
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), text);
  }
}

}  // namespace

TEST(StringBufferTest, TakesExactlyTheLimitByDefault) {
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream out(buffer, status);
  const std::string block(LIMIT, 'a');
  out.write(block.size(), block.data(), status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text.size(), LIMIT);
  out.write(1, "b", status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  ASSERT_NE(status.child(), nullptr);
  EXPECT_EQ(status.child()->value(), NYM_S_STRING_LIMIT);
  EXPECT_EQ(text.size(), LIMIT) << "a refused write changes nothing";
  EXPECT_EQ(out.tell(), static_cast<int64>(LIMIT));
  // The limit is on where a write ends, whatever the string holds.
  out.write_at(static_cast<int64>(LIMIT) - 1, 1, "c", status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text.back(), 'c');
}

TEST(StringBufferTest, LimitCountsPaddingToo) {
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream out(buffer, status);
  out.write_at(static_cast<int64>(LIMIT), 1, "x", status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  EXPECT_TRUE(text.empty());
  out.write_at(static_cast<int64>(LIMIT) - 1, 1, "x", status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text.size(), LIMIT);
}

TEST(StringBufferTest, NoLimitGoesBeyond) {
  Nstring text;
  Nym_string_buffer buffer(text, true);
  Nym_status status;
  Nym_ostream out(buffer, status);
  const std::string block(LIMIT + 100, 'a');
  out.write(block.size(), block.data(), status);
  out.write(1, "b", status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text.size(), LIMIT + 101);
}

TEST(StringBufferTest, WritesPadOverwriteAndGrow) {
  const struct {
    const char* before;
    int64 at;
    const char* data;
    const char* after;
  } cases[] = {
      {"", 10, "xy", "          xy"},  // ten spaces, then the data
      {"abcdef", 2, "XY", "abXYef"},     // overwrites, does not insert
      {"abc", 2, "XYZ", "abXYZ"},        // overwrites and grows
      {"abc", 3, "d", "abcd"},           // appends
      {"abc", 5, "d", "abc  d"},         // pads from the end
  };
  for (const auto& c : cases) {
    Nstring text = c.before;
    Open<Nym_string_buffer> buffer(text, false);
    Nym_status status(0x1234);
    int64 position = c.at;
    buffer.write_at(position, std::char_traits<char>::length(c.data), c.data, status);
    EXPECT_TRUE(status.is_clear()) << c.before << " at " << c.at;
    EXPECT_EQ(text, c.after) << c.before << " at " << c.at;
    EXPECT_EQ(position, c.at + static_cast<int64>(std::char_traits<char>::length(c.data)));
  }
}

TEST(StringBufferTest, BadWritesChangeNothing) {
  Nstring text = "abc";
  Open<Nym_string_buffer> buffer(text, true);
  Nym_status status;
  int64 position = 0;
  try {
    buffer.write_at(position, static_cast<uint64>(MAX64) + 1, "x", status);
    ADD_FAILURE() << "no exception";
  } catch (const std::out_of_range& e) {
    EXPECT_STREQ(e.what(), "writing too many bytes to the buffer.");
  }
  buffer.write_at(position, 0, "x", status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(position, 0);

  // Below 0, and past the last position: a bad position.
  for (const int64 at : {int64{-1}, MAX64 - 1}) {
    position = at;
    buffer.write_at(position, 2, "xy", status);
    EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
    EXPECT_EQ(status.child()->value(), NYM_S_BAD_SEEK);
    EXPECT_EQ(position, at);
  }

  // Far beyond what a string can hold: the string's own exception, under the write failure.
  position = MAX64 - 10;
  buffer.write_at(position, 1, "x", status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  ASSERT_NE(status.child(), nullptr);
  const unsigned int cause = status.child()->value();
  EXPECT_TRUE(cause == NYM_S_STD_EXCEPTION || cause == NYM_S_NO_MEMORY) << std::hex << cause;
  if (cause == NYM_S_STD_EXCEPTION) {
    EXPECT_EQ(status.child()->num_args(), 1u) << "the exception's text";
  }
  EXPECT_EQ(position, MAX64 - 10);
  EXPECT_EQ(text, "abc");

  // The lock was released on every path: a reader still gets in.
  EXPECT_EQ(buffer.read_all(0, status), "abc");
}

TEST(StringBufferTest, ReadFollowsTheContract) {
  Nstring text = "abcdef";
  Open<Nym_string_buffer> buffer(text, false);
  Nym_status status(0x1234);
  char data[16];
  int64 position = 4;
  EXPECT_EQ(buffer.read_at(true, position, sizeof data, data, status), 2u) << "short, without blocking";
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(std::string(data, 2), "ef");
  EXPECT_EQ(position, 6);
  EXPECT_EQ(buffer.read_at(true, position, sizeof data, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA) << "no writer: the end";
  position = 100;
  EXPECT_EQ(buffer.read_at(false, position, 1, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  position = -2;
  EXPECT_EQ(buffer.read_at(false, position, 1, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_READ_FAILED);
  EXPECT_EQ(position, -2);
}

TEST(StringBufferTest, TruncateBoundaries) {
  Nstring text = "abcdef";
  Open<Nym_string_buffer> buffer(text, false);
  Nym_status status;
  buffer.truncate_to(7, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  buffer.truncate_to(-1, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  EXPECT_EQ(text, "abcdef");
  buffer.truncate_to(6, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text, "abcdef");
  buffer.truncate_to(2, status);
  EXPECT_EQ(text, "ab");
  buffer.truncate_to(0, status);
  EXPECT_EQ(text, "");
}

TEST(StringBufferTest, SeekBoundaries) {
  Nstring text = "0123456789";
  Open<Nym_string_buffer> buffer(text, false);
  const struct {
    Nym_seek_mode mode;
    int64 start;
    int64 offset;
    int64 result;  // -1: NYM_S_BAD_SEEK, the start stays
  } cases[] = {
      {NYM_SEEK_BEGIN, 5, 0, 0},       {NYM_SEEK_BEGIN, 5, -1, -1},     {NYM_SEEK_BEGIN, 5, MAX64, MAX64},
      {NYM_SEEK_CURRENT, 5, -5, 0},    {NYM_SEEK_CURRENT, 5, -6, -1},   {NYM_SEEK_CURRENT, 5, MAX64, -1},
      {NYM_SEEK_END, 0, 0, 10},        {NYM_SEEK_END, 0, -10, 0},       {NYM_SEEK_END, 0, -11, -1},
      {NYM_SEEK_END, 0, 7, 17},        {NYM_SEEK_END, 0, MAX64 - 10, MAX64}, {NYM_SEEK_END, 0, MAX64 - 9, -1},
  };
  for (const auto& c : cases) {
    Nym_status status(0x1234);
    int64 position = c.start;
    buffer.seek_at(c.mode, c.offset, position, status);
    if (c.result < 0) {
      EXPECT_EQ(status.value(), NYM_S_BAD_SEEK) << c.mode << " " << c.offset;
      EXPECT_EQ(position, c.start);
    } else {
      EXPECT_TRUE(status.is_clear()) << c.mode << " " << c.offset;
      EXPECT_EQ(position, c.result) << c.mode << " " << c.offset;
    }
  }
  Nym_status status;
  EXPECT_EQ(buffer.size(false, status), 10);
}

// ---- Nym_wstring_buffer

TEST(WstringBufferTest, ReadsWholeUnitsOnly) {
  Wstring text = u"abc";
  Open<Nym_wstring_buffer> buffer(text);
  Nym_status status(0x1234);
  unsigned char data[16] = {};
  int64 position = 0;
  EXPECT_EQ(buffer.read_at(false, position, 1, data, status), 0u) << "half a unit reads nothing";
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(position, 0);
  EXPECT_EQ(buffer.read_at(false, position, 3, data, status), 2u);
  EXPECT_EQ(data[0], 'a');
  EXPECT_EQ(data[1], 0);
  EXPECT_EQ(buffer.read_at(false, position, 16, data, status), 4u);
  EXPECT_EQ(position, 6);
  EXPECT_EQ(buffer.read_at(false, position, 16, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  position = 3;
  expect_invalid_argument([&] { buffer.read_at(false, position, 2, data, status); },
                          "Nym_wstring_buffer::read - position must be divisible by sizeof(Wchar)");
}

TEST(WstringBufferTest, WritesWholeUnitsAndPadsWithWideSpaces) {
  Wstring text;
  Open<Nym_wstring_buffer> buffer(text);
  Nym_status status;
  // The caller's bytes need not be aligned for 16-bit units.
  const unsigned char raw[] = {0xFF, 'x', 0, 'y', 0};
  int64 position = 4;
  buffer.write_at(position, 4, raw + 1, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text, u"  xy");
  EXPECT_EQ(position, 8);
  position = 2;
  buffer.write_at(position, 2, u"Z", status);
  EXPECT_EQ(text, u" Zxy") << "overwrites, does not insert";

  const char* const odd = "Nym_wstring_buffer::write - position and number of bytes to write must be divisible by sizeof(Wchar)";
  position = 1;
  expect_invalid_argument([&] { buffer.write_at(position, 2, u"q", status); }, odd);
  position = 0;
  expect_invalid_argument([&] { buffer.write_at(position, 3, u"qq", status); }, odd);
  // The odd test comes before the range test of the count.
  expect_invalid_argument([&] { buffer.write_at(position, static_cast<uint64>(MAX64) + 2, u"q", status); }, odd);
  EXPECT_THROW(buffer.write_at(position, static_cast<uint64>(MAX64) + 1, u"q", status), std::out_of_range);
  EXPECT_EQ(text, u" Zxy");

  position = MAX64 - 11;  // even, and far beyond what a string can hold
  buffer.write_at(position, 2, u"q", status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  ASSERT_NE(status.child(), nullptr);
  EXPECT_TRUE(status.child()->value() == NYM_S_STD_EXCEPTION || status.child()->value() == NYM_S_NO_MEMORY);
  EXPECT_EQ(text, u" Zxy");
}

TEST(WstringBufferTest, SeekCountsBytesAndRefusesHalfUnits) {
  Wstring text = u"abcde";
  Open<Nym_wstring_buffer> buffer(text);
  Nym_status status;
  int64 position = 0;
  buffer.seek_at(NYM_SEEK_END, 0, position, status);
  EXPECT_EQ(position, 10);
  buffer.seek_at(NYM_SEEK_END, -12, position, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);
  EXPECT_EQ(position, 10);
  const char* const odd = "Nym_wstring_buffer::seek - position and offset must be divisible by sizeof(Wchar)";
  expect_invalid_argument([&] { buffer.seek_at(NYM_SEEK_BEGIN, 3, position, status); }, odd);
  position = 3;
  expect_invalid_argument([&] { buffer.seek_at(NYM_SEEK_CURRENT, 2, position, status); }, odd);
  buffer.seek_at(NYM_SEEK_BEGIN, 4, position, status);
  EXPECT_EQ(position, 4) << "an odd position is replaced, not used, from the start";
  EXPECT_EQ(buffer.size(false, status), 10);
}

TEST(WstringBufferTest, TruncateCountsUnits) {
  Wstring two = u"ab";
  Open<Nym_wstring_buffer> short_buffer(two);
  Nym_status status;
  short_buffer.truncate_to(3, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  EXPECT_EQ(two, u"ab");
  Wstring five = u"abcde";
  Open<Nym_wstring_buffer> buffer(five);
  buffer.truncate_to(3, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(five, u"abc");
  buffer.truncate_to(-2, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
}

TEST(WstringBufferTest, LinesRoundTripThroughStreams) {
  Wstring text;
  Nym_wstring_buffer buffer(text);
  Nym_status status;
  Nym_ostream out(buffer, status, NYM_EOL_LF);
  out.wwriteln(u"\u00e9t\u00e9", status);
  out.wwriteln(u"hiver", status);
  out.detach();
  Nym_buffered_istream in(buffer, false, status, NYM_EOL_LF);
  Wstring line;
  EXPECT_EQ(in.wreadln(100, line, status), NYM_EOL_LF);
  EXPECT_EQ(line, u"\u00e9t\u00e9");
  EXPECT_EQ(in.wreadln(100, line, status), NYM_EOL_LF);
  EXPECT_EQ(line, u"hiver");
  in.wreadln(100, line, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
}
