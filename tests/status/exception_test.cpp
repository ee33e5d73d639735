#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "nym/exception.h"

using namespace nym;

namespace {

// A hand-made record of the system's layout, with a link to an older one.
struct Record {
  _EXCEPTION_RECORD record{};
  _EXCEPTION_POINTERS pointers{};

  Record(std::uint32_t code, std::uintptr_t address, std::uintptr_t accessed = 0) {
    record.ExceptionCode = code;
    record.ExceptionAddress = reinterpret_cast<void*>(address);
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = 1;
    record.ExceptionInformation[1] = accessed;
    pointers.ExceptionRecord = &record;
  }
  void link(Record& previous) { record.ExceptionRecord = &previous.record; }
  _EXCEPTION_POINTERS* get() { return &pointers; }
};

}  // namespace

// Each record of a chain in turn, newest first: the table's texts (its first row among them), the
// unknown code's, and an accessed address in the upper half, not cut.
TEST(SystemExceptionTest, RecordsAtAnyDepthAndCyclesEnd) {
  _EXCEPTION_POINTERS pointers{};
  const Nym_system_exception empty[] = {Nym_system_exception(), Nym_rpc_exception(),
                                        Nym_system_exception(&pointers, true), Nym_system_exception(nullptr, false)};
  for (const auto& e : empty) EXPECT_TRUE(std::string(e.what()).empty() && e.code() == 0u);

  Record inner(0xC0000005u, 0x7FF6B2C41234ull, 0x7FF612345678ull), misaligned(0x80000002u, 0x1000),
      middle(0x12345u, 0x20), outer(0xC0000094u, 0x10);
  outer.link(middle);
  middle.link(misaligned);
  misaligned.link(inner);
  const Nym_rpc_exception e(outer.get(), false);
  EXPECT_EQ(e.code(), 0xC0000094u);
  EXPECT_EQ(std::string(e.what()),
            "The thread attempted to divide an integer value by an integer divisor of zero.\r\n"
            "Exception code is 0xc0000094.\r\nError occured at address 0x0000000000000010.\r\n"
            "\r\nPrevious exception...\r\nAn unknown Microsoft structured exception has occurred.\r\n"
            "Exception code is 0x00012345.\r\nError occured at address 0x0000000000000020.\r\n"
            "\r\nPrevious exception...\r\nThe thread attempted to read or write data that is misaligned on hardware "
            "that does not provide alignment. For example, 16-bit values must be aligned on 2-byte boundaries, 32-bit "
            "values on 4-byte boundaries, and so on.\r\nException code is 0x80000002.\r\nError occured at address "
            "0x0000000000001000.\r\n\r\nPrevious exception...\r\nThe thread attempted to read from or write to a "
            "virtual address for which it does not have the appropriate access.\r\nThe memory address accessed is "
            "0x7ff612345678.\r\nException code is 0xc0000005.\r\nError occured at address 0x00007FF6B2C41234.\r\n");

  // Records that link back to themselves would describe for ever: each is told once.
  Record a(0xC0000094u, 0x10), b(0xC0000094u, 0x20);
  a.link(b);
  b.link(a);
  const std::string cyclic = Nym_system_exception(a.get(), false).what();
  std::size_t count = 0;
  for (std::size_t at = cyclic.find("Exception code"); at != std::string::npos; at = cyclic.find("Exception code", at + 1)) {
    ++count;
  }
  EXPECT_EQ(count, 2u);
}

// The record's code decides the kind thrown, never the argument; an RPC exception is a system one.
TEST(ExceptionTranslatorTest, RpcCodesAreTheListedOnes) {
  const auto thrown_rpc = [](std::uint32_t record_code, unsigned int argument_code) {
    Record r(record_code, 0x10);
    try {
      nym_exception_translator(argument_code, r.get());
    } catch (const Nym_system_exception& e) {
      EXPECT_EQ(e.code(), record_code);
      return dynamic_cast<const Nym_rpc_exception*>(&e) != nullptr;
    }
    ADD_FAILURE() << "nothing thrown";
    return false;
  };
  // The ends of the listed ranges and their neighbours outside.
  const std::pair<unsigned, bool> rows[] = {{0, true},     {1, false},   {1700, true}, {1699, false}, {1728, true},
                                            {1729, false}, {1900, true}, {1901, false}, {1826, true}, {1827, false}};
  for (const auto& r : rows) EXPECT_EQ(thrown_rpc(r.first, 0xC0000005u), r.second) << "code " << r.first;
  EXPECT_FALSE(thrown_rpc(0xC0000094u, 1718));
  EXPECT_FALSE(thrown_rpc(0x800006C6u, 0));
}
