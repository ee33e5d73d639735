// Subcommands of the `nym` tool: each takes the words after its name and answers the exit
// code.
#ifndef NYM_TOOL_COMMANDS_H
#define NYM_TOOL_COMMANDS_H

#include <string>
#include <vector>

namespace nym {
class Nym_status;
}

namespace nym_tool {

using Words = std::vector<std::string>;

// UTF-16 text of the library as UTF-8 for the console.
std::string utf8(const std::u16string& text);
// UTF-8 words of the command line as the library's text.
std::u16string wide(const std::string& utf8);
// "nym <command>: " and the status in words, newest first, on stderr; answers 1.
int report(const char* command, const nym::Nym_status& status);
// The whole file, or false with errno's text in `error`.
bool read_whole_file(const std::string& path, std::string& bytes, std::string& error);

struct Command {
  const char* name;
  const char* usage;
  const char* summary;
  int (*run)(const Words& words);
};

int run_acl(const Words& words);
int run_convert(const Words& words);
int run_crc(const Words& words);
int run_date(const Words& words);
int run_detect(const Words& words);
int run_find(const Words& words);
int run_ls(const Words& words);
int run_reg(const Words& words);
int run_sid(const Words& words);
int run_path(const Words& words);
int run_profile(const Words& words);
int run_run(const Words& words);
int run_status(const Words& words);
int run_sysinfo(const Words& words);

}  // namespace nym_tool

#endif
