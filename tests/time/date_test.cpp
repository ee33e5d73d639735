// Nym_date beyond the conversions date_range_test checks for every day: the range and its
// edges, the calendar questions, ordinal weekdays, arithmetic and formats, and the yearly rules
// of Nym_calendar_date.
#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>

#include "nym/calendar_date.h"
#include "nym/date.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::text;
using nym_test::what_of;
using P = Nym_time_period;

namespace {

P days(int n) { return P(n, 0, 0, 0, 0); }

// The date as text, or what building it raised.
template <class Make>
std::string date_or_error(Make make) {
  try {
    return text(make(), u"%Y-%m-%d");
  } catch (const std::exception& e) {
    return e.what();
  }
}

const char* const BAD_JULIAN = "Invalid Julian day.";
const char* const BAD_DATE = "Invalid day, month, year.";

}  // namespace

TEST(DateTest, TheRangeItsEdgesAndTheCalendarQuestions) {
  EXPECT_EQ(Nym_date().julian_day(), 2440588);
  EXPECT_EQ(Nym_date::min_date(), Nym_date(1, 1, -4713));
  EXPECT_EQ(Nym_date::max_date().julian_day(), 13688960);
  for (const int jd : {37, 13688961, 0, INT_MIN, INT_MAX}) EXPECT_EQ(what_of([&] { Nym_date{jd}; }), BAD_JULIAN) << jd;
  for (const auto& d : {std::make_tuple(31, 12, -4714), std::make_tuple(1, 1, 32767), std::make_tuple(1, 1, 0),
                        std::make_tuple(29, 2, 1900), std::make_tuple(29, 2, -4)}) {
    EXPECT_EQ(what_of([&] { Nym_date(std::get<0>(d), std::get<1>(d), std::get<2>(d)); }), BAD_DATE);
  }
  for (const int year : {0, 32768, -4717}) EXPECT_FALSE(Nym_date::is_leap_year(year)) << "outside the range";
  EXPECT_EQ(what_of([] { Nym_date::days_in_month(1, 0); }), "Year 0 never existed.");
  EXPECT_EQ(what_of([] { Nym_date::days_in_month(13, 2000); }), "Not a valid month.");
  EXPECT_EQ(what_of([] { Nym_date::calc_julian_day(30, 2, 2000); }), "Nym_date::calc_julian_day - invalid day, month, year.");
  const int inferred[][2] = {{0, 2000}, {50, 2050}, {51, 1951}, {99, 1999}, {100, 100}, {-1, -1}};
  for (const auto& c : inferred) EXPECT_EQ(Nym_date::infer_year(c[0]), c[1]) << c[0];
  // 1 January of year 1 is still BC: the split falls one day late.
  EXPECT_TRUE(Nym_date(31, 12, -1).is_bc() && Nym_date(1, 1, 1).is_bc() && Nym_date(2, 1, 1).is_ad());
  // Outside the range the calendar answers or refuses, and never crashes.
  for (const int jd : {INT_MIN, -31739, -1, 37, 13688961, 13689691, INT_MAX}) {
    int d = 0, m = 0, y = 0;
    const std::string what = what_of([&] { Nym_date::calc_calendar_date(jd, d, m, y); });
    EXPECT_TRUE(what == "Julian day greater than days in the month." || (y != 0 && m >= 1 && m <= 12)) << jd;
  }
}

TEST(DateTest, ArithmeticStepsAndTheUncheckedIncrement) {
  const Nym_date d(5, 3, 2024);
  EXPECT_EQ(d + days(30), Nym_date(4, 4, 2024));
  EXPECT_EQ(d - days(5), Nym_date(29, 2, 2024));
  EXPECT_EQ(d + P(0, 23, 59, 59, 999999), d) << "whole days only";
  EXPECT_EQ(Nym_date(1, 1, 1970) - Nym_date(2, 1, 1970), P(-86400, 0));
  Nym_date kept = d;
  EXPECT_THROW(kept += days(20000000), std::invalid_argument);
  EXPECT_EQ(kept, d);
  EXPECT_EQ(what_of([&] { d - P(int64{1} << 48, 0); }), "i64 too positive for i32");

  Nym_date high = Nym_date::max_date();
  EXPECT_EQ((high++).julian_day(), 13688960);
  EXPECT_EQ(high.julian_day(), 13688961) << "++ leaves the range unchecked";

  const Nym_date thursday(1, 1, 1970);
  EXPECT_EQ(thursday.next(5), Nym_date(8, 1, 1970)) << "strictly after";
  EXPECT_EQ(thursday.previous(5), Nym_date(25, 12, 1969));
  EXPECT_EQ(what_of([] { Nym_date::min_date().previous(1); }), BAD_JULIAN);
  EXPECT_EQ(Nym_date::max_date().next(1).julian_day(), 13688961) << "next() does not check the range";
  // An illegal weekday would make the search endless; it is refused instead.
  for (const int w : {0, 8, INT_MAX}) {
    EXPECT_EQ(what_of([&] { thursday.next(w); }), "Invalid weekday value.") << w;
    EXPECT_EQ(what_of([&] { thursday.previous(w); }), "Invalid weekday value.") << w;
  }
}

TEST(DateTest, OrdinalWeekdaysOfAMonth) {
  const struct {
    Nym_ordinal week;
    int weekday, month, year;
    const char* want;
  } cases[] = {
      {NYM_FIRST_WEEK, 1, 10, 2024, "2024-10-06"},       {NYM_FIFTH_WEEK, 1, 10, 2024, "Invalid week of month."},
      {NYM_FOURTH_LAST_WEEK, 1, 10, 2024, "2024-10-06"}, {NYM_FIFTH_LAST_WEEK, 1, 10, 2024, "Invalid week of month."},
      {NYM_NO_WEEK, 1, 10, 2024, "Invalid week of month."}, {NYM_FIFTH_WEEK, 6, 3, 2024, "2024-03-29"},
      {NYM_FIFTH_LAST_WEEK, 6, 3, 2024, "2024-03-01"},   {NYM_FIRST_WEEK, 1, 1, -4713, "-4713-01-04"},
      {static_cast<Nym_ordinal>(INT_MIN), 1, 3, 2024, "Invalid week of month."},
      {NYM_FIRST_WEEK, 9, 13, 0, "Invalid month value."}, {NYM_FIRST_WEEK, 9, 12, 0, "Invalid year value."},
      {NYM_FIRST_WEEK, 9, 12, 2000, "Invalid weekday value."},  // the checks run in this order
      // The last-week search steps through the first of the next month: December of the last
      // year has none.
      {NYM_LAST_WEEK, 1, 12, 32766, BAD_JULIAN},         {NYM_FIRST_WEEK, 1, 12, 32766, "32766-12-04"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(date_or_error([&] { return Nym_date(c.week, c.weekday, c.month, c.year); }), c.want)
        << c.week << " " << c.weekday << " of " << c.month << "/" << c.year;
  }
  for (int w = 1; w <= 7; ++w) {
    const Nym_date last(NYM_LAST_WEEK, w, 2, 2024);
    EXPECT_TRUE(last.weekday() == w && last.day() + 7 > 29) << w;
  }
}

TEST(DateTest, TmAndFormats) {
  tm t{};
  t.tm_mday = 5;
  t.tm_mon = 2;
  const int years[][2] = {{124, 124}, {24, 2024}, {99, 1999}, {0, 2000}, {-5, -5}, {2024, 2024}};
  for (const auto& y : years) {
    t.tm_year = y[0];
    EXPECT_EQ(Nym_date(t).year(), y[1]) << y[0] << ": the year as it stands";
  }
  t.tm_mon = INT_MAX;
  EXPECT_EQ(what_of([&] { Nym_date{t}; }), BAD_DATE);
  const tm out = Nym_date(5, 3, 2024);
  EXPECT_TRUE(out.tm_mday == 5 && out.tm_mon == 2 && out.tm_year == 124 && out.tm_wday == 2 && out.tm_yday == 64);

  const Nym_date d(5, 3, 2024);
  EXPECT_EQ(text(d, u"%Y-%m-%d %j %U %w|%A %B %a %b|%%|on %d."), "2024-03-05 065 09 3|Tuesday March Tue Mar|%|on 05.");
  EXPECT_EQ(text(Nym_date(1, 1, 7), u"%Y") + text(Nym_date(15, 3, -44), u" %Y") + text(Nym_date(3, 1, 1970), u" %w"),
            "0007 -0044 7");
  Wstring bad;
  EXPECT_EQ(what_of([&] { d.to_string(u"%d%H", bad); }), "Nym_date::to_string - invalid format token.");
  EXPECT_EQ(bad, u"05");
}

TEST(CalendarDateTest, RulesChecksAndForms) {
  const P two_am(0, 2, 0, 0, 0);
  const Nym_calendar_date first_of_march(two_am, 1, 3);
  const Nym_calendar_date last_sunday_of_october(P(0, 3, 0, 0, 0), NYM_LAST_WEEK, 1, 10);
  const Nym_calendar_date april_31(P::ZERO, 31, 4);  // built: no month length is checked here
  const Nym_calendar_date fifth_monday_of_june(P::ZERO, NYM_FIFTH_WEEK, 2, 6);
  const struct {
    const Nym_calendar_date& rule;
    int year;
    const char* want;
  } cases[] = {{first_of_march, 2024, "2024-03-01"},     {last_sunday_of_october, 1970, "1970-10-25"},
               {april_31, 2024, BAD_DATE},
               {fifth_monday_of_june, 2025, "2025-06-30"}, {fifth_monday_of_june, 2024, "Invalid week of month."},
               {first_of_march, 0, "Invalid year."},     {last_sunday_of_october, 32767, "Invalid year."}};
  for (const auto& c : cases) EXPECT_EQ(date_or_error([&] { return c.rule.date(c.year); }), c.want) << c.year;
  // The time first, then the month, then the day or weekday; the week is left to date().
  const P minus(0, -1);
  EXPECT_EQ(what_of([&] { Nym_calendar_date(minus, 0, 0); }), "Negative time of day. ");
  EXPECT_EQ(what_of([&] { Nym_calendar_date(P(), NYM_FIRST_WEEK, 0, 0); }), "Invalid month of year.");
  EXPECT_EQ(what_of([&] { Nym_calendar_date(P(), 32, 12); }), "Invalid day of month.");
  EXPECT_EQ(what_of([&] { Nym_calendar_date(P(), NYM_FIRST_WEEK, 8, 1); }), "Invalid day of week.");
  Nym_calendar_date rule(two_am, NYM_SECOND_WEEK, 1, 3);  // second Sunday of March
  EXPECT_EQ(rule.date(2024), Nym_date(10, 3, 2024));
  rule.day(5);
  EXPECT_TRUE(rule.week() == NYM_NO_WEEK && rule.weekday() == 1 && rule.date(2024) == Nym_date(5, 3, 2024));
  rule.weekday(NYM_FIRST_WEEK, 7);
  rule.month(11);
  EXPECT_TRUE(rule.day() == 0 && rule.date(2024) == Nym_date(2, 11, 2024));
  rule.weekday(static_cast<Nym_ordinal>(9), 1);  // accepted here, refused by the calendar
  EXPECT_EQ(what_of([&] { rule.date(2024); }), "Invalid week of month.");
}
