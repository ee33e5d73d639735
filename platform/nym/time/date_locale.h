// The locale's short date format behind Nym_date's %x token (internal).
#ifndef NYM_TIME_DATE_LOCALE_H
#define NYM_TIME_DATE_LOCALE_H

#include "nym/types.h"

namespace nym::impl {

// Day, month and year tokens in the order an order code names ('0' month-day-year, '1'
// day-month-year, '2' year-month-day), joined by the separator; any other code gives
// "%d/%m/%Y". A "%" in the separator is doubled, so it stays text.
Wstring short_date_format(const Wstring& separator, Wchar order);

// The calling thread's locale through short_date_format (date_win32.cpp, date_posix.cpp).
Wstring locale_short_date_format();

}  // namespace nym::impl

#endif
