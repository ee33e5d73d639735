// The success path of a status never touches the heap. Counted with a replaced global
// operator new in this test executable.
//
// On the host the library is linked statically, so the counter sees every allocation. In the
// Windows build the DLL carries its own copy of operator new, so only what is inlined into the
// caller (construction, tests, destruction of a status without arguments) is seen there; the
// check that argument-building does allocate is therefore made on the host only.
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

}  // namespace

// The volatile store keeps the optimiser from eliding the new/delete pair.
int* volatile g_sink = nullptr;

TEST(StatusAllocationTest, TheSuccessPathAllocatesNothing) {
  EXPECT_GE(allocations_during([] {
              g_sink = new int(1);  // the counter sees an allocation
              delete g_sink;
            }),
            1);
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
  EXPECT_EQ(allocations_during([] {
              Nym_status s(1);
              s.push(2);
            }),
            2);
#endif
}
