#include <gtest/gtest.h>

#include <sys/time.h>

#include <climits>
#include <stdexcept>
#include <string>

#include "nym/string_basic.h"
#include "nym/time_period.h"

#include "test_helpers.h"

using namespace nym;

namespace {

using P = Nym_time_period;

// The fields must agree in sign and the microseconds stay below a second, whatever happened.
void expect_invariant(const P& p) {
  EXPECT_FALSE(p.seconds() > 0 && p.microseconds() < 0) << p.seconds() << ", " << p.microseconds();
  EXPECT_FALSE(p.seconds() < 0 && p.microseconds() > 0) << p.seconds() << ", " << p.microseconds();
  EXPECT_TRUE(P::valid_microsecond(p.microseconds())) << p.microseconds();
}

void expect_fields(const P& p, int64 seconds, int microseconds) {
  EXPECT_EQ(p.seconds(), seconds);
  EXPECT_EQ(p.microseconds(), microseconds);
}

using nym_test::what_of;

using nym_test::text;

const char* const MIXED = "Invalid time period given to Nym_time_period::assign()";

}  // namespace

TEST(TimePeriodTest, ConstantsExistWithTheirValues) {
  expect_fields(P::ZERO, 0, 0);
  expect_fields(P::NOON, 43200, 0);
  EXPECT_EQ(P::NOON, P(0, 12, 0, 0, 0));
  expect_fields(P(), 0, 0);
}

TEST(TimePeriodTest, TwoFieldAssignKeepsSignsTogether) {
  struct Case {
    int64 seconds;
    int micro;
    bool raises;
    int64 want_seconds;
    int want_micro;
  } const cases[] = {
      {-1, 500000, true, 0, 0},      {1, -1, true, 0, 0},
      {-1, -500000, false, -1, -500000}, {0, -500000, false, 0, -500000},
      {1, 1500000, false, 2, 500000},  {0, 2500000, false, 2, 500000},
      {0, -1500000, false, -1, -500000}, {-5, -1500000, false, -6, -500000},
      {0, 0, false, 0, 0},           {0, 999999, false, 0, 999999},
      {LLONG_MAX, 0, false, LLONG_MAX, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.seconds) + ", " + std::to_string(c.micro));
    if (c.raises) {
      EXPECT_EQ(what_of([&] { P(c.seconds, c.micro); }), MIXED);
      P kept(7, 7);
      EXPECT_THROW(kept.assign(c.seconds, c.micro), std::invalid_argument);
      expect_fields(kept, 7, 7);
    } else {
      const P p(c.seconds, c.micro);
      expect_fields(p, c.want_seconds, c.want_micro);
      expect_invariant(p);
    }
  }
}

TEST(TimePeriodTest, FiveFieldAssignComposesAndChecksSigns) {
  expect_fields(P(1, 2, 3, 4, 5), 93784, 5);
  expect_fields(P(0, -1, 0, 0, 0), -3600, 0);
  expect_fields(P(0, 0, 0, 0, 2500000), 2, 500000);
  expect_fields(P(0, 0, 0, -1, -1500000), -2, -500000);
  expect_fields(P(-1, 0, -1, 0, -1), -86460, -1);
  // Days widen to 64 bits: a period of many years fits.
  expect_fields(P(INT_MAX, 0, 0, 0, 0), static_cast<int64>(INT_MAX) * 86400, 0);
  EXPECT_EQ(what_of([] { P(1, -1, 0, 0, 0); }), MIXED);
  EXPECT_EQ(what_of([] { P(0, 0, 0, 1, -1); }), MIXED);
  P kept(0, 0, 0, 9, 9);
  EXPECT_THROW(kept.assign(-1, 0, 0, 0, 1), std::invalid_argument);
  expect_fields(kept, 9, 9);
}

TEST(TimePeriodTest, AdditionAndSubtractionCarry) {
  struct Case {
    P a, b;
    bool subtract;
    int64 seconds;
    int micro;
  } const cases[] = {
      {P(0, 600000), P(0, 600000), false, 1, 200000},
      {P(1, 0), P(0, -1), false, 0, 999999},
      {P(1, 0), P(2, 500000), true, -1, -500000},
      {P(-1, -999999), P(-1, -999999), false, -3, -999998},
      {P(5, 0), P(-2, -999999), false, 2, 1},
      {P(0, -999999), P(0, 999999), true, -1, -999998},
      {P(0, 1), P(0, 1), true, 0, 0},
      {P(-3, 0), P(0, 500000), false, -2, -500000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.a.seconds()) + "," + std::to_string(c.a.microseconds()) +
                 (c.subtract ? " - " : " + ") + std::to_string(c.b.seconds()) + "," +
                 std::to_string(c.b.microseconds()));
    const P r = c.subtract ? c.a - c.b : c.a + c.b;
    expect_fields(r, c.seconds, c.micro);
    expect_invariant(r);
    P in_place = c.a;
    if (c.subtract) in_place -= c.b;
    else in_place += c.b;
    EXPECT_EQ(in_place, r);
  }
}

TEST(TimePeriodTest, NegationMirrorsTheFields) {
  expect_fields(-P(1, 500000), -1, -500000);
  expect_fields(-P(0, -5), 0, 5);
  EXPECT_EQ(-P::ZERO, P::ZERO);
}

TEST(TimePeriodTest, TotalsTruncateTowardZero) {
  const P p(-90000, 0);
  EXPECT_EQ(p.days(), -1);
  EXPECT_EQ(p.hours(), -25);
  EXPECT_EQ(p.minutes(), -1500);
  const P q(90061, 0);
  EXPECT_EQ(q.days(), 1);
  EXPECT_EQ(q.hours(), 25);
  EXPECT_EQ(q.minutes(), 1501);
}

TEST(TimePeriodTest, ValueDecomposesWithTheSignOfTheWhole) {
  int d = 9, h = 9, m = 9, s = 9, u = 9;
  P(-90061, -500000).value(d, h, m, s, u);
  EXPECT_EQ(d, -1);
  EXPECT_EQ(h, -1);
  EXPECT_EQ(m, -1);
  EXPECT_EQ(s, -1);
  EXPECT_EQ(u, -500000);
  P(1, 2, 3, 4, 5).value(d, h, m, s, u);
  EXPECT_EQ(d * 10000 + h * 1000 + m * 100 + s * 10 + u, 12345);

  d = h = m = s = u = 7;
  const int64 big = (static_cast<int64>(INT_MAX) + 1) * 86400;
  EXPECT_EQ(what_of([&] { P(big, 0).value(d, h, m, s, u); }), "i64 too positive for i32");
  EXPECT_EQ(what_of([&] { P(-big - 86400, 0).value(d, h, m, s, u); }), "i64 too negative for i32");
  EXPECT_EQ(d, 7) << "a refused decomposition leaves the outputs alone";
}

TEST(TimePeriodTest, NarrowingStopsAtTheLimits) {
  EXPECT_EQ(nym_narrow_i32(INT_MIN), INT_MIN);
  EXPECT_EQ(nym_narrow_i32(INT_MAX), INT_MAX);
  EXPECT_EQ(what_of([] { nym_narrow_i32(static_cast<int64>(INT_MIN) - 1); }), "i64 too negative for i32");
  EXPECT_EQ(what_of([] { nym_narrow_i32(static_cast<int64>(INT_MAX) + 1); }), "i64 too positive for i32");
  EXPECT_THROW(nym_narrow_i32(LLONG_MIN), std::overflow_error);
  EXPECT_EQ(nym_narrow_u32(0), 0u);
  EXPECT_EQ(nym_narrow_u32(0xFFFFFFFFLL), 0xFFFFFFFFu);
  EXPECT_EQ(what_of([] { nym_narrow_u32(-1); }), "i64 too negative for u32");
  EXPECT_EQ(what_of([] { nym_narrow_u32(0x100000000LL); }), "i64 too positive for u32");
}

TEST(TimePeriodTest, TimevalRoundTripAndSignRule) {
  timeval tv{};
  tv.tv_sec = 5;
  tv.tv_usec = 1500000;
  expect_fields(P(tv), 6, 500000);
  tv.tv_sec = -1;
  tv.tv_usec = -250000;
  expect_fields(P(tv), -1, -250000);
  tv.tv_usec = 5;
  EXPECT_EQ(what_of([&] { P{tv}; }), MIXED);
  P p(3, 0);
  EXPECT_THROW(p = tv, std::invalid_argument);
  expect_fields(p, 3, 0);

  const timeval out = P(-2, -7);
  EXPECT_EQ(out.tv_sec, -2);
  EXPECT_EQ(out.tv_usec, -7);
  // Only the low 32 bits of the seconds travel.
  const timeval cut = P(0x100000005LL, 9);
  EXPECT_EQ(cut.tv_sec, 5);
  EXPECT_EQ(cut.tv_usec, 9);

  p = int64{42};
  expect_fields(p, 42, 0);
}

TEST(TimePeriodTest, MultiplicationScalesBothFields) {
  expect_fields(P(1, 500000) * 3, 4, 500000);
  expect_fields(P(-1, -500000) * 2, -3, 0);
  expect_fields(P(1, 500000) * -2, -3, 0);
  expect_fields(P(7, 7) * 0, 0, 0);
  P p(0, 400000);
  p *= 5;
  expect_fields(p, 2, 0);
  // The microseconds are multiplied in 32 bits and wrap; the result is still a period.
  for (const int factor : {3000, 5000, -3000, 1 << 20}) {
    SCOPED_TRACE(factor);
    expect_invariant(P(1, 999999) * factor);
    expect_invariant(P(-1, -999999) * factor);
  }
}

TEST(TimePeriodTest, DivisionAndRemainderWorkOnMicroseconds) {
  expect_fields(P(1, 0) / 4, 0, 250000);
  expect_fields(P(-1, -500000) / 3, 0, -500000);
  expect_fields(P(10, 0) / -4, -2, -500000);
  expect_fields(P(1, 0) % 7, 0, 1);
  expect_fields(P(10, 0) % 3000000, 1, 0);
  expect_fields(P(-10, 0) % 3000000, -1, 0);
  P p(9, 0);
  p /= 3;
  expect_fields(p, 3, 0);
  p %= 2000000;
  expect_fields(p, 1, 0);
  EXPECT_THROW(P(1, 0) / 0, std::invalid_argument);
  EXPECT_THROW(P(1, 0) % 0, std::invalid_argument);
  p = int64{5};
  EXPECT_THROW(p /= 0, std::invalid_argument);
  expect_fields(p, 5, 0);
  expect_fields(P(5, 5) % -1, 0, 0);
}

TEST(TimePeriodTest, ComparisonOrdersBySecondsThenMicroseconds) {
  const P ordered[] = {P(-2, 0), P(-1, -500000), P(-1, 0), P(0, -1), P::ZERO, P(0, 1), P(1, 0), P(1, 1), P::NOON};
  const int n = sizeof ordered / sizeof ordered[0];
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      SCOPED_TRACE(std::to_string(i) + " vs " + std::to_string(j));
      EXPECT_EQ(ordered[i] == ordered[j], i == j);
      EXPECT_EQ(ordered[i] != ordered[j], i != j);
      EXPECT_EQ(ordered[i] < ordered[j], i < j);
      EXPECT_EQ(ordered[i] <= ordered[j], i <= j);
      EXPECT_EQ(ordered[i] > ordered[j], i > j);
      EXPECT_EQ(ordered[i] >= ordered[j], i >= j);
    }
  }
}

TEST(TimePeriodTest, FormatTokens) {
  struct Case {
    P p;
    const char16_t* format;
    const char* want;
  } const cases[] = {
      {P(90000, 0), u"%H", "25"},
      {P(-3660, 0), u"%M", "-1"},
      {P(5, 0), u"%S", "05"},
      {P(-65, 0), u"%S", "-5"},
      {P(90000, 0), u"%D", "1"},
      {P(0, 500000), u"%C", "50"},
      {P(0, -5), u"%u", "-5"},
      {P(3725, 0), u"%H:%M:%S", "01:02:05"},
      {P(1, 0), u"100%", "100%"},
      {P(1, 0), u"%%", "%"},
      {P(1, 0), u"", ""},
      {P(90000, 0), u"a%Hb", "a25b"},
      {P(-90000, 0), u"%P", "-1 -01:00:00.00"},
      {P(0, -500000), u"%P", "23:59:59.-500000"},
      {P(-1, -5), u"%P", "-00:00:01.-5"},
      {P(3723, 5), u"%P", "01:02:03.05"},
      {P(93784, 500000), u"%P", "1 02:03:04.500000"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.want);
    EXPECT_EQ(text(c.p, c.format), c.want);
  }
}

TEST(TimePeriodTest, BadTokenRaisesAndKeepsWhatCameBefore) {
  Wstring out = u"junk";
  EXPECT_EQ(what_of([&] { P(5, 0).to_string(u"ab%S%x%S", out); }), "Nym_time_period::to_string - invalid format token.");
  EXPECT_EQ(out, u"ab05");
}
