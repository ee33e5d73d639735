// What the library sets up when it is loaded and puts back when it is unloaded: the C
// run-time's new-mode and new-handler (with the reserve of nym_init_new_handler), the C++
// new-handler of the library's own run-time, and the default security object.
//
// The C run-time is msvcrt, whose new-handler calls are exported only under their decorated
// names, so they are looked up at load.
#include "nym/system.h"

#include <windows.h>

#include <cstddef>
#include <exception>
#include <new>

#include "nym/counted_ptr.h"
#include "nym/security.h"

namespace nym {

namespace {

using Crt_new_handler = int(__cdecl*)(std::size_t);
using Set_new_handler = Crt_new_handler(__cdecl*)(Crt_new_handler);
using Set_new_mode = int(__cdecl*)(int);

// The exception of a failed allocation, with the run-time's own words.
class Bad_allocation : public std::bad_alloc {
 public:
  const char* what() const noexcept override { return "bad allocation"; }
};

// The reserve and its callback, set during start-up and read by the handler without a lock.
void* volatile g_reserve = nullptr;
void (*volatile g_callback)() = nullptr;

// Releases the reserve and says whether there was one, calling the callback after the release.
bool release_reserve() {
  void* reserve = g_reserve;
  if (reserve == nullptr) return false;
  g_reserve = nullptr;
  VirtualFree(reserve, 0, MEM_RELEASE);
  if (void (*callback)() = g_callback) callback();
  return true;
}

[[noreturn]] void raise_bad_allocation() {
  static const Bad_allocation failure;
  throw Bad_allocation(failure);
}

int __cdecl crt_handler(std::size_t) {
  if (release_reserve()) return 1;  // the run-time tries the allocation again
  raise_bad_allocation();
}

void cxx_handler() {
  if (!release_reserve()) raise_bad_allocation();
}

template <class F>
F crt_function(HMODULE crt, const char* const* names) {
  for (; *names != nullptr; ++names) {
    if (FARPROC found = GetProcAddress(crt, *names)) return reinterpret_cast<F>(reinterpret_cast<void*>(found));
  }
  return nullptr;
}

// Installed for the library's lifetime: built during its static start-up, destroyed at unload.
class Load_steps {
 public:
  Load_steps() {
    HMODULE crt = GetModuleHandleW(L"msvcrt.dll");
    if (crt != nullptr) {
      static const char* const set_handler[] = {"?_set_new_handler@@YAP6AH_K@ZP6AH0@Z@Z",
                                                "?_set_new_handler@@YAP6AH_K@ZP6AH_K@Z@Z", nullptr};
      static const char* const set_mode[] = {"?_set_new_mode@@YAHH@Z", "_set_new_mode", nullptr};
      m_set_handler = crt_function<Set_new_handler>(crt, set_handler);
      m_set_mode = crt_function<Set_new_mode>(crt, set_mode);
    }
    if (m_set_mode != nullptr) m_old_mode = m_set_mode(1);
    if (m_set_handler != nullptr) m_old_handler = m_set_handler(crt_handler);
    m_old_cxx_handler = std::set_new_handler(cxx_handler);
    try {
      m_security.reset(new Nym_security);
    } catch (...) {
      // Nothing uses it: a system that can't make it must not stop the library from loading.
    }
  }
  ~Load_steps() {
    m_security.reset();
    std::set_new_handler(m_old_cxx_handler);
    // Put back only what is still ours: a handler set since then is its owner's to keep.
    if (m_set_handler != nullptr) {
      const Crt_new_handler current = m_set_handler(m_old_handler);
      if (current != crt_handler) m_set_handler(current);
    }
    if (m_set_mode != nullptr) m_set_mode(m_old_mode);
    if (void* reserve = g_reserve) {
      g_reserve = nullptr;
      VirtualFree(reserve, 0, MEM_RELEASE);
    }
    g_callback = nullptr;
  }
  Load_steps(const Load_steps&) = delete;
  Load_steps& operator=(const Load_steps&) = delete;

 private:
  Set_new_handler m_set_handler = nullptr;
  Set_new_mode m_set_mode = nullptr;
  Crt_new_handler m_old_handler = nullptr;
  int m_old_mode = 0;
  std::new_handler m_old_cxx_handler = nullptr;
  Ovt_auto_ptr<Nym_security> m_security;
};

Load_steps g_load_steps;

}  // namespace

bool nym_init_new_handler(uint64 reserve_bytes, void (*callback)()) {
  void* reserve = reserve_bytes == 0 ? nullptr
                                     : VirtualAlloc(nullptr, static_cast<SIZE_T>(reserve_bytes), MEM_COMMIT,
                                                    PAGE_NOACCESS);
  // The earlier reserve goes: keeping it would hold memory nobody can release.
  if (void* earlier = g_reserve) VirtualFree(earlier, 0, MEM_RELEASE);
  g_reserve = reserve;
  g_callback = callback;
  return reserve != nullptr;
}

}  // namespace nym
