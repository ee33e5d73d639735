#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "nym/istream.h"
#include "test_store.h"
#include "watchdog.h"

using namespace nym;
using nym_test::Test_store;

namespace {

struct Line {
  std::string text;
  Nym_eol report;
  unsigned int code;  // the status value after the call
  bool operator==(const Line& o) const { return text == o.text && report == o.report && code == o.code; }
};

std::ostream& operator<<(std::ostream& out, const Line& l) {
  std::string shown;
  for (char c : l.text) shown += c == '\r' ? "\\r" : c == '\n' ? "\\n" : std::string(1, c);
  return out << "{\"" << shown << "\", " << l.report << ", 0x" << std::hex << l.code << std::dec << "}";
}

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

std::string narrow(const Wstring& w) {
  std::string out;
  for (char16_t c : w) out.push_back(static_cast<char>(c));
  return out;
}

std::string utf16(const std::string& text, bool big_endian) {
  std::string out;
  for (unsigned char c : text) {
    if (big_endian) out += '\0';
    out += static_cast<char>(c);
    if (!big_endian) out += '\0';
  }
  return out;
}

enum class Form { narrow, wide, wide_le, wide_be, x, x_le, x_be };

// Reads lines of one form until the end of the data (or too many calls).
template <class Stream>
std::vector<Line> read_lines(Form form, Nym_eol rule, const std::string& text, uint64 max) {
  const bool be = form == Form::wide_be || form == Form::x_be;
  const std::string stored = form == Form::narrow ? text : utf16(text, be);
  Test_store store(stored);
  Nym_status status;
  Stream stream(store, false, status, rule);
  std::vector<Line> lines;
  for (int call = 0; call < 64; ++call) {
    Line line{};
    Wstring wide;
    switch (form) {
      case Form::narrow: line.report = stream.readln(max, line.text, status); break;
      case Form::wide: line.report = stream.wreadln(max, wide, status); break;
      case Form::wide_le: line.report = stream.wreadln_le(max, wide, status); break;
      case Form::wide_be: line.report = stream.wreadln_be(max, wide, status); break;
      case Form::x: line.report = stream.xreadln(max, wide, status); break;
      case Form::x_le: line.report = stream.xreadln_le(max, wide, status); break;
      case Form::x_be: line.report = stream.xreadln_be(max, wide, status); break;
    }
    if (form != Form::narrow) line.text = narrow(wide);
    line.code = status.value();
    lines.push_back(line);
    if (status.is_error() && status.value() != NYM_S_LINE_NOT_ENDED) break;
  }
  return lines;
}

const std::vector<Line_case> CASES = {
    {"any_mixed", NYM_EOL_ANY, "a\r\nb\rc\nd", 1000,
     {{"a", NYM_EOL_CRLF, OK}, {"b", NYM_EOL_CR, OK}, {"c", NYM_EOL_LF, OK}, {"d", NYM_EOL_ANY, NOT_ENDED},
      {"", NYM_EOL_ANY, END}}},
    {"any_lone_cr_at_end", NYM_EOL_ANY, "a\r", 1000, {{"a", NYM_EOL_CR, OK}, {"", NYM_EOL_ANY, END}}},
    {"any_cr_cr", NYM_EOL_ANY, "\r\r", 1000,
     {{"", NYM_EOL_CR, OK}, {"", NYM_EOL_CR, OK}, {"", NYM_EOL_ANY, END}}},
    {"any_lf_cr_lf", NYM_EOL_ANY, "\n\r\n", 1000,
     {{"", NYM_EOL_LF, OK}, {"", NYM_EOL_CRLF, OK}, {"", NYM_EOL_ANY, END}}},
    {"lf_keeps_cr", NYM_EOL_LF, "a\rb\n", 1000, {{"a\rb", NYM_EOL_LF, OK}, {"", NYM_EOL_ANY, END}}},
    {"cr_keeps_lf", NYM_EOL_CR, "a\nb\rc", 1000,
     {{"a\nb", NYM_EOL_CR, OK}, {"c", NYM_EOL_ANY, NOT_ENDED}, {"", NYM_EOL_ANY, END}}},
    {"crlf_keeps_lf", NYM_EOL_CRLF, "a\nb\r\n", 1000, {{"a\nb", NYM_EOL_CRLF, OK}, {"", NYM_EOL_ANY, END}}},
    {"crlf_cr_cr_lf", NYM_EOL_CRLF, "a\r\rb\r\r\n", 1000,
     {{"a\r\rb\r", NYM_EOL_CRLF, OK}, {"", NYM_EOL_ANY, END}}},
    {"crlf_cr_then_other", NYM_EOL_CRLF, "a\rx\n", 1000, {{"a\rx\n", NYM_EOL_ANY, NOT_ENDED}, {"", NYM_EOL_ANY, END}}},
    {"max_pieces", NYM_EOL_ANY, "abcdefg\n", 3,
     {{"abc", NYM_EOL_ANY, NOT_ENDED}, {"def", NYM_EOL_LF, NOT_ENDED}, {"g", NYM_EOL_LF, OK}, {"", NYM_EOL_ANY, END}}},
    {"max_exact_fit", NYM_EOL_ANY, "abc\r\nd", 3,
     {{"abc", NYM_EOL_CRLF, OK}, {"d", NYM_EOL_ANY, NOT_ENDED}, {"", NYM_EOL_ANY, END}}},
    {"max_cr_beyond_piece", NYM_EOL_ANY, "ab\r\n", 1,
     {{"a", NYM_EOL_CR, NOT_ENDED}, {"b", NYM_EOL_CRLF, OK}, {"", NYM_EOL_ANY, END}}},
    {"max_zero_reads_as_one", NYM_EOL_ANY, "ab\n\n", 0,
     {{"a", NYM_EOL_LF, NOT_ENDED}, {"b", NYM_EOL_LF, OK}, {"", NYM_EOL_LF, OK}, {"", NYM_EOL_ANY, END}}},
    {"empty", NYM_EOL_ANY, "", 10, {{"", NYM_EOL_ANY, END}}},
    {"long_line", NYM_EOL_LF, std::string(10000, 'q') + "\nz", 20000,
     {{std::string(10000, 'q'), NYM_EOL_LF, OK}, {"z", NYM_EOL_ANY, NOT_ENDED}, {"", NYM_EOL_ANY, END}}},
};

class LineReaderTest : public testing::TestWithParam<std::tuple<Line_case, Form>> {};

}  // namespace

TEST_P(LineReaderTest, ReadsLinesByTheRule) {
  const auto& [c, form] = GetParam();
  EXPECT_EQ(read_lines<Nym_unbuffered_istream>(form, c.rule, c.data, c.max), c.lines) << "unbuffered";
  EXPECT_EQ(read_lines<Nym_buffered_istream>(form, c.rule, c.data, c.max), c.lines) << "buffered";
}

std::string case_name(const testing::TestParamInfo<std::tuple<Line_case, Form>>& info) {
  static const char* const FORMS[] = {"narrow", "wide", "wide_le", "wide_be", "x", "x_le", "x_be"};
  return std::string(std::get<0>(info.param).name) + "_" + FORMS[static_cast<int>(std::get<1>(info.param))];
}

INSTANTIATE_TEST_SUITE_P(Cases, LineReaderTest,
                         testing::Combine(testing::ValuesIn(CASES),
                                          testing::Values(Form::narrow, Form::wide, Form::wide_le, Form::wide_be,
                                                          Form::x, Form::x_le, Form::x_be)),
                         case_name);

TEST(LineReaderPositionTest, SequentialFormsMoveByLineAndEnd) {
  Test_store store(std::string("ab\r\ncd\n") + "e");
  Nym_status status;
  Nym_buffered_istream stream(store, false, status, NYM_EOL_ANY);
  Nstring line;
  stream.readln(100, line, status);
  EXPECT_EQ(stream.tell(), 4);
  stream.readln(100, line, status);
  EXPECT_EQ(stream.tell(), 7);
  stream.readln(100, line, status);
  EXPECT_EQ(stream.tell(), 8);
}

TEST(LineReaderPositionTest, WideBigEndianMovesInBytes) {
  Test_store store(std::string("\0a\0\n", 4));
  Nym_status status;
  Nym_unbuffered_istream stream(store, false, status, NYM_EOL_ANY);
  Wstring line;
  EXPECT_EQ(stream.wreadln_be(10, line, status), NYM_EOL_LF);
  EXPECT_EQ(line, u"a");
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(stream.tell(), 4);
}

TEST(LineReaderPositionTest, AtFormsLeaveThePositionAlone) {
  const std::string text = "one\ntwo\nthree";
  Test_store narrow_store(text);
  Test_store wide_store(utf16(text, false));
  Nym_status status;
  Nym_buffered_istream n(narrow_store, false, status, NYM_EOL_LF);
  Nym_unbuffered_istream w(wide_store, false, status, NYM_EOL_LF);
  Nstring line;
  EXPECT_EQ(n.readln_at(4, 100, line, status), NYM_EOL_LF);
  EXPECT_EQ(line, "two");
  EXPECT_EQ(n.tell(), 0);
  Wstring wline;
  EXPECT_EQ(w.wreadln_at(8, 100, wline, status), NYM_EOL_LF);
  EXPECT_EQ(wline, u"two");
  EXPECT_EQ(w.xreadln_le_at(16, 100, wline, status), NYM_EOL_ANY);
  EXPECT_EQ(wline, u"three");
  EXPECT_EQ(status.value(), NYM_S_LINE_NOT_ENDED);
  EXPECT_EQ(w.tell(), 0);
  Test_store be_store(utf16(text, true));
  Nym_unbuffered_istream b(be_store, false, status, NYM_EOL_LF);
  EXPECT_EQ(b.wreadln_be_at(8, 100, wline, status), NYM_EOL_LF);
  EXPECT_EQ(wline, u"two");
  EXPECT_EQ(b.xreadln_be_at(0, 100, wline, status), NYM_EOL_LF);
  EXPECT_EQ(wline, u"one");
  EXPECT_EQ(b.xreadln_at(0, 100, wline, status), NYM_EOL_ANY) << "read as little-endian the text has no LF";
}

// A blocking stream waits for the rest of a line that the writer has not finished.
TEST(LineReaderBlockingTest, WaitsForTheLineEnd) {
  nym_test::Watchdog watchdog("LineReaderBlockingTest.WaitsForTheLineEnd");
  Test_store store;
  Nym_status status;
  store.connect_ostream(status);
  store.append("hel");
  std::vector<std::string> lines;
  std::thread reader([&] {
    Nym_status s;
    Nym_buffered_istream stream(store, true, s, NYM_EOL_ANY);
    Nstring line;
    for (;;) {
      stream.readln(100, line, s);
      if (s.is_error() && s.value() != NYM_S_LINE_NOT_ENDED) break;
      lines.push_back(line);
    }
  });
  while (store.sleeping() != 1) std::this_thread::yield();
  store.append("lo\r");
  store.append("\nworld\n");
  store.disconnect_ostream();
  reader.join();
  EXPECT_EQ(lines, (std::vector<std::string>{"hello", "world"}));
}
