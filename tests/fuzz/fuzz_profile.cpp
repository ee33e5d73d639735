// The profile line rules on any input (tests/config/profile_test_support.h), and the section
// scan, body read and load on any bytes: no crash, no hang, no error.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "../config/profile_test_support.h"
#include "nym/string_buffer.h"

using namespace nym;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Wstring wide(size / 2, 0);
  if (!wide.empty()) std::memcpy(&wide[0], data, wide.size() * 2);
  if (!nym_test::profile_rules_hold(wide)) std::abort();

  Nstring bytes(reinterpret_cast<const char*>(data), size);
  Nym_string_buffer buffer(bytes, true);
  std::vector<Wstring> names;
  std::vector<int64> offsets;
  std::vector<impl::Profile_entry> entries;
  Nym_status status;
  impl::profile_scan_sections(buffer, true, names, offsets, status);
  if (status.is_error() || names.size() != offsets.size()) std::abort();
  if (!names.empty()) impl::profile_read_section(buffer, true, names, offsets, names.back(), entries, status);
  impl::Profile_sections sections;
  if (status.ok()) impl::profile_load(buffer, true, sections, status);
  if (status.is_error()) std::abort();
  return 0;
}
