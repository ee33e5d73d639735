#include "nym/time_period.h"

#include <sys/time.h>

#include <cstdio>

#include "nym/cwstring.h"
#include "nym/string_basic.h"
#include "nym/time.h"
#include "time/format_walk.h"
#include "time/wrap.h"

namespace nym {

// Defined here so that a caller may bind them to a reference: the DLL exports them.
const int64 Nym_time_period::SECONDS_PER_DAY;
const int64 Nym_time_period::SECONDS_PER_HOUR;
const int64 Nym_time_period::SECONDS_PER_MINUTE;
const int Nym_time_period::MICROSECONDS_PER_SECOND;

// Constant-initialised, so that they exist before any dynamic initialiser of the library.
const Nym_time_period Nym_time_period::ZERO(Raw{}, 0, 0);
const Nym_time_period Nym_time_period::NOON(Raw{}, 12 * SECONDS_PER_HOUR, 0);

namespace {

constexpr int MICRO = Nym_time_period::MICROSECONDS_PER_SECOND;

[[noreturn]] void throw_mixed_signs() {
  throw std::invalid_argument("Invalid time period given to Nym_time_period::assign()");
}

bool agree_in_sign(std::initializer_list<int64> values) {
  bool positive = false;
  bool negative = false;
  for (const int64 v : values) {
    positive = positive || v > 0;
    negative = negative || v < 0;
  }
  return !(positive && negative);
}

void append_number(Wstring& out, const char* format, int64 value) {
  char buffer[80];
  std::snprintf(buffer, sizeof buffer, format, static_cast<long long>(value));
  nym_string_append(out, buffer);
}

void append_number(Wstring& out, const char* format, int value) {
  char buffer[80];
  std::snprintf(buffer, sizeof buffer, format, value);
  nym_string_append(out, buffer);
}

}  // namespace

Nym_time_period::Nym_time_period(int days, int hours, int minutes, int seconds, int microseconds) : Nym_time_period() {
  assign(days, hours, minutes, seconds, microseconds);
}

Nym_time_period::Nym_time_period(int64 seconds, int microseconds) : Nym_time_period() { assign(seconds, microseconds); }

Nym_time_period::Nym_time_period(const timeval& tv) : Nym_time_period() { assign(tv); }

Nym_time_period& Nym_time_period::operator=(const timeval& tv) {
  assign(tv);
  return *this;
}

Nym_time_period& Nym_time_period::operator=(int64 seconds) {
  assign(seconds, 0);
  return *this;
}

void Nym_time_period::assign(int days, int hours, int minutes, int seconds, int microseconds) {
  if (!agree_in_sign({days, hours, minutes, seconds, microseconds})) throw_mixed_signs();
  // The hour and minute products are 32-bit, as they always were; only days widen.
  const int64 total = impl::wrap_add(
      impl::wrap_mul(static_cast<int64>(days), SECONDS_PER_DAY),
      static_cast<int64>(impl::wrap_mul32(hours, 3600)) + impl::wrap_mul32(minutes, 60) + microseconds / MICRO +
          seconds);
  m_seconds = total;
  m_microseconds = microseconds % MICRO;
  adjust();
}

void Nym_time_period::assign(int64 seconds, int microseconds) {
  if (!agree_in_sign({seconds, microseconds})) throw_mixed_signs();
  m_seconds = seconds;
  m_microseconds = microseconds;
  adjust();
}

void Nym_time_period::assign(const timeval& tv) {
  assign(static_cast<int64>(tv.tv_sec), static_cast<int>(tv.tv_usec));
}

void Nym_time_period::adjust() noexcept {
  const int64 s = m_seconds;
  int u = m_microseconds;
  int64 t = impl::wrap_add(s, static_cast<int64>(u / MICRO));
  if (t < 0 && u >= 1) {
    t += 1;
    u -= MICRO;
    m_seconds = t;
    m_microseconds = u % MICRO;
  } else {
    if (t > 0 && u < 0) {
      t -= 1;
      u += MICRO;
    }
    if (t != s) {
      m_seconds = t;
      m_microseconds = u % MICRO;
    }
  }
  // Only a product whose microseconds wrapped in 32 bits gets here with a field of more than
  // a second against the sign of the seconds; the steps above then leave opposite signs. One
  // more borrow restores the invariant that every other operation relies on.
  if (m_seconds > 0 && m_microseconds < 0) {
    m_seconds -= 1;
    m_microseconds += MICRO;
  } else if (m_seconds < 0 && m_microseconds > 0) {
    m_seconds += 1;
    m_microseconds -= MICRO;
  }
}

void Nym_time_period::value(int& days, int& hours, int& minutes, int& seconds, int& microseconds) const {
  int64 rest = m_seconds;
  const int d = nym_narrow_i32(rest / SECONDS_PER_DAY);
  rest -= static_cast<int64>(d) * SECONDS_PER_DAY;
  const int h = nym_narrow_i32(rest / SECONDS_PER_HOUR);
  rest -= static_cast<int64>(h) * SECONDS_PER_HOUR;
  const int m = nym_narrow_i32(rest / SECONDS_PER_MINUTE);
  rest -= static_cast<int64>(m) * SECONDS_PER_MINUTE;
  const int s = nym_narrow_i32(rest);
  days = d;
  hours = h;
  minutes = m;
  seconds = s;
  microseconds = m_microseconds;
}

Nym_time_period::operator timeval() const noexcept {
  timeval tv{};
  // The low 32 bits on every platform, so a round trip reads the same everywhere.
  tv.tv_sec = static_cast<std::int32_t>(static_cast<std::uint32_t>(m_seconds));
  tv.tv_usec = m_microseconds;
  return tv;
}

Nym_time_period Nym_time_period::operator+(const Nym_time_period& other) const noexcept {
  Nym_time_period r(*this);
  r += other;
  return r;
}

Nym_time_period Nym_time_period::operator-(const Nym_time_period& other) const noexcept {
  Nym_time_period r(*this);
  r -= other;
  return r;
}

Nym_time_period& Nym_time_period::operator+=(const Nym_time_period& other) noexcept {
  m_seconds = impl::wrap_add(m_seconds, other.m_seconds);
  m_microseconds += other.m_microseconds;
  adjust();
  return *this;
}

Nym_time_period& Nym_time_period::operator-=(const Nym_time_period& other) noexcept {
  m_seconds = impl::wrap_sub(m_seconds, other.m_seconds);
  m_microseconds -= other.m_microseconds;
  adjust();
  return *this;
}

Nym_time_period Nym_time_period::operator-() const {
  Nym_time_period r;
  r.assign(impl::wrap_sub(0, m_seconds), -m_microseconds);
  return r;
}

Nym_time_period Nym_time_period::operator*(int factor) const noexcept {
  Nym_time_period r(*this);
  r *= factor;
  return r;
}

Nym_time_period& Nym_time_period::operator*=(int factor) noexcept {
  m_seconds = impl::wrap_mul(m_seconds, static_cast<int64>(factor));
  m_microseconds = impl::wrap_mul32(m_microseconds, factor);
  adjust();
  return *this;
}

namespace {

// The total in microseconds, wrapping as the period arithmetic does.
int64 total_microseconds(const Nym_time_period& p) {
  return impl::wrap_add(impl::wrap_mul(p.seconds(), static_cast<int64>(MICRO)), static_cast<int64>(p.microseconds()));
}

void check_divisor(int divisor) {
  if (divisor == 0) throw std::invalid_argument("Nym_time_period - division by zero.");
}

}  // namespace

Nym_time_period& Nym_time_period::operator/=(int divisor) {
  check_divisor(divisor);
  const int64 total = total_microseconds(*this);
  // The one quotient beyond int64 wraps to itself, like the rest of the arithmetic.
  const int64 q = divisor == -1 ? impl::wrap_sub(0, total) : total / divisor;
  m_seconds = q / MICRO;
  m_microseconds = static_cast<int>(q - m_seconds * MICRO);
  return *this;
}

Nym_time_period& Nym_time_period::operator%=(int divisor) {
  check_divisor(divisor);
  const int64 total = total_microseconds(*this);
  const int64 q = divisor == -1 ? 0 : total % divisor;
  m_seconds = q / MICRO;
  m_microseconds = static_cast<int>(q - m_seconds * MICRO);
  return *this;
}

Nym_time_period Nym_time_period::operator/(int divisor) const {
  Nym_time_period r(*this);
  r /= divisor;
  return r;
}

Nym_time_period Nym_time_period::operator%(int divisor) const {
  Nym_time_period r(*this);
  r %= divisor;
  return r;
}

void Nym_time_period::to_string(const Wstring& format, Wstring& result) const {
  static const Wstring clock_format(u"%H:%M:%S");
  impl::expand_format(format, result, [&](Wchar token) {
    switch (token) {
      case u'%':
        result += u'%';
        break;
      case u'C':
        append_number(result, "%02d", m_microseconds / 10000);
        break;
      case u'D':
        append_number(result, "%lld", days());
        break;
      case u'H':
        append_number(result, "%02lld", hours());
        break;
      case u'M':
        append_number(result, "%02lld", m_seconds / 60 - (m_seconds / 60 / 60) * 60);
        break;
      case u'S':
        append_number(result, "%02lld", m_seconds - (m_seconds / 60) * 60);
        break;
      case u'u':
        append_number(result, "%d", m_microseconds);
        break;
      case u'P': {
        if (days() != 0) {
          append_number(result, "%lld", days());
          result += W_SPACE;
        }
        Wstring clock;
        if (m_seconds < 0) {
          result += W_HYPHEN;
          Nym_time(-*this).to_string(clock_format, clock);
        } else {
          Nym_time(*this).to_string(clock_format, clock);
        }
        result += clock;
        result += W_DOT;
        // The raw field, deliberately unscaled: 5 microseconds print as 05.
        append_number(result, "%02d", m_microseconds);
        break;
      }
      default:
        throw std::invalid_argument("Nym_time_period::to_string - invalid format token.");
    }
  });
}

}  // namespace nym
