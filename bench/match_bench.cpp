// nym_string_match beside the recursive rule it replaced (kept in tests/support, not in the
// library): ordinary masks over typical file names, and a*a*a*a*a*a*a*b against runs of a's.
// One item is one unit of text, so items per second that stay level as the run grows mean
// linear cost; the recursive rule's cost grows with the seventh power of the run.
#include <benchmark/benchmark.h>

#include "nym/string_match.h"
#include "recursive_match.h"
#include "text/wildcard.h"

using namespace nym;

namespace {

bool recursive_match(const Wchar* text, const Wchar* pattern) {
  return nym_test::recursive_match(text, text, pattern, impl::No_fold());
}

const Wstring NAMES[] = {u"readme.txt", u"server-main.ini", u"abc.log", u"a1c-report-2024.txt",
                         u"Program Files", u"notes.txt.bak", u"aXcY", u"data.bin"};
const char16_t* const MASKS[] = {u"*.txt", u"a?c*"};

template <bool Nym>
void ordinary(benchmark::State& state) {
  const char16_t* mask = MASKS[state.range(0)];
  int64 units = 0;
  for (const Wstring& name : NAMES) units += static_cast<int64>(name.size());
  for (auto _ : state) {
    for (const Wstring& name : NAMES) {
      benchmark::DoNotOptimize(Nym ? nym_string_match(name.c_str(), mask)
                                   : recursive_match(name.c_str(), mask));
    }
  }
  state.SetItemsProcessed(state.iterations() * units);
}

template <bool Nym>
void adversarial(benchmark::State& state) {
  const Wstring text(static_cast<std::size_t>(state.range(0)), u'a');
  const char16_t* pattern = u"a*a*a*a*a*a*a*b";
  for (auto _ : state) {
    benchmark::DoNotOptimize(Nym ? nym_string_match(text.c_str(), pattern)
                                 : recursive_match(text.c_str(), pattern));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_nym_match_mask(benchmark::State& state) { ordinary<true>(state); }
void BM_recursive_match_mask(benchmark::State& state) { ordinary<false>(state); }
void BM_nym_match_adversarial(benchmark::State& state) { adversarial<true>(state); }
void BM_recursive_match_adversarial(benchmark::State& state) { adversarial<false>(state); }

}  // namespace

BENCHMARK(BM_nym_match_mask)->Arg(0)->Arg(1);
BENCHMARK(BM_recursive_match_mask)->Arg(0)->Arg(1);
BENCHMARK(BM_nym_match_adversarial)->Arg(25)->Arg(200)->Arg(2000)->Arg(20000);
BENCHMARK(BM_recursive_match_adversarial)->Arg(15)->Arg(25)->Arg(35);
