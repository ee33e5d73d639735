// The interlocked functions of the platform. mingw-w64 declares the 32-bit ones only; the 8
// and 16-bit widths use the compiler's atomics, which emit the same locked instructions.
#include <windows.h>

#include "nym/interlocked.h"

namespace nym::atomic {

static_assert(sizeof(LONG) == sizeof(int), "LONG is the 32-bit word");

namespace {

template <class T>
T narrow_compexch(volatile T* address, T value, T comparand) {
  __atomic_compare_exchange_n(address, &comparand, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return comparand;
}

}  // namespace

char xadd(volatile char* address, char addend) { return __atomic_fetch_add(address, addend, __ATOMIC_SEQ_CST); }
short xadd(volatile short* address, short addend) { return __atomic_fetch_add(address, addend, __ATOMIC_SEQ_CST); }
int xadd(volatile int* address, int addend) {
  return InterlockedExchangeAdd(reinterpret_cast<volatile LONG*>(address), addend);
}

char xcompexch(volatile char* address, char value, char comparand) {
  return narrow_compexch(address, value, comparand);
}
short xcompexch(volatile short* address, short value, short comparand) {
  return narrow_compexch(address, value, comparand);
}
int xcompexch(volatile int* address, int value, int comparand) {
  return InterlockedCompareExchange(reinterpret_cast<volatile LONG*>(address), value, comparand);
}

char xexchange(volatile char* address, char value) { return __atomic_exchange_n(address, value, __ATOMIC_SEQ_CST); }
short xexchange(volatile short* address, short value) { return __atomic_exchange_n(address, value, __ATOMIC_SEQ_CST); }
int xexchange(volatile int* address, int value) {
  return InterlockedExchange(reinterpret_cast<volatile LONG*>(address), value);
}

}  // namespace nym::atomic
