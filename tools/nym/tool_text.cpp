// What the subcommands share: text for the console and files read whole.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "nym/messages.h"
#include "nym/string_basic.h"

namespace nym_tool {

std::string utf8(const std::u16string& text) {
  std::string out;
  nym::nym_string_append(out, text.c_str());
  return out;
}

std::u16string wide(const std::string& utf8) {
  std::u16string text;
  nym::nym_string_append(text, utf8.c_str());
  return text;
}

int report(const char* command, const nym::Nym_status& status) {
  nym::Nym_status_lookup::initialise_message_list({"nym"});
  std::u16string words;
  nym::Nym_status_lookup::to_string(status, words);
  std::fprintf(stderr, "nym %s: %s\n", command, utf8(words).c_str());
  return 1;
}

bool read_whole_file(const std::string& path, std::string& bytes, std::string& error) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) {
    error = std::strerror(errno);
    return false;
  }
  bytes.clear();
  char chunk[65536];
  std::size_t n = 0;
  while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) bytes.append(chunk, n);
  const bool failed = std::ferror(f) != 0;
  std::fclose(f);
  if (failed) error = "read error";
  return !failed;
}

}  // namespace nym_tool
