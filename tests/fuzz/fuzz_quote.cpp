// nym_unquote and the XML escape forms on any input: no crash, and the round trips
// unquote(quote(x)) == x and from_xml(to_xml(x, true)) == x (wide) hold.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "nym/quote.h"

using namespace nym;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Nstring narrow(reinterpret_cast<const char*>(data), size);
  Wstring wide(size / 2, 0);
  if (!wide.empty()) std::memcpy(&wide[0], data, wide.size() * 2);

  Nstring n1;
  Nstring n2;
  nym_unquote(narrow, n1);
  check(n1.size() <= narrow.size());
  nym_quote(narrow, n1);
  nym_unquote(n1, n2);
  check(n2 == narrow);

  Wstring w1;
  Wstring w2;
  nym_unquote(wide, w1);
  check(w1.size() <= wide.size());
  nym_quote(wide, w1);
  nym_unquote(w1, w2);
  check(w2 == wide);

  nym_wstring_from_xml(wide, w1);
  check(w1.size() <= wide.size());
  nym_wstring_to_xml(wide, w1, true);
  nym_wstring_from_xml(w1, w2);
  check(w2 == wide);
  Wstring in_place = wide;
  nym_wstring_to_xml(in_place, true);
  check(in_place == w1);

  nym_string_from_xml(narrow, n1);
  nym_string_to_xml(narrow, n1, true);
  nym_string_from_xml(n1, n2);
  check(n2.size() == narrow.size());
  return 0;
}
