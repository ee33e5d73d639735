// The UTF conversions through the tests' differential harness (tests/text/utf_harness.h): the
// fast paths, the bounded form and every kernel equal the plain walkers byte for byte, and
// well-formed UTF-16 survives UTF-8 and back. The first byte picks the direction and the bound.
// The encoding detector gives one answer however a store hands the bytes out.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "../buffer/test_stores.h"
#include "../text/utf_harness.h"
#include "nym/encoding_detect.h"

using namespace nym;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  std::string failure;
  if ((data[0] & 1) == 0) {
    failure = nym_test::check_utf8(bytes, bytes.empty() ? 0 : data[0] % (bytes.size() + 1));
  } else {
    Wstring text(bytes.size() / 2, 0);
    if (!text.empty()) std::memcpy(&text[0], bytes.data(), text.size() * 2);
    failure = nym_test::check_utf16(text);
  }
  if (!failure.empty()) std::abort();
  const Nym_encoding_guess whole = nym_detect_encoding(bytes.data(), bytes.size());
  if (whole.confidence > 100 || whole.mark_size() > bytes.size()) std::abort();
  const auto store = nym_test::trickle(bytes, data[0] % 8 + 1);
  Nym_status status;
  const Nym_encoding_guess stepped = nym_detect_encoding(store.get(), status);
  if (!status.is_clear() || stepped.encoding != whole.encoding || stepped.mark != whole.mark ||
      stepped.ascii != whole.ascii || stepped.confidence != whole.confidence) {
    std::abort();
  }
  return 0;
}
