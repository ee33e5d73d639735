// Nym_file_buffer: owning and attaching, a seek before every transfer so that streams at
// different positions each get their own bytes, and a blocking reader that follows a writer.
#include <gtest/gtest.h>

#include <limits>
#include <thread>

#include "file_fixture.h"
#include "nym/file_buffer.h"
#include "nym/istream.h"
#include "nym/ostream.h"

using namespace nym;
using nym_test::chain;
using Codes = std::vector<unsigned int>;

namespace {

using FileBufferTest = nym_test::File_test;

// truncate without the stream's size check in front of it.
struct Open_file_buffer : Nym_file_buffer {
  using Nym_file_buffer::Nym_file_buffer;
  using Nym_file_buffer::truncate;
};

TEST_F(FileBufferTest, OwnsWhatItOpensAndLeavesAnAttachedFileOpen) {
  Nym_status status;
  Open_file_buffer buffer(path("missing"), NYM_ACCESS_READ, status);
  buffer.open(path("a"), NYM_ACCESS_WRITE, status);  // the failed open left the buffer free
  buffer.open(path("b"), NYM_ACCESS_WRITE, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_FILE_ALREADY_HELD});
  EXPECT_FALSE(exists(path("b")));
  Nym_ostream(buffer, status).write(3, "abc", status);
  EXPECT_TRUE(status.is_clear()) << "the file in use stayed";
  buffer.close();

  buffer.truncate(0, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_NO_FILE}) << "truncate on a closed buffer reports";

  Nym_file file(path("a"), NYM_ACCESS_READ_WRITE, status);
  {
    Nym_file_buffer attached(file, status);
    attached.attach(file, status);
    EXPECT_EQ(chain(status), Codes{NYM_S_FILE_ALREADY_HELD});
  }
  EXPECT_TRUE(file.is_open()) << "an attached file outlives the buffer";
  Nym_file_buffer(file, status).close();
  EXPECT_FALSE(file.is_open()) << "close closes it, attached or not";
  EXPECT_EQ(take(path("a")), "abc");
}

TEST_F(FileBufferTest, StreamsAtDifferentPositionsEachGetTheirBytes) {
  put(path("d"), "0123456789abcdefghij");
  Nym_status status;
  Nym_file_buffer buffer(path("d"), NYM_ACCESS_READ, status);
  Nym_unbuffered_istream first(buffer, false, status), second(buffer, false, status);
  second.seek(10);
  std::string a, b;
  char two[2];
  for (int i = 0; i < 5; ++i) {
    a.append(two, first.read(2, two, status));
    b.append(two, second.read(2, two, status));
  }
  EXPECT_EQ(a + b, "0123456789abcdefghij");
  EXPECT_EQ(buffer.size(false, status), 20);

  // From the current position means the stream's, not the file's, which the last read left at 20.
  first.seek(4);
  first.seek(NYM_SEEK_CURRENT, 3, status);
  EXPECT_EQ(first.tell(), 7);
  first.seek(NYM_SEEK_CURRENT, std::numeric_limits<int64>::max(), status);
  EXPECT_EQ(chain(status), Codes{NYM_S_SEEK_FAILED}) << "the sum is checked";
  EXPECT_EQ(first.tell(), 7) << "a refused seek keeps the stream's position";
}

TEST_F(FileBufferTest, ABlockingReaderFollowsAWriterOfTheSameBuffer) {
  Nym_status status, write_status;
  Nym_file_buffer buffer(path("w"), NYM_FILE_REPLACE, NYM_ACCESS_READ_WRITE, 0, 0, status);
  Nym_ostream out(buffer, status, NYM_EOL_LF);  // attached before the reader starts
  std::thread writer([&] {
    for (int i = 0; i < 50 && write_status.ok(); ++i) out.writeln("line " + std::to_string(i), write_status);
    out.detach();
  });
  Nym_buffered_istream in(buffer, true, status, NYM_EOL_LF);
  int lines = 0, wrong = -1;
  Nstring line;
  while (in.readln(100, line, status), status.ok()) {
    if (wrong < 0 && line != "line " + std::to_string(lines)) wrong = lines;
    ++lines;
  }
  writer.join();
  EXPECT_TRUE(write_status.is_clear());
  EXPECT_EQ(status.value(), NYM_S_END_OF_DATA);
  EXPECT_EQ(std::make_pair(lines, wrong), std::make_pair(50, -1)) << "lines read, and the first one wrong";
}

}  // namespace
