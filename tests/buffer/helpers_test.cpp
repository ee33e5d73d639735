// The stream helpers, over inputs that cut their reads short, and the path queries.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "nym/path_query.h"
#include "nym/stream_helpers.h"
#include "nym/string_buffer.h"
#include "test_stores.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace nym;

namespace {

// An input over fixed bytes, handed out `step` bytes a read.
class Input {
 public:
  explicit Input(const std::string& bytes, uint64 step = 1 << 20, Nym_eol eol = NYM_EOL_ANY)
      : m_buffer(new nym_test::Trickle_functor(bytes, step)), m_stream(m_buffer, false, m_status, eol) {}
  Nym_istream& stream() { return m_stream; }

 private:
  Nym_status m_status;
  Nym_func_buffer m_buffer;
  Nym_unbuffered_istream m_stream;
};

// An output into a string.
class Output {
 public:
  explicit Output(bool no_limit = true) : m_buffer(m_text, no_limit), m_stream(m_buffer, m_status) {}
  Nym_ostream& stream() { return m_stream; }
  const Nstring& text() const { return m_text; }

 private:
  Nstring m_text;
  Nym_status m_status;
  Nym_string_buffer m_buffer;
  Nym_ostream m_stream;
};

std::string pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 7 + i / 251) & 0xFF);
  return bytes;
}

}  // namespace

TEST(StreamHelpersTest, CopyTheRestOrACount) {
  const std::string data = pattern(200000);  // several blocks
  const struct {
    bool counted;
    uint64 count;
    std::size_t expected;
  } cases[] = {{false, 0, 200000}, {true, 0, 0}, {true, 1, 1}, {true, 65537, 65537}, {true, 1000000, 200000}};
  for (const auto& c : cases) {
    for (const uint64 step : {uint64{1} << 20, uint64{777}}) {
      Input in(data, step);
      Output out;
      Nym_status status(0x1234);
      if (c.counted) nym_copy_stream(in.stream(), out.stream(), c.count, status);
      else nym_copy_stream(in.stream(), out.stream(), status);
      EXPECT_TRUE(status.is_clear()) << "end of data is success";
      EXPECT_EQ(out.text(), data.substr(0, c.expected)) << c.count << " step " << step;
      EXPECT_EQ(in.stream().tell(), static_cast<int64>(c.expected)) << "no byte read beyond the count";
    }
  }
  Input in(data);
  Output out;
  Nym_status status;
  in.stream().seek(int64{199990});
  nym_copy_stream(in.stream(), out.stream(), status);
  EXPECT_EQ(out.text(), data.substr(199990)) << "from the input's position";
  Input big(pattern(Nym_string_buffer::STRING_LIMIT + 10));
  Output limited(false);
  nym_copy_stream(big.stream(), limited.stream(), status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED) << "a write error stays";
  EXPECT_TRUE(status.contains_value(NYM_S_STRING_LIMIT));
  EXPECT_EQ(limited.text().size(), 655360u - 655360u % 65536u) << "whole blocks went in before the limit";
}

TEST(StreamHelpersTest, CountAndSkipLines) {
  EXPECT_EQ(nym_eol_length(NYM_EOL_ANY), 0u);
  EXPECT_EQ(nym_eol_length(NYM_EOL_CR), 1u);
  EXPECT_EQ(nym_eol_length(NYM_EOL_LF), 1u);
  EXPECT_EQ(nym_eol_length(NYM_EOL_CRLF), 2u);
  const struct {
    std::string text;
    Nym_eol rule;
    unsigned int lines;
  } cases[] = {
      {"", NYM_EOL_ANY, 0},
      {"a\nb", NYM_EOL_ANY, 1},  // the last line has no end: not counted
      {"\n\n\n", NYM_EOL_ANY, 3},
      {"a\r\nb\rc\n", NYM_EOL_ANY, 3},
      {"a\r\nb\rc\n", NYM_EOL_LF, 2},
      {"a\r\nb\rc\n", NYM_EOL_CRLF, 1},
      {std::string(5000, 'x') + "\n" + std::string(2048, 'y') + "\nz\n", NYM_EOL_ANY, 3},  // a long line once
  };
  for (const auto& c : cases) {
    for (const uint64 step : {uint64{1} << 20, uint64{1}}) {
      Input in(c.text, step, c.rule);
      Nym_status status(0x1234);
      in.stream().seek(int64{3});  // counting starts at 0 whatever the position
      EXPECT_EQ(nym_count_lines(in.stream(), status), c.lines) << c.text.substr(0, 10) << " rule " << c.rule;
      EXPECT_TRUE(status.is_clear());
      EXPECT_EQ(in.stream().tell(), static_cast<int64>(c.text.size())) << "the position ends at the end";
    }
  }
  Input in("a\n" + std::string(3000, 'b') + "\nc\nd");
  Nym_status status(0x1234);
  nym_skip_lines(in.stream(), 0, status);
  EXPECT_EQ(in.stream().tell(), 0);
  nym_skip_lines(in.stream(), 2, status);
  EXPECT_TRUE(status.is_clear());
  Nstring line;
  in.stream().readln(10, line, status);
  EXPECT_EQ(line, "c");
  Input two("a\nb\n");
  nym_skip_lines(two.stream(), 5, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA) << "running out of lines is reported";
}

TEST(StreamHelpersTest, StreamToString) {
  const struct {
    std::string bytes;
    bool counted;
    uint64 count;
    std::string narrow;  // up to the first zero byte
    Wstring wide;        // up to the first zero unit; an odd last byte dropped; the count in bytes
  } cases[] = {
      {std::string("a\0b\0", 4), false, 0, "a", u"ab"},
      {std::string("a\0\0\0b\0", 6), false, 0, "a", u"a"},
      {std::string("a\0b", 3), false, 0, "a", u"a"},
      {std::string("a\0b\0c\0", 6), true, 3, "a", u"a"},
      {std::string("a\0b\0c\0", 6), true, 4, "a", u"ab"},
      {"\x42\x01", false, 0, "\x42\x01", u"\u0142"},
      {"hello", true, 50, "hello", u"\u6568\u6c6c"},
      {"hello", true, 0, "", u""},
      {std::string(1500, 'r') + std::string(2, '\0') + "tail", false, 0, std::string(1500, 'r'), Wstring(750, u'\u7272')},
  };
  for (const auto& c : cases) {
    // Reads of 3 bytes split units: the half unit must wait for its partner.
    for (const uint64 step : {uint64{1} << 20, uint64{3}, uint64{1}}) {
      Input narrow_in(c.bytes, step);
      Input wide_in(c.bytes, step);
      Nstring narrow = "old";
      Wstring wide = u"old";
      Nym_status status(0x1234);
      if (c.counted) {
        nym_stream_to_string(narrow_in.stream(), narrow, c.count, status);
        nym_stream_to_string(wide_in.stream(), wide, c.count, status);
      } else {
        nym_stream_to_string(narrow_in.stream(), narrow, status);
        nym_stream_to_string(wide_in.stream(), wide, status);
      }
      EXPECT_TRUE(status.is_clear());
      EXPECT_EQ(narrow, c.narrow) << c.bytes.substr(0, 8) << " step " << step;
      EXPECT_EQ(wide, c.wide) << c.bytes.substr(0, 8) << " step " << step;
    }
  }
}

TEST(StreamHelpersTest, SwapStream) {
  const std::string data = pattern(10001);
  for (const uint64 step : {uint64{1} << 20, uint64{3}, uint64{1}}) {
    Input in(data, step);
    Output out;
    Nym_status status(0x1234);
    in.stream().seek(int64{3});  // the whole input is swapped, from 0
    nym_swap_stream(in.stream(), out.stream(), status);
    EXPECT_TRUE(status.is_clear());
    std::string expected = data.substr(0, 10000);
    for (std::size_t i = 0; i < expected.size(); i += 2) std::swap(expected[i], expected[i + 1]);
    EXPECT_EQ(out.text(), expected) << "step " << step << ": an odd last byte dropped";
  }
  Nym_unbuffered_istream detached;
  Output out;
  Nym_status status;
  nym_swap_stream(detached, out.stream(), status);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
}

// A stream that neither gives data nor reports an error must not hold a helper for ever.
TEST(StreamHelpersTest, HelpersEndOnAStreamThatGivesNothing) {
  Input in("abc\ndef\n", 0);
  Output out;
  Nym_status status;
  nym_copy_stream(in.stream(), out.stream(), status);
  nym_copy_stream(in.stream(), out.stream(), 10, status);
  Nstring text;
  nym_stream_to_string(in.stream(), text, status);
  Wstring wide;
  nym_stream_to_string(in.stream(), wide, status);
  nym_swap_stream(in.stream(), out.stream(), status);
  nym_count_lines(in.stream(), status);
  nym_skip_lines(in.stream(), 3, status);
  EXPECT_EQ(out.text(), "");
  EXPECT_EQ(text, "");
}

TEST(PathQueryTest, TypeAndAccess) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path dir =
      fs::temp_directory_path() / ("nym_path_query_" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
  fs::create_directories(dir, error);
  ASSERT_FALSE(error) << error.message();
  const fs::path file = dir / "file.txt";
  std::ofstream(file) << "x";
  const Wchar separator = static_cast<Wchar>(fs::path::preferred_separator);
  auto wide = [](const fs::path& path) { return path.u16string(); };
  EXPECT_EQ(nym_type(u""), NYM_TYPE_NONE);
  EXPECT_EQ(nym_type(wide(dir)), NYM_TYPE_DIRECTORY);
  EXPECT_EQ(nym_type(wide(dir) + separator), NYM_TYPE_DIRECTORY) << "with a trailing separator";
  EXPECT_EQ(nym_type(wide(file)), NYM_TYPE_FILE);
  EXPECT_EQ(nym_type(wide(dir / "missing")), NYM_TYPE_NONE);
  EXPECT_EQ(nym_type(wide(dir / "missing") + separator), NYM_TYPE_NONE);
  EXPECT_TRUE(nym_access(wide(file), NYM_ACCESS_READ_WRITE));
  EXPECT_TRUE(nym_access(wide(dir), NYM_ACCESS_READ));
  EXPECT_FALSE(nym_access(wide(dir / "missing"), NYM_ACCESS_READ));
#ifndef _WIN32
  EXPECT_EQ(nym_type(u"/dev/null"), NYM_TYPE_CHARACTER_DEVICE);
  const fs::path fifo = dir / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(nym_type(wide(fifo)), NYM_TYPE_PIPE);
#endif
  fs::remove_all(dir, error);
}
