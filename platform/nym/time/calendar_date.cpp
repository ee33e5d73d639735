#include "nym/calendar_date.h"

#include <stdexcept>

namespace nym {

namespace {

[[noreturn]] void throw_invalid(const char* text) { throw std::invalid_argument(text); }

void check_when(const Nym_time_period& when, const char* text) {
  if (when < Nym_time_period::ZERO) throw_invalid(text);
}

void check_month(int month) {
  if (!Nym_date::is_month(month)) throw_invalid("Invalid month of year.");
}

void check_day(int day) {
  if (day < 1 || day > 31) throw_invalid("Invalid day of month.");
}

void check_weekday(int weekday) {
  if (!Nym_date::is_weekday(weekday)) throw_invalid("Invalid day of week.");
}

const char* const CONSTRUCTOR_NEGATIVE = "Negative time of day. ";

}  // namespace

Nym_calendar_date::Nym_calendar_date(const Nym_time_period& when, int day, int month)
    : m_when(when), m_day(day), m_weekday(0), m_week(NYM_NO_WEEK), m_month(month) {
  check_when(when, CONSTRUCTOR_NEGATIVE);
  check_month(month);
  check_day(day);
}

Nym_calendar_date::Nym_calendar_date(const Nym_time_period& when, Nym_ordinal week, int weekday, int month)
    : m_when(when), m_day(0), m_weekday(weekday), m_week(week), m_month(month) {
  check_when(when, CONSTRUCTOR_NEGATIVE);
  check_month(month);
  check_weekday(weekday);
}

Nym_date Nym_calendar_date::date(int year) const {
  if (!Nym_date::is_year(year)) throw_invalid("Invalid year.");
  if (m_week != NYM_NO_WEEK) return Nym_date(m_week, m_weekday, m_month, year);
  return Nym_date(m_day, m_month, year);
}

void Nym_calendar_date::day(int day) {
  check_day(day);
  m_day = day;
  m_week = NYM_NO_WEEK;
}

void Nym_calendar_date::month(int month) {
  check_month(month);
  m_month = month;
}

void Nym_calendar_date::weekday(Nym_ordinal week, int weekday) {
  check_weekday(weekday);
  m_week = week;
  m_weekday = weekday;
  m_day = 0;
}

void Nym_calendar_date::when(const Nym_time_period& when) {
  check_when(when, "Negative time of day.");
  m_when = when;
}

}  // namespace nym
