#include <gtest/gtest.h>

#include <climits>
#include <stdexcept>
#include <string>

#include "nym/string_basic.h"
#include "nym/time.h"

#include "test_helpers.h"

using namespace nym;

namespace {

using P = Nym_time_period;

void expect_clock(const Nym_time& t, int h, int m, int s, int u) {
  EXPECT_EQ(t.hours(), h);
  EXPECT_EQ(t.minutes(), m);
  EXPECT_EQ(t.seconds(), s);
  EXPECT_EQ(t.microseconds(), u);
}

using nym_test::what_of;

using nym_test::text;

}  // namespace

TEST(TimeTest, BoundsAndComponents) {
  expect_clock(Nym_time(), 0, 0, 0, 0);
  EXPECT_EQ(Nym_time::min_time(), Nym_time());
  expect_clock(Nym_time::max_time(), 23, 59, 59, 999999);
  expect_clock(Nym_time(13, 5, 9, 42), 13, 5, 9, 42);
  const P as_period = Nym_time(13, 5, 9, 42);
  EXPECT_EQ(as_period, P(13 * 3600 + 5 * 60 + 9, 42));
}

TEST(TimeTest, ComponentsOutOfRangeRaise) {
  struct Case {
    int h, m, s, u;
  } const bad[] = {{24, 0, 0, 0}, {0, 60, 0, 0}, {0, 0, 60, 0}, {0, 0, 0, 1000000},
                   {-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}, {0, 0, 0, -1}};
  for (const Case& c : bad) {
    SCOPED_TRACE(std::to_string(c.h) + ":" + std::to_string(c.m) + ":" + std::to_string(c.s) + "." +
                 std::to_string(c.u));
    EXPECT_EQ(what_of([&] { Nym_time(c.h, c.m, c.s, c.u); }), "Invalid argument to Nym_time::set()");
    Nym_time kept(1, 2, 3, 4);
    EXPECT_THROW(kept.assign(c.h, c.m, c.s, c.u), std::invalid_argument);
    expect_clock(kept, 1, 2, 3, 4);
  }
  tm leap{};
  leap.tm_hour = 23;
  leap.tm_min = 59;
  leap.tm_sec = 60;
  EXPECT_THROW(Nym_time(leap, 0), std::invalid_argument);
  leap.tm_sec = 59;
  expect_clock(Nym_time(leap, 7), 23, 59, 59, 7);
}

TEST(TimeTest, ValidatorsAcceptExactlyTheClockRange) {
  for (int v = -2; v <= 61; ++v) {
    EXPECT_EQ(Nym_time::valid_hour(v), v >= 0 && v <= 23) << v;
    EXPECT_EQ(Nym_time::valid_minute(v), v >= 0 && v <= 59) << v;
    EXPECT_EQ(Nym_time::valid_second(v), v >= 0 && v <= 59) << v;
  }
  EXPECT_TRUE(Nym_time::valid_microsecond(0));
  EXPECT_TRUE(Nym_time::valid_microsecond(999999));
  EXPECT_FALSE(Nym_time::valid_microsecond(1000000));
  EXPECT_FALSE(Nym_time::valid_microsecond(-1));
}

TEST(TimeTest, ValuesWrapIntoOneDay) {
  expect_clock(Nym_time(-1), 23, 59, 59, 0);
  expect_clock(Nym_time(86400), 0, 0, 0, 0);
  expect_clock(Nym_time(86400 * 3 + 5), 0, 0, 5, 0);
  expect_clock(Nym_time(P(-1, -5)), 23, 59, 58, 999995);
  expect_clock(Nym_time(P(-86400 * 10 - 3600, 0)), 23, 0, 0, 0);
  expect_clock(Nym_time(P(0, -1)), 23, 59, 59, 999999);
  expect_clock(Nym_time(INT_MIN), 20, 45, 52, 0);  // -2147483648 s is 24855 days and 3:14:08 back
}

TEST(TimeTest, PeriodsOfMoreDaysThanAnIntRaise) {
  const int64 big = (static_cast<int64>(INT_MAX) + 1) * 86400;
  EXPECT_EQ(what_of([&] { Nym_time{P(big, 0)}; }), "i64 too positive for i32");
  EXPECT_EQ(what_of([&] { Nym_time{P(-big - 86400, 0)}; }), "i64 too negative for i32");
  Nym_time t(1, 0, 0, 0);
  EXPECT_THROW(t += P(big, 0), std::overflow_error);
  expect_clock(t, 1, 0, 0, 0);
}

TEST(TimeTest, ArithmeticWrapsAroundMidnight) {
  expect_clock(Nym_time(23, 59, 59, 0) + P(1, 0), 0, 0, 0, 0);
  expect_clock(Nym_time() - P(0, 1), 23, 59, 59, 999999);
  expect_clock(Nym_time(22, 0, 0, 0) + P(0, 5, 0, 0, 0), 3, 0, 0, 0);
  expect_clock(Nym_time(1, 0, 0, 0) - P(2, 0, 0, 0, 0), 1, 0, 0, 0);
  Nym_time t(12, 0, 0, 0);
  t += P(0, 0, 30, 0, 0);
  t -= P(0, 13, 0, 0, 0);
  expect_clock(t, 23, 30, 0, 0);
}

TEST(TimeTest, DifferenceIsTheForwardGap) {
  EXPECT_EQ(Nym_time(1, 0, 0, 0) - Nym_time(23, 0, 0, 0), P(0, 2, 0, 0, 0));
  EXPECT_EQ(Nym_time(23, 0, 0, 0) - Nym_time(1, 0, 0, 0), P(0, 22, 0, 0, 0));
  EXPECT_EQ(Nym_time(10, 0, 0, 0) - Nym_time(10, 0, 0, 0), P::ZERO);
  EXPECT_EQ(Nym_time(0, 0, 0, 0) - Nym_time::max_time(), P(0, 1));
}

TEST(TimeTest, NoonIsPm) {
  EXPECT_TRUE(Nym_time(12, 0, 0, 0).is_pm());
  EXPECT_FALSE(Nym_time(12, 0, 0, 0).is_am());
  EXPECT_TRUE(Nym_time(11, 59, 59, 999999).is_am());
  EXPECT_TRUE(Nym_time().is_am());
  EXPECT_TRUE(Nym_time::max_time().is_pm());
}

TEST(TimeTest, ComparisonAndTm) {
  EXPECT_LT(Nym_time(1, 0, 0, 0), Nym_time(1, 0, 0, 1));
  EXPECT_GT(Nym_time(2, 0, 0, 0), Nym_time(1, 59, 59, 999999));
  EXPECT_LE(Nym_time(), Nym_time());
  EXPECT_NE(Nym_time(), Nym_time(0, 0, 0, 1));
  const tm t = Nym_time(13, 5, 9, 42);
  EXPECT_EQ(t.tm_hour, 13);
  EXPECT_EQ(t.tm_min, 5);
  EXPECT_EQ(t.tm_sec, 9);
  EXPECT_EQ(t.tm_mday + t.tm_mon + t.tm_year + t.tm_wday + t.tm_yday + t.tm_isdst, 0);
}

TEST(TimeTest, FormatTokensFollowStrftimeInTheCLocale) {
  const Nym_time t(13, 5, 9, 0);
  EXPECT_EQ(text(t, u"%H:%M:%S"), "13:05:09");
  EXPECT_EQ(text(t, u"%I %p"), "01 PM");
  EXPECT_EQ(text(Nym_time(0, 30, 0, 0), u"%I %p"), "12 AM");
  EXPECT_EQ(text(t, u"%X"), "13:05:09");
  EXPECT_EQ(text(t, u"at %H"), "at 13");
  EXPECT_EQ(text(t, u"%%"), "%");
  EXPECT_EQ(text(t, u"%"), "%");
  EXPECT_EQ(text(t, u"50%"), "50%");
  EXPECT_EQ(text(t, u""), "");
  EXPECT_EQ(text(t, u"\u00e9 %H"), "\xc3\xa9 13");
}

TEST(TimeTest, TokenSetAndBadToken) {
  for (unsigned short c = 0; c < 128; ++c) {
    const bool want = c == '%' || c == 'H' || c == 'I' || c == 'M' || c == 'S' || c == 'X' || c == 'p';
    EXPECT_EQ(Nym_time::is_format_token(c), want) << c;
  }
  Wstring out;
  EXPECT_EQ(what_of([&] { Nym_time().to_string(u"%H%q", out); }), "Nym_time::to_string - invalid format token.");
  EXPECT_EQ(out, u"00");
}
