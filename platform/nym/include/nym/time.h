// Nym_time: a time of day with microsecond resolution, without date or zone.
//
// The value always lies within one day: arithmetic wraps around midnight instead of
// overflowing, so 23:59:59 plus a second is 00:00:00 and -1 second is 23:59:59. It holds the
// two fields of a Nym_time_period and converts to one. A plain value: no locks.
//
// Errors raise std::invalid_argument "Invalid argument to Nym_time::set()" for a component out
// of range, "Nym_time::to_string - invalid format token." for a bad token, and
// std::overflow_error ("i64 too positive for i32" / "i64 too negative for i32") for a period of
// more than 2147483647 days. A failed call leaves the object as it was.
#ifndef NYM_TIME_H
#define NYM_TIME_H

#include <ctime>

#include "nym/time_period.h"

namespace nym {

class NYM_API Nym_time {
 public:
  // 00:00:00.000000.
  constexpr Nym_time() noexcept : m_seconds(0), m_microseconds(0) {}
  Nym_time(const Nym_time&) noexcept = default;
  Nym_time& operator=(const Nym_time&) noexcept = default;
  // Hours 0 to 23, minutes and seconds 0 to 59, microseconds 0 to 999999.
  Nym_time(int hours, int minutes, int seconds, int microseconds);
  // tm_hour, tm_min and tm_sec through the same check: a leap second (tm_sec 60) is refused.
  Nym_time(const tm& t, int microseconds);
  // Seconds after midnight, wrapped into the day; negative values count back from midnight.
  explicit Nym_time(int seconds);
  // Any period becomes a time of day: its days are dropped.
  Nym_time(const Nym_time_period& period);

  void assign(int hours, int minutes, int seconds, int microseconds);
  void assign(const tm& t, int microseconds);

  static Nym_time min_time() noexcept { return Nym_time(); }
  static Nym_time max_time() noexcept;
  // The local wall clock, to the millisecond.
  static Nym_time now();

  int hours() const noexcept { return static_cast<int>(m_seconds / 3600); }
  int minutes() const noexcept { return static_cast<int>((m_seconds / 60) % 60); }
  int seconds() const noexcept { return static_cast<int>(m_seconds % 60); }
  int microseconds() const noexcept { return m_microseconds; }
  // Noon itself is pm.
  bool is_am() const noexcept;
  bool is_pm() const noexcept { return !is_am(); }

  static bool valid_hour(int h) noexcept { return h >= 0 && h <= 23; }
  static bool valid_minute(int m) noexcept { return m >= 0 && m <= 59; }
  static bool valid_second(int s) noexcept { return s >= 0 && s <= 59; }
  static bool valid_microsecond(int u) noexcept { return u >= 0 && u <= 999999; }

  Nym_time operator+(const Nym_time_period& p) const;
  Nym_time operator-(const Nym_time_period& p) const;
  Nym_time& operator+=(const Nym_time_period& p);
  Nym_time& operator-=(const Nym_time_period& p);
  // How far forward on the clock `other` is from this time: never negative, so 01:00 minus
  // 23:00 is two hours and a time minus itself is zero.
  Nym_time_period operator-(const Nym_time& other) const noexcept;

  bool operator==(const Nym_time& o) const noexcept {
    return m_seconds == o.m_seconds && m_microseconds == o.m_microseconds;
  }
  bool operator!=(const Nym_time& o) const noexcept { return !(*this == o); }
  bool operator<(const Nym_time& o) const noexcept {
    return m_seconds < o.m_seconds || (m_seconds == o.m_seconds && m_microseconds < o.m_microseconds);
  }
  bool operator>(const Nym_time& o) const noexcept { return o < *this; }
  bool operator<=(const Nym_time& o) const noexcept { return !(o < *this); }
  bool operator>=(const Nym_time& o) const noexcept { return !(*this < o); }

  operator Nym_time_period() const;
  // tm_hour, tm_min and tm_sec set, every other field zero.
  operator tm() const noexcept;

  // The tokens of to_string: % H I M S X p.
  static bool is_format_token(unsigned short unit) noexcept;
  // Each token goes through the C library's strftime, so %X and %p follow the current C
  // locale. Other units are copied, and so is a final lone "%". `result` is replaced.
  // Microseconds are not reachable through a token.
  void to_string(const Wstring& format, Wstring& result) const;

 private:
  struct Now_t {};
  explicit Nym_time(Now_t);
  Nym_time& adjust();

  int64 m_seconds;
  int m_microseconds;
};

}  // namespace nym

#endif
