// nym run [--timeout MS] PROGRAM [ARG...]: starts a program through Nym_process, waits for it,
// and tells its exit code and run time. The tool's own exit code is the program's; 124 when it
// ran out of time (it is then ended), 1 when it couldn't be started, 2 for a wrong call.
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "nym/messages.h"
#include "nym/process.h"
#include "nym/status.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

constexpr int TIMED_OUT = 124;

// One argument as the C runtime splits a command line back: quoted when it holds a blank or a
// quote or is empty, with the backslashes before a quote doubled and the quote escaped.
void append_argument(std::u16string& line, const std::u16string& arg) {
  if (!line.empty()) line += u' ';
  if (!arg.empty() && arg.find_first_of(u" \t\"") == std::u16string::npos) {
    line += arg;
    return;
  }
  line += u'"';
  size_t backslashes = 0;
  for (const char16_t c : arg) {
    if (c == u'\\') {
      ++backslashes;
      continue;
    }
    line.append(c == u'"' ? backslashes * 2 + 1 : backslashes, u'\\');
    backslashes = 0;
    line += c;
  }
  line.append(backslashes * 2, u'\\');
  line += u'"';
}

void print_status(const nym::Nym_status& status) {
  nym::Nym_status_lookup::initialise_message_list({"nym"});
  std::u16string text;
  nym::Nym_status_lookup::to_string(status, text);
  std::fprintf(stderr, "%s", utf8(text).c_str());
}

}  // namespace

int run_run(const Words& words) {
  size_t next = 0;
  unsigned int timeout = 0xFFFFFFFFu;  // without limit
  if (next < words.size() && words[next] == "--timeout") {
    char* end = nullptr;
    const unsigned long long ms = next + 1 < words.size() ? std::strtoull(words[next + 1].c_str(), &end, 10) : 0;
    if (end == nullptr || *end != '\0' || words[next + 1].empty() || ms >= 0xFFFFFFFFull) {
      std::fprintf(stderr, "usage: nym run [--timeout MS] PROGRAM [ARG...]\n");
      return 2;
    }
    timeout = static_cast<unsigned int>(ms);
    next += 2;
  }
  if (next >= words.size() || words[next].empty()) {
    std::fprintf(stderr, "usage: nym run [--timeout MS] PROGRAM [ARG...]\n");
    return 2;
  }
  std::u16string program = wide(words[next]);
  if (program.find_first_of(u" \t") != std::u16string::npos) program = u"\"" + program + u"\"";
  std::u16string arguments;
  for (size_t i = next + 1; i < words.size(); ++i) append_argument(arguments, wide(words[i]));

  nym::Nym_process_details details;
  details.mode = 2;
  details.wait = true;
  details.timeout = timeout;
  nym::Nym_status status;
  const auto start = std::chrono::steady_clock::now();
  nym::Nym_process process(program, arguments, details, status);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (status == nym::NYM_S_PROCESS_STILL_RUNNING) {
    std::printf("still running after %u ms: ended\n", timeout);
    process.terminate(status, 10000);
    if (status.is_error()) print_status(status);
    return TIMED_OUT;
  }
  if (status.is_error()) {
    print_status(status);
    return 1;
  }
  const unsigned int code = process.get_exit_code(status);
  if (status.is_error()) {
    print_status(status);
    return 1;
  }
  std::printf("exit code: %u (0x%08X)\nrun time:  %.3f s\n", code, code, seconds);
  return static_cast<int>(code);
}

}  // namespace nym_tool
