#include "nym/time.h"

#include <stdexcept>

#include "nym/string_basic.h"
#include "time/clock.h"
#include "time/format_walk.h"

namespace nym {

namespace {

Nym_time_period one_day() { return Nym_time_period(Nym_time_period::SECONDS_PER_DAY, 0); }

[[noreturn]] void throw_bad_component() { throw std::invalid_argument("Invalid argument to Nym_time::set()"); }

}  // namespace

Nym_time::Nym_time(int hours, int minutes, int seconds, int microseconds) : Nym_time() {
  assign(hours, minutes, seconds, microseconds);
}

Nym_time::Nym_time(const tm& t, int microseconds) : Nym_time() { assign(t, microseconds); }

Nym_time::Nym_time(int seconds) : m_seconds(seconds), m_microseconds(0) { adjust(); }

Nym_time::Nym_time(const Nym_time_period& period)
    : m_seconds(period.seconds()), m_microseconds(period.microseconds()) {
  adjust();
}

Nym_time::Nym_time(Now_t) : Nym_time() {
  const impl::Local_reading now = impl::local_reading();
  const Nym_time_period p(0, now.hour, now.minute, now.second, now.millisecond * 1000);
  m_seconds = p.seconds();
  m_microseconds = p.microseconds();
  adjust();
}

void Nym_time::assign(int hours, int minutes, int seconds, int microseconds) {
  if (!valid_hour(hours) || !valid_minute(minutes) || !valid_second(seconds) || !valid_microsecond(microseconds)) {
    throw_bad_component();
  }
  m_seconds = static_cast<int64>(hours) * 3600 + minutes * 60 + seconds;
  m_microseconds = microseconds;
}

void Nym_time::assign(const tm& t, int microseconds) { assign(t.tm_hour, t.tm_min, t.tm_sec, microseconds); }

Nym_time Nym_time::max_time() noexcept {
  Nym_time t;
  t.m_seconds = Nym_time_period::SECONDS_PER_DAY - 1;
  t.m_microseconds = 999999;
  return t;
}

Nym_time Nym_time::now() { return Nym_time(Now_t{}); }

Nym_time& Nym_time::adjust() {
  // The fields always form a valid period here, so the period operations cannot refuse them.
  Nym_time_period p(m_seconds, m_microseconds);
  const int days = nym_narrow_i32(m_seconds / Nym_time_period::SECONDS_PER_DAY);
  if (days != 0) p -= Nym_time_period(days, 0, 0, 0, 0);
  if (p < Nym_time_period::ZERO) p += one_day();
  m_seconds = p.seconds();
  m_microseconds = p.microseconds();
  return *this;
}

bool Nym_time::is_am() const noexcept {
  const Nym_time_period& noon = Nym_time_period::NOON;
  return m_seconds < noon.seconds() || (m_seconds == noon.seconds() && m_microseconds < noon.microseconds());
}

Nym_time Nym_time::operator+(const Nym_time_period& p) const { return Nym_time(Nym_time_period(*this) + p); }

Nym_time Nym_time::operator-(const Nym_time_period& p) const { return Nym_time(Nym_time_period(*this) - p); }

Nym_time& Nym_time::operator+=(const Nym_time_period& p) { return *this = *this + p; }

Nym_time& Nym_time::operator-=(const Nym_time_period& p) { return *this = *this - p; }

Nym_time_period Nym_time::operator-(const Nym_time& other) const noexcept {
  Nym_time_period r = Nym_time_period(*this) - Nym_time_period(other);
  if (r < Nym_time_period::ZERO) r += one_day();
  return r;
}

Nym_time::operator Nym_time_period() const { return Nym_time_period(m_seconds, m_microseconds); }

Nym_time::operator tm() const noexcept {
  tm t{};
  t.tm_hour = hours();
  t.tm_min = minutes();
  t.tm_sec = seconds();
  return t;
}

bool Nym_time::is_format_token(unsigned short unit) noexcept {
  switch (unit) {
    case u'%':
    case u'H':
    case u'I':
    case u'M':
    case u'S':
    case u'X':
    case u'p':
      return true;
    default:
      return false;
  }
}

void Nym_time::to_string(const Wstring& format, Wstring& result) const {
  const tm t = *this;
  impl::expand_format(format, result, [&](Wchar token) {
    if (!is_format_token(token)) throw std::invalid_argument("Nym_time::to_string - invalid format token.");
    impl::append_strftime(result, token, t);
  });
}

namespace impl {

void append_strftime(Wstring& result, Wchar token, const std::tm& t) {
  const char conversion[3] = {'%', static_cast<char>(token), '\0'};
  char buffer[1024];
  if (std::strftime(buffer, sizeof buffer, conversion, &t) > 0) nym_string_append(result, buffer);
}

}  // namespace impl

}  // namespace nym
