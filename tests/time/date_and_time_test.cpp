#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "nym/date_and_time.h"
#include "nym/test_clock.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::text;
using nym_test::what_of;

namespace {

using Z = Nym_time_zone;
using P = Nym_time_period;

Nym_date_and_time at(int day, int month, int year, int h, int m, int s, Z::Identifiers zone) {
  return Nym_date_and_time(Nym_date(day, month, year), Nym_time(h, m, s, 0), Z::find(zone));
}

const char* const BAD_DAY = "Invalid Julian day.";

std::string iso(const Nym_date_and_time& v) { return text(v, u"%Y-%m-%d %H:%M:%S %z"); }

}  // namespace

TEST(DateAndTimeTest, DefaultIsTheEpochInUtcWithoutReadingTheClock) {
  const Nym_test_clock clock(P(1700000000, 0), P::ZERO, false);
  const Nym_date_and_time v;
  EXPECT_EQ(iso(v), "1970-01-01 00:00:00 GMT");
  EXPECT_EQ(v.zone(), Z::UTC);
  EXPECT_EQ(clock.zone_queries(), 0u);
}

TEST(DateAndTimeTest, OffsetAndZoneTokensGiveTheRequiredTexts) {
  struct Case {
    Z::Identifiers zone;
    const char* o;
    const char* z;
  };
  const Case cases[] = {
      {Z::EST, "+05", "EST"}, {Z::CET, "--1", "CET"}, {Z::GMT, "+00", "GMT"},   {Z::NST, "+03", "NST"},
      {Z::EDT, "+04", "EDT"}, {Z::IST, "--3", "IST"}, {Z::NO_ZONE, "+00", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.z);
    const Z zone = c.zone == Z::NO_ZONE ? Z::find("no such zone") : Z::find(c.zone);
    const Nym_date_and_time v(Nym_date(1, 3, 2024), Nym_time(14, 7, 9, 0), zone);
    EXPECT_EQ(text(v, u"%o"), c.o);
    EXPECT_EQ(text(v, u"%z"), c.z);
  }
}

TEST(DateAndTimeTest, TokensTakeTheSenseOfTheirClass) {
  // Three days and five hours past a midnight: %H is the hour of the clock, not a total.
  const Nym_date_and_time v = at(5, 3, 2024, 0, 0, 0, Z::GMT) + P(3, 5, 6, 7, 0);
  EXPECT_EQ(text(v, u"%H:%M:%S %d/%m/%Y %j %w"), "05:06:07 08/03/2024 068 6");
  EXPECT_EQ(text(v, u"100%% %"), "100% %");
  EXPECT_EQ(text(v, u""), "");
  // %c is the time by %X, a space and the date by %x, whatever the locale makes of those.
  Wstring clock_part, date_part;
  v.time().to_string(u"%X", clock_part);
  v.date().to_string(u"%x", date_part);
  Wstring got;
  v.to_string(u"[%c]", got);
  EXPECT_EQ(got, u"[" + clock_part + u" " + date_part + u"]");

  const char16_t* const tokens = u"coz%HIMSXpABUYabdjmwx";
  for (const char16_t* t = tokens; *t != 0; ++t) EXPECT_TRUE(Nym_date_and_time::is_format_token(*t)) << char(*t);
  for (const char16_t t : {u'q', u'C', u'D', u'P', u'u', u'y'}) EXPECT_FALSE(Nym_date_and_time::is_format_token(t));
  EXPECT_EQ(what_of([&] { text(v, u"%H %q"); }), "Nym_date_and_time::to_string - invalid format token.");
}

TEST(DateAndTimeTest, ZoneConversionsMoveTheReadingAndKeepTheInstant) {
  Nym_date_and_time est = at(1, 7, 2024, 12, 0, 0, Z::EST);
  const Nym_date_and_time copy = static_cast<const Nym_date_and_time&>(est).utc();
  EXPECT_EQ(iso(copy), "2024-07-01 17:00:00 GMT");
  EXPECT_EQ(iso(est), "2024-07-01 12:00:00 EST");  // the const form leaves its object
  est.utc();
  EXPECT_TRUE(est.is_same_as(copy));

  Nym_date_and_time v = at(1, 7, 2024, 12, 0, 0, Z::GMT);
  v.zone(Z::find(Z::CET));
  EXPECT_EQ(iso(v), "2024-07-01 13:00:00 CET");
  v.zone(Z::find(Z::NST));  // 3.5 hours west of Greenwich
  EXPECT_EQ(iso(v), "2024-07-01 08:30:00 NST");
  EXPECT_TRUE(v.is_std());
  v.zone(Z::find(Z::EDT));
  EXPECT_TRUE(v.is_dst());
  // Across midnight the date moves with the reading.
  Nym_date_and_time late = at(31, 12, 2023, 23, 0, 0, Z::GMT);
  late.zone(Z::find(Z::CET));
  EXPECT_EQ(iso(late), "2024-01-01 00:00:00 CET");
}

TEST(DateAndTimeTest, ComparisonIsByInstantAndSamenessByReading) {
  const Nym_date_and_time noon_est = at(1, 7, 2024, 12, 0, 0, Z::EST);
  const Nym_date_and_time five_gmt = at(1, 7, 2024, 17, 0, 0, Z::GMT);
  const Nym_date_and_time one_gmt = at(1, 7, 2024, 13, 0, 0, Z::GMT);
  struct Case {
    const Nym_date_and_time& a;
    const Nym_date_and_time& b;
    bool eq, lt, gt, same;
  };
  const Case cases[] = {
      {noon_est, five_gmt, true, false, false, false},
      {noon_est, one_gmt, false, false, true, false},  // 17:00 GMT against 13:00 GMT
      {one_gmt, noon_est, false, true, false, false},
      {noon_est, noon_est, true, false, false, true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.a == c.b, c.eq);
    EXPECT_EQ(c.a != c.b, !c.eq);
    EXPECT_EQ(c.a < c.b, c.lt);
    EXPECT_EQ(c.a > c.b, c.gt);
    EXPECT_EQ(c.a <= c.b, !c.gt);
    EXPECT_EQ(c.a >= c.b, !c.lt);
    EXPECT_EQ(c.a.is_same_as(c.b), c.same);
  }
  // Subtraction reads the wall clocks: five hours apart in UTC, zero here.
  EXPECT_EQ(noon_est - at(1, 7, 2024, 12, 0, 0, Z::GMT), P::ZERO);
  EXPECT_EQ(five_gmt - noon_est, P(5 * 3600, 0));
  EXPECT_EQ(noon_est - five_gmt, P(-5 * 3600, 0));
}

TEST(DateAndTimeTest, ArithmeticCarriesTheDayInTheSeconds) {
  Nym_date_and_time v = at(29, 2, 2024, 23, 59, 59, Z::CET);
  v += P(1, 0);
  EXPECT_EQ(iso(v), "2024-03-01 00:00:00 CET");
  EXPECT_EQ(iso(v - P(0, 0, 0, 1, 0)), "2024-02-29 23:59:59 CET");
  EXPECT_EQ(iso(v + P(365, 0, 0, 0, 0)), "2025-03-01 00:00:00 CET");
  v -= P(0, -250000);  // a quarter second later
  EXPECT_EQ(v.time().microseconds(), 250000);
  EXPECT_EQ(static_cast<P>(v).microseconds(), 250000);
}

TEST(DateAndTimeTest, DateAndTimeCanBeReplacedSeparately) {
  Nym_date_and_time v = at(1, 7, 2024, 8, 15, 30, Z::PST);
  v.date(Nym_date(25, 12, 1999));
  EXPECT_EQ(iso(v), "1999-12-25 08:15:30 PST");
  v.time(Nym_time(23, 0, 1, 5));
  EXPECT_EQ(iso(v), "1999-12-25 23:00:01 PST");
  EXPECT_EQ(v.time(), Nym_time(23, 0, 1, 5));
  EXPECT_EQ(v.date(), Nym_date(25, 12, 1999));
}

TEST(DateAndTimeTest, TheRangeIsCheckedWhereTheDateIsAsked) {
  Nym_date_and_time past_max = Nym_date_and_time::max_date_and_time() + P(1, 0);  // accepted
  EXPECT_EQ(what_of([&] { past_max.date(); }), BAD_DAY);
  EXPECT_EQ(what_of([&] { past_max.time(Nym_time()); }), BAD_DAY);
  EXPECT_EQ(what_of([&] { (void)static_cast<tm>(past_max); }), BAD_DAY);
  Wstring kept = u"kept";
  EXPECT_EQ(what_of([&] { past_max.to_string(u"%H", kept); }), BAD_DAY);  // no date token
  EXPECT_EQ(what_of([&] { past_max.to_string(u"", kept); }), BAD_DAY);
  EXPECT_EQ(kept, u"kept");
  EXPECT_EQ(past_max.time(), Nym_time(0, 0, 0, 999999));  // the time of day still wraps
  past_max.date(Nym_date(1, 1, 2000));    // and a new date brings it back
  EXPECT_EQ(text(past_max, u"%Y-%m-%d %H:%M:%S"), "2000-01-01 00:00:00");

  const Nym_date_and_time low = Nym_date_and_time::min_date_and_time();
  EXPECT_EQ(low.date().julian_day(), int{Nym_date::MIN_JULIAN_DAY});
  EXPECT_EQ(low.time(), Nym_time());
  const Nym_date_and_time high = Nym_date_and_time::max_date_and_time();
  EXPECT_EQ(high.date().julian_day(), int{Nym_date::MAX_JULIAN_DAY});
  EXPECT_EQ(high.time(), Nym_time::max_time());
  EXPECT_EQ(what_of([&] { (low - P(0, -1)).date(); }), "(nothing raised)");
  EXPECT_EQ(what_of([&] { (low - P(1, 0)).date(); }), BAD_DAY);
}

TEST(DateAndTimeTest, PeriodsOutsideTheRangeAreRefused) {
  const char* const ctor = "Nym_date_and_time::Nym_date_and_time() - time period is not a valid julian day.";
  const char* const assign = "Nym_date_and_time::operator=() - time period is not a valid julian day.";
  struct Case {
    P period;
    const char* ctor_text;
    const char* assign_text;
  };
  const int64 day = P::SECONDS_PER_DAY;
  const Case cases[] = {
      {P(38 * day, 0), "(nothing raised)", "(nothing raised)"},
      {P(38 * day - 1, 999999), ctor, assign},
      {P(13688961 * day - 1, 999999), "(nothing raised)", "(nothing raised)"},
      {P(13688961 * day, 0), ctor, assign},
      {P(-1, 0), ctor, assign},
      {P(int64(INT32_MAX) * day + day, 0), "i64 too positive for i32", "i64 too positive for i32"},
      {P(int64(INT32_MIN) * day - day, 0), "i64 too negative for i32", "i64 too negative for i32"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.period.seconds());
    EXPECT_EQ(what_of([&] { (void)Nym_date_and_time(c.period, Z::UTC); }), c.ctor_text);
    Nym_date_and_time v = at(2, 2, 2022, 2, 2, 2, Z::EST);
    const Nym_date_and_time before = v;
    EXPECT_EQ(what_of([&] { v = c.period; }), c.assign_text);
    if (c.assign_text[0] == '(') {
      EXPECT_EQ(static_cast<P>(v), c.period);
    } else {
      EXPECT_TRUE(v.is_same_as(before));
    }
    EXPECT_EQ(v.zone(), Z::find(Z::EST));  // a period never changes the zone
  }
}

TEST(DateAndTimeTest, ConvertsToAndFromTm) {
  const Nym_date_and_time v = at(29, 2, 2024, 13, 4, 5, Z::EDT);
  const tm t = v;
  EXPECT_EQ(t.tm_year, 124);
  EXPECT_EQ(t.tm_mon, 1);
  EXPECT_EQ(t.tm_mday, 29);
  EXPECT_EQ(t.tm_hour, 13);
  EXPECT_EQ(t.tm_min, 4);
  EXPECT_EQ(t.tm_sec, 5);
  EXPECT_EQ(t.tm_wday, 4);
  EXPECT_EQ(t.tm_yday, 59);
  EXPECT_EQ(t.tm_isdst, 1);
  EXPECT_EQ(static_cast<tm>(at(1, 1, 2024, 0, 0, 0, Z::EST)).tm_isdst, 0);

  const Nym_date_and_time back(t, Z::find(Z::EDT));
  EXPECT_TRUE(back.is_same_as(v));
  Nym_date_and_time relabelled = at(1, 1, 2000, 0, 0, 0, Z::CET);
  relabelled = t;  // its own zone stays
  EXPECT_EQ(iso(relabelled), "2024-02-29 13:04:05 CET");

  // Fields at the ends of int are refused as any bad field is, with nothing moved.
  struct Bad {
    int mday, mon, year, hour, sec;
    const char* what;
  };
  const Bad bad[] = {
      {29, 1, 123, 0, 0, "Invalid day, month, year."},  // 29 February 2023
      {1, INT_MAX, 124, 0, 0, "Invalid day, month, year."},
      {1, 0, INT_MAX, 0, 0, "Invalid day, month, year."},
      {1, 0, INT_MIN, 0, 0, "Invalid day, month, year."},
      {1, 0, 124, 24, 0, "Invalid argument to Nym_time::set()"},
      {1, 0, 124, 0, 60, "Invalid argument to Nym_time::set()"},
  };
  for (const Bad& b : bad) {
    tm in{};
    in.tm_mday = b.mday, in.tm_mon = b.mon, in.tm_year = b.year, in.tm_hour = b.hour, in.tm_sec = b.sec;
    EXPECT_EQ(what_of([&] { relabelled = in; }), b.what);
    EXPECT_EQ(iso(relabelled), "2024-02-29 13:04:05 CET");
  }
}

TEST(DateAndTimeTest, NowReadsTheClockInTheLocalZone) {
  // 2024-03-01 17:00:00.123456 UTC; the local zone is EST (five hours behind).
  Nym_test_clock clock(P(1709312400, 123456), P(18000, 0), false);
  const Nym_date_and_time now = Nym_date_and_time::now();
  EXPECT_EQ(iso(now), "2024-03-01 12:00:00 EST");
  EXPECT_EQ(now.time().microseconds(), 123000);  // the system clock's milliseconds
  EXPECT_EQ(iso(now.utc()), "2024-03-01 17:00:00 GMT");
  EXPECT_EQ(Nym_date_and_time::min_date_and_time().zone(), Z::find(Z::EST));
  EXPECT_EQ(Nym_date_and_time::max_date_and_time().zone(), Z::find(Z::EST));
}

TEST(DateAndTimeTest, IdsAreDaySecondAndACounter) {
  Nym_test_clock clock(P(1709312400 + 42, 0), P::ZERO, false);  // 2024-03-01 17:00:42 UTC
  Nstring first, second;
  nym_idgen_date_time_number(first);
  nym_idgen_date_time_number(second);
  unsigned int day = 0, n1 = 0, n2 = 0;
  ASSERT_EQ(std::sscanf(first.c_str(), "%u.42.%u", &day, &n1), 2) << first;
  ASSERT_EQ(std::sscanf(second.c_str(), "%u.42.%u", &day, &n2), 2) << second;
  EXPECT_EQ(day, static_cast<unsigned int>(Nym_date(1, 3, 2024).julian_day()));
  EXPECT_EQ(n2, n1 + 1);
  EXPECT_EQ(first, std::to_string(day) + ".42." + std::to_string(n1));
}
