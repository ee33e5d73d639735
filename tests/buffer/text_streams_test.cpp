// The UTF stream conversions and nym_detect_encoding over stores that cut reads short, end early or
// misbehave. Whole samples and the exact detectors are the recipe's, the tool's and the fuzz cases.
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
  Ending_functor(const std::string& bytes, End end, uint64 step, uint64 fail_at)
      : Trickle_functor(bytes, step, 0, fail_at), end(end) {}
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
