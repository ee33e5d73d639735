#include <windows.h>

#include "base/win32_wide.h"
#include "time/date_locale.h"

namespace nym::impl {

Wstring locale_short_date_format() {
  const LCID locale = GetThreadLocale();
  Wchar separator[11] = {};  // up to 10 units and the terminator
  Wchar order[2] = {};
  if (GetLocaleInfoW(locale, LOCALE_SDATE, win32_wide(separator), 11) <= 0) return short_date_format(Wstring(), 0);
  if (GetLocaleInfoW(locale, LOCALE_IDATE, win32_wide(order), 2) <= 0) return short_date_format(Wstring(), 0);
  return short_date_format(Wstring(separator), order[0]);
}

}  // namespace nym::impl
