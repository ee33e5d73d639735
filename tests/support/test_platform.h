// What the tests need to know about where they run.
#ifndef NYM_TEST_PLATFORM_H
#define NYM_TEST_PLATFORM_H

#include <string>

namespace nym_test {

// True when the test runs under Wine (known gaps are skipped with their reason).
bool running_under_wine();

// What the system's own message table says for a code (FormatMessageW, inserts left as they
// are), or empty where it has no text or the platform has no table.
std::u16string system_message(unsigned int code);

}  // namespace nym_test

#endif
