// Nym_time_zone: a fixed-offset zone, one row of a built-in table of 64 zones.
//
// A row has an identifier, a short upper-case name and an offset: the seconds to add to the
// zone's local time to reach UTC, so positive west of Greenwich (EST 18000, CET -3600). There
// are no summer-time rules: a summer zone is its own row, and its partner (the standard row)
// is 50 identifiers lower. Identifiers below 50 are standard zones, above 50 summer zones.
// The table is constant and unsorted on purpose: lookup by offset takes the first row that
// matches, in table order. A failed lookup by name or offset gives the terminator row,
// identifier 0 and name "???", which is a readable zone like any other.
//
// A zone is a pointer to its row: copies are cheap, equality is "same row", and any thread
// may read any zone. local(true) caches the system's zone for up to a minute under one
// process-wide lock.
//
// Errors: an illegal identifier given to find or partner raises std::invalid_argument
// "Nym_time_zone::partner - invalid zone".
#ifndef NYM_TIME_ZONE_H
#define NYM_TIME_ZONE_H

#include "nym/latch.h"
#include "nym/time_period.h"

namespace nym {

class NYM_API Nym_time_zone {
 public:
  enum Identifiers : int {
    NO_ZONE = 0,  // the terminator row
    GMT = 1, WAT = 2, MAST = 3, ESAST = 4, AST = 5, EST = 6, CST = 7, MST = 8, PST = 9, YST = 10,
    AHST = 11, NT = 12, IDLW = 13, CET = 14, EET = 15, RST = 16, ZP4 = 17, ZP5 = 18, ZP6 = 19,
    WAST = 20, CCT = 21, ZP8 = 22, EAST = 23, CPST = 24, NZST = 25, NST = 26, IST = 27, KST = 28,
    INST = 29, CAST = 30, MMT = 31, NPT = 32, TOT = 33, MART = 34, NFT = 35, CHAST = 36, VST = 37,
    BST = 51, WDT = 52, MADT = 53, ESADT = 54, ADT = 55, EDT = 56, CDT = 57, MDT = 58, PDT = 59,
    YDT = 60, HDT = 61, MEST = 64, EEDT = 65, RDT = 66, ZP4S = 67, ZP5S = 68, ZP6S = 69, WADT = 70,
    CCDT = 71, ZP8S = 72, EADT = 73, NZDT = 75, NDT = 76, IDT = 77, CADT = 80, TDT = 83, CHADT = 86,
  };

  // One row of the table.
  struct Zone_info {
    Identifiers identifier;
    char name[12];
    int64 offset;
  };

  static const int ZONE_COUNT = 64;  // rows before the terminator

  // Row 1, GMT.
  static const Nym_time_zone UTC;

  // GMT.
  Nym_time_zone() noexcept;
  Nym_time_zone(const Nym_time_zone&) noexcept = default;
  Nym_time_zone& operator=(const Nym_time_zone&) noexcept = default;
  ~Nym_time_zone() = default;

  // Same row: two rows with one offset are different zones.
  bool operator==(const Nym_time_zone& o) const noexcept { return m_zone_p == o.m_zone_p; }
  bool operator!=(const Nym_time_zone& o) const noexcept { return m_zone_p != o.m_zone_p; }

  // The first row with the period's whole seconds as offset, among the summer rows when
  // is_dst is true and the standard rows otherwise: offset 0 finds GMT, or WDT for summer.
  static Nym_time_zone find(const Nym_time_period& offset, bool is_dst) noexcept;
  // By name, ignoring ASCII case; "UTC" finds GMT. Null or unknown names find the terminator.
  static Nym_time_zone find(const char* name) noexcept;
  // By identifier; an illegal one raises.
  static Nym_time_zone find(Identifiers identifier);
  // The system's current zone mapped onto a row: the first row of the offset and kind that
  // GetTimeZoneInformation gives now (its Bias plus the standard or daylight bias), the
  // terminator when no row fits. With
  // use_cache the answer may be up to 59 seconds old, so that frequent callers cost one
  // system query a minute; without, the system is asked every time and the cache is left
  // alone.
  static Nym_time_zone local(bool use_cache);
  // The identifier 50 higher (from a standard zone) or lower (from a summer zone), or NO_ZONE
  // when that is no zone of the table; an illegal identifier raises.
  static Identifiers partner(Identifiers identifier);
  // The identifiers of the table's 64 rows: 1-37, 51-61, 64-73, 75-77, 80, 83, 86.
  static bool valid_zone(Identifiers identifier) noexcept;

  Identifiers identifier() const noexcept { return m_zone_p->identifier; }
  const char* name() const noexcept { return m_zone_p->name; }
  Nym_time_period offset() const noexcept;
  bool is_std() const noexcept { return m_zone_p->identifier < 50; }
  bool is_dst() const noexcept { return m_zone_p->identifier > 50; }

 protected:
  constexpr explicit Nym_time_zone(const Zone_info* row) noexcept : m_zone_p(row) {}

 private:
  friend class Nym_test_clock;

  static const Zone_info* lookup(const char* name) noexcept;
  static const Zone_info* lookup(Identifiers identifier);
  static const Zone_info* lookup(int64 offset, bool is_dst) noexcept;
  static const Zone_info* ask_system();
  // Drops the cached local zone (the test clock changes what "now" means).
  static void forget_local() noexcept;

  static const Zone_info m_zones[ZONE_COUNT + 1];
  static const Zone_info* m_local_p;
  static int64 m_cached;
  static Nym_latch m_lock;  // guards m_local_p and m_cached

  const Zone_info* m_zone_p;
};

}  // namespace nym

#endif
