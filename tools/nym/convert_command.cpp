// nym convert --to utf8|utf16 [--from utf8|utf16le|utf16be] FILE [-o OUT]: converts a text file
// to UTF-8 (no mark) or UTF-16 little-endian (with mark), to standard output or OUT. Without
// --from the source encoding is detected; a source mark is dropped. Malformed input becomes
// U+FFFD; NUL characters are kept.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include "commands.h"
#include "nym/encoding_detect.h"
#include "nym/raw_memory_buffer.h"
#include "nym/stream_helpers.h"
#include "nym/utf.h"
#include "nym/wstring_buffer.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace nym_tool {

namespace {

struct Request {
  std::string to;
  std::string from;
  std::string path;
  std::string out_path;
};

bool parse(const Words& words, Request& r) {
  bool usage_error = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--to" && i + 1 < words.size()) r.to = words[++i];
    else if (words[i] == "--from" && i + 1 < words.size()) r.from = words[++i];
    else if (words[i] == "-o" && i + 1 < words.size()) r.out_path = words[++i];
    else if (r.path.empty()) r.path = words[i];
    else usage_error = true;
  }
  return !usage_error && !r.path.empty() && (r.to == "utf8" || r.to == "utf16") &&
         (r.from.empty() || r.from == "utf8" || r.from == "utf16le" || r.from == "utf16be");
}

// The source encoding as named, or detected; NEITHER when it is neither.
nym::Nym_text_encoding source_encoding(const std::string& from, const std::string& bytes) {
  if (from == "utf8") return nym::NYM_ENCODING_UTF8;
  if (from == "utf16le") return nym::NYM_ENCODING_UTF16LE;
  if (from == "utf16be") return nym::NYM_ENCODING_UTF16BE;
  return nym::nym_detect_encoding(bytes.data(), bytes.size()).encoding;
}

// The string conversions end at a NUL: convert the text between NULs and put each NUL back.
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

// UTF-16 bytes as units in host order: copied, or swapped from big-endian, by the library's
// stream helpers. A stray last byte is no unit, and a mark is dropped.
void utf16_units(std::string bytes, bool big_endian, nym::Wstring& text) {
  if (bytes.size() % 2 != 0) bytes.pop_back();
  const nym::Nym_raw_memory_buffer source(static_cast<nym::int64>(bytes.size()),
                                          reinterpret_cast<const unsigned char*>(bytes.data()),
                                          nym::Nym_raw_memory_buffer::KEEP_MEMORY);
  nym::Nym_wstring_buffer target(text);
  nym::Nym_status status;
  nym::Nym_unbuffered_istream in(source, false, status);
  nym::Nym_ostream out(target, status);
  if (big_endian) nym::nym_swap_stream(in, out, status);
  else nym::nym_copy_stream(in, out, status);
  out.detach();
  if (status.is_error()) throw std::runtime_error("the text could not be copied");
  if (!text.empty() && text[0] == 0xFEFF) text.erase(0, 1);
}

bool write_output(const std::string& out_path, const std::string& output) {
  std::FILE* f = stdout;
  if (!out_path.empty()) {
    f = std::fopen(out_path.c_str(), "wb");
    if (f == nullptr) {
      std::fprintf(stderr, "nym convert: %s: %s\n", out_path.c_str(), std::strerror(errno));
      return false;
    }
  } else {
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#endif
  }
  const bool written = std::fwrite(output.data(), 1, output.size(), f) == output.size();
  const bool closed = f == stdout ? std::fflush(f) == 0 : std::fclose(f) == 0;
  if (!written || !closed) std::fprintf(stderr, "nym convert: write failed\n");
  return written && closed;
}

}  // namespace

int run_convert(const Words& words) {
  Request r;
  if (!parse(words, r)) {
    std::fprintf(stderr, "usage: nym convert --to utf8|utf16 [--from utf8|utf16le|utf16be] FILE [-o OUT]\n");
    return 2;
  }
  std::string bytes;
  std::string error;
  if (!read_whole_file(r.path, bytes, error)) {
    std::fprintf(stderr, "nym convert: %s: %s\n", r.path.c_str(), error.c_str());
    return 1;
  }
  const nym::Nym_text_encoding source = source_encoding(r.from, bytes);
  if (source == nym::NYM_ENCODING_NEITHER) {
    std::fprintf(stderr, "nym convert: %s: neither UTF-8 nor UTF-16; name it with --from\n", r.path.c_str());
    return 1;
  }

  // The text as UTF-16 in host (little-endian) order, without a mark.
  nym::Wstring text;
  if (source == nym::NYM_ENCODING_UTF8) {
    utf8_to_utf16(bytes, bytes.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0, text);
  } else {
    utf16_units(bytes, source == nym::NYM_ENCODING_UTF16BE, text);
  }

  std::string output;
  if (r.to == "utf8") {
    utf16_to_utf8(text, output);
  } else {
    output = "\xFF\xFE";
    output.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(nym::Wchar));
  }
  return write_output(r.out_path, output) ? 0 : 1;
}

}  // namespace nym_tool
