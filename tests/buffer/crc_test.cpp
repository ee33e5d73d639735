// Every CRC folding method this processor runs, held to a bit-at-a-time reference written from the
// polynomials alone; the running value and streams. The check values are the nym tool's cases.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "nym/crc.h"
#include "nym/string_buffer.h"
#include "test_helpers.h"
#include "test_stores.h"

using namespace nym;
using nym_test::what_of;

namespace {

std::uint32_t crc32_bits(std::uint32_t c, const unsigned char* p, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    c ^= p[i];
    for (int k = 0; k < 8; ++k) c = (c & 1u) != 0 ? (c >> 1) ^ 0xEDB88320u : c >> 1;
  }
  return c;
}

std::uint64_t crc64_bits(std::uint64_t c, const unsigned char* p, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    c ^= static_cast<std::uint64_t>(p[i]) << 56;
    for (int k = 0; k < 8; ++k) c = (c >> 63) != 0 ? (c << 1) ^ 0x42F0E1EBA9EA3693u : c << 1;
  }
  return c;
}

TEST(CrcTest, TheRunningValueAndStreams) {
  Nym_crc32 a(0x5A5A5A5Au);
  a.update(static_cast<unsigned char>('1'));
  EXPECT_EQ(~a.result(true), crc32_bits(0x5A5A5A5Au, reinterpret_cast<const unsigned char*>("1"), 1));
  a.reset();
  EXPECT_EQ(a.result(false), 0x5A5A5A5Au) << "reset goes back to the constructor's value";

  // A stream is taken whole from its start, whatever its position; the buffer form is the tool's.
  Nstring text = nym_test::pattern(100000);
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const Nym_string_buffer buffer(text, true);
  Nym_status status;
  Nym_buffered_istream stream(buffer, false, status);
  stream.seek(text.size());
  Nym_crc64 c;
  c.update(&stream, status);
  EXPECT_TRUE(status.is_clear() && c.result(false) == crc64_bits(~std::uint64_t{0}, bytes, text.size()));
  EXPECT_EQ(what_of([&] { c.update(static_cast<Nym_istream*>(nullptr), status); }), "Nym_crc64::update - null stream");
}

// Every length up to 4 KiB crosses each method's steps (bytes below 16, blocks below 128 and
// 256, folds above); every offset up to 63 each alignment; the split the running value.
TEST(CrcTest, EveryMethodMatchesTheDefinitionAtAnyLengthOffsetAndSplit) {
  std::mt19937_64 random(2208);
  std::vector<unsigned char> data(4096 + 64);
  for (auto& byte : data) byte = static_cast<unsigned char>(random());
  for (const auto method : {impl::NYM_CRC_TABLE, impl::NYM_CRC_CLMUL, impl::NYM_CRC_CLMUL_AVX512}) {
    if (!impl::nym_crc_method_available(method)) {
      std::printf("method %d: not on this processor\n", method);
      continue;
    }
    const impl::Nym_crc_method old = impl::nym_set_crc_method(method);
    int wrong = 0;
    for (std::size_t offset = 0; offset < 64; ++offset) {
      for (int i = 0; i < 16; ++i) {
        const std::size_t length = static_cast<std::size_t>(random() % (i % 2 == 0 ? 300 : 4097));
        const std::size_t split = static_cast<std::size_t>(random() % (length + 1));
        const std::uint64_t seed64 = random();
        const auto seed32 = static_cast<std::uint32_t>(seed64);
        const unsigned char* p = data.data() + offset;
        Nym_crc32 a(seed32);
        Nym_crc64 b(seed64);
        a.update(p, split);
        b.update(p, split);
        a.update(p + split, length - split);
        b.update(p + split, length - split);
        if (a.result(false) != crc32_bits(seed32, p, length) || b.result(false) != crc64_bits(seed64, p, length)) {
          if (++wrong < 5) ADD_FAILURE() << "method " << method << ", length " << length << ", offset " << offset;
        }
      }
    }
    EXPECT_EQ(wrong, 0) << method;
    impl::nym_set_crc_method(old);
  }
  EXPECT_TRUE(impl::nym_crc_method_available(impl::NYM_CRC_TABLE));
  EXPECT_EQ(what_of([] { impl::nym_set_crc_method(static_cast<impl::Nym_crc_method>(3)); }),
            "Nym_crc - method not available");
}

}  // namespace
