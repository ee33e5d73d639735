// Dates and zones: now, one moment in two zones, the sign of an offset, the names the table knows.
#include <cstring>

#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  // Now: the local wall clock in the local zone, the system's zone mapped onto the built-in
  // table (cached for up to a minute). Comparisons go through UTC.
  const Nym_date_and_time now = Nym_date_and_time::now();
  Wstring text;
  now.to_string(u"%Y-%m-%d %H:%M:%S %z", text);
  recipe::print("now", text);
  check(now.zone() == Nym_time_zone::local(true) && now.utc() == now, "now, and now in UTC");

  // One moment in two zones: zone() converts, the instant stays and the reading moves.
  const Nym_time_zone cet = Nym_time_zone::find("CET");
  const Nym_time_zone est = Nym_time_zone::find("EST");
  const Nym_date_and_time meeting(Nym_date(14, 3, 2024), Nym_time(15, 30, 0, 0), cet);
  Nym_date_and_time in_new_york = meeting;
  in_new_york.zone(est);
  in_new_york.to_string(u"%d.%m.%Y %H:%M %z", text);
  recipe::print("in New York", text);
  check(text == u"14.03.2024 09:30 EST", "09:30 in New York");
  check(in_new_york == meeting && !in_new_york.is_same_as(meeting), "same instant, another reading");
  // Subtraction takes the wall clocks and ignores the zones.
  check((meeting - in_new_york).hours() == 6, "six hours apart on the wall");

  // An offset is what to add to local time to reach UTC, as Windows' Bias: positive west of
  // Greenwich, the opposite of ISO 8601's "+01:00" for CET. %o prints it that way.
  check(cet.offset().seconds() == -3600 && est.offset().seconds() == 18000, "the sign of offsets");
  meeting.to_string(u"%o", text);
  check(text == u"--1", "%o of CET");

  // Short names only, found without regard to case; "UTC" finds GMT. A summer zone is a
  // row of its own (CET's is MEST, 50 identifiers up); an unknown name finds the row "???".
  check(std::strcmp(Nym_time_zone::find("utc").name(), "GMT") == 0, "UTC is GMT");
  check(Nym_time_zone::partner(Nym_time_zone::CET) == Nym_time_zone::MEST, "CET's summer zone");
  check(Nym_time_zone::find("CEST").identifier() == Nym_time_zone::NO_ZONE, "no CEST");
  check(Nym_time_zone::find("Europe/Paris").identifier() == Nym_time_zone::NO_ZONE, "no Olson names");
  // An offset finds the first row with it: 3600 west is WAT, -3600 summer time is BST.
  check(Nym_time_zone::find(Nym_time_period(-3600, 0), true).identifier() == Nym_time_zone::BST, "BST");
  return recipe::result();
}
