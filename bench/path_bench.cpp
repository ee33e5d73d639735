// Nym_path's simplify and relative_to beside std::filesystem's lexically_normal and
// lexically_relative on the same texts: a typical path (60 units, 6 levels) and a long one
// (4,000 levels). One item is one level, so items per second that stay level from the typical
// to the long path mean linear growth. The texts use slashes, which both sides read as
// separators on every system.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "nym/path.h"

using namespace nym;

namespace {

struct Case {
  Wstring path;
  Wstring base;
  int64 levels;
};

const Case& typical() {
  // 60 units, 6 levels: Program Files, Vendor App, Server, .., config, server-main.ini.
  static const Case c{u"c:/Program Files/Vendor App/Server/../config/server-main.ini",
                      u"c:/Program Files/Vendor App/logs", 6};
  return c;
}

const Case& long_one() {
  static const Case c = [] {
    Case made;
    made.path = u"c:";
    made.base = u"c:";
    // Four levels per round: names, and a ".." that takes one of them back.
    for (int round = 0; round < 1000; ++round) {
      made.path += u"/dir/sub/../name";
      if (round < 900) made.base += u"/dir/name";
    }
    made.path += u"/file.txt";
    made.levels = 4001;
    return made;
  }();
  return c;
}

const Case& pick(const benchmark::State& state) { return state.range(0) == 0 ? typical() : long_one(); }

std::filesystem::path fs_path(const Wstring& text) { return std::filesystem::path(std::u16string(text)); }

void BM_nym_simplify(benchmark::State& state) {
  const Case& c = pick(state);
  for (auto _ : state) {
    Nym_path p;
    p = c.path;
    p.simplify();
    benchmark::DoNotOptimize(p);
  }
  state.SetItemsProcessed(state.iterations() * c.levels);
}

void BM_std_lexically_normal(benchmark::State& state) {
  const Case& c = pick(state);
  for (auto _ : state) {
    std::filesystem::path p = fs_path(c.path).lexically_normal();
    benchmark::DoNotOptimize(p);
  }
  state.SetItemsProcessed(state.iterations() * c.levels);
}

void BM_nym_relative_to(benchmark::State& state) {
  const Case& c = pick(state);
  for (auto _ : state) {
    Nym_path p;
    p = c.path;
    p.relative_to(c.base);
    benchmark::DoNotOptimize(p);
  }
  state.SetItemsProcessed(state.iterations() * c.levels);
}

void BM_std_lexically_relative(benchmark::State& state) {
  const Case& c = pick(state);
  for (auto _ : state) {
    std::filesystem::path p = fs_path(c.path).lexically_normal().lexically_relative(fs_path(c.base));
    benchmark::DoNotOptimize(p);
  }
  state.SetItemsProcessed(state.iterations() * c.levels);
}

// 0: typical, 1: long.
BENCHMARK(BM_nym_simplify)->Arg(0)->Arg(1);
BENCHMARK(BM_std_lexically_normal)->Arg(0)->Arg(1);
BENCHMARK(BM_nym_relative_to)->Arg(0)->Arg(1);
BENCHMARK(BM_std_lexically_relative)->Arg(0)->Arg(1);

}  // namespace
