// Shared main of the test executables: every test runs under the watchdog.
#include <gtest/gtest.h>

#include "watchdog.h"

#if defined(_WIN32)
#include <windows.h>

namespace {

// A crash should fail the test run at once, not start Wine's debugger (or Windows' dialog).
LONG WINAPI report_and_exit(EXCEPTION_POINTERS* info) {
  std::fprintf(stderr, "unhandled exception 0x%08lX\n", info->ExceptionRecord->ExceptionCode);
  std::fflush(stderr);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace
#endif

int main(int argc, char** argv) {
#if defined(_WIN32)
  SetUnhandledExceptionFilter(report_and_exit);
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
#endif
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new nym_test::Watchdog_listener);
  return RUN_ALL_TESTS();
}
