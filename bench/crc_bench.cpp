// CRC-32 and CRC-64 over one block of 4 KiB, 64 KiB and 16 MiB: the library with the method it
// chooses and with each method forced, beside zlib's crc32 and libdeflate's libdeflate_crc32
// where the build has them (the host build: scripts/bench.sh --host crc). Every run checks
// that the peers and the library agree.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "nym/crc.h"
#if defined(NYM_BENCH_ZLIB)
#include <zlib.h>
#endif
#if defined(NYM_BENCH_LIBDEFLATE)
#include <libdeflate.h>
#endif

using namespace nym;

namespace {

const std::vector<unsigned char>& data(std::size_t size) {
  static std::vector<unsigned char> bytes;
  if (bytes.size() < size) {
    bytes.resize(size);
    std::uint64_t x = 0x9E3779B97F4A7C15u;
    for (auto& b : bytes) {
      x ^= x << 13, x ^= x >> 7, x ^= x << 17;
      b = static_cast<unsigned char>(x);
    }
  }
  return bytes;
}

template <class F>
void run(benchmark::State& state, F crc) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const unsigned char* p = data(size).data();
  for (auto _ : state) benchmark::DoNotOptimize(crc(p, size));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

// The library with `method` forced, when the processor has it.
template <class F>
void run_method(benchmark::State& state, impl::Nym_crc_method method, F crc) {
  if (!impl::nym_crc_method_available(method)) {
    state.SkipWithError("not on this processor");
    return;
  }
  const impl::Nym_crc_method old = impl::nym_set_crc_method(method);
  run(state, crc);
  impl::nym_set_crc_method(old);
}

std::uint32_t nym32(const unsigned char* p, std::size_t n) { return Nym_crc32::calculate(p, n); }
std::uint64_t nym64(const unsigned char* p, std::size_t n) { return Nym_crc64::calculate(p, n); }

void BM_nym_crc32(benchmark::State& state) { run(state, nym32); }
void BM_nym_crc32_avx512(benchmark::State& state) { run_method(state, impl::NYM_CRC_CLMUL_AVX512, nym32); }
void BM_nym_crc32_clmul(benchmark::State& state) { run_method(state, impl::NYM_CRC_CLMUL, nym32); }
void BM_nym_crc32_table(benchmark::State& state) { run_method(state, impl::NYM_CRC_TABLE, nym32); }
void BM_nym_crc64(benchmark::State& state) { run(state, nym64); }
void BM_nym_crc64_avx512(benchmark::State& state) { run_method(state, impl::NYM_CRC_CLMUL_AVX512, nym64); }
void BM_nym_crc64_clmul(benchmark::State& state) { run_method(state, impl::NYM_CRC_CLMUL, nym64); }

#define NYM_CRC_SIZES ->Arg(4 << 10)->Arg(64 << 10)->Arg(16 << 20)
BENCHMARK(BM_nym_crc32) NYM_CRC_SIZES;
BENCHMARK(BM_nym_crc32_avx512) NYM_CRC_SIZES;
BENCHMARK(BM_nym_crc32_clmul) NYM_CRC_SIZES;
BENCHMARK(BM_nym_crc32_table)->Arg(4 << 10)->Arg(64 << 10);
BENCHMARK(BM_nym_crc64) NYM_CRC_SIZES;
BENCHMARK(BM_nym_crc64_avx512) NYM_CRC_SIZES;
BENCHMARK(BM_nym_crc64_clmul) NYM_CRC_SIZES;

#if defined(NYM_BENCH_ZLIB)
void BM_zlib_crc32(benchmark::State& state) {
  const unsigned char* p = data(4096).data();
  if (crc32(0, p, 4096) != nym32(p, 4096)) state.SkipWithError("zlib disagrees");
  run(state, [](const unsigned char* b, std::size_t n) { return crc32(0, b, static_cast<uInt>(n)); });
}
BENCHMARK(BM_zlib_crc32) NYM_CRC_SIZES;
#endif

#if defined(NYM_BENCH_LIBDEFLATE)
void BM_libdeflate_crc32(benchmark::State& state) {
  const unsigned char* p = data(4096).data();
  if (libdeflate_crc32(0, p, 4096) != nym32(p, 4096)) state.SkipWithError("libdeflate disagrees");
  run(state, [](const unsigned char* b, std::size_t n) { return libdeflate_crc32(0, b, n); });
}
BENCHMARK(BM_libdeflate_crc32) NYM_CRC_SIZES;
#endif

}  // namespace
