// The lowest locks beside the system's and the standard's: an uncontended lock and unlock, and
// the same under contention of two and four threads. Every lock and the counter it guards
// sit on cache lines of their own, so that no lock pays for a neighbour's traffic; the
// "_beside_counter" pair puts the lock on the counter's line, the layout a lock inside the
// object it guards has. Nym_critical::lock is one jump to EnterCriticalSection. Contended, a
// section has two regimes (the thread that leaves takes it again at once, about 5 ns, or each
// entry hands the line over, about 30 ns under Wine), and which one a run meets depends on
// what ran before it in the process, not on the class: compare two sections with
// --benchmark_filter, each in a process of its own.
#include <benchmark/benchmark.h>

#include <mutex>
#include <new>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "nym/critical.h"
#include "nym/latch.h"

using namespace nym;

namespace {

template <class T>
struct alignas(64) Line {
  T value;
};

Line<Nym_critical> g_critical;
Line<Nym_latch> g_latch;
Line<std::mutex> g_mutex;
Line<long long> g_counter{0};

// A lock and the counter it guards on one line.
template <class Lock>
struct alignas(64) Beside {
  Lock lock;
  long long counter = 0;
};

template <class Lock>
void run(benchmark::State& state, Lock& lock, long long& counter) {
  for (auto _ : state) {
    lock.lock();
    benchmark::DoNotOptimize(++counter);
    lock.unlock();
  }
}

}  // namespace

static void BM_nym_critical(benchmark::State& state) { run(state, g_critical.value, g_counter.value); }
BENCHMARK(BM_nym_critical)->Threads(1)->Threads(2)->Threads(4);

static void BM_nym_latch(benchmark::State& state) { run(state, g_latch.value, g_counter.value); }
BENCHMARK(BM_nym_latch)->Threads(1)->Threads(2)->Threads(4);

static void BM_std_mutex(benchmark::State& state) { run(state, g_mutex.value, g_counter.value); }
BENCHMARK(BM_std_mutex)->Threads(1)->Threads(2)->Threads(4);

static void BM_nym_critical_beside_counter(benchmark::State& state) {
  static Beside<Nym_critical> guarded;
  run(state, guarded.lock, guarded.counter);
}
BENCHMARK(BM_nym_critical_beside_counter)->Threads(1)->Threads(2)->Threads(4);

#if defined(_WIN32)
namespace {

// The system's section with the library's spin count, as Nym_critical makes it.
struct Section {
  Section() { InitializeCriticalSectionAndSpinCount(&section, 0x80000400u); }
  void lock() { EnterCriticalSection(&section); }
  void unlock() { LeaveCriticalSection(&section); }
  CRITICAL_SECTION section;
};

struct Srw_exclusive {
  void lock() { AcquireSRWLockExclusive(&srw); }
  void unlock() { ReleaseSRWLockExclusive(&srw); }
  SRWLOCK srw = SRWLOCK_INIT;
};

Line<Section> g_section;
Line<Srw_exclusive> g_srw;

}  // namespace

static void BM_critical_section(benchmark::State& state) { run(state, g_section.value, g_counter.value); }
BENCHMARK(BM_critical_section)->Threads(1)->Threads(2)->Threads(4);

static void BM_critical_section_beside_counter(benchmark::State& state) {
  static Beside<Section> guarded;
  run(state, guarded.lock, guarded.counter);
}
BENCHMARK(BM_critical_section_beside_counter)->Threads(1)->Threads(2)->Threads(4);

static void BM_srwlock_exclusive(benchmark::State& state) { run(state, g_srw.value, g_counter.value); }
BENCHMARK(BM_srwlock_exclusive)->Threads(1)->Threads(2)->Threads(4);
#endif
