// nym convert --to utf8|utf16 [--from utf8|utf16le|utf16be] FILE [-o OUT]: converts a text file
// to UTF-8 (no mark) or UTF-16 little-endian (with mark), to standard output or OUT. Without
// --from the source encoding is detected; a source mark is dropped. Malformed input becomes
// U+FFFD; NUL characters are kept.
#include <cstdio>
#include <cerrno>
#include <cstring>
#include <string>

#include "byte_buffer.h"
#include "commands.h"
#include "nym/encoding_detect.h"
#include "nym/utf.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace nym_tool {

namespace {

enum class Source { unknown, utf8, utf16le, utf16be };

// The conversions end at a NUL: convert the text between NULs and put each NUL back.
void utf8_to_utf16(const std::string& in, std::size_t start, nym::Wstring& out) {
  nym::Wstring piece;
  while (start <= in.size()) {
    std::size_t nul = in.find('\0', start);
    if (nul == std::string::npos) nul = in.size();
    nym::nym_utf8_to_utf16(in.data() + start, nul - start, piece);
    out += piece;
    if (nul == in.size()) break;
    out += nym::Wchar(0);
    start = nul + 1;
  }
}

void utf16_to_utf8(const nym::Wstring& in, std::string& out) {
  std::string piece;
  std::size_t start = 0;
  for (;;) {
    std::size_t nul = in.find(nym::Wchar(0), start);
    if (nul == nym::Wstring::npos) nul = in.size();
    nym::nym_utf16_to_utf8(nym::Wstring(in, start, nul - start).c_str(), piece);
    out += piece;
    if (nul == in.size()) break;
    out += '\0';
    start = nul + 1;
  }
}

}  // namespace

int run_convert(const Words& words) {
  std::string to;
  std::string from;
  std::string path;
  std::string out_path;
  bool usage_error = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--to" && i + 1 < words.size()) to = words[++i];
    else if (words[i] == "--from" && i + 1 < words.size()) from = words[++i];
    else if (words[i] == "-o" && i + 1 < words.size()) out_path = words[++i];
    else if (path.empty()) path = words[i];
    else usage_error = true;
  }
  if (usage_error || path.empty() || (to != "utf8" && to != "utf16") ||
      (!from.empty() && from != "utf8" && from != "utf16le" && from != "utf16be")) {
    std::fprintf(stderr, "usage: nym convert --to utf8|utf16 [--from utf8|utf16le|utf16be] FILE [-o OUT]\n");
    return 2;
  }
  std::string bytes;
  std::string error;
  if (!read_whole_file(path, bytes, error)) {
    std::fprintf(stderr, "nym convert: %s: %s\n", path.c_str(), error.c_str());
    return 1;
  }

  Source source = from == "utf8" ? Source::utf8 : from == "utf16le" ? Source::utf16le
                : from == "utf16be" ? Source::utf16be : Source::unknown;
  if (source == Source::unknown) {
    const nym::Nym_encoding_guess g = nym::nym_detect_encoding(bytes.data(), bytes.size());
    if (g.encoding == nym::NYM_ENCODING_UTF8) source = Source::utf8;
    else if (g.encoding == nym::NYM_ENCODING_UTF16LE) source = Source::utf16le;
    else if (g.encoding == nym::NYM_ENCODING_UTF16BE) source = Source::utf16be;
    else {
      std::fprintf(stderr, "nym convert: %s: neither UTF-8 nor UTF-16; name it with --from\n", path.c_str());
      return 1;
    }
  }

  // The text as UTF-16 in host (little-endian) order, without a mark.
  nym::Wstring text;
  if (source == Source::utf8) {
    const std::size_t skip = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    utf8_to_utf16(bytes, skip, text);
  } else {
    if (bytes.size() % 2 != 0) bytes.pop_back();  // a stray last byte is no unit
    text.resize(bytes.size() / 2);
    for (std::size_t i = 0; i < text.size(); ++i) {
      const auto b0 = static_cast<unsigned char>(bytes[2 * i]);
      const auto b1 = static_cast<unsigned char>(bytes[2 * i + 1]);
      text[i] = static_cast<nym::Wchar>(source == Source::utf16le ? (b0 | b1 << 8) : (b1 | b0 << 8));
    }
    if (!text.empty() && text[0] == 0xFEFF) text.erase(0, 1);
  }

  std::string output;
  if (to == "utf8") {
    utf16_to_utf8(text, output);
  } else {
    output.reserve(2 + text.size() * 2);
    output += "\xFF\xFE";
    for (const nym::Wchar u : text) {
      output += static_cast<char>(u & 0xFF);
      output += static_cast<char>(u >> 8);
    }
  }

  std::FILE* f = stdout;
  if (!out_path.empty()) {
    f = std::fopen(out_path.c_str(), "wb");
    if (f == nullptr) {
      std::fprintf(stderr, "nym convert: %s: %s\n", out_path.c_str(), std::strerror(errno));
      return 1;
    }
  } else {
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#endif
  }
  const bool written = std::fwrite(output.data(), 1, output.size(), f) == output.size();
  const bool closed = f == stdout ? std::fflush(f) == 0 : std::fclose(f) == 0;
  if (!written || !closed) {
    std::fprintf(stderr, "nym convert: write failed\n");
    return 1;
  }
  return 0;
}

}  // namespace nym_tool
