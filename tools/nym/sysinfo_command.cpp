// nym sysinfo: the processor as the library sees it (Nym_system): architecture, count, level,
// model, stepping, and every capability with yes or no.
#include <cstdio>
#include <string>

#include "commands.h"
#include "nym/system.h"

namespace nym_tool {

int run_sysinfo(const Words& words) {
  if (!words.empty()) {
    std::fprintf(stderr, "usage: nym sysinfo\n");
    return 2;
  }
  static const char* const ARCHITECTURES[] = {"unknown", "x86", "x64", "itanium"};
  static const char* const CAPABILITIES[] = {"3dnow", "cmpxchg8b", "floating-point", "mmx", "nx",
                                             "pae",   "sse",       "sse2",           "sse3"};
  const nym::Nym_system& system = *nym::Nym_system::instance();
  const auto architecture = static_cast<unsigned int>(system.architecture());
  std::printf("%-16s%s\n", "architecture:", architecture < 4 ? ARCHITECTURES[architecture] : "unknown");
  std::printf("%-16s%u\n", "processors:", system.processor_count());
  std::printf("%-16s%u\n", "level:", system.processor_level());
  std::printf("%-16s%u\n", "model:", system.processor_model());
  std::printf("%-16s%u\n", "stepping:", system.processor_stepping());
  for (int c = 0; c < 9; ++c) {
    const bool has = system.processor_has_capability(static_cast<nym::Nym_processor_capability>(c));
    std::printf("%-16s%s\n", (std::string(CAPABILITIES[c]) + ":").c_str(), has ? "yes" : "no");
  }
  return 0;
}

}  // namespace nym_tool
