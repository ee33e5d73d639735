#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "nym/buffer.h"
#include "nym/utf.h"
#include "nym/utf_detect.h"

using namespace nym;

namespace {

// A fixed store of bytes; `fail_size` makes size() fail as a store that can't tell would.
class Bytes_buffer : public Nym_buffer {
 public:
  explicit Bytes_buffer(std::string bytes, bool fail_size = false)
      : m_bytes(std::move(bytes)), m_fail_size(fail_size) {}

  int64 size(bool wait, Nym_status& status) const override {
    if (m_fail_size) {
      status = NYM_S_SIZE_UNKNOWN;
      return 0;
    }
    return Nym_buffer::size(wait, status);
  }

 protected:
  uint64 read(bool, int64& position, uint64 count, void* data, Nym_status& status) const override {
    status.clear();
    const auto size = static_cast<int64>(m_bytes.size());
    if (position >= size) {
      status = NYM_S_END_OF_DATA;
      return 0;
    }
    const uint64 n = std::min<uint64>(count, static_cast<uint64>(size - position));
    std::memcpy(data, m_bytes.data() + position, static_cast<std::size_t>(n));
    position += static_cast<int64>(n);
    return n;
  }
  void write(int64&, uint64, const void*, Nym_status& status) override { status = NYM_S_WRITE_FAILED; }
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override {
    status.clear();
    seek_within(mode, offset, position, static_cast<int64>(m_bytes.size()), status);
  }
  void truncate(int64, Nym_status& status) override { status = NYM_S_WRITE_FAILED; }

 private:
  std::string m_bytes;
  bool m_fail_size;
};

struct Utf8_answer {
  bool result;
  unsigned char flags;
  bool ascii;
};

Utf8_answer is_utf8(const std::string& bytes) {
  Bytes_buffer buffer(bytes);
  Utf8_answer a{};
  Nym_status status;
  a.result = nym_is_utf8(&buffer, a.flags, a.ascii, status);
  EXPECT_TRUE(status.is_clear());
  return a;
}

// Host-order (little-endian) UTF-16 bytes of UTF-8 text, optionally byte-swapped.
std::string utf16_bytes(const char* utf8, bool swap = false) {
  Wstring w;
  nym_utf8_to_utf16(utf8, w);
  std::string bytes(reinterpret_cast<const char*>(w.data()), w.size() * 2);
  if (swap) {
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
  }
  return bytes;
}

struct Utf16_answer {
  bool result;
  unsigned char flags;
};

Utf16_answer is_utf16(const std::string& bytes, unsigned short tolerance = 0) {
  Bytes_buffer buffer(bytes);
  Utf16_answer a{};
  Nym_status status;
  a.result = nym_is_utf16(&buffer, tolerance, a.flags, status);
  EXPECT_TRUE(status.is_clear());
  return a;
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
      {"\xFF", false, 0, true},
      {"bad \xC3", false, 0, false},      // cut at the end
      {"bad \xC3(", false, 0, false},
      {"bad \x80", false, 0, false},
      {"\xEF\xBF\xBF", false, 0, false},  // U+FFFF is a non-character
      {"\xF4\x90\x80\x80", false, 0, false},  // above U+10FFFF: ICU knows nothing there
      {"\xE0\xA2\xB3", false, 0, false},  // U+08B3 came after Unicode 7
      {"\xC0\x80", true, 0, false},       // overlong NUL decodes to an assigned value
      {"\xED\xA0\x80", true, 0, false},   // an encoded surrogate counts as assigned
      {std::string("a\0b", 3), true, 0, true},
  };
  for (const auto& c : cases) {
    const Utf8_answer a = is_utf8(c.bytes);
    EXPECT_EQ(a.result, c.result) << c.bytes;
    EXPECT_EQ(a.flags, c.flags) << c.bytes;
    EXPECT_EQ(a.ascii, c.ascii) << c.bytes;
  }
}

TEST(IsUtf8Test, CharacterAcrossTheBlockBoundaryFails) {
  std::string text(8191, 'a');
  text += "\xC3\xA9 more";
  EXPECT_FALSE(is_utf8(text).result);
  text = std::string(8190, 'a') + "\xC3\xA9 more";  // ends exactly at the boundary
  EXPECT_TRUE(is_utf8(text).result);
  // A bad byte in a later block is found.
  text = std::string(20000, 'a') + "\xFF";
  EXPECT_FALSE(is_utf8(text).result);
}

TEST(IsUtf8Test, NullBufferAndEarlierError) {
  unsigned char flags = 0xFF;
  bool ascii = false;
  Nym_status status;
  EXPECT_FALSE(nym_is_utf8(nullptr, flags, ascii, status));
  EXPECT_EQ(flags, 0);
  EXPECT_TRUE(ascii);
  Bytes_buffer buffer("text");
  status = 0xC2000005u;
  EXPECT_FALSE(nym_is_utf8(&buffer, flags, ascii, status));
  EXPECT_EQ(status.value(), 0xC2000005u);
}

TEST(IsUtf16Test, Texts) {
  const std::string mark_le("\xFF\xFE", 2);
  const std::string mark_be("\xFE\xFF", 2);
  const struct {
    const char* name;
    std::string bytes;
    unsigned short tolerance;
    bool result;
    unsigned char flags;
  } cases[] = {
      {"little-endian latin", utf16_bytes("H\xC3\xA9llo w\xC3\xB6rld, \xC3\xA7" "a va?"), 0, true, 0x03},
      // Swapped Latin letters read as CJK and private use, all assigned: both counts stay 0, and
      // equal counts mean little-endian.
      {"big-endian latin, undecidable", utf16_bytes("H\xC3\xA9llo w\xC3\xB6rld", true), 0, true, 0x03},
      // U+00DF and U+00D8 swapped are lone surrogates.
      {"big-endian german", utf16_bytes("Stra\xC3\x9F" "e \xC3\x98l", true), 50, true, 0x01},
      {"little-endian german", utf16_bytes("Stra\xC3\x9F" "e \xC3\x98l"), 50, true, 0x03},
      {"little-endian with mark", mark_le + utf16_bytes("mark\xC3\xA9 text"), 0, true, 0x07},
      {"big-endian with mark", mark_be + utf16_bytes("mark\xC3\xA9 text", true), 0, true, 0x05},
      {"seven-bit ascii", "even length text", 100, false, 0x02},
      {"odd size", "odd", 100, false, 0x02},
      {"empty", "", 0, false, 0x02},
      {"cjk", utf16_bytes("\xE6\x96\x87\xE4\xBB\xB6\xE6\x9C\x8D\xE5\x8A\xA1\xE5\x99\xA8"), 0, true, 0x03},
      // The real mark EF BB BF is not the pattern looked for: the text is judged as UTF-16.
      {"real utf-8 mark, even size", "\xEF\xBB\xBF" "abc\xC3\xA9", 0, true, 0x03},
  };
  for (const auto& c : cases) {
    const Utf16_answer a = is_utf16(c.bytes, c.tolerance);
    EXPECT_EQ(a.result, c.result) << c.name;
    EXPECT_EQ(a.flags, c.flags) << c.name;
  }
}

TEST(IsUtf16Test, MarkAgainstTheCounts) {
  // A little-endian mark before big-endian text: the counted order wins, the mark falls.
  // (The swapped walk includes the mark, which then reads 0xFFFE: one bad unit.)
  const std::string text = std::string("\xFF\xFE", 2) + utf16_bytes("Stra\xC3\x9F" "e \xC3\x98l \xC3\x9F", true);
  const Utf16_answer a = is_utf16(text, 50);
  EXPECT_TRUE(a.result);
  EXPECT_EQ(a.flags, 0x01);
  // With no bad unit in one order the mark stands whatever the counts say.
  const Utf16_answer b = is_utf16(std::string("\xFE\xFF", 2) + utf16_bytes("caf\xC3\xA9 cr\xC3\xA8me"), 50);
  EXPECT_TRUE(b.result);
  EXPECT_EQ(b.flags, 0x05);
}

TEST(IsUtf16Test, TheMimickedUtf8MarkIsBytesBbEfAnyBf) {
  std::string bytes("\xBB\xEF\x41\xBF", 4);
  bytes += utf16_bytes("\xC3\xA9\xC3\xA9");
  const Utf16_answer a = is_utf16(bytes, 100);
  EXPECT_FALSE(a.result);
}

TEST(IsUtf16Test, ToleranceCountsBadUnits) {
  // Text with one unassigned value in each byte order among 100 units.
  std::string bytes = utf16_bytes(std::string(99, 'x').insert(0, "\xC3\xA9").c_str());
  bytes += std::string("\xFF\xFF", 2);
  EXPECT_FALSE(is_utf16(bytes, 0).result);
  const Utf16_answer a = is_utf16(bytes, 5);
  EXPECT_TRUE(a.result);
  EXPECT_EQ(a.flags, 0x03);
}

TEST(IsUtf16Test, SizeFailureAnswersTrueWithFlags3) {
  Bytes_buffer buffer("abcd", true);
  unsigned char flags = 0;
  Nym_status status;
  EXPECT_TRUE(nym_is_utf16(&buffer, 10, flags, status));
  EXPECT_EQ(flags, 0x03);
  EXPECT_FALSE(nym_is_utf16(nullptr, 10, flags, status));
  EXPECT_EQ(flags, 0);
}

TEST(IsUtf16Test, LongTextAcrossBlocks) {
  std::string text;
  while (text.size() < 50000) text += "Stra\xC3\x9F" "e \xD1\x84\xD0\xB0\xD0\xB9\xD0\xBB ";
  const Utf16_answer le = is_utf16(utf16_bytes(text.c_str()), 1);
  EXPECT_TRUE(le.result);
  EXPECT_EQ(le.flags, 0x03);
  const Utf16_answer be = is_utf16(utf16_bytes(text.c_str(), true), 1);
  EXPECT_TRUE(be.result);
  EXPECT_EQ(be.flags, 0x01);
}

}  // namespace

namespace {

// A store that meets its end with nothing read and nothing reported; after many such reads
// it fails, so that a walk that doesn't stop shows up as an error rather than a hang.
class Quiet_end_buffer : public Bytes_buffer {
 public:
  using Bytes_buffer::Bytes_buffer;
  mutable int m_quiet_reads = 0;

 protected:
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override {
    const uint64 n = Bytes_buffer::read(wait, position, count, data, status);
    if (n == 0) {
      status.clear();
      if (++m_quiet_reads > 50) status = NYM_S_READ_FAILED;
    }
    return n;
  }
};

TEST(UtfDetectTest, AReadOfNothingWithoutAnErrorEndsTheWalk) {
  Quiet_end_buffer text8("caf\xC3\xA9");
  unsigned char flags = 0xFF;
  bool ascii = true;
  Nym_status status;
  EXPECT_TRUE(nym_is_utf8(&text8, flags, ascii, status));
  EXPECT_TRUE(status.is_clear());
  EXPECT_FALSE(ascii);
  EXPECT_EQ(text8.m_quiet_reads, 1);

  Quiet_end_buffer text16(utf16_bytes("Stra\xC3\x9F" "e"));
  EXPECT_TRUE(nym_is_utf16(&text16, 0, flags, status));
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(flags, 0x03);
  EXPECT_EQ(text16.m_quiet_reads, 1);
}

}  // namespace
