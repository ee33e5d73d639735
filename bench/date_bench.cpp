// Date conversions beside Howard Hinnant's days_from_civil and civil_from_days (the tests'
// civil_days.h). Both sides convert the same 4096 dates spread over the whole legal range; one
// item is one conversion.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "civil_days.h"
#include "nym/date.h"

using namespace nym;
using nym_test::civil_from_days;
using nym_test::days_from_civil;
using nym_test::JULIAN_DAY_OF_1970;

namespace {

struct Civil {
  int year;  // the library's numbering: no year 0
  int month;
  int day;
};

constexpr std::size_t COUNT = 4096;

const std::vector<int>& julian_days() {
  static const std::vector<int> days = [] {
    std::mt19937 random(2208);
    std::uniform_int_distribution<int> pick(Nym_date::MIN_JULIAN_DAY, Nym_date::MAX_JULIAN_DAY);
    std::vector<int> v(COUNT);
    for (int& jd : v) jd = pick(random);
    return v;
  }();
  return days;
}

const std::vector<Civil>& civil_dates() {
  static const std::vector<Civil> dates = [] {
    std::vector<Civil> v;
    for (const int jd : julian_days()) {
      Civil c{};
      Nym_date::calc_calendar_date(jd, c.day, c.month, c.year);
      v.push_back(c);
    }
    return v;
  }();
  return dates;
}

void BM_nym_calc_julian_day(benchmark::State& state) {
  const auto& dates = civil_dates();
  for (auto _ : state) {
    for (const Civil& c : dates) benchmark::DoNotOptimize(Nym_date::calc_julian_day(c.day, c.month, c.year));
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * dates.size()));
}
BENCHMARK(BM_nym_calc_julian_day);

void BM_hinnant_days_from_civil(benchmark::State& state) {
  const auto& dates = civil_dates();
  for (auto _ : state) {
    for (const Civil& c : dates) {
      const long long astronomical = c.year < 0 ? c.year + 1 : c.year;
      benchmark::DoNotOptimize(days_from_civil(astronomical, static_cast<unsigned>(c.month),
                                               static_cast<unsigned>(c.day)) + JULIAN_DAY_OF_1970);
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * dates.size()));
}
BENCHMARK(BM_hinnant_days_from_civil);

void BM_nym_calc_calendar_date(benchmark::State& state) {
  const auto& days = julian_days();
  for (auto _ : state) {
    for (const int jd : days) {
      int d, m, y;
      Nym_date::calc_calendar_date(jd, d, m, y);
      benchmark::DoNotOptimize(d + m + y);
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * days.size()));
}
BENCHMARK(BM_nym_calc_calendar_date);

void BM_hinnant_civil_from_days(benchmark::State& state) {
  const auto& days = julian_days();
  for (auto _ : state) {
    for (const int jd : days) {
      long long y;
      unsigned m, d;
      civil_from_days(jd - JULIAN_DAY_OF_1970, y, m, d);
      const long long year = y <= 0 ? y - 1 : y;  // back to the numbering without a year 0
      benchmark::DoNotOptimize(static_cast<long long>(d + m) + year);
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * days.size()));
}
BENCHMARK(BM_hinnant_civil_from_days);

// Whole objects, as a caller sees them: a date from its parts, then its parts back.
void BM_nym_date_round_trip(benchmark::State& state) {
  const auto& dates = civil_dates();
  for (auto _ : state) {
    for (const Civil& c : dates) {
      const Nym_date date(c.day, c.month, c.year);
      benchmark::DoNotOptimize(date.year());
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * dates.size()));
}
BENCHMARK(BM_nym_date_round_trip);

}  // namespace
