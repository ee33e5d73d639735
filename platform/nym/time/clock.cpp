#include <atomic>
#include <stdexcept>

#include "time/clock.h"
#include "nym/date.h"
#include "nym/test_clock.h"
#include "nym/time_zone.h"

namespace nym {

namespace {

constexpr int64 MICRO = Nym_time_period::MICROSECONDS_PER_SECOND;
constexpr int64 MICRO_PER_DAY = Nym_time_period::SECONDS_PER_DAY * MICRO;

// The installed test clock's state. Atomics rather than a lock: the library may read them
// from any thread while a test moves the clock.
std::atomic<bool> g_claimed{false};    // an object exists
std::atomic<bool> g_installed{false};  // and its state is set
std::atomic<int64> g_utc_microseconds{0};
std::atomic<int64> g_zone_offset{0};
std::atomic<bool> g_zone_is_dst{false};
std::atomic<unsigned int> g_zone_queries{0};

int64 as_microseconds(const Nym_time_period& p) { return p.seconds() * MICRO + p.microseconds(); }

int64 floor_div(int64 a, int64 b) {
  const int64 q = a / b;
  return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

}  // namespace

namespace impl {

Local_reading local_reading() {
  if (!g_installed.load()) return system_local_reading();
  const int64 local = g_utc_microseconds.load() - g_zone_offset.load() * MICRO;
  const int64 days = floor_div(local, MICRO_PER_DAY);
  const int64 in_day = local - days * MICRO_PER_DAY;
  Local_reading r{};
  Nym_date::calc_calendar_date(nym_narrow_i32(days + Nym_date::UNIX_EPOCH_JULIAN_DAY), r.day, r.month, r.year);
  const int64 seconds = in_day / MICRO;
  r.hour = static_cast<int>(seconds / 3600);
  r.minute = static_cast<int>(seconds / 60 % 60);
  r.second = static_cast<int>(seconds % 60);
  r.millisecond = static_cast<int>(in_day % MICRO / 1000);
  return r;
}

int64 utc_seconds() {
  if (!g_installed.load()) return system_utc_seconds();
  return floor_div(g_utc_microseconds.load(), MICRO);
}

Zone_reading local_zone() {
  if (!g_installed.load()) return system_local_zone();
  g_zone_queries.fetch_add(1);
  return Zone_reading{g_zone_offset.load(), g_zone_is_dst.load()};
}

}  // namespace impl

Nym_test_clock::Nym_test_clock(const Nym_time_period& since_1970, const Nym_time_period& zone_offset,
                               bool zone_is_dst) {
  if (g_claimed.exchange(true)) throw std::logic_error("Nym_test_clock - a test clock is already installed.");
  g_utc_microseconds.store(as_microseconds(since_1970));
  g_zone_offset.store(zone_offset.seconds());
  g_zone_is_dst.store(zone_is_dst);
  g_zone_queries.store(0);
  g_installed.store(true);
  Nym_time_zone::forget_local();
}

Nym_test_clock::~Nym_test_clock() {
  g_installed.store(false);
  Nym_time_zone::forget_local();
  g_claimed.store(false);
}

void Nym_test_clock::set(const Nym_time_period& since_1970) { g_utc_microseconds.store(as_microseconds(since_1970)); }

void Nym_test_clock::advance(const Nym_time_period& by) { g_utc_microseconds.fetch_add(as_microseconds(by)); }

void Nym_test_clock::zone(const Nym_time_period& offset, bool is_dst) {
  g_zone_offset.store(offset.seconds());
  g_zone_is_dst.store(is_dst);
}

Nym_time_period Nym_test_clock::now() const {
  const int64 us = g_utc_microseconds.load();
  return Nym_time_period(us / MICRO, static_cast<int>(us % MICRO));
}

unsigned int Nym_test_clock::zone_queries() const { return g_zone_queries.load(); }

}  // namespace nym
