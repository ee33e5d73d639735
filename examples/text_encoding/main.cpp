// Text of unknown encoding to UTF-16: detect, skip the mark, decode.
#include <string>

#include "recipe.h"

using namespace nym;
using recipe::check;

Wstring decode(const std::string& bytes) {
  const Nym_encoding_guess guess = nym_detect_encoding(bytes.data(), bytes.size());
  const std::string body = bytes.substr(guess.mark_size());
  Wstring text;
  if (guess.encoding == NYM_ENCODING_UTF8) {
    // The length form stops early at a NUL byte; a std::string ends in one after its data.
    nym_utf8_to_utf16(body.c_str(), body.size(), text);
  } else if (guess.encoding == NYM_ENCODING_UTF16LE || guess.encoding == NYM_ENCODING_UTF16BE) {
    const bool big = guess.encoding == NYM_ENCODING_UTF16BE;
    for (std::size_t i = 0; i + 1 < body.size(); i += 2) {
      const auto a = static_cast<unsigned char>(body[i]);
      const auto b = static_cast<unsigned char>(body[i + 1]);
      text += static_cast<Wchar>(big ? (a << 8 | b) : (b << 8 | a));
    }
  } else {
    nym_stow(body, text);  // Latin-1; Windows-1252 differs in 0x80-0x9F and needs a table
  }
  return text;
}

int main() {
  const Wstring expected = u"Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich.\r\n";
  Nstring utf8;
  nym_string_append(utf8, expected.c_str());
  Nstring latin1;
  nym_wtos(expected, latin1, true);
  std::string le(reinterpret_cast<const char*>(expected.data()), expected.size() * 2);  // the host is little-endian
  std::string be = le;
  for (std::size_t i = 0; i + 1 < be.size(); i += 2) std::swap(be[i], be[i + 1]);

  const std::string samples[] = {utf8, "\xEF\xBB\xBF" + utf8, le, "\xFE\xFF" + be, be, latin1};
  for (const std::string& bytes : samples) {
    const Nym_encoding_guess guess = nym_detect_encoding(bytes.data(), bytes.size());
    std::printf("%-24s mark %d, confidence %u%%\n", nym_encoding_name(guess.encoding), guess.mark, guess.confidence);
    check(decode(bytes) == expected, nym_encoding_name(guess.encoding));
  }

  // A buffer is judged the same way, read from its start.
  Nstring stored = be;
  const Nym_string_buffer buffer(stored, false);
  Nym_status status;
  check(nym_detect_encoding(&buffer, status).encoding == NYM_ENCODING_UTF16BE && status.ok(), "a buffer");
  return recipe::result();
}
