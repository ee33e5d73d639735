// Hardware faults in a thread that installed the translator arrive as C++ exceptions. Built
// with -fnon-call-exceptions, as all code that wants faults as exceptions must be.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <string>
#include <thread>

#include "nym/exception.h"

using namespace nym;

namespace {

struct Flag_on_exit {
  int* count;
  ~Flag_on_exit() { ++*count; }
};

volatile int* volatile g_bad_pointer = reinterpret_cast<int*>(0x10);
volatile int g_zero = 0;
volatile int g_sink = 0;  // results are stored, so that no faulting instruction is optimised away

__attribute__((noipa)) int read_bad_pointer(int* destroyed) {
  Flag_on_exit guard{destroyed};
  return *g_bad_pointer;
}

__attribute__((noipa)) int divide_by_zero(int* destroyed) {
  Flag_on_exit guard{destroyed};
  return 100 / g_zero;
}

__attribute__((noipa)) int deeper(int depth, int* destroyed) {
  Flag_on_exit guard{destroyed};
  if (depth == 0) return read_bad_pointer(destroyed);
  return deeper(depth - 1, destroyed) + 1;
}

}  // namespace

// The translator is installed per thread, answering the one it replaced. Each fault arrives
// with its code and text, through any depth of frames, every time, running the destructors.
TEST(ExceptionTranslatorFaultTest, FaultsAreCaughtWithDestructorsRun) {
  std::thread worker([] {
    EXPECT_EQ(nym_install_exception_translator(), nullptr);
    EXPECT_EQ(nym_install_exception_translator(), reinterpret_cast<void*>(&nym_exception_translator));
    const std::string access =
        "The thread attempted to read from or write to a virtual address for which it does not have the appropriate "
        "access.\r\nThe memory address accessed is 0x00000010.\r\nException code is 0xc0000005.\r\nError occured "
        "at address 0x";
    const std::string divide =
        "The thread attempted to divide an integer value by an integer divisor of zero.\r\nException code is "
        "0xc0000094.\r\n";
    for (int round = 0; round < 200; ++round) {
      int destroyed = 0;
      const int depth = round % 7;
      const bool divides = round % 10 == 9;
      try {
        Flag_on_exit outer{&destroyed};
        g_sink = divides ? divide_by_zero(&destroyed) : deeper(depth, &destroyed);
        ADD_FAILURE() << "no exception";
      } catch (const Nym_system_exception& e) {
        ASSERT_EQ(e.code(), divides ? 0xC0000094u : 0xC0000005u);
        ASSERT_EQ(dynamic_cast<const Nym_rpc_exception*>(&e), nullptr);
        ASSERT_EQ(std::string(e.what()).rfind(divides ? divide : access, 0), 0u) << e.what();
      }
      ASSERT_EQ(destroyed, divides ? 2 : depth + 3) << "round " << round;
    }
  });
  worker.join();
  std::thread([] { EXPECT_EQ(nym_install_exception_translator(), nullptr) << "per thread"; }).join();
}

// Run only as a child of LeftAloneWithoutTheTranslator: a fault in a thread that did not
// install the translator must end the process, even though another thread installed it.
TEST(ExceptionTranslatorFaultTest, DISABLED_ChildFaultsWithoutTheTranslator) {
  nym_install_exception_translator();
  std::thread plain([] {
    int destroyed = 0;
    try {
      g_sink = read_bad_pointer(&destroyed);
    } catch (...) {
      std::fprintf(stderr, "caught\n");
      std::exit(7);
    }
  });
  plain.join();
  std::exit(0);
}

TEST(ExceptionTranslatorFaultTest, LeftAloneWithoutTheTranslator) {
  wchar_t self[MAX_PATH];
  ASSERT_NE(GetModuleFileNameW(nullptr, self, MAX_PATH), 0u);
  std::wstring command = L"\"" + std::wstring(self) +
                         L"\" --gtest_also_run_disabled_tests "
                         L"--gtest_filter=ExceptionTranslatorFaultTest.DISABLED_ChildFaultsWithoutTheTranslator";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  ASSERT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                             &process));
  ASSERT_EQ(WaitForSingleObject(process.hProcess, 30000), WAIT_OBJECT_0);
  DWORD exit_code = 0;
  GetExitCodeProcess(process.hProcess, &exit_code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  EXPECT_EQ(exit_code, 0xC0000005u);
}
