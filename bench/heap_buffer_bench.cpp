// 64 MiB written into a fresh heap buffer and read back, in 1 MiB pieces through the streams,
// with every page in memory and with half of them spilled to the swap file, beside memcpy of
// the same bytes into fresh memory and back.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "nym/heap_buffer.h"
#include "nym/istream.h"
#include "nym/ostream.h"

using namespace nym;

namespace {

constexpr std::size_t TOTAL = std::size_t{64} << 20;
constexpr std::size_t PIECE = std::size_t{1} << 20;

const std::vector<unsigned char>& source() {
  static const std::vector<unsigned char> bytes = [] {
    std::vector<unsigned char> b(TOTAL);
    for (std::size_t i = 0; i < b.size(); ++i) b[i] = static_cast<unsigned char>(i * 2654435761u >> 24);
    return b;
  }();
  return bytes;
}

void heap_round_trip(benchmark::State& state, unsigned int threshold_pages) {
  Nym_heap_buffer::set_swap_threshold(threshold_pages);
  Nym_heap_buffer::set_process_swap_threshold(4096);
  const auto& in = source();
  std::vector<unsigned char> out(TOTAL);
  for (auto _ : state) {
    Nym_heap_buffer heap;
    Nym_status status;
    {
      Nym_ostream writer(heap, status);
      for (std::size_t at = 0; at < TOTAL; at += PIECE) writer.write(PIECE, in.data() + at, status);
    }
    Nym_unbuffered_istream reader(heap, false, status);
    for (std::size_t at = 0; at < TOTAL;) {
      const uint64 n = reader.read(PIECE, out.data() + at, status);
      if (n == 0) break;
      at += n;
    }
    benchmark::DoNotOptimize(out.data());
    if (out.back() != in.back()) state.SkipWithError("the bytes came back wrong");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(TOTAL));
  Nym_heap_buffer::set_swap_threshold(256);
}

void BM_heap_buffer_in_memory(benchmark::State& state) { heap_round_trip(state, 1100); }
BENCHMARK(BM_heap_buffer_in_memory)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_heap_buffer_half_spilled(benchmark::State& state) { heap_round_trip(state, 512); }
BENCHMARK(BM_heap_buffer_half_spilled)->Unit(benchmark::kMillisecond)->UseRealTime();

// The peer: the same two copies, into fresh memory and back out.
void BM_memcpy_peer(benchmark::State& state) {
  const auto& in = source();
  std::vector<unsigned char> out(TOTAL);
  for (auto _ : state) {
    auto* middle = static_cast<unsigned char*>(std::malloc(TOTAL));
    for (std::size_t at = 0; at < TOTAL; at += PIECE) std::memcpy(middle + at, in.data() + at, PIECE);
    for (std::size_t at = 0; at < TOTAL; at += PIECE) std::memcpy(out.data() + at, middle + at, PIECE);
    benchmark::DoNotOptimize(out.data());
    std::free(middle);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(TOTAL));
}
BENCHMARK(BM_memcpy_peer)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
