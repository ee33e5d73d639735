// nym path PATH...: the parts of each path as given, and its simplified form.
// nym path --relative-to BASE PATH...: each PATH made relative to the directory BASE.
#include <cstdio>
#include <exception>
#include <string>

#include "commands.h"
#include "nym/path.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

// One line; a part the library refuses to give (\\srv has no share, so no UNC) shows why.
template <class F>
void print_part(const char* name, F part) {
  std::string value;
  try {
    const nym::Wstring text = part();
    value = text.empty() ? "(none)" : utf8(text);
  } catch (const std::exception& e) {
    value = std::string("(") + e.what() + ")";
  }
  std::printf("  %-11s %s\n", name, value.c_str());
}

void print_parts(const std::string& given) {
  // Assignment keeps the text as given; the constructor would simplify it first.
  nym::Nym_path path;
  path = wide(given);
  std::printf("%s\n", given.c_str());
  print_part("drive:", [&] { return path.has_drive() ? nym::Wstring(1, path.drive()) : nym::Wstring(); });
  print_part("unc:", [&] { return path.unc(); });
  print_part("directory:", [&] { return path.directory(); });
  print_part("filename:", [&] { return path.filename(); });
  print_part("base:", [&] { return path.base(); });
  print_part("extension:", [&] { return path.has_extension() ? path.extension() : nym::Wstring(); });
  print_part("levels:", [&] {
    nym::Wstring list;
    nym::nym_itow(path.levels(), list, 10, false);
    for (nym::uint64 k = 0; k < path.levels(); ++k) list += (k ? u", " : u": ") + path[k];
    return list;
  });
  print_part("kind:", [&] {
    return wide(std::string(path.is_absolute() ? "absolute" : "relative") + (path.is_file_path() ? " file path" : " directory path"));
  });
  print_part("simplified:", [&] { return nym::Wstring(path.simplified()); });
}

}  // namespace

int run_path(const Words& words) {
  const bool relative = !words.empty() && words[0] == "--relative-to";
  const std::size_t first = relative ? 2 : 0;
  if (words.size() <= first || words[first].rfind("--", 0) == 0) {
    std::fprintf(stderr, "usage: nym path [--relative-to BASE] PATH...\n");
    return 2;
  }
  int result = 0;
  for (std::size_t k = first; k < words.size(); ++k) {
    try {
      if (relative) {
        const nym::Nym_path path(wide(words[k]));
        std::printf("%s\n", utf8(path.relative_to(wide(words[1]))).c_str());
      } else {
        print_parts(words[k]);
      }
    } catch (const std::exception& e) {
      std::fprintf(stderr, "nym path: %s: %s\n", words[k].c_str(), e.what());
      result = 1;
    }
  }
  return result;
}

}  // namespace nym_tool
