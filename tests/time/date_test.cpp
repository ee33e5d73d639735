#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>

#include "nym/date.h"
#include "nym/string_basic.h"

#include "test_helpers.h"

using namespace nym;

namespace {

using P = Nym_time_period;

using nym_test::what_of;

using nym_test::text;

void expect_calendar(const Nym_date& d, int day, int month, int year) {
  EXPECT_EQ(d.day(), day);
  EXPECT_EQ(d.month(), month);
  EXPECT_EQ(d.year(), year);
}

P days(int n) { return P(n, 0, 0, 0, 0); }

const char* const BAD_JULIAN = "Invalid Julian day.";
const char* const BAD_DATE = "Invalid day, month, year.";

}  // namespace

TEST(DateTest, KnownJulianDays) {
  struct Case {
    int day, month, year, julian, weekday;
  } const cases[] = {
      {1, 1, -4713, 38, 5},          {31, 12, 32766, 13688960, 7},   {1, 1, 1970, 2440588, 5},
      {1, 1, 1, 1721426, 2},         {31, 12, -1, 1721425, 1},       {15, 10, 1582, 2299161, 6},
      {14, 10, 1582, 2299160, 5},    {1, 1, 2000, 2451545, 7},       {5, 3, 2024, 2460375, 3},
      {29, 2, -1, 1721119, 3},       {15, 3, -44, 1705428, 6},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.year) + "-" + std::to_string(c.month) + "-" + std::to_string(c.day));
    const Nym_date d(c.day, c.month, c.year);
    EXPECT_EQ(d.julian_day(), c.julian);
    EXPECT_EQ(Nym_date::calc_julian_day(c.day, c.month, c.year), c.julian);
    expect_calendar(Nym_date(c.julian), c.day, c.month, c.year);
    EXPECT_EQ(d.weekday(), c.weekday);
  }
  EXPECT_EQ(Nym_date().julian_day(), 2440588);
  EXPECT_EQ(Nym_date::min_date().julian_day(), 38);
  EXPECT_EQ(Nym_date::max_date().julian_day(), 13688960);
}

TEST(DateTest, RangeIsEnforced) {
  EXPECT_EQ(what_of([] { Nym_date(37); }), BAD_JULIAN);
  EXPECT_EQ(what_of([] { Nym_date(13688961); }), BAD_JULIAN);
  EXPECT_EQ(what_of([] { Nym_date(31, 12, -4714); }), BAD_DATE);
  EXPECT_EQ(what_of([] { Nym_date(1, 1, 32767); }), BAD_DATE);
  for (const int jd : {38, 13688960}) EXPECT_TRUE(Nym_date::is_julian_day(jd));
  for (const int jd : {37, 13688961, 0, -1, INT_MIN, INT_MAX}) EXPECT_FALSE(Nym_date::is_julian_day(jd));
  for (const int y : {-4713, -1, 1, 32766}) EXPECT_TRUE(Nym_date::is_year(y)) << y;
  for (const int y : {-4714, 0, 32767}) EXPECT_FALSE(Nym_date::is_year(y)) << y;
}

TEST(DateTest, LeapYearsCountOneBcAsYearZero) {
  struct Case {
    int year;
    bool leap;
  } const cases[] = {{1900, false}, {2000, true}, {2024, true}, {2023, false}, {-1, true},   {-4, false},
                     {-5, true},    {-401, true}, {-101, false}, {-4713, true}, {32766, false}, {0, false},
                     {32768, false}, {-4717, false}};
  for (const Case& c : cases) {
    EXPECT_EQ(Nym_date::is_leap_year(c.year), c.leap) << c.year;
    if (Nym_date::is_year(c.year)) {
      EXPECT_EQ(Nym_date::days_in_year(c.year), c.leap ? 366 : 365) << c.year;
      EXPECT_EQ(Nym_date::days_in_month(2, c.year), c.leap ? 29 : 28) << c.year;
      EXPECT_EQ(Nym_date(1, 3, c.year).is_leap_year(), c.leap) << c.year;
    }
  }
  EXPECT_EQ(what_of([] { Nym_date(29, 2, 1900); }), BAD_DATE);
  EXPECT_EQ(Nym_date(29, 2, 2000).day(), 29);
  EXPECT_EQ(Nym_date(29, 2, -1).day(), 29);
  EXPECT_EQ(what_of([] { Nym_date(29, 2, -4); }), BAD_DATE);
  EXPECT_EQ(Nym_date(29, 2, -5).month(), 2);
}

TEST(DateTest, CalendarQuestionsAndTheirTexts) {
  EXPECT_EQ(what_of([] { Nym_date(1, 1, 0); }), BAD_DATE);
  EXPECT_EQ(what_of([] { Nym_date::days_in_month(1, 0); }), "Year 0 never existed.");
  EXPECT_EQ(what_of([] { Nym_date::days_in_year(0); }), "Year 0 never existed.");
  EXPECT_EQ(what_of([] { Nym_date::days_in_month(13, 2000); }), "Not a valid month.");
  EXPECT_EQ(what_of([] { Nym_date::days_in_month(0, 2000); }), "Not a valid month.");
  EXPECT_EQ(what_of([] { Nym_date::calc_julian_day(30, 2, 2000); }),
            "Nym_date::calc_julian_day - invalid day, month, year.");
  const int month_lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int m = 1; m <= 12; ++m) EXPECT_EQ(Nym_date::days_in_month(m, 2023), month_lengths[m - 1]) << m;
  EXPECT_FALSE(Nym_date::is_day_in_month(0, 1, 2000));
  EXPECT_FALSE(Nym_date::is_day_in_month(31, 4, 2000));
  EXPECT_FALSE(Nym_date::is_day_in_month(1, 13, 2000));
  EXPECT_TRUE(Nym_date::is_day_in_month(31, 12, 32766));
  for (int v = -1; v <= 13; ++v) {
    EXPECT_EQ(Nym_date::is_month(v), v >= 1 && v <= 12);
    EXPECT_EQ(Nym_date::is_weekday(v), v >= 1 && v <= 7);
  }
}

TEST(DateTest, InferYearFillsTwoDigits) {
  const int cases[][2] = {{0, 2000}, {50, 2050}, {51, 1951}, {99, 1999}, {100, 100}, {-1, -1}, {2024, 2024}};
  for (const auto& c : cases) EXPECT_EQ(Nym_date::infer_year(c[0]), c[1]) << c[0];
}

TEST(DateTest, AdAndBcSplitOneDayLate) {
  const Nym_date last_bc(31, 12, -1);
  const Nym_date first_of_one(1, 1, 1);
  const Nym_date second_of_one(2, 1, 1);
  EXPECT_EQ(last_bc.julian_day() + 1, first_of_one.julian_day());
  EXPECT_TRUE(last_bc.is_bc());
  EXPECT_TRUE(first_of_one.is_bc());
  EXPECT_FALSE(first_of_one.is_ad());
  EXPECT_TRUE(second_of_one.is_ad());
  EXPECT_FALSE(second_of_one.is_bc());
  Nym_date next = last_bc;
  ++next;
  expect_calendar(next, 1, 1, 1);
}

TEST(DateTest, DayOfYear) {
  EXPECT_EQ(Nym_date(1, 1, 2001).day_of_year(), 1);
  EXPECT_EQ(Nym_date(1, 3, 2001).day_of_year(), 60);
  EXPECT_EQ(Nym_date(1, 3, 2000).day_of_year(), 61);
  EXPECT_EQ(Nym_date(31, 12, 2000).day_of_year(), 366);
  EXPECT_EQ(Nym_date(31, 12, -1).day_of_year(), 366);
}

TEST(DateTest, NextAndPreviousAreStrict) {
  const Nym_date thursday(1, 1, 1970);
  EXPECT_EQ(thursday.next(5), Nym_date(8, 1, 1970));
  EXPECT_EQ(thursday.next(6), Nym_date(2, 1, 1970));
  EXPECT_EQ(thursday.next(4), Nym_date(7, 1, 1970));
  EXPECT_EQ(thursday.previous(5), Nym_date(25, 12, 1969));
  EXPECT_EQ(thursday.previous(4), Nym_date(31, 12, 1969));
  EXPECT_EQ(thursday.previous(6), Nym_date(26, 12, 1969));
  for (int w = 1; w <= 7; ++w) {
    EXPECT_EQ(thursday.next(w).weekday(), w);
    EXPECT_EQ(thursday.previous(w).weekday(), w);
  }
  EXPECT_EQ(what_of([] { Nym_date::min_date().previous(1); }), BAD_JULIAN);
  // next() does not check the range.
  EXPECT_EQ(Nym_date::max_date().next(1).julian_day(), 13688961);
  // An illegal weekday would make the search endless; it is refused instead.
  for (const int w : {0, 8, -1, INT_MAX}) {
    EXPECT_EQ(what_of([&] { thursday.next(w); }), "Invalid weekday value.") << w;
    EXPECT_EQ(what_of([&] { thursday.previous(w); }), "Invalid weekday value.") << w;
  }
}

TEST(DateTest, PeriodArithmeticUsesWholeDays) {
  const Nym_date d(5, 3, 2024);
  EXPECT_EQ(d + days(30), Nym_date(4, 4, 2024));
  EXPECT_EQ(d - days(5), Nym_date(29, 2, 2024));
  EXPECT_EQ(d + P(0, 23, 59, 59, 999999), d);
  EXPECT_EQ(d + P(-1, -23, 0, 0, 0), Nym_date(4, 3, 2024));
  Nym_date e = d;
  e += days(365);
  e -= days(1);
  EXPECT_EQ(e, Nym_date(4, 3, 2025));
  EXPECT_EQ(Nym_date(2, 1, 1970) - Nym_date(1, 1, 1970), P(86400, 0));
  EXPECT_EQ(Nym_date(1, 1, 1970) - Nym_date(2, 1, 1970), P(-86400, 0));
  EXPECT_EQ(Nym_date::max_date() - Nym_date::min_date(), days(13688960 - 38));

  EXPECT_EQ(what_of([] { Nym_date::max_date() + days(1); }), BAD_JULIAN);
  EXPECT_EQ(what_of([] { Nym_date::min_date() - days(1); }), BAD_JULIAN);
  Nym_date kept = d;
  EXPECT_THROW(kept += days(20000000), std::invalid_argument);
  EXPECT_EQ(kept, d);
  const P too_many_days(static_cast<int64>(1) << 48, 0);
  EXPECT_EQ(what_of([&] { d + too_many_days; }), "i64 too positive for i32");
  EXPECT_EQ(what_of([&] { d - too_many_days; }), "i64 too positive for i32");
  EXPECT_EQ(what_of([&] { d + -too_many_days; }), "i64 too negative for i32");
}

TEST(DateTest, IncrementLeavesTheRangeUnchecked) {
  Nym_date d = Nym_date::max_date();
  const Nym_date before = d++;
  EXPECT_EQ(before, Nym_date::max_date());
  EXPECT_EQ(d.julian_day(), 13688961);
  EXPECT_EQ(what_of([&] { Nym_date(d.julian_day()); }), BAD_JULIAN);
  Wstring out;
  EXPECT_EQ(what_of([&] { d.to_string(u"%d", out); }), BAD_JULIAN);
  --d;
  EXPECT_EQ(d, Nym_date::max_date());
  Nym_date low = Nym_date::min_date();
  --low;
  EXPECT_EQ(low.julian_day(), 37);
  expect_calendar(low, 31, 12, -4714);
  EXPECT_EQ((low--).julian_day(), 37);
  EXPECT_EQ((++low).julian_day(), 37);
  EXPECT_TRUE(low.weekday() >= 1 && low.weekday() <= 7);
}

TEST(DateTest, CalendarOutsideTheRangeNeverCrashes) {
  for (const int jd : {INT_MIN, INT_MIN + 1, -31739, -31738, -1, 0, 37, 13688961, INT_MAX - 1, INT_MAX}) {
    SCOPED_TRACE(jd);
    int d = 0, m = 0, y = 0;
    try {
      Nym_date::calc_calendar_date(jd, d, m, y);
      EXPECT_NE(y, 0);
      EXPECT_TRUE(m >= 1 && m <= 12);
    } catch (const std::invalid_argument& e) {
      EXPECT_STREQ(e.what(), "Julian day greater than days in the month.");
    }
  }
  // 31 December 32768: a leap year to the day count, but no legal year to the leap rule.
  int d = 0, m = 0, y = 0;
  EXPECT_EQ(what_of([&] { Nym_date::calc_calendar_date(13689691, d, m, y); }),
            "Julian day greater than days in the month.");
}

TEST(DateTest, OrdinalWeekdayOfAMonth) {
  struct Case {
    Nym_ordinal week;
    int weekday, month, year;
    int want_day;  // 0: raises "Invalid week of month."
  } const cases[] = {
      {NYM_FIRST_WEEK, 1, 10, 2024, 6},   {NYM_SECOND_WEEK, 1, 10, 2024, 13}, {NYM_FOURTH_WEEK, 1, 10, 2024, 27},
      {NYM_FIFTH_WEEK, 1, 10, 2024, 0},   {NYM_LAST_WEEK, 1, 10, 2024, 27},   {NYM_SECOND_LAST_WEEK, 1, 10, 2024, 20},
      {NYM_FOURTH_LAST_WEEK, 1, 10, 2024, 6}, {NYM_FIFTH_LAST_WEEK, 1, 10, 2024, 0}, {NYM_NO_WEEK, 1, 10, 2024, 0},
      {NYM_FIFTH_WEEK, 6, 3, 2024, 29},   {NYM_FIFTH_LAST_WEEK, 6, 3, 2024, 1}, {NYM_FIRST_WEEK, 6, 3, 2024, 1},
      {NYM_LAST_WEEK, 5, 2, 2024, 29},    {NYM_LAST_WEEK, 5, 2, 2023, 23},    {NYM_FIRST_WEEK, 1, 1, -4713, 4},
      {static_cast<Nym_ordinal>(6), 1, 3, 2024, 0}, {static_cast<Nym_ordinal>(INT_MAX), 1, 3, 2024, 0},
      {static_cast<Nym_ordinal>(INT_MIN), 1, 3, 2024, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.week) + " " + std::to_string(c.weekday) + " of " + std::to_string(c.month) + "/" +
                 std::to_string(c.year));
    if (c.want_day == 0) {
      EXPECT_EQ(what_of([&] { Nym_date(c.week, c.weekday, c.month, c.year); }), "Invalid week of month.");
    } else {
      const Nym_date d(c.week, c.weekday, c.month, c.year);
      expect_calendar(d, c.want_day, c.month, c.year);
      EXPECT_EQ(d.weekday(), c.weekday);
    }
  }
  // Every month has a last and a first of every weekday.
  for (int m = 1; m <= 12; ++m) {
    for (int w = 1; w <= 7; ++w) {
      const Nym_date last(NYM_LAST_WEEK, w, m, 2023);
      EXPECT_GT(last.day() + 7, Nym_date::days_in_month(m, 2023));
      EXPECT_LE(Nym_date(NYM_FIRST_WEEK, w, m, 2023).day(), 7);
    }
  }
}

TEST(DateTest, OrdinalFormChecksInOrder) {
  EXPECT_EQ(what_of([] { Nym_date(NYM_FIRST_WEEK, 9, 13, 0); }), "Invalid month value.");
  EXPECT_EQ(what_of([] { Nym_date(NYM_FIRST_WEEK, 9, 12, 0); }), "Invalid year value.");
  EXPECT_EQ(what_of([] { Nym_date(NYM_FIRST_WEEK, 9, 12, 2000); }), "Invalid weekday value.");
  Nym_date kept(5, 3, 2024);
  EXPECT_THROW(kept.assign(NYM_FIFTH_WEEK, 1, 10, 2024), std::invalid_argument);
  EXPECT_EQ(kept, Nym_date(5, 3, 2024));
  // The last-week search steps through the first of the next month, which must be a legal
  // date: December of the last year has none.
  EXPECT_EQ(what_of([] { Nym_date(NYM_LAST_WEEK, 1, 12, 32766); }), BAD_JULIAN);
  EXPECT_EQ(Nym_date(NYM_FIRST_WEEK, 1, 12, 32766).month(), 12);
}

TEST(DateTest, TmReadsTheYearAsItStands) {
  tm t{};
  t.tm_mday = 5;
  t.tm_mon = 2;
  const int cases[][2] = {{124, 124}, {24, 2024}, {99, 1999}, {0, 2000}, {-5, -5}, {2024, 2024}};
  for (const auto& c : cases) {
    t.tm_year = c[0];
    expect_calendar(Nym_date(t), 5, 3, c[1]);
  }
  t.tm_year = 0;
  t.tm_mon = 1;
  t.tm_mday = 30;
  EXPECT_EQ(what_of([&] { Nym_date{t}; }), BAD_DATE);
  t.tm_mon = INT_MAX;
  EXPECT_EQ(what_of([&] { Nym_date{t}; }), BAD_DATE);

  const tm out = Nym_date(5, 3, 2024);
  EXPECT_EQ(out.tm_mday, 5);
  EXPECT_EQ(out.tm_mon, 2);
  EXPECT_EQ(out.tm_year, 124);
  EXPECT_EQ(out.tm_wday, 2);
  EXPECT_EQ(out.tm_yday, 64);
  EXPECT_EQ(out.tm_hour + out.tm_min + out.tm_sec + out.tm_isdst, 0);
  const tm low = Nym_date::min_date();
  EXPECT_EQ(low.tm_year, -4713 - 1900);
  EXPECT_EQ(low.tm_wday, 4);
}

TEST(DateTest, FormatTokens) {
  const Nym_date d(5, 3, 2024);
  struct Case {
    Nym_date date;
    const char16_t* format;
    const char* want;
  } const cases[] = {
      {d, u"%Y-%m-%d", "2024-03-05"},
      {Nym_date(1, 1, 7), u"%Y", "0007"},
      {Nym_date(15, 3, -44), u"%Y", "-0044"},
      {Nym_date::min_date(), u"%Y", "-4713"},
      {Nym_date::max_date(), u"%Y", "32766"},
      {Nym_date(1, 1, 1970), u"%w", "5"},
      {Nym_date(4, 1, 1970), u"%w", "1"},
      {Nym_date(3, 1, 1970), u"%w", "7"},
      {d, u"%j", "065"},
      {d, u"%U", "09"},
      {d, u"%A %B %a %b", "Tuesday March Tue Mar"},
      {d, u"%%", "%"},
      {d, u"%", "%"},
      {d, u"on %d.", "on 05."},
      {d, u"", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.want);
    EXPECT_EQ(text(c.date, c.format), c.want);
  }
}

TEST(DateTest, TokenSetAndBadToken) {
  const Nstring tokens = "%ABUYabdjmwx";
  for (unsigned short c = 1; c < 128; ++c) {
    EXPECT_EQ(Nym_date::is_format_token(c), tokens.find(static_cast<char>(c)) != Nstring::npos) << c;
  }
  Wstring out;
  EXPECT_EQ(what_of([&] { Nym_date(5, 3, 2024).to_string(u"%d%H", out); }),
            "Nym_date::to_string - invalid format token.");
  EXPECT_EQ(out, u"05");
}

// The short date follows the thread's locale: whatever it is, it holds the day, the month and
// the four-digit year once each, in one of the three orders, with one separator.
TEST(DateTest, ShortDateIsDayMonthAndYearInALocaleOrder) {
  const Nstring x = text(Nym_date(5, 3, 2024), u"%x");
  bool matched = false;
  for (const char* order : {"dmy", "mdy", "ymd"}) {
    const Nstring first = order[0] == 'd' ? "05" : order[0] == 'm' ? "03" : "2024";
    const Nstring second = order[1] == 'd' ? "05" : order[1] == 'm' ? "03" : "2024";
    const Nstring third = order[2] == 'd' ? "05" : order[2] == 'm' ? "03" : "2024";
    if (x.size() <= first.size() + second.size() + third.size()) continue;
    if (x.compare(0, first.size(), first) != 0 || x.compare(x.size() - third.size(), third.size(), third) != 0) continue;
    const Nstring middle = x.substr(first.size(), x.size() - first.size() - third.size());
    const std::size_t at = middle.find(second);
    if (at == Nstring::npos || at == 0) continue;
    const Nstring sep1 = middle.substr(0, at);
    const Nstring sep2 = middle.substr(at + second.size());
    if (sep1 == sep2) matched = true;
  }
  EXPECT_TRUE(matched) << x;
  EXPECT_EQ(text(Nym_date(5, 3, 2024), u"[%x]"), "[" + x + "]");
}
