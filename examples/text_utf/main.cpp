// Text: UTF-8 and UTF-16 in and out, what narrow text means where, NFKC, case and trimming.
#include <cstring>

#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  // Wide text is UTF-16 in a Wstring; UTF-8 comes in and goes out through nym_utf8_to_utf16
  // and nym_utf16_to_utf8. Malformed input never fails: it becomes U+FFFD.
  const char* utf8 = "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC" "5";  // "Grüße €5"
  Wstring wide;
  nym_utf8_to_utf16(utf8, wide);
  check(wide == u"Grüße €5", "UTF-8 in");
  Nstring back;
  nym_utf16_to_utf8(wide.c_str(), back);
  check(back == utf8, "UTF-8 out");

  // Narrow text is Latin-1 in status arguments and nym_stow: one character per byte, so UTF-8
  // given there comes out as mojibake. Convert it first.
  check(Nym_wstring_status_arg(Nstring(utf8)).value().size() == std::strlen(utf8), "Latin-1 in arguments");
  check(Nym_wstring_status_arg(wide).value() == u"Grüße €5", "wide arguments");
  Nstring latin1;
  nym_wtos(wide, latin1, false);  // and back to Latin-1: what it lacks becomes "?"
  check(latin1 == "Gr\xFC\xDF" "e ?5", "Latin-1 out");
  // The string helpers read narrow text as UTF-8.
  check(nym_string_length(utf8) == 8, "characters, not bytes");
  Wstring appended = u">";
  nym_string_append(appended, utf8);
  check(appended == u">Grüße €5", "UTF-8 appended");

  // NFKC folds compatibility forms (the ligature fi, the circled one); then case and trimming.
  Wstring messy = u"  \uFB01le \u2460\t ";
  nym_trim(messy);
  Wstring folded;
  Nym_status status;
  nym_normalize(messy, folded, status);
  check(status.ok() && folded == u"file 1", "NFKC");
  nym_upper(folded);
  check(folded == u"FILE 1", "upper case");
  Wstring lower = u"ÄÖÜ ΣΟΦΙΑ";
  nym_lower(lower);  // by Unicode's simple mappings, whatever the locale
  check(lower == u"äöü σοφια", "lower case");
  nym_trim_all(folded);
  check(folded == u"FILE1", "white space removed everywhere");
  return recipe::result();
}
