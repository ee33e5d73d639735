#include "nym/latch.h"

#include "base/current_thread.h"
#include "nym/interlocked.h"

namespace nym {

namespace {

// An atomic read of another latch's word: it may be taken or freed while it is copied.
int load(const volatile int& word) { return atomic::xadd(const_cast<volatile int*>(&word), 0); }

}  // namespace

Nym_latch::Nym_latch(const Nym_latch& other) : m_word(load(other.m_word)) {}
Nym_latch::Nym_latch(Nym_latch&& other) : m_word(load(other.m_word)) {}

Nym_latch& Nym_latch::operator=(const Nym_latch& other) {
  atomic::xexchange(&m_word, load(other.m_word));
  return *this;
}

Nym_latch& Nym_latch::operator=(Nym_latch&& other) {
  atomic::xexchange(&m_word, load(other.m_word));
  return *this;
}

void Nym_latch::lock() {
  while (atomic::xcompexch(&m_word, 1, 0) != 0) impl::yield_processor();
}

bool Nym_latch::try_lock() { return atomic::xcompexch(&m_word, 1, 0) == 0; }

void Nym_latch::unlock() { atomic::xexchange(&m_word, 0); }

}  // namespace nym
