#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

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

const std::string ACCESS_TEXT =
    "The thread attempted to read from or write to a virtual address for which it does not have the appropriate "
    "access.\r\n";
const std::string DIVIDE_TEXT = "The thread attempted to divide an integer value by an integer divisor of zero.\r\n";
const std::string UNKNOWN_TEXT = "An unknown Microsoft structured exception has occurred.\r\n";

}  // namespace

TEST(SysCallFailTest, NamesTheCall) {
  try {
    throw Nym_sys_call_fail("::InitializeAcl");
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "::InitializeAcl");
  }
  Nym_sys_call_fail a("::CreateEvent");
  Nym_sys_call_fail b("::Other");
  b = a;
  EXPECT_STREQ(b.what(), "::CreateEvent");
}

TEST(SystemExceptionTest, WithoutARecordTheTextIsEmptyAndTheCodeZero) {
  _EXCEPTION_POINTERS pointers{};
  const Nym_system_exception cases[] = {Nym_system_exception(), Nym_rpc_exception(),
                                        Nym_system_exception(&pointers, true), Nym_system_exception(nullptr, false)};
  for (const auto& e : cases) EXPECT_TRUE(std::string(e.what()).empty() && e.code() == 0u);
}

TEST(SystemExceptionTest, AnAccessedAddressIsNotCut) {
  Record r(0xC0000005u, 0x7FF6B2C41234ull, 0x7FF612345678ull);
  const std::string text = Nym_system_exception(r.get(), false).what();
  EXPECT_NE(text.find("The memory address accessed is 0x7ff612345678.\r\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Error occured at address 0x00007FF6B2C41234.\r\n"), std::string::npos) << text;
}

struct Table_case {
  std::uint32_t code;
  const char* first_words;
};

class SystemExceptionTableTest : public testing::TestWithParam<Table_case> {};

TEST_P(SystemExceptionTableTest, DescribesEachCodeOfTheTable) {
  Record r(GetParam().code, 0x1000);
  const std::string text = Nym_system_exception(r.get(), false).what();
  EXPECT_EQ(text.rfind(GetParam().first_words, 0), 0u) << text;
  const std::size_t first_end = text.find("\r\n");
  ASSERT_NE(first_end, std::string::npos);
  char code_line[64];
  std::snprintf(code_line, sizeof code_line, "Exception code is 0x%08x.\r\n", GetParam().code);
  EXPECT_EQ(text.substr(first_end + 2, std::string(code_line).size()), code_line) << text;
  EXPECT_EQ(text.find(UNKNOWN_TEXT), std::string::npos);
}

// The first words of a few codes of the table, at both ends and in the middle.
INSTANTIATE_TEST_SUITE_P(
    Codes, SystemExceptionTableTest,
    testing::Values(
        Table_case{0x80000002u, "The thread attempted to read or write data that is misaligned on hardware that "
                                "does not provide alignment. For example, 16-bit values must be aligned on 2-byte "
                                "boundaries, 32-bit values on 4-byte boundaries, and so on.\r\n"},
        Table_case{0xC0000025u, "The thread attempted to continue execution after a noncontinuable exception "
                                "occurred.\r\n"},
        Table_case{0xC0000092u, "The stack overflowed or underflowed as the result of a floating-point "
                                "operation.\r\n"},
        Table_case{0xC0000096u, "The thread attempted to execute an instruction whose operation is not allowed in "
                                "the current machine mode.\r\n"}));

TEST(SystemExceptionTest, UnknownCodeGivesTheUnknownLineAndKeepsTheCode) {
  Record r(0xE0001234u, 0x2000);
  const Nym_system_exception e(r.get(), false);
  EXPECT_EQ(e.code(), 0xE0001234u);
  EXPECT_EQ(std::string(e.what()), UNKNOWN_TEXT +
                                       "Exception code is 0xe0001234.\r\n"
                                       "Error occured at address 0x0000000000002000.\r\n");
}

TEST(SystemExceptionTest, NestedRecordsAreDescribedAtAnyDepth) {
  Record inner(0xC0000005u, 0x30, 0x8);
  Record middle(0x12345u, 0x20);
  Record outer(0xC0000094u, 0x10);
  outer.link(middle);
  middle.link(inner);
  const Nym_system_exception e(outer.get(), false);
  EXPECT_EQ(e.code(), 0xC0000094u);
  EXPECT_EQ(std::string(e.what()), DIVIDE_TEXT +
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
}

// Records that link back to themselves would describe for ever: each is told once.
TEST(SystemExceptionTest, CyclicRecordsEnd) {
  Record a(0xC0000094u, 0x10);
  Record b(0xC0000094u, 0x20);
  a.link(b);
  b.link(a);
  const std::string text = Nym_system_exception(a.get(), false).what();
  std::size_t count = 0;
  for (std::size_t at = text.find("Exception code"); at != std::string::npos; at = text.find("Exception code", at + 1)) {
    ++count;
  }
  EXPECT_EQ(count, 2u);
}

TEST(SystemExceptionTest, CopiesKeepTextAndCode) {
  Record r(0xC0000094u, 0x10);
  const Nym_rpc_exception original(r.get(), false);
  Nym_rpc_exception copy(original);
  EXPECT_EQ(copy.code(), 0xC0000094u);
  EXPECT_STREQ(copy.what(), original.what());
  Nym_system_exception assigned;
  assigned = original;
  EXPECT_EQ(assigned.code(), 0xC0000094u);
  EXPECT_STREQ(assigned.what(), original.what());
}

namespace {

enum class Thrown { rpc, system };

Thrown translate(std::uint32_t record_code, unsigned int argument_code) {
  Record r(record_code, 0x10);
  try {
    nym_exception_translator(argument_code, r.get());
  } catch (const Nym_rpc_exception& e) {
    EXPECT_EQ(e.code(), record_code);
    return Thrown::rpc;
  } catch (const Nym_system_exception& e) {
    EXPECT_EQ(e.code(), record_code);
    return Thrown::system;
  }
  ADD_FAILURE() << "nothing thrown";
  return Thrown::system;
}

}  // namespace

TEST(ExceptionTranslatorTest, RpcCodesAreTheListedOnes) {
  const std::vector<std::pair<unsigned, unsigned>> ranges = {
      {0, 0},       {5, 5},       {14, 14},     {87, 87},     {122, 122},   {164, 164},   {1130, 1130},
      {1700, 1728}, {1730, 1730}, {1732, 1737}, {1739, 1749}, {1754, 1762}, {1764, 1771}, {1791, 1791},
      {1806, 1806}, {1817, 1820}, {1822, 1824}, {1826, 1826}, {1898, 1898}, {1900, 1900}};
  auto listed = [&](unsigned code) {
    for (const auto& r : ranges) {
      if (code >= r.first && code <= r.second) return true;
    }
    return false;
  };
  for (unsigned code = 0; code <= 2000; ++code) {
    EXPECT_EQ(translate(code, 0xC0000005u) == Thrown::rpc, listed(code)) << "code " << code;
  }
  EXPECT_EQ(translate(0xC0000094u, 1718), Thrown::system) << "the record decides, not the argument";
  EXPECT_EQ(translate(0x800006C6u, 0), Thrown::system);
}

TEST(ExceptionTranslatorTest, RpcExceptionIsASystemException) {
  Record r(1718, 0x10);
  try {
    nym_exception_translator(1718, r.get());
    ADD_FAILURE() << "nothing thrown";
  } catch (const Nym_system_exception& e) {
    EXPECT_EQ(e.code(), 1718u);
    EXPECT_NE(dynamic_cast<const Nym_rpc_exception*>(&e), nullptr);
    EXPECT_NE(std::string(e.what()).find(UNKNOWN_TEXT), std::string::npos);
  }
}
