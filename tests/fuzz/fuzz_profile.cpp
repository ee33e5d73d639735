// The profile line rules on any input: no crash; unescape(escape(x)) == x for values and keys;
// a line written from a key and a value splits back into them when neither has white space at
// its ends and the key isn't a comment; a header's name lies inside its line; the section scan
// and the body read end on any bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "config/profile_format.h"
#include "nym/string_buffer.h"
#include "nym/unicode.h"

using namespace nym;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

bool trimmed(const Wstring& text) {
  Wstring copy = text;
  nym_trim(copy);
  return copy == text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Wstring wide(size / 2, 0);
  if (!wide.empty()) std::memcpy(&wide[0], data, wide.size() * 2);
  const std::size_t half = wide.size() / 2;
  const Wstring key = wide.substr(0, half);
  const Wstring value = wide.substr(half);

  check(impl::profile_unescape(impl::profile_escape(value)) == value);
  check(impl::profile_unescape(impl::profile_escape_key(key)) == key);
  check(impl::profile_unescape(wide).size() <= wide.size());

  Wstring k, v;
  impl::profile_split_line(wide, k, v);
  const Wstring line = impl::profile_entry_line({key, value});
  if (!impl::profile_is_comment(key) && trimmed(key) && trimmed(value)) {
    check(line.find_first_of(u"\r\n") == Wstring::npos);
    impl::profile_split_line(line, k, v);
    check(k == key && v == value);
  }

  Wstring name;
  if (impl::profile_header(wide, name)) check(name.size() + 2 <= wide.size());

  Nstring bytes(reinterpret_cast<const char*>(data), size);
  Nym_string_buffer buffer(bytes, true);
  std::vector<Wstring> names;
  std::vector<int64> offsets;
  std::vector<impl::Profile_entry> entries;
  Nym_status status;
  impl::profile_scan_sections(buffer, true, names, offsets, status);
  check(status.ok() && names.size() == offsets.size());
  if (!names.empty()) impl::profile_read_section(buffer, true, names, offsets, names.back(), entries, status);
  check(status.ok());
  impl::Profile_sections sections;
  impl::profile_load(buffer, true, sections, status);
  check(status.ok());
  return 0;
}
