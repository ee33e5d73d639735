// The streams: both input streams, the byte stream, the line readers and the output stream.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "nym/ibyte_stream.h"
#include "nym/istream.h"
#include "nym/ostream.h"
#include "nym/string_buffer.h"
#include "nym/wstring_buffer.h"
#include "test_helpers.h"
#include "test_stores.h"

using namespace nym;
using nym_test::pattern;
using nym_test::Open;
using nym_test::until;
using nym_test::what_of;
using Store = Open<Nym_string_buffer>;

namespace {

std::string bytes(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out.push_back(static_cast<char>(v));
  return out;
}

template <class Stream>
class IstreamTest : public testing::Test {};
using Streams = testing::Types<Nym_unbuffered_istream, Nym_buffered_istream>;
TYPED_TEST_SUITE(IstreamTest, Streams);

}  // namespace

// What the output stream writes in either order, both input streams and the byte stream read
// back; a short value reports NYM_S_TOO_FEW_BYTES alone and moves by what it read; with nothing
// left the end is under it.
TEST(StreamTest, ByteOrdersRoundTrip) {
  Nstring text;
  Store store(text, false);
  Nym_status status;
  Nym_ostream out(store, status);
  out.write_be(0x01020304, status);
  out.write_le(static_cast<unsigned short>(0x0708), status);
  out.write_be(int64{-0x1112131415161718}, status);
  out.write_le(uint64{0x191A1B1C1D1E1F20}, status);
  out.write(3, "abc", status);
  EXPECT_TRUE(status.is_clear() && text.substr(0, 6) == bytes({1, 2, 3, 4, 8, 7}) && out.tell() == 25);
  Nym_unbuffered_istream unbuffered(store, false, status);
  Nym_buffered_istream buffered(store, false, status);
  Nym_ibyte_stream byte_stream(reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned>(text.size()), status);
  auto check = [&](auto& stream) {
    int be = 0;
    unsigned short le = 0;
    int64 wide_be = 0;
    uint64 wide_le = 0;
    stream.read_be(be, status);
    stream.read_le(le, status);
    stream.read_be(wide_be, status);
    stream.read_le(wide_le, status);
    EXPECT_EQ(std::make_tuple(be, le, wide_be, wide_le, status.value()),
              std::make_tuple(0x01020304, static_cast<unsigned short>(0x0708), int64{-0x1112131415161718},
                              uint64{0x191A1B1C1D1E1F20}, 0u));
    unsigned int three = 77;
    stream.read_be(three, status);
    EXPECT_TRUE(status == NYM_S_TOO_FEW_BYTES && !status.has_child() && stream.tell() == 25);
    stream.read_be(three, status);
    EXPECT_TRUE(status == NYM_S_TOO_FEW_BYTES && status.contains_value(NYM_S_END_OF_DATA)) << "nothing left at all";
  };
  check(unbuffered);
  check(buffered);
  check(byte_stream);
  EXPECT_THROW(Nym_ibyte_stream().init(nullptr, 3, status), std::invalid_argument);
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
    std::vector<std::tuple<uint64, unsigned int>> answers;
    auto note = [&](uint64 answer) { answers.emplace_back(answer, status.value()); };
    note(stream.read_at(at, sizeof data, data, status));
    stream.seek(at);
    note(stream.read(sizeof data, data, status));
    Nstring line = "x";
    Wstring wide = u"x";
    note(stream.readln(10, line, status) + line.size());
    note(stream.wreadln_at(at, 10, wide, status) + wide.size());
    EXPECT_EQ(answers, decltype(answers)(4, {0, expected})) << at;  // NYM_EOL_ANY is 0
    EXPECT_TRUE(!stream.size_greater_than(at) && stream.tell() == at) << at;
  }
}

TEST(BufferedIstreamTest, TheWindowGathersAndNeverSplitsAUnit) {
  Nstring text = pattern(40000);
  Store store(text, false);
  Nym_status status;
  Nym_buffered_istream stream(store, false, status);
  std::string got(30000, '\0');
  EXPECT_TRUE(stream.read(30000, got.data(), status) == 30000 && got == text.substr(0, 30000)) << "across windows";
  EXPECT_TRUE(stream.read(20000, got.data(), status) == 10000 && status.is_clear()) << "a partial read succeeds";
  EXPECT_TRUE(stream.read(1, got.data(), status) == 0 && status == NYM_S_END_OF_DATA);
  stream.seek(int64{39999});
  EXPECT_EQ(stream.read_char(), text.back());
  EXPECT_EQ(what_of([&] { stream.read_char(); }), "Nym_buffered_istream::read_char - Error reading data");
  // An odd start puts a unit across the window's last byte and the next window.
  text = "x";
  for (int i = 0; i < 10000; ++i) text += bytes({i & 0xFF, (i >> 8) & 0xFF});
  text += "y";
  Nym_buffered_istream units(store, false, status);
  EXPECT_EQ(units.read_char(), 'x');
  for (int i = 0; i < 10000; ++i) ASSERT_EQ(units.read_wchar(), static_cast<unsigned short>(i)) << i;
  EXPECT_THROW(units.read_wchar(), std::runtime_error) << "half a unit at the end";
}

namespace {

using Line = std::tuple<std::string, Nym_eol, unsigned int>;  // the text, the end reported, the status after

constexpr unsigned int OK = 0;
constexpr unsigned int NOT_ENDED = NYM_S_LINE_NOT_ENDED;
constexpr unsigned int END = NYM_S_END_OF_DATA;

struct Line_case {
  const char* name;
  Nym_eol rule;
  std::string data;
  uint64 max;
  std::vector<Line> lines;  // in order, the last one reporting the end of the data
};

std::string utf16(const std::string& text, bool big_endian) {
  std::string out;
  for (unsigned char c : text) out += big_endian ? std::string{'\0', static_cast<char>(c)} : std::string{static_cast<char>(c), '\0'};
  return out;
}

enum class Form { narrow, wide, wide_be };

using Next = Nym_eol (Nym_istream::*)(uint64, Wstring&, Nym_status&);
using At = Nym_eol (Nym_istream::*)(int64, uint64, Wstring&, Nym_status&);
const std::pair<Next, At> LITTLE[] = {{&Nym_istream::wreadln, &Nym_istream::wreadln_at},
                                      {&Nym_istream::xreadln, &Nym_istream::xreadln_at},
                                      {&Nym_istream::wreadln_le, &Nym_istream::wreadln_le_at},
                                      {&Nym_istream::xreadln_le, &Nym_istream::xreadln_le_at}};
const std::pair<Next, At> BIG[] = {{&Nym_istream::wreadln_be, &Nym_istream::wreadln_be_at},
                                   {&Nym_istream::xreadln_be, &Nym_istream::xreadln_be_at}};

// Reads lines of one form until the end of the data (or too many calls), by every name of the
// form in turn, each line first by the _at form, which must answer the same and not move.
template <class Stream>
std::vector<Line> read_lines(Form form, Nym_eol rule, const std::string& text, uint64 max) {
  Nstring stored = form == Form::narrow ? text : utf16(text, form == Form::wide_be);
  Nym_string_buffer store(stored, false);
  Nym_status status;
  Stream stream(store, false, status, rule);
  std::vector<Line> lines;
  for (int call = 0; call < 64; ++call) {
    Nstring line[2];
    Wstring wide[2];
    Nym_eol report[2];
    unsigned int after[2];
    const int64 at = stream.tell();
    for (int sequential = 0; sequential < 2; ++sequential) {
      const auto name = form == Form::wide ? LITTLE[call % 4] : BIG[call % 2];
      if (form == Form::narrow) {
        report[sequential] =
            sequential ? stream.readln(max, line[1], status) : stream.readln_at(at, max, line[0], status);
      } else {
        report[sequential] =
            sequential ? (stream.*name.first)(max, wide[1], status) : (stream.*name.second)(at, max, wide[0], status);
      }
      for (char16_t c : wide[sequential]) line[sequential].push_back(static_cast<char>(c));
      after[sequential] = status.value();
      EXPECT_TRUE(sequential || stream.tell() == at) << "an _at form moved";
    }
    EXPECT_EQ(std::tie(line[0], report[0], after[0]), std::tie(line[1], report[1], after[1])) << call;
    lines.emplace_back(line[1], report[1], after[1]);
    if (status.is_error() && status.value() != NYM_S_LINE_NOT_ENDED) break;
  }
  return lines;
}

const std::vector<Line_case> CASES = {
    {"any_mixed", NYM_EOL_ANY, "a\r\nb\rc\nd", 1000,
     {{"a", NYM_EOL_CRLF, OK}, {"b", NYM_EOL_CR, OK}, {"c", NYM_EOL_LF, OK}, {"d", NYM_EOL_ANY, NOT_ENDED},
      {"", NYM_EOL_ANY, END}}},
    {"cr_keeps_lf", NYM_EOL_CR, "a\nb\rc", 1000,
     {{"a\nb", NYM_EOL_CR, OK}, {"c", NYM_EOL_ANY, NOT_ENDED}, {"", NYM_EOL_ANY, END}}},
    {"crlf_cr_cr_lf", NYM_EOL_CRLF, "a\r\rb\r\r\n", 1000, {{"a\r\rb\r", NYM_EOL_CRLF, OK}, {"", NYM_EOL_ANY, END}}},
    {"max_pieces", NYM_EOL_ANY, "abcdefg\n", 3,
     {{"abc", NYM_EOL_ANY, NOT_ENDED}, {"def", NYM_EOL_LF, NOT_ENDED}, {"g", NYM_EOL_LF, OK}, {"", NYM_EOL_ANY, END}}},
    {"max_cr_beyond_piece", NYM_EOL_ANY, "ab\r\n", 1,
     {{"a", NYM_EOL_CR, NOT_ENDED}, {"b", NYM_EOL_CRLF, OK}, {"", NYM_EOL_ANY, END}}},
};

}  // namespace

TEST(LineReaderTest, ReadsLinesByTheRuleInEveryForm) {
  for (const auto& c : CASES) {
    for (const Form form : {Form::narrow, Form::wide, Form::wide_be}) {
      SCOPED_TRACE(std::string(c.name) + ", form " + std::to_string(static_cast<int>(form)));
      EXPECT_EQ(read_lines<Nym_unbuffered_istream>(form, c.rule, c.data, c.max), c.lines) << "unbuffered";
      EXPECT_EQ(read_lines<Nym_buffered_istream>(form, c.rule, c.data, c.max), c.lines) << "buffered";
    }
  }
}

// Lines read in the buffered window answer as lines read through the store, for lines of any
// length across several windows, in every form and rule, and with a line end split by the
// window's edge.
TEST(LineReaderTest, TheWindowAnswersAsTheStore) {
  std::mt19937 random(7);
  std::vector<Nstring> texts(1);
  while (texts[0].size() < 3 * Nym_buffered_istream::WINDOW_SIZE) {
    const char* const pieces[] = {"\r", "\n", "\r\n", "\r\r", "x"};
    texts[0] += pieces[random() % 5];
    texts[0].append(random() % 4 == 0 ? random() % 3000 : random() % 90, 'a');
  }
  for (uint64 before = Nym_buffered_istream::WINDOW_SIZE - 2; before <= Nym_buffered_istream::WINDOW_SIZE + 1; ++before) {
    texts.push_back("a\n" + Nstring(before - 2, 'b') + "\r\nc\r");
  }
  for (Nstring& text : texts) {
    Nym_string_buffer store(text, false);
    // Max and start: long lines come in pieces, and an odd start reads 16-bit units unaligned.
    for (const auto& [max, start] : {std::pair<uint64, int64>{20000, 0}, {2048, 0}, {40, 1}}) {
      for (const Nym_eol rule : {NYM_EOL_ANY, NYM_EOL_CR, NYM_EOL_LF, NYM_EOL_CRLF}) {
        Nym_status status;
        Nym_unbuffered_istream through_store(store, false, status, rule);
        Nym_buffered_istream windowed(store, false, status, rule);
        Nym_istream* streams[2] = {&through_store, &windowed};
        for (int form = 0; form < 3; ++form) {
          for (Nym_istream* stream : streams) stream->seek(start);
          for (Nym_status got[2]; !got[0].is_error() || got[0] == NYM_S_LINE_NOT_ENDED;) {
            Wstring line[2];
            Nym_eol report[2];
            for (int i = 0; i < 2; ++i) {
              Nstring narrow;
              report[i] = form == 0 ? streams[i]->readln(max, narrow, got[i])
                          : form == 1 ? streams[i]->wreadln(max, line[i], got[i])
                                      : streams[i]->wreadln_be(max, line[i], got[i]);
              line[i].append(narrow.begin(), narrow.end());
            }
            ASSERT_TRUE(line[0] == line[1] && report[0] == report[1] && got[0] == got[1] &&
                        streams[0]->tell() == streams[1]->tell())
                << "text " << &text - texts.data() << " rule " << rule << " max " << max << " form " << form << " at "
                << streams[0]->tell();
          }
        }
      }
    }
  }
}

// A blocking stream waits for the rest of a line that the writer has not written yet, instead of
// answering part of it.
TEST(LineReaderTest, ABlockingReaderWaitsForTheLineEnd) {
  Nstring text = "hel";
  Store store(text, false);
  Nym_status status;
  Nym_ostream out(store, status);
  out.seek(NYM_SEEK_END, 0, status);
  std::vector<std::string> lines;
  std::thread line_reader([&] {
    Nym_status s;
    Nym_buffered_istream stream(store, true, s, NYM_EOL_ANY);
    Nstring line;
    for (;;) {
      stream.readln(100, line, s);
      if (s.is_error() && s.value() != NYM_S_LINE_NOT_ENDED) break;
      lines.push_back(line);
    }
  });
  until([&] { return store.sleeping() == 1; });
  out.write(3, "lo\r", status);
  out.write(7, "\nworld\n", status);
  out.detach();
  line_reader.join();
  EXPECT_EQ(lines, (std::vector<std::string>{"hello", "world"}));
}

TEST(OstreamTest, WriteAtSeekSetSizeAndAFailedLine) {
  Nstring text;
  Nym_string_buffer buffer(text, false);
  Nym_status status;
  Nym_ostream out(buffer, status);
  out.xwriteln_be(u"\u00e9", status);  // a wide line without an end
  EXPECT_EQ(text, bytes({0, 0xE9}));
  text = "abcdef";
  out.seek(int64{1});
  out.write_at(4, 2, "XY", status);
  EXPECT_TRUE(text == "abcdXY" && out.tell() == 1) << "write_at leaves the position alone";
  out.seek(NYM_SEEK_END, 2, status);
  out.write(1, "!", status);
  out.seek(NYM_SEEK_BEGIN, -1, status);
  EXPECT_TRUE(text == "abcdXY  !" && status == NYM_S_BAD_SEEK && out.tell() == 9);
  out.set_size(6, status);
  out.set_size(8, status);
  EXPECT_TRUE(text == std::string("abcdXY \0", 8) && out.tell() == 9) << "the store's padding, then one zero byte";

  // The position counts what was meant up to the first failure: a failed text still counts.
  const int64 limit = static_cast<int64>(Nym_string_buffer::STRING_LIMIT);
  text.clear();
  out.init(buffer, status, NYM_EOL_CRLF);
  for (const char* line : {"abcd", "ab"}) {  // the text passes the limit; the text fits, the line end does not
    out.seek(int64{limit - 3});
    out.writeln(line, status);
    EXPECT_TRUE(status == NYM_S_WRITE_FAILED && out.tell() == limit + 1) << line << ": the text counts, its end not";
  }
  EXPECT_EQ(text.substr(text.size() - 2), "ab");
}
