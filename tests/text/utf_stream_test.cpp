// The stream conversions between a Nym_istream and a Nym_ostream, over string buffers and
// over streams that cut their reads short, count their writes, or misbehave.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "nym/buffer.h"
#include "nym/func_buffer.h"
#include "nym/multi_buffer.h"
#include "nym/ostream.h"
#include "nym/status.h"
#include "nym/string_buffer.h"
#include "nym/utf.h"

using namespace nym;

namespace {

// Reads at most `piece` bytes a time; after `max_reads` reads it reports an error, so that a
// conversion that would read forever ends and fails its test instead of hanging.
class Piecewise_istream : public Nym_unbuffered_istream {
 public:
  Piecewise_istream(const Nym_buffer& buffer, Nym_status& status, uint64 piece, int max_reads = 100000)
      : Nym_unbuffered_istream(buffer, false, status), m_piece(piece), m_max_reads(max_reads) {}
  uint64 read(uint64 count, void* data, Nym_status& status) override {
    if (++m_reads > m_max_reads) {
      status = NYM_S_READ_FAILED;
      return 0;
    }
    return Nym_unbuffered_istream::read(std::min(count, m_piece), data, status);
  }
  int reads() const { return m_reads; }

 private:
  uint64 m_piece;
  int m_max_reads;
  int m_reads = 0;
};

// Counts the writes and their sizes.
class Counting_ostream : public Nym_ostream {
 public:
  Counting_ostream(Nym_buffer& buffer, Nym_status& status) : Nym_ostream(buffer, status) {}
  void write(uint64 count, const void* data, Nym_status& status) override {
    ++m_writes;
    if (count != 2) m_all_two = false;
    Nym_ostream::write(count, data, status);
  }
  int writes() const { return m_writes; }
  bool all_two() const { return m_all_two; }

 private:
  int m_writes = 0;
  bool m_all_two = true;
};

Nstring bytes_of(const Wstring& w) { return Nstring(reinterpret_cast<const char*>(w.data()), w.size() * 2); }

Wstring units_of(const Nstring& s) {
  Wstring w(s.size() / 2, 0);
  std::memcpy(&w[0], s.data(), w.size() * 2);
  return w;
}

struct Stream_result {
  Nstring out;
  Nym_status status;
  int reads = 0;
  int writes = 0;
  bool all_two = true;
};

enum Direction { TO_UTF16, TO_UTF8 };

Stream_result convert(Direction direction, Nstring in, uint64 piece = 1u << 20, int max_reads = 100000) {
  Stream_result r;
  Nym_string_buffer source(in, true);
  Nym_string_buffer sink(r.out, true);
  Nym_status status;
  Piecewise_istream is(source, status, piece, max_reads);
  EXPECT_TRUE(status.ok());
  Counting_ostream os(sink, status);
  EXPECT_TRUE(status.ok());
  r.status = NYM_S_READ_FAILED;  // must be cleared
  if (direction == TO_UTF16) {
    nym_utf8_to_utf16(is, os, r.status);
  } else {
    nym_utf16_to_utf8(is, os, r.status);
  }
  r.reads = is.reads();
  r.writes = os.writes();
  r.all_two = os.all_two();
  return r;
}

TEST(UtfStreamTest, Utf8ToUtf16Table) {
  const struct {
    Nstring in;
    Wstring expected;
  } cases[] = {
      {"", u""},
      {"abc", u"abc"},
      {Nstring("A\0B", 3), Wstring(u"A\0B", 3)},                   // a NUL is an ordinary character
      {"\xC3\xA9\xE2\x82\xAC", u"\u00E9\u20AC"},
      {"\xF0\x9F\x98\x80", u"\U0001F600"},                           // one write per unit of the pair
      {"\xC3\x41z", u"\uFFFDz"},                                     // the breaking byte goes too
      {"\xE2\x82\x41z", u"\uFFFDz"},
      {"\xC3\xC3\xA9", u"\uFFFD\uFFFD"},  // even a lead byte: its continuation is then a stray
      {"a\xE2\x82", u"a"},                                           // cut by the end: dropped
      {"a\xF0", u"a"},
      {"\x80\xBF\xFE\xFF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {Nstring("\xC0\x80", 2), Wstring(1, u'\0')},                   // the overlong NUL too
      {"\xED\xA0\x80", Wstring(1, 0xD800)},                          // encoded surrogates pass
      {"\xF8\x88\x80\x80\x80", Wstring{0xDBC0, 0xDC00}},             // five bytes: 0x200000
  };
  for (const auto& c : cases) {
    const Stream_result r = convert(TO_UTF16, c.in);
    EXPECT_TRUE(r.status.ok()) << c.in;
    EXPECT_EQ(units_of(r.out), c.expected) << c.in;
    EXPECT_EQ(r.out.size() % 2, 0u);
    EXPECT_EQ(static_cast<std::size_t>(r.writes), c.expected.size()) << c.in;  // one write per unit
    EXPECT_TRUE(r.all_two) << c.in;
    EXPECT_EQ(static_cast<std::size_t>(r.reads), c.in.size() + 1) << c.in;     // a byte a time
  }
}

TEST(UtfStreamTest, Utf8ToUtf16LongTextMatchesTheStringForm) {
  Nstring text;
  for (int i = 0; i < 3000; ++i) text += "w\xC3\xA9\xE6\x96\x87\xF0\x9F\x98\x80 ";
  const Stream_result r = convert(TO_UTF16, text);
  EXPECT_TRUE(r.status.ok());
  Wstring expected;
  nym_utf8_to_utf16(text.c_str(), expected);
  EXPECT_EQ(units_of(r.out), expected);
}

TEST(UtfStreamTest, Utf8ToUtf16KeepsOtherErrors) {
  const Stream_result r = convert(TO_UTF16, "abcdef", 1, 3);
  EXPECT_TRUE(r.status == NYM_S_READ_FAILED);
  EXPECT_EQ(units_of(r.out), u"abc");
}

TEST(UtfStreamTest, Utf16ToUtf8Table) {
  const struct {
    Nstring in;  // raw bytes, host order
    Nstring expected;
  } cases[] = {
      {"", ""},
      {bytes_of(u"abc"), "abc"},
      {bytes_of(u"\uFEFFa"), "\xEF\xBB\xBF" "a"},                   // a mark is a character
      {bytes_of(u"\u00E9\u20AC\U0001F600"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {bytes_of(Wstring(u"ab\0cd", 5)), "ab"},                       // NUL: the block's rest is lost
      {bytes_of(Wstring{0xD800, u'A'}), "\xEF\xBF\xBD"},              // swallows the unit after it
      // Odd lengths and lone high surrogates at the end: the loops end.
      {bytes_of(u"ab") + "c", "ab"},
      {"c", ""},
      {bytes_of(Wstring{u'a', u'b', 0xD83D}), "ab\xEF\xBF\xBD"},
      {bytes_of(Wstring(1, 0xD83D)), "\xEF\xBF\xBD"},
      {bytes_of(Wstring{u'a', 0xD83D}) + "x", "a\xEF\xBF\xBD"},
      {bytes_of(Wstring(1, 0xDC00)), "\xEF\xBF\xBD"},
  };
  for (const auto& c : cases) {
    for (const uint64 piece : {uint64{1} << 20, uint64{1}, uint64{2}, uint64{3}, uint64{5}}) {
      if (c.in.find('\0') != Nstring::npos && piece < c.in.size()) continue;  // NUL cuts per block
      const Stream_result r = convert(TO_UTF8, c.in, piece, 1000);
      EXPECT_TRUE(r.status.ok()) << "piece " << piece << " in " << c.expected;
      EXPECT_EQ(r.out, c.expected) << "piece " << piece;
    }
  }
}

TEST(UtfStreamTest, Utf16ToUtf8BlocksNeverSplitAPair) {
  // Pairs at every phase around the 16,384-byte block boundary, and short reads of every
  // size that cut pairs and units anywhere: the output is the string form's.
  for (std::size_t shift = 0; shift < 4; ++shift) {
    Wstring text(8190 + shift, u'x');
    while (text.size() < 20000) text += u"\U0001F600\u00E9";
    Nstring expected;
    nym_utf16_to_utf8(text.c_str(), expected);
    const Stream_result whole = convert(TO_UTF8, bytes_of(text));
    EXPECT_TRUE(whole.status.ok());
    EXPECT_EQ(whole.out, expected) << shift;
    EXPECT_EQ(whole.writes, 3) << shift;  // one write per block
  }
  Wstring text;
  for (int i = 0; i < 300; ++i) {
    text += u"a\U0001F600\u6587";
    text += static_cast<Wchar>(0xD83D);  // a lone high half too
  }
  Nstring expected;
  nym_utf16_to_utf8(text.c_str(), expected);
  for (const uint64 piece : {1, 2, 3, 4, 5, 7, 64}) {
    const Stream_result r = convert(TO_UTF8, bytes_of(text), piece);
    EXPECT_TRUE(r.status.ok()) << piece;
    EXPECT_EQ(r.out, expected) << piece;
  }
}

TEST(UtfStreamTest, Utf16ToUtf8KeepsOtherErrors) {
  const Stream_result r = convert(TO_UTF8, bytes_of(u"abcdef"), 4, 2);
  EXPECT_TRUE(r.status == NYM_S_READ_FAILED);
  EXPECT_EQ(r.out, "abcd");
}

// A stream that answers nothing and reports nothing: both conversions end all the same.
class Silent_istream : public Nym_unbuffered_istream {
 public:
  uint64 read(uint64, void*, Nym_status& status) override {
    status.clear();
    return ++m_reads > 100 ? (status = NYM_S_READ_FAILED, 0) : 0;
  }
  int m_reads = 0;
};

TEST(UtfStreamTest, ASilentStreamEndsTheLoops) {
  Nstring out;
  Nym_string_buffer sink(out, true);
  Nym_status status;
  Nym_ostream os(sink, status);
  for (const Direction d : {TO_UTF16, TO_UTF8}) {
    Silent_istream is;
    if (d == TO_UTF16) {
      nym_utf8_to_utf16(is, os, status);
    } else {
      nym_utf16_to_utf8(is, os, status);
    }
    EXPECT_TRUE(status.ok());
    EXPECT_EQ(is.m_reads, 1);
  }
  EXPECT_EQ(out, "");
}

}  // namespace

namespace {

// Hands out its bytes and reports the end of the data with the last of them.
class Eager_end_istream : public Nym_unbuffered_istream {
 public:
  explicit Eager_end_istream(Nstring bytes) : m_bytes(std::move(bytes)) {}
  uint64 read(uint64 count, void* data, Nym_status& status) override {
    status.clear();
    const std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(count), m_bytes.size() - m_at);
    std::memcpy(data, m_bytes.data() + m_at, n);
    m_at += n;
    if (m_at == m_bytes.size()) status = NYM_S_END_OF_DATA;
    return n;
  }

 private:
  Nstring m_bytes;
  std::size_t m_at = 0;
};

// Bytes that come with an error or the end are the last: they are converted, an odd byte
// after them is dropped, and the error stands. Reading that byte again would meet the same
// error, and seeking back to it would clear the error, for ever.
TEST(UtfStreamTest, Utf16ToUtf8ConvertsWhatComesWithAnErrorAndStops) {
  Nstring text = bytes_of(u"ab") + "c";
  Nym_string_buffer first(text, false);
  Nym_func_buffer broken;  // no functor: the chain fails when it asks its size
  Nym_multi_buffer chain({&first, &broken}, false);
  Nstring out;
  Nym_string_buffer sink(out, true);
  Nym_status status;
  Nym_ostream os(sink, status);
  Piecewise_istream chained(chain, status, 1u << 20, 50);
  nym_utf16_to_utf8(chained, os, status);
  EXPECT_EQ(status.value(), NYM_S_NO_FUNCTOR);
  EXPECT_EQ(out, "ab");
  Eager_end_istream eager(bytes_of(u"cd") + "e");
  nym_utf16_to_utf8(eager, os, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(out, "abcd");
}

TEST(UtfStreamTest, Utf8ToUtf16ClearsAnEndThatComesWithTheLastByte) {
  Nstring out;
  Nym_string_buffer sink(out, true);
  Nym_status status;
  Nym_ostream os(sink, status);
  Eager_end_istream is("a\xC3\xA9");
  nym_utf8_to_utf16(is, os, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(units_of(out), u"a\u00E9");
}

}  // namespace
