// Nym_date: a calendar date held as a Julian day number, and Nym_ordinal, a week of a month.
//
// Comparing and stepping are integer operations; day, month and year are worked out on each
// call. The calendar is the proleptic Gregorian one from 1 January -4713 (Julian day 38) to
// 31 December 32766 (Julian day 13688960). There is no year 0: year -1 is 1 BC and is followed
// by year 1. Weekdays run from 1 (Sunday) to 7 (Saturday), months from 1 to 12. A plain value:
// no locks, no shared state.
//
// Errors raise std::invalid_argument with fixed texts ("Invalid Julian day.", "Invalid day,
// month, year.", ...: each operation names its own below) or std::overflow_error ("i64 too
// positive for i32" / "i64 too negative for i32") when the days of a period do not fit an int.
// A failed call leaves the object as it was.
#ifndef NYM_DATE_H
#define NYM_DATE_H

#include <ctime>

#include "nym/time_period.h"

namespace nym {

// Which such weekday of a month: 1 the first, 2 the second and so on; -1 the last, -2 the
// second last and so on. 0 is no ordinal (a rule by day of the month uses it).
enum Nym_ordinal : int {
  NYM_FIFTH_LAST_WEEK = -5,
  NYM_FOURTH_LAST_WEEK = -4,
  NYM_THIRD_LAST_WEEK = -3,
  NYM_SECOND_LAST_WEEK = -2,
  NYM_LAST_WEEK = -1,
  NYM_NO_WEEK = 0,
  NYM_FIRST_WEEK = 1,
  NYM_SECOND_WEEK = 2,
  NYM_THIRD_WEEK = 3,
  NYM_FOURTH_WEEK = 4,
  NYM_FIFTH_WEEK = 5,
};

class Nym_date_and_time;

class NYM_API Nym_date {
 public:
  static const int MIN_JULIAN_DAY = 38;
  static const int MAX_JULIAN_DAY = 13688960;
  static const int UNIX_EPOCH_JULIAN_DAY = 2440588;  // 1 January 1970, a Thursday
  static const int MIN_YEAR = -4713;
  static const int MAX_YEAR = 32766;

  // 1 January 1970; the clock is not read.
  constexpr Nym_date() noexcept : m_julian_day(UNIX_EPOCH_JULIAN_DAY) {}
  Nym_date(const Nym_date&) noexcept = default;
  Nym_date& operator=(const Nym_date&) noexcept = default;
  // "Invalid Julian day." outside 38 to 13688960.
  explicit Nym_date(int julian_day);
  // "Invalid day, month, year." for a day that the calendar does not have.
  Nym_date(int day, int month, int year);
  // tm_mday, tm_mon + 1 and tm_year, which is taken as the calendar year itself (124 is the
  // year 124), except that 0 to 99 go through infer_year. operator tm() subtracts 1900: the
  // two are deliberately not inverses.
  explicit Nym_date(const tm& t);
  // The nth such weekday of the month; the checks run month ("Invalid month value."), year
  // ("Invalid year value."), weekday ("Invalid weekday value."), and a week the month does not
  // have raises "Invalid week of month.". So (NYM_LAST_WEEK, 1, 10, y) is the last Sunday of
  // October.
  Nym_date(Nym_ordinal week, int weekday, int month, int year);

  void assign(int day, int month, int year);
  void assign(const tm& t);
  void assign(Nym_ordinal week, int weekday, int month, int year);

  // The local date of the wall clock.
  static Nym_date today();
  static Nym_date min_date() noexcept;
  static Nym_date max_date() noexcept;

  int julian_day() const noexcept { return m_julian_day; }
  int day() const;
  int month() const;
  int year() const;
  // 1 (Sunday) to 7 (Saturday).
  int weekday() const noexcept;
  // 1 to 366.
  int day_of_year() const;
  bool is_leap_year() const;
  // False for a year outside -4713 to 32766 and for 0.
  static bool is_leap_year(int year) noexcept;
  // They split one day late on purpose: 1 January of year 1 still counts as BC.
  bool is_ad() const noexcept { return m_julian_day > 1721426; }
  bool is_bc() const noexcept { return m_julian_day < 1721427; }

  // The nearest date with that weekday strictly after (before) this one; a date of that
  // weekday moves a whole week. A weekday outside 1 to 7 raises "Invalid weekday value.";
  // previous() below the lowest date raises "Invalid Julian day.", next() is not checked.
  Nym_date next(int weekday) const;
  Nym_date previous(int weekday) const;

  // Move by the period's whole days (hours alone change nothing); "Invalid Julian day." when
  // the result leaves the range.
  Nym_date operator+(const Nym_time_period& p) const;
  Nym_date operator-(const Nym_time_period& p) const;
  Nym_date& operator+=(const Nym_time_period& p);
  Nym_date& operator-=(const Nym_time_period& p);
  // The difference as a period of whole days.
  Nym_time_period operator-(const Nym_date& other) const noexcept;
  // One day on or back without any check: the one way out of the legal range.
  Nym_date& operator++() noexcept;
  Nym_date operator++(int) noexcept;
  Nym_date& operator--() noexcept;
  Nym_date operator--(int) noexcept;

  bool operator==(const Nym_date& o) const noexcept { return m_julian_day == o.m_julian_day; }
  bool operator!=(const Nym_date& o) const noexcept { return m_julian_day != o.m_julian_day; }
  bool operator<(const Nym_date& o) const noexcept { return m_julian_day < o.m_julian_day; }
  bool operator<=(const Nym_date& o) const noexcept { return m_julian_day <= o.m_julian_day; }
  bool operator>(const Nym_date& o) const noexcept { return m_julian_day > o.m_julian_day; }
  bool operator>=(const Nym_date& o) const noexcept { return m_julian_day >= o.m_julian_day; }

  // tm_mday, tm_mon (0 to 11), tm_year (year - 1900), tm_wday (0 Sunday), tm_yday (from 0);
  // time fields and tm_isdst 0.
  operator tm() const;

  // "Nym_date::calc_julian_day - invalid day, month, year." for a date the calendar lacks.
  static int calc_julian_day(int day, int month, int year);
  // The inverse of calc_julian_day over the legal range.
  static void calc_calendar_date(int julian_day, int& day, int& month, int& year);
  // "Not a valid month." for a month outside 1 to 12, "Year 0 never existed." for year 0.
  static int days_in_month(int month, int year);
  static int days_in_year(int year);
  static bool is_julian_day(int julian_day) noexcept {
    return julian_day >= MIN_JULIAN_DAY && julian_day <= MAX_JULIAN_DAY;
  }
  static bool is_month(int month) noexcept { return month >= 1 && month <= 12; }
  static bool is_weekday(int weekday) noexcept { return weekday >= 1 && weekday <= 7; }
  static bool is_year(int year) noexcept { return year >= MIN_YEAR && year <= MAX_YEAR && year != 0; }
  static bool is_day_in_month(int day, int month, int year);
  // Two-digit years: 0 to 50 are 2000 to 2050, 51 to 99 are 1951 to 1999; others unchanged.
  static int infer_year(int year) noexcept;

  // The tokens of to_string: % A B U Y a b d j m w x.
  static bool is_format_token(unsigned short unit) noexcept;
  // %Y the year with at least four digits (-0044 for 44 BC), %w the weekday 1 to 7, %x the
  // locale's short date (order and separator of the thread's locale, day/month/year when it
  // names none); the others through the C library's strftime in the current C locale. A date
  // outside the legal range raises "Invalid Julian day.". `result` is replaced.
  void to_string(const Wstring& format, Wstring& result) const;

 private:
  friend class Nym_date_and_time;
  // The period's whole days as a Julian day; "Invalid period." outside the range.
  explicit Nym_date(const Nym_time_period& days);
  static int checked_julian_day(int64 julian_day);

  int m_julian_day;
};

}  // namespace nym

#endif
