#include "nym/system.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
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
// Features 1 (the floating point unit is emulated), 6 and 10 are there.
int fake_feature(unsigned int feature) {
  ++g_feature_calls;
  return feature == 1 || feature == 6 || feature == 10 ? 1 : 0;
}

TEST(System, FactsAndCapabilitiesFromTheSystemsWordsAskedOnceFromManyThreads) {
  impl::nym_set_system_facts_query(fake_facts);
  impl::nym_set_feature_query(fake_feature);
  struct Case {
    impl::Nym_system_facts facts;
    Nym_processor_architecture architecture;
    unsigned short count, model, stepping;
  } const cases[] = {
      {{9, 8, 6, 0x3A09}, NYM_PROCESSOR_X64, 8, 0x3A, 0x09},
      {{0, 0x10002, 4, 0x0203}, NYM_PROCESSOR_X86, 2, 'C', 0},  // count cut to 16 bits; a letter
      {{6, 1, 3, 0x0000}, NYM_PROCESSOR_ITANIUM, 1, 'A', 0},
      {{12, 4, 5, 0xFF01}, NYM_PROCESSOR_UNKNOWN, 4, 0xFF, 0x01}};
  for (const Case& c : cases) {
    g_facts = c.facts;
    const Nym_system copy(*std::make_unique<Nym_system>());
    EXPECT_TRUE(copy.architecture() == c.architecture && copy.processor_count() == c.count &&
                copy.processor_level() == c.facts.level && copy.processor_model() == c.model &&
                copy.processor_stepping() == c.stepping)
        << c.facts.architecture << " " << c.facts.level;
  }

  const Nym_system system;
  g_feature_calls = 0;
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&] {
      const bool expected[10] = {false, false, false, false, false, false, true, true, false, false};
      for (int round = 0; round < 200; ++round) {
        for (int c = 0; c < 10; ++c) {
          wrong += system.processor_has_capability(static_cast<Nym_processor_capability>(c)) != expected[c];
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  const int calls = g_feature_calls;
  system.processor_has_capability(NYM_CPU_SSE);
  EXPECT_TRUE(calls <= 9 * 8 && g_feature_calls == calls);  // racing first questions may each ask; then none
  impl::nym_set_system_facts_query(nullptr);
  impl::nym_set_feature_query(nullptr);

  Nym_system* one = Nym_system::instance();
  EXPECT_TRUE(one == Nym_system::instance() && one->architecture() == NYM_PROCESSOR_X64);
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
  EXPECT_TRUE(status == NYM_S_LOAD_LIBRARY_FAILED && *status.child() == ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(first_argument(status), u"nym_no_such_library.dll");
  void* kernel = nym_load_library(u"kernel32.dll", status);
  EXPECT_EQ(nym_lookup_function(kernel, "GetTickCount", status),
            reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetTickCount")));
  EXPECT_EQ(nym_lookup_function(kernel, "NoSuchFunction", status), nullptr);
  EXPECT_TRUE(status == NYM_S_LOOKUP_FUNCTION_FAILED && *status.child() == ERROR_PROC_NOT_FOUND);
  EXPECT_EQ(first_argument(status), u"NoSuchFunction");
  nym_unload_library(kernel, status);
  nym_unload_library(nullptr, status);
  EXPECT_TRUE(status.is_clear());
}

TEST(System, UuidByteOrder) {
  const GUID in = {0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}};
  GUID out;
  nym_extract_uuid_le(out, in);
  EXPECT_TRUE(nym_guid_equal(out, in));
  nym_extract_uuid_be(out, in);
  EXPECT_TRUE(out.Data1 == 0x33221100u && out.Data2 == 0x5544 && out.Data3 == 0x7766 && !std::memcmp(out.Data4, in.Data4, 8));
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
  const uint64 before = reserved_bytes();
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(nym_init_new_handler(64u << 20, count_callback));
  EXPECT_LT(reserved_bytes() - before, uint64{96} << 20);  // each reserve freed the one before

  // The C run-time's operator new asks the new-handler whenever the heap refuses (so does its
  // malloc under the new-mode 1 the library sets; Wine 8's malloc ignores the mode).
  const auto crt_new = reinterpret_cast<void*(__cdecl*)(size_t)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), "??2@YAPEAX_K@Z")));
  ASSERT_NE(crt_new, nullptr);
  g_callbacks = 0;
  for (int attempt = 0; attempt < 2; ++attempt) {
    std::string what;
    try {
      crt_new(size_t{1} << 62);
    } catch (const std::bad_alloc& e) {
      what = e.what();
    }
    EXPECT_EQ(g_callbacks, 1);  // called once, and the allocation was tried again
    EXPECT_EQ(what, "bad allocation");
    EXPECT_LT(reserved_bytes() - before, uint64{32} << 20);
  }
}

TEST(System, LoadAndUnloadPutBackHandlerAndModeAndLeaveNoThread) {
  char folder[MAX_PATH + 1];
  ASSERT_NE(GetTempPathA(MAX_PATH, folder), 0u);
  const std::string copy = folder + ("nym2208_load_" + std::to_string(GetCurrentProcessId()) + ".dll");
  EXPECT_EQ(nym_test::run_helper({"load-unload", copy}, std::chrono::seconds(60)), 0);
}

}  // namespace
