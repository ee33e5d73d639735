// Judging the encoding of 1 MiB of text: nym_detect_encoding beside the two exact detectors it
// stands next to (nym_is_utf8, then nym_is_utf16 as `nym detect` used them), and memchr for a
// NUL as the floor of one pass. Throughput is in input bytes.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "nym/encoding_detect.h"
#include "nym/raw_memory_buffer.h"
#include "nym/utf.h"
#include "nym/utf_detect.h"

using namespace nym;

namespace {

// Prose of Latin letters with accents, as UTF-8 (kind 0) or UTF-16LE (kind 1).
const std::string& sample(int kind) {
  static std::string texts[2];
  std::string& text = texts[kind];
  if (text.empty()) {
    std::string utf8;
    while (utf8.size() < (1 << 20) / (kind + 1)) utf8 += "Zw\xC3\xB6lf Boxk\xC3\xA4mpfer jagen Viktor quer \xC3\xBC" "ber den Deich. ";
    if (kind == 0) return text = utf8;
    Wstring wide;
    nym_utf8_to_utf16(utf8.c_str(), wide);
    text.assign(reinterpret_cast<const char*>(wide.data()), wide.size() * 2);
  }
  return text;
}

void BM_detect_encoding(benchmark::State& state) {
  const std::string& text = sample(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(nym_detect_encoding(text.data(), text.size()));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_exact_detectors(benchmark::State& state) {
  const std::string& text = sample(static_cast<int>(state.range(0)));
  const Nym_raw_memory_buffer buffer(static_cast<int64>(text.size()), reinterpret_cast<const unsigned char*>(text.data()),
                                     Nym_raw_memory_buffer::KEEP_MEMORY);
  for (auto _ : state) {
    Nym_status status;
    unsigned char flags = 0;
    bool ascii = false;
    if (!nym_is_utf8(&buffer, flags, ascii, status)) benchmark::DoNotOptimize(nym_is_utf16(&buffer, 1, flags, status));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void BM_memchr_floor(benchmark::State& state) {
  const std::string& text = sample(static_cast<int>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(std::memchr(text.data(), 1, text.size()));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

}  // namespace

// Argument 0: UTF-8 prose; 1: the same prose in UTF-16LE.
BENCHMARK(BM_detect_encoding)->Arg(0)->Arg(1);
BENCHMARK(BM_exact_detectors)->Arg(0)->Arg(1);
BENCHMARK(BM_memchr_floor)->Arg(0)->Arg(1);
