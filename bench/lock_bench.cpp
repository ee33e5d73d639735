// The lowest locks beside the system's and the standard's: an uncontended lock and unlock,
// and the same under contention of two threads.
#include <benchmark/benchmark.h>

#include <mutex>
#include <shared_mutex>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "nym/critical.h"
#include "nym/latch.h"

using namespace nym;

namespace {

Nym_critical g_critical;
Nym_latch g_latch;
std::mutex g_mutex;
long long g_counter = 0;

}  // namespace

static void BM_nym_critical(benchmark::State& state) {
  for (auto _ : state) {
    g_critical.lock();
    benchmark::DoNotOptimize(++g_counter);
    g_critical.unlock();
  }
}
BENCHMARK(BM_nym_critical)->Threads(1)->Threads(2);

static void BM_nym_latch(benchmark::State& state) {
  for (auto _ : state) {
    g_latch.lock();
    benchmark::DoNotOptimize(++g_counter);
    g_latch.unlock();
  }
}
BENCHMARK(BM_nym_latch)->Threads(1)->Threads(2);

static void BM_std_mutex(benchmark::State& state) {
  for (auto _ : state) {
    g_mutex.lock();
    benchmark::DoNotOptimize(++g_counter);
    g_mutex.unlock();
  }
}
BENCHMARK(BM_std_mutex)->Threads(1)->Threads(2);

#if defined(_WIN32)
namespace {

CRITICAL_SECTION* section() {
  static CRITICAL_SECTION* s = [] {
    auto* cs = new CRITICAL_SECTION;
    InitializeCriticalSectionAndSpinCount(cs, 0x80000400u);
    return cs;
  }();
  return s;
}

SRWLOCK g_srw = SRWLOCK_INIT;

}  // namespace

static void BM_critical_section(benchmark::State& state) {
  CRITICAL_SECTION* cs = section();
  for (auto _ : state) {
    EnterCriticalSection(cs);
    benchmark::DoNotOptimize(++g_counter);
    LeaveCriticalSection(cs);
  }
}
BENCHMARK(BM_critical_section)->Threads(1)->Threads(2);

static void BM_srwlock_exclusive(benchmark::State& state) {
  for (auto _ : state) {
    AcquireSRWLockExclusive(&g_srw);
    benchmark::DoNotOptimize(++g_counter);
    ReleaseSRWLockExclusive(&g_srw);
  }
}
BENCHMARK(BM_srwlock_exclusive)->Threads(1)->Threads(2);
#endif
