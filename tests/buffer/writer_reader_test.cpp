// A writer and blocking readers on two threads, meeting only through a string buffer: the
// readers sleep at the end of the data and wake for each write, and the writer leaving is
// what ends their reads. A lost wake-up hangs a reader, which the watchdog turns into a failure.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "nym/stream_helpers.h"
#include "nym/string_buffer.h"
#include "nym/sub_buffer.h"
#include "nym/wstring_buffer.h"
#include "watchdog.h"

using namespace nym;

namespace {

std::string line_text(int i) { return "line " + std::to_string(i) + std::string(static_cast<std::size_t>(i % 17), '.'); }

}  // namespace

TEST(WriterReaderTest, BlockingLineReaderFollowsTheWriter) {
  nym_test::Watchdog watchdog("WriterReaderTest.BlockingLineReaderFollowsTheWriter", std::chrono::seconds(120));
  constexpr int LINES = 5000;
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  // The writer attaches before the reader starts, so the reader can't mistake an empty store
  // for the end of the data.
  Nym_ostream out(buffer, status, NYM_EOL_CRLF);
  ASSERT_TRUE(status.is_clear());
  Nym_status write_status;
  std::thread writer([&] {
    for (int i = 0; i < LINES && write_status.ok(); ++i) out.writeln(line_text(i), write_status);
    out.detach();
  });

  Nym_buffered_istream in(buffer, true, status, NYM_EOL_CRLF);
  int lines = 0;
  int wrong = -1;
  Nstring line;
  for (;;) {
    const Nym_eol end = in.readln(1000, line, status);
    if (status.is_error()) break;
    if (wrong < 0 && (end != NYM_EOL_CRLF || line != line_text(lines))) wrong = lines;
    ++lines;
  }
  writer.join();
  EXPECT_TRUE(write_status.is_clear());
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  EXPECT_EQ(lines, LINES);
  EXPECT_EQ(wrong, -1) << "first wrong line";
}

TEST(WriterReaderTest, CopyFollowsTheWriterUntilItLeaves) {
  nym_test::Watchdog watchdog("WriterReaderTest.CopyFollowsTheWriterUntilItLeaves", std::chrono::seconds(120));
  Nstring source;
  Nstring target;
  Nym_string_buffer from(source, true);
  Nym_string_buffer to(target, true);
  Nym_status status;
  Nym_ostream producer(from, status);
  std::string expected;
  for (int i = 0; i < 3000; ++i) expected += std::string(static_cast<std::size_t>(1 + (i * 37) % 300), static_cast<char>('a' + i % 26));
  Nym_status write_status;
  std::thread writer([&] {
    std::size_t at = 0;
    for (int i = 0; at < expected.size(); ++i) {
      const std::size_t size = std::min<std::size_t>(expected.size() - at, 1 + (i * 37) % 300);
      producer.write(size, expected.data() + at, write_status);
      at += size;
    }
    producer.detach();
  });
  Nym_unbuffered_istream in(from, true, status);
  Nym_ostream out(to, status);
  nym_copy_stream(in, out, status);
  writer.join();
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(target, expected);
  EXPECT_EQ(in.tell(), static_cast<int64>(expected.size()));
}

// A window on the store blocks through its parent, and so does a wide string.
TEST(WriterReaderTest, WindowAndWideStringBlockThroughTheirStores) {
  nym_test::Watchdog watchdog("WriterReaderTest.WindowAndWideStringBlockThroughTheirStores");
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_sub_buffer window(buffer, 4, Nym_sub_buffer::NO_END);
  Wstring wide;
  Nym_wstring_buffer wide_buffer(wide);
  Nym_status status;
  Nym_ostream out(buffer, status);
  Nym_ostream wide_out(wide_buffer, status, NYM_EOL_LF);
  std::thread writer([&] {
    Nym_status s;
    for (int i = 0; i < 200; ++i) {
      out.write(5, "abcde", s);
      wide_out.wwriteln(u"\u00e9" + Wstring(static_cast<std::size_t>(i % 5), u'w'), s);
    }
    out.detach();
    wide_out.detach();
  });
  int wide_lines = 0;
  bool wide_right = true;
  Nym_status wide_status;
  std::thread wide_reader([&] {
    Nym_buffered_istream wide_in(wide_buffer, true, wide_status, NYM_EOL_LF);
    Wstring line;
    for (;;) {
      wide_in.wreadln(100, line, wide_status);
      if (wide_status.is_error()) break;
      wide_right = wide_right && line == u"\u00e9" + Wstring(static_cast<std::size_t>(wide_lines % 5), u'w');
      ++wide_lines;
    }
  });
  Nym_unbuffered_istream in(window, true, status);
  Nstring all;
  nym_stream_to_string(in, all, status);
  writer.join();
  wide_reader.join();
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(all.size(), 996u);
  EXPECT_EQ(all.substr(0, 6), "eabcde");
  EXPECT_EQ(wide_status.value(), NYM_S_END_OF_DATA);
  EXPECT_EQ(wide_lines, 200);
  EXPECT_TRUE(wide_right);
}
