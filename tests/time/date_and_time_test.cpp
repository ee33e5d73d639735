#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
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
const char* const NOTHING = "(nothing raised)";

std::string iso(const Nym_date_and_time& v) { return text(v, u"%Y-%m-%d %H:%M:%S %z"); }

}  // namespace

TEST(DateAndTimeTest, TokensGiveTheRequiredTextsInTheSenseOfTheirClass) {
  struct Case {
    Z zone;
    const char* o;
    const char* z;
  };
  const Case cases[] = {
      {Z::find(Z::EST), "+05", "EST"}, {Z::find(Z::CET), "--1", "CET"}, {Z::UTC, "+00", "GMT"},
      {Z::find(Z::NST), "+03", "NST"}, {Z::find(Z::IST), "--3", "IST"}, {Z::find("no such zone"), "+00", ""},
  };
  for (const Case& c : cases) {
    const Nym_date_and_time v(Nym_date(1, 3, 2024), Nym_time(14, 7, 9, 0), c.zone);
    EXPECT_EQ(text(v, u"%o|%z"), std::string(c.o) + "|" + c.z);
  }
  EXPECT_EQ(iso(Nym_date_and_time()), "1970-01-01 00:00:00 GMT");  // not now
  // Three days and five hours past a midnight: %H is the hour of the clock, not a total.
  const Nym_date_and_time v = at(5, 3, 2024, 0, 0, 0, Z::GMT) + P(3, 5, 6, 7, 0);
  EXPECT_EQ(text(v, u"%H:%M:%S %d/%m/%Y %j %w 100%% %"), "05:06:07 08/03/2024 068 6 100% %");
  // %c is the time by %X, a space and the date by %x, whatever the locale makes of those.
  EXPECT_EQ(text(v, u"[%c]"), "[" + text(v.time(), u"%X") + " " + text(v.date(), u"%x") + "]");
  for (const char16_t* t = u"coz%HIMSXpABUYabdjmwx"; *t != 0; ++t) EXPECT_TRUE(Nym_date_and_time::is_format_token(*t));
  for (const char16_t t : {u'q', u'C', u'D', u'P', u'u'}) EXPECT_FALSE(Nym_date_and_time::is_format_token(t));
  EXPECT_EQ(what_of([&] { text(v, u"%H %q"); }), "Nym_date_and_time::to_string - invalid format token.");
}

TEST(DateAndTimeTest, ZoneConversionsMoveTheReadingAndKeepTheInstant) {
  Nym_date_and_time est = at(1, 7, 2024, 12, 0, 0, Z::EST);
  const Nym_date_and_time copy = static_cast<const Nym_date_and_time&>(est).utc();
  EXPECT_EQ(iso(copy), "2024-07-01 17:00:00 GMT");
  EXPECT_EQ(iso(est), "2024-07-01 12:00:00 EST");  // the const form leaves its object
  EXPECT_TRUE(est.utc().is_same_as(copy));

  Nym_date_and_time v = at(1, 7, 2024, 12, 0, 0, Z::GMT);
  v.zone(Z::find(Z::CET));
  EXPECT_EQ(iso(v), "2024-07-01 13:00:00 CET");
  v.zone(Z::find(Z::EDT));
  EXPECT_TRUE(v.is_dst() && !v.is_std());
  Nym_date_and_time late = at(31, 12, 2023, 23, 0, 0, Z::GMT);  // the date moves with the clock
  late.zone(Z::find(Z::CET));
  EXPECT_EQ(iso(late), "2024-01-01 00:00:00 CET");
}

TEST(DateAndTimeTest, ComparisonIsByInstantSamenessByReadingSubtractionByClock) {
  const Nym_date_and_time noon_est = at(1, 7, 2024, 12, 0, 0, Z::EST);
  const Nym_date_and_time five_gmt = at(1, 7, 2024, 17, 0, 0, Z::GMT);
  const Nym_date_and_time one_gmt = at(1, 7, 2024, 13, 0, 0, Z::GMT);
  struct Case {
    const Nym_date_and_time &a, &b;
    bool eq, lt, gt, same;
  };
  const Case cases[] = {
      {noon_est, five_gmt, true, false, false, false},
      {noon_est, one_gmt, false, false, true, false},  // 17:00 GMT against 13:00 GMT
      {one_gmt, noon_est, false, true, false, false},
      {noon_est, noon_est, true, false, false, true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ((c.a == c.b) + 2 * (c.a != c.b) + 4 * (c.a < c.b) + 8 * (c.a > c.b) + 16 * (c.a <= c.b) +
                  32 * (c.a >= c.b) + 64 * c.a.is_same_as(c.b),
              c.eq + 2 * !c.eq + 4 * c.lt + 8 * c.gt + 16 * !c.gt + 32 * !c.lt + 64 * c.same);
  }
  EXPECT_EQ(noon_est - at(1, 7, 2024, 12, 0, 0, Z::GMT), P::ZERO);  // five hours apart in UTC
  EXPECT_EQ(noon_est - five_gmt, P(-5 * 3600, 0));
}

TEST(DateAndTimeTest, ArithmeticCarriesTheDayInTheSecondsAndPartsAreReplaced) {
  Nym_date_and_time v = at(29, 2, 2024, 23, 59, 59, Z::CET);
  v += P(1, 0);
  EXPECT_EQ(iso(v), "2024-03-01 00:00:00 CET");
  EXPECT_EQ(iso(v - P(1, 0) + P(365, 0, 0, 0, 0)), "2025-02-28 23:59:59 CET");
  v -= P(0, -250000);
  EXPECT_EQ(static_cast<P>(v).microseconds(), 250000);
  v.date(Nym_date(25, 12, 1999));
  EXPECT_EQ(text(v, u"%Y-%m-%d %H:%M:%S"), "1999-12-25 00:00:00");
  EXPECT_EQ(v.time(), Nym_time(0, 0, 0, 250000));
  v.time(Nym_time(23, 0, 1, 5));
  EXPECT_EQ(iso(v), "1999-12-25 23:00:01 CET");
}

TEST(DateAndTimeTest, TheRangeIsCheckedWhereTheDateIsAsked) {
  Nym_date_and_time past_max = Nym_date_and_time::max_date_and_time() + P(1, 0);  // accepted
  Wstring kept = u"kept";
  EXPECT_EQ(what_of([&] { past_max.date(); }), BAD_DAY);
  EXPECT_EQ(what_of([&] { past_max.time(Nym_time()); }), BAD_DAY);
  EXPECT_EQ(what_of([&] { (void)static_cast<tm>(past_max); }), BAD_DAY);
  EXPECT_EQ(what_of([&] { past_max.to_string(u"", kept); }), BAD_DAY);  // even with no date token
  EXPECT_EQ(kept, u"kept");
  EXPECT_EQ(past_max.time(), Nym_time(0, 0, 0, 999999));  // the time of day still wraps
  past_max.date(Nym_date(1, 1, 2000));                     // and a new date brings it back
  EXPECT_EQ(text(past_max, u"%Y-%m-%d %H:%M:%S"), "2000-01-01 00:00:00");

  const Nym_date_and_time low = Nym_date_and_time::min_date_and_time();
  EXPECT_EQ(text(low, u"%Y-%m-%d %H:%M:%S"), "-4713-01-01 00:00:00");
  EXPECT_EQ(text(Nym_date_and_time::max_date_and_time(), u"%Y-%m-%d %H:%M:%S"), "32766-12-31 23:59:59");
  EXPECT_EQ(what_of([&] { (low - P(1, 0)).date(); }), BAD_DAY);
}

TEST(DateAndTimeTest, PeriodsOutsideTheRangeAreRefusedAndNothingMoves) {
  const char* const ctor = "Nym_date_and_time::Nym_date_and_time() - time period is not a valid julian day.";
  const char* const assign = "Nym_date_and_time::operator=() - time period is not a valid julian day.";
  const int64 day = P::SECONDS_PER_DAY;
  struct Case {
    P period;
    const char *ctor_text, *assign_text;
  };
  const Case cases[] = {
      {P(38 * day, 0), NOTHING, NOTHING},
      {P(38 * day - 1, 999999), ctor, assign},
      {P(13688961 * day - 1, 999999), NOTHING, NOTHING},
      {P(13688961 * day, 0), ctor, assign},
      {P(-1, 0), ctor, assign},
      {P(int64(INT32_MAX) * day + day, 0), "i64 too positive for i32", "i64 too positive for i32"},
      {P(int64(INT32_MIN) * day - day, 0), "i64 too negative for i32", "i64 too negative for i32"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(what_of([&] { (void)Nym_date_and_time(c.period, Z::UTC); }), c.ctor_text);
    Nym_date_and_time v = at(2, 2, 2022, 2, 2, 2, Z::EST);
    const Nym_date_and_time before = v;
    EXPECT_EQ(what_of([&] { v = c.period; }), c.assign_text);
    EXPECT_EQ(static_cast<P>(v), c.assign_text == NOTHING ? c.period : static_cast<P>(before));
    EXPECT_EQ(v.zone(), Z::find(Z::EST));
  }
}

TEST(DateAndTimeTest, ConvertsToAndFromTm) {
  const Nym_date_and_time v = at(29, 2, 2024, 13, 4, 5, Z::EDT);
  const tm t = v;
  char fields[96];
  std::snprintf(fields, sizeof fields, "%d %d %d %d:%d:%d wday %d yday %d dst %d", t.tm_year, t.tm_mon, t.tm_mday,
                t.tm_hour, t.tm_min, t.tm_sec, t.tm_wday, t.tm_yday, t.tm_isdst);
  EXPECT_STREQ(fields, "124 1 29 13:4:5 wday 4 yday 59 dst 1");
  EXPECT_EQ(static_cast<tm>(at(1, 1, 2024, 0, 0, 0, Z::EST)).tm_isdst, 0);
  EXPECT_TRUE(Nym_date_and_time(t, Z::find(Z::EDT)).is_same_as(v));
  Nym_date_and_time relabelled = at(1, 1, 2000, 0, 0, 0, Z::CET);
  relabelled = t;  // its own zone stays
  EXPECT_EQ(iso(relabelled), "2024-02-29 13:04:05 CET");

  // Fields at the ends of int are refused as any bad field is, with nothing moved.
  for (const int field : {INT_MAX, INT_MIN}) {
    tm in = t;
    in.tm_year = field;
    EXPECT_EQ(what_of([&] { relabelled = in; }), "Invalid day, month, year.");
    in = t;
    in.tm_mon = field;
    EXPECT_EQ(what_of([&] { relabelled = in; }), "Invalid day, month, year.");
  }
  tm leap_second = t;
  leap_second.tm_sec = 60;
  EXPECT_EQ(what_of([&] { relabelled = leap_second; }), "Invalid argument to Nym_time::set()");
  EXPECT_EQ(iso(relabelled), "2024-02-29 13:04:05 CET");
}

TEST(DateAndTimeTest, NowAndIdsReadTheClockInTheLocalZone) {
  // 2024-03-01 17:00:42.123456 UTC; the local zone is five hours behind.
  Nym_test_clock clock(P(1709312442, 123456), P(18000, 0), false);
  const Nym_date_and_time now = Nym_date_and_time::now();
  EXPECT_EQ(iso(now), "2024-03-01 12:00:42 EST");
  EXPECT_EQ(now.time().microseconds(), 123000);  // the system clock's milliseconds
  EXPECT_EQ(Nym_date_and_time::min_date_and_time().zone(), Z::find(Z::EST));

  Nstring first, second;
  nym_idgen_date_time_number(first);
  nym_idgen_date_time_number(second);
  unsigned int n = 0;
  ASSERT_EQ(std::sscanf(first.c_str(), "2460371.42.%u", &n), 1) << first;  // 1 March 2024
  EXPECT_EQ(second, "2460371.42." + std::to_string(n + 1));
}
