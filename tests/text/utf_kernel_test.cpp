// Every vector kernel of the whole-text conversions against the plain walkers, byte for byte:
// mostly well-formed text with faults sprinkled in, and each kind of sequence at every
// offset around the kernels' 16- and 64-byte windows and their output blocks. The kernels
// are compiled into this test from the library's source, so that each can be named.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "text/utf_walk.h"

using namespace nym;
using namespace nym::impl;

namespace {

std::vector<Utf_kernel> kernels() {
  std::vector<Utf_kernel> all;
  for (const Utf_kernel k : {Utf_kernel::baseline, Utf_kernel::ssse3}) {
    if (utf_kernel_supported(k)) all.push_back(k);
  }
  return all;
}

const char* name(Utf_kernel k) { return k == Utf_kernel::baseline ? "baseline" : "ssse3"; }

const unsigned char* bytes_of(const Nstring& s) { return reinterpret_cast<const unsigned char*>(s.data()); }

// Converts [0, bound) of s with each kernel and with the walker; the text after the bound is
// part of s, so a sequence may run past it as the walker lets it.
void expect_utf8_kernels_agree(const Nstring& s, std::size_t bound, const char* what) {
  Wstring walked;
  const unsigned char* walk_end = utf8_to_utf16_walk(bytes_of(s), bytes_of(s) + bound, walked);
  for (const Utf_kernel k : kernels()) {
    Wstring out = u"x";  // the kernels append
    const unsigned char* fast_end = utf8_to_utf16_append(bytes_of(s), bytes_of(s) + bound, out, k);
    ASSERT_EQ(out, u"x" + walked) << what << " kernel " << name(k) << " bound " << bound;
    ASSERT_EQ(fast_end, walk_end) << what << " kernel " << name(k);
  }
}

void expect_utf16_kernels_agree(const Wstring& w, const char* what) {
  Nstring walked;
  utf16_to_utf8_walk(w.data(), w.data() + w.size(), walked);
  for (const Utf_kernel k : kernels()) {
    Nstring out = "x";
    utf16_to_utf8_append(w.data(), w.data() + w.size(), out, k);
    ASSERT_EQ(out, "x" + walked) << what << " kernel " << name(k) << " length " << w.size();
  }
}

// UTF-8 pieces: the well-formed kinds the windows decode, then every kind of fault.
const std::vector<Nstring>& utf8_pieces() {
  static const std::vector<Nstring> pieces = {
      "a", " ", "\x7F", Nstring(1, '\0'),
      "\xC3\xA9", "\xD0\xB6", "\xDF\xBF", "\xC2\x80",           // two bytes
      "\xE6\x96\x87", "\xE2\x82\xAC", "\xEF\xBF\xBF", "\xE0\xA0\x80",  // three bytes
      "\xED\xA0\x80", "\xED\xBF\xBF",                         // encoded surrogates pass through
      "\xF0\x9F\x98\x80", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF",      // pairs
      "\xF4\x90\x80\x80", "\xF7\xBF\xBF\xBF",                 // above U+10FFFF: a cut-down pair
      "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF",  // overlongs
      "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF",                 // overlong four bytes: one unit
      "\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80",     // five and six bytes
      "\xFE", "\xFF", "\x80", "\xBF",                         // never lead / stray continuation
      "\xC3", "\xE6\x96", "\xF0\x9F\x98", "\xF8\x88\x80",     // cut short
      "\xC3\x41", "\xE6\x41\x87", "\xF0\x9F\x41\x80"};        // broken by ASCII
  return pieces;
}

constexpr std::size_t WELL_FORMED = 19;  // the first pieces above need no scalar step

TEST(UtfKernelTest, Utf8MostlyWellFormedText) {
  std::mt19937 rng(2208);
  const auto& pieces = utf8_pieces();
  for (int round = 0; round < 1500; ++round) {
    Nstring s;
    // Runs of one kind, runs of mixed kinds, and faults at a rate that varies by round.
    const unsigned fault_rate = static_cast<unsigned>(round % 5) * 8;  // out of 256
    const std::size_t length = round % 20 == 0 ? 20000 : static_cast<std::size_t>(rng() % 300);
    std::size_t kind = rng() % WELL_FORMED;
    while (s.size() < length) {
      if (rng() % 8 == 0) kind = rng() % WELL_FORMED;
      if (rng() % 256 < fault_rate) {
        s += pieces[WELL_FORMED + rng() % (pieces.size() - WELL_FORMED)];
      } else if (rng() % 4 == 0) {
        s += pieces[rng() % WELL_FORMED];
      } else {
        s += pieces[kind];
      }
    }
    expect_utf8_kernels_agree(s, s.size(), "random");
    if (!s.empty()) expect_utf8_kernels_agree(s, rng() % s.size(), "random, bounded");
  }
}

TEST(UtfKernelTest, Utf8EveryPieceAtEveryOffset) {
  // Fillers the windows take whole: ASCII, two- and three-byte text, pairs.
  const Nstring fillers[] = {"abcdefgh", "\xD0\xB6\xD0\xB8", "\xE6\x96\x87", "\xF0\x9F\x98\x80 "};
  for (const Nstring& filler : fillers) {
    Nstring base;
    while (base.size() < 200) base += filler;
    for (const Nstring& piece : utf8_pieces()) {
      for (std::size_t at = 0; at < 140; ++at) {
        Nstring s = base.substr(0, at) + piece + base;
        expect_utf8_kernels_agree(s, s.size(), "piece");
        // The same piece cut by the bound, with its continuation bytes behind it.
        expect_utf8_kernels_agree(s, at + 1, "piece at the bound");
      }
    }
  }
}

TEST(UtfKernelTest, Utf8AcrossOutputBlocks) {
  // Long texts cross the kernels' output blocks at every phase of a sequence.
  for (const Nstring& unit : {Nstring("\xE6\x96\x87"), Nstring("\xF0\x9F\x98\x80"), Nstring("\xC3\xA9z")}) {
    for (std::size_t shift = 0; shift < 5; ++shift) {
      Nstring s(shift, 'q');
      while (s.size() < 40000) s += unit;
      s += "\xF0\x9F";  // and a sequence cut by the end
      expect_utf8_kernels_agree(s, s.size(), "blocks");
    }
  }
}

const std::vector<Wstring>& utf16_pieces() {
  static const std::vector<Wstring> pieces = {
      u"a", Wstring(1, u'\0'), u"\u00E9", u"\u07FF", u"\u0416", u"\u6587", u"\uFFFF", u"\uE000", u"\u0800",
      u"\U0001F600", u"\U00010000", u"\U0010FFFF",                // pairs
      Wstring(1, 0xD800), Wstring(1, 0xDBFF), Wstring(1, 0xDC00), Wstring(1, 0xDFFF),  // lone halves
      Wstring{0xD800, 0xD800}, Wstring{0xDC00, 0xD800}, Wstring{0xD83D, u'a'}};  // broken pairs
  return pieces;
}

TEST(UtfKernelTest, Utf16MostlyWellFormedText) {
  std::mt19937 rng(8022);
  const auto& pieces = utf16_pieces();
  constexpr std::size_t well_formed = 12;
  for (int round = 0; round < 1500; ++round) {
    Wstring w;
    const unsigned fault_rate = static_cast<unsigned>(round % 5) * 8;
    const std::size_t length = round % 20 == 0 ? 20000 : static_cast<std::size_t>(rng() % 200);
    std::size_t kind = rng() % well_formed;
    while (w.size() < length) {
      if (rng() % 8 == 0) kind = rng() % well_formed;
      if (rng() % 256 < fault_rate) {
        w += pieces[well_formed + rng() % (pieces.size() - well_formed)];
      } else {
        w += pieces[rng() % 4 == 0 ? rng() % well_formed : kind];
      }
    }
    expect_utf16_kernels_agree(w, "random");
  }
}

TEST(UtfKernelTest, Utf16EveryPieceAtEveryOffset) {
  const Wstring fillers[] = {u"abcdefgh", u"\u0416\u0438", u"\u6587\u4EF6", u"\U0001F600 ", u"\u00E9\u6587a"};
  for (const Wstring& filler : fillers) {
    Wstring base;
    while (base.size() < 80) base += filler;
    for (const Wstring& piece : utf16_pieces()) {
      for (std::size_t at = 0; at < 48; ++at) {
        expect_utf16_kernels_agree(base.substr(0, at) + piece + base, "piece");
        // A piece at the very end, where a high surrogate has nothing after it.
        expect_utf16_kernels_agree(base.substr(0, at) + piece, "piece at the end");
      }
    }
  }
}

TEST(UtfKernelTest, Utf16AcrossOutputBlocks) {
  for (const Wstring& unit : {Wstring(u"\u6587"), Wstring(u"\U0001F600"), Wstring(u"\u00E9z")}) {
    for (std::size_t shift = 0; shift < 3; ++shift) {
      Wstring w(shift, u'q');
      while (w.size() < 20000) w += unit;
      w += static_cast<Wchar>(0xD83D);
      expect_utf16_kernels_agree(w, "blocks");
    }
  }
}

}  // namespace
