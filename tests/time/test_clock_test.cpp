#include <gtest/gtest.h>

#include <stdexcept>

#include "nym/date.h"
#include "nym/test_clock.h"
#include "nym/time.h"
#include "nym/time_zone.h"

using namespace nym;

namespace {

using P = Nym_time_period;

// 2024-03-05 14:07:09.123456 UTC.
const P INSTANT(1709647629, 123456);

}  // namespace

TEST(TestClockTest, WallClockIsTheInstantInTheZone) {
  struct Case {
    P instant;
    long long offset;
    int day, month, year, hour, minute, second, micro;
  } const cases[] = {
      {INSTANT, 0, 5, 3, 2024, 14, 7, 9, 123000},
      {INSTANT, 18000, 5, 3, 2024, 9, 7, 9, 123000},
      {INSTANT, -3600, 5, 3, 2024, 15, 7, 9, 123000},
      {INSTANT, -43200, 6, 3, 2024, 2, 7, 9, 123000},
      {INSTANT - P(0, 14, 0, 0, 0), 18000, 4, 3, 2024, 19, 7, 9, 123000},
      {P(-1, 0), 0, 31, 12, 1969, 23, 59, 59, 0},
      {P(0, -1), 0, 31, 12, 1969, 23, 59, 59, 999000},
      {P(0, 0), 0, 1, 1, 1970, 0, 0, 0, 0},
      {P(951782400, 0), 0, 29, 2, 2000, 0, 0, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.instant.seconds()) + " at offset " + std::to_string(c.offset));
    Nym_test_clock clock(c.instant, P(c.offset, 0), false);
    EXPECT_EQ(Nym_date::today(), Nym_date(c.day, c.month, c.year));
    EXPECT_EQ(Nym_time::now(), Nym_time(c.hour, c.minute, c.second, c.micro));
  }
}

TEST(TestClockTest, MovesOnlyWhenTold) {
  Nym_test_clock clock(INSTANT, P(0, 0), false);
  EXPECT_EQ(clock.now(), INSTANT);
  const Nym_time before = Nym_time::now();
  EXPECT_EQ(Nym_time::now(), before);
  clock.advance(P(0, 10, 0, 0, 0));
  EXPECT_EQ(Nym_time::now(), Nym_time(0, 7, 9, 123000));
  EXPECT_EQ(Nym_date::today(), Nym_date(6, 3, 2024));
  clock.set(P(0, 0));
  EXPECT_EQ(Nym_date::today(), Nym_date());
  clock.advance(P(-86400, 0));
  EXPECT_EQ(Nym_date::today(), Nym_date(31, 12, 1969));
}

TEST(TestClockTest, OneAtATime) {
  {
    Nym_test_clock clock(INSTANT, P(0, 0), false);
    EXPECT_THROW(Nym_test_clock(P(0, 0), P(0, 0), false), std::logic_error);
    EXPECT_EQ(clock.now(), INSTANT) << "the refused clock changed nothing";
  }
  Nym_test_clock again(P(0, 0), P(0, 0), false);
  EXPECT_EQ(Nym_date::today(), Nym_date());
}

// Without a test clock the system's clock is read: whatever the day, it is a legal date and
// the two readers agree on it unless midnight passes between them.
TEST(TestClockTest, SystemClockAfterwards) {
  const Nym_date first = Nym_date::today();
  const Nym_time now = Nym_time::now();
  const Nym_date second = Nym_date::today();
  EXPECT_TRUE(Nym_date::is_julian_day(first.julian_day()));
  EXPECT_TRUE(second == first || second == first + P(1, 0, 0, 0, 0));
  EXPECT_TRUE(Nym_time::valid_hour(now.hours()));
  EXPECT_EQ(now.microseconds() % 1000, 0) << "the wall clock reads milliseconds";
}
