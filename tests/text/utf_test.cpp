#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

#include "nym/string_basic.h"
#include "nym/utf.h"

using namespace nym;

namespace {

// An independent, character-at-a-time reading of the lenient walkers: the oracle that the
// library's fast paths are held to, byte for byte.
namespace oracle {

unsigned continuation_count(unsigned char b) {
  if (b < 0xC0) return 0;
  if (b < 0xE0) return 1;
  if (b < 0xF0) return 2;
  if (b < 0xF8) return 3;
  if (b < 0xFC) return 4;
  if (b < 0xFE) return 5;
  return 0;
}

uint32 decode8(const unsigned char*& p) {
  const unsigned char b = *p++;
  if (b < 0x80) return b;
  const unsigned n = continuation_count(b);
  if (n == 0) return 0xFFFD;
  uint32 v = b & ((1u << (6 - n)) - 1);
  for (unsigned i = 0; i < n; ++i, ++p) {
    if ((*p & 0xC0) != 0x80) return 0xFFFD;
    v = (v << 6) | (*p & 0x3Fu);
  }
  return v;
}

void put16(Wstring& out, uint32 v) {
  if (v < 0x10000) {
    out.push_back(static_cast<Wchar>(v));
  } else {
    const uint32 x = v - 0x10000;
    out.push_back(static_cast<Wchar>(0xD800 + ((x >> 10) & 0x3FF)));
    out.push_back(static_cast<Wchar>(0xDC00 + (x & 0x3FF)));
  }
}

void put8(Nstring& out, uint32 v) {
  if (v < 0x80) {
    out += static_cast<char>(v);
  } else if (v < 0x800) {
    out += static_cast<char>(0xC0 | (v >> 6));
    out += static_cast<char>(0x80 | (v & 0x3F));
  } else if (v < 0x10000) {
    out += static_cast<char>(0xE0 | (v >> 12));
    out += static_cast<char>(0x80 | ((v >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (v & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | ((v >> 18) & 7));
    out += static_cast<char>(0x80 | ((v >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((v >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (v & 0x3F));
  }
}

Wstring utf8_to_utf16(const char* in, const char* end) {
  Wstring out;
  const auto* p = reinterpret_cast<const unsigned char*>(in);
  while (p < reinterpret_cast<const unsigned char*>(end) && *p != 0) put16(out, decode8(p));
  return out;
}

Nstring utf16_to_utf8(const Wchar* p) {
  Nstring out;
  while (*p != 0) {
    const uint32 u = *p++;
    uint32 v = u;
    if (u >= 0xDC00 && u <= 0xDFFF) {
      v = 0xFFFD;
    } else if (u >= 0xD800 && u <= 0xDBFF) {
      v = 0xFFFD;
      if (*p != 0) {
        const uint32 w = *p++;
        if (w >= 0xDC00 && w <= 0xDFFF) v = (u - 0xD7F7) * 1024 + w;
      }
    }
    put8(out, v);
  }
  return out;
}

}  // namespace oracle

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

Wstring to16(const Nstring& s) {
  Wstring out = u"stale";
  nym_utf8_to_utf16(s.c_str(), out);
  return out;
}

Nstring to8(const Wstring& s) {
  Nstring out = "stale";
  nym_utf16_to_utf8(s.c_str(), out);
  return out;
}

TEST(UtfConvertTest, Utf8ToUtf16Quirks) {
  const struct {
    Nstring in;
    Wstring out;
  } cases[] = {
      {"", u""},
      {"abc", u"abc"},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E9\u20AC\U0001F600"},
      {bytes({0xC3, 0x41}), units({0xFFFD, 0x41})},
      {bytes({0xC3}), units({0xFFFD})},
      {bytes({0xED, 0xA0, 0x80}), units({0xD800})},  // encoded surrogate passes
      {bytes({0xC0, 0x80, 0x41}), units({0, 0x41})},  // overlong NUL is a unit 0, not the end
      {bytes({0xC1, 0xBF}), units({0x7F})},           // overlong
      {bytes({0x80, 0xBF}), units({0xFFFD, 0xFFFD})},
      {bytes({0xFE, 0xFF}), units({0xFFFD, 0xFFFD})},
      {bytes({0xE2, 0x82}), units({0xFFFD})},
      {bytes({0xF4, 0x90, 0x80, 0x80}), units({0xD800, 0xDC00})},   // 0x110000: upper bits lost
      {bytes({0xF8, 0x88, 0x80, 0x80, 0x80}), units({0xDBC0, 0xDC00})},  // 5 bytes: 0x200000
      {bytes({0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}), units({0xDBBF, 0xDFFF})},  // 0x7FFFFFFF
      {bytes({0xF0, 0x9F, 0x98, 0x41}), units({0xFFFD, 0x41})},
  };
  for (const auto& c : cases) EXPECT_EQ(to16(c.in), c.out);
}

TEST(UtfConvertTest, Utf8ToUtf16Bounded) {
  Wstring out = u"stale";
  const char text[] = "ab\xC3\xA9" "cd";
  nym_utf8_to_utf16(text, 3, out);  // the sequence at 2 takes its continuation past the end
  EXPECT_EQ(out, Wstring(u"ab\u00E9"));
  nym_utf8_to_utf16(text, 2, out);
  EXPECT_EQ(out, Wstring(u"ab"));
  nym_utf8_to_utf16(text, 0, out);
  EXPECT_EQ(out, Wstring());
  const char with_nul[] = "ab\0cd";
  nym_utf8_to_utf16(with_nul, 5, out);  // a NUL in the range ends it
  EXPECT_EQ(out, Wstring(u"ab"));
  const char overlong[] = "a\xC0\x80z";
  nym_utf8_to_utf16(overlong, 4, out);
  EXPECT_EQ(out, units({'a', 0, 'z'}));
}

TEST(UtfConvertTest, Utf16ToUtf8Quirks) {
  const struct {
    Wstring in;
    Nstring out;
  } cases[] = {
      {u"", ""},
      {u"\u00E9\u20AC\U0001F600", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {units({0xD800, 0x41}), bytes({0xEF, 0xBF, 0xBD})},  // the 0x41 is swallowed
      {units({0xDC00, 0x41}), bytes({0xEF, 0xBF, 0xBD, 0x41})},
      {units({0x41, 0xD800}), bytes({0x41, 0xEF, 0xBF, 0xBD})},  // stops at the terminator
      {units({0xDBFF, 0xDFFF}), bytes({0xF4, 0x8F, 0xBF, 0xBF})},
      {units({0xFFFF, 0x7FF, 0x80}), bytes({0xEF, 0xBF, 0xBF, 0xDF, 0xBF, 0xC2, 0x80})},
  };
  for (const auto& c : cases) EXPECT_EQ(to8(c.in), c.out);
  Nstring out = "stale";
  nym_utf16_to_utf8(nullptr, out);
  EXPECT_EQ(out, "");
}

// Runs of high surrogates that end where the converter's 16,384-unit slices meet: each high
// surrogate takes the unit after it, whichever side of the seam that unit lies on.
TEST(UtfConvertTest, Utf16ToUtf8HighSurrogateRunsAtTheSliceSeam) {
  for (std::size_t run = 1; run <= 4; ++run) {
    for (const Wchar after : {Wchar(0x41), Wchar(0xDC00)}) {
      Wstring w(16384 - run, u'a');
      w.append(run, static_cast<Wchar>(0xD800));
      w += after;
      w += u'z';
      ASSERT_EQ(to8(w), oracle::utf16_to_utf8(w.c_str())) << "run " << run << " after " << after;
    }
  }
}

TEST(UtfConvertTest, Utf32Forms) {
  U32string u32;
  nym_utf16_to_utf32(units({0x41, 0xD83D, 0xDE00, 0xD800, 0x42, 0xDC00}).c_str(), u32);
  EXPECT_EQ(u32, (U32string{0x41, 0x1F600, 0xFFFD, 0xFFFD}));
  const uint32 values[] = {0x41, 0xD800, 0x1F600, 0x110000, 0x12345678, 0, 0x42};
  Wstring w;
  nym_utf32_to_utf16(values, w);
  EXPECT_EQ(w, units({0x41, 0xD800, 0xD83D, 0xDE00, 0xD800, 0xDC00, 0xD8D5, 0xDE78}));
  Nstring n;
  nym_utf32_to_utf8(values, n);
  // Surrogates are encoded as they are; above 0x1FFFFF the upper bits are lost.
  EXPECT_EQ(n, bytes({0x41, 0xED, 0xA0, 0x80, 0xF0, 0x9F, 0x98, 0x80, 0xF4, 0x90, 0x80, 0x80, 0xF5, 0x85,
                      0x99, 0xB8}));
  nym_utf32_to_utf8(nullptr, n);
  EXPECT_EQ(n, "");
}

TEST(UtfCharTest, Utf8) {
  const Nstring text = bytes({'a', 0xC3, 0xA9, 0xC3, 0x41, 0xF0, 0x9F, 0x98, 0x80});
  uint64 pos = 0;
  EXPECT_EQ(nym_utf8_to_utf32_char(text.c_str(), pos), uint32('a'));
  EXPECT_EQ(pos, 1u);
  EXPECT_EQ(nym_utf8_to_utf32_char(text.c_str(), pos), 0xE9u);
  EXPECT_EQ(pos, 3u);
  EXPECT_EQ(nym_utf8_to_utf32_char(text.c_str(), pos), 0xFFFDu);
  EXPECT_EQ(pos, 4u);
  EXPECT_EQ(nym_utf8_to_utf32_char(text.c_str(), pos), uint32('A'));
  EXPECT_EQ(nym_utf8_to_utf32_char(text.c_str(), pos), 0x1F600u);
  EXPECT_EQ(pos, 9u);
  EXPECT_EQ(nym_utf8_to_utf32_char(text.c_str(), pos), 0u);
  EXPECT_EQ(pos, NYM_NPOS);
  EXPECT_EQ(nym_utf8_to_utf32_char(text.c_str(), pos), 0u);  // stays at the end
  EXPECT_EQ(pos, NYM_NPOS);
  pos = 0;
  EXPECT_EQ(nym_utf8_to_utf32_char("\xC0\x80z", pos), 0u);  // C0 80 ends the walk
  EXPECT_EQ(pos, NYM_NPOS);
  pos = 5;
  EXPECT_EQ(nym_utf8_to_utf32_char(nullptr, pos), 0u);
  EXPECT_EQ(pos, NYM_NPOS);
}

TEST(UtfCharTest, Utf16RereadsAfterABadHighSurrogate) {
  const Wstring text = units({0xD800, 0x41, 0xD83D, 0xDE00, 0xDC00, 0xD800});
  uint64 pos = 0;
  EXPECT_EQ(nym_utf16_to_utf32_char(text.c_str(), pos), 0xFFFDu);
  EXPECT_EQ(pos, 1u);
  EXPECT_EQ(nym_utf16_to_utf32_char(text.c_str(), pos), 0x41u);
  EXPECT_EQ(nym_utf16_to_utf32_char(text.c_str(), pos), 0x1F600u);
  EXPECT_EQ(pos, 4u);
  EXPECT_EQ(nym_utf16_to_utf32_char(text.c_str(), pos), 0xFFFDu);
  EXPECT_EQ(nym_utf16_to_utf32_char(text.c_str(), pos), 0xFFFDu);  // high surrogate, then the end
  EXPECT_EQ(pos, 6u);
  EXPECT_EQ(nym_utf16_to_utf32_char(text.c_str(), pos), 0u);
  EXPECT_EQ(pos, NYM_NPOS);
  pos = 0;
  EXPECT_EQ(nym_utf16_to_utf32_char(nullptr, pos), 0u);
  EXPECT_EQ(pos, NYM_NPOS);
}

int sign(int v) { return (v > 0) - (v < 0); }

TEST(UtfCompareTest, ByCodePointAcrossEncodings) {
  const struct {
    const char* a8;
    Wstring a16;
    const char* b8;
    Wstring b16;
    int expected;  // the exact difference
    int expected_nc;
  } cases[] = {
      {"abc", u"abc", "abc", u"abc", 0, 0},
      {"abc", u"abc", "abd", u"abd", -1, -1},
      {"ab", u"ab", "abc", u"abc", -'c', -'c'},
      {"abc", u"abc", "ab", u"ab", 'c', 'c'},
      {"ABC", u"ABC", "abc", u"abc", 'A' - 'a', 0},
      {"\xC3\x89t\xC3\xA9", u"\u00C9t\u00E9", "\xC3\xA9T\xC3\xA9", u"\u00E9T\u00E9", 0xC9 - 0xE9, 0},
      // U+10000 sorts after U+FFFD by code point, though its first unit is lower.
      {"\xF0\x90\x80\x80", u"\U00010000", "\xEF\xBF\xBD", u"\uFFFD", 0x10000 - 0xFFFD, 0x10000 - 0xFFFD},
      {"", u"", "", u"", 0, 0},
      {"", u"", "a", u"a", -'a', -'a'},
      {"\xD0\x96", u"\u0416", "\xD0\xB6", u"\u0436", 0x416 - 0x436, 0},  // Cyrillic folds too
  };
  for (const auto& c : cases) {
    EXPECT_EQ(nym_utf8_compare(c.a8, c.b8), c.expected) << c.a8 << " " << c.b8;
    EXPECT_EQ(nym_utf16_compare(c.a16.c_str(), c.b16.c_str()), c.expected) << c.a8;
    EXPECT_EQ(nym_utf8_utf16_compare(c.a8, c.b16.c_str()), c.expected) << c.a8;
    EXPECT_EQ(nym_utf16_utf8_compare(c.a16.c_str(), c.b8), c.expected) << c.a8;
    EXPECT_EQ(sign(nym_utf8_compare_nc(c.a8, c.b8)), sign(c.expected_nc)) << c.a8;
    EXPECT_EQ(nym_utf8_compare_nc(c.a8, c.b8), c.expected_nc) << c.a8;
    EXPECT_EQ(nym_utf16_compare_nc(c.a16.c_str(), c.b16.c_str()), c.expected_nc) << c.a8;
    EXPECT_EQ(nym_utf8_utf16_compare_nc(c.a8, c.b16.c_str()), c.expected_nc) << c.a8;
    EXPECT_EQ(nym_utf16_utf8_compare_nc(c.a16.c_str(), c.b8), c.expected_nc) << c.a8;
  }
  // The overlong NUL stops the comparison as the terminator does.
  EXPECT_EQ(nym_utf8_compare("a\xC0\x80x", "a"), 0);
  EXPECT_EQ(nym_utf8_compare("a\xC0\x80x", "a\xC0\x80y"), 0);
  // Bad units decode to U+FFFD on both sides alike.
  EXPECT_EQ(nym_utf8_utf16_compare("\xC3", units({0xDC00}).c_str()), 0);
}

// Random and adversarial byte strings: the fast paths must equal the walker's output.
class Utf8Generator {
 public:
  explicit Utf8Generator(unsigned seed) : m_rng(seed) {}

  Nstring make(std::size_t pieces, bool allow_nul) {
    Nstring s;
    for (std::size_t i = 0; i < pieces; ++i) add_piece(s, allow_nul);
    return s;
  }

 private:
  unsigned pick(unsigned n) { return static_cast<unsigned>(m_rng() % n); }
  void add_piece(Nstring& s, bool allow_nul) {
    switch (pick(14)) {
      case 0: s.append(pick(40), static_cast<char>('a' + pick(26))); break;  // ASCII runs
      case 1: s += static_cast<char>(0x80 + pick(64)); break;                // stray continuation
      case 2: s += bytes({0xC0 + static_cast<int>(pick(32)), 0x80 + static_cast<int>(pick(64))}); break;
      case 3: s += bytes({0xE0 + static_cast<int>(pick(16)), 0x80 + static_cast<int>(pick(64)),
                          0x80 + static_cast<int>(pick(64))}); break;
      case 4: s += bytes({0xED, 0xA0 + static_cast<int>(pick(32)), 0x80 + static_cast<int>(pick(64))}); break;
      case 5: s += bytes({0xF0 + static_cast<int>(pick(8)), 0x80 + static_cast<int>(pick(64)),
                          0x80 + static_cast<int>(pick(64)), 0x80 + static_cast<int>(pick(64))}); break;
      case 6: s += bytes({0xF8 + static_cast<int>(pick(4)), 0x88, 0x80, 0x80, 0x80}); break;
      case 7: s += bytes({0xFC + static_cast<int>(pick(2)), 0x84, 0x80, 0x80, 0x80, 0x80}); break;
      case 8: s += static_cast<char>(0xFE + pick(2)); break;
      case 9: s += static_cast<char>(0xC0 + pick(64)); break;  // a lead byte cut short
      case 10: s += bytes({0xE0 + static_cast<int>(pick(16)), 0x80 + static_cast<int>(pick(64))}); break;
      case 11: s += bytes({0xC0, 0x80}); break;
      case 12:
        if (allow_nul) s += '\0';
        break;
      default: s += static_cast<char>(pick(256)); break;
    }
  }
  std::mt19937 m_rng;
};

TEST(UtfDifferentialTest, Utf8ToUtf16MatchesTheWalker) {
  Utf8Generator gen(1234);
  for (int round = 0; round < 3000; ++round) {
    // Long inputs cross the converter's internal blocks; short ones its 16-byte steps.
    const std::size_t pieces = round % 10 == 0 ? 2000 : 1 + static_cast<std::size_t>(round % 60);
    const Nstring s = gen.make(pieces, false);
    ASSERT_EQ(to16(s), oracle::utf8_to_utf16(s.c_str(), s.c_str() + s.size() + 1)) << "round " << round;
  }
}

TEST(UtfDifferentialTest, BoundedUtf8MatchesTheWalker) {
  Utf8Generator gen(99);
  std::mt19937 rng(5);
  for (int round = 0; round < 3000; ++round) {
    const Nstring s = gen.make(1 + static_cast<std::size_t>(round % 80), true);
    const std::size_t length = s.empty() ? 0 : rng() % (s.size() + 1);
    Wstring out;
    nym_utf8_to_utf16(s.c_str(), length, out);
    ASSERT_EQ(out, oracle::utf8_to_utf16(s.c_str(), s.c_str() + length)) << "round " << round;
  }
}

TEST(UtfDifferentialTest, AsciiRunsBrokenAtEveryOffset) {
  for (std::size_t run = 0; run < 40; ++run) {
    for (const Nstring& tail : {bytes({0xC3, 0xA9}), bytes({0xE2, 0x82, 0xAC}), bytes({0xF0, 0x9F, 0x98, 0x80}),
                               bytes({0xC3}), bytes({0x80}), bytes({0xE2, 0x41})}) {
      const Nstring s = Nstring(run, 'x') + tail + Nstring(run, 'y') + tail;
      ASSERT_EQ(to16(s), oracle::utf8_to_utf16(s.c_str(), s.c_str() + s.size() + 1)) << run;
      const Wstring w = oracle::utf8_to_utf16(s.c_str(), s.c_str() + s.size() + 1);
      ASSERT_EQ(to8(w), oracle::utf16_to_utf8(w.c_str())) << run;
    }
  }
}

TEST(UtfDifferentialTest, Utf16ToUtf8MatchesTheWalker) {
  std::mt19937 rng(4321);
  const auto pick = [&](unsigned n) { return static_cast<unsigned>(rng() % n); };
  for (int round = 0; round < 3000; ++round) {
    Wstring w;
    const std::size_t pieces = round % 10 == 0 ? 3000 : static_cast<std::size_t>(round % 70);
    for (std::size_t i = 0; i < pieces; ++i) {
      switch (pick(9)) {
        case 0: w.append(pick(40), static_cast<Wchar>('a' + pick(26))); break;
        case 1: w += static_cast<Wchar>(0x80 + pick(0x780)); break;
        case 2: w += static_cast<Wchar>(0x800 + pick(0xD000)); break;
        case 3: w += static_cast<Wchar>(0xD800 + pick(0x400)); break;  // high surrogate
        case 4: w += static_cast<Wchar>(0xDC00 + pick(0x400)); break;  // low surrogate
        case 5: w += units({0xD800 + static_cast<int>(pick(0x400)), 0xDC00 + static_cast<int>(pick(0x400))}); break;
        case 6: w += static_cast<Wchar>(0xE000 + pick(0x2000)); break;
        case 7: w += static_cast<Wchar>(0x7F + pick(3)); break;
        default: w += static_cast<Wchar>(1 + pick(0xFFFF)); break;
      }
    }
    ASSERT_EQ(to8(w), oracle::utf16_to_utf8(w.c_str())) << "round " << round;
  }
}

// The terminator scan reads aligned blocks; every start offset and length must stop exactly.
TEST(UtfDifferentialTest, Utf16TerminatorAtEveryAlignment) {
  std::vector<Wchar> buffer(64, u'z');
  for (std::size_t start = 0; start < 16; ++start) {
    for (std::size_t length = 0; length < 40; ++length) {
      std::fill(buffer.begin(), buffer.end(), u'z');
      buffer[start + length] = 0;
      Nstring out;
      nym_utf16_to_utf8(buffer.data() + start, out);
      ASSERT_EQ(out, Nstring(length, 'z')) << start << " " << length;
    }
  }
}

// The byte scan reads aligned blocks too: every start, length and bound must stop exactly.
TEST(UtfDifferentialTest, Utf8TerminatorAndBoundAtEveryAlignment) {
  std::vector<char> buffer(96, 'z');
  for (std::size_t start = 0; start < 16; ++start) {
    for (std::size_t length = 0; length < 48; ++length) {
      std::fill(buffer.begin(), buffer.end(), 'z');
      buffer[start + length] = 0;
      Wstring out;
      nym_utf8_to_utf16(buffer.data() + start, out);
      ASSERT_EQ(out, Wstring(length, u'z')) << start << " " << length;
      for (const std::size_t bound : {std::size_t(0), length / 2, length, length + 1, length + 20}) {
        nym_utf8_to_utf16(buffer.data() + start, bound, out);
        ASSERT_EQ(out, Wstring(std::min(bound, length), u'z')) << start << " " << length << " " << bound;
      }
    }
  }
}

TEST(UtfConvertTest, AppendFormsAgreeWithConversions) {
  Utf8Generator gen(77);
  for (int round = 0; round < 200; ++round) {
    const Nstring s = gen.make(1 + static_cast<std::size_t>(round % 50), false);
    Wstring appended = u"pre";
    nym_string_append(appended, s.c_str());
    EXPECT_EQ(appended, u"pre" + to16(s));
    Nstring back = "pre";
    nym_string_append(back, appended.c_str() + 3);
    EXPECT_EQ(back, "pre" + to8(appended.substr(3)));
  }
}

}  // namespace
