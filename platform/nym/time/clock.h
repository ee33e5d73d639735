// Where the date and time classes read the clock and the local zone (internal).
//
// The system_* functions are the platform's (clock_win32.cpp, clock_posix.cpp); the others
// answer from an installed Nym_test_clock when there is one, and from the system otherwise.
// Every reading of the clock in the library goes through here.
#ifndef NYM_TIME_CLOCK_H
#define NYM_TIME_CLOCK_H

#include "nym/types.h"

namespace nym::impl {

// A local wall-clock reading, as GetLocalTime gives it.
struct Local_reading {
  int year;  // the calendar year, never 0
  int month;
  int day;
  int hour;
  int minute;
  int second;
  int millisecond;
};

// The local zone as the system tells it: seconds to add to local time to reach UTC, and
// whether summer time is in force.
struct Zone_reading {
  int64 offset;
  bool is_dst;
};

Local_reading system_local_reading();
int64 system_utc_seconds();
Zone_reading system_local_zone();

Local_reading local_reading();
// Whole seconds since 1 January 1970 UTC (_time64).
int64 utc_seconds();
Zone_reading local_zone();

}  // namespace nym::impl

#endif
