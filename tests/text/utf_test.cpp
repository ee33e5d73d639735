// The UTF walkers' answer to each fault, and the fast paths held to them (utf_harness.h) everywhere.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "nym/string_basic.h"
#include "nym/utf.h"
#include "text/utf_kernel.h"
#include "utf_harness.h"

using namespace nym;
using nym_test::check_utf16;
using nym_test::check_utf8;

namespace {

Nstring bytes(std::initializer_list<int> list) {
  Nstring s;
  for (const int b : list) s += static_cast<char>(b);
  return s;
}

Wstring units(std::initializer_list<int> list) {
  Wstring s;
  for (const int u : list) s += static_cast<Wchar>(u);
  return s;
}

}  // namespace

TEST(UtfConvertTest, WhatTheWalkersMakeOfEachFault) {
  const struct {
    Nstring in;
    Wstring out;
  } to_utf16[] = {
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E9\u20AC\U0001F600"},
      {bytes({0xC3, 0x41}), units({0xFFFD, 0x41})},  // the breaking byte starts the next character
      {bytes({0xC3}), units({0xFFFD})},
      {bytes({0xED, 0xA0, 0x80}), units({0xD800})},  // an encoded surrogate passes
      {bytes({0xC0, 0x80, 0x41}), units({0, 0x41})},  // the overlong NUL is a unit 0, not the end
      {bytes({0x80, 0xBF, 0xFE, 0xFF}), units({0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD})},
      {bytes({0xF4, 0x90, 0x80, 0x80}), units({0xD800, 0xDC00})},   // 0x110000: upper bits lost
      {bytes({0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}), units({0xDBBF, 0xDFFF})},  // 0x7FFFFFFF
  };
  for (const auto& c : to_utf16) {
    Wstring out = u"stale";
    nym_utf8_to_utf16(c.in.c_str(), out);
    EXPECT_EQ(out, c.out) << c.in;
  }
  const struct {
    Wstring in;
    Nstring out;
  } to_utf8[] = {
      {units({0xD800, 0x41}), bytes({0xEF, 0xBF, 0xBD})},  // the 0x41 is swallowed
      {units({0xDC00, 0x41}), bytes({0xEF, 0xBF, 0xBD, 0x41})},
      {units({0x41, 0xD800}), bytes({0x41, 0xEF, 0xBF, 0xBD})},  // stops at the terminator
      {units({0xDBFF, 0xDFFF, 0xFFFF, 0x7FF, 0x80}), bytes({0xF4, 0x8F, 0xBF, 0xBF, 0xEF, 0xBF, 0xBF, 0xDF, 0xBF, 0xC2, 0x80})},
  };
  Nstring out;
  for (const auto& c : to_utf8) {
    nym_utf16_to_utf8(c.in.c_str(), out);
    EXPECT_EQ(out, c.out);
  }
  nym_utf16_to_utf8(nullptr, out);
  EXPECT_EQ(out, "");
  Wstring wide;

  U32string u32;
  nym_utf16_to_utf32(units({0x41, 0xD83D, 0xDE00, 0xD800, 0x42, 0xDC00}).c_str(), u32);
  EXPECT_EQ(u32, (U32string{0x41, 0x1F600, 0xFFFD, 0xFFFD}));
  const uint32 values[] = {0x41, 0xD800, 0x1F600, 0x110000, 0x12345678, 0, 0x42};
  nym_utf32_to_utf16(values, wide);
  EXPECT_EQ(wide, units({0x41, 0xD800, 0xD83D, 0xDE00, 0xD800, 0xDC00, 0xD8D5, 0xDE78}));
  // Surrogates are encoded as they are; above 0x1FFFFF the upper bits are lost.
  nym_utf32_to_utf8(values, out);
  EXPECT_EQ(out, bytes({0x41, 0xED, 0xA0, 0x80, 0xF0, 0x9F, 0x98, 0x80, 0xF4, 0x90, 0x80, 0x80, 0xF5, 0x85, 0x99, 0xB8}));
}

TEST(UtfCharTest, WalksAndTheirEnds) {
  // Each step: the value read and the position after it.
  const auto walk = [](auto step, const auto* text) {
    std::vector<std::pair<uint32, uint64>> steps;
    for (uint64 pos = 0; pos != NYM_NPOS && steps.size() < 10;) steps.emplace_back(step(text, pos), pos);
    return steps;
  };
  const auto walk8 = [&](const char* text) { return walk(nym_utf8_to_utf32_char, text); };
  const auto walk16 = [&](const Wchar* text) { return walk(nym_utf16_to_utf32_char, text); };
  using Steps = std::vector<std::pair<uint32, uint64>>;
  const Nstring text = bytes({'a', 0xC3, 0xA9, 0xC3, 0x41, 0xF0, 0x9F, 0x98, 0x80});
  EXPECT_EQ(walk8(text.c_str()), (Steps{{'a', 1}, {0xE9, 3}, {0xFFFD, 4}, {'A', 5}, {0x1F600, 9}, {0, NYM_NPOS}}));
  EXPECT_EQ(walk8("\xC0\x80z"), (Steps{{0, NYM_NPOS}})) << "C0 80 ends the walk";
  // A bad high surrogate moves on by one unit: the unit after it is read again.
  EXPECT_EQ(walk16(units({0xD800, 0x41, 0xD83D, 0xDE00, 0xDC00, 0xD800}).c_str()),
            (Steps{{0xFFFD, 1}, {0x41, 2}, {0x1F600, 4}, {0xFFFD, 5}, {0xFFFD, 6}, {0, NYM_NPOS}}));
  uint64 pos8 = 5, pos16 = 5;
  EXPECT_TRUE(nym_utf8_to_utf32_char(nullptr, pos8) == 0 && pos8 == NYM_NPOS);
  EXPECT_TRUE(nym_utf16_to_utf32_char(nullptr, pos16) == 0 && pos16 == NYM_NPOS);
}

TEST(UtfCompareTest, ByCodePointAcrossEncodings) {
  const struct {
    const char* a8;
    Wstring a16;
    const char* b8;
    Wstring b16;
    int expected;  // the exact difference
    int expected_nc;
  } cases[] = {
      {"ab", u"ab", "abc", u"abc", -'c', -'c'},
      {"ABC", u"ABC", "abc", u"abc", 'A' - 'a', 0},
      {"\xC3\x89t\xC3\xA9", u"\u00C9t\u00E9", "\xC3\xA9T\xC3\xA9", u"\u00E9T\u00E9", 0xC9 - 0xE9, 0},
      // U+10000 sorts after U+FFFD by code point, though its first unit is lower.
      {"\xF0\x90\x80\x80", u"\U00010000", "\xEF\xBF\xBD", u"\uFFFD", 0x10000 - 0xFFFD, 0x10000 - 0xFFFD},
      {"\xD0\x96", u"\u0416", "\xD0\xB6", u"\u0436", 0x416 - 0x436, 0},  // Cyrillic folds too
  };
  for (const auto& c : cases) {
    const int exact[] = {nym_utf8_compare(c.a8, c.b8), nym_utf16_compare(c.a16.c_str(), c.b16.c_str()),
                         nym_utf8_utf16_compare(c.a8, c.b16.c_str()), nym_utf16_utf8_compare(c.a16.c_str(), c.b8)};
    const int blind[] = {nym_utf8_compare_nc(c.a8, c.b8), nym_utf16_compare_nc(c.a16.c_str(), c.b16.c_str()),
                         nym_utf8_utf16_compare_nc(c.a8, c.b16.c_str()),
                         nym_utf16_utf8_compare_nc(c.a16.c_str(), c.b8)};
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(exact[i] == c.expected && blind[i] == c.expected_nc) << c.a8 << " " << i;
  }
  EXPECT_EQ(nym_utf8_compare("a\xC0\x80x", "a\xC0\x80y"), 0) << "the overlong NUL ends the text";
  EXPECT_EQ(nym_utf8_utf16_compare("\xC3", units({0xDC00}).c_str()), 0) << "bad units are U+FFFD alike";
  EXPECT_EQ(nym_utf16_compare(nullptr, u""), 0) << "null is empty";
}

namespace {

// UTF-8 pieces: the well-formed kinds the kernels' windows decode, then every kind of fault.
const std::vector<Nstring> UTF8_PIECES = {
    "a", " ", "\x7F", "\xC3\xA9", "\xD0\xB6", "\xDF\xBF", "\xC2\x80", "\xE6\x96\x87", "\xE2\x82\xAC",
    "\xEF\xBF\xBF", "\xE0\xA0\x80", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x9F\x98\x80", "\xF0\x90\x80\x80",
    "\xF4\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF7\xBF\xBF\xBF",
    // faults: overlongs, five and six bytes, never-leads and strays, cut short, broken by ASCII
    "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xF0\x80\x80\x80", "\xF0\x8F\xBF\xBF", "\xF8\x88\x80\x80\x80",
    "\xFC\x84\x80\x80\x80\x80", "\xFE", "\xFF", "\x80", "\xBF", "\xC3", "\xE6\x96", "\xF0\x9F\x98", "\xF8\x88\x80",
    "\xC3\x41", "\xE6\x41\x87", "\xF0\x9F\x41\x80", Nstring(1, '\0')};
constexpr std::size_t UTF8_WELL_FORMED = 18;

const std::vector<Wstring> UTF16_PIECES = {
    u"a", u"\u00E9", u"\u07FF", u"\u0416", u"\u6587", u"\uFFFF", u"\uE000", u"\u0800", u"\U0001F600",
    u"\U00010000", u"\U0010FFFF",
    // faults: lone halves, broken pairs, a NUL
    Wstring(1, 0xD800), Wstring(1, 0xDBFF), Wstring(1, 0xDC00), Wstring(1, 0xDFFF), Wstring{0xD800, 0xD800},
    Wstring{0xDC00, 0xD800}, Wstring{0xD83D, u'a'}, Wstring(1, u'\0')};
constexpr std::size_t UTF16_WELL_FORMED = 11;

// Runs of one kind, runs of mixed kinds, and faults at a rate that varies by round.
template <class String>
String generate(std::mt19937& rng, const std::vector<String>& pieces, std::size_t well_formed, int round) {
  String s;
  const unsigned fault_rate = static_cast<unsigned>(round % 5) * 8;  // out of 256
  const std::size_t length = round % 20 == 0 ? 20000 : static_cast<std::size_t>(rng() % 300);
  std::size_t kind = rng() % well_formed;
  while (s.size() < length) {
    if (rng() % 8 == 0) kind = rng() % well_formed;
    if (rng() % 256 < fault_rate) s += pieces[well_formed + rng() % (pieces.size() - well_formed)];
    else s += pieces[rng() % 4 == 0 ? rng() % well_formed : kind];
  }
  return s;
}

}  // namespace

TEST(UtfDifferentialTest, GeneratedText) {
  std::mt19937 rng(2208);
  for (int round = 0; round < 1500; ++round) {
    const Nstring s = generate(rng, UTF8_PIECES, UTF8_WELL_FORMED, round);
    ASSERT_EQ(check_utf8(s, s.size()), "") << "round " << round;
    ASSERT_EQ(check_utf8(s, s.empty() ? 0 : rng() % s.size()), "") << "round " << round;
    ASSERT_EQ(check_utf16(generate(rng, UTF16_PIECES, UTF16_WELL_FORMED, round)), "") << "round " << round;
  }
}

// Each piece at every offset around the kernels' 16- and 64-byte windows, cut by the bound too,
// and long texts across their output blocks at every phase of a sequence.
TEST(UtfDifferentialTest, EveryPieceAtEverySeam) {
  for (const Nstring filler : {"abcdefgh", "\xD0\xB6\xD0\xB8", "\xE6\x96\x87", "\xF0\x9F\x98\x80 "}) {
    Nstring base;
    while (base.size() < 200) base += filler;
    for (const Nstring& piece : UTF8_PIECES) {
      for (std::size_t at = 0; at < 140; ++at) {
        const Nstring s = base.substr(0, at) + piece + base;
        ASSERT_EQ(check_utf8(s, s.size()), "") << at;
        ASSERT_EQ(check_utf8(s, at + 1), "") << at;
      }
    }
    Nstring s(filler.size() % 5, 'q');
    while (s.size() < 40000) s += filler;
    ASSERT_EQ(check_utf8(s + "\xF0\x9F", s.size() + 2), "") << "blocks";
  }
  // The last filler puts a pair in every lane in turn, among the longest forms.
  for (const Wstring& filler : {Wstring(u"abcdefgh"), Wstring(u"\u0416\u0438"), Wstring(u"\u6587\u4EF6"),
                               Wstring(u"\U0001F600 "), Wstring(u"\u00E9\u6587a"), Wstring(15, 0x6587) + u"\U0001F600"}) {
    Wstring base;
    while (base.size() < 200) base += filler;
    for (const Wstring& piece : UTF16_PIECES) {
      for (std::size_t at = 0; at < 136; ++at) {
        ASSERT_EQ(check_utf16(base.substr(0, at) + piece + base), "") << at;
        ASSERT_EQ(check_utf16(base.substr(0, at) + piece), "") << at << ": a high half with nothing after it";
      }
    }
    Wstring w(filler.size() % 3, u'q');
    while (w.size() < 20000) w += filler;
    ASSERT_EQ(check_utf16(w + static_cast<Wchar>(0xD83D)), "") << "blocks";
    // Each fault at every unit whose UTF-8 lands where the kernels' 8,192-byte output blocks
    // fill up (a block closes up to a step's worth early).
    std::size_t at = 0;
    for (std::size_t bytes = 0; bytes < 8192 + 8; ++at) {
      const Wchar u = w[at];
      if (bytes >= 8192 - 160 && !impl::is_low_surrogate(u)) {
        for (std::size_t i = UTF16_WELL_FORMED; i < UTF16_PIECES.size(); ++i) {
          ASSERT_EQ(check_utf16(w.substr(0, at) + UTF16_PIECES[i] + w.substr(at, 200)), "") << "seam " << at;
        }
      }
      bytes += u < 0x80 ? 1 : u < 0x800 ? 2 : impl::is_high_surrogate(u) ? 4 : impl::is_low_surrogate(u) ? 0 : 3;
    }
  }
  // Runs of high surrogates that end where nym_utf16_to_utf8's 16,384-unit slices meet: each
  // takes the unit after it, whichever side of the seam that unit lies on.
  for (std::size_t run = 1; run <= 4; ++run) {
    for (const Wchar after : {Wchar(0x41), Wchar(0xDC00)}) {
      Wstring w(16384 - run, u'a');
      w.append(run, static_cast<Wchar>(0xD800));
      ASSERT_EQ(check_utf16(w + after + u"z"), "") << "run " << run;
    }
  }
}

// The terminator scans read whole aligned lines: every start, length and bound stops exactly.
TEST(UtfDifferentialTest, TerminatorsAtEveryAlignment) {
  std::vector<Wchar> wide(96, u'z');
  std::vector<char> narrow(96, 'z');
  for (std::size_t start = 0; start < 16; ++start) {
    for (std::size_t length = 0; length < 48; ++length) {
      std::fill(wide.begin(), wide.end(), u'z');
      std::fill(narrow.begin(), narrow.end(), 'z');
      wide[start + length] = 0;
      narrow[start + length] = 0;
      Nstring out8;
      nym_utf16_to_utf8(wide.data() + start, out8);
      ASSERT_EQ(out8, Nstring(length, 'z')) << start << " " << length;
      for (const impl::Utf_kernel k : impl::ALL_UTF_KERNELS) {
        for (const std::size_t bound : {std::size_t(0), length / 2, length, length + 20, SIZE_MAX}) {
          if (!impl::utf_kernel_supported(k)) continue;
          ASSERT_EQ(impl::utf16_length(wide.data() + start, bound, k), std::min(bound, length))
              << impl::utf_kernel_name(k) << " " << start << " " << length << " " << bound;
        }
      }
      Wstring out16;
      nym_utf8_to_utf16(narrow.data() + start, out16);
      ASSERT_EQ(out16, Wstring(length, u'z')) << start << " " << length;
      for (const std::size_t bound : {std::size_t(0), length / 2, length, length + 20}) {
        nym_utf8_to_utf16(narrow.data() + start, bound, out16);
        ASSERT_EQ(out16, Wstring(std::min(bound, length), u'z')) << start << " " << length << " " << bound;
      }
    }
  }
}

// Each kernel's NUL scan from every start in a line, for every length and bound, stops at the
// first NUL or at the bound, as a byte-at-a-time loop does.
TEST(UtfDifferentialTest, NulScansStopExactly) {
  alignas(64) unsigned char text[320];
  for (std::size_t start = 0; start < 64; ++start) {
    for (std::size_t length = 0; length < 200; length += 1 + length / 16) {
      std::memset(text, 'z', sizeof text);
      text[start + length] = 0;
      text[start + length + 1] = 0;
      for (const std::size_t bound : {std::size_t(0), length / 2, length, length + 1, std::size_t(1) << 40}) {
        const std::size_t expected = length < bound ? length : bound;
        for (const impl::Utf_kernel k : impl::ALL_UTF_KERNELS) {
          if (!impl::utf_kernel_supported(k)) continue;
          ASSERT_EQ(impl::utf8_length(text + start, bound, k), expected)
              << impl::utf_kernel_name(k) << " " << start << " " << length << " " << bound;
        }
      }
    }
  }
}
