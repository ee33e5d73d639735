// The status argument kinds that carry a time of day, a date, or a date and time.
//
// They keep the contract of every Nym_status_arg (status_arg.h): equality by kind first, so a
// date never equals a date and time of the same day; clone makes a heap copy that a status
// owns and releases through destroy. Their text, the one messages insert, is %X, %x or %c of
// the value: the time through the C run-time's strftime (its locale, "C" by default), the
// date in the order and with the separator of the thread's Windows locale. A Nym_date_and_time_status_arg compares as
// its value does, so 12:00 EST equals 17:00 GMT. Not synchronised, as every argument.
#ifndef NYM_DATE_STATUS_ARG_H
#define NYM_DATE_STATUS_ARG_H

#include "nym/date.h"
#include "nym/date_and_time.h"
#include "nym/status_arg.h"
#include "nym/time.h"

namespace nym {

// A time of day.
class NYM_API Nym_time_status_arg : public Nym_status_arg {
 public:
  explicit Nym_time_status_arg(const Nym_time& value) : m_value(value) {}
  Nym_time_status_arg(const Nym_time_status_arg&) = default;
  Nym_time_status_arg& operator=(const Nym_time_status_arg&) = default;

  const Nym_time& value() const { return m_value; }

  void destroy() override;
  // "%X" of the time.
  void to_string(Wstring& out) const override;
  GUID identity() const override;
  Nym_status_arg* clone(const void* list) const override;
  bool operator==(const Nym_status_arg& other) const override;

  static const GUID ID;

 private:
  Nym_time m_value;
};

// A calendar date.
class NYM_API Nym_date_status_arg : public Nym_status_arg {
 public:
  explicit Nym_date_status_arg(const Nym_date& value) : m_value(value) {}
  Nym_date_status_arg(const Nym_date_status_arg&) = default;
  Nym_date_status_arg& operator=(const Nym_date_status_arg&) = default;

  const Nym_date& value() const { return m_value; }

  void destroy() override;
  // "%x" of the date; a date stepped out of range raises "Invalid Julian day.".
  void to_string(Wstring& out) const override;
  GUID identity() const override;
  Nym_status_arg* clone(const void* list) const override;
  bool operator==(const Nym_status_arg& other) const override;

  static const GUID ID;

 private:
  Nym_date m_value;
};

// A date and time with its zone.
class NYM_API Nym_date_and_time_status_arg : public Nym_status_arg {
 public:
  explicit Nym_date_and_time_status_arg(const Nym_date_and_time& value) : m_value(value) {}
  Nym_date_and_time_status_arg(const Nym_date_and_time_status_arg&) = default;
  Nym_date_and_time_status_arg& operator=(const Nym_date_and_time_status_arg&) = default;

  const Nym_date_and_time& value() const { return m_value; }

  void destroy() override;
  // "%c" of the value; a value moved out of range raises "Invalid Julian day.".
  void to_string(Wstring& out) const override;
  GUID identity() const override;
  Nym_status_arg* clone(const void* list) const override;
  bool operator==(const Nym_status_arg& other) const override;

  static const GUID ID;

 private:
  Nym_date_and_time m_value;
};

}  // namespace nym

#endif
