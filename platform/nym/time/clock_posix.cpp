#include <time.h>

#include "time/clock.h"

namespace nym::impl {

Local_reading system_local_reading() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tzset();  // follow a changed TZ, as _tzset does on Windows
  tm local{};
  localtime_r(&now.tv_sec, &local);
  Local_reading r{};
  r.year = local.tm_year + 1900;
  if (r.year <= 0) r.year -= 1;  // the C library counts a year 0; the calendar here does not
  r.month = local.tm_mon + 1;
  r.day = local.tm_mday;
  r.hour = local.tm_hour;
  r.minute = local.tm_min;
  r.second = local.tm_sec > 59 ? 59 : local.tm_sec;
  r.millisecond = static_cast<int>(now.tv_nsec / 1000000);
  return r;
}

int64 system_utc_seconds() { return static_cast<int64>(::time(nullptr)); }

// The C library's own notion of the local offset: tm_gmtoff is seconds east of UTC, the
// opposite sign of the zone table's offset.
Zone_reading system_local_zone() {
  tzset();
  const time_t now = ::time(nullptr);
  tm local{};
  localtime_r(&now, &local);
  return Zone_reading{-static_cast<int64>(local.tm_gmtoff), local.tm_isdst > 0};
}

}  // namespace nym::impl
