#include "nym/time_zone.h"

#include <mutex>
#include <stdexcept>

#include "time/clock.h"

namespace nym {

// Defined here so that a caller may bind it to a reference: the DLL exports it.
const int Nym_time_zone::ZONE_COUNT;

using Z = Nym_time_zone;

// Row order is behaviour: lookup by offset takes the first match. The values are the
// library's own and are kept as they are (YST at 7.5 hours, the partner of GMT is BST).
const Z::Zone_info Z::m_zones[Z::ZONE_COUNT + 1] = {
    {GMT, "GMT", 0},         {WAT, "WAT", 3600},       {MAST, "MAST", 7200},     {ESAST, "ESAST", 10800},
    {AST, "AST", 14400},     {EST, "EST", 18000},      {CST, "CST", 21600},      {MST, "MST", 25200},
    {PST, "PST", 28800},     {YST, "YST", 27000},      {AHST, "AHST", 36000},    {NT, "NT", 39600},
    {IDLW, "IDLW", 43200},   {CET, "CET", -3600},      {EET, "EET", -7200},      {RST, "RST", -10800},
    {ZP4, "ZP4", -14400},    {ZP5, "ZP5", -18000},     {ZP6, "ZP6", -21600},     {WAST, "WAST", -25200},
    {CCT, "CCT", -28800},    {ZP8, "ZP8", -32400},     {EAST, "EAST", -36000},   {CPST, "CPST", -39600},
    {NZST, "NZST", -43200},  {NST, "NST", 12600},      {IST, "IST", -12600},     {KST, "KST", -16200},
    {INST, "INST", -19800},  {CAST, "CAST", -34200},   {MMT, "MMT", -23400},     {NPT, "NPT", -20700},
    {TOT, "TOT", -46800},    {MART, "MART", 34200},    {NFT, "NFT", -41400},     {CHAST, "CHAST", -45900},
    {VST, "VST", 16200},     {BST, "BST", -3600},      {ADT, "ADT", 10800},      {EDT, "EDT", 14400},
    {CDT, "CDT", 18000},     {MDT, "MDT", 21600},      {PDT, "PDT", 25200},      {YDT, "YDT", 28800},
    {HDT, "HDT", 32400},     {MEST, "MEST", -7200},    {WADT, "WADT", -28800},   {EADT, "EADT", -39600},
    {NZDT, "NZDT", -46800},  {NDT, "NDT", 9000},       {ESADT, "ESADT", 7200},   {MADT, "MADT", 3600},
    {WDT, "WDT", 0},         {EEDT, "EEDT", -10800},   {RDT, "RDT", -14400},     {ZP4S, "ZP4S", -18000},
    {ZP5S, "ZP5S", -21600},  {ZP6S, "ZP6S", -25200},   {IDT, "IDT", -16200},     {CCDT, "CCDT", -32400},
    {ZP8S, "ZP8S", -36000},  {CADT, "CADT", -37800},   {TDT, "TDT", -50400},     {CHADT, "CHADT", -49500},
    {NO_ZONE, "???", 0},
};

// Constant-initialised: UTC exists before any dynamic initialiser runs.
const Nym_time_zone Nym_time_zone::UTC(&Nym_time_zone::m_zones[0]);

const Z::Zone_info* Z::m_local_p = nullptr;
int64 Z::m_cached = 0;
Nym_latch Z::m_lock;

namespace {

[[noreturn]] void throw_invalid_zone() { throw std::invalid_argument("Nym_time_zone::partner - invalid zone"); }

// _stricmp in the C locale: ASCII letters only, so no locale can change what matches.
bool equal_nc(const char* a, const char* b) noexcept {
  for (;; ++a, ++b) {
    char x = *a;
    char y = *b;
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
    if (x != y) return false;
    if (x == '\0') return true;
  }
}

}  // namespace

Nym_time_zone::Nym_time_zone() noexcept : m_zone_p(&m_zones[0]) {}

Nym_time_period Nym_time_zone::offset() const noexcept {
  Nym_time_period p;
  p = m_zone_p->offset;  // whole seconds: cannot raise
  return p;
}

bool Nym_time_zone::valid_zone(Identifiers id) noexcept {
  return (id >= 1 && id <= 37) || (id >= 51 && id <= 61) || (id >= 64 && id <= 73) || (id >= 75 && id <= 77) ||
         id == 80 || id == 83 || id == 86;
}

Nym_time_zone::Identifiers Nym_time_zone::partner(Identifiers id) {
  if (!valid_zone(id)) throw_invalid_zone();
  const auto p = static_cast<Identifiers>(id <= 50 ? id + 50 : id - 50);
  return valid_zone(p) ? p : NO_ZONE;
}

const Z::Zone_info* Nym_time_zone::lookup(const char* name) noexcept {
  if (name == nullptr) return &m_zones[ZONE_COUNT];
  if (equal_nc(name, "UTC")) return &m_zones[0];
  const Zone_info* row = m_zones;
  for (; row->identifier != NO_ZONE; ++row) {
    if (equal_nc(name, row->name)) break;
  }
  return row;
}

const Z::Zone_info* Nym_time_zone::lookup(Identifiers id) {
  if (!valid_zone(id)) throw_invalid_zone();
  const Zone_info* row = m_zones;
  while (row->identifier != NO_ZONE && row->identifier != id) ++row;
  return row;
}

const Z::Zone_info* Nym_time_zone::lookup(int64 offset, bool is_dst) noexcept {
  const Zone_info* row = m_zones;
  for (; row->identifier != NO_ZONE; ++row) {
    if (row->offset == offset && (is_dst ? row->identifier > 50 : row->identifier < 50)) break;
  }
  return row;
}

Nym_time_zone Nym_time_zone::find(const Nym_time_period& offset, bool is_dst) noexcept {
  return Nym_time_zone(lookup(offset.seconds(), is_dst));
}

Nym_time_zone Nym_time_zone::find(const char* name) noexcept { return Nym_time_zone(lookup(name)); }

Nym_time_zone Nym_time_zone::find(Identifiers identifier) { return Nym_time_zone(lookup(identifier)); }

const Z::Zone_info* Nym_time_zone::ask_system() {
  const impl::Zone_reading zone = impl::local_zone();
  return lookup(zone.offset, zone.is_dst);
}

Nym_time_zone Nym_time_zone::local(bool use_cache) {
  if (!use_cache) return Nym_time_zone(ask_system());
  const int64 now = impl::utc_seconds();
  std::lock_guard<Nym_latch> hold(m_lock);
  // A clock set back counts as stale: otherwise the old row would stay for as long as the
  // clock was moved.
  if (m_local_p != nullptr && now >= m_cached && now - m_cached < 60) return Nym_time_zone(m_local_p);
  const Zone_info* row = ask_system();
  m_local_p = row;
  m_cached = now;
  return Nym_time_zone(row);
}

void Nym_time_zone::forget_local() noexcept {
  std::lock_guard<Nym_latch> hold(m_lock);
  m_local_p = nullptr;
  m_cached = 0;
}

}  // namespace nym
