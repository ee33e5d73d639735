// Every day of the legal range, both ways, against Howard Hinnant's civil_from_days on
// astronomical years (civil_days.h), and every year's length against the Gregorian rule.
#include <gtest/gtest.h>

#include "civil_days.h"
#include "nym/date.h"

using namespace nym;
using namespace nym_test;

TEST(DateRangeTest, EveryLegalDayConvertsBothWaysAndAgrees) {
  int failures = 0;
  const auto check = [&](bool ok, int julian, const char* what) {
    if (!ok && ++failures <= 10) ADD_FAILURE() << what << " at Julian day " << julian;
  };
  int day_of_year = 0;
  for (int julian = Nym_date::min_date().julian_day(); julian <= Nym_date::MAX_JULIAN_DAY; ++julian) {
    const long long days = julian - JULIAN_DAY_OF_1970;
    long long astronomical = 0;
    unsigned month = 0, day = 0;
    civil_from_days(days, astronomical, month, day);
    const int year = static_cast<int>(astronomical <= 0 ? astronomical - 1 : astronomical);  // 1 BC is year 0
    day_of_year = month == 1 && day == 1 ? 1 : day_of_year + 1;
    int d = 0, m = 0, y = 0;
    Nym_date::calc_calendar_date(julian, d, m, y);
    check(d == static_cast<int>(day) && m == static_cast<int>(month) && y == year, julian, "calc_calendar_date");
    check(Nym_date::calc_julian_day(d, m, y) == julian, julian, "calc_julian_day");
    const Nym_date date(julian);
    check(static_cast<unsigned>(date.weekday()) == weekday_from_days(days) + 1, julian, "weekday");
    // The per-field accessors each redo the whole computation: sampled, and every year's ends.
    if (julian % 97 == 0 || day_of_year == 1 || (month == 12 && day == 31)) {
      check(date.day_of_year() == day_of_year && date.year() == y && date.month() == m && date.day() == d, julian,
            "the fields");
    }
    if (month == 12 && day == 31) {
      const bool leap = astronomical % 4 == 0 && (astronomical % 100 != 0 || astronomical % 400 == 0);
      check(Nym_date::is_leap_year(year) == leap && day_of_year == (leap ? 366 : 365), julian, "the year's length");
    }
  }
  EXPECT_EQ(day_of_year, 365) << "the range ends on a year's last day";
  EXPECT_EQ(failures, 0);
}
