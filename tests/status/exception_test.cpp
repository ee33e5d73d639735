#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "nym/exception.h"
#include "test_helpers.h"

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

const std::string ACCESS_TEXT =
    "The thread attempted to read from or write to a virtual address for which it does not have the appropriate "
    "access.\r\n";
const std::string UNKNOWN_TEXT = "An unknown Microsoft structured exception has occurred.\r\n";

std::string text_of(std::uint32_t code, std::uintptr_t address, std::uintptr_t accessed = 0) {
  Record r(code, address, accessed);
  const Nym_system_exception e(r.get(), false);
  EXPECT_EQ(e.code(), code);
  return e.what();
}

}  // namespace

TEST(SysCallFailTest, NamesTheCall) {
  Nym_sys_call_fail a("::CreateEvent"), b("::Other");
  b = a;
  EXPECT_STREQ(b.what(), "::CreateEvent");
  EXPECT_EQ(nym_test::what_of([] { throw Nym_sys_call_fail("::InitializeAcl"); }), "::InitializeAcl");
}

TEST(SystemExceptionTest, TextsOfSingleRecords) {
  _EXCEPTION_POINTERS pointers{};
  const Nym_system_exception empty[] = {Nym_system_exception(), Nym_rpc_exception(),
                                        Nym_system_exception(&pointers, true), Nym_system_exception(nullptr, false)};
  for (const auto& e : empty) EXPECT_TRUE(std::string(e.what()).empty() && e.code() == 0u);

  const std::string at_1000 = "Error occured at address 0x0000000000001000.\r\n";
  const struct {
    std::uint32_t code;
    std::uintptr_t address, accessed;
    std::string want;
  } cases[] = {
      // An accessed address in the upper half is not cut.
      {0xC0000005u, 0x7FF6B2C41234ull, 0x7FF612345678ull,
       ACCESS_TEXT + "The memory address accessed is 0x7ff612345678.\r\nException code is 0xc0000005.\r\n"
                     "Error occured at address 0x00007FF6B2C41234.\r\n"},
      {0xE0001234u, 0x2000, 0, UNKNOWN_TEXT + "Exception code is 0xe0001234.\r\nError occured at address 0x0000000000002000.\r\n"},
      // Rows of the table at both ends and in the middle.
      {0x80000002u, 0x1000, 0,
       "The thread attempted to read or write data that is misaligned on hardware that does not provide alignment. "
       "For example, 16-bit values must be aligned on 2-byte boundaries, 32-bit values on 4-byte boundaries, and so "
       "on.\r\nException code is 0x80000002.\r\n" + at_1000},
      {0xC0000092u, 0x1000, 0,
       "The stack overflowed or underflowed as the result of a floating-point operation.\r\nException code is "
       "0xc0000092.\r\n" + at_1000},
      {0xC0000096u, 0x1000, 0,
       "The thread attempted to execute an instruction whose operation is not allowed in the current machine mode.\r\n"
       "Exception code is 0xc0000096.\r\n" + at_1000},
  };
  for (const auto& c : cases) EXPECT_EQ(text_of(c.code, c.address, c.accessed), c.want);
}

TEST(SystemExceptionTest, NestedRecordsAtAnyDepthCyclesEndAndCopiesKeepAll) {
  Record inner(0xC0000005u, 0x30, 0x8), middle(0x12345u, 0x20), outer(0xC0000094u, 0x10);
  outer.link(middle);
  middle.link(inner);
  const Nym_rpc_exception e(outer.get(), false);
  EXPECT_EQ(e.code(), 0xC0000094u);
  EXPECT_EQ(std::string(e.what()), "The thread attempted to divide an integer value by an integer divisor of zero.\r\n"
                                   "Exception code is 0xc0000094.\r\n"
                                   "Error occured at address 0x0000000000000010.\r\n"
                                   "\r\nPrevious exception...\r\n" +
                                       UNKNOWN_TEXT +
                                       "Exception code is 0x00012345.\r\n"
                                       "Error occured at address 0x0000000000000020.\r\n"
                                       "\r\nPrevious exception...\r\n" +
                                       ACCESS_TEXT +
                                       "The memory address accessed is 0x00000008.\r\n"
                                       "Exception code is 0xc0000005.\r\n"
                                       "Error occured at address 0x0000000000000030.\r\n");
  const Nym_rpc_exception copy(e);
  Nym_system_exception assigned;
  assigned = e;
  EXPECT_TRUE(copy.code() == e.code() && assigned.code() == e.code());
  EXPECT_TRUE(std::string(copy.what()) == e.what() && std::string(assigned.what()) == e.what());

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
  const std::vector<std::pair<unsigned, unsigned>> ranges = {
      {0, 0},       {5, 5},       {14, 14},     {87, 87},     {122, 122},   {164, 164},   {1130, 1130},
      {1700, 1728}, {1730, 1730}, {1732, 1737}, {1739, 1749}, {1754, 1762}, {1764, 1771}, {1791, 1791},
      {1806, 1806}, {1817, 1820}, {1822, 1824}, {1826, 1826}, {1898, 1898}, {1900, 1900}};
  for (unsigned code = 0; code <= 2000; ++code) {
    bool listed = false;
    for (const auto& r : ranges) listed = listed || (code >= r.first && code <= r.second);
    EXPECT_EQ(thrown_rpc(code, 0xC0000005u), listed) << "code " << code;
  }
  EXPECT_FALSE(thrown_rpc(0xC0000094u, 1718));
  EXPECT_FALSE(thrown_rpc(0x800006C6u, 0));
}
