// nym detect [--tolerance PERCENT] FILE: is the file UTF-8, or UTF-16 in which byte order,
// with or without a byte-order mark?
#include <cstdio>
#include <cstdlib>

#include "byte_buffer.h"
#include "commands.h"
#include "nym/utf_detect.h"

namespace nym_tool {

int run_detect(const Words& words) {
  unsigned long tolerance = 1;
  std::string path;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--tolerance" && i + 1 < words.size()) {
      char* end = nullptr;
      tolerance = std::strtoul(words[++i].c_str(), &end, 10);
      if (*end != '\0' || tolerance > 100) {
        std::fprintf(stderr, "nym detect: tolerance is a percentage, 0 to 100\n");
        return 2;
      }
    } else if (path.empty()) {
      path = words[i];
    } else {
      path.clear();
      break;
    }
  }
  if (path.empty()) {
    std::fprintf(stderr, "usage: nym detect [--tolerance PERCENT] FILE\n");
    return 2;
  }
  std::string bytes;
  std::string error;
  if (!read_whole_file(path, bytes, error)) {
    std::fprintf(stderr, "nym detect: %s: %s\n", path.c_str(), error.c_str());
    return 1;
  }
  nym::Nym_status status;
  const Text_encoding e = detect_encoding(bytes, static_cast<unsigned short>(tolerance), status);
  const char* mark = e.mark ? "with byte-order mark" : "no byte-order mark";
  if (e.utf8) {
    std::printf("%s: UTF-8%s, %s\n", path.c_str(), e.ascii ? " (seven-bit ASCII only)" : "", mark);
  } else if (e.utf16) {
    std::printf("%s: UTF-16 %s, %s\n", path.c_str(), e.little_endian ? "little-endian" : "big-endian", mark);
  } else {
    std::printf("%s: neither UTF-8 nor UTF-16\n", path.c_str());
  }
  return 0;
}

}  // namespace nym_tool
