// nym crc [--64] FILE...: each file's CRC-32 (with --64 its CRC-64/WE), read through
// Nym_file_buffer, printed as cksum prints: the checksum in hexadecimal, the size in bytes and
// the name. A file that can't be read gets the library's words for why, and the exit code 1.
#include <cinttypes>
#include <cstdio>

#include "commands.h"
#include "nym/crc.h"
#include "nym/file_buffer.h"
#include "nym/messages.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

void print_failure(const std::string& name, const nym::Nym_status& status) {
  nym::Wstring words;
  nym::Nym_status_lookup::to_string(status, words);
  std::fprintf(stderr, "nym crc: %s: %s\n", name.c_str(), utf8(words).c_str());
}

}  // namespace

int run_crc(const Words& words) {
  const bool wide = !words.empty() && words[0] == "--64";
  const std::size_t first = wide ? 1 : 0;
  if (words.size() <= first) {
    std::fprintf(stderr, "usage: nym crc [--64] FILE...\n");
    return 2;
  }
  nym::Nym_status_lookup::initialise_message_list({"nym"});
  int code = 0;
  for (std::size_t i = first; i < words.size(); ++i) {
    nym::Wstring path;
    nym::nym_string_append(path, words[i].c_str());
    nym::Nym_status status;
    const nym::Nym_file_buffer buffer(path, nym::NYM_ACCESS_READ, status);
    nym::Nym_crc32 crc32;
    nym::Nym_crc64 crc64;
    if (status.ok()) {
      if (wide) {
        crc64.update(buffer, status);
      } else {
        crc32.update(buffer, status);
      }
    }
    const nym::int64 size = status.ok() ? buffer.size(false, status) : 0;
    if (status.is_error()) {
      print_failure(words[i], status);
      code = 1;
    } else if (wide) {
      std::printf("%016" PRIx64 " %" PRId64 " %s\n", crc64.result(true), size, words[i].c_str());
    } else {
      std::printf("%08" PRIx32 " %" PRId64 " %s\n", crc32.result(true), size, words[i].c_str());
    }
  }
  return code;
}

}  // namespace nym_tool
