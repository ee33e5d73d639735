#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "nym/test_clock.h"
#include "nym/time_zone.h"
#include "test_helpers.h"
#include "watchdog.h"

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

struct Row {
  int id;
  const char* name;
  long long offset;
  int partner;
};

// The table in its order, with the partner each row must have.
const Row TABLE[] = {
    {1, "GMT", 0, 51},          {2, "WAT", 3600, 52},       {3, "MAST", 7200, 53},      {4, "ESAST", 10800, 54},
    {5, "AST", 14400, 55},      {6, "EST", 18000, 56},      {7, "CST", 21600, 57},      {8, "MST", 25200, 58},
    {9, "PST", 28800, 59},      {10, "YST", 27000, 60},     {11, "AHST", 36000, 61},    {12, "NT", 39600, 0},
    {13, "IDLW", 43200, 0},     {14, "CET", -3600, 64},     {15, "EET", -7200, 65},     {16, "RST", -10800, 66},
    {17, "ZP4", -14400, 67},    {18, "ZP5", -18000, 68},    {19, "ZP6", -21600, 69},    {20, "WAST", -25200, 70},
    {21, "CCT", -28800, 71},    {22, "ZP8", -32400, 72},    {23, "EAST", -36000, 73},   {24, "CPST", -39600, 0},
    {25, "NZST", -43200, 75},   {26, "NST", 12600, 76},     {27, "IST", -12600, 77},    {28, "KST", -16200, 0},
    {29, "INST", -19800, 0},    {30, "CAST", -34200, 80},   {31, "MMT", -23400, 0},     {32, "NPT", -20700, 0},
    {33, "TOT", -46800, 83},    {34, "MART", 34200, 0},     {35, "NFT", -41400, 0},     {36, "CHAST", -45900, 86},
    {37, "VST", 16200, 0},      {51, "BST", -3600, 1},      {55, "ADT", 10800, 5},      {56, "EDT", 14400, 6},
    {57, "CDT", 18000, 7},      {58, "MDT", 21600, 8},      {59, "PDT", 25200, 9},      {60, "YDT", 28800, 10},
    {61, "HDT", 32400, 11},     {64, "MEST", -7200, 14},    {70, "WADT", -28800, 20},   {73, "EADT", -39600, 23},
    {75, "NZDT", -46800, 25},   {76, "NDT", 9000, 26},      {54, "ESADT", 7200, 4},     {53, "MADT", 3600, 3},
    {52, "WDT", 0, 2},          {65, "EEDT", -10800, 15},   {66, "RDT", -14400, 16},    {67, "ZP4S", -18000, 17},
    {68, "ZP5S", -21600, 18},   {69, "ZP6S", -25200, 19},   {77, "IDT", -16200, 27},    {71, "CCDT", -32400, 21},
    {72, "ZP8S", -36000, 22},   {80, "CADT", -37800, 30},   {83, "TDT", -50400, 33},    {86, "CHADT", -49500, 36},
};
constexpr int ROWS = sizeof TABLE / sizeof TABLE[0];

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

TEST(TimeZoneTest, TableRowsByIdentifierAndName) {
  static_assert(ROWS == Z::ZONE_COUNT, "every row listed");
  for (const Row& r : TABLE) {
    SCOPED_TRACE(r.name);
    const Z z = Z::find(id(r.id));
    EXPECT_EQ(z.identifier(), r.id);
    EXPECT_STREQ(z.name(), r.name);
    EXPECT_EQ(z.offset(), P(r.offset, 0));
    EXPECT_EQ(z.is_dst(), r.id > 50);
    EXPECT_EQ(z.is_std(), r.id < 50);
    EXPECT_EQ(Z::find(r.name), z);
    EXPECT_TRUE(Z::valid_zone(id(r.id)));
    EXPECT_EQ(Z::partner(id(r.id)), r.partner);
  }
}

TEST(TimeZoneTest, ValidZoneIsExactlyTheTable) {
  std::set<int> ids;
  for (const Row& r : TABLE) ids.insert(r.id);
  for (int v = -5; v <= 120; ++v) EXPECT_EQ(Z::valid_zone(id(v)), ids.count(v) == 1) << v;
  for (const int bad : {0, 38, 50, 62, 74, -1, 87}) {
    EXPECT_EQ(what_of([&] { Z::find(id(bad)); }), INVALID_ZONE) << bad;
    EXPECT_EQ(what_of([&] { Z::partner(id(bad)); }), INVALID_ZONE) << bad;
  }
}

TEST(TimeZoneTest, LookupByOffsetTakesTheFirstRowOfTheBand) {
  for (const Row& r : TABLE) {
    SCOPED_TRACE(r.name);
    const bool dst = r.id > 50;
    const Z found = Z::find(P(r.offset, 0), dst);
    // The first row in table order with this offset and band.
    const Row* first = nullptr;
    for (const Row& s : TABLE) {
      if (s.offset == r.offset && (s.id > 50) == dst) {
        first = &s;
        break;
      }
    }
    ASSERT_NE(first, nullptr);
    EXPECT_STREQ(found.name(), first->name);
  }
  EXPECT_STREQ(Z::find(P(3600, 0), false).name(), "WAT");
  EXPECT_STREQ(Z::find(P(3600, 0), true).name(), "MADT");
  EXPECT_STREQ(Z::find(P(0, 0), false).name(), "GMT");
  EXPECT_STREQ(Z::find(P(0, 0), true).name(), "WDT");
  EXPECT_STREQ(Z::find(P(-3600, 0), true).name(), "BST");
  EXPECT_STREQ(Z::find(P(18000, 999999), false).name(), "EST") << "microseconds take no part";
  expect_terminator(Z::find(P(1, 0), false));
  expect_terminator(Z::find(P(39600, 0), true));
}

TEST(TimeZoneTest, LookupByNameIgnoresCaseAndMapsUtc) {
  for (const char* name : {"gmt", "GMT", "utc", "UTC", "Utc"}) EXPECT_EQ(Z::find(name), Z::UTC) << name;
  EXPECT_STREQ(Z::find("UTC").name(), "GMT");
  EXPECT_STREQ(Z::find("chadt").name(), "CHADT");
  EXPECT_STREQ(Z::find("zP4s").name(), "ZP4S");
  for (const char* name : {"nope", "", "GMT ", "???", "ESTX"}) expect_terminator(Z::find(name));
  expect_terminator(Z::find(static_cast<const char*>(nullptr)));
}

TEST(TimeZoneTest, EqualityIsSameRow) {
  EXPECT_EQ(Z(), Z::UTC);
  EXPECT_STREQ(Z::UTC.name(), "GMT");
  EXPECT_EQ(Z::UTC.identifier(), Z::GMT);
  const Z cet = Z::find(Z::CET);
  const Z bst = Z::find(Z::BST);
  EXPECT_EQ(cet.offset(), bst.offset());
  EXPECT_NE(cet, bst);
  Z copy = cet;
  EXPECT_EQ(copy, cet);
  copy = bst;
  EXPECT_EQ(copy, bst);
}

TEST(TimeZoneTest, PartnerRule) {
  EXPECT_EQ(Z::partner(Z::NT), Z::NO_ZONE);
  EXPECT_EQ(Z::partner(Z::GMT), Z::BST);
  EXPECT_EQ(Z::partner(Z::BST), Z::GMT);
  EXPECT_EQ(Z::partner(Z::AHST), Z::HDT);
  EXPECT_EQ(Z::partner(Z::CET), Z::MEST);
}

// ---- the local zone, through the test clock

namespace {

const P T0(1700000000, 0);
const P EST_OFFSET(18000, 0);
const P CET_OFFSET(-3600, 0);

}  // namespace

TEST(TimeZoneLocalTest, MapsTheSystemAnswerOntoARow) {
  Nym_test_clock clock(T0, EST_OFFSET, false);
  EXPECT_EQ(Z::local(false), Z::find(Z::EST));
  clock.zone(P(14400, 0), true);
  EXPECT_EQ(Z::local(false), Z::find(Z::EDT));
  clock.zone(P(0, 0), true);
  EXPECT_EQ(Z::local(false), Z::find(Z::WDT));
  clock.zone(P(1234, 0), false);
  expect_terminator(Z::local(false));
}

TEST(TimeZoneLocalTest, CacheHoldsForAMinute) {
  Nym_test_clock clock(T0, EST_OFFSET, false);
  EXPECT_EQ(Z::local(true), Z::find(Z::EST));
  EXPECT_EQ(clock.zone_queries(), 1u);

  clock.zone(CET_OFFSET, false);
  clock.advance(P(59, 999999));
  EXPECT_EQ(Z::local(true), Z::find(Z::EST)) << "cached for 59 seconds";
  EXPECT_EQ(clock.zone_queries(), 1u);

  EXPECT_EQ(Z::local(false), Z::find(Z::CET)) << "an uncached call sees the change";
  EXPECT_EQ(clock.zone_queries(), 2u);
  EXPECT_EQ(Z::local(true), Z::find(Z::EST)) << "and leaves the cache alone";

  clock.advance(P(0, 1));
  EXPECT_EQ(Z::local(true), Z::find(Z::CET)) << "stale after 60 seconds";
  EXPECT_EQ(clock.zone_queries(), 3u);
  clock.advance(P(30, 0));
  EXPECT_EQ(Z::local(true), Z::find(Z::CET));
  EXPECT_EQ(clock.zone_queries(), 3u);
}

TEST(TimeZoneLocalTest, UnknownZoneIsCachedToo) {
  Nym_test_clock clock(T0, P(1234, 0), false);
  expect_terminator(Z::local(true));
  expect_terminator(Z::local(true));
  EXPECT_EQ(clock.zone_queries(), 1u);
}

TEST(TimeZoneLocalTest, ClockSetBackRefreshes) {
  Nym_test_clock clock(T0, EST_OFFSET, false);
  EXPECT_EQ(Z::local(true), Z::find(Z::EST));
  clock.zone(CET_OFFSET, false);
  clock.set(T0 - P(3600, 0));
  EXPECT_EQ(Z::local(true), Z::find(Z::CET));
  EXPECT_EQ(clock.zone_queries(), 2u);
}

TEST(TimeZoneLocalTest, NewTestClockForgetsTheCache) {
  {
    Nym_test_clock clock(T0, EST_OFFSET, false);
    EXPECT_EQ(Z::local(true), Z::find(Z::EST));
  }
  Nym_test_clock clock(T0, CET_OFFSET, false);
  EXPECT_EQ(Z::local(true), Z::find(Z::CET));
}

TEST(TimeZoneLocalTest, ConcurrentCallersShareOneQuery) {
  nym_test::Watchdog watchdog("TimeZoneLocalTest.ConcurrentCallersShareOneQuery");
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
