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

// Runs `body` in a fresh thread that installed the translator.
template <class Body>
void in_translating_thread(Body body) {
  std::thread worker([&] {
    nym_install_exception_translator();
    body();
  });
  worker.join();
}

}  // namespace

TEST(ExceptionTranslatorFaultTest, InstallAnswersThePreviousTranslator) {
  std::thread worker([] {
    EXPECT_EQ(nym_install_exception_translator(), nullptr);
    EXPECT_EQ(nym_install_exception_translator(), reinterpret_cast<void*>(&nym_exception_translator));
  });
  worker.join();
  std::thread other([] { EXPECT_EQ(nym_install_exception_translator(), nullptr) << "per thread"; });
  other.join();
}

TEST(ExceptionTranslatorFaultTest, AccessViolationIsCaughtWithDestructorsRun) {
  in_translating_thread([] {
    int destroyed = 0;
    try {
      Flag_on_exit outer{&destroyed};
      g_sink = read_bad_pointer(&destroyed);
      ADD_FAILURE() << "no exception";
    } catch (const Nym_system_exception& e) {
      EXPECT_EQ(e.code(), 0xC0000005u);
      EXPECT_EQ(dynamic_cast<const Nym_rpc_exception*>(&e), nullptr);
      const std::string text = e.what();
      EXPECT_EQ(text.rfind("The thread attempted to read from or write to a virtual address for which it does not "
                           "have the appropriate access.\r\nThe memory address accessed is 0x00000010.\r\n"
                           "Exception code is 0xc0000005.\r\nError occured at address 0x",
                           0),
                0u)
          << text;
    }
    EXPECT_EQ(destroyed, 2);
  });
}

TEST(ExceptionTranslatorFaultTest, IntegerDivisionByZeroIsCaught) {
  in_translating_thread([] {
    int destroyed = 0;
    try {
      g_sink = divide_by_zero(&destroyed);
      ADD_FAILURE() << "no exception";
    } catch (const Nym_system_exception& e) {
      EXPECT_EQ(e.code(), 0xC0000094u);
      EXPECT_EQ(std::string(e.what()).rfind("The thread attempted to divide an integer value by an integer divisor "
                                            "of zero.\r\nException code is 0xc0000094.\r\n",
                                            0),
                0u);
    }
    EXPECT_EQ(destroyed, 1);
  });
}

TEST(ExceptionTranslatorFaultTest, UnwindsThroughManyFramesAndRepeats) {
  in_translating_thread([] {
    for (int round = 0; round < 200; ++round) {
      int destroyed = 0;
      const int depth = round % 7;
      try {
        g_sink = deeper(depth, &destroyed);
        ADD_FAILURE() << "no exception";
      } catch (const Nym_system_exception& e) {
        ASSERT_EQ(e.code(), 0xC0000005u);
      }
      ASSERT_EQ(destroyed, depth + 2) << "round " << round;
    }
  });
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
