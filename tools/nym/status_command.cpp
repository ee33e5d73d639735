// nym status CODE [ARG...]: how the library reads a code, and its words with the arguments
// inserted.
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "nym/messages.h"
#include "nym/status.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

const char* severity_name(const nym::Nym_status& s) {
  if (s.is_error()) return "error";
  if (s.is_warning()) return "warning";
  if (s.is_information()) return "information";
  return "success";
}

// Decimal or 0x-prefixed hexadecimal, 32 bits.
bool parse_code(const std::string& text, unsigned int& code) {
  if (text.empty() || text[0] == '-') return false;
  errno = 0;
  char* end = nullptr;
  const unsigned long long v = std::strtoull(text.c_str(), &end, 0);
  if (errno != 0 || end == text.c_str() || *end != '\0' || v > 0xFFFFFFFFull) return false;
  code = static_cast<unsigned int>(v);
  return true;
}

}  // namespace

int run_status(const Words& words) {
  unsigned int code = 0;
  if (words.empty() || !parse_code(words[0], code) || words.size() > 9) {
    std::fprintf(stderr, "usage: nym status CODE [ARG...]  (CODE decimal or 0x hex, at most 8 ARGs)\n");
    return 2;
  }
  nym::Nym_status status(code);
  for (std::size_t i = 1; i < words.size(); ++i) {
    nym::Wstring wide;
    nym::nym_string_append(wide, words[i].c_str());
    status.add_arg(nym::Nym_wstring_status_arg(wide));
  }
  std::printf("code:      0x%08X\n", code);
  std::printf("value:     0x%08X\n", status.value());
  std::printf("hresult:   0x%08X\n", status.hresult());
  std::printf("severity:  %s\n", severity_name(status));
  std::printf("facility:  0x%03X\n", status.facility() >> 16);
  // The library's own words (nymres2208.dll beside the tool), then the system's.
  nym::Nym_status_lookup::initialise_message_list({"nym"});
  nym::Wstring text;
  nym::Nym_status_lookup::to_string(status, text);
  std::string narrow;
  nym::nym_string_append(narrow, text.c_str());
  std::printf("text:      %s\n", narrow.c_str());
  return 0;
}

}  // namespace nym_tool
