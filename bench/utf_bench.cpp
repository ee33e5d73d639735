// UTF-8 <-> UTF-16 conversion of 1 MiB of text of five kinds, beside ICU's u_strFromUTF8 /
// u_strToUTF8, the Windows calls (Windows build), and memcpy of the same input as the ceiling.
// Throughput is in input bytes; of_memcpy is each conversion's throughput as a fraction of
// memcpy of the same input, measured in the same run just before.
#include <benchmark/benchmark.h>

#include <unicode/ustring.h>

#include <chrono>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "nym/utf.h"

using namespace nym;

namespace {

constexpr std::size_t TEXT_BYTES = 1 << 20;

enum Kind { ASCII, LATIN, CYRILLIC, CJK, EMOJI };

const std::vector<const char*>& words(Kind kind) {
  static const std::vector<const char*> ascii = {"the", "server", "reads", "a", "profile", "line", "and",
                                                 "writes", "status", "of", "each", "request", "to", "log"};
  static const std::vector<const char*> latin = {"le", "caf\xC3\xA9", "na\xC3\xAFve", "und", "M\xC3\xBCller",
                                                 "stra\xC3\x9F" "e", "se\xC3\xB1or", "fa\xC3\xA7" "ade",
                                                 "the", "file", "was", "read", "by", "a", "client"};
  static const std::vector<const char*> cyrillic = {"\xD1\x84\xD0\xB0\xD0\xB9\xD0\xBB",
                                                    "\xD1\x81\xD0\xB5\xD1\x80\xD0\xB2\xD0\xB5\xD1\x80",
                                                    "\xD0\xB8", "\xD1\x81\xD1\x82\xD0\xB0\xD1\x82\xD1\x83\xD1\x81",
                                                    "\xD0\xBF\xD1\x80\xD0\xBE\xD1\x86\xD0\xB5\xD1\x81\xD1\x81"};
  static const std::vector<const char*> cjk = {"\xE6\x96\x87\xE4\xBB\xB6", "\xE6\x9C\x8D\xE5\x8A\xA1\xE5\x99\xA8",
                                               "\xE7\x8A\xB6\xE6\x80\x81", "\xE8\xAF\xBB\xE5\x8F\x96",
                                               "\xE3\x80\x82", "\xE7\x9A\x84"};
  static const std::vector<const char*> emoji = {"\xF0\x9F\x98\x80", "\xF0\x9F\x9A\x80", "\xF0\x9F\x8E\x89",
                                                 "\xF0\x9F\x91\x8D\xF0\x9F\x91\x8D", "ok"};
  switch (kind) {
    case ASCII: return ascii;
    case LATIN: return latin;
    case CYRILLIC: return cyrillic;
    case CJK: return cjk;
    default: return emoji;
  }
}

// Words and separators chosen at random, cut at a character boundary below 1 MiB.
const std::string& utf8_text(Kind kind) {
  static std::string texts[5];
  std::string& text = texts[kind];
  if (text.empty()) {
    std::mt19937 rng(17 + kind);
    const auto& list = words(kind);
    while (text.size() < TEXT_BYTES - 32) {
      text += list[rng() % list.size()];
      text += kind == CJK ? "" : " ";
    }
  }
  return text;
}

const Wstring& utf16_text(Kind kind) {
  static Wstring texts[5];
  Wstring& text = texts[kind];
  if (text.empty()) nym_utf8_to_utf16(utf8_text(kind).c_str(), text);
  return text;
}

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Bytes a second that memcpy copies of these bytes, over a tenth of a second (once per input).
double memcpy_rate(const void* in, std::size_t bytes) {
  static std::map<const void*, double> rates;
  double& rate = rates[in];
  if (rate == 0) {
    std::vector<char> out(bytes);
    std::size_t copies = 0;
    const Clock::time_point start = Clock::now();
    do {
      std::memcpy(out.data(), in, bytes);
      benchmark::DoNotOptimize(out.data());
      benchmark::ClobberMemory();
      ++copies;
    } while (seconds_since(start) < 0.1);
    rate = static_cast<double>(copies * bytes) / seconds_since(start);
  }
  return rate;
}

// Runs `convert` over `bytes` of input at `in` and reports its throughput, also as a fraction of
// memcpy's.
template <class Convert>
void run(benchmark::State& state, const void* in, std::size_t bytes, Convert convert) {
  const double ceiling = memcpy_rate(in, bytes);
  const Clock::time_point start = Clock::now();
  for (auto _ : state) convert();
  const double rate = static_cast<double>(state.iterations() * bytes) / seconds_since(start);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
  state.counters["of_memcpy"] = rate / ceiling;
}

void nym_8_to_16(benchmark::State& state, Kind kind) {
  const std::string& in = utf8_text(kind);
  Wstring out;
  run(state, in.data(), in.size(), [&] {
    nym_utf8_to_utf16(in.c_str(), out);
    benchmark::DoNotOptimize(out.data());
  });
}

void icu_8_to_16(benchmark::State& state, Kind kind) {
  const std::string& in = utf8_text(kind);
  std::vector<UChar> out(in.size() + 1);
  run(state, in.data(), in.size(), [&] {
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(out.data(), static_cast<int32_t>(out.size()), &length, in.c_str(),
                  static_cast<int32_t>(in.size()), &error);
    benchmark::DoNotOptimize(out.data());
    if (U_FAILURE(error)) state.SkipWithError("u_strFromUTF8 failed");
  });
}

void nym_16_to_8(benchmark::State& state, Kind kind) {
  const Wstring& in = utf16_text(kind);
  Nstring out;
  run(state, in.data(), in.size() * 2, [&] {
    nym_utf16_to_utf8(in.c_str(), out);
    benchmark::DoNotOptimize(out.data());
  });
}

void icu_16_to_8(benchmark::State& state, Kind kind) {
  const Wstring& in = utf16_text(kind);
  std::vector<char> out(in.size() * 3 + 1);
  run(state, in.data(), in.size() * 2, [&] {
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length, in.c_str(), static_cast<int32_t>(in.size()),
                &error);
    benchmark::DoNotOptimize(out.data());
    if (U_FAILURE(error)) state.SkipWithError("u_strToUTF8 failed");
  });
}

#if defined(_WIN32)
void win_8_to_16(benchmark::State& state, Kind kind) {
  const std::string& in = utf8_text(kind);
  std::vector<wchar_t> out(in.size() + 1);
  run(state, in.data(), in.size(), [&] {
    const int n = MultiByteToWideChar(CP_UTF8, 0, in.data(), static_cast<int>(in.size()), out.data(),
                                      static_cast<int>(out.size()));
    benchmark::DoNotOptimize(n);
    if (n == 0) state.SkipWithError("MultiByteToWideChar failed");
  });
}

void win_16_to_8(benchmark::State& state, Kind kind) {
  const Wstring& in = utf16_text(kind);
  std::vector<char> out(in.size() * 3 + 1);
  run(state, in.data(), in.size() * 2, [&] {
    const int n = WideCharToMultiByte(CP_UTF8, 0, reinterpret_cast<const wchar_t*>(in.data()),
                                      static_cast<int>(in.size()), out.data(), static_cast<int>(out.size()),
                                      nullptr, nullptr);
    benchmark::DoNotOptimize(n);
    if (n == 0) state.SkipWithError("WideCharToMultiByte failed");
  });
}
#endif

// The ceiling: copying the input's bytes.
void memcpy_8(benchmark::State& state, Kind kind) {
  const std::string& in = utf8_text(kind);
  std::vector<char> out(in.size());
  for (auto _ : state) {
    std::memcpy(out.data(), in.data(), in.size());
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.size()));
}

void memcpy_16(benchmark::State& state, Kind kind) {
  const Wstring& in = utf16_text(kind);
  std::vector<Wchar> out(in.size());
  for (auto _ : state) {
    std::memcpy(out.data(), in.data(), in.size() * 2);
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * in.size() * 2));
}

#define NYM_UTF_BENCH(fn)                                      \
  BENCHMARK_CAPTURE(fn, ascii, ASCII)->Unit(benchmark::kMicrosecond);       \
  BENCHMARK_CAPTURE(fn, latin, LATIN)->Unit(benchmark::kMicrosecond);       \
  BENCHMARK_CAPTURE(fn, cyrillic, CYRILLIC)->Unit(benchmark::kMicrosecond); \
  BENCHMARK_CAPTURE(fn, cjk, CJK)->Unit(benchmark::kMicrosecond);           \
  BENCHMARK_CAPTURE(fn, emoji, EMOJI)->Unit(benchmark::kMicrosecond)

NYM_UTF_BENCH(nym_8_to_16);
NYM_UTF_BENCH(icu_8_to_16);
NYM_UTF_BENCH(memcpy_8);
NYM_UTF_BENCH(nym_16_to_8);
NYM_UTF_BENCH(icu_16_to_8);
NYM_UTF_BENCH(memcpy_16);
#if defined(_WIN32)
NYM_UTF_BENCH(win_8_to_16);
NYM_UTF_BENCH(win_16_to_8);
#endif

}  // namespace
