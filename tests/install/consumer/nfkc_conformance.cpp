// Unicode's own NFKC conformance data (NormalizationTest.txt, the file named by argv[1]) run
// through the installed DLLs: for each line, NFKC of every column is column 4; every code
// point the file's first part does not list normalises to itself. This proves the ICU data
// that ships holds all the normalisation needs.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include <nym/nym.h>

namespace {

void append_code_point(nym::Wstring& out, unsigned long cp) {
  if (cp < 0x10000) {
    out += static_cast<nym::Wchar>(cp);
  } else {
    cp -= 0x10000;
    out += static_cast<nym::Wchar>(0xD800 + (cp >> 10));
    out += static_cast<nym::Wchar>(0xDC00 + (cp & 0x3FF));
  }
}

// "0044 0307" -> UTF-16; false on anything that is not a list of hex code points.
bool parse_column(const std::string& field, nym::Wstring& out) {
  std::istringstream in(field);
  std::string hex;
  out.clear();
  while (in >> hex) {
    char* end = nullptr;
    const unsigned long cp = std::strtoul(hex.c_str(), &end, 16);
    if (*end != 0 || cp > 0x10FFFF) return false;
    append_code_point(out, cp);
  }
  return !out.empty();
}

std::string hex_of(const nym::Wstring& text) {
  std::string out;
  char unit[8];
  for (const nym::Wchar c : text) {
    std::snprintf(unit, sizeof unit, "%s%04X", out.empty() ? "" : " ", static_cast<unsigned>(c));
    out += unit;
  }
  return out;
}

int failures = 0;

void expect_nfkc(const nym::Wstring& in, const nym::Wstring& want, const std::string& where) {
  nym::Wstring got;
  nym::Nym_status status;
  nym::nym_normalize(in, got, status);
  if (status.ok() && got == want) return;
  if (++failures <= 10) {
    std::printf("%s: NFKC(%s) = %s, expected %s (status 0x%08X)\n", where.c_str(), hex_of(in).c_str(),
                hex_of(got).c_str(), hex_of(want).c_str(), status.value());
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::printf("usage: nfkc_conformance NormalizationTest.txt\n");
    return 2;
  }
  std::ifstream file(argv[1]);
  if (!file) {
    std::printf("nfkc_conformance: cannot open %s\n", argv[1]);
    return 2;
  }
  std::string line, part;
  std::set<unsigned long> listed;  // the single code points of the @Part1 section
  int lines = 0;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '@') {
      part = line.substr(0, line.find(' '));
      continue;
    }
    nym::Wstring column[5];
    std::istringstream fields(line);
    std::string field;
    for (auto& c : column) {
      if (!std::getline(fields, field, ';') || !parse_column(field, c)) {
        std::printf("line %d: cannot read '%s'\n", number, line.c_str());
        return 2;
      }
    }
    if (part == "@Part1") listed.insert(std::strtoul(line.c_str(), nullptr, 16));
    for (const auto& c : column) expect_nfkc(c, column[3], "line " + std::to_string(number));
    ++lines;
  }
  if (lines < 10000 || listed.empty()) {
    std::printf("nfkc_conformance: %s holds only %d test lines\n", argv[1], lines);
    return 2;
  }
  // NUL ends the text and surrogates are not characters: neither has an NFKC of its own.
  int unchanged = 0;
  for (unsigned long cp = 1; cp <= 0x10FFFF; ++cp) {
    if ((cp >= 0xD800 && cp <= 0xDFFF) || listed.count(cp) != 0) continue;
    nym::Wstring one;
    append_code_point(one, cp);
    expect_nfkc(one, one, "unlisted");
    ++unchanged;
  }
  std::printf("nfkc %s: %d lines, %d unlisted code points, %d failures\n", failures == 0 ? "ok" : "FAILED", lines,
              unchanged, failures);
  return failures == 0 ? 0 : 1;
}
