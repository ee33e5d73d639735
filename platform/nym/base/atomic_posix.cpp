// The interlocked functions on the compiler's sequentially consistent atomics.
#include "nym/interlocked.h"

namespace nym::atomic {

namespace {

template <class T>
T add(volatile T* address, T addend) {
  return __atomic_fetch_add(address, addend, __ATOMIC_SEQ_CST);
}

template <class T>
T compexch(volatile T* address, T value, T comparand) {
  // On failure the builtin writes the value found into `comparand`; on success it is the old value.
  __atomic_compare_exchange_n(address, &comparand, value, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return comparand;
}

template <class T>
T exchange(volatile T* address, T value) {
  return __atomic_exchange_n(address, value, __ATOMIC_SEQ_CST);
}

}  // namespace

char xadd(volatile char* address, char addend) { return add(address, addend); }
short xadd(volatile short* address, short addend) { return add(address, addend); }
int xadd(volatile int* address, int addend) { return add(address, addend); }

char xcompexch(volatile char* address, char value, char comparand) { return compexch(address, value, comparand); }
short xcompexch(volatile short* address, short value, short comparand) {
  return compexch(address, value, comparand);
}
int xcompexch(volatile int* address, int value, int comparand) { return compexch(address, value, comparand); }

char xexchange(volatile char* address, char value) { return exchange(address, value); }
short xexchange(volatile short* address, short value) { return exchange(address, value); }
int xexchange(volatile int* address, int value) { return exchange(address, value); }

}  // namespace nym::atomic
