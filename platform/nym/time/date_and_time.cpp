#include "nym/date_and_time.h"

#include <atomic>
#include <cstdio>
#include <stdexcept>

#include "nym/string_basic.h"
#include "time/clock.h"
#include "time/format_walk.h"

namespace nym {

namespace {

constexpr int64 DAY = Nym_time_period::SECONDS_PER_DAY;

Nym_time_period day_start(int julian_day) { return Nym_time_period(static_cast<int64>(julian_day) * DAY, 0); }

// Days narrowed with the checked narrowing (overflow_error), then the legal range.
bool holds_julian_day(const Nym_time_period& p) { return Nym_date::is_julian_day(nym_narrow_i32(p.days())); }

// A tm field plus a bias without overflow: a sum beyond int becomes 0, which every calendar
// check refuses as it would refuse the true sum.
int biased(int field, int bias) {
  const int64 sum = static_cast<int64>(field) + bias;
  return sum < INT32_MIN || sum > INT32_MAX ? 0 : static_cast<int>(sum);
}

}  // namespace

Nym_date_and_time::Nym_date_and_time() noexcept
    : m_period(day_start(Nym_date::UNIX_EPOCH_JULIAN_DAY)), m_zone(Nym_time_zone::UTC) {}

Nym_date_and_time::Nym_date_and_time(const Nym_date& date, const Nym_time& time, const Nym_time_zone& zone)
    : m_period(day_start(date.julian_day()) + Nym_time_period(time)), m_zone(zone) {}

Nym_date_and_time::Nym_date_and_time(const tm& t, const Nym_time_zone& zone) : Nym_date_and_time() {
  assign(t, zone);
}

Nym_date_and_time::Nym_date_and_time(const Nym_time_period& period, const Nym_time_zone& zone)
    : m_period(period), m_zone(zone) {
  if (!holds_julian_day(m_period)) {
    throw std::invalid_argument("Nym_date_and_time::Nym_date_and_time() - time period is not a valid julian day.");
  }
}

Nym_date_and_time::Nym_date_and_time(Now_t) : m_zone(Nym_time_zone::local(true)) {
  const impl::Local_reading r = impl::local_reading();
  m_period.assign(Nym_date::calc_julian_day(r.day, r.month, r.year), r.hour, r.minute, r.second,
                  r.millisecond * 1000);
}

Nym_date_and_time::Nym_date_and_time(Min_t)
    : m_period(day_start(Nym_date::MIN_JULIAN_DAY)), m_zone(Nym_time_zone::local(true)) {}

Nym_date_and_time::Nym_date_and_time(Max_t)
    : m_period(day_start(Nym_date::MAX_JULIAN_DAY) + Nym_time_period(DAY - 1, 999999)),
      m_zone(Nym_time_zone::local(true)) {}

void Nym_date_and_time::assign(const Nym_date& date, const Nym_time& time, const Nym_time_zone& zone) {
  *this = Nym_date_and_time(date, time, zone);
}

void Nym_date_and_time::assign(const tm& t, const Nym_time_zone& zone) {
  Nym_date d;
  d.assign(t.tm_mday, biased(t.tm_mon, 1), biased(t.tm_year, 1900));
  Nym_time tt;
  tt.assign(t.tm_hour, t.tm_min, t.tm_sec, 0);
  assign(d, tt, zone);
}

Nym_date_and_time& Nym_date_and_time::operator=(const tm& t) {
  assign(t, m_zone);
  return *this;
}

Nym_date_and_time& Nym_date_and_time::operator=(const Nym_time_period& period) {
  if (!holds_julian_day(period)) {
    throw std::invalid_argument("Nym_date_and_time::operator=() - time period is not a valid julian day.");
  }
  m_period = period;
  return *this;
}

Nym_date_and_time Nym_date_and_time::now() { return Nym_date_and_time(Now_t{}); }
Nym_date_and_time Nym_date_and_time::min_date_and_time() { return Nym_date_and_time(Min_t{}); }
Nym_date_and_time Nym_date_and_time::max_date_and_time() { return Nym_date_and_time(Max_t{}); }

Nym_date Nym_date_and_time::date() const { return Nym_date(nym_narrow_i32(m_period.days())); }

void Nym_date_and_time::date(const Nym_date& d) {
  m_period = day_start(d.julian_day()) + Nym_time_period(time());
}

void Nym_date_and_time::time(const Nym_time& t) {
  m_period = day_start(date().julian_day()) + Nym_time_period(t);
}

void Nym_date_and_time::zone(const Nym_time_zone& new_zone) noexcept {
  m_period += m_zone.offset();
  m_period -= new_zone.offset();
  m_zone = new_zone;
}

Nym_date_and_time& Nym_date_and_time::utc() noexcept {
  m_period += m_zone.offset();
  m_zone = Nym_time_zone::UTC;
  return *this;
}

Nym_date_and_time Nym_date_and_time::utc() const noexcept {
  Nym_date_and_time copy(*this);
  return copy.utc();
}

Nym_date_and_time Nym_date_and_time::operator+(const Nym_time_period& p) const noexcept {
  Nym_date_and_time r(*this);
  return r += p;
}

Nym_date_and_time Nym_date_and_time::operator-(const Nym_time_period& p) const noexcept {
  Nym_date_and_time r(*this);
  return r -= p;
}

Nym_date_and_time& Nym_date_and_time::operator+=(const Nym_time_period& p) noexcept {
  m_period += p;
  return *this;
}

Nym_date_and_time& Nym_date_and_time::operator-=(const Nym_time_period& p) noexcept {
  m_period -= p;
  return *this;
}

Nym_time_period Nym_date_and_time::operator-(const Nym_date_and_time& other) const noexcept {
  return m_period - other.m_period;
}

bool Nym_date_and_time::operator==(const Nym_date_and_time& o) const noexcept {
  return utc().m_period == o.utc().m_period;
}

bool Nym_date_and_time::operator<(const Nym_date_and_time& o) const noexcept {
  return utc().m_period < o.utc().m_period;
}

bool Nym_date_and_time::operator>(const Nym_date_and_time& o) const noexcept {
  return utc().m_period > o.utc().m_period;
}

bool Nym_date_and_time::is_same_as(const Nym_date_and_time& o) const noexcept {
  return m_zone == o.m_zone && m_period == o.m_period;
}

Nym_date_and_time::operator tm() const {
  tm t = date();
  const Nym_time clock = time();
  t.tm_hour = clock.hours();
  t.tm_min = clock.minutes();
  t.tm_sec = clock.seconds();
  t.tm_isdst = m_zone.identifier() > 50 ? 1 : 0;
  return t;
}

bool Nym_date_and_time::is_format_token(unsigned short unit) noexcept {
  return unit == u'c' || unit == u'o' || unit == u'z' || Nym_time::is_format_token(unit) ||
         Nym_date::is_format_token(unit);
}

void Nym_date_and_time::to_string(const Wstring& format, Wstring& result) const {
  static const Wstring time_format(u"%X");
  static const Wstring date_format(u"%x");
  static const Wstring hours_format(u"%H");
  // Both before the walk, so an out-of-range value raises whatever the format holds.
  const Nym_time clock = time();
  const Nym_date day = date();
  Wstring part;
  impl::expand_format(format, result, [&](Wchar token) {
    switch (token) {
      case u'z':
        if (m_zone.identifier() != Nym_time_zone::NO_ZONE) {
          nym_stow(m_zone.name(), part);
          result += part;
        }
        return;
      case u'o': {
        const Nym_time_period offset = m_zone.offset();
        result += offset.hours() >= 0 ? u'+' : u'-';
        offset.to_string(hours_format, part);
        result += part;
        return;
      }
      case u'c':
        clock.to_string(time_format, part);
        result += part;
        result += u' ';
        day.to_string(date_format, part);
        result += part;
        return;
      default:
        break;
    }
    const Wchar token_format[3] = {u'%', token, u'\0'};
    if (Nym_time::is_format_token(token)) {
      clock.to_string(token_format, part);
    } else if (Nym_date::is_format_token(token)) {
      day.to_string(token_format, part);
    } else {
      throw std::invalid_argument("Nym_date_and_time::to_string - invalid format token.");
    }
    result += part;
  });
}

void nym_idgen_date_time_number(Nstring& id) {
  static std::atomic<unsigned int> counter{0};
  const unsigned int n = counter.fetch_add(1) + 1;
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%u.%u.%u", static_cast<unsigned int>(Nym_date::today().julian_day()),
                static_cast<unsigned int>(Nym_time::now().seconds()), n);
  id = buffer;
}

}  // namespace nym
