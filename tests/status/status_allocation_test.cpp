// The success path of a status never touches the heap, counted by a replaced operator new. The
// Windows DLL carries its own operator new, so only what is inlined into the caller is seen
// there; that building arguments does allocate is checked on the host only.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "nym/status.h"

namespace {
std::atomic<long> g_allocations{0};
}

void* operator new(std::size_t size) {
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

using namespace nym;

namespace {

long allocations_during(void (*work)()) {
  const long before = g_allocations.load();
  work();
  return g_allocations.load() - before;
}

int* volatile g_sink = nullptr;  // keeps the optimiser from eliding a new/delete pair

}  // namespace

TEST(StatusAllocationTest, TheSuccessPathAllocatesNothing) {
  EXPECT_GE(allocations_during([] { delete (g_sink = new int(1)); }), 1) << "the counter sees an allocation";
  EXPECT_EQ(allocations_during([] {
              Nym_status status;
              EXPECT_TRUE(status.ok() && status.is_clear() && status.begin() == status.end());
              status = 5;
              Nym_status copy(status);
              EXPECT_TRUE(copy == 5 && copy.hresult() == 0x80000005u);
              status.clear();
            }),
            0);
#if !defined(_WIN32)
  // One argument: the list, its use count and the clone; a push: a node and its use count.
  EXPECT_EQ(allocations_during([] { Nym_status s(1, Nym_int_status_arg(1)); }), 3);
  EXPECT_EQ(allocations_during([] { Nym_status(1).push(2); }), 2);
#endif
}
