#include <gtest/gtest.h>

#include "nym/calendar_date.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

namespace {

using P = Nym_time_period;

const P TWO_AM(0, 2, 0, 0, 0);

}  // namespace

TEST(CalendarDateTest, RulesGiveTheirDateInEachYear) {
  struct Case {
    Nym_calendar_date rule;
    int year;
    int day, month;  // 0: the text of what date() raises
    const char* what;
  };
  const Nym_calendar_date first_of_march(TWO_AM, 1, 3);
  const Nym_calendar_date last_sunday_of_october(P(0, 3, 0, 0, 0), NYM_LAST_WEEK, 1, 10);
  const Nym_calendar_date leap_day(P::ZERO, 29, 2);
  const Nym_calendar_date april_31(P::ZERO, 31, 4);
  const Nym_calendar_date fifth_monday_of_june(P::ZERO, NYM_FIFTH_WEEK, 2, 6);
  const Case cases[] = {
      {first_of_march, 2024, 1, 3, nullptr},
      {last_sunday_of_october, 2024, 27, 10, nullptr},
      {last_sunday_of_october, 2023, 29, 10, nullptr},
      {last_sunday_of_october, 1970, 25, 10, nullptr},
      {leap_day, 2024, 29, 2, nullptr},
      {leap_day, 2023, 0, 0, "Invalid day, month, year."},
      {april_31, 2024, 0, 0, "Invalid day, month, year."},
      {fifth_monday_of_june, 2025, 30, 6, nullptr},
      {fifth_monday_of_june, 2024, 0, 0, "Invalid week of month."},
      {first_of_march, 0, 0, 0, "Invalid year."},
      {first_of_march, 32767, 0, 0, "Invalid year."},
      {last_sunday_of_october, -4714, 0, 0, "Invalid year."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.year);
    if (c.what != nullptr) {
      EXPECT_EQ(what_of([&] { c.rule.date(c.year); }), c.what);
      continue;
    }
    const Nym_date d = c.rule.date(c.year);
    EXPECT_EQ(d, Nym_date(c.day, c.month, c.year));
  }
  EXPECT_EQ(first_of_march.weekday(), 0);
  EXPECT_EQ(first_of_march.week(), NYM_NO_WEEK);
  EXPECT_EQ(last_sunday_of_october.day(), 0);
  EXPECT_EQ(last_sunday_of_october.date(2024).weekday(), 1);
}

TEST(CalendarDateTest, ChecksRunInOrderWithTheirOwnTexts) {
  const P negative(0, -1);
  struct Case {
    const char* what;
    void (*make)(const P& negative);
  };
  const Case cases[] = {
      {"Negative time of day. ", [](const P& n) { Nym_calendar_date(n, 0, 0); }},
      {"Negative time of day. ", [](const P& n) { Nym_calendar_date(n, NYM_FIRST_WEEK, 0, 0); }},
      {"Invalid month of year.", [](const P&) { Nym_calendar_date(P::ZERO, 0, 13); }},
      {"Invalid month of year.", [](const P&) { Nym_calendar_date(P::ZERO, NYM_FIRST_WEEK, 0, 0); }},
      {"Invalid day of month.", [](const P&) { Nym_calendar_date(P::ZERO, 32, 12); }},
      {"Invalid day of month.", [](const P&) { Nym_calendar_date(P::ZERO, 0, 1); }},
      {"Invalid day of week.", [](const P&) { Nym_calendar_date(P::ZERO, NYM_FIRST_WEEK, 8, 1); }},
      {"Invalid day of week.", [](const P&) { Nym_calendar_date(P::ZERO, NYM_FIRST_WEEK, 0, 12); }},
      {"(nothing raised)", [](const P&) { Nym_calendar_date(P::ZERO, static_cast<Nym_ordinal>(9), 1, 1); }},
  };
  for (const Case& c : cases) EXPECT_EQ(what_of([&] { c.make(negative); }), c.what);

  Nym_calendar_date rule(TWO_AM, 1, 3);
  EXPECT_EQ(what_of([&] { rule.when(negative); }), "Negative time of day.");
  EXPECT_EQ(what_of([&] { rule.month(0); }), "Invalid month of year.");
  EXPECT_EQ(what_of([&] { rule.day(32); }), "Invalid day of month.");
  EXPECT_EQ(what_of([&] { rule.weekday(NYM_LAST_WEEK, 0); }), "Invalid day of week.");
  // Refused values leave the rule as it was.
  EXPECT_EQ(rule.date(2024), Nym_date(1, 3, 2024));
  EXPECT_EQ(rule.when(), TWO_AM);
  // A week the month never has fails when a date is asked for.
  rule.weekday(static_cast<Nym_ordinal>(9), 1);
  EXPECT_EQ(what_of([&] { rule.date(2024); }), "Invalid week of month.");
}

TEST(CalendarDateTest, SettersSwitchBetweenTheForms) {
  Nym_calendar_date rule(TWO_AM, NYM_SECOND_WEEK, 1, 3);  // second Sunday of March
  EXPECT_EQ(rule.date(2024), Nym_date(10, 3, 2024));
  rule.day(5);
  EXPECT_EQ(rule.week(), NYM_NO_WEEK);
  EXPECT_EQ(rule.weekday(), 1);  // kept, though no longer used
  EXPECT_EQ(rule.date(2024), Nym_date(5, 3, 2024));
  rule.weekday(NYM_FIRST_WEEK, 7);
  EXPECT_EQ(rule.day(), 0);
  rule.month(11);
  EXPECT_EQ(rule.date(2024), Nym_date(2, 11, 2024));  // first Saturday of November

  rule.when(P(0, 25, 0, 0, 0));  // not limited above
  EXPECT_EQ(rule.when(), P(0, 25, 0, 0, 0));
  EXPECT_EQ(rule.time(), Nym_time(1, 0, 0, 0));
  const Nym_calendar_date copy = rule;
  EXPECT_EQ(copy.date(2030), rule.date(2030));
}
