#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif
#include "helper_process.h"
#include "nym/pipe.h"
#include "nym/status.h"
#include "resource_count.h"
#include "test_helpers.h"

using namespace nym;

namespace {

// Both ends of a pipe made with the system's own call, and their closing.
#if defined(_WIN32)
void make_pipe(void*& read, void*& write) {
  CreatePipe(reinterpret_cast<HANDLE*>(&read), reinterpret_cast<HANDLE*>(&write), nullptr, 0);
}
void close_end(void* end) { CloseHandle(end); }
#else
void make_pipe(void*& read, void*& write) {
  int fds[2] = {};
  pipe2(fds, O_CLOEXEC);
  read = reinterpret_cast<void*>(intptr_t(fds[0]));
  write = reinterpret_cast<void*>(intptr_t(fds[1]));
}
void close_end(void* end) { ::close(static_cast<int>(reinterpret_cast<intptr_t>(end))); }
#endif

std::vector<unsigned char> pattern(size_t size) {
  std::vector<unsigned char> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + i / 251);
  return bytes;
}

// Reads until `size` bytes came or the pipe reported something; answers what came.
std::vector<unsigned char> read_all(Nym_pipe& pipe, size_t size, Nym_status& status) {
  std::vector<unsigned char> got(size);
  size_t done = 0;
  while (done < size) {
    const uint64 n = pipe.read(got.data() + done, size - done, status);
    if (status.is_error() || n == 0) break;
    done += static_cast<size_t>(n);
  }
  got.resize(done);
  return got;
}

// Writes `size` bytes to `from` while a thread reads them from `to`: whether every byte came, with
// clean statuses on both sides.
bool carries(Nym_pipe& from, Nym_pipe& to, size_t size) {
  const std::vector<unsigned char> sent = pattern(size);
  std::vector<unsigned char> got;
  Nym_status status, read_status;
  std::thread reader([&] { got = read_all(to, size, read_status); });
  const uint64 written = from.write(sent.data(), size, status);
  reader.join();
  return written == size && got == sent && status.is_clear() && read_status.is_clear();
}

}  // namespace

// One object, both ends: 1 MiB written while a reader takes it out, in whatever pieces the system
// hands over. Moving hands the handles over: each is closed once, by its last owner.
TEST(PipeTest, AnAnonymousPipeCarriesEveryByteAndMovesItsHandles) {
  const nym_test::Resource_count before = nym_test::count_resources();
  {
    Nym_status status(NYM_S_NO_MEMORY);
    Nym_anonymous_pipe first(status);
    ASSERT_TRUE(status.is_clear());
    Nym_anonymous_pipe second(std::move(first)), pipe(status);
    pipe = std::move(second);  // its own handles are closed here
    EXPECT_EQ(first.write(nullptr, 1, status), 0u);
    EXPECT_EQ(status, NYM_S_PIPE_NO_WRITE_HANDLE);
    EXPECT_EQ(second.read(nullptr, 1, status), 0u);
    EXPECT_EQ(status, NYM_S_PIPE_NO_READ_HANDLE);
    EXPECT_TRUE(carries(pipe, pipe, 1 << 20));
    status.clear();
    EXPECT_EQ(pipe.read(nullptr, 0, status), 0u) << "a read of nothing doesn't wait";
    EXPECT_TRUE(status.is_clear());
  }
  EXPECT_EQ(nym_test::count_resources().handles, before.handles);
}

// A handle pair owns nothing: its ends stay open after it goes. The writer gone and the pipe
// empty, the end of an anonymous pipe is a failed read.
TEST(PipeTest, AHandlePairUsesButDoesNotOwnItsHandles) {
  void *read = nullptr, *write = nullptr;
  make_pipe(read, write);
  ASSERT_NE(write, nullptr);
  Nym_status status;
  unsigned char bytes[3] = {1, 2, 3};
  {
    Nym_fdpair_pipe pair(read, write);
    const Nym_fdpair_pipe copy(pair);
    EXPECT_EQ(pair.write(bytes, 3, status), 3u);
  }
  Nym_fdpair_pipe reader(read, nullptr);
  EXPECT_EQ(reader.read(bytes, 3, status), 3u);
  close_end(write);
  EXPECT_EQ(reader.read(bytes, 3, status), 0u);
  EXPECT_EQ(status, NYM_S_PIPE_READ_FAILED);
  EXPECT_TRUE(status.has_child()) << "over the system's code";
  close_end(read);
}

#if defined(_WIN32)
namespace {

// A pipe name of this process and test, so that parallel runs don't meet.
Wstring pipe_name(const char* what) {
  const std::string text = "nym-test-" + std::to_string(GetCurrentProcessId()) + "-" + what;
  return Wstring(text.begin(), text.end());
}

}  // namespace

// A server whose name holds U+0000, which would name another pipe if cut short, is refused.
TEST(NamedPipeTest, ANameWithANulIsRefused) {
  Nym_status status;
  Nym_named_pipe_server server(pipe_name("nul") + Wstring(1, u'\0') + u"x", Nym_pipe_server_options(), status);
  EXPECT_EQ(status, NYM_S_NAMED_PIPE_CREATE_FAILED);
  EXPECT_EQ(*status.child(), ERROR_INVALID_NAME);
  server.wait_for_client(status);
  EXPECT_EQ(status, NYM_S_NAMED_PIPE_NOT_OPEN);
}

// Modes are told from the client's side in both structures: a server of mode 0 writes to a client
// of mode 0, which reads. The server flushes before it disconnects: the client reads what was
// written, then 0 bytes with a clean status. A second client of a one-instance pipe is refused at
// once. Duplex, a blocking server carries both ways, one way at a time.
TEST(NamedPipeTest, TheClientReadsEverythingThenZeroAndADuplexServerCarriesBothWays) {
  const Wstring name = pipe_name("gone");
  Nym_status status;
  Nym_pipe_server_options writing;
  writing.mode = 0;
  auto server = std::make_unique<Nym_named_pipe_server>(name, writing, status);
  Nym_pipe_client_options reading;
  reading.mode = 0;
  Nym_named_pipe_client client(name, u".", reading, status);
  ASSERT_TRUE(status.is_clear());
  server->wait_for_client(status);  // connected before: passes at once
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(client.write(pattern(4).data(), 4, status), 0u) << "the client may only read";
  EXPECT_TRUE(status.is_clear()) << "a named pipe reports no failed call";
  Nym_named_pipe_client second(name, u".", reading, status);
  EXPECT_EQ(status, NYM_S_NAMED_PIPE_OPEN_FAILED);
  EXPECT_EQ(*status.child(), ERROR_PIPE_BUSY);
  const std::vector<unsigned char> sent = pattern(3000);
  EXPECT_EQ(server->write(sent.data(), sent.size(), status), sent.size());
  std::vector<unsigned char> got;
  uint64 after = 1;
  Nym_status read_status, after_status(NYM_S_NO_MEMORY);
  std::thread reader([&] {
    got = read_all(client, sent.size(), read_status);
    unsigned char one = 0;
    after = client.read(&one, 1, after_status);
  });
  server.reset();  // the flush waits until the client has read it all
  reader.join();
  EXPECT_TRUE(got == sent && after == 0 && after_status.is_clear());

  Nym_named_pipe_server duplex(pipe_name("duplex"), Nym_pipe_server_options(), status);
  Nym_named_pipe_client other(pipe_name("duplex"), u".", Nym_pipe_client_options(), status);
  ASSERT_TRUE(status.is_clear());
  EXPECT_TRUE(carries(other, duplex, 20000));
  EXPECT_TRUE(carries(duplex, other, 30000));
}

// A real second process opens the pipe, which the server waits for, and echoes what it reads until
// the server goes. The server is overlapped: it does its I/O with a structure and an event of its
// own, so that it reads while it writes, and its calls still block the caller.
TEST(NamedPipeTest, AChildProcessEchoesThroughAnOverlappedServer) {
  const Wstring name = pipe_name("child");
  Nym_pipe_server_options options;
  options.overlapped = true;
  options.write_through = true;
  Nym_status status;
  auto server = std::make_unique<Nym_named_pipe_server>(name, options, status);
  int code = -3;
  std::thread child([&] { code = nym_test::run_helper({"echo", nym_test::utf8(name)}, std::chrono::seconds(30)); });
  server->wait_for_client(status);
  EXPECT_TRUE(carries(*server, *server, 64 * 1024));
  server.reset();
  child.join();
  EXPECT_EQ(code, 0);
}
#endif
