// The host's recursive section. A POSIX recursive mutex refuses to be released by another
// thread, which the Windows section allows, so the owner and depth are kept here under a
// plain mutex and waiters sleep on a condition. The host version does not spin.
#include <pthread.h>

#include <new>

#include "nym/critical.h"
#include "nym/exception.h"

namespace nym {

namespace {

struct Section {
  pthread_mutex_t guard;
  pthread_cond_t freed;
  pthread_t owner;
  unsigned long depth;  // 0: free
};

Section& section_of(unsigned char* storage) { return *std::launder(reinterpret_cast<Section*>(storage)); }

bool owned_by_caller(const Section& s) { return s.depth != 0 && pthread_equal(s.owner, pthread_self()); }

}  // namespace

Nym_critical::Nym_critical(bool locked) {
  static_assert(sizeof(Section) <= sizeof(m_section) && alignof(Section) <= 16, "the host section fits");
  auto* s = new (m_section) Section;
  s->depth = 0;
  if (pthread_mutex_init(&s->guard, nullptr) != 0) {
    throw Nym_sys_call_fail("::InitializeCriticalSectionAndSpinCount");
  }
  if (pthread_cond_init(&s->freed, nullptr) != 0) {
    pthread_mutex_destroy(&s->guard);
    throw Nym_sys_call_fail("::InitializeCriticalSectionAndSpinCount");
  }
  if (locked) lock();
}

Nym_critical::~Nym_critical() {
  Section& s = section_of(m_section);
  pthread_cond_destroy(&s.freed);
  pthread_mutex_destroy(&s.guard);
}

void Nym_critical::lock() {
  Section& s = section_of(m_section);
  pthread_mutex_lock(&s.guard);
  if (!owned_by_caller(s)) {
    while (s.depth != 0) pthread_cond_wait(&s.freed, &s.guard);
    s.owner = pthread_self();
  }
  ++s.depth;
  pthread_mutex_unlock(&s.guard);
}

bool Nym_critical::try_lock() {
  Section& s = section_of(m_section);
  pthread_mutex_lock(&s.guard);
  bool taken = false;
  if (s.depth == 0 || owned_by_caller(s)) {
    s.owner = pthread_self();
    ++s.depth;
    taken = true;
  }
  pthread_mutex_unlock(&s.guard);
  return taken;
}

void Nym_critical::unlock() {
  Section& s = section_of(m_section);
  pthread_mutex_lock(&s.guard);
  // Like the platform's section: no owner check, and an unlock of a free section is ignored.
  if (s.depth != 0 && --s.depth == 0) pthread_cond_signal(&s.freed);
  pthread_mutex_unlock(&s.guard);
}

}  // namespace nym
