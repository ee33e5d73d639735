// Interlocked arithmetic on 8, 16 and 32-bit integers, and the counter built on it: the atomics
// of the bottom layer (nym/atomic.h adds the lock atomic::section).
//
// Every function is a full barrier. The argument order of xcompexch is new value first,
// comparand last.
#ifndef NYM_INTERLOCKED_H
#define NYM_INTERLOCKED_H

#include <type_traits>

#include "nym/export.h"

namespace nym {
namespace atomic {

// Adds `addend`; answers the value before the addition.
NYM_API char xadd(volatile char* address, char addend);
NYM_API short xadd(volatile short* address, short addend);
NYM_API int xadd(volatile int* address, int addend);

// Stores `value` only if the word holds `comparand`; answers the value found.
NYM_API char xcompexch(volatile char* address, char value, char comparand);
NYM_API short xcompexch(volatile short* address, short value, short comparand);
NYM_API int xcompexch(volatile int* address, int value, int comparand);

// Stores `value`; answers the value before the store.
NYM_API char xexchange(volatile char* address, char value);
NYM_API short xexchange(volatile short* address, short value);
NYM_API int xexchange(volatile int* address, int value);

}  // namespace atomic

// A counter over an unsigned integer of 8, 16 or 32 bits that starts at 0. `next` advances it
// atomically and answers the new count; it wraps to 0 after the type's maximum, which is the
// caller's to deal with.
template <class T>
class Nym_atomic_counter {
  static_assert(std::is_unsigned_v<T> && (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4),
                "Nym_atomic_counter counts in unsigned 8, 16 or 32-bit integers");

 public:
  Nym_atomic_counter() = default;
  Nym_atomic_counter(const Nym_atomic_counter&) = delete;
  Nym_atomic_counter& operator=(const Nym_atomic_counter&) = delete;

  T next() {
    using Word = std::conditional_t<sizeof(T) == 1, char, std::conditional_t<sizeof(T) == 2, short, int>>;
    const Word before = atomic::xadd(reinterpret_cast<volatile Word*>(&m_value), Word(1));
    return static_cast<T>(static_cast<T>(before) + 1u);
  }
  // The last count given out (an atomic read).
  T value() const {
    using Word = std::conditional_t<sizeof(T) == 1, char, std::conditional_t<sizeof(T) == 2, short, int>>;
    return static_cast<T>(atomic::xadd(const_cast<volatile Word*>(reinterpret_cast<const volatile Word*>(&m_value)), Word(0)));
  }

 private:
  volatile T m_value = 0;
};

}  // namespace nym

#endif
