// What the tests need to know about where they run.
#ifndef NYM_TEST_PLATFORM_H
#define NYM_TEST_PLATFORM_H

namespace nym_test {

// True when the test runs under Wine (known gaps are skipped with their reason).
bool running_under_wine();

}  // namespace nym_test

#endif
