// Nym_date_and_time: an instant as a wall-clock reading in a zone of the built-in table, and
// nym_idgen_date_time_number, a short id made of the date, the time and a counter.
//
// The date is folded into the seconds: the value is one Nym_time_period of Julian day × 86400
// plus the seconds since local midnight, so arithmetic is period arithmetic and only the
// conversion to a date needs the calendar. The zone travels with the value. A valid value has
// a Julian day from 38 through 13688960; the constructors and operator= from a period keep to
// that, the arithmetic does not, and a value moved out of range raises when its date is next
// asked for ("Invalid Julian day."). A plain value: no locks.
//
// Two kinds of sameness: ==, < and the others compare the instants (12:00 EST equals 17:00
// GMT); is_same_as asks for the same reading in the same zone. Subtraction of two values
// takes the difference of their wall clocks and ignores the zones.
//
// Errors raise std::invalid_argument with the texts named below, or std::overflow_error ("i64
// too positive for i32" / "i64 too negative for i32") when the days do not fit an int. A failed
// call leaves the object as it was.
#ifndef NYM_DATE_AND_TIME_H
#define NYM_DATE_AND_TIME_H

#include <ctime>

#include "nym/date.h"
#include "nym/time.h"
#include "nym/time_zone.h"

namespace nym {

class NYM_API Nym_date_and_time {
 public:
  // 1 January 1970 00:00:00 in UTC; the clock is not read.
  Nym_date_and_time() noexcept;
  Nym_date_and_time(const Nym_date_and_time&) noexcept = default;
  Nym_date_and_time& operator=(const Nym_date_and_time&) noexcept = default;
  ~Nym_date_and_time() = default;
  Nym_date_and_time(const Nym_date& date, const Nym_time& time, const Nym_time_zone& zone);
  // The date from tm_mday, tm_mon + 1 and tm_year + 1900 (Nym_date's "Invalid day, month,
  // year."), the time from tm_hour, tm_min and tm_sec ("Invalid argument to Nym_time::set()").
  Nym_date_and_time(const tm& t, const Nym_time_zone& zone);
  // "Nym_date_and_time::Nym_date_and_time() - time period is not a valid julian day."
  Nym_date_and_time(const Nym_time_period& period, const Nym_time_zone& zone);

  void assign(const Nym_date& date, const Nym_time& time, const Nym_time_zone& zone);
  void assign(const tm& t, const Nym_time_zone& zone);
  // assign with this object's own zone.
  Nym_date_and_time& operator=(const tm& t);
  // The zone stays; "Nym_date_and_time::operator=() - time period is not a valid julian day."
  Nym_date_and_time& operator=(const Nym_time_period& period);

  // The local wall clock in the local zone (Nym_time_zone::local(true)), to the millisecond.
  static Nym_date_and_time now();
  // Julian day 38 at 00:00:00.000000 and 13688960 at 23:59:59.999999, in the local zone.
  static Nym_date_and_time min_date_and_time();
  static Nym_date_and_time max_date_and_time();

  operator Nym_time_period() const noexcept { return m_period; }

  // "Invalid Julian day." when the value has left the range.
  Nym_date date() const;
  // Takes the new date, keeping the time of day and the zone.
  void date(const Nym_date& d);
  Nym_time time() const { return Nym_time(m_period); }
  // Takes the new time of day, keeping the date ("Invalid Julian day." as date()) and the zone.
  void time(const Nym_time& t);

  const Nym_time_zone& zone() const noexcept { return m_zone; }
  // Converts: the instant stays, the reading moves to the new zone (12:00 GMT becomes 13:00
  // CET). To relabel a reading without moving it, assign it with the new zone instead.
  void zone(const Nym_time_zone& new_zone) noexcept;
  // The same instant in UTC: in place, or as a copy.
  Nym_date_and_time& utc() noexcept;
  Nym_date_and_time utc() const noexcept;
  bool is_dst() const noexcept { return m_zone.is_dst(); }
  bool is_std() const noexcept { return m_zone.is_std(); }

  // Period arithmetic on the reading; the zone stays and the range is not checked.
  Nym_date_and_time operator+(const Nym_time_period& p) const noexcept;
  Nym_date_and_time operator-(const Nym_time_period& p) const noexcept;
  Nym_date_and_time& operator+=(const Nym_time_period& p) noexcept;
  Nym_date_and_time& operator-=(const Nym_time_period& p) noexcept;
  // The difference of the two wall clocks: zones are not consulted, so 12:00 EST minus 12:00
  // GMT is zero.
  Nym_time_period operator-(const Nym_date_and_time& other) const noexcept;

  // Instants, through UTC.
  bool operator==(const Nym_date_and_time& o) const noexcept;
  bool operator!=(const Nym_date_and_time& o) const noexcept { return !(*this == o); }
  bool operator<(const Nym_date_and_time& o) const noexcept;
  bool operator>(const Nym_date_and_time& o) const noexcept;
  bool operator<=(const Nym_date_and_time& o) const noexcept { return !(*this > o); }
  bool operator>=(const Nym_date_and_time& o) const noexcept { return !(*this < o); }
  // The same reading in the same zone.
  bool is_same_as(const Nym_date_and_time& o) const noexcept;

  // The calendar and clock fields as Nym_date and Nym_time give them; tm_isdst is 1 for a
  // summer zone. "Invalid Julian day." out of range.
  operator tm() const;

  // The tokens of to_string: c o z and those of Nym_time and Nym_date.
  static bool is_format_token(unsigned short unit) noexcept;
  // %z the zone's name (nothing for the terminator row); %o "+" when the zone's offset in
  // whole hours is at or above zero, otherwise "-", followed by the offset's hours as
  // Nym_time_period prints them, so EST gives "+05", GMT "+00", NST "+03" and CET "--1" (the
  // offset is positive west of Greenwich); %c the time as "%X", a space, the date as "%x". The
  // tokens of Nym_time (%% among them) print the time of day, those of Nym_date the date.
  // "Invalid Julian day." out of range, whatever the format; "Nym_date_and_time::to_string -
  // invalid format token." for another token. `result` is replaced.
  void to_string(const Wstring& format, Wstring& result) const;

 private:
  struct Now_t {};
  struct Min_t {};
  struct Max_t {};
  explicit Nym_date_and_time(Now_t);
  explicit Nym_date_and_time(Min_t);
  explicit Nym_date_and_time(Max_t);

  Nym_time_period m_period;  // Julian day × 86400 + seconds since local midnight
  Nym_time_zone m_zone;
};

// "%u.%u.%u" of today's Julian day, the seconds within the current minute and a process-wide
// counter that starts at 1; any thread may call it.
NYM_API void nym_idgen_date_time_number(Nstring& id);

}  // namespace nym

#endif
