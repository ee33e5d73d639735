#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "nym/encoding_detect.h"
#include "nym/func_buffer.h"
#include "nym/string_basic.h"
#include "nym/utf.h"
#include "open_store.h"

using namespace nym;

namespace {

const char* const ENGLISH = "The quick brown fox jumps over the lazy dog.\r\nPack my box with five dozen liquor jugs.\r\n";
const char* const FRENCH_GERMAN = "Le câble déçu mais l'âme plutôt naïve, Louÿs rêva de crapaüter. "
                                  "Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich.\n";
const char* const GREEK = "Ξεσκεπάζω την ψυχοφθόρα βδελυγμία.\n";
const char* const JAPANESE = "吾輩は猫である。名前はまだ無い。どこで生れたかとんと見当がつかぬ。";
// Windows-1252: curly quotes, an en dash, an ellipsis and the euro sign, all in 0x80..0x9F.
const char* const CP1252 = "\x93Smart quotes\x94 \x96 five\x85 costs \x80" "5, na\xefve caf\xe9.\r\n";

std::string utf16(const char* utf8, bool big_endian) {
  Wstring w;
  nym_utf8_to_utf16(utf8, w);
  std::string bytes(reinterpret_cast<const char*>(w.data()), w.size() * 2);  // the host's order
  for (std::size_t i = 0; big_endian && i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
  return bytes;
}

std::string latin1(const char* utf8) {
  Wstring w;
  nym_utf8_to_utf16(utf8, w);
  Nstring bytes;
  nym_wtos(w, bytes, true);
  return bytes;
}

std::string pseudo_random(std::size_t n) {
  std::string bytes;
  unsigned int x = 12345;
  for (std::size_t i = 0; i < n; ++i) {
    x = x * 1103515245u + 12345u;
    bytes += static_cast<char>(x >> 23);
  }
  return bytes;
}

Nym_encoding_guess from_store(const std::string& bytes, uint64 step, uint64 max, Nym_status& status) {
  const Nym_func_buffer buffer(new nym_test::Trickle_functor(bytes, step));
  return nym_detect_encoding(&buffer, max, status);
}

struct Sample {
  const char* name;
  std::string bytes;
  Nym_text_encoding encoding;
  bool mark;
  bool ascii;
  unsigned int lowest;   // confidence
  unsigned int highest;
};

TEST(EncodingDetectTest, RealSamplesAnswerWhatAPersonWouldName) {
  const std::string prose = FRENCH_GERMAN;
  const Sample samples[] = {
      {"ASCII prose", ENGLISH, NYM_ENCODING_UTF8, false, true, 100, 100},
      {"UTF-8 prose", prose, NYM_ENCODING_UTF8, false, false, 100, 100},
      {"UTF-8 Greek", GREEK, NYM_ENCODING_UTF8, false, false, 100, 100},
      {"UTF-8 with one Latin-1 byte", prose + "caf\xe9 " + prose, NYM_ENCODING_UTF8, false, false, 75, 75},
      {"UTF-8 padded with NULs", prose + std::string(2, '\0'), NYM_ENCODING_UTF8, false, false, 50, 50},
      {"UTF-8 with its mark", "\xEF\xBB\xBF" + prose, NYM_ENCODING_UTF8, true, false, 100, 100},
      {"UTF-16LE prose", utf16(FRENCH_GERMAN, false), NYM_ENCODING_UTF16LE, false, false, 100, 100},
      {"UTF-16BE prose", utf16(FRENCH_GERMAN, true), NYM_ENCODING_UTF16BE, false, false, 100, 100},
      {"UTF-16LE ASCII", utf16(ENGLISH, false), NYM_ENCODING_UTF16LE, false, false, 100, 100},
      {"UTF-16LE Greek", utf16(GREEK, false), NYM_ENCODING_UTF16LE, false, false, 80, 100},
      {"UTF-16BE Greek", utf16(GREEK, true), NYM_ENCODING_UTF16BE, false, false, 80, 100},
      {"UTF-16LE Japanese", utf16(JAPANESE, false), NYM_ENCODING_UTF16LE, false, false, 50, 50},
      {"UTF-16BE Japanese", utf16(JAPANESE, true), NYM_ENCODING_UTF16BE, false, false, 50, 50},
      {"UTF-16LE with its mark", "\xFF\xFE" + utf16(GREEK, false), NYM_ENCODING_UTF16LE, true, false, 100, 100},
      {"UTF-16BE with its mark", "\xFE\xFF" + utf16(JAPANESE, true), NYM_ENCODING_UTF16BE, true, false, 100, 100},
      {"an empty UTF-16LE file", "\xFF\xFE", NYM_ENCODING_UTF16LE, true, false, 100, 100},
      {"a little-endian mark on big-endian text", "\xFF\xFE" + utf16(ENGLISH, true), NYM_ENCODING_UTF16BE, false,
       false, 80, 100},
      {"Latin-1 prose", latin1(FRENCH_GERMAN), NYM_ENCODING_NEITHER, false, false, 100, 100},
      {"Windows-1252 prose", CP1252, NYM_ENCODING_NEITHER, false, false, 100, 100},
      {"random bytes", pseudo_random(600), NYM_ENCODING_NEITHER, false, false, 100, 100},
      {"a program header", std::string("MZ\x90\0\x03\0\0\0\x04\0\0\0\xFF\xFF\0\0\xB8\0\0\0", 20),
       NYM_ENCODING_NEITHER, false, false, 100, 100},
      {"empty", "", NYM_ENCODING_UTF8, false, true, 0, 0},
      {"one letter", "A", NYM_ENCODING_UTF8, false, true, 1, 50},
      {"one Latin-1 letter", "\xE9", NYM_ENCODING_NEITHER, false, false, 1, 50},
      {"one NUL", std::string(1, '\0'), NYM_ENCODING_NEITHER, false, false, 1, 50},
      {"a cut UTF-8 mark", "\xEF\xBB", NYM_ENCODING_NEITHER, false, false, 1, 50},
  };
  for (const Sample& s : samples) {
    SCOPED_TRACE(s.name);
    const Nym_encoding_guess g = nym_detect_encoding(s.bytes.data(), s.bytes.size());
    EXPECT_EQ(nym_encoding_name(g.encoding), std::string(nym_encoding_name(s.encoding)));
    EXPECT_EQ(g.mark, s.mark);
    EXPECT_EQ(g.ascii, s.ascii);
    EXPECT_GE(g.confidence, s.lowest);
    EXPECT_LE(g.confidence, s.highest);
    EXPECT_EQ(g.mark_size(), !s.mark ? 0u : s.encoding == NYM_ENCODING_UTF8 ? 3u : 2u);
    // A store that hands out its bytes one, five or a block at a time gives the same answer.
    for (const uint64 step : {uint64(1), uint64(5), uint64(1) << 20}) {
      Nym_status status;
      const Nym_encoding_guess b = from_store(s.bytes, step, NYM_NPOS, status);
      EXPECT_TRUE(status.is_clear()) << step;
      EXPECT_EQ(b.encoding, g.encoding) << step;
      EXPECT_EQ(b.mark, g.mark) << step;
      EXPECT_EQ(b.ascii, g.ascii) << step;
      EXPECT_EQ(b.confidence, g.confidence) << step;
    }
  }
}

TEST(EncodingDetectTest, ACharacterCutByTheLimitCountsAgainstNothing) {
  const std::string prose = FRENCH_GERMAN;
  const uint64 cut = prose.find("é") + 1;  // inside the two bytes of é
  Nym_status status;
  const Nym_encoding_guess limited = from_store(prose, 3, cut, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(limited.encoding, NYM_ENCODING_UTF8);
  // The same bytes as the whole data end in a broken character.
  const Nym_encoding_guess whole = nym_detect_encoding(prose.data(), cut);
  EXPECT_EQ(whole.encoding, NYM_ENCODING_NEITHER);
}

// Copies what it was asked for but reports more, or fails with a read error after `good` bytes.
class Faulty_functor : public Nym_buffer_functor {
 public:
  Faulty_functor(std::string bytes, uint64 extra, uint64 good)
      : m_bytes(std::move(bytes)), m_extra(extra), m_good(good) {}
  uint64 read(bool, int64& position, uint64 count, void* data, Nym_status& status) override {
    status.clear();
    const auto at = static_cast<uint64>(position);
    if (at >= m_good) status = at < m_bytes.size() ? NYM_S_READ_FAILED : NYM_S_END_OF_DATA;
    if (status.is_error()) return 0;
    const uint64 n = std::min(count, m_good - at);
    std::memcpy(data, m_bytes.data() + at, n);
    position += static_cast<int64>(n);
    return n + m_extra;
  }
  int64 size() override { return static_cast<int64>(m_bytes.size()); }
  void truncate(int64, Nym_status& status) override { status = NYM_S_WRITE_FAILED; }

 private:
  std::string m_bytes;
  uint64 m_extra;
  uint64 m_good;
};

TEST(EncodingDetectTest, AStoreThatOverstatesItsReadIsHeldToTheRequest) {
  // Read past its block, the detector would run off its stack; ASan watches the host build.
  const std::string text = utf16(ENGLISH, false);
  const Nym_func_buffer buffer(new Faulty_functor(text, 1 << 20, text.size()));
  Nym_status status;
  const Nym_encoding_guess g = nym_detect_encoding(&buffer, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_LE(g.confidence, 100u);
}

TEST(EncodingDetectTest, AReadErrorStaysAndTheAnswerJudgesWhatCameBeforeIt) {
  const std::string text = std::string(FRENCH_GERMAN) + "\xE9 and more";
  const Nym_func_buffer buffer(new Faulty_functor(text, 0, std::string(FRENCH_GERMAN).size() + 1));
  Nym_status status;
  const Nym_encoding_guess g = nym_detect_encoding(&buffer, status);
  EXPECT_EQ(status, NYM_S_READ_FAILED);
  EXPECT_EQ(g.encoding, NYM_ENCODING_UTF8);  // the lead byte before the error is no fault
  EXPECT_EQ(g.confidence, 100u);
}

TEST(EncodingDetectTest, NullInputs) {
  Nym_status status(NYM_S_READ_FAILED);
  const Nym_encoding_guess g = nym_detect_encoding(static_cast<const Nym_buffer*>(nullptr), status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(g.encoding, NYM_ENCODING_UTF8);
  EXPECT_EQ(g.confidence, 0u);
  EXPECT_EQ(nym_detect_encoding(nullptr, 0).confidence, 0u);
  EXPECT_THROW(nym_detect_encoding(nullptr, 1), std::invalid_argument);
}

}  // namespace
