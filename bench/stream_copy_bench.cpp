// nym_copy_stream between two memory stores (a raw memory buffer read through an unbuffered
// stream, into a string buffer of the same size written in place) beside a plain memcpy of
// the same bytes. The raw store hands its bytes to the copy in place, so what is left is a lock
// and a status per 64 KiB block.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "nym/raw_memory_buffer.h"
#include "nym/stream_helpers.h"
#include "nym/string_buffer.h"

using namespace nym;

namespace {

std::vector<unsigned char> source_bytes(std::size_t size) {
  std::vector<unsigned char> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 131 + (i >> 8));
  return bytes;
}

void BM_nym_copy_stream(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const std::vector<unsigned char> bytes = source_bytes(size);
  Nym_raw_memory_buffer from(static_cast<int64>(size), bytes.data(), Nym_raw_memory_buffer::KEEP_MEMORY);
  Nstring target(size, '\0');  // written in place: the copy, not the growth of a string
  Nym_string_buffer to(target, true);
  Nym_status status;
  Nym_unbuffered_istream in(from, false, status);
  Nym_ostream out(to, status);
  for (auto _ : state) {
    in.seek(int64{0});
    out.seek(int64{0});
    nym_copy_stream(in, out, status);
    benchmark::DoNotOptimize(target.data());
  }
  if (status.is_error() || std::memcmp(target.data(), bytes.data(), size) != 0) state.SkipWithError("copy failed");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

void BM_memcpy(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const std::vector<unsigned char> bytes = source_bytes(size);
  Nstring target(size, '\0');  // the same source and target memory as the library's copy
  for (auto _ : state) {
    std::memcpy(&target[0], bytes.data(), size);
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

// The same, with the target placed half a page away from the source's page offset: some
// processors copy slowly when source and target lie at nearly the same offset in their pages,
// and the library's copy, through its own block, never meets that case.
void BM_memcpy_half_page_apart(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const std::vector<unsigned char> bytes = source_bytes(size);
  std::vector<unsigned char> room(size + 8192);
  const auto source_offset = reinterpret_cast<std::uintptr_t>(bytes.data()) % 4096;
  const auto room_offset = reinterpret_cast<std::uintptr_t>(room.data()) % 4096;
  unsigned char* target = room.data() + (source_offset + 2048 + 4096 - room_offset) % 4096;
  for (auto _ : state) {
    std::memcpy(target, bytes.data(), size);
    benchmark::DoNotOptimize(target);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

}  // namespace

BENCHMARK(BM_nym_copy_stream)->Arg(4 << 10)->Arg(64 << 10)->Arg(1 << 20)->Arg(16 << 20);
BENCHMARK(BM_memcpy)->Arg(4 << 10)->Arg(64 << 10)->Arg(1 << 20)->Arg(16 << 20);
BENCHMARK(BM_memcpy_half_page_apart)->Arg(4 << 10)->Arg(64 << 10)->Arg(1 << 20)->Arg(16 << 20);
