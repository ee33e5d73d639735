// Nym_time_period and Nym_time: signs that never disagree, carries, the day they wrap in, and
// their format tokens.
#include <gtest/gtest.h>

#include <sys/time.h>

#include <climits>
#include <stdexcept>
#include <string>

#include "nym/time.h"
#include "nym/time_period.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::text;
using nym_test::what_of;
using P = Nym_time_period;

namespace {

// The fields, and that they agree in sign with the microseconds below a second.
std::string fields(const P& p) {
  const bool sane = !(p.seconds() > 0 && p.microseconds() < 0) && !(p.seconds() < 0 && p.microseconds() > 0) &&
                    P::valid_microsecond(p.microseconds());
  return std::to_string(p.seconds()) + "," + std::to_string(p.microseconds()) + (sane ? "" : " (signs disagree)");
}

const std::string MIXED = "Invalid time period given to Nym_time_period::assign()";

}  // namespace

TEST(TimePeriodTest, AssignAndArithmeticKeepTheSignsTogether) {
  const struct {
    int64 seconds;
    int micro;
    const char* want;  // null: mixed signs, refused
  } assigned[] = {{-1, 500000, nullptr},        {1, -1, nullptr},           {-1, -500000, "-1,-500000"},
                  {1, 1500000, "2,500000"},     {0, -1500000, "-1,-500000"}, {-5, -1500000, "-6,-500000"},
                  {LLONG_MAX, 0, "9223372036854775807,0"}};
  for (const auto& c : assigned) {
    P kept(7, 7);
    const std::string what = what_of([&] { kept.assign(c.seconds, c.micro); });
    EXPECT_EQ(what + " " + fields(kept), c.want ? "(nothing raised) " + std::string(c.want) : MIXED + " 7,7");
  }
  EXPECT_EQ(fields(P(1, 2, 3, 4, 5)), "93784,5");
  EXPECT_EQ(fields(P(0, 0, 0, -1, -1500000)), "-2,-500000");
  EXPECT_EQ(fields(P(INT_MAX, 0, 0, 0, 0)), std::to_string(int64{INT_MAX} * 86400) + ",0") << "days widen";
  EXPECT_EQ(what_of([] { P(0, 0, 0, 1, -1); }), MIXED);

  P in_place(5, 0);
  in_place += P(-2, -999999);
  const std::pair<P, const char*> results[] = {
      {P(0, 600000) + P(0, 600000), "1,200000"},   {P(1, 0) + P(0, -1), "0,999999"},
      {P(1, 0) - P(2, 500000), "-1,-500000"},      {P(-1, -999999) + P(-1, -999999), "-3,-999998"},
      {in_place, "2,1"},                           {in_place -= P(2, 1), "0,0"},
      {P(1, 500000) * 3, "4,500000"},              {-P(1, 500000), "-1,-500000"},
      {P(-10, 0) % 3000000, "-1,0"},               {P(10, 0) / -4, "-2,-500000"}};
  for (const auto& r : results) EXPECT_EQ(fields(r.first), r.second);
  // The microseconds are multiplied in 32 bits and wrap; the result is still a period.
  for (const int factor : {3000, -3000, 1 << 20}) EXPECT_EQ(fields(P(-1, -999999) * factor).find('('), std::string::npos);
  P p(5, 0);
  EXPECT_THROW(p /= 0, std::invalid_argument);
  EXPECT_THROW(P(1, 0) % 0, std::invalid_argument);
  EXPECT_EQ(fields(p), "5,0");
}

TEST(TimePeriodTest, TotalsNarrowingAndTimeval) {
  EXPECT_EQ(P(-90000, 0).days() + P(-90000, 0).hours() + P(-90000, 0).minutes(), -1 - 25 - 1500) << "toward zero";
  int d = 9, h = 9, m = 9, s = 9, u = 9;
  P(-90061, -500000).value(d, h, m, s, u);
  EXPECT_EQ(std::to_string(d) + std::to_string(h) + std::to_string(m) + std::to_string(s) + std::to_string(u),
            "-1-1-1-1-500000");
  const int64 big = (int64{INT_MAX} + 1) * 86400;
  EXPECT_EQ(what_of([&] { P(big, 0).value(d, h, m, s, u); }), "i64 too positive for i32");
  EXPECT_EQ(d, -1) << "a refused decomposition leaves the outputs alone";
  EXPECT_EQ(what_of([&] { P(-big - 86400, 0).value(d, h, m, s, u); }), "i64 too negative for i32");
  EXPECT_EQ(nym_narrow_i32(INT_MIN), INT_MIN);
  EXPECT_EQ(what_of([] { nym_narrow_i32(int64{INT_MAX} + 1); }), "i64 too positive for i32");
  EXPECT_EQ(nym_narrow_u32(0xFFFFFFFFLL), 0xFFFFFFFFu);
  EXPECT_EQ(what_of([] { nym_narrow_u32(-1); }) + what_of([] { nym_narrow_u32(0x100000000LL); }),
            "i64 too negative for u32i64 too positive for u32");

  timeval tv{};
  tv.tv_sec = 5;
  tv.tv_usec = 1500000;
  EXPECT_EQ(fields(P(tv)), "6,500000");
  const timeval cut = P(0x100000005LL, -0);
  EXPECT_EQ(cut.tv_sec, 5) << "only the low 32 bits of the seconds travel";
  const timeval out = P(-2, -7);
  EXPECT_TRUE(out.tv_sec == -2 && out.tv_usec == -7);
}

TEST(TimePeriodTest, OrderAndTokens) {
  const P ordered[] = {P(-2, 0), P(-1, -500000), P(-1, 0), P(0, -1), P::ZERO, P(0, 1), P(1, 0), P(1, 1), P::NOON};
  for (int i = 0; i < 9; ++i) {
    for (int j = 0; j < 9; ++j) {
      const int got = (ordered[i] == ordered[j]) + 2 * (ordered[i] != ordered[j]) + 4 * (ordered[i] < ordered[j]) +
                      8 * (ordered[i] <= ordered[j]) + 16 * (ordered[i] > ordered[j]) + 32 * (ordered[i] >= ordered[j]);
      EXPECT_EQ(got, (i == j) + 2 * (i != j) + 4 * (i < j) + 8 * (i <= j) + 16 * (i > j) + 32 * (i >= j)) << i << " " << j;
    }
  }
  const struct {
    P p;
    const char16_t* format;
    const char* want;
  } cases[] = {{P(90000, 0), u"a%Hb %D", "a25b 1"},  {P(-3660, 0), u"%M", "-1"},
               {P(-65, 0), u"%S", "-5"},              {P(0, 500000), u"%C", "50"},
               {P(0, -5), u"%u", "-5"},               {P(3725, 0), u"%H:%M:%S %%|100%", "01:02:05 %|100%"},
               {P(-90000, 0), u"%P", "-1 -01:00:00.00"}, {P(0, -500000), u"%P", "23:59:59.-500000"},
               {P(-1, -5), u"%P", "-00:00:01.-5"},    {P(93784, 500000), u"%P", "1 02:03:04.500000"}};
  for (const auto& c : cases) EXPECT_EQ(text(c.p, c.format), c.want);
  Wstring out = u"junk";
  EXPECT_EQ(what_of([&] { P(5, 0).to_string(u"ab%S%x%S", out); }), "Nym_time_period::to_string - invalid format token.");
  EXPECT_EQ(out, u"ab05") << "what came before the bad token stays";
}

TEST(TimeTest, ComponentsRangeTheDayTheyWrapInAndTokens) {
  const Nym_time t(13, 5, 9, 42);
  EXPECT_EQ(static_cast<P>(t), P(13 * 3600 + 5 * 60 + 9, 42));
  const int bad[][4] = {{24, 0, 0, 0}, {0, 60, 0, 0}, {0, 0, 60, 0}, {0, 0, 0, 1000000}, {-1, 0, 0, 0}, {0, 0, 0, -1}};
  for (const auto& b : bad) {
    Nym_time kept(1, 2, 3, 4);
    EXPECT_EQ(what_of([&] { kept.assign(b[0], b[1], b[2], b[3]); }), "Invalid argument to Nym_time::set()");
    EXPECT_EQ(kept, Nym_time(1, 2, 3, 4));
  }
  const std::pair<P, Nym_time> wraps[] = {{P(86400 * 3 + 5, 0), Nym_time(0, 0, 5, 0)},
                                          {P(-1, -5), Nym_time(23, 59, 58, 999995)},
                                          {P(INT_MIN, 0), Nym_time(20, 45, 52, 0)}};
  for (const auto& w : wraps) EXPECT_EQ(Nym_time(w.first), w.second) << w.first.seconds();
  EXPECT_EQ(Nym_time(-1), Nym_time(23, 59, 59, 0)) << "from seconds too";
  const int64 big = (int64{INT_MAX} + 1) * 86400;
  Nym_time kept(1, 0, 0, 0);
  EXPECT_THROW(kept += P(big, 0), std::overflow_error);
  EXPECT_EQ(kept, Nym_time(1, 0, 0, 0));
  EXPECT_TRUE(Nym_time(23, 59, 59, 0) + P(1, 0) == Nym_time() && Nym_time(1, 0, 0, 0) - P(2, 0, 0, 0, 0) == kept);
  EXPECT_EQ(Nym_time(1, 0, 0, 0) - Nym_time(23, 0, 0, 0), P(0, 2, 0, 0, 0)) << "the forward gap";
  EXPECT_EQ(Nym_time() - Nym_time::max_time(), P(0, 1));
  EXPECT_TRUE(Nym_time(12, 0, 0, 0).is_pm() && Nym_time(11, 59, 59, 999999).is_am() && Nym_time() < t);
  // The tokens follow strftime's in the C locale.
  EXPECT_EQ(text(t, u"%H:%M:%S %I %p|%X|%%|\u00e9 50%"), "13:05:09 01 PM|13:05:09|%|\xc3\xa9 50%");
  EXPECT_EQ(text(Nym_time(0, 30, 0, 0), u"%I %p|%"), "12 AM|%");
  Wstring out;
  EXPECT_EQ(what_of([&] { Nym_time().to_string(u"%H%q", out); }), "Nym_time::to_string - invalid format token.");
  EXPECT_EQ(out, u"00");
}
