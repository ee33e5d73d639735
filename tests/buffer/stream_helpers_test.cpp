#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "nym/path_query.h"
#include "nym/raw_memory_buffer.h"
#include "nym/stream_helpers.h"
#include "nym/string_buffer.h"
#include "open_store.h"

#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

using namespace nym;
using nym_test::Trickle_functor;

namespace {

// An input over fixed bytes, handed out `step` bytes a read (any step, for short reads).
class Input {
 public:
  explicit Input(const std::string& bytes, uint64 step = 1 << 20, Nym_eol eol = NYM_EOL_ANY)
      : m_buffer(new Trickle_functor(bytes, step)), m_stream(m_buffer, false, m_status, eol) {}
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

TEST(StreamHelpersTest, EolLength) {
  EXPECT_EQ(nym_eol_length(NYM_EOL_ANY), 0u);
  EXPECT_EQ(nym_eol_length(NYM_EOL_CR), 1u);
  EXPECT_EQ(nym_eol_length(NYM_EOL_LF), 1u);
  EXPECT_EQ(nym_eol_length(NYM_EOL_CRLF), 2u);
}

TEST(StreamHelpersTest, CopyTakesTheRestOfTheInput) {
  const std::string data = pattern(200000);  // several blocks
  for (uint64 step : {uint64{1} << 20, uint64{777}}) {
    Input in(data, step);
    Output out;
    Nym_status status(0x1234);
    nym_copy_stream(in.stream(), out.stream(), status);
    EXPECT_TRUE(status.is_clear()) << "end of data is success";
    EXPECT_EQ(out.text(), data) << "step " << step;
    EXPECT_EQ(out.stream().tell(), 200000);
  }
  Input in(data);
  Output out;
  Nym_status status;
  in.stream().seek(int64{199990});
  nym_copy_stream(in.stream(), out.stream(), status);
  EXPECT_EQ(out.text(), data.substr(199990)) << "from the input's position";
}

TEST(StreamHelpersTest, CopyWithCount) {
  const std::string data = pattern(100000);
  const struct {
    uint64 count;
    std::size_t expected;
  } cases[] = {{0, 0}, {1, 1}, {65536, 65536}, {65537, 65537}, {100000, 100000}, {1000000, 100000}};
  for (const auto& c : cases) {
    Input in(data, 5000);
    Output out;
    Nym_status status(0x1234);
    nym_copy_stream(in.stream(), out.stream(), c.count, status);
    EXPECT_TRUE(status.is_clear()) << c.count;
    EXPECT_EQ(out.text(), data.substr(0, c.expected)) << c.count;
    EXPECT_EQ(in.stream().tell(), static_cast<int64>(c.expected)) << "no byte read beyond the count";
  }
}

TEST(StreamHelpersTest, CopyKeepsAWriteError) {
  const std::string data = pattern(Nym_string_buffer::STRING_LIMIT + 10);
  Input in(data);
  Output out(false);
  Nym_status status;
  nym_copy_stream(in.stream(), out.stream(), status);
  EXPECT_EQ(status.value(), NYM_S_WRITE_FAILED);
  EXPECT_TRUE(status.contains_value(NYM_S_STRING_LIMIT));
  EXPECT_EQ(out.text().size(), 655360u - 655360u % 65536u) << "whole blocks went in before the limit";
}

// A stream that neither gives data nor reports an error must not hold a helper for ever.
TEST(StreamHelpersTest, HelpersEndOnAStreamThatGivesNothing) {
  Input in("abc\ndef\n", 0);
  Output out;
  Nym_status status;
  nym_copy_stream(in.stream(), out.stream(), status);
  EXPECT_EQ(out.text(), "");
  nym_copy_stream(in.stream(), out.stream(), 10, status);
  Nstring text;
  nym_stream_to_string(in.stream(), text, status);
  EXPECT_EQ(text, "");
  Wstring wide;
  nym_stream_to_string(in.stream(), wide, status);
  nym_swap_stream(in.stream(), out.stream(), status);
  nym_count_lines(in.stream(), status);
  nym_skip_lines(in.stream(), 3, status);
  EXPECT_EQ(out.text(), "");
}

TEST(StreamHelpersTest, CountLines) {
  const struct {
    const char* text;
    Nym_eol rule;
    unsigned int lines;
  } cases[] = {
      {"", NYM_EOL_ANY, 0},
      {"a\nb", NYM_EOL_ANY, 1},  // the last line has no end: not counted
      {"a\nb\n", NYM_EOL_ANY, 2},
      {"\n\n\n", NYM_EOL_ANY, 3},
      {"a\r\nb\rc\n", NYM_EOL_ANY, 3},
      {"a\r\nb\rc\n", NYM_EOL_LF, 2},
      {"a\r\nb\rc\n", NYM_EOL_CRLF, 1},
      {"\r\r", NYM_EOL_ANY, 2},
  };
  for (const auto& c : cases) {
    for (uint64 step : {uint64{1} << 20, uint64{1}}) {
      Input in(c.text, step, c.rule);
      Nym_status status(0x1234);
      in.stream().seek(int64{3});  // counting starts at 0 whatever the position
      EXPECT_EQ(nym_count_lines(in.stream(), status), c.lines) << c.text << " rule " << c.rule;
      EXPECT_TRUE(status.is_clear()) << c.text;
      EXPECT_EQ(in.stream().tell(), static_cast<int64>(std::char_traits<char>::length(c.text)))
          << "the position ends at the end";
    }
  }
  // A line longer than the reader's 2048 counts once.
  Input in(std::string(5000, 'x') + "\n" + std::string(2048, 'y') + "\nz\n");
  Nym_status status;
  EXPECT_EQ(nym_count_lines(in.stream(), status), 3u);
  EXPECT_TRUE(status.is_clear());
}

TEST(StreamHelpersTest, SkipLines) {
  Input in("a\n" + std::string(3000, 'b') + "\nc\nd");
  Nym_status status(0x1234);
  nym_skip_lines(in.stream(), 0, status);
  EXPECT_TRUE(status.is_clear());
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

TEST(StreamHelpersTest, StreamToNarrowString) {
  const struct {
    std::string bytes;
    bool counted;
    uint64 count;
    std::string expected;
  } cases[] = {
      {std::string("a\0b", 3), false, 0, "a"},  // stops at the first zero byte
      {"hello", false, 0, "hello"},
      {"hello", true, 3, "hel"},
      {"hello", true, 50, "hello"},
      {"hello", true, 0, ""},
      {"", false, 0, ""},
      {std::string(3000, 'q'), false, 0, std::string(3000, 'q')},
      {std::string(1500, 'r') + '\0' + "tail", false, 0, std::string(1500, 'r')},
  };
  for (const auto& c : cases) {
    for (uint64 step : {uint64{1} << 20, uint64{3}}) {
      Input in(c.bytes, step);
      Nstring text = "old";
      Nym_status status(0x1234);
      if (c.counted) {
        nym_stream_to_string(in.stream(), text, c.count, status);
      } else {
        nym_stream_to_string(in.stream(), text, status);
      }
      EXPECT_TRUE(status.is_clear());
      EXPECT_EQ(text, c.expected) << c.bytes.substr(0, 20) << " step " << step;
    }
  }
}

TEST(StreamHelpersTest, StreamToWideString) {
  const struct {
    std::string bytes;
    bool counted;
    uint64 count;
    Wstring expected;
  } cases[] = {
      {std::string("a\0b\0", 4), false, 0, u"ab"},
      {std::string("a\0\0\0b\0", 6), false, 0, u"a"},  // stops at the first zero unit
      {std::string("a\0b", 3), false, 0, u"a"},        // an odd last byte is dropped
      {std::string("a\0b\0c\0", 6), true, 3, u"a"},    // the count is in bytes
      {std::string("a\0b\0c\0", 6), true, 4, u"ab"},
      {std::string("\x42\x01", 2), false, 0, u"\u0142"},
  };
  for (const auto& c : cases) {
    // Reads of 3 bytes split units: the half unit must wait for its partner.
    for (uint64 step : {uint64{1} << 20, uint64{3}, uint64{1}}) {
      Input in(c.bytes, step);
      Wstring text = u"old";
      Nym_status status(0x1234);
      if (c.counted) {
        nym_stream_to_string(in.stream(), text, c.count, status);
      } else {
        nym_stream_to_string(in.stream(), text, status);
      }
      EXPECT_TRUE(status.is_clear());
      EXPECT_EQ(text, c.expected) << "step " << step;
    }
  }
  std::string long_text;
  for (int i = 0; i < 2000; ++i) long_text += std::string("xy", 2).substr(i % 2, 1) + '\0';
  Input in(long_text, 333);
  Wstring text;
  Nym_status status;
  nym_stream_to_string(in.stream(), text, status);
  EXPECT_EQ(text.size(), 2000u);
  EXPECT_EQ(text.substr(0, 4), u"xyxy");
}

TEST(StreamHelpersTest, SwapStream) {
  for (uint64 step : {uint64{1} << 20, uint64{3}, uint64{1}}) {
    Input in(std::string("\x01\x02\x03\x04\x05", 5), step);
    Output out;
    Nym_status status(0x1234);
    in.stream().seek(int64{3});  // the whole input is swapped, from 0
    nym_swap_stream(in.stream(), out.stream(), status);
    EXPECT_TRUE(status.is_clear());
    EXPECT_EQ(out.text(), std::string("\x02\x01\x04\x03", 4)) << "step " << step;
  }
  const std::string data = pattern(10001);
  Input in(data, 999);
  Output out;
  Nym_status status;
  nym_swap_stream(in.stream(), out.stream(), status);
  ASSERT_EQ(out.text().size(), 10000u);
  for (std::size_t i = 0; i < 10000; i += 2) {
    ASSERT_EQ(out.text()[i], data[i + 1]) << i;
    ASSERT_EQ(out.text()[i + 1], data[i]) << i;
  }
  Nym_unbuffered_istream detached;
  nym_swap_stream(detached, out.stream(), status);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
}

// ---- nym_type and nym_access

namespace {

Wstring wide(const std::filesystem::path& path) { return path.u16string(); }

}  // namespace

TEST(PathQueryTest, TypeAndAccess) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path dir = fs::temp_directory_path() / ("nym_path_query_" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
  fs::create_directories(dir, error);
  ASSERT_FALSE(error) << error.message();
  const fs::path file = dir / "file.txt";
  std::ofstream(file) << "x";
  const Wchar separator = static_cast<Wchar>(fs::path::preferred_separator);

  EXPECT_EQ(nym_type(u""), NYM_TYPE_NONE);
  EXPECT_EQ(nym_type(wide(dir)), NYM_TYPE_DIRECTORY);
  EXPECT_EQ(nym_type(wide(dir) + separator), NYM_TYPE_DIRECTORY) << "with a trailing separator";
  EXPECT_EQ(nym_type(wide(file)), NYM_TYPE_FILE);
  EXPECT_EQ(nym_type(wide(dir / "missing")), NYM_TYPE_NONE);
  EXPECT_EQ(nym_type(wide(dir / "missing") + separator), NYM_TYPE_NONE);

  EXPECT_TRUE(nym_access(wide(file), NYM_ACCESS_READ));
  EXPECT_TRUE(nym_access(wide(file), NYM_ACCESS_READ_WRITE));
  EXPECT_TRUE(nym_access(wide(dir), NYM_ACCESS_READ));
  EXPECT_FALSE(nym_access(wide(dir / "missing"), NYM_ACCESS_READ));
  EXPECT_FALSE(nym_access(wide(dir / "missing"), NYM_ACCESS_ALL));

  fs::remove_all(dir, error);
}

#ifndef _WIN32
TEST(PathQueryTest, DevicesAndPipesOnTheHost) {
  EXPECT_EQ(nym_type(u"/dev/null"), NYM_TYPE_CHARACTER_DEVICE);
  EXPECT_EQ(nym_type(u"/"), NYM_TYPE_DIRECTORY);
  const std::filesystem::path fifo =
      std::filesystem::temp_directory_path() / ("nym_path_query_fifo_" + std::to_string(::getpid()));
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(nym_type(wide(fifo)), NYM_TYPE_PIPE);
  std::filesystem::remove(fifo);
}
#endif
