// nym detect [--exact] [--tolerance PERCENT] FILE: the encoding of a text file as a person would
// name it (UTF-8, UTF-16LE, UTF-16BE or neither), with its byte-order mark and a confidence.
// --exact adds the answers of the two exact detectors, nym_is_utf8 and nym_is_utf16 (whose
// tolerance --tolerance sets).
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "nym/encoding_detect.h"
#include "nym/raw_memory_buffer.h"
#include "nym/utf_detect.h"

namespace nym_tool {

namespace {

void print_exact(const std::string& bytes, unsigned short tolerance) {
  const nym::Nym_raw_memory_buffer buffer(static_cast<nym::int64>(bytes.size()),
                                         reinterpret_cast<const unsigned char*>(bytes.data()),
                                         nym::Nym_raw_memory_buffer::KEEP_MEMORY);
  nym::Nym_status status;
  unsigned char flags = 0;
  bool ascii = false;
  const bool utf8 = nym::nym_is_utf8(&buffer, flags, ascii, status);
  std::printf("  nym_is_utf8:  %s, ascii %s, flags 0x%02X\n", utf8 ? "true" : "false", ascii ? "true" : "false",
              flags);
  status.clear();
  const bool utf16 = nym::nym_is_utf16(&buffer, tolerance, flags, status);
  std::printf("  nym_is_utf16: %s, flags 0x%02X (tolerance %u%%)\n", utf16 ? "true" : "false", flags, tolerance);
}

}  // namespace

int run_detect(const Words& words) {
  unsigned long tolerance = 1;
  bool exact = false;
  std::string path;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--tolerance" && i + 1 < words.size()) {
      char* end = nullptr;
      tolerance = std::strtoul(words[++i].c_str(), &end, 10);
      if (*end != '\0' || tolerance > 100) {
        std::fprintf(stderr, "nym detect: tolerance is a percentage, 0 to 100\n");
        return 2;
      }
    } else if (words[i] == "--exact") {
      exact = true;
    } else if (path.empty()) {
      path = words[i];
    } else {
      path.clear();
      break;
    }
  }
  if (path.empty()) {
    std::fprintf(stderr, "usage: nym detect [--exact] [--tolerance PERCENT] FILE\n");
    return 2;
  }
  std::string bytes;
  std::string error;
  if (!read_whole_file(path, bytes, error)) {
    std::fprintf(stderr, "nym detect: %s: %s\n", path.c_str(), error.c_str());
    return 1;
  }
  const nym::Nym_encoding_guess g = nym::nym_detect_encoding(bytes.data(), bytes.size());
  std::printf("%s: %s%s%s, %s, confidence %u%%\n", path.c_str(), nym::nym_encoding_name(g.encoding),
              g.ascii && !bytes.empty() ? " (seven-bit ASCII only)" : "",
              g.encoding == nym::NYM_ENCODING_NEITHER ? " (an 8-bit code page such as Latin-1, or binary)" : "",
              g.mark ? "with byte-order mark" : "no byte-order mark", g.confidence);
  if (exact) print_exact(bytes, static_cast<unsigned short>(tolerance));
  return 0;
}

}  // namespace nym_tool
