// Nym_time_period: the signed duration every date and time type of the library stands on,
// and the checked narrowing of 64-bit values that the date and time code shares.
//
// A period is two integers, whole seconds (64-bit) and microseconds (32-bit), which never have
// opposite signs; the magnitude of the microseconds stays below a second. A negative quarter
// second is (0, -250000), a negative one and a quarter (-1, -250000). Periods are plain values:
// no locks, no allocation except in to_string.
//
// Errors raise: std::invalid_argument "Invalid time period given to Nym_time_period::assign()"
// for arguments of mixed signs, "Nym_time_period::to_string - invalid format token." for a bad
// token, and std::overflow_error from the narrowing below. A failed call leaves the object as
// it was. The 64-bit arithmetic wraps around instead of checking.
#ifndef NYM_TIME_PERIOD_H
#define NYM_TIME_PERIOD_H

#include <cstdint>
#include <stdexcept>

#include "nym/types.h"

// The C run-time's struct timeval, by name only: include <sys/time.h> (on Windows it is also
// the one <winsock2.h> declares) to use the conversions.
struct timeval;

namespace nym {

// Checked narrowing of a 64-bit value: std::overflow_error "i64 too negative for i32" or
// "i64 too positive for i32" outside the range of int.
inline int nym_narrow_i32(int64 value) {
  if (value < INT32_MIN) throw std::overflow_error("i64 too negative for i32");
  if (value > INT32_MAX) throw std::overflow_error("i64 too positive for i32");
  return static_cast<int>(value);
}

// The same into unsigned 32 bits: "i64 too negative for u32" below 0, "i64 too positive for
// u32" above 0xFFFFFFFF.
inline unsigned int nym_narrow_u32(int64 value) {
  if (value < 0) throw std::overflow_error("i64 too negative for u32");
  if (value > static_cast<int64>(UINT32_MAX)) throw std::overflow_error("i64 too positive for u32");
  return static_cast<unsigned int>(value);
}

class NYM_API Nym_time_period {
 public:
  static const int64 SECONDS_PER_DAY = 86400;
  static const int64 SECONDS_PER_HOUR = 3600;
  static const int64 SECONDS_PER_MINUTE = 60;
  static const int MICROSECONDS_PER_SECOND = 1000000;

  // (0, 0) and twelve hours; both exist before any code of the library runs.
  static const Nym_time_period ZERO;
  static const Nym_time_period NOON;

  constexpr Nym_time_period() noexcept : m_seconds(0), m_microseconds(0) {}
  Nym_time_period(const Nym_time_period&) noexcept = default;
  Nym_time_period& operator=(const Nym_time_period&) noexcept = default;
  // All five must agree in sign (zero goes with either); values beyond their unit are fine.
  Nym_time_period(int days, int hours, int minutes, int seconds, int microseconds);
  Nym_time_period(int64 seconds, int microseconds);
  // tv_sec as the platform gives it, tv_usec as microseconds; a negative tv_sec with a
  // positive tv_usec raises, although some platforms store such values.
  Nym_time_period(const timeval& tv);
  Nym_time_period& operator=(const timeval& tv);
  Nym_time_period& operator=(int64 seconds);

  // Hours are multiplied in 32 bits, days in 64; microseconds beyond a second carry over.
  void assign(int days, int hours, int minutes, int seconds, int microseconds);
  void assign(int64 seconds, int microseconds);
  void assign(const timeval& tv);

  // Totals truncated toward zero, not clock components: 90000 s is 25 hours, 1500 minutes.
  int64 days() const noexcept { return m_seconds / SECONDS_PER_DAY; }
  int64 hours() const noexcept { return m_seconds / SECONDS_PER_HOUR; }
  int64 minutes() const noexcept { return m_seconds / SECONDS_PER_MINUTE; }
  int64 seconds() const noexcept { return m_seconds; }
  int microseconds() const noexcept { return m_microseconds; }
  // The decomposition into days, hours, minutes, seconds and microseconds, each with the
  // sign of the whole; days beyond int raise std::overflow_error.
  void value(int& days, int& hours, int& minutes, int& seconds, int& microseconds) const;
  // tv_sec takes the low 32 bits of the seconds, without a check.
  operator timeval() const noexcept;

  static bool valid_microsecond(int microseconds) noexcept {
    return microseconds >= -999999 && microseconds <= 999999;
  }

  Nym_time_period operator+(const Nym_time_period& other) const noexcept;
  Nym_time_period operator-(const Nym_time_period& other) const noexcept;
  Nym_time_period& operator+=(const Nym_time_period& other) noexcept;
  Nym_time_period& operator-=(const Nym_time_period& other) noexcept;
  Nym_time_period operator-() const;
  // Each field times the factor; the microseconds are multiplied in 32 bits and may wrap.
  Nym_time_period operator*(int factor) const noexcept;
  Nym_time_period& operator*=(int factor) noexcept;
  // On the total in microseconds (wrapping beyond about 292,000 years). The divisor of % is a
  // count of microseconds: one second % 7 is one microsecond. A divisor of 0 raises
  // std::invalid_argument "Nym_time_period - division by zero.".
  Nym_time_period operator/(int divisor) const;
  Nym_time_period& operator/=(int divisor);
  Nym_time_period operator%(int divisor) const;
  Nym_time_period& operator%=(int divisor);

  bool operator==(const Nym_time_period& o) const noexcept {
    return m_seconds == o.m_seconds && m_microseconds == o.m_microseconds;
  }
  bool operator!=(const Nym_time_period& o) const noexcept { return !(*this == o); }
  bool operator<(const Nym_time_period& o) const noexcept {
    return m_seconds < o.m_seconds || (m_seconds == o.m_seconds && m_microseconds < o.m_microseconds);
  }
  bool operator>(const Nym_time_period& o) const noexcept { return o < *this; }
  bool operator<=(const Nym_time_period& o) const noexcept { return !(o < *this); }
  bool operator>=(const Nym_time_period& o) const noexcept { return !(*this < o); }

  // Tokens: %% "%", %C hundredths of a second, %D days(), %H hours() (the total), %M minutes
  // within the hour, %S seconds within the minute, %u the microseconds field, %P the whole
  // period as "[days ][-]HH:MM:SS.uu" with the raw microseconds field after the dot. A final
  // lone "%" is copied. `result` is replaced.
  void to_string(const Wstring& format, Wstring& result) const;

 private:
  struct Raw {};
  constexpr Nym_time_period(Raw, int64 seconds, int microseconds) noexcept
      : m_seconds(seconds), m_microseconds(microseconds) {}
  static Nym_time_period raw(int64 seconds, int microseconds) noexcept { return {Raw{}, seconds, microseconds}; }
  void adjust() noexcept;

  int64 m_seconds;
  int m_microseconds;
};

}  // namespace nym

#endif
