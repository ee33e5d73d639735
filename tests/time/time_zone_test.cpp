#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "nym/test_clock.h"
#include "nym/time_zone.h"
#include "test_helpers.h"

#if defined(_WIN32)
#include <windows.h>

#include <time.h>
#else
#include <stdlib.h>
#include <time.h>
#endif

using namespace nym;

namespace {

using Z = Nym_time_zone;
using P = Nym_time_period;

Z::Identifiers id(int value) { return static_cast<Z::Identifiers>(value); }

using nym_test::what_of;

void expect_terminator(const Z& z) {
  EXPECT_STREQ(z.name(), "???");
  EXPECT_EQ(z.identifier(), Z::NO_ZONE);
  EXPECT_EQ(z.offset(), P::ZERO);
  EXPECT_TRUE(z.is_std());
  EXPECT_FALSE(z.is_dst());
}

const char* const INVALID_ZONE = "Nym_time_zone::partner - invalid zone";

}  // namespace

// Every row of the table: found by its identifier and by its name, standard below 50 and
// daylight above, its partner (where it has one) in the other band, an hour earlier, and
// partnered back, and an offset lookup answering the first row of its band with that offset.
TEST(TimeZoneTest, EveryRowHangsTogether) {
  std::vector<Z> rows;
  for (int v = -5; v <= 120; ++v) {
    if (!Z::valid_zone(id(v))) {
      if (v == 0 || v == 38 || v == 50 || v == 87) {
        EXPECT_EQ(what_of([&] { Z::find(id(v)); }), INVALID_ZONE) << v;
        EXPECT_EQ(what_of([&] { Z::partner(id(v)); }), INVALID_ZONE) << v;
      }
      continue;
    }
    const Z z = Z::find(id(v));
    rows.push_back(z);
    EXPECT_EQ(z.identifier(), v);
    EXPECT_EQ(Z::find(z.name()), z) << z.name();
    EXPECT_EQ(z.is_dst(), v > 50) << z.name();
    EXPECT_NE(z.is_std(), z.is_dst()) << z.name();
    EXPECT_EQ(z.offset().microseconds(), 0);
    const Z::Identifiers partner = Z::partner(id(v));
    if (partner == Z::NO_ZONE) continue;
    const Z other = Z::find(partner);
    EXPECT_EQ(Z::partner(partner), v) << z.name();
    EXPECT_NE(other.is_dst(), z.is_dst()) << z.name();
    // The table keeps YST and YDT half an hour apart the other way.
    const int64 apart = z.identifier() == Z::YST || z.identifier() == Z::YDT ? -1800 : 3600;
    EXPECT_EQ((z.is_dst() ? other.offset() - z.offset() : z.offset() - other.offset()), P(apart, 0)) << z.name();
  }
  EXPECT_EQ(static_cast<int>(rows.size()), Z::ZONE_COUNT);
  for (const Z& z : rows) {
    const Z found = Z::find(z.offset(), z.is_dst());
    for (const Z& earlier : rows) {
      if (earlier.offset() == z.offset() && earlier.is_dst() == z.is_dst()) {
        EXPECT_EQ(found, earlier) << z.name() << ": the first row of its band";
        break;
      }
    }
  }
  const struct {
    Z::Identifiers zone;
    const char* name;
    int64 offset;
  } samples[] = {{Z::GMT, "GMT", 0},        {Z::EST, "EST", 18000},    {Z::NST, "NST", 12600},
                 {Z::CHADT, "CHADT", -49500}, {Z::NPT, "NPT", -20700}, {Z::BST, "BST", -3600}};
  for (const auto& sample : samples) {
    EXPECT_STREQ(Z::find(sample.zone).name(), sample.name);
    EXPECT_EQ(Z::find(sample.zone).offset(), P(sample.offset, 0)) << sample.name;
  }
  EXPECT_STREQ(Z::find(P(3600, 0), false).name(), "WAT");
  EXPECT_STREQ(Z::find(P(0, 0), true).name(), "WDT");
  EXPECT_STREQ(Z::find(P(18000, 999999), false).name(), "EST") << "microseconds take no part";
  expect_terminator(Z::find(P(1, 0), false));
  expect_terminator(Z::find(P(39600, 0), true));
  EXPECT_EQ(Z::partner(Z::NT), Z::NO_ZONE);
}

TEST(TimeZoneTest, NamesIgnoreCaseAndRowsAreEqualOnlyToThemselves) {
  for (const char* name : {"gmt", "UTC", "Utc"}) EXPECT_EQ(Z::find(name), Z::UTC) << name;
  EXPECT_STREQ(Z::find("zP4s").name(), "ZP4S");
  for (const char* name : {"nope", "", "GMT ", "???"}) expect_terminator(Z::find(name));
  expect_terminator(Z::find(static_cast<const char*>(nullptr)));
  EXPECT_TRUE(Z() == Z::UTC && Z::UTC.identifier() == Z::GMT);
  const Z cet = Z::find(Z::CET), bst = Z::find(Z::BST);
  EXPECT_TRUE(cet.offset() == bst.offset() && cet != bst);
}

// ---- the local zone, through the test clock

namespace {

const P T0(1700000000, 0);
const P EST_OFFSET(18000, 0);
const P CET_OFFSET(-3600, 0);

}  // namespace

TEST(TimeZoneLocalTest, TheSystemAnswerMapsOntoARowCachedForAMinute) {
  {
    Nym_test_clock clock(T0, EST_OFFSET, false);
    EXPECT_EQ(Z::local(true), Z::find(Z::EST));
    clock.zone(P(0, 0), true);
    EXPECT_EQ(Z::local(false), Z::find(Z::WDT));
    clock.zone(CET_OFFSET, false);
    clock.advance(P(59, 999999));
    EXPECT_EQ(Z::local(true), Z::find(Z::EST)) << "cached for 59 seconds";
    EXPECT_EQ(Z::local(false), Z::find(Z::CET)) << "an uncached call sees the change";
    EXPECT_EQ(Z::local(true), Z::find(Z::EST)) << "and leaves the cache alone";
    EXPECT_EQ(clock.zone_queries(), 3u);
    clock.advance(P(0, 1));
    EXPECT_EQ(Z::local(true), Z::find(Z::CET)) << "stale after 60 seconds";
    clock.zone(P(1234, 0), false);
    clock.set(T0 - P(3600, 0));
    expect_terminator(Z::local(true));  // a clock set back refreshes, and no row is cached too
    expect_terminator(Z::local(true));
    EXPECT_EQ(clock.zone_queries(), 5u);
  }
  Nym_test_clock clock(T0, CET_OFFSET, false);
  EXPECT_EQ(Z::local(true), Z::find(Z::CET)) << "a new test clock forgets the cache";
}

TEST(TimeZoneLocalTest, ConcurrentCallersShareOneQuery) {
  Nym_test_clock clock(T0, CET_OFFSET, false);
  constexpr int THREADS = 4;
  constexpr int CALLS = 5000;
  std::atomic<int> wrong{0};
  const Z want = Z::find(Z::CET);
  std::vector<std::thread> threads;
  for (int t = 0; t < THREADS; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < CALLS; ++i) {
        if (Z::local(true) != want) ++wrong;
      }
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(clock.zone_queries(), 1u);
}

// Without a test clock the answer is the machine's: it is some row, and two cached calls in a
// row agree unless a minute boundary of the cache falls between them.
TEST(TimeZoneLocalTest, SystemAnswerIsARowOfTheTable) {
  const Z z = Z::local(false);
  EXPECT_TRUE(z.identifier() == Z::NO_ZONE || Z::valid_zone(z.identifier()));
  EXPECT_EQ(Z::find(z.name()), z);
  const Z a = Z::local(true);
  EXPECT_TRUE(a.identifier() == Z::NO_ZONE || Z::valid_zone(a.identifier()));
}

#if defined(_WIN32)

// The system's own numbers, read here independently: Bias and the table share a sign, and
// without a zone kind the C run-time's _timezone speaks.
TEST(TimeZoneLocalTest, FollowsGetTimeZoneInformation) {
  TIME_ZONE_INFORMATION info;
  const DWORD kind = GetTimeZoneInformation(&info);
  long long offset = 0;
  bool dst = false;
  if (kind == TIME_ZONE_ID_STANDARD) {
    offset = (static_cast<long long>(info.Bias) + info.StandardBias) * 60;
  } else if (kind == TIME_ZONE_ID_DAYLIGHT) {
    offset = (static_cast<long long>(info.Bias) + info.DaylightBias) * 60;
    _tzset();
    dst = _daylight != 0;
  } else {
    _tzset();
    offset = _timezone;
  }
  EXPECT_EQ(Z::local(false), Z::find(P(offset, 0), dst)) << "kind " << kind << ", offset " << offset;
}

#else

namespace {

// Sets TZ for one test and puts the old value back.
class Tz_override {
 public:
  explicit Tz_override(const char* value) {
    const char* old = getenv("TZ");
    m_had = old != nullptr;
    if (m_had) m_old = old;
    setenv("TZ", value, 1);
    tzset();
  }
  ~Tz_override() {
    if (m_had) setenv("TZ", m_old.c_str(), 1);
    else unsetenv("TZ");
    tzset();
  }

 private:
  bool m_had = false;
  std::string m_old;
};

}  // namespace

TEST(TimeZoneLocalTest, FollowsTheCLibraryOffset) {
  struct Case {
    const char* tz;
    Z::Identifiers want;
  } const cases[] = {{"XST5", Z::EST}, {"XET-1", Z::CET}, {"XNT+3:30", Z::NST}, {"UTC0", Z::GMT},
                     {"XAT-5:45", Z::NPT}, {"XQT7:01", Z::NO_ZONE}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tz);
    Tz_override tz(c.tz);
    EXPECT_EQ(Z::local(false).identifier(), c.want);
  }
}

#endif
