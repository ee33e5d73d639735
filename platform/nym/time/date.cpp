#include "nym/date.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "nym/string_basic.h"
#include "time/clock.h"
#include "time/date_locale.h"
#include "time/format_walk.h"

namespace nym {

// Defined here so that a caller may bind them to a reference: the DLL exports them.
const int Nym_date::MIN_JULIAN_DAY;
const int Nym_date::MAX_JULIAN_DAY;
const int Nym_date::UNIX_EPOCH_JULIAN_DAY;
const int Nym_date::MIN_YEAR;
const int Nym_date::MAX_YEAR;

namespace {

// Days from the start of working year -4799 (a year after a multiple of 400) to Julian day 0.
constexpr int64 EPOCH_SHIFT = 31738;
constexpr int64 DAYS_PER_400_YEARS = 146097;
constexpr int64 DAYS_PER_100_YEARS = 36524;
constexpr int64 DAYS_PER_4_YEARS = 1461;

[[noreturn]] void throw_invalid(const char* text) { throw std::invalid_argument(text); }

// 1 BC is working year 0, so the leap rule and the day count need no gap.
int working_year(int year) noexcept { return year < 0 ? year + 1 : year; }

constexpr int MONTH_LENGTH[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr int DAYS_BEFORE_MONTH[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

int month_length(int month, bool leap) noexcept { return MONTH_LENGTH[month - 1] + (month == 2 && leap ? 1 : 0); }

int64 floor_mod(int64 a, int64 b) noexcept {
  const int64 r = a % b;
  return r < 0 ? r + b : r;
}

}  // namespace

// ---- construction

Nym_date::Nym_date(int julian_day) : m_julian_day(julian_day) {
  if (!is_julian_day(julian_day)) throw_invalid("Invalid Julian day.");
}

Nym_date::Nym_date(const Nym_time_period& days) : m_julian_day(nym_narrow_i32(days.days())) {
  if (!is_julian_day(m_julian_day)) throw_invalid("Invalid period.");
}

Nym_date::Nym_date(int day, int month, int year) : Nym_date() { assign(day, month, year); }

Nym_date::Nym_date(const tm& t) : Nym_date() { assign(t); }

Nym_date::Nym_date(Nym_ordinal week, int weekday, int month, int year) : Nym_date() {
  assign(week, weekday, month, year);
}

int Nym_date::checked_julian_day(int64 julian_day) {
  if (julian_day < MIN_JULIAN_DAY || julian_day > MAX_JULIAN_DAY) throw_invalid("Invalid Julian day.");
  return static_cast<int>(julian_day);
}

void Nym_date::assign(int day, int month, int year) {
  if (!is_day_in_month(day, month, year)) throw_invalid("Invalid day, month, year.");
  m_julian_day = calc_julian_day(day, month, year);
}

void Nym_date::assign(const tm& t) {
  // tm_year is the calendar year here, not years since 1900: see the header.
  const int year = t.tm_year >= 0 && t.tm_year <= 99 ? infer_year(t.tm_year) : t.tm_year;
  const int month = t.tm_mon >= 0 && t.tm_mon <= 11 ? t.tm_mon + 1 : 0;  // no overflow on junk
  assign(t.tm_mday, month, year);
}

void Nym_date::assign(Nym_ordinal week, int weekday, int month, int year) {
  if (!is_month(month)) throw_invalid("Invalid month value.");
  if (!is_year(year)) throw_invalid("Invalid year value.");
  if (!is_weekday(weekday)) throw_invalid("Invalid weekday value.");
  const Nym_date first(1, month, year);
  const int ordinal = static_cast<int>(week);
  int64 d;
  if (ordinal < 1) {
    const Nym_date next_first = first + Nym_time_period(days_in_month(month, year), 0, 0, 0, 0);
    d = next_first.previous(weekday).m_julian_day;
  } else {
    // The day before the first needs no range check: the step below decides.
    Nym_date before(first);
    --before;
    d = before.next(weekday).m_julian_day;
  }
  d += static_cast<int64>(ordinal) * 7 + (ordinal < 1 ? 7 : -7);
  if (d < MIN_JULIAN_DAY || d > MAX_JULIAN_DAY) throw_invalid("Invalid week of month.");
  int dd = 0, mm = 0, yy = 0;
  calc_calendar_date(static_cast<int>(d), dd, mm, yy);
  if (mm != month || yy != year) throw_invalid("Invalid week of month.");
  m_julian_day = static_cast<int>(d);
}

Nym_date Nym_date::today() {
  const impl::Local_reading now = impl::local_reading();
  Nym_date d;
  d.assign(now.day, now.month, now.year);
  return d;
}

Nym_date Nym_date::min_date() noexcept {
  Nym_date d;
  d.m_julian_day = MIN_JULIAN_DAY;
  return d;
}

Nym_date Nym_date::max_date() noexcept {
  Nym_date d;
  d.m_julian_day = MAX_JULIAN_DAY;
  return d;
}

// ---- reading

int Nym_date::day() const {
  int d, m, y;
  calc_calendar_date(m_julian_day, d, m, y);
  return d;
}

int Nym_date::month() const {
  int d, m, y;
  calc_calendar_date(m_julian_day, d, m, y);
  return m;
}

int Nym_date::year() const {
  int d, m, y;
  calc_calendar_date(m_julian_day, d, m, y);
  return y;
}

int Nym_date::weekday() const noexcept {
  // Floored, so that a date moved out of range by ++ or -- still names a weekday.
  return static_cast<int>(floor_mod(static_cast<int64>(m_julian_day) + 1, 7)) + 1;
}

int Nym_date::day_of_year() const { return m_julian_day - calc_julian_day(1, 1, year()) + 1; }

bool Nym_date::is_leap_year() const { return is_leap_year(year()); }

bool Nym_date::is_leap_year(int year) noexcept {
  if (!is_year(year)) return false;
  const int w = working_year(year);
  return w % 100 == 0 ? w % 400 == 0 : w % 4 == 0;
}

// ---- stepping

Nym_date Nym_date::next(int weekday) const {
  // Walking day by day would never end for a weekday outside 1 to 7.
  if (!is_weekday(weekday)) throw_invalid("Invalid weekday value.");
  const int step = (weekday - this->weekday() + 6) % 7 + 1;
  Nym_date d(*this);
  d.m_julian_day = static_cast<int>(static_cast<int64>(m_julian_day) + step);
  return d;
}

Nym_date Nym_date::previous(int weekday) const {
  if (!is_weekday(weekday)) throw_invalid("Invalid weekday value.");
  const int step = (this->weekday() - weekday + 6) % 7 + 1;
  Nym_date d(*this);
  d.m_julian_day = checked_julian_day(static_cast<int64>(m_julian_day) - step);
  return d;
}

Nym_date Nym_date::operator+(const Nym_time_period& p) const {
  Nym_date d(*this);
  d.m_julian_day = checked_julian_day(static_cast<int64>(m_julian_day) + nym_narrow_i32(p.days()));
  return d;
}

Nym_date Nym_date::operator-(const Nym_time_period& p) const {
  Nym_date d(*this);
  d.m_julian_day = checked_julian_day(static_cast<int64>(m_julian_day) - nym_narrow_i32(p.days()));
  return d;
}

Nym_date& Nym_date::operator+=(const Nym_time_period& p) { return *this = *this + p; }

Nym_date& Nym_date::operator-=(const Nym_time_period& p) { return *this = *this - p; }

Nym_time_period Nym_date::operator-(const Nym_date& other) const noexcept {
  const int64 days = static_cast<int64>(m_julian_day) - other.m_julian_day;
  Nym_time_period p;
  p = days * Nym_time_period::SECONDS_PER_DAY;  // whole seconds: no sign mix, cannot raise
  return p;
}

Nym_date& Nym_date::operator++() noexcept {
  m_julian_day = static_cast<int>(static_cast<unsigned int>(m_julian_day) + 1u);
  return *this;
}

Nym_date Nym_date::operator++(int) noexcept {
  const Nym_date old(*this);
  ++*this;
  return old;
}

Nym_date& Nym_date::operator--() noexcept {
  m_julian_day = static_cast<int>(static_cast<unsigned int>(m_julian_day) - 1u);
  return *this;
}

Nym_date Nym_date::operator--(int) noexcept {
  const Nym_date old(*this);
  --*this;
  return old;
}

// ---- the calendar

int Nym_date::calc_julian_day(int day, int month, int year) {
  if (!is_day_in_month(day, month, year)) throw_invalid("Nym_date::calc_julian_day - invalid day, month, year.");
  const int64 y = static_cast<int64>(working_year(year)) + 4799;
  int64 t = day - 1;
  if (y != 0) {
    const int64 q = y / 400;
    const int64 r = y - 400 * q;
    const int64 c = r / 100;
    const int64 s = r - 100 * c;
    t += DAYS_PER_400_YEARS * q + DAYS_PER_100_YEARS * c + DAYS_PER_4_YEARS * (s / 4) + 365 * (s % 4);
  }
  // The months before, from a running table rather than one days_in_month call each.
  t += DAYS_BEFORE_MONTH[month - 1] + (month > 2 && Nym_date::is_leap_year(year) ? 1 : 0);
  return static_cast<int>(t - EPOCH_SHIFT);
}

void Nym_date::calc_calendar_date(int julian_day, int& day, int& month, int& year) {
  // 64-bit throughout: a day moved out of range by ++ or -- must not overflow here.
  int64 v = static_cast<int64>(julian_day) + EPOCH_SHIFT;
  int64 n = 0;
  if (v >= 365) {
    const int64 q = v / DAYS_PER_400_YEARS;
    v -= DAYS_PER_400_YEARS * q;
    // Clamped, so that the last day of a leap cycle stays in its own cycle.
    const int64 c = std::min<int64>(v / DAYS_PER_100_YEARS, 3);
    v -= DAYS_PER_100_YEARS * c;
    const int64 f = v / DAYS_PER_4_YEARS;
    v -= DAYS_PER_4_YEARS * f;
    const int64 k = std::min<int64>(v / 365, 3);
    v -= 365 * k;
    n = 400 * q + 100 * c + 4 * f + k;
  }
  const int y = static_cast<int>(n - 4799 < 1 ? n - 4800 : n - 4799);
  const bool leap = is_leap_year(y);
  int m = 1;
  while (m < 12 && v >= month_length(m, leap)) {
    v -= month_length(m, leap);
    ++m;
  }
  const int64 d = v + 1;
  if (d > month_length(m, leap)) throw_invalid("Julian day greater than days in the month.");
  day = static_cast<int>(d);
  month = m;
  year = y;
}

int Nym_date::days_in_month(int month, int year) {
  if (!is_month(month)) throw_invalid("Not a valid month.");
  if (year == 0) throw_invalid("Year 0 never existed.");
  return month_length(month, is_leap_year(year));
}

int Nym_date::days_in_year(int year) {
  if (year == 0) throw_invalid("Year 0 never existed.");
  return is_leap_year(year) ? 366 : 365;
}

bool Nym_date::is_day_in_month(int day, int month, int year) {
  // The year first: days_in_month would raise for year 0.
  return is_year(year) && is_month(month) && day >= 1 && day <= days_in_month(month, year);
}

int Nym_date::infer_year(int year) noexcept {
  if (year >= 0 && year <= 50) return 2000 + year;
  if (year >= 51 && year <= 99) return 1900 + year;
  return year;
}

// ---- text

Nym_date::operator tm() const {
  int d, m, y;
  calc_calendar_date(m_julian_day, d, m, y);
  tm t{};
  t.tm_mday = d;
  t.tm_mon = m - 1;
  t.tm_year = y - 1900;
  t.tm_wday = weekday() - 1;
  t.tm_yday = m_julian_day - calc_julian_day(1, 1, y);
  t.tm_isdst = 0;
  return t;
}

bool Nym_date::is_format_token(unsigned short unit) noexcept {
  switch (unit) {
    case u'%':
    case u'A':
    case u'B':
    case u'U':
    case u'Y':
    case u'a':
    case u'b':
    case u'd':
    case u'j':
    case u'm':
    case u'w':
    case u'x':
      return true;
    default:
      return false;
  }
}

void Nym_date::to_string(const Wstring& format, Wstring& result) const {
  // A date stepped out of range by ++ or -- has no calendar fields that strftime would take.
  if (!is_julian_day(m_julian_day)) throw_invalid("Invalid Julian day.");
  const tm t = *this;
  impl::expand_format(format, result, [&](Wchar token) {
    if (!is_format_token(token)) throw_invalid("Nym_date::to_string - invalid format token.");
    char buffer[1024];
    switch (token) {
      case u'Y': {
        const int y = t.tm_year + 1900;
        std::snprintf(buffer, sizeof buffer, y < 0 ? "%05d" : "%04d", y);
        nym_string_append(result, buffer);
        break;
      }
      case u'w':
        std::snprintf(buffer, sizeof buffer, "%1d", weekday());
        nym_string_append(result, buffer);
        break;
      case u'x': {
        Wstring text;
        to_string(impl::locale_short_date_format(), text);
        result += text;
        break;
      }
      default:
        impl::append_strftime(result, token, t);
        break;
    }
  });
}

namespace impl {

Wstring short_date_format(const Wstring& separator, Wchar order) {
  const char16_t* first;
  const char16_t* second;
  const char16_t* third;
  switch (order) {
    case u'0':
      first = u"%m", second = u"%d", third = u"%Y";
      break;
    case u'1':
      first = u"%d", second = u"%m", third = u"%Y";
      break;
    case u'2':
      first = u"%Y", second = u"%m", third = u"%d";
      break;
    default:
      return u"%d/%m/%Y";
  }
  // A "%" in a user's separator is text, not a token (nor a way back into %x).
  Wstring sep;
  for (const Wchar c : separator) {
    if (c == u'%') sep += u'%';
    sep += c;
  }
  return Wstring(first) + sep + second + sep + third;
}

}  // namespace impl

}  // namespace nym
