// Nym_crc32 and Nym_crc64: the catalogue's check values, the running value's rules, streams
// and buffers, and every folding method this processor runs held to a bit-at-a-time reference
// written from the polynomials alone, at random lengths up to 4 KiB from every offset up to 63
// and over a few MiB.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "nym/crc.h"
#include "nym/string_buffer.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

namespace {

// The definitions, one bit at a time.
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

const impl::Nym_crc_method METHODS[] = {impl::NYM_CRC_TABLE, impl::NYM_CRC_CLMUL, impl::NYM_CRC_CLMUL_AVX512};

TEST(CrcTest, CheckValuesAndTheRunningValue) {
  const char* nine = "123456789";
  EXPECT_EQ(Nym_crc32::calculate(nine, 9, 0xFFFFFFFFu), 0xCBF43926u);
  EXPECT_EQ(Nym_crc64::calculate(nine, 9, ~std::uint64_t{0}), 0x62EC59E3F1A4F00Au);
  EXPECT_EQ(Nym_crc32::calculate(nine, 0, 0x12345678u), ~0x12345678u) << "nothing: the inverted seed";

  Nym_crc32 a(0x5A5A5A5Au);
  for (int i = 0; i < 4; ++i) a.update(static_cast<unsigned char>(nine[i]));
  a.update(nine + 4, 5);
  a.update(nine, 0);
  EXPECT_EQ(a.result(false), crc32_bits(0x5A5A5A5Au, reinterpret_cast<const unsigned char*>(nine), 9));
  EXPECT_EQ(a.result(true), ~a.result(false));
  EXPECT_EQ(a.result(true), a.result(true)) << "result leaves the running value alone";
  a.reset();
  EXPECT_EQ(a.result(false), 0x5A5A5A5Au) << "reset goes back to the constructor's value";

  Nym_crc64 b;
  b.update(nine, 9);
  EXPECT_EQ(b.result(true), 0x62EC59E3F1A4F00Au);
  Nym_status status;
  EXPECT_EQ(what_of([&] { b.update(static_cast<Nym_istream*>(nullptr), status); }),
            "Nym_crc64::update - null stream");
}

TEST(CrcTest, StreamsAreTakenWholeFromTheirStart) {
  Nstring text(100000, '\0');
  for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(i * 7 + i / 300);
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  const Nym_string_buffer buffer(text, true);
  Nym_status status;
  Nym_buffered_istream stream(buffer, false, status);
  stream.seek(text.size());  // at the end: the update seeks back to 0
  Nym_crc32 a;
  a.update(stream, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(a.result(false), crc32_bits(0xFFFFFFFFu, bytes, text.size()));
  Nym_crc64 b;
  b.update(&stream, status);
  b.update(buffer, status);  // twice over: the buffer form reads it all again
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(b.result(false), crc64_bits(crc64_bits(~std::uint64_t{0}, bytes, text.size()), bytes, text.size()));

  Nstring nothing;
  const Nym_string_buffer empty(nothing, false);
  a.reset();
  a.update(empty, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(a.result(false), 0xFFFFFFFFu);
  Nym_unbuffered_istream detached;
  a.update(detached, status);
  EXPECT_EQ(status.value(), NYM_S_STREAM_NOT_ATTACHED);
  EXPECT_EQ(a.result(false), 0xFFFFFFFFu);
}

TEST(CrcTest, EveryMethodMatchesTheDefinitionAtAnyLengthAndEveryOffset) {
  std::mt19937_64 random(2208);
  std::vector<unsigned char> data((3u << 20) + 4096 + 64 + 7);
  for (auto& byte : data) byte = static_cast<unsigned char>(random());
  for (const impl::Nym_crc_method method : METHODS) {
    if (!impl::nym_crc_method_available(method)) {
      std::printf("method %d: not on this processor\n", method);
      continue;
    }
    const impl::Nym_crc_method old = impl::nym_set_crc_method(method);
    int wrong = 0;
    for (std::size_t offset = 0; offset < 64; ++offset) {
      for (int i = 0; i < 16; ++i) {
        // Half of them short, where each method's steps begin and end.
        const std::size_t length = static_cast<std::size_t>(random() % (i % 2 == 0 ? 300 : 4097));
        const auto seed32 = static_cast<std::uint32_t>(random());
        const std::uint64_t seed64 = random();
        const unsigned char* p = data.data() + offset;
        Nym_crc32 a(seed32);
        Nym_crc64 b(seed64);
        a.update(p, length);
        b.update(p, length);
        if (a.result(false) != crc32_bits(seed32, p, length) || b.result(false) != crc64_bits(seed64, p, length)) {
          if (++wrong < 5) ADD_FAILURE() << "method " << method << ", length " << length << ", offset " << offset;
        }
      }
    }
    // A few MiB, in pieces that end anywhere.
    Nym_crc32 a;
    Nym_crc64 b;
    for (std::size_t at = 3; at < data.size();) {
      const std::size_t piece = std::min<std::size_t>(data.size() - at, static_cast<std::size_t>(random() % 400000));
      a.update(data.data() + at, piece);
      b.update(data.data() + at, piece);
      at += piece;
    }
    EXPECT_EQ(a.result(false), crc32_bits(0xFFFFFFFFu, data.data() + 3, data.size() - 3)) << method;
    EXPECT_EQ(b.result(false), crc64_bits(~std::uint64_t{0}, data.data() + 3, data.size() - 3)) << method;
    EXPECT_EQ(wrong, 0) << method;
    impl::nym_set_crc_method(old);
  }
  EXPECT_TRUE(impl::nym_crc_method_available(impl::NYM_CRC_TABLE));
  EXPECT_EQ(what_of([] { impl::nym_set_crc_method(static_cast<impl::Nym_crc_method>(3)); }),
            "Nym_crc - method not available");
}

}  // namespace
