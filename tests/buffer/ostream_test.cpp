#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "nym/ostream.h"
#include "nym/string_buffer.h"
#include "nym/wstring_buffer.h"

using namespace nym;

namespace {

std::string bytes(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out.push_back(static_cast<char>(v));
  return out;
}

}  // namespace

TEST(OstreamTest, SecondWriterIsRefusedAndStaysDetached) {
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream first(buffer, status);
  EXPECT_TRUE(status.is_clear());
  Nym_ostream second(buffer, status, NYM_EOL_LF);
  EXPECT_EQ(status.value(), NYM_S_NO_WRITER_TAKEN);
  EXPECT_EQ(second.buffer(), nullptr);
  EXPECT_EQ(buffer.num_ostream(), 1u);
  second.write(1, "x", status);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
  EXPECT_EQ(text, "");
  first.write(1, "y", status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text, "y");
  EXPECT_EQ(first.tell(), 1);
}

TEST(OstreamTest, DetachAndDestructorFreeTheWriterPlace) {
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  {
    Nym_ostream out(buffer, status);
    EXPECT_EQ(buffer.num_ostream(), 1u);
  }
  EXPECT_EQ(buffer.num_ostream(), 0u);
  Nym_ostream out(buffer, status);
  out.detach();
  out.detach();
  EXPECT_EQ(buffer.num_ostream(), 0u);
  EXPECT_EQ(out.buffer(), nullptr);
  Nym_ostream again(buffer, status);
  EXPECT_TRUE(status.is_clear());
}

// Keeping the old place would leave the first buffer without a writer for good.
TEST(OstreamTest, InitOnAnotherBufferGivesUpTheOldPlace) {
  Nstring a_text;
  Nstring b_text;
  Nym_string_buffer a(a_text, false);
  Nym_string_buffer b(b_text, false);
  Nym_status status;
  Nym_ostream out(a, status);
  out.write(2, "ab", status);
  out.init(b, status, NYM_EOL_CR);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(a.num_ostream(), 0u);
  EXPECT_EQ(b.num_ostream(), 1u);
  EXPECT_EQ(out.tell(), 0);
  EXPECT_EQ(out.get_eol(), NYM_EOL_CR);
  out.writeln("z", status);
  EXPECT_EQ(b_text, "z\r");
  EXPECT_EQ(a_text, "ab");
}

TEST(OstreamTest, DetachedStreamReportsNotAttached) {
  Nym_ostream out;
  Nym_status status;
  const std::vector<std::function<void()>> operations = {
      [&] { out.write(1, "x", status); },
      [&] { out.write_at(0, 1, "x", status); },
      [&] { out.seek(NYM_SEEK_BEGIN, 0, status); },
      [&] { out.size(status); },
      [&] { out.set_size(3, status); },
      [&] { out.writeln("x", status); },
      [&] { out.wwriteln(u"x", status); },
      [&] { out.xwriteln_be(u"x", status); },
      [&] { out.write_be(1, status); },
      [&] { out.write_le(int64{1}, status); },
  };
  for (std::size_t i = 0; i < operations.size(); ++i) {
    status.clear();
    operations[i]();
    EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED) << "operation " << i;
  }
  out.seek(int64{42});
  EXPECT_EQ(out.tell(), 0) << "a detached stream tells 0";
  EXPECT_EQ(out.buffer(), nullptr);
}

struct Line_case {
  Nym_eol eol;
  const char* expected;
  int64 moved;
};

TEST(OstreamTest, WritelnEndsTheLineByTheRule) {
  const Line_case cases[] = {
      {NYM_EOL_ANY, "x", 1}, {NYM_EOL_CR, "x\r", 2}, {NYM_EOL_LF, "x\n", 2}, {NYM_EOL_CRLF, "x\r\n", 3}};
  for (const auto& c : cases) {
    Nstring text = "..";
    Nym_string_buffer buffer(text, false);
    Nym_status status;
    Nym_ostream out(buffer, status, c.eol);
    out.seek(int64{1});
    out.writeln("x", status);
    EXPECT_TRUE(status.is_clear());
    EXPECT_EQ(text, std::string(".") + c.expected) << "eol " << c.eol;
    EXPECT_EQ(out.tell(), 1 + c.moved) << "eol " << c.eol;
  }
}

TEST(OstreamTest, WideLineWritersAndTheirByteOrders) {
  using Writer = void (Nym_ostream::*)(const Wstring&, Nym_status&);
  const struct {
    Writer writer;
    const char* name;
    bool big_endian;
  } writers[] = {{&Nym_ostream::wwriteln, "wwriteln", false},     {&Nym_ostream::wwriteln_le, "wwriteln_le", false},
                 {&Nym_ostream::xwriteln, "xwriteln", false},     {&Nym_ostream::xwriteln_le, "xwriteln_le", false},
                 {&Nym_ostream::wwriteln_be, "wwriteln_be", true}, {&Nym_ostream::xwriteln_be, "xwriteln_be", true}};
  for (const auto& w : writers) {
    for (Nym_eol eol : {NYM_EOL_LF, NYM_EOL_CRLF, NYM_EOL_ANY}) {
      Nstring text;
      Nym_string_buffer buffer(text, false);
      Nym_status status;
      Nym_ostream out(buffer, status, eol);
      (out.*w.writer)(u"a\u0142", status);
      EXPECT_TRUE(status.is_clear());
      std::string expected = w.big_endian ? bytes({0x00, 0x61, 0x01, 0x42}) : bytes({0x61, 0x00, 0x42, 0x01});
      if (eol == NYM_EOL_CRLF) expected += w.big_endian ? bytes({0, 0x0D, 0, 0x0A}) : bytes({0x0D, 0, 0x0A, 0});
      if (eol == NYM_EOL_LF) expected += w.big_endian ? bytes({0, 0x0A}) : bytes({0x0A, 0});
      EXPECT_EQ(text, expected) << w.name << " eol " << eol;
      EXPECT_EQ(out.tell(), static_cast<int64>(expected.size())) << w.name;
    }
  }
}

TEST(OstreamTest, WideLinesIntoAWideString) {
  Wstring text;
  Nym_wstring_buffer buffer(text);
  Nym_status status;
  Nym_ostream out(buffer, status, NYM_EOL_CRLF);
  out.wwriteln(u"one", status);
  out.xwriteln(u"two", status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text, u"one\r\ntwo\r\n");
  EXPECT_EQ(out.tell(), 20);
}

TEST(OstreamTest, IntegersInBothByteOrders) {
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream out(buffer, status);
  out.write_be(0x01020304, status);
  out.write_le(0x01020304, status);
  out.write_be(static_cast<short>(0x0506), status);
  out.write_le(static_cast<unsigned short>(0x0708), status);
  out.write_be(0x090A0B0Cu, status);
  out.write_le(0x0D0E0F10u, status);
  out.write_be(int64{0x1112131415161718}, status);
  out.write_le(uint64{0x191A1B1C1D1E1F20}, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text, bytes({1, 2, 3, 4, 4, 3, 2, 1, 5, 6, 8, 7, 9, 10, 11, 12, 0x10, 0x0F, 0x0E, 0x0D, 0x11, 0x12,
                         0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x20, 0x1F, 0x1E, 0x1D, 0x1C, 0x1B, 0x1A, 0x19}));
  EXPECT_EQ(out.tell(), 36);
}

TEST(OstreamTest, WriteAtLeavesThePositionAlone) {
  Nstring text = "abcdef";
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream out(buffer, status);
  out.seek(int64{1});
  out.write_at(4, 2, "XY", status);
  EXPECT_EQ(text, "abcdXY");
  EXPECT_EQ(out.tell(), 1);
  out.write(1, "Z", status);
  EXPECT_EQ(text, "aZcdXY");
}

TEST(OstreamTest, SetSizeTruncatesOrExtendsAndKeepsThePosition) {
  Nstring text = "abcdef";
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream out(buffer, status);
  out.seek(int64{2});
  out.set_size(3, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text, "abc");
  out.set_size(3, status);
  EXPECT_EQ(text, "abc") << "the same size changes nothing";
  out.set_size(6, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(text, std::string("abc  \0", 6)) << "the gap is the store's padding, then one zero byte";
  EXPECT_EQ(out.tell(), 2);
  EXPECT_EQ(out.size(status), 6);
  out.set_size(0, status);
  EXPECT_EQ(text, "");
  out.set_size(-1, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA) << "no size below 0";
}

TEST(OstreamTest, SeekFollowsTheStore) {
  Nstring text = "0123456789";
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream out(buffer, status);
  out.seek(NYM_SEEK_END, -2, status);
  EXPECT_EQ(out.tell(), 8);
  out.seek(NYM_SEEK_CURRENT, 5, status);
  EXPECT_EQ(out.tell(), 13);
  out.seek(NYM_SEEK_BEGIN, -1, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);
  EXPECT_EQ(out.tell(), 13);
  out.write(1, "!", status);
  EXPECT_EQ(text, "0123456789   !");
}

// The position counts what was meant up to the first failure: a failed text still counts.
TEST(OstreamTest, LineThatFailsMovesThePositionByWhatWasMeant) {
  const int64 limit = static_cast<int64>(Nym_string_buffer::STRING_LIMIT);
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream out(buffer, status, NYM_EOL_CRLF);

  out.seek(int64{limit - 3});
  out.writeln("abcd", status);  // the text itself passes the limit
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  ASSERT_NE(status.child(), nullptr);
  EXPECT_EQ(status.child()->value(), NYM_S_STRING_LIMIT);
  EXPECT_EQ(out.tell(), limit + 1) << "the text counts, the line end does not";
  EXPECT_TRUE(text.empty());

  out.seek(int64{limit - 3});
  out.writeln("ab", status);  // the text fits, the line end does not
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  EXPECT_EQ(out.tell(), limit + 1);
  EXPECT_EQ(text.size(), static_cast<std::size_t>(limit - 1));
  EXPECT_EQ(text.substr(text.size() - 2), "ab");
}
