// Nym_test_clock: test support. Replaces the system clock and the system's local zone for
// the whole process while an object of it lives, so that tests of code that reads the time do
// not depend on the machine's date, zone or speed.
//
// Nym_time::now, Nym_date::today and Nym_time_zone::local read it, and so does everything built
// on them. The local wall clock is derived from the test clock's UTC instant and its zone: the
// zone's offset (seconds to add to local time to reach UTC, as in the zone table) is
// subtracted from the instant. Installing or removing the clock forgets the cached local zone.
//
// One test clock at a time: constructing a second raises std::logic_error
// "Nym_test_clock - a test clock is already installed.". Its operations may be called from any
// thread; each reading the library takes is consistent in itself.
#ifndef NYM_TEST_CLOCK_H
#define NYM_TEST_CLOCK_H

#include "nym/time_period.h"

namespace nym {

class NYM_API Nym_test_clock {
 public:
  // `since_1970`: the UTC instant as a period from 1 January 1970 00:00:00 UTC.
  Nym_test_clock(const Nym_time_period& since_1970, const Nym_time_period& zone_offset, bool zone_is_dst);
  Nym_test_clock(const Nym_test_clock&) = delete;
  Nym_test_clock& operator=(const Nym_test_clock&) = delete;
  // Gives the clock back to the system.
  ~Nym_test_clock();

  void set(const Nym_time_period& since_1970);
  void advance(const Nym_time_period& by);
  // What the next question for the local zone answers; the cached local zone keeps its row
  // until its minute is over, as with a change of the system's zone.
  void zone(const Nym_time_period& offset, bool is_dst);

  Nym_time_period now() const;
  // How often the library asked for the local zone since this clock was installed.
  unsigned int zone_queries() const;
};

}  // namespace nym

#endif
