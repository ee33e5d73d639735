// The status success path, an argument, a pushed cause, and number formatting, each beside
// the nearest standard equivalent.
#include <benchmark/benchmark.h>

#include <charconv>
#include <system_error>

#include "nym/status.h"
#include "nym/string_basic.h"

using namespace nym;

static void BM_status_success_path(benchmark::State& state) {
  for (auto _ : state) {
    Nym_status status;
    benchmark::DoNotOptimize(status);
    benchmark::DoNotOptimize(status.ok());
  }
}
BENCHMARK(BM_status_success_path);

static void BM_error_code_success_path(benchmark::State& state) {
  for (auto _ : state) {
    std::error_code code;
    benchmark::DoNotOptimize(code);
    benchmark::DoNotOptimize(!code);
  }
}
BENCHMARK(BM_error_code_success_path);

static void BM_status_one_argument(benchmark::State& state) {
  for (auto _ : state) {
    Nym_status status(0xC2000026, Nym_int_status_arg(42));
    benchmark::DoNotOptimize(status);
  }
}
BENCHMARK(BM_status_one_argument);

// The nearest std equivalent of a code with one value: the code plus a message string
// (std::system_error carries its argument as text).
static void BM_system_error_one_argument(benchmark::State& state) {
  for (auto _ : state) {
    std::system_error error(std::make_error_code(std::errc::no_such_file_or_directory), "42");
    benchmark::DoNotOptimize(error);
  }
}
BENCHMARK(BM_system_error_one_argument);

static void BM_status_push_cause(benchmark::State& state) {
  for (auto _ : state) {
    Nym_status status;
    status = 2;
    status.push(0xC2000026);
    benchmark::DoNotOptimize(status);
  }
}
BENCHMARK(BM_status_push_cause);

// std's way to keep a cause under an outer report: a nested exception object.
static void BM_error_code_with_cause(benchmark::State& state) {
  for (auto _ : state) {
    std::error_code cause(2, std::system_category());
    std::system_error outer(cause, "outer");
    benchmark::DoNotOptimize(outer);
  }
}
BENCHMARK(BM_error_code_with_cause);

static void BM_nym_itow(benchmark::State& state) {
  Wstring out;
  int64 v = 1234567890123;
  for (auto _ : state) {
    nym_itow(v, out, 10, false);
    benchmark::DoNotOptimize(out);
    ++v;
  }
}
BENCHMARK(BM_nym_itow);

static void BM_to_chars_and_widen(benchmark::State& state) {
  Wstring out;
  int64 v = 1234567890123;
  for (auto _ : state) {
    char digits[24];
    const auto r = std::to_chars(digits, digits + sizeof digits, v);
    out.assign(digits, r.ptr);  // widening, unit per byte
    benchmark::DoNotOptimize(out);
    ++v;
  }
}
BENCHMARK(BM_to_chars_and_widen);
