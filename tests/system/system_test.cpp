#include "nym/system.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "helper_process.h"

namespace {

using namespace nym;

impl::Nym_system_facts g_facts;
std::atomic<int> g_feature_calls{0};

void fake_facts(impl::Nym_system_facts& facts) { facts = g_facts; }
// Features 1, 6 and 10 are there.
int fake_feature(unsigned int feature) {
  ++g_feature_calls;
  return feature == 1 || feature == 6 || feature == 10 ? 1 : 0;
}

class SystemFacts : public testing::Test {
 protected:
  void SetUp() override {
    impl::nym_set_system_facts_query(fake_facts);
    impl::nym_set_feature_query(fake_feature);
  }
  void TearDown() override {
    impl::nym_set_system_facts_query(nullptr);
    impl::nym_set_feature_query(nullptr);
  }
};

TEST_F(SystemFacts, ArchitectureModelAndSteppingFromTheSystemsWords) {
  struct Case {
    impl::Nym_system_facts facts;
    Nym_processor_architecture architecture;
    unsigned short count, model, stepping;
  } const cases[] = {
      {{9, 8, 6, 0x3A09}, NYM_PROCESSOR_X64, 8, 0x3A, 0x09},
      {{0, 0x10002, 4, 0x0203}, NYM_PROCESSOR_X86, 2, 'C', 0},  // count cut to 16 bits; a letter
      {{6, 1, 3, 0x0000}, NYM_PROCESSOR_ITANIUM, 1, 'A', 0},
      {{12, 4, 5, 0xFF01}, NYM_PROCESSOR_UNKNOWN, 4, 0xFF, 0x01},
  };
  for (const Case& c : cases) {
    g_facts = c.facts;
    const Nym_system system;
    const Nym_system copy(system);
    EXPECT_EQ(copy.architecture(), c.architecture);
    EXPECT_EQ(copy.processor_count(), c.count);
    EXPECT_EQ(copy.processor_level(), c.facts.level);
    EXPECT_EQ(copy.processor_model(), c.model);
    EXPECT_EQ(copy.processor_stepping(), c.stepping);
  }
}

TEST_F(SystemFacts, CapabilitiesAskedOnceFromManyThreads) {
  const Nym_system system;
  g_feature_calls = 0;
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        // Feature 1 says the floating point unit is emulated: capability 2 is false.
        const bool expected[9] = {false, false, false, false, false, false, true, true, false};
        for (int c = 0; c < 9; ++c) {
          if (system.processor_has_capability(static_cast<Nym_processor_capability>(c)) != expected[c]) ++wrong;
        }
        if (system.processor_has_capability(static_cast<Nym_processor_capability>(9))) ++wrong;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  // Racing first questions may each ask; after that nobody does.
  EXPECT_LE(g_feature_calls, 9 * 8);
  const int calls = g_feature_calls;
  system.processor_has_capability(NYM_CPU_SSE);
  EXPECT_EQ(g_feature_calls, calls);
}

TEST(System, InstanceIsTheSystemsAnswer) {
  Nym_system* one = Nym_system::instance();
  EXPECT_EQ(one, Nym_system::instance());
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  EXPECT_EQ(one->architecture(), NYM_PROCESSOR_X64);
  EXPECT_EQ(one->processor_count(), static_cast<unsigned short>(info.dwNumberOfProcessors));
  EXPECT_EQ(one->processor_has_capability(NYM_CPU_SSE2), IsProcessorFeaturePresent(PF_XMMI64_INSTRUCTIONS_AVAILABLE) != 0);
}

Wstring first_argument(const Nym_status& status) {
  Wstring text;
  if (status.num_args() != 0) (*status.begin())->to_string(text);
  return text;
}

TEST(System, LoadLookUpAndUnloadLibraries) {
  Nym_status status;
  EXPECT_EQ(nym_load_library(u"nym_no_such_library.dll", status), nullptr);
  EXPECT_EQ(status, NYM_S_LOAD_LIBRARY_FAILED);
  ASSERT_TRUE(status.has_child());
  EXPECT_EQ(*status.child(), static_cast<unsigned int>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(first_argument(status), u"nym_no_such_library.dll");

  void* kernel = nym_load_library(u"kernel32.dll", status);
  ASSERT_NE(kernel, nullptr);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(nym_lookup_function(kernel, "GetTickCount", status),
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetTickCount")));
  EXPECT_EQ(nym_lookup_function(kernel, "NoSuchFunction", status), nullptr);
  EXPECT_EQ(status, NYM_S_LOOKUP_FUNCTION_FAILED);
  EXPECT_EQ(*status.child(), static_cast<unsigned int>(ERROR_PROC_NOT_FOUND));
  EXPECT_EQ(first_argument(status), u"NoSuchFunction");
  nym_unload_library(kernel, status);
  EXPECT_TRUE(status.is_clear());
  nym_unload_library(nullptr, status);
  EXPECT_TRUE(status.is_clear());
}

TEST(System, UuidByteOrder) {
  const GUID in = {0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};
  GUID out;
  nym_extract_uuid_le(out, in);
  EXPECT_TRUE(nym_guid_equal(out, in));
  nym_extract_uuid_be(out, in);
  EXPECT_EQ(out.Data1, 0x33221100u);
  EXPECT_EQ(out.Data2, 0x5544);
  EXPECT_EQ(out.Data3, 0x7766);
  EXPECT_EQ(std::memcmp(out.Data4, in.Data4, 8), 0);
  nym_extract_uuid_be(out, out);
  EXPECT_TRUE(nym_guid_equal(out, in));
}

volatile int g_callbacks = 0;
void count_callback() { g_callbacks = g_callbacks + 1; }

// Committed memory with no access: where the reserves are.
uint64 reserved_bytes() {
  uint64 total = 0;
  MEMORY_BASIC_INFORMATION info;
  for (char* at = nullptr; VirtualQuery(at, &info, sizeof info) == sizeof info;
       at = static_cast<char*>(info.BaseAddress) + info.RegionSize) {
    if (info.State == MEM_COMMIT && info.Protect == PAGE_NOACCESS) total += info.RegionSize;
  }
  return total;
}

TEST(System, ReserveReleasedOnceThenBadAllocation) {
  EXPECT_FALSE(nym_init_new_handler(0, count_callback));
  // A second reserve replaces the first, which is freed.
  const uint64 before = reserved_bytes();
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(nym_init_new_handler(64u << 20, count_callback));
  EXPECT_LT(reserved_bytes() - before, uint64{96} << 20);

  // The C run-time's operator new asks the new-handler whenever the heap refuses (its malloc
  // does too, under the new-mode of 1 the library sets; Wine 8's malloc ignores the mode).
  using Crt_new = void*(__cdecl*)(size_t);
  const auto crt_new = reinterpret_cast<Crt_new>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "??2@YAPEAX_K@Z")));
  ASSERT_NE(crt_new, nullptr);
  const size_t impossible = size_t{1} << 62;
  g_callbacks = 0;
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::string what;
    try {
      crt_new(impossible);
    } catch (const std::bad_alloc& e) {
      what = e.what();
    }
    EXPECT_EQ(g_callbacks, 1);  // called once, and the allocation was tried again
    EXPECT_EQ(what, "bad allocation");
    EXPECT_LT(reserved_bytes() - before, uint64{32} << 20);
  }
}

TEST(System, LoadAndUnloadPutBackHandlerAndModeAndLeaveNoThread) {
  wchar_t folder[MAX_PATH + 1];
  ASSERT_NE(GetTempPathW(MAX_PATH, folder), 0u);
  std::string copy;
  for (const wchar_t* c = folder; *c != 0; ++c) copy += static_cast<char>(*c);
  copy += "nym2208_load_" + std::to_string(GetCurrentProcessId()) + ".dll";
  EXPECT_EQ(nym_test::run_helper({"load-unload", copy}, std::chrono::seconds(60)), 0);
}

}  // namespace
