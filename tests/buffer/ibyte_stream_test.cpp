#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "nym/ibyte_stream.h"

using namespace nym;

TEST(IbyteStreamTest, ReadsAndReportsTheEnd) {
  const unsigned char bytes[] = {'a', 'b', 'c', 'd', 'e'};
  Nym_status status(0x1234);
  Nym_ibyte_stream stream(bytes, sizeof bytes, status);
  EXPECT_TRUE(status.is_clear());
  char data[8] = {};
  EXPECT_EQ(stream.read(3, data, status), 3u);
  EXPECT_EQ(std::string(data, 3), "abc");
  EXPECT_EQ(stream.read_at(1, 10, data, status), 4u);
  EXPECT_EQ(std::string(data, 4), "bcde");
  EXPECT_EQ(stream.tell(), 3);
  EXPECT_EQ(stream.read(10, data, status), 2u);
  EXPECT_EQ(stream.read(10, data, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  EXPECT_EQ(stream.size(), 5u);
}

TEST(IbyteStreamTest, ByteOrderAndTooFewBytes) {
  const unsigned char bytes[] = {1, 2, 3, 4, 1, 2, 3, 4, 5, 6, 7};
  Nym_status status;
  Nym_ibyte_stream stream(bytes, sizeof bytes, status);
  int be = 0;
  stream.read_be(be, status);
  EXPECT_EQ(be, 0x01020304);
  int le = 0;
  stream.read_le(le, status);
  EXPECT_EQ(le, 0x04030201);
  unsigned int rest = 0;
  stream.read_be(rest, status);
  EXPECT_EQ(status.value(), NYM_S_TOO_FEW_BYTES);
  EXPECT_EQ(stream.tell(), 11);
}

TEST(IbyteStreamTest, SeekAndSizeGreaterThan) {
  const unsigned char bytes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  Nym_status status;
  Nym_ibyte_stream stream(bytes, sizeof bytes, status);
  stream.seek(NYM_SEEK_END, -2, status);
  EXPECT_EQ(stream.tell(), 8);
  stream.seek(NYM_SEEK_CURRENT, 5, status);
  EXPECT_EQ(stream.tell(), 13) << "beyond the end is legal";
  EXPECT_TRUE(status.is_clear());
  stream.seek(NYM_SEEK_BEGIN, -1, status);
  EXPECT_EQ(status.value(), NYM_S_BAD_SEEK);
  EXPECT_EQ(stream.tell(), 13);
  EXPECT_TRUE(stream.size_greater_than(9));
  EXPECT_FALSE(stream.size_greater_than(10));
  char c;
  EXPECT_EQ(stream.read(1, &c, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  stream.seek(int64{-4});  // unchecked: a later read finds nothing there
  EXPECT_EQ(stream.read(1, &c, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
}

TEST(IbyteStreamTest, DetachForgetsEverything) {
  const unsigned char bytes[] = {1, 2};
  Nym_status status;
  Nym_ibyte_stream stream(bytes, sizeof bytes, status);
  stream.seek(int64{1});
  stream.detach();
  EXPECT_EQ(stream.size(), 0u);
  EXPECT_EQ(stream.tell(), 0);
  char c;
  EXPECT_EQ(stream.read(1, &c, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  Nym_ibyte_stream empty;
  EXPECT_EQ(empty.read(1, &c, status), 0u);
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  EXPECT_THROW(empty.init(nullptr, 3, status), std::invalid_argument);
}
