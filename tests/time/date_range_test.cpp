// Every day of the legal range, both ways, against two independent computations: Howard
// Hinnant's days_from_civil on astronomical years (civil_days.h), and a day-by-day walk of the
// calendar written here.
#include <gtest/gtest.h>

#include <string>

#include "civil_days.h"
#include "nym/date.h"

using namespace nym;
using namespace nym_test;

TEST(DateRangeTest, EveryLegalDayConvertsBothWaysAndAgrees) {
  const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  long long julian = 38;  // the walk's own count, from 1 January -4713
  int failures = 0;
  auto check = [&](bool ok, int day, int month, int year, const char* what) {
    if (!ok && ++failures <= 10) ADD_FAILURE() << what << " at " << day << "/" << month << "/" << year;
    return ok;
  };
  for (int year = -4713; year <= 32766; ++year) {
    if (year == 0) continue;  // 1 BC is followed by 1 AD
    const long long astronomical = year < 0 ? year + 1 : year;
    const bool leap = astronomical % 4 == 0 && (astronomical % 100 != 0 || astronomical % 400 == 0);
    check(Nym_date::is_leap_year(year) == leap, 0, 0, year, "leap year");
    int day_of_year = 0;
    for (int month = 1; month <= 12; ++month) {
      const int length = lengths[month - 1] + (month == 2 && leap ? 1 : 0);
      for (int day = 1; day <= length; ++day, ++julian) {
        ++day_of_year;
        const long long civil = days_from_civil(astronomical, static_cast<unsigned>(month), static_cast<unsigned>(day));
        if (!check(civil + JULIAN_DAY_OF_1970 == julian, day, month, year, "the independent computations disagree") ||
            !check(Nym_date::calc_julian_day(day, month, year) == julian, day, month, year, "calc_julian_day")) {
          continue;
        }
        int d = 0, m = 0, y = 0;
        Nym_date::calc_calendar_date(static_cast<int>(julian), d, m, y);
        if (!check(d == day && m == month && y == year, day, month, year, "calc_calendar_date")) continue;
        const Nym_date date(static_cast<int>(julian));
        check(static_cast<unsigned>(date.weekday()) == weekday_from_days(civil) + 1, day, month, year, "weekday");
        // The per-field accessors each redo the whole computation: sampled, and every year end.
        if (julian % 97 == 0 || (month == 12 && day == 31) || day_of_year == 1) {
          check(date.day_of_year() == day_of_year && date.year() == year && date.month() == month && date.day() == day,
                day, month, year, "the fields");
        }
      }
    }
    check(day_of_year == (leap ? 366 : 365), 0, 0, year, "the year's length");
  }
  EXPECT_EQ(julian - 1, +Nym_date::MAX_JULIAN_DAY) << "the walk ends on the last legal day";
  EXPECT_EQ(failures, 0);
}
