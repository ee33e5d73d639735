// nym: a command-line window onto the library, one subcommand per file.
#include <cstdio>
#include <cstring>
#include <exception>

#include "commands.h"

namespace {

const nym_tool::Command COMMANDS[] = {
    {"acl", "nym acl PATH|KEY",
     "the access list of a file, directory or registry key (HKLM\\..., HKCU\\...), one entry a line",
     nym_tool::run_acl},
    {"convert", "nym convert --to utf8|utf16 FILE [-o OUT]",
     "convert a text file to UTF-8 or UTF-16 (source detected, or --from utf8|utf16le|utf16be)",
     nym_tool::run_convert},
    {"crc", "nym crc [--64] FILE...",
     "each file's CRC-32 (or CRC-64/WE) in hexadecimal, its size and its name, as cksum prints them",
     nym_tool::run_crc},
    {"date", "nym date [JDN|YYYY-MM-DD|--zone NAME]",
     "today's Julian day, weekday and local zone, convert a Julian day or a date, or now in a zone",
     nym_tool::run_date},
    {"detect", "nym detect [--tolerance N] FILE", "tell whether a file is UTF-8 or UTF-16, its byte order and mark",
     nym_tool::run_detect},
    {"find", "nym find NAME [SEARCHPATH]",
     "the first file NAME along a search path (default PATH), or every file of *.EXT in each directory",
     nym_tool::run_find},
    {"ls", "nym ls [--recurse] DIR [MASK]",
     "the entries of a directory that match a mask, directories with a trailing \\; --recurse walks below",
     nym_tool::run_ls},
    {"path", "nym path [--relative-to BASE] PATH...",
     "the parts of each path (drive, UNC, directory, filename, base, extension, levels) and its simplified "
     "form, or each path relative to BASE",
     nym_tool::run_path},
    {"profile", "nym profile sections|get|set FILE [SECTION [KEY [VALUE]]]",
     "a profile file's sections, a section's entries or one value; set writes one value and commits",
     nym_tool::run_profile},
    {"reg", "nym reg get|set|list KEY [VALUE]",
     "a registry value by its type, write a string (or dword:N), or list a key's subkeys and values",
     nym_tool::run_reg},
    {"run", "nym run [--timeout MS] PROGRAM [ARG...]",
     "start a program, wait for it (at most MS milliseconds, then end it) and tell its exit code and run time",
     nym_tool::run_run},
    {"sid", "nym sid NAME|S-1-...", "a trustee's account name, SID string, binary SID and type", nym_tool::run_sid},
    {"status", "nym status [--xml] CODE [ARG...]",
     "show a status code: normalised value, HRESULT, severity, facility and its words; or as XML",
     nym_tool::run_status},
    {"sysinfo", "nym sysinfo",
     "the processor: architecture, count, level, model, stepping and each capability", nym_tool::run_sysinfo},
};

void print_help() {
  std::printf("usage: nym <command> [arguments]\n\ncommands:\n");
  for (const auto& c : COMMANDS) std::printf("  %-42s %s\n", c.usage, c.summary);
  std::printf("  %-42s %s\n", "nym --help", "this list");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
    print_help();
    return argc < 2 ? 2 : 0;
  }
  for (const auto& c : COMMANDS) {
    if (std::strcmp(argv[1], c.name) == 0) {
      try {
        return c.run(nym_tool::Words(argv + 2, argv + argc));
      } catch (const std::exception& e) {
        std::fprintf(stderr, "nym %s: %s\n", c.name, e.what());
        return 1;
      }
    }
  }
  std::fprintf(stderr, "nym: unknown command '%s' (try nym --help)\n", argv[1]);
  return 2;
}
