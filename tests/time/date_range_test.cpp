// Every day of the legal range, both ways, against two independent computations: Howard
// Hinnant's days_from_civil on astronomical years (civil_days.h), and a day-by-day walk of the
// calendar written here.
#include <gtest/gtest.h>

#include <string>

#include "civil_days.h"
#include "nym/date.h"

using namespace nym;
using namespace nym_test;

namespace {

bool astronomical_leap(long long y) { return y % 4 == 0 && (y % 100 != 0 || y % 400 == 0); }

}  // namespace

TEST(DateRangeTest, EveryLegalDayConvertsBothWaysAndAgrees) {
  const unsigned lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  long long expected_julian = 38;  // the walk's own count, from 1 January -4713
  long long checked = 0;
  int failures = 0;
  auto fail = [&](const std::string& what) {
    if (++failures <= 10) ADD_FAILURE() << what;
  };
  for (int year = -4713; year <= 32766; ++year) {
    if (year == 0) continue;  // 1 BC is followed by 1 AD
    const long long astronomical = year < 0 ? year + 1 : year;
    const bool leap = astronomical_leap(astronomical);
    if (Nym_date::is_leap_year(year) != leap) fail("leap year " + std::to_string(year));
    for (unsigned month = 1; month <= 12; ++month) {
      const unsigned length = lengths[month - 1] + (month == 2 && leap ? 1 : 0);
      for (unsigned day = 1; day <= length; ++day, ++expected_julian, ++checked) {
        const long long hinnant = days_from_civil(astronomical, month, day) + JULIAN_DAY_OF_1970;
        const int di = static_cast<int>(day);
        const int mi = static_cast<int>(month);
        if (hinnant != expected_julian) {
          fail("the independent computations disagree at " + std::to_string(year) + "-" + std::to_string(month));
          continue;
        }
        const int julian = Nym_date::calc_julian_day(di, mi, year);
        if (julian != expected_julian) {
          fail("calc_julian_day(" + std::to_string(day) + ", " + std::to_string(month) + ", " + std::to_string(year) +
               ") = " + std::to_string(julian) + ", want " + std::to_string(expected_julian));
          continue;
        }
        int d = 0, m = 0, y = 0;
        Nym_date::calc_calendar_date(julian, d, m, y);
        if (d != di || m != mi || y != year) {
          fail("calc_calendar_date(" + std::to_string(julian) + ") = " + std::to_string(d) + "/" + std::to_string(m) +
               "/" + std::to_string(y));
          continue;
        }
        const Nym_date date(julian);
        const unsigned want_weekday = weekday_from_days(hinnant - JULIAN_DAY_OF_1970) + 1;
        if (static_cast<unsigned>(date.weekday()) != want_weekday) fail("weekday of " + std::to_string(julian));
      }
    }
  }
  EXPECT_EQ(expected_julian - 1, 13688960) << "the walk ends on the last legal day";
  EXPECT_EQ(checked, 13688960 - 38 + 1);
  EXPECT_EQ(failures, 0);
}

TEST(DateRangeTest, DayOfYearAndFieldAccessAgreeAcrossYearEnds) {
  // Sampled: the per-field accessors each redo the whole computation.
  for (int year = -4713; year <= 32766; year += 97) {
    if (year == 0) continue;
    const long long astronomical = year < 0 ? year + 1 : year;
    const int last = Nym_date::calc_julian_day(31, 12, year);
    const Nym_date end(last);
    EXPECT_EQ(end.day_of_year(), astronomical_leap(astronomical) ? 366 : 365) << year;
    EXPECT_EQ(end.year(), year);
    if (last < Nym_date::MAX_JULIAN_DAY) {
      const Nym_date next(last + 1);
      EXPECT_EQ(next.day_of_year(), 1);
      EXPECT_EQ(next.year(), year == -1 ? 1 : year + 1);
      EXPECT_EQ(next.month(), 1);
      EXPECT_EQ(next.day(), 1);
    }
  }
}
