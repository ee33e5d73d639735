#include <windows.h>

#include <time.h>

#include "time/clock.h"

namespace nym::impl {

Local_reading system_local_reading() {
  SYSTEMTIME st;
  GetLocalTime(&st);
  return Local_reading{st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds};
}

int64 system_utc_seconds() { return static_cast<int64>(_time64(nullptr)); }

// Bias and the table's offsets share a sign: minutes to add to local time to reach UTC.
Zone_reading system_local_zone() {
  TIME_ZONE_INFORMATION info;
  switch (GetTimeZoneInformation(&info)) {
    case TIME_ZONE_ID_STANDARD:
      return Zone_reading{(static_cast<int64>(info.Bias) + info.StandardBias) * 60, false};
    case TIME_ZONE_ID_DAYLIGHT:
      _tzset();
      return Zone_reading{(static_cast<int64>(info.Bias) + info.DaylightBias) * 60, _daylight != 0};
    default:
      _tzset();
      return Zone_reading{static_cast<int64>(_timezone), false};
  }
}

}  // namespace nym::impl
