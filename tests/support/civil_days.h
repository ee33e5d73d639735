// Howard Hinnant's days_from_civil and civil_from_days (public domain,
// http://howardhinnant.github.io/date_algorithms.html): the independent calendar the date tests
// and the date benchmark hold the library's own to. Proleptic Gregorian, astronomical years
// (the year before 1 is 0).
#ifndef NYM_TEST_CIVIL_DAYS_H
#define NYM_TEST_CIVIL_DAYS_H

namespace nym_test {

// The Julian day number of 1970-01-01.
constexpr long long JULIAN_DAY_OF_1970 = 2440588;

// Days since 1970-01-01.
inline long long days_from_civil(long long y, unsigned m, unsigned d) {
  y -= m <= 2;
  const long long era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<long long>(doe) - 719468;
}

inline void civil_from_days(long long z, long long& y, unsigned& m, unsigned& d) {
  z += 719468;
  const long long era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  y = static_cast<long long>(yoe) + era * 400 + (m <= 2);
}

// 0 for Sunday, of a count of days since 1970-01-01.
inline unsigned weekday_from_days(long long z) {
  return static_cast<unsigned>(z >= -4 ? (z + 4) % 7 : (z + 5) % 7 + 6);
}

}  // namespace nym_test

#endif
