// Zones, the local zone and the clock through the test clock, dates with times, and the date
// and time status arguments.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "nym/date_and_time.h"
#include "nym/counted_ptr.h"
#include "nym/date_status_arg.h"
#include "nym/test_clock.h"
#include "test_helpers.h"

#if defined(_WIN32)
#include <windows.h>
#endif
#include <stdlib.h>
#include <time.h>

using namespace nym;
using nym_test::text;
using nym_test::what_of;
using Z = Nym_time_zone;
using P = Nym_time_period;

namespace {

Z::Identifiers id(int value) { return static_cast<Z::Identifiers>(value); }

bool is_terminator(const Z& z) {
  return std::string(z.name()) == "???" && z.identifier() == Z::NO_ZONE && z.offset() == P::ZERO && z.is_std() && !z.is_dst();
}

Nym_date_and_time at(int day, int month, int year, int h, int m, int s, Z::Identifiers zone) {
  return Nym_date_and_time(Nym_date(day, month, year), Nym_time(h, m, s, 0), Z::find(zone));
}

std::string iso(const Nym_date_and_time& v) { return text(v, u"%Y-%m-%d %H:%M:%S %z"); }

const P T0(1700000000, 0);
const char* const BAD_DAY = "Invalid Julian day.";

}  // namespace

// Every row of the table: found by its identifier and by its name, standard below 50 and
// daylight above, its partner (where it has one) in the other band, an hour earlier, and
// partnered back, and an offset lookup answering the first row of its band with that offset.
TEST(TimeZoneTest, EveryRowHangsTogether) {
  std::vector<Z> rows;
  for (int v = -5; v <= 120; ++v) {
    if (!Z::valid_zone(id(v))) {
      if (v == 0 || v == 50 || v == 87) {
        EXPECT_EQ(what_of([&] { Z::partner(id(v)); }), "Nym_time_zone::partner - invalid zone");
      }
      continue;
    }
    const Z z = Z::find(id(v));
    rows.push_back(z);
    EXPECT_TRUE(z.identifier() == v && Z::find(z.name()) == z && z.is_dst() == (v > 50) && z.is_std() != z.is_dst());
    const Z::Identifiers partner = Z::partner(id(v));
    if (partner == Z::NO_ZONE) continue;
    const Z other = Z::find(partner);
    // The table keeps YST and YDT half an hour apart the other way.
    const int64 apart = z.identifier() == Z::YST || z.identifier() == Z::YDT ? -1800 : 3600;
    EXPECT_TRUE(Z::partner(partner) == v && other.is_dst() != z.is_dst()) << z.name();
    EXPECT_EQ((z.is_dst() ? other.offset() - z.offset() : z.offset() - other.offset()), P(apart, 0)) << z.name();
  }
  EXPECT_EQ(static_cast<int>(rows.size()), int{Z::ZONE_COUNT});  // a value: the DLL exports no such variable
  for (const Z& z : rows) {
    for (const Z& earlier : rows) {
      if (earlier.offset() == z.offset() && earlier.is_dst() == z.is_dst()) {
        EXPECT_EQ(Z::find(z.offset(), z.is_dst()), earlier) << z.name() << ": the first row of its band";
        break;
      }
    }
  }
  const std::pair<Z::Identifiers, const char*> names[] = {{Z::EST, "EST 18000"}, {Z::NST, "NST 12600"},
                                                          {Z::CHADT, "CHADT -49500"}, {Z::NPT, "NPT -20700"}};
  for (const auto& n : names) {
    EXPECT_EQ(std::string(Z::find(n.first).name()) + " " + std::to_string(Z::find(n.first).offset().seconds()), n.second);
  }
  EXPECT_STREQ(Z::find(P(18000, 999999), false).name(), "EST") << "microseconds take no part";
  EXPECT_TRUE(is_terminator(Z::find(P(1, 0), false)) && is_terminator(Z::find(P(39600, 0), true)));
  for (const char* name : {"gmt", "UTC", "Utc"}) EXPECT_EQ(Z::find(name), Z::UTC) << name;
  EXPECT_STREQ(Z::find("zP4s").name(), "ZP4S");
  for (const char* name : {"nope", "", "GMT ", "???"}) EXPECT_TRUE(is_terminator(Z::find(name))) << name;
  EXPECT_TRUE(is_terminator(Z::find(static_cast<const char*>(nullptr))));
  EXPECT_TRUE(Z() == Z::UTC && Z::find(Z::CET).offset() == Z::find(Z::BST).offset() && Z::find(Z::CET) != Z::find(Z::BST));
}

TEST(TimeZoneTest, TheLocalZoneIsASystemAnswerCachedForAMinute) {
  {
    Nym_test_clock clock(T0, P(18000, 0), false);
    EXPECT_EQ(Z::local(true), Z::find(Z::EST));
    clock.zone(P(0, 0), true);
    EXPECT_EQ(Z::local(false), Z::find(Z::WDT));
    clock.zone(P(-3600, 0), false);
    clock.advance(P(59, 999999));
    EXPECT_EQ(Z::local(true), Z::find(Z::EST)) << "cached for 59 seconds";
    EXPECT_EQ(Z::local(false), Z::find(Z::CET)) << "an uncached call sees the change";
    EXPECT_EQ(Z::local(true), Z::find(Z::EST)) << "and leaves the cache alone";
    EXPECT_EQ(clock.zone_queries(), 3u);
    clock.advance(P(0, 1));
    EXPECT_EQ(Z::local(true), Z::find(Z::CET)) << "stale after 60 seconds";
    clock.zone(P(1234, 0), false);
    clock.set(T0 - P(3600, 0));
    EXPECT_TRUE(is_terminator(Z::local(true)) && is_terminator(Z::local(true))) << "set back: refreshed, no row cached";
    EXPECT_EQ(clock.zone_queries(), 5u);
  }
  Nym_test_clock clock(T0, P(-3600, 0), false);
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 5000; ++i) wrong += Z::local(true) != Z::find(Z::CET) ? 1 : 0;
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(wrong.load(), 0) << "a new test clock forgets the cache";
  EXPECT_EQ(clock.zone_queries(), 1u) << "concurrent callers share one query";
}

// Without a test clock the answer is the machine's: some row, found by its name, and the one the
// system's own numbers give.
TEST(TimeZoneTest, TheSystemsLocalZone) {
  const Z z = Z::local(false);
  EXPECT_TRUE((z.identifier() == Z::NO_ZONE || Z::valid_zone(z.identifier())) && Z::find(z.name()) == z);
#if defined(_WIN32)
  TIME_ZONE_INFORMATION info;
  const DWORD kind = GetTimeZoneInformation(&info);
  _tzset();
  long long offset = _timezone;  // without a zone kind the C run-time speaks
  if (kind == TIME_ZONE_ID_STANDARD) offset = (static_cast<long long>(info.Bias) + info.StandardBias) * 60;
  if (kind == TIME_ZONE_ID_DAYLIGHT) offset = (static_cast<long long>(info.Bias) + info.DaylightBias) * 60;
  EXPECT_EQ(z, Z::find(P(offset, 0), kind == TIME_ZONE_ID_DAYLIGHT && _daylight != 0)) << kind << " " << offset;
#else
  const char* old = getenv("TZ");
  const std::string kept = old != nullptr ? old : "";
  const std::pair<const char*, Z::Identifiers> cases[] = {{"XST5", Z::EST},       {"XNT+3:30", Z::NST}, {"UTC0", Z::GMT},
                                                          {"XAT-5:45", Z::NPT}, {"XQT7:01", Z::NO_ZONE}};
  for (const auto& c : cases) {
    setenv("TZ", c.first, 1);
    tzset();
    EXPECT_EQ(Z::local(false).identifier(), c.second) << c.first;
  }
  if (old != nullptr) setenv("TZ", kept.c_str(), 1);
  else unsetenv("TZ");
  tzset();
#endif
}

TEST(TestClockTest, TheWallClockIsTheInstantInTheZoneAndMovesOnlyWhenTold) {
  const P instant(1709647629, 123456);  // 2024-03-05 14:07:09.123456 UTC
  const struct {
    P instant;
    int64 offset;
    const char* want;  // the date and the time
  } cases[] = {{instant, 18000, "2024-03-05 09:07:09.123000"},        {instant, -43200, "2024-03-06 02:07:09.123000"},
               {P(0, -1), 0, "1969-12-31 23:59:59.999000"},           {P(951782400, 0), 0, "2000-02-29 00:00:00.000000"}};
  for (const auto& c : cases) {
    Nym_test_clock clock(c.instant, P(c.offset, 0), false);
    char micro[8];
    std::snprintf(micro, sizeof micro, "%06d", Nym_time::now().microseconds());
    EXPECT_EQ(text(Nym_date::today(), u"%Y-%m-%d ") + text(Nym_time::now(), u"%H:%M:%S.") + micro, c.want);
  }
  {
    Nym_test_clock clock(instant, P(0, 0), false);
    EXPECT_THROW(Nym_test_clock(P(0, 0), P(0, 0), false), std::logic_error) << "one at a time";
    EXPECT_EQ(clock.now(), instant) << "the refused clock changed nothing";
    clock.advance(P(0, 10, 0, 0, 0));
    EXPECT_TRUE(Nym_time::now() == Nym_time(0, 7, 9, 123000) && Nym_date::today() == Nym_date(6, 3, 2024));
    clock.set(P(-86400, 0));
    EXPECT_EQ(Nym_date::today(), Nym_date(31, 12, 1969));
  }
  // The system's clock again: a legal day, read in milliseconds.
  const Nym_date first = Nym_date::today();
  const Nym_time now = Nym_time::now();
  EXPECT_TRUE(Nym_date::is_julian_day(first.julian_day()) && now.microseconds() % 1000 == 0);
}

TEST(DateAndTimeTest, TokensAndZoneTexts) {
  const std::pair<Z, const char*> zones[] = {{Z::find(Z::EST), "+05|EST"}, {Z::find(Z::CET), "--1|CET"},
                                             {Z::UTC, "+00|GMT"}, {Z::find(Z::IST), "--3|IST"}, {Z::find("none"), "+00|"}};
  for (const auto& z : zones) EXPECT_EQ(text(Nym_date_and_time(Nym_date(1, 3, 2024), Nym_time(14, 7, 9, 0), z.first), u"%o|%z"), z.second);
  EXPECT_EQ(iso(Nym_date_and_time()), "1970-01-01 00:00:00 GMT") << "not now";
  // Three days and five hours past a midnight: %H is the hour of the clock, not a total.
  const Nym_date_and_time v = at(5, 3, 2024, 0, 0, 0, Z::GMT) + P(3, 5, 6, 7, 0);
  EXPECT_EQ(text(v, u"%H:%M:%S %d/%m/%Y %j %w 100%% %"), "05:06:07 08/03/2024 068 6 100% %");
  EXPECT_EQ(text(v, u"[%c]"), "[" + text(v.time(), u"%X") + " " + text(v.date(), u"%x") + "]");
  EXPECT_EQ(what_of([&] { text(v, u"%H %q"); }), "Nym_date_and_time::to_string - invalid format token.");
}

TEST(DateAndTimeTest, ZonesComparisonsAndArithmetic) {
  Nym_date_and_time est = at(1, 7, 2024, 12, 0, 0, Z::EST);
  const Nym_date_and_time copy = static_cast<const Nym_date_and_time&>(est).utc();
  EXPECT_TRUE(iso(copy) == "2024-07-01 17:00:00 GMT" && iso(est) == "2024-07-01 12:00:00 EST") << "the const form copies";
  EXPECT_TRUE(est.utc().is_same_as(copy));
  Nym_date_and_time late = at(31, 12, 2023, 23, 0, 0, Z::GMT);
  late.zone(Z::find(Z::CET));
  EXPECT_EQ(iso(late), "2024-01-01 00:00:00 CET") << "the date moves with the clock";
  late.zone(Z::find(Z::EDT));
  EXPECT_TRUE(late.is_dst() && !late.is_std());
  // Comparison is by instant, sameness by reading, subtraction by the clocks.
  const Nym_date_and_time noon_est = at(1, 7, 2024, 12, 0, 0, Z::EST), five = at(1, 7, 2024, 17, 0, 0, Z::GMT),
                          one = at(1, 7, 2024, 13, 0, 0, Z::GMT);
  EXPECT_TRUE(noon_est == five && !noon_est.is_same_as(five) && one < noon_est && noon_est > one && noon_est <= five);
  EXPECT_TRUE(noon_est - at(1, 7, 2024, 12, 0, 0, Z::GMT) == P::ZERO && noon_est - five == P(-5 * 3600, 0));
  Nym_date_and_time v = at(29, 2, 2024, 23, 59, 59, Z::CET);
  v += P(1, 0);
  EXPECT_EQ(iso(v - P(1, 0) + P(365, 0, 0, 0, 0)), "2025-02-28 23:59:59 CET");
  v -= P(0, -250000);
  v.date(Nym_date(25, 12, 1999));
  EXPECT_EQ(v.time(), Nym_time(0, 0, 0, 250000)) << "a new date keeps the time";
  v.time(Nym_time(23, 0, 1, 5));
  EXPECT_EQ(iso(v), "1999-12-25 23:00:01 CET");
}

TEST(DateAndTimeTest, TheRangeIsCheckedWhereTheDateIsAskedAndPeriodsOutsideItRefused) {
  Nym_date_and_time past_max = Nym_date_and_time::max_date_and_time() + P(1, 0);  // accepted
  Wstring kept = u"kept";
  EXPECT_EQ(what_of([&] { past_max.date(); }), BAD_DAY);
  EXPECT_EQ(what_of([&] { (void)static_cast<tm>(past_max); }), BAD_DAY);
  EXPECT_EQ(what_of([&] { past_max.to_string(u"", kept); }), BAD_DAY) << "even with no date token";
  EXPECT_TRUE(kept == u"kept" && past_max.time() == Nym_time(0, 0, 0, 999999)) << "the time of day still wraps";
  past_max.date(Nym_date(1, 1, 2000));
  EXPECT_EQ(text(past_max, u"%Y-%m-%d %H:%M:%S"), "2000-01-01 00:00:00") << "a new date brings it back";
  EXPECT_EQ(text(Nym_date_and_time::min_date_and_time(), u"%Y-%m-%d %H:%M:%S"), "-4713-01-01 00:00:00");
  const char* const ctor = "Nym_date_and_time::Nym_date_and_time() - time period is not a valid julian day.";
  const char* const assign = "Nym_date_and_time::operator=() - time period is not a valid julian day.";
  const int64 day = P::SECONDS_PER_DAY;
  const struct {
    P period;
    const char *ctor_text, *assign_text;
  } cases[] = {{P(38 * day, 0), nullptr, nullptr},       {P(38 * day - 1, 999999), ctor, assign},
               {P(13688961 * day - 1, 999999), nullptr, nullptr}, {P(13688961 * day, 0), ctor, assign},
               {P(int64(INT32_MAX) * day + day, 0), "i64 too positive for i32", "i64 too positive for i32"}};
  for (const auto& c : cases) {
    EXPECT_EQ(what_of([&] { (void)Nym_date_and_time(c.period, Z::UTC); }), c.ctor_text ? c.ctor_text : "(nothing raised)");
    Nym_date_and_time v = at(2, 2, 2022, 2, 2, 2, Z::EST);
    const P before = v;
    EXPECT_EQ(what_of([&] { v = c.period; }), c.assign_text ? c.assign_text : "(nothing raised)");
    EXPECT_TRUE(static_cast<P>(v) == (c.assign_text ? before : c.period) && v.zone() == Z::find(Z::EST));
  }
}

TEST(DateAndTimeTest, TmNowAndIds) {
  const Nym_date_and_time v = at(29, 2, 2024, 13, 4, 5, Z::EDT);
  const tm t = v;
  EXPECT_TRUE(t.tm_year == 124 && t.tm_mon == 1 && t.tm_mday == 29 && t.tm_hour == 13 && t.tm_wday == 4 &&
              t.tm_yday == 59 && t.tm_isdst == 1);
  EXPECT_TRUE(Nym_date_and_time(t, Z::find(Z::EDT)).is_same_as(v));
  Nym_date_and_time relabelled = at(1, 1, 2000, 0, 0, 0, Z::CET);
  relabelled = t;
  EXPECT_EQ(iso(relabelled), "2024-02-29 13:04:05 CET") << "its own zone stays";
  tm bad = t;
  bad.tm_year = INT_MAX;
  EXPECT_EQ(what_of([&] { relabelled = bad; }), "Invalid day, month, year.");
  bad = t;
  bad.tm_sec = 60;
  EXPECT_EQ(what_of([&] { relabelled = bad; }), "Invalid argument to Nym_time::set()");
  EXPECT_EQ(iso(relabelled), "2024-02-29 13:04:05 CET");
  // 2024-03-01 17:00:42.123456 UTC; the local zone is five hours behind.
  Nym_test_clock clock(P(1709312442, 123456), P(18000, 0), false);
  EXPECT_EQ(iso(Nym_date_and_time::now()), "2024-03-01 12:00:42 EST");
  EXPECT_EQ(Nym_date_and_time::min_date_and_time().zone(), Z::find(Z::EST));
  Nstring first, second;
  nym_idgen_date_time_number(first);
  nym_idgen_date_time_number(second);
  unsigned int n = 0;
  ASSERT_EQ(std::sscanf(first.c_str(), "2460371.42.%u", &n), 1) << first;  // 1 March 2024
  EXPECT_EQ(second, "2460371.42." + std::to_string(n + 1));
}

TEST(DateStatusArgTest, TextsAreTheLocaleFormsAndEqualityIsByKindThenValue) {
  const Nym_date day(29, 2, 2024);
  const Nym_time clock(13, 4, 5, 0);
  const Nym_date_and_time moment(day, clock, Z::find(Z::EST));
  const Nym_time_status_arg t(clock);
  const Nym_date_status_arg d(day);
  const Nym_date_and_time_status_arg m(moment);
  const std::pair<const Nym_status_arg*, Nstring> texts[] = {
      {&t, text(clock, u"%X")}, {&d, text(day, u"%x")}, {&m, text(moment, u"%c")}};
  for (const auto& c : texts) {
    Wstring out = u"previous content";
    c.first->to_string(out);
    EXPECT_TRUE(nym_test::utf8(out) == c.second && !out.empty());
    for (const auto& other : texts) EXPECT_EQ(*c.first == *other.first, c.first == other.first);
    struct Destroy {
      void operator()(Nym_status_arg* arg) const { arg->destroy(); }
    };
    const Ovt_auto_ptr<Nym_status_arg, Destroy> copy(c.first->clone(nullptr));
    EXPECT_TRUE(*copy == *c.first && *c.first == *copy);
  }
  EXPECT_FALSE(Nym_time_status_arg(Nym_time()) == Nym_int_status_arg(0));
  EXPECT_TRUE(Nym_date_and_time_status_arg(at(1, 7, 2024, 12, 0, 0, Z::EST)) ==
              Nym_date_and_time_status_arg(at(1, 7, 2024, 17, 0, 0, Z::GMT)))
      << "the same instant";
}
