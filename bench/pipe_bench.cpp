// A 4 KiB round trip (written to an echo thread, read back whole) through Nym_anonymous_pipe and
// through a Nym_named_pipe_server / Nym_named_pipe_client pair, each beside the same through the
// raw Win32 calls (CreatePipe, CreateNamedPipeW, ReadFile, WriteFile) in the same run.
#include <benchmark/benchmark.h>
#include <windows.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "nym/pipe.h"
#include "nym/status.h"

using namespace nym;

namespace {

constexpr DWORD BLOCK = 4096;

using Io = std::function<DWORD(unsigned char*, DWORD)>;

// Reads until `size` bytes came; false when the channel failed.
bool read_whole(const Io& read, unsigned char* data, DWORD size) {
  for (DWORD done = 0; done < size;) {
    const DWORD n = read(data + done, size - done);
    if (n == 0) return false;
    done += n;
  }
  return true;
}

// Writes back whatever comes, block by block, until told to stop.
class Echo {
 public:
  Echo(Io read, Io write) : m_thread([this, read, write] {
      std::vector<unsigned char> block(BLOCK);
      while (read_whole(read, block.data(), BLOCK) && !m_stop) {
        if (write(block.data(), BLOCK) != BLOCK) return;
      }
    }) {}
  // The stop comes with one last block, so that the echo's read returns.
  void stop(const Io& write) {
    m_stop = true;
    std::vector<unsigned char> block(BLOCK);
    write(block.data(), BLOCK);
    m_thread.join();
  }

 private:
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

void round_trips(benchmark::State& state, const Io& read, const Io& write) {
  std::vector<unsigned char> out(BLOCK, 0x5A), in(BLOCK);
  for (auto _ : state) {
    if (write(out.data(), BLOCK) != BLOCK || !read_whole(read, in.data(), BLOCK)) {
      state.SkipWithError("the pipe failed");
      break;
    }
    benchmark::DoNotOptimize(in.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * BLOCK * 2);
}

Io nym_read(Nym_pipe& pipe) {
  return [&pipe](unsigned char* data, DWORD size) {
    Nym_status status;
    return static_cast<DWORD>(pipe.read(data, size, status));
  };
}

Io nym_write(Nym_pipe& pipe) {
  return [&pipe](unsigned char* data, DWORD size) {
    Nym_status status;
    return static_cast<DWORD>(pipe.write(data, size, status));
  };
}

Io raw_read(HANDLE handle) {
  return [handle](unsigned char* data, DWORD size) {
    DWORD n = 0;
    return ReadFile(handle, data, size, &n, nullptr) ? n : 0;
  };
}

Io raw_write(HANDLE handle) {
  return [handle](unsigned char* data, DWORD size) {
    DWORD n = 0;
    return WriteFile(handle, data, size, &n, nullptr) ? n : 0;
  };
}

std::wstring bench_pipe_name(const char* what) {
  const std::string text = "nym-bench-" + std::to_string(GetCurrentProcessId()) + "-" + what;
  return std::wstring(text.begin(), text.end());
}

}  // namespace

static void BM_nym_anonymous_pipe_round_trip(benchmark::State& state) {
  Nym_status status;
  Nym_anonymous_pipe up(status), down(status);
  Echo echo(nym_read(up), nym_write(down));
  round_trips(state, nym_read(down), nym_write(up));
  echo.stop(nym_write(up));
}
BENCHMARK(BM_nym_anonymous_pipe_round_trip)->UseRealTime();

static void BM_win32_anonymous_pipe_round_trip(benchmark::State& state) {
  HANDLE up_read, up_write, down_read, down_write;
  CreatePipe(&up_read, &up_write, nullptr, 0);
  CreatePipe(&down_read, &down_write, nullptr, 0);
  {
    Echo echo(raw_read(up_read), raw_write(down_write));
    round_trips(state, raw_read(down_read), raw_write(up_write));
    echo.stop(raw_write(up_write));
  }
  for (HANDLE h : {up_read, up_write, down_read, down_write}) CloseHandle(h);
}
BENCHMARK(BM_win32_anonymous_pipe_round_trip)->UseRealTime();

static void BM_nym_named_pipe_round_trip(benchmark::State& state) {
  const std::wstring name = bench_pipe_name("nym");
  Nym_status status;
  Nym_named_pipe_server server(Wstring(name.begin(), name.end()), Nym_pipe_server_options(), status);
  Nym_named_pipe_client client(Wstring(name.begin(), name.end()), u".", Nym_pipe_client_options(), status);
  server.wait_for_client(status);
  Echo echo(nym_read(server), nym_write(server));
  round_trips(state, nym_read(client), nym_write(client));
  echo.stop(nym_write(client));
}
BENCHMARK(BM_nym_named_pipe_round_trip)->UseRealTime();

static void BM_win32_named_pipe_round_trip(benchmark::State& state) {
  const std::wstring name = L"\\\\.\\pipe\\" + bench_pipe_name("win32");
  const HANDLE server =
      CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX, 0, 1, BLOCK, BLOCK, 0, nullptr);
  const HANDLE client = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  ConnectNamedPipe(server, nullptr);
  {
    Echo echo(raw_read(server), raw_write(server));
    round_trips(state, raw_read(client), raw_write(client));
    echo.stop(raw_write(client));
  }
  CloseHandle(client);
  FlushFileBuffers(server);
  DisconnectNamedPipe(server);
  CloseHandle(server);
}
BENCHMARK(BM_win32_named_pipe_round_trip)->UseRealTime();
