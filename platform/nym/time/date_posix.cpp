#include <langinfo.h>

#include "time/date_locale.h"

namespace nym::impl {

// The C library keeps a whole strftime pattern (D_FMT) where Windows keeps an order code and
// a separator: the order of the day, month and year conversions gives the code, and the text
// between the first two gives the separator.
Wstring locale_short_date_format() {
  const char* pattern = nl_langinfo(D_FMT);
  if (pattern == nullptr) return short_date_format(Wstring(), 0);
  std::string expanded;
  for (const char* p = pattern; *p != '\0'; ++p) {
    if (p[0] == '%' && p[1] == 'D') {
      expanded += "%m/%d/%y";
      ++p;
    } else if (p[0] == '%' && p[1] == 'F') {
      expanded += "%Y-%m-%d";
      ++p;
    } else {
      expanded += *p;
    }
  }
  char fields[3] = {};
  int count = 0;
  Wstring separator;
  for (std::size_t i = 0; i < expanded.size() && count < 3; ++i) {
    if (expanded[i] != '%' || i + 1 == expanded.size()) {
      if (count == 1) separator += static_cast<Wchar>(static_cast<unsigned char>(expanded[i]));
      continue;
    }
    std::size_t k = i + 1;
    while (k < expanded.size() && (expanded[k] == 'E' || expanded[k] == 'O' || expanded[k] == '-')) ++k;
    if (k == expanded.size()) break;
    const char c = expanded[k];
    i = k;
    if (c == 'd' || c == 'e') fields[count++] = 'd';
    else if (c == 'm') fields[count++] = 'm';
    else if (c == 'y' || c == 'Y') fields[count++] = 'y';
  }
  if (count < 3) return short_date_format(Wstring(), 0);
  const std::string order(fields, 3);
  const Wchar code = order == "mdy" ? u'0' : order == "dmy" ? u'1' : order == "ymd" ? u'2' : u'?';
  return short_date_format(separator, code);
}

}  // namespace nym::impl
