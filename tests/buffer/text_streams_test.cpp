// The UTF stream conversions, the exact detectors and nym_detect_encoding over stores that cut
// reads short, end early or misbehave. Whole samples of the guess are the recipe's and the tool's.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

#include "nym/encoding_detect.h"
#include "nym/func_buffer.h"
#include "nym/istream.h"
#include "nym/multi_buffer.h"
#include "nym/ostream.h"
#include "nym/string_basic.h"
#include "nym/string_buffer.h"
#include "nym/utf.h"
#include "nym/utf_detect.h"
#include "test_stores.h"

using namespace nym;

namespace {

Nstring bytes_of(const Wstring& w) { return Nstring(reinterpret_cast<const char*>(w.data()), w.size() * 2); }

// How a store of fixed bytes meets their end: with the end of the data, with reads of nothing
// and no error (until the fiftieth, so that a walk that does not stop shows up), or with the end
// reported beside the last bytes.
enum class End { plain, quiet, eager };

struct Ending_functor : nym_test::Trickle_functor {
  Ending_functor(const std::string& bytes, End how, uint64 step, uint64 fail_at)
      : Trickle_functor(bytes, step, 0, fail_at), end(how) {}
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) override {
    const uint64 n = Trickle_functor::read(wait, position, count, data, status);
    if (n == 0 && end == End::quiet && status == NYM_S_END_OF_DATA && ++quiet_reads < 50) status.clear();
    if (n > 0 && end == End::eager && position == size()) status = NYM_S_END_OF_DATA;
    return n;
  }
  End end;
  int quiet_reads = 0;
};

// A store of `bytes`, `step` bytes a read, failing from `fail_at` on.
struct Source {
  explicit Source(const std::string& bytes, End end = End::plain, uint64 step = 1 << 20, uint64 fail_at = ~uint64{0})
      : functor(new Ending_functor(bytes, end, step, fail_at)), store(functor) {}
  Ending_functor* functor;
  Nym_func_buffer store;
};

// Host-order (little-endian) UTF-16 bytes of UTF-8 text, or big-endian ones.
std::string utf16(const char* utf8, bool big_endian = false) {
  Wstring w;
  nym_utf8_to_utf16(utf8, w);
  std::string bytes = bytes_of(w);
  for (std::size_t i = 0; big_endian && i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
  return bytes;
}

struct Converted {
  Nstring out;
  Nym_status status;
  int reads = 0;
  int writes = 0;
  int quiet_reads = 0;
};

Converted convert(bool to_utf16, const Nstring& in, End end = End::plain, uint64 piece = 1u << 20,
                  uint64 fail_at = ~uint64{0}) {
  Converted r;
  Source source(in, end, piece, fail_at);
  nym_test::Open<Nym_string_buffer> sink(r.out, true);  // a signal a write
  Nym_status status;
  Nym_unbuffered_istream is(source.store, false, status);
  Nym_ostream os(sink, status);
  r.status = NYM_S_READ_FAILED;  // must be cleared
  if (to_utf16) nym_utf8_to_utf16(is, os, r.status);
  else nym_utf16_to_utf8(is, os, r.status);
  r.reads = source.functor->reads;
  r.quiet_reads = source.functor->quiet_reads;
  r.writes = sink.signals();
  return r;
}

}  // namespace

// One byte read and one unit written at a time towards UTF-16; blocks that never split a pair
// towards UTF-8, however short the reads.
TEST(UtfStreamTest, ConversionsBothWays) {
  const struct {
    bool to_utf16;
    Nstring in, expected;  // UTF-16 in host order
  } cases[] = {
      {true, Nstring("A\0\xC3\xA9\xF0\x9F\x98\x80", 8), bytes_of(Wstring(u"A\0\u00E9\U0001F600", 5))},
      {true, "\xC3\x41z", bytes_of(u"\uFFFDz")},  // the breaking byte goes too
      {true, "\x80\xFE" "a\xE2\x82", bytes_of(u"\uFFFD\uFFFDa")},  // cut by the end: dropped
      {true, "\xF8\x88\x80\x80\x80", bytes_of(Wstring{0xDBC0, 0xDC00})},
      {false, bytes_of(Wstring(u"ab\0cd", 5)), "ab"},  // NUL: the block's rest is lost
      {false, bytes_of(Wstring{0xD800, u'A'}), "\xEF\xBF\xBD"},  // swallows the unit after it
      {false, bytes_of(Wstring{u'a', 0xD83D}) + "x", "a\xEF\xBF\xBD"},  // an odd last byte is dropped
  };
  for (const auto& c : cases) {
    for (const uint64 piece : {uint64{1} << 20, uint64{3}}) {
      if (!c.to_utf16 && c.in.find('\0') != Nstring::npos && piece < c.in.size()) continue;  // NUL cuts per block
      const Converted r = convert(c.to_utf16, c.in, End::plain, piece);
      EXPECT_TRUE(r.status.ok() && r.out == c.expected) << c.expected << " piece " << piece;
      if (c.to_utf16) {
        EXPECT_EQ(std::make_pair(static_cast<std::size_t>(r.writes) * 2, static_cast<std::size_t>(r.reads)),
                  std::make_pair(c.expected.size(), c.in.size() + 1));
      }
    }
  }
  // Pairs at every phase around the 16,384-byte block boundary, cut by short reads anywhere: the
  // output is the string form's.
  for (std::size_t shift = 0; shift < 4; ++shift) {
    Wstring text(8190 + shift, u'x');
    while (text.size() < 20000) text += u"\U0001F600\u00E9";
    text += static_cast<Wchar>(0xD83D);
    Nstring expected;
    nym_utf16_to_utf8(text.c_str(), expected);
    for (const uint64 piece : {uint64{1} << 20, uint64{7}}) {
      const Converted r = convert(false, bytes_of(text), End::plain, piece);
      EXPECT_TRUE(r.status.ok() && r.out == expected) << shift << " " << piece;
      EXPECT_TRUE(piece < 16384 || r.writes == 4) << "one write per block, and the lone half at the end";
    }
  }
  const Converted failing = convert(true, "abcdef", End::plain, 2, 4);
  EXPECT_TRUE(failing.status == NYM_S_READ_FAILED && failing.out == bytes_of(u"abcd")) << "another error stays";
}

// Bytes that come with an error or the end are the last: they are converted, an odd byte after
// them is dropped, and the error stands (reading that byte again would meet the same error, and
// the seek back to it would clear it, for ever). A stream that answers nothing ends the loops.
TEST(UtfStreamTest, TheEndAndErrorsThatComeWithBytes) {
  Nstring text = bytes_of(u"ab") + "c";
  Nym_string_buffer first(text, false);
  Nym_func_buffer broken;  // no functor: the chain fails when it asks its size
  Nym_multi_buffer chain({&first, &broken}, false);
  Nstring out;
  Nym_string_buffer sink(out, true);
  Nym_status status;
  Nym_ostream os(sink, status);
  Nym_unbuffered_istream chained(chain, false, status);
  nym_utf16_to_utf8(chained, os, status);
  EXPECT_EQ(status.value(), NYM_S_NO_FUNCTOR);
  EXPECT_EQ(out, "ab");

  // A store that gives a byte a read and claims two more: the blocks still move on, and the
  // conversion ends.
  const auto overstating = nym_test::trickle(bytes_of(u"abc"), 1, 2);
  Nym_unbuffered_istream overstated(*overstating, false, status);
  nym_utf16_to_utf8(overstated, os, status);
  EXPECT_TRUE(status.is_clear());

  for (const End end : {End::quiet, End::eager}) {
    const Converted wide = convert(true, "x\xC3\xA9", end), narrow = convert(false, bytes_of(u"cd") + "e", end);
    EXPECT_TRUE(wide.status.is_clear() && wide.out == bytes_of(u"x\u00E9")) << static_cast<int>(end);
    EXPECT_TRUE(narrow.status.is_clear() && narrow.out == "cd") << static_cast<int>(end);
    EXPECT_TRUE(end != End::quiet || (wide.quiet_reads == 1 && narrow.quiet_reads == 1));
  }
}

TEST(EncodingDetectTest, LimitsErrorsAndStoresThatOverstate) {
  // A character cut by the limit counts against nothing; as the end of the data it does.
  const std::string prose = "Le câble déçu mais l'âme plutôt naïve, Louÿs rêva de crapaüter. "
                            "Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich.\n";
  const uint64 cut = prose.find("é") + 1;
  Nym_status status;
  EXPECT_EQ(nym_detect_encoding(nym_test::trickle(prose, 3).get(), cut, status).encoding, NYM_ENCODING_UTF8);
  EXPECT_TRUE(status.is_clear() && nym_detect_encoding(prose.data(), cut).encoding == NYM_ENCODING_NEITHER);
  // Read past its block, the detector would run off its stack; ASan watches the host build.
  const auto overstating = nym_test::trickle(bytes_of(u"plain text"), 1 << 20, 1 << 20);
  EXPECT_LE(nym_detect_encoding(overstating.get(), status).confidence, 100u);
  EXPECT_TRUE(status.is_clear());
  // A read error stays, and the answer judges what came before it: a lead byte there is no fault.
  const auto failing = nym_test::trickle(prose + "\xE9 and more", 1 << 20, 0, prose.size() + 1);
  const Nym_encoding_guess g = nym_detect_encoding(failing.get(), status);
  EXPECT_TRUE(status == NYM_S_READ_FAILED && g.encoding == NYM_ENCODING_UTF8 && g.confidence == 100u);
  const Nym_encoding_guess none = nym_detect_encoding(static_cast<const Nym_buffer*>(nullptr), status);
  EXPECT_TRUE(status.is_clear() && none.confidence == 0 && nym_detect_encoding(nullptr, 0).confidence == 0);
  EXPECT_THROW(nym_detect_encoding(nullptr, 1), std::invalid_argument);
}

TEST(IsUtf8Test, Texts) {
  const struct {
    std::string bytes;
    bool result;
    unsigned char flags;
    bool ascii;
  } cases[] = {
      {"plain text\r\n", true, 0, true},
      {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", true, 0, false},
      {"\xEF\xBB\xBFmarked", true, 0x04, true},
      {"", true, 0x04, true},            // an empty block matches the mark
      {"\xEF\xBB", true, 0x04, true},     // a block shorter than the mark matches on a prefix
      {"\xFF\xFEx\0", false, 0, true},    // UTF-16 marks: no walk at all
      {"\xFE\xFF\0x", false, 0, true},
      {"\xFF", false, 0, true},          // a block shorter than a UTF-16 mark, on its prefix
      {"bad \xC3", false, 0, false},      // cut at the end
      {"bad \xC3(", false, 0, false},
      {"bad \x80", false, 0, false},
      {"\xEF\xBF\xBF", false, 0, false},  // U+FFFF is a non-character
      {"\xF4\x90\x80\x80", false, 0, false},  // above U+10FFFF: ICU knows nothing there
      {"\xE0\xA2\xB3", false, 0, false},  // U+08B3 came after Unicode 7
      {"\xC0\x80", true, 0, false},       // overlong NUL decodes to an assigned value
      {"\xED\xA0\x80", true, 0, false},   // an encoded surrogate counts as assigned
      {std::string("a\0b", 3), true, 0, true},
      {std::string(8191, 'a') + "\xC3\xA9", false, 0, false},  // split by the block boundary
      {std::string(8190, 'a') + "\xC3\xA9", true, 0, false},
      {std::string(20000, 'a') + "\xFF", false, 0, false},
  };
  for (const auto& c : cases) {
    for (const End end : {End::plain, End::quiet}) {
      Source source(c.bytes, end);
      unsigned char flags = 0xFF;
      bool ascii = !c.ascii;
      Nym_status status;
      EXPECT_EQ(nym_is_utf8(&source.store, flags, ascii, status), c.result) << c.bytes.substr(0, 20);
      EXPECT_TRUE(status.is_clear());
      EXPECT_EQ(flags, c.flags) << c.bytes.substr(0, 20);
      EXPECT_EQ(ascii, c.ascii) << c.bytes.substr(0, 20);
    }
  }
  unsigned char flags = 0xFF;
  bool ascii = false;
  Nym_status status;
  EXPECT_FALSE(nym_is_utf8(nullptr, flags, ascii, status));
  EXPECT_EQ(flags, 0);
  Source text("text");
  status = 0xC2000005u;
  EXPECT_FALSE(nym_is_utf8(&text.store, flags, ascii, status)) << "an error already there";
  EXPECT_EQ(status.value(), 0xC2000005u);
}

TEST(IsUtf16Test, Texts) {
  const std::string le("\xFF\xFE", 2);
  const std::string be("\xFE\xFF", 2);
  std::string long_text;
  while (long_text.size() < 50000) long_text += "Stra\xC3\x9F" "e \xD1\x84\xD0\xB0\xD0\xB9\xD0\xBB ";
  // 101 units with one value that is no character in either order.
  const std::string one_bad = utf16(("\xC3\xA9" + std::string(99, 'x')).c_str()) + std::string("\xFF\xFF", 2);
  const struct {
    const char* name;
    std::string bytes;
    unsigned short tolerance;
    bool result;
    unsigned char flags;
  } cases[] = {
      {"little-endian latin", utf16("H\xC3\xA9llo w\xC3\xB6rld, \xC3\xA7" "a va?"), 0, true, 0x03},
      // Swapped Latin letters read as CJK and private use, all assigned: equal counts mean
      // little-endian.
      {"big-endian latin, undecidable", utf16("H\xC3\xA9llo w\xC3\xB6rld", true), 0, true, 0x03},
      // U+00DF and U+00D8 swapped are lone surrogates.
      {"big-endian german", utf16("Stra\xC3\x9F" "e \xC3\x98l", true), 50, true, 0x01},
      {"little-endian with mark", le + utf16("mark\xC3\xA9 text"), 0, true, 0x07},
      {"big-endian with mark", be + utf16("mark\xC3\xA9 text", true), 0, true, 0x05},
      // A mark against the counts: the counted order wins and the mark falls, unless one order
      // has no bad unit at all. (The swapped walk includes the mark, read as 0xFFFE.)
      {"little-endian mark on big-endian text", le + utf16("Stra\xC3\x9F" "e \xC3\x98l \xC3\x9F", true), 50, true, 0x01},
      {"big-endian mark, no bad unit", be + utf16("caf\xC3\xA9 cr\xC3\xA8me"), 50, true, 0x05},
      {"seven-bit ascii", "even length text", 100, false, 0x02},
      {"odd size", "odd", 100, false, 0x02},
      {"empty", "", 0, false, 0x02},
      {"cjk", utf16("\xE6\x96\x87\xE4\xBB\xB6\xE6\x9C\x8D\xE5\x8A\xA1\xE5\x99\xA8"), 0, true, 0x03},
      // The real UTF-8 mark EF BB BF is not the pattern looked for; BB EF ?? BF is.
      {"real utf-8 mark", "\xEF\xBB\xBF" "abc\xC3\xA9", 0, true, 0x03},
      {"mimicked utf-8 mark", std::string("\xBB\xEF\x41\xBF", 4) + utf16("\xC3\xA9\xC3\xA9"), 100, false, 0x02},
      {"one bad unit, no tolerance", one_bad, 0, false, 0x02},
      {"one bad unit, tolerated", one_bad, 5, true, 0x03},
      {"long little-endian", utf16(long_text.c_str()), 1, true, 0x03},
      {"long big-endian", utf16(long_text.c_str(), true), 1, true, 0x01},
  };
  for (const auto& c : cases) {
    for (const End end : {End::plain, End::quiet}) {
      Source source(c.bytes, end);
      unsigned char flags = 0xFF;
      Nym_status status;
      EXPECT_EQ(nym_is_utf16(&source.store, c.tolerance, flags, status), c.result) << c.name;
      EXPECT_TRUE(status.is_clear()) << c.name;
      EXPECT_EQ(flags, c.flags) << c.name;
    }
  }
  Nym_func_buffer sizeless;
  unsigned char flags = 0;
  Nym_status status;
  EXPECT_TRUE(nym_is_utf16(&sizeless, 10, flags, status));
  EXPECT_EQ(flags, 0x03) << "no size: true with flags 3";
  EXPECT_FALSE(nym_is_utf16(nullptr, 10, flags, status));
  EXPECT_EQ(flags, 0);
}
