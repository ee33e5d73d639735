#include <gtest/gtest.h>

#include <string>

#include "nym/calendar_date.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

namespace {

using P = Nym_time_period;

const P TWO_AM(0, 2, 0, 0, 0);

}  // namespace

TEST(CalendarDateTest, RulesGiveTheirDateInEachYear) {
  const Nym_calendar_date first_of_march(TWO_AM, 1, 3);
  const Nym_calendar_date last_sunday_of_october(P(0, 3, 0, 0, 0), NYM_LAST_WEEK, 1, 10);
  const Nym_calendar_date leap_day(P::ZERO, 29, 2);
  const Nym_calendar_date april_31(P::ZERO, 31, 4);  // built: no month length is checked here
  const Nym_calendar_date fifth_monday_of_june(P::ZERO, NYM_FIFTH_WEEK, 2, 6);
  struct Case {
    const Nym_calendar_date& rule;
    int year;
    const char* expected;  // the date as %Y-%m-%d, or what date() raises
  };
  const Case cases[] = {
      {first_of_march, 2024, "2024-03-01"},
      {last_sunday_of_october, 2024, "2024-10-27"},
      {last_sunday_of_october, 1970, "1970-10-25"},
      {leap_day, 2024, "2024-02-29"},
      {leap_day, 2023, "Invalid day, month, year."},
      {april_31, 2024, "Invalid day, month, year."},
      {fifth_monday_of_june, 2025, "2025-06-30"},
      {fifth_monday_of_june, 2024, "Invalid week of month."},
      {first_of_march, 0, "Invalid year."},
      {last_sunday_of_october, 32767, "Invalid year."},
  };
  for (const Case& c : cases) {
    std::string got;
    try {
      got = nym_test::text(c.rule.date(c.year), u"%Y-%m-%d");
    } catch (const std::exception& e) {
      got = e.what();
    }
    EXPECT_EQ(got, c.expected);
  }
  EXPECT_EQ(first_of_march.weekday() + first_of_march.week() + last_sunday_of_october.day(), 0);
}

TEST(CalendarDateTest, ChecksRunInOrderWithTheirOwnTexts) {
  const P minus(0, -1);
  const P zero;
  // when first, then the month, then the day or weekday; the week is left to date().
  EXPECT_EQ(what_of([&] { Nym_calendar_date(minus, 0, 0); }), "Negative time of day. ");
  EXPECT_EQ(what_of([&] { Nym_calendar_date(zero, 0, 13); }), "Invalid month of year.");
  EXPECT_EQ(what_of([&] { Nym_calendar_date(zero, NYM_FIRST_WEEK, 0, 0); }), "Invalid month of year.");
  EXPECT_EQ(what_of([&] { Nym_calendar_date(zero, 32, 12); }), "Invalid day of month.");
  EXPECT_EQ(what_of([&] { Nym_calendar_date(zero, NYM_FIRST_WEEK, 8, 1); }), "Invalid day of week.");

  Nym_calendar_date rule(TWO_AM, 1, 3);
  EXPECT_EQ(what_of([&] { rule.when(minus); }), "Negative time of day.");
  EXPECT_EQ(what_of([&] { rule.month(0); }), "Invalid month of year.");
  EXPECT_EQ(what_of([&] { rule.day(32); }), "Invalid day of month.");
  EXPECT_EQ(what_of([&] { rule.weekday(NYM_LAST_WEEK, 0); }), "Invalid day of week.");
  EXPECT_EQ(rule.date(2024), Nym_date(1, 3, 2024));  // refused values changed nothing
  EXPECT_EQ(rule.when(), TWO_AM);
  rule.weekday(static_cast<Nym_ordinal>(9), 1);  // accepted here, refused by the calendar
  EXPECT_EQ(what_of([&] { rule.date(2024); }), "Invalid week of month.");
}

TEST(CalendarDateTest, SettersSwitchBetweenTheForms) {
  Nym_calendar_date rule(TWO_AM, NYM_SECOND_WEEK, 1, 3);  // second Sunday of March
  EXPECT_EQ(rule.date(2024), Nym_date(10, 3, 2024));
  rule.day(5);
  EXPECT_TRUE(rule.week() == NYM_NO_WEEK && rule.weekday() == 1);  // the weekday stays, unused
  EXPECT_EQ(rule.date(2024), Nym_date(5, 3, 2024));
  rule.weekday(NYM_FIRST_WEEK, 7);
  rule.month(11);
  EXPECT_TRUE(rule.day() == 0 && rule.date(2024) == Nym_date(2, 11, 2024));  // first Saturday
  rule.when(P(0, 25, 0, 0, 0));  // not limited above
  EXPECT_EQ(rule.time(), Nym_time(1, 0, 0, 0));
}
