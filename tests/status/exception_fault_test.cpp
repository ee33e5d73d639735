// Hardware faults in a thread that installed the translator arrive as C++ exceptions. Built
// with -fnon-call-exceptions, as all code that wants faults as exceptions must be.
#include <gtest/gtest.h>

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
volatile int g_sink = 0;  // results are stored, so that no faulting instruction is optimised away

__attribute__((noipa)) int read_bad_pointer(int* destroyed) {
  Flag_on_exit guard{destroyed};
  return *g_bad_pointer;
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
    for (int round = 0; round < 50; ++round) {
      int destroyed = 0;
      const int depth = round % 7;
      try {
        Flag_on_exit outer{&destroyed};
        g_sink = deeper(depth, &destroyed);
        ADD_FAILURE() << "no exception";
      } catch (const Nym_system_exception& e) {
        ASSERT_EQ(e.code(), 0xC0000005u);
        ASSERT_EQ(dynamic_cast<const Nym_rpc_exception*>(&e), nullptr);
        ASSERT_EQ(std::string(e.what()).rfind(access, 0), 0u) << e.what();
      }
      ASSERT_EQ(destroyed, depth + 3) << "round " << round;
    }
  });
  worker.join();
  std::thread([] { EXPECT_EQ(nym_install_exception_translator(), nullptr) << "per thread"; }).join();
}
