// The reader path of a buffer (a read that finds data: read lock, copy, read unlock) beside
// the same copy under the system's and the standard's locks, and line reading beside
// std::getline on std::istringstream over the same text.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <sstream>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "nym/istream.h"

using namespace nym;

namespace {

// The smallest store on the contract: bytes in memory, read under the base class's locks.
class Memory_store : public Nym_buffer {
 public:
  explicit Memory_store(std::string bytes) : m_bytes(std::move(bytes)) {}

 protected:
  uint64 read(bool, int64& position, uint64 count, void* data, Nym_status& status) const override {
    status.clear();
    read_lock();
    const auto end = static_cast<int64>(m_bytes.size());
    uint64 n = 0;
    if (position >= 0 && position < end) {
      n = std::min<uint64>(count, static_cast<uint64>(end - position));
      std::memcpy(data, m_bytes.data() + position, n);
      position += static_cast<int64>(n);
    } else {
      status = NYM_S_END_OF_DATA;
    }
    read_unlock();
    return n;
  }
  void write(int64&, uint64, const void*, Nym_status& status) override { status = NYM_S_WRITE_FAILED; }
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override {
    seek_within(mode, offset, position, static_cast<int64>(m_bytes.size()), status);
  }
  void truncate(int64, Nym_status& status) override { status = NYM_S_NO_WRITER_TAKEN; }

 private:
  std::string m_bytes;
};

constexpr std::size_t CHUNK = 64;
const std::string& data_block() {
  static const std::string block(4096, 'x');
  return block;
}

Memory_store& shared_store() {
  static Memory_store store(data_block());
  return store;
}

std::shared_mutex g_shared;
std::mutex g_mutex;

// About 1 MB of lines: of 0 to 120 characters (length 0), or all of `length` bytes with their LF.
std::string text(std::size_t length) {
  std::string out;
  unsigned seed = 1;
  while (out.size() < (1u << 20)) {
    seed = seed * 1103515245u + 12345u;
    out.append(length == 0 ? (seed >> 16) % 121 : length - 1, static_cast<char>('a' + (seed >> 8) % 26));
    out += '\n';
  }
  return out;
}

}  // namespace

static void BM_buffer_read_path(benchmark::State& state) {
  Nym_status status;
  Nym_unbuffered_istream stream(shared_store(), false, status);
  char out[CHUNK];
  for (auto _ : state) {
    benchmark::DoNotOptimize(stream.read_at(128, CHUNK, out, status));
  }
}
BENCHMARK(BM_buffer_read_path)->Threads(1)->Threads(2);

static void BM_std_shared_mutex_read_path(benchmark::State& state) {
  char out[CHUNK];
  for (auto _ : state) {
    std::shared_lock<std::shared_mutex> hold(g_shared);
    std::memcpy(out, data_block().data() + 128, CHUNK);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_std_shared_mutex_read_path)->Threads(1)->Threads(2);

static void BM_std_mutex_read_path(benchmark::State& state) {
  char out[CHUNK];
  for (auto _ : state) {
    std::lock_guard<std::mutex> hold(g_mutex);
    std::memcpy(out, data_block().data() + 128, CHUNK);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_std_mutex_read_path)->Threads(1)->Threads(2);

#if defined(_WIN32)
namespace {
SRWLOCK g_srw = SRWLOCK_INIT;
}

static void BM_srwlock_shared_read_path(benchmark::State& state) {
  char out[CHUNK];
  for (auto _ : state) {
    AcquireSRWLockShared(&g_srw);
    std::memcpy(out, data_block().data() + 128, CHUNK);
    benchmark::DoNotOptimize(out);
    ReleaseSRWLockShared(&g_srw);
  }
}
BENCHMARK(BM_srwlock_shared_read_path)->Threads(1)->Threads(2);
#endif

static void BM_nym_readln(benchmark::State& state) {
  const std::string lines = text(static_cast<std::size_t>(state.range(0)));
  Memory_store store(lines);
  Nstring line;
  Nym_status status;
  Nym_buffered_istream stream(store, false, status, NYM_EOL_LF);
  for (auto _ : state) {
    stream.seek(int64{0});
    std::size_t count = 0;
    for (;;) {
      stream.readln(16384, line, status);
      if (status.is_error()) break;
      ++count;
    }
    benchmark::DoNotOptimize(count);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * lines.size()));
}
BENCHMARK(BM_nym_readln)->Arg(0)->Arg(80)->Arg(8192);

static void BM_std_getline(benchmark::State& state) {
  const std::string lines = text(static_cast<std::size_t>(state.range(0)));
  std::string line;
  std::istringstream in(lines);
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    std::size_t count = 0;
    while (std::getline(in, line)) ++count;
    benchmark::DoNotOptimize(count);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * lines.size()));
}
BENCHMARK(BM_std_getline)->Arg(0)->Arg(80)->Arg(8192);
