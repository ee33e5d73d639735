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
#include "nym/date_status_arg.h"
#include "nym/status.h"
#include "nym/test_clock.h"
#include "test_helpers.h"

#if defined(_WIN32)
#include <windows.h>
#endif
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
// partnered back.
TEST(TimeZoneTest, EveryRowHangsTogether) {
  int rows = 0;
  for (int v = -5; v <= 120; ++v) {
    if (!Z::valid_zone(id(v))) continue;
    const Z z = Z::find(id(v));
    ++rows;
    EXPECT_TRUE(z.identifier() == v && Z::find(z.name()) == z && z.is_dst() == (v > 50) && z.is_std() != z.is_dst());
    const Z::Identifiers partner = Z::partner(id(v));
    if (partner == Z::NO_ZONE) continue;
    const Z other = Z::find(partner);
    // The table keeps YST and YDT half an hour apart the other way.
    const int64 apart = z.identifier() == Z::YST || z.identifier() == Z::YDT ? -1800 : 3600;
    EXPECT_TRUE(Z::partner(partner) == v && other.is_dst() != z.is_dst()) << z.name();
    EXPECT_EQ((z.is_dst() ? other.offset() - z.offset() : z.offset() - other.offset()), P(apart, 0)) << z.name();
  }
  EXPECT_EQ(rows, +Z::ZONE_COUNT);
  EXPECT_EQ(what_of([] { Z::partner(id(50)); }), "Nym_time_zone::partner - invalid zone");
  EXPECT_STREQ(Z::find(P(18000, 999999), false).name(), "EST") << "the first row with the offset; no microseconds";
  EXPECT_TRUE(is_terminator(Z::find(P(1, 0), false)) && is_terminator(Z::find(P(39600, 0), true)));
  EXPECT_TRUE(Z::find("gmt") == Z::UTC && Z::find("Utc") == Z::UTC && Z::find("zP4s") == Z::find(Z::ZP4S));
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
    EXPECT_EQ(clock.zone_queries(), 3u);
    clock.advance(P(0, 1));
    EXPECT_EQ(Z::local(true), Z::find(Z::CET)) << "stale after 60 seconds";
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

// Without a test clock the answer is the machine's: some row, found by its name, and on Windows
// the one the system's own numbers give.
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
#endif
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
  Nym_date_and_time late = at(31, 12, 2023, 23, 0, 0, Z::GMT);
  late.zone(Z::find(Z::CET));
  EXPECT_EQ(iso(late), "2024-01-01 00:00:00 CET") << "the date moves with the clock";
  // Comparison is by instant, sameness by reading, subtraction by the clocks.
  const Nym_date_and_time noon_est = at(1, 7, 2024, 12, 0, 0, Z::EST), five = at(1, 7, 2024, 17, 0, 0, Z::GMT),
                          one = at(1, 7, 2024, 13, 0, 0, Z::GMT);
  EXPECT_TRUE(noon_est == five && !noon_est.is_same_as(five) && one < noon_est && noon_est > one && noon_est <= five);
  EXPECT_TRUE(noon_est - at(1, 7, 2024, 12, 0, 0, Z::GMT) == P::ZERO && noon_est - five == P(-5 * 3600, 0));
  Nym_date_and_time v = at(29, 2, 2024, 23, 59, 59, Z::CET);
  v += P(1, 0);
  EXPECT_EQ(iso(v - P(1, 0) + P(365, 0, 0, 0, 0)), "2025-02-28 23:59:59 CET");
}

TEST(DateAndTimeTest, TheRangeIsCheckedWhereTheDateIsAskedAndPeriodsOutsideItRefused) {
  Nym_date_and_time past_max = Nym_date_and_time::max_date_and_time() + P(1, 0);  // accepted
  Wstring kept = u"kept";
  EXPECT_EQ(what_of([&] { past_max.date(); }), BAD_DAY);
  EXPECT_EQ(what_of([&] { past_max.to_string(u"", kept); }), BAD_DAY) << "even with no date token";
  EXPECT_TRUE(kept == u"kept" && past_max.time() == Nym_time(0, 0, 0, 999999)) << "the time of day still wraps";
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

TEST(DateAndTimeTest, TmTheTestClockAndIds) {
  const Nym_date_and_time v = at(29, 2, 2024, 13, 4, 5, Z::EDT);
  const tm t = v;
  EXPECT_TRUE(t.tm_year == 124 && t.tm_mon == 1 && t.tm_mday == 29 && t.tm_hour == 13 && t.tm_wday == 4 &&
              t.tm_yday == 59 && t.tm_isdst == 1);
  EXPECT_TRUE(Nym_date_and_time(t, Z::find(Z::EDT)).is_same_as(v));
  Nym_date_and_time relabelled = at(1, 1, 2000, 0, 0, 0, Z::CET);
  relabelled = t;
  EXPECT_EQ(iso(relabelled), "2024-02-29 13:04:05 CET") << "its own zone stays";
  tm bad = t;
  bad.tm_sec = 60;
  EXPECT_EQ(what_of([&] { relabelled = bad; }), "Invalid argument to Nym_time::set()");
  EXPECT_EQ(iso(relabelled), "2024-02-29 13:04:05 CET");
  // 2024-03-01 17:00:42.123456 UTC; the local zone is five hours behind.
  Nym_test_clock clock(P(1709312442, 123456), P(18000, 0), false);
  EXPECT_EQ(iso(Nym_date_and_time::now()), "2024-03-01 12:00:42 EST");
  EXPECT_TRUE(Nym_date::today() == Nym_date(1, 3, 2024) && Nym_time::now() == Nym_time(12, 0, 42, 123000));
  EXPECT_THROW(Nym_test_clock(P(0, 0), P(0, 0), false), std::logic_error) << "one test clock at a time";
  EXPECT_EQ(Nym_date_and_time::min_date_and_time().zone(), Z::find(Z::EST));
  Nstring first, second;
  nym_idgen_date_time_number(first);
  nym_idgen_date_time_number(second);
  unsigned int n = 0;
  ASSERT_EQ(std::sscanf(first.c_str(), "2460371.42.%u", &n), 1) << first;  // 1 March 2024
  EXPECT_EQ(second, "2460371.42." + std::to_string(n + 1));
  clock.advance(P(0, 12, 0, 0, 0));
  EXPECT_EQ(iso(Nym_date_and_time::now()), "2024-03-02 00:00:42 EST") << "the clock moves only when told";
}

TEST(DateStatusArgTest, TextsAreTheLocaleFormsAndEqualityIsByKindThenInstant) {
  const Nym_date_and_time moment = at(29, 2, 2024, 13, 4, 5, Z::EST);
  const Nym_status held(1, Nym_time_status_arg(moment.time()), Nym_date_status_arg(moment.date()),
                        Nym_date_and_time_status_arg(moment));
  Nstring texts;
  for (const Nym_status_arg* arg : held) {
    Wstring out = u"previous content";
    arg->to_string(out);
    texts += nym_test::utf8(out) + "|";
    for (const Nym_status_arg* other : held) EXPECT_EQ(*arg == *other, arg == other);
  }
  EXPECT_EQ(texts, text(moment.time(), u"%X") + "|" + text(moment.date(), u"%x") + "|" + text(moment, u"%c") + "|");
  EXPECT_TRUE(*held.begin()[2] == Nym_date_and_time_status_arg(at(29, 2, 2024, 18, 4, 5, Z::GMT))) << "one instant";
}
