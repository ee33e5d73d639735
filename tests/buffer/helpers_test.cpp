// The stream helpers, over inputs that cut their reads short or give nothing, and the path
// questions the streams ask.
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <tuple>

#include "nym/raw_memory_buffer.h"
#include "nym/path_query.h"
#include "nym/stream_helpers.h"
#include "nym/string_buffer.h"
#include "test_stores.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

using namespace nym;
using nym_test::pattern;

namespace {

// An input over fixed bytes, handed out `step` bytes a read (0: nothing and no error, for ever).
struct Input {
  explicit Input(const std::string& bytes, uint64 step = 1 << 20, Nym_eol eol = NYM_EOL_ANY)
      : buffer(new nym_test::Trickle_functor(bytes, step)), stream(buffer, false, status, eol) {}
  Nym_status status;
  Nym_func_buffer buffer;
  Nym_unbuffered_istream stream;
};

struct Output {
  explicit Output(bool no_limit = true) : buffer(text, no_limit), stream(buffer, status) {}
  Nstring text;
  Nym_status status;
  Nym_string_buffer buffer;
  Nym_ostream stream;
};

const uint64 STEPS[] = {uint64{1} << 20, 3};

}  // namespace

// Copies of the rest or a count from the input's position; the swap always from 0, dropping an
// odd last byte.
TEST(StreamHelpersTest, CopyAndSwap) {
  const std::string data = pattern(200001);
  const struct {
    int64 from;
    bool counted;
    uint64 count;
    std::size_t expected;
  } cases[] = {{199990, false, 0, 11}, {0, true, 0, 0}, {0, true, 65537, 65537}, {5, true, 1000000, 199996}};
  for (const uint64 step : STEPS) {
    for (const auto& c : cases) {
      Input in(data, step);
      Output out;
      Nym_status status(0x1234);
      in.stream.seek(c.from);
      if (c.counted) nym_copy_stream(in.stream, out.stream, c.count, status);
      else nym_copy_stream(in.stream, out.stream, status);
      EXPECT_EQ(std::make_tuple(status.value(), out.text, in.stream.tell()),
                std::make_tuple(0u, data.substr(static_cast<std::size_t>(c.from), c.expected),
                                c.from + static_cast<int64>(c.expected)))
          << c.count << " step " << step;
    }
    Input in(data, step);
    Output out;
    Nym_status status(0x1234);
    in.stream.seek(int64{3});
    nym_swap_stream(in.stream, out.stream, status);
    std::string expected = data.substr(0, 200000);
    for (std::size_t i = 0; i < expected.size(); i += 2) std::swap(expected[i], expected[i + 1]);
    EXPECT_TRUE(status.is_clear() && out.text == expected) << "step " << step;
  }
  Output out;
  Nym_status status;
  Nym_unbuffered_istream detached;
  nym_swap_stream(detached, out.stream, status);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
}

// A stream of a class of its own is read through the copy's block.
struct Block_read_stream : Nym_unbuffered_istream {
  using Nym_unbuffered_istream::Nym_unbuffered_istream;
};

// A memory store's bytes copied in place: as through the block, a write failing midway (the
// string limit) included, and bytes of the output's own string too.
TEST(StreamHelpersTest, CopyInPlaceAsThroughTheBlock) {
  const std::string data = pattern(700001);
  // From, count (NYM_NPOS: the rest) and whether the output has no limit.
  const std::tuple<int64, uint64, bool> cases[] = {{0, NYM_NPOS, true},  {5, 65536 * 3 + 7, true}, {-1, NYM_NPOS, true},
                                                   {700001, NYM_NPOS, true}, {0, NYM_NPOS, false}, {0x7FFFFFFFFFFFFFF0, 100, true}};
  for (const auto& [from, count, no_limit] : cases) {
    Nym_raw_memory_buffer raw(700001, reinterpret_cast<const unsigned char*>(data.data()),
                              Nym_raw_memory_buffer::KEEP_MEMORY);
    Nym_status got[2];
    Block_read_stream reference(raw, false, got[0]);
    Nym_unbuffered_istream in_place(raw, false, got[1]);
    Nym_istream* inputs[2] = {&reference, &in_place};
    Output out[2] = {Output(no_limit), Output(no_limit)};
    for (int i = 0; i < 2; ++i) {
      inputs[i]->seek(from);
      if (count == NYM_NPOS) nym_copy_stream(*inputs[i], out[i].stream, got[i]);
      else nym_copy_stream(*inputs[i], out[i].stream, count, got[i]);
    }
    EXPECT_TRUE(got[0].compare(got[1], true, true) && out[0].text == out[1].text &&
                inputs[0]->tell() == inputs[1]->tell())
        << from << " " << count << ": " << std::hex << got[0].value() << " " << got[1].value();
  }
  Output out;
  out.text = data.substr(0, 1010);
  Nym_raw_memory_buffer own(1000, reinterpret_cast<const unsigned char*>(out.text.data()), Nym_raw_memory_buffer::KEEP_MEMORY);
  Nym_unbuffered_istream in(own, false, out.status);
  out.stream.seek(int64{10});
  nym_copy_stream(in, out.stream, out.status);
  EXPECT_EQ(out.text, data.substr(0, 10) + data.substr(0, 1000));

  // A store derived from the memory store is read with its own read, never in place.
  struct Shouting_store : Nym_raw_memory_buffer {
    using Nym_raw_memory_buffer::Nym_raw_memory_buffer;
    uint64 read(bool wait, int64& position, uint64 count, void* bytes, Nym_status& status) const override {
      const uint64 n = Nym_raw_memory_buffer::read(wait, position, count, bytes, status);
      for (uint64 i = 0; i < n; ++i) static_cast<char*>(bytes)[i] = static_cast<char>(std::toupper(static_cast<char*>(bytes)[i]));
      return n;
    }
  };
  const std::string quiet = "quiet";
  Shouting_store shouting(quiet.size(), reinterpret_cast<const unsigned char*>(quiet.data()),
                          Nym_raw_memory_buffer::KEEP_MEMORY);
  Nym_unbuffered_istream loud(shouting, false, out.status);
  Output shouted;
  nym_copy_stream(loud, shouted.stream, shouted.status);
  EXPECT_EQ(shouted.text, "QUIET");
}

TEST(StreamHelpersTest, CountAndSkipLines) {
  const struct {
    std::string text;
    Nym_eol rule;
    unsigned int lines;
  } cases[] = {
      {"a\r\nb\rc\nd", NYM_EOL_ANY, 3},  // the last line has no end: not counted
      {std::string(5000, 'x') + "\n" + std::string(2048, 'y') + "\nz\n", NYM_EOL_LF, 3},
  };
  for (const auto& c : cases) {
    for (const uint64 step : {uint64{1} << 20, uint64{1}}) {
      Input in(c.text, step, c.rule);
      Nym_status status(0x1234);
      in.stream.seek(int64{3});  // counting starts at 0 whatever the position
      const unsigned int lines = nym_count_lines(in.stream, status);
      EXPECT_EQ(std::make_tuple(lines, status.value(), in.stream.tell()),
                std::make_tuple(c.lines, 0u, static_cast<int64>(c.text.size())))
          << c.text.substr(0, 10) << " rule " << c.rule;
    }
  }
  Input in("a\n" + std::string(3000, 'b') + "\nc\nd");
  Nym_status status(0x1234);
  nym_skip_lines(in.stream, 2, status);
  Nstring line;
  in.stream.readln(10, line, status);
  EXPECT_TRUE(status.is_clear() && line == "c");
  nym_skip_lines(in.stream, 5, status);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA) << "running out of lines is reported";
}

// A stream that neither gives data nor reports an error must not hold a helper for ever.
TEST(StreamHelpersTest, HelpersEndOnAStreamThatGivesNothing) {
  Input in("abc\ndef\n", 0);
  Output out;
  Nym_status status;
  Nstring text;
  Wstring wide;
  nym_copy_stream(in.stream, out.stream, status);
  nym_stream_to_string(in.stream, text, status);
  nym_stream_to_string(in.stream, wide, status);
  nym_swap_stream(in.stream, out.stream, status);
  nym_count_lines(in.stream, status);
  nym_skip_lines(in.stream, 3, status);
  EXPECT_TRUE(out.text.empty() && text.empty() && wide.empty());
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
      {"hello", true, 50, "hello", u"\u6568\u6c6c"},
      {"hello", true, 0, "", u""},
      {std::string(1500, 'r') + std::string(2, '\0') + "tail", false, 0, std::string(1500, 'r'), Wstring(750, u'\u7272')},
  };
  for (const auto& c : cases) {
    for (const uint64 step : STEPS) {  // odd steps split units: a half unit waits for its partner
      Input narrow_in(c.bytes, step), wide_in(c.bytes, step);
      Nstring narrow = "old";
      Wstring wide = u"old";
      Nym_status status(0x1234);
      if (c.counted) {
        nym_stream_to_string(narrow_in.stream, narrow, c.count, status);
        nym_stream_to_string(wide_in.stream, wide, c.count, status);
      } else {
        nym_stream_to_string(narrow_in.stream, narrow, status);
        nym_stream_to_string(wide_in.stream, wide, status);
      }
      EXPECT_TRUE(status.is_clear());
      EXPECT_EQ(narrow, c.narrow) << c.bytes.substr(0, 8) << " step " << step;
      EXPECT_EQ(wide, c.wide) << c.bytes.substr(0, 8) << " step " << step;
    }
  }
}

TEST(PathQueryTest, TypeAndAccess) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path dir =
      fs::temp_directory_path() / ("nym_path_query_" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
  fs::create_directories(dir, error);
  ASSERT_FALSE(error) << error.message();
  std::ofstream(dir / "file") << "x";
  const Wstring separator(1, static_cast<Wchar>(fs::path::preferred_separator));
  const Wstring d = dir.u16string(), file = (dir / "file").u16string(), missing = (dir / "missing").u16string();
  EXPECT_EQ(nym_type(u""), NYM_TYPE_NONE);
  EXPECT_EQ(nym_type(d + separator), NYM_TYPE_DIRECTORY) << "with a trailing separator";
  EXPECT_EQ(nym_type(file), NYM_TYPE_FILE);
  EXPECT_EQ(nym_type(missing + separator), NYM_TYPE_NONE);
  EXPECT_TRUE(nym_access(file, NYM_ACCESS_READ_WRITE) && nym_access(d, NYM_ACCESS_READ));
  EXPECT_FALSE(nym_access(missing, NYM_ACCESS_READ));
#ifndef _WIN32
  EXPECT_EQ(nym_type(u"/dev/null"), NYM_TYPE_CHARACTER_DEVICE);
  ASSERT_EQ(::mkfifo((dir / "fifo").c_str(), 0600), 0);
  EXPECT_EQ(nym_type((dir / "fifo").u16string()), NYM_TYPE_PIPE);
#endif
  fs::remove_all(dir, error);
}
