// Nym_calendar_date: a yearly recurring date and time with no year of its own, the shape of a
// system zone's change-over rules: 1 March at 02:00, or the last Sunday of October at 03:00.
//
// A rule has one of two forms: by day of the month (week 0), or by the nth weekday of the
// month (day 0). `when` is the moment within the day as a period: never negative, not limited
// above, so a `when` of 25 hours is kept and time() reads it as 01:00. date(year) makes the
// real date; what the calendar does not have (29 February 2023, 31 April) is found only there.
// A plain value: no locks.
//
// Errors raise std::invalid_argument: "Negative time of day. " from the constructors (with its
// trailing space) and "Negative time of day." from when(); "Invalid month of year.", "Invalid
// day of month.", "Invalid day of week." and "Invalid year." as named below.
#ifndef NYM_CALENDAR_DATE_H
#define NYM_CALENDAR_DATE_H

#include "nym/date.h"
#include "nym/time.h"

namespace nym {

class NYM_API Nym_calendar_date {
 public:
  // Day of the month 1 to 31 and month 1 to 12; checked in the order when, month, day.
  Nym_calendar_date(const Nym_time_period& when, int day, int month);
  // The nth weekday (1 Sunday to 7 Saturday) of the month; checked in the order when, month,
  // weekday. The week is not checked here: a week the month lacks fails in date().
  Nym_calendar_date(const Nym_time_period& when, Nym_ordinal week, int weekday, int month);
  Nym_calendar_date(const Nym_calendar_date&) = default;
  Nym_calendar_date& operator=(const Nym_calendar_date&) = default;

  // The rule's date in `year`: "Invalid year." for a year Nym_date does not have, and what
  // Nym_date's constructors raise for a day the year lacks ("Invalid day, month, year.",
  // "Invalid week of month.").
  Nym_date date(int year) const;

  int day() const noexcept { return m_day; }
  // Switches to the first form: stores the day, zeroes the week; the weekday field stays.
  void day(int day);
  int month() const noexcept { return m_month; }
  void month(int month);
  Nym_ordinal week() const noexcept { return m_week; }
  int weekday() const noexcept { return m_weekday; }
  // Switches to the second form: stores both, zeroes the day.
  void weekday(Nym_ordinal week, int weekday);
  const Nym_time_period& when() const noexcept { return m_when; }
  void when(const Nym_time_period& when);
  // `when` wrapped into a day.
  Nym_time time() const { return Nym_time(m_when); }

 private:
  Nym_time_period m_when;
  int m_day;
  int m_weekday;
  Nym_ordinal m_week;
  int m_month;
};

}  // namespace nym

#endif
