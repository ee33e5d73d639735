// nym date [JDN | YYYY-MM-DD | --zone NAME]: today, a conversion between a Julian day and a
// calendar date, or the present moment in a zone of the library's table. Years before 1 are
// written with a minus sign and have no year 0: -0044-03-15.
#include <cerrno>
#include <cstdio>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "commands.h"
#include "nym/date.h"
#include "nym/date_and_time.h"
#include "nym/string_basic.h"
#include "nym/time_zone.h"

namespace nym_tool {

namespace {

const char* const WEEKDAYS[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

// An optionally signed decimal number filling the whole text.
bool parse_int(const std::string& text, long long low, long long high, int& value) {
  if (text.empty() || text.find_first_not_of("+-0123456789") != std::string::npos) return false;
  errno = 0;
  char* end = nullptr;
  const long long v = std::strtoll(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || v < low || v > high) return false;
  value = static_cast<int>(v);
  return true;
}

// YYYY-MM-DD with an optional leading "-" on the year.
bool parse_date(const std::string& text, int& day, int& month, int& year) {
  const std::size_t start = text[0] == '-' ? 1 : 0;
  const std::size_t first = text.find('-', start);
  if (first == std::string::npos) return false;
  const std::size_t second = text.find('-', first + 1);
  if (second == std::string::npos || text.find('-', second + 1) != std::string::npos) return false;
  const std::string y = text.substr(0, first);
  const std::string m = text.substr(first + 1, second - first - 1);
  const std::string d = text.substr(second + 1);
  for (const std::string* part : {&m, &d}) {
    if (part->empty() || part->find_first_not_of("0123456789") != std::string::npos) return false;
  }
  return parse_int(y, -99999, 99999, year) && parse_int(m, 0, 99, month) && parse_int(d, 0, 99, day);
}

std::string iso(const nym::Nym_date& date) {
  nym::Wstring wide;
  date.to_string(u"%Y-%m-%d", wide);
  std::string text;
  nym::nym_string_append(text, wide.c_str());
  return text;
}

void print_date(const nym::Nym_date& date) {
  std::printf("julian day: %d\n", date.julian_day());
  std::printf("date:       %s\n", iso(date).c_str());
  std::printf("weekday:    %d (%s)\n", date.weekday(), WEEKDAYS[date.weekday() - 1]);
  std::printf("day:        %d of %d\n", date.day_of_year(), nym::Nym_date::days_in_year(date.year()));
}

void print_zone(const nym::Nym_time_zone& zone) {
  const long long offset = zone.offset().seconds();
  // The table counts west of Greenwich as positive; the usual reading is the other way round.
  const long long east = -offset;
  const long long magnitude = east < 0 ? -east : east;
  std::printf("zone:       %s (identifier %d, offset %lld s, UTC%c%02lld:%02lld, %s)\n", zone.name(),
              static_cast<int>(zone.identifier()), offset, east < 0 ? '-' : '+', magnitude / 3600,
              magnitude / 60 % 60,
              zone.identifier() == nym::Nym_time_zone::NO_ZONE ? "not in the table"
              : zone.is_dst()                                 ? "summer time"
                                                              : "standard time");
}

// Now, moved into the zone: the locale's date and time, the zone's offset in hours as the
// library writes it (positive west of Greenwich) and its name.
void print_moment(const nym::Nym_time_zone& zone) {
  nym::Nym_date_and_time now = nym::Nym_date_and_time::now();
  now.zone(zone);
  nym::Wstring wide;
  now.to_string(u"%c %o %z", wide);
  std::string text;
  nym::nym_string_append(text, wide.c_str());
  std::printf("moment:     %s\n", text.c_str());
}

}  // namespace

int run_date(const Words& words) {
  if (words.size() == 2 && words[0] == "--zone") {
    const nym::Nym_time_zone zone = nym::Nym_time_zone::find(words[1].c_str());
    if (zone.identifier() == nym::Nym_time_zone::NO_ZONE) {
      std::fprintf(stderr, "nym date: no zone '%s' in the table (names such as GMT, EST, CET, NST)\n",
                   words[1].c_str());
      return 2;
    }
    print_moment(zone);
    print_zone(zone);
    return 0;
  }
  if (words.empty()) {
    print_date(nym::Nym_date::today());
    print_zone(nym::Nym_time_zone::local(false));
    return 0;
  }
  if (words.size() == 1) {
    int julian = 0;
    int day = 0, month = 0, year = 0;
    if (parse_int(words[0], INT32_MIN, INT32_MAX, julian)) {
      print_date(nym::Nym_date(julian));
      return 0;
    }
    if (parse_date(words[0], day, month, year)) {
      print_date(nym::Nym_date(day, month, year));
      return 0;
    }
  }
  std::fprintf(stderr,
               "usage: nym date [JDN | YYYY-MM-DD | --zone NAME]  (Julian day %d to %d; years %d to %d, no year 0, "
               "e.g. -0044-03-15)\n",
               nym::Nym_date::MIN_JULIAN_DAY, nym::Nym_date::MAX_JULIAN_DAY, nym::Nym_date::MIN_YEAR,
               nym::Nym_date::MAX_YEAR);
  return 2;
}

}  // namespace nym_tool
