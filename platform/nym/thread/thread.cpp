// Nym_thread's start handshake, registry and messages, the same on every build; the system's
// side is in thread_win32.cpp and thread_posix.cpp.
//
// Lock order: life_lock, then map_lock. life_lock covers the whole of a start from
// registration on, a thread's ending steps, the exception handlers, the destructor, kill and
// suspend; so a thread is never killed or suspended inside either lock, nor after it has
// left them for the last time (m_ended).
#include "nym/thread.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <stdexcept>

#include "nym/pipe.h"
#include "base/current_thread.h"
#include "thread/thread_platform.h"

namespace nym {

namespace impl {

// Made at load (see below) and never destroyed: a detached thread may still end after the
// library's static objects are gone.
Thread_registry& thread_registry() {
  static Thread_registry* const registry = new Thread_registry;
  return *registry;
}

}  // namespace impl

namespace {

[[maybe_unused]] impl::Thread_registry& g_made_at_load = impl::thread_registry();
std::atomic<impl::Nym_thread_hook> g_hook{nullptr};
std::atomic<impl::Nym_thread_creator> g_creator{nullptr};

using Guard = std::lock_guard<Nym_critical>;

void hook(unsigned int point) {
  if (const impl::Nym_thread_hook h = g_hook.load(std::memory_order_acquire)) h(point);
}

// Under map_lock.
Nym_thread* registered(const impl::Thread_registry& registry, unsigned int id) {
  const auto it = registry.map.find(id);
  return it == registry.map.end() ? nullptr : it->second;
}

void report_start_errno(int error, Nym_status& status) {
  switch (error) {
    case ENOMEM:
    case EACCES:
      status = NYM_S_NO_MEMORY;
      break;
    case EAGAIN:
      status = NYM_S_TOO_MANY_THREADS;
      break;
    case EINVAL:
      status = NYM_S_THREAD_BAD_ARGUMENT;
      break;
    default:
      status.assign(NYM_S_THREAD_START_FAILED, Nym_int_status_arg(error));
  }
}

constexpr size_t MESSAGE_SIZE = 12;

// A pipe may hand a record over in pieces: read until it is whole.
void read_message(Nym_anonymous_pipe* pipe, unsigned int& first, unsigned int& second, int& third,
                  Nym_status& status) {
  status.clear();
  if (pipe != nullptr) {
    unsigned char record[MESSAGE_SIZE];
    uint64 got = 0;
    while (got < MESSAGE_SIZE) {
      const uint64 n = static_cast<Nym_pipe*>(pipe)->read(record + got, MESSAGE_SIZE - got, status);
      if (status.is_error()) {
        status.push(NYM_S_GET_MESSAGE_FAILED);
        return;
      }
      if (n == 0) break;
      got += n;
    }
    if (got == MESSAGE_SIZE) {
      std::memcpy(&first, record, 4);
      std::memcpy(&second, record + 4, 4);
      std::memcpy(&third, record + 8, 4);
      return;
    }
  }
  status = NYM_S_GET_MESSAGE_FAILED;
}

// Why the function failed, built before any lock is taken: building may itself fail.
Nym_status failure_of(const char* what) {
  try {
    return what != nullptr ? Nym_status(NYM_S_THREAD_EXCEPTION, Nym_wstring_status_arg(Nstring(what)))
                           : Nym_status(NYM_S_THREAD_UNKNOWN_EXCEPTION);
  } catch (...) {
    return Nym_status(NYM_S_NO_MEMORY);
  }
}

}  // namespace

struct Nym_thread_entry {
  static unsigned run(void* object);
  static void failed(Nym_thread* self, bool told, unsigned int id, const Nym_status& why) noexcept;
};

unsigned Nym_thread_entry::run(void* object) {
  Nym_thread* const self = static_cast<Nym_thread*>(object);
  self->m_go.wait();
  void (*const fn)(void*) = self->m_function;
  if (fn == nullptr) {  // the creator couldn't register this thread: it runs nothing
    self->m_ended = true;
    self->m_started.signal();
    return 0;
  }
  void* const argument = self->m_argument;
  const unsigned int id = self->m_thread_id;
  const int com = self->m_com;
  bool told = false;  // once the creator is told, the object may vanish
  try {
    if (!self->m_keep_exceptions) impl::thread_take_faults();
    self->m_state.store(NYM_THREAD_RUNNING, std::memory_order_release);
    if ((com == NYM_THREAD_COM_APARTMENT || com == NYM_THREAD_COM_MULTI) && !impl::thread_init_com(com)) {
      self->m_state.store(NYM_THREAD_FAILED, std::memory_order_release);
      self->m_failed_status = NYM_S_COM_INIT_FAILED;
    }
    hook(0);
    const int state = self->m_state.load(std::memory_order_acquire);
    self->m_started.signal();
    told = true;
    if (state == NYM_THREAD_RUNNING) fn(argument);
    impl::Thread_registry& registry = impl::thread_registry();
    const Guard life(registry.life_lock);
    const Guard map(registry.map_lock);
    hook(1);
    if (Nym_thread* const thread = registered(registry, id)) {
      int running = NYM_THREAD_RUNNING;
      thread->m_state.compare_exchange_strong(running, NYM_THREAD_FINISHED, std::memory_order_acq_rel);
      thread->m_ended = true;
      registry.map.erase(id);
    }
  } catch (const std::exception& e) {
    failed(self, told, id, failure_of(e.what()));
  } catch (...) {
    failed(self, told, id, failure_of(nullptr));
  }
  return 0;
}

// The entry stays in the map, so that the thread is still found, until the object goes.
void Nym_thread_entry::failed(Nym_thread* self, bool told, unsigned int id, const Nym_status& why) noexcept {
  if (!told) {  // the creator still waits, holding life_lock: the object is there
    self->m_state.store(NYM_THREAD_FAILED, std::memory_order_release);
    self->m_failed_status = why;
    self->m_ended = true;
    try {
      self->m_started.signal();
    } catch (...) {
    }
    return;
  }
  impl::Thread_registry& registry = impl::thread_registry();
  const Guard life(registry.life_lock);
  const Guard map(registry.map_lock);
  try {
    hook(1);
  } catch (...) {
  }
  if (Nym_thread* const thread = registered(registry, id)) {
    thread->m_state.store(NYM_THREAD_FAILED, std::memory_order_release);
    thread->m_failed_status = why;
    thread->m_ended = true;
  }
}

Nym_thread::Nym_thread(void (*fn)(void*), void* arg, Nym_status& status, bool detached, uint64 stack_size,
                       bool message_pipe, Nym_security* security, Nym_thread_COM com, bool keep_exceptions)
    : m_keep_exceptions(keep_exceptions) {
  Nym_thread_startup startup;
  startup.arg = arg;
  startup.detached = detached;
  startup.stack_size = stack_size;
  startup.message_pipe = message_pipe;
  startup.security = security;
  startup.com = com;
  start(fn, startup, status);
}

Nym_thread::Nym_thread(void (*fn)(void*), const Nym_thread_startup& startup, Nym_status& status, bool keep_exceptions)
    : m_keep_exceptions(keep_exceptions) {
  start(fn, startup, status);
}

void Nym_thread::start(void (*fn)(void*), const Nym_thread_startup& startup, Nym_status& status) {
  if (fn == nullptr) throw std::invalid_argument("Nym_thread::start - null function");
  status.clear();
  m_pipe.reset();
  m_state.store(NYM_THREAD_NOT_STARTED, std::memory_order_release);
  m_function = fn;
  m_argument = startup.arg;
  m_com = startup.com;
  m_handle = nullptr;
  m_thread_id = 0;
  if (startup.message_pipe) {
    auto pipe = std::make_shared<Nym_anonymous_pipe>(status, nullptr);
    if (status.is_error()) return;
    m_pipe = std::move(pipe);
  }
  const impl::Nym_thread_creator chosen = g_creator.load(std::memory_order_acquire);
  const impl::Nym_thread_creator create = chosen != nullptr ? chosen : &impl::thread_create;
  unsigned int id = 0;
  errno = 0;
  void* const handle = create(impl::thread_attributes(startup.security), &Nym_thread_entry::run, this, &id);
  if (handle == nullptr) {
    // With errno 0 too: no thread exists, and waiting for it to come up would never end.
    report_start_errno(errno, status);
    return;
  }
  m_handle = handle;
  m_thread_id = id;
  impl::Thread_registry& registry = impl::thread_registry();
  const Guard life(registry.life_lock);
  try {
    const Guard map(registry.map_lock);
    registry.map[id] = this;
  } catch (const std::bad_alloc&) {
    m_function = nullptr;  // the thread, let go, ends without running anything
    status = NYM_S_NO_MEMORY;
  }
  m_go.signal();
  m_started.wait();
  m_started.reset();
  if (m_function != nullptr) status = m_failed_status;
}

Nym_thread::~Nym_thread() {
  impl::Thread_registry& registry = impl::thread_registry();
  const Guard life(registry.life_lock);
  bool registered_here = false;
  {
    const Guard map(registry.map_lock);
    const auto it = registry.map.find(m_thread_id);
    if (it != registry.map.end() && it->second == this) {
      // Whether detached or not: a later thread with this identifier must not find a dead object.
      registry.map.erase(it);
      registered_here = true;
    }
  }
  // The thread may run on, waiting for a message that no one can post any more: let it go.
  if (registered_here && m_pipe) m_pipe->close_write_end();
  if (m_handle != nullptr) impl::thread_close(m_handle);
  m_pipe.reset();
}

void Nym_thread::get_failed_status(Nym_status& status) const {
  const Guard life(impl::thread_registry().life_lock);  // the thread's handler writes it under this lock
  status = m_failed_status;
}

void Nym_thread::post_message(const unsigned int& first, const unsigned int& second, const int& third,
                              Nym_status& status) const {
  status.clear();
  unsigned char record[MESSAGE_SIZE];
  std::memcpy(record, &first, 4);
  std::memcpy(record + 4, &second, 4);
  std::memcpy(record + 8, &third, 4);
  if (m_pipe) {
    const uint64 n = static_cast<Nym_pipe&>(*m_pipe).write(record, MESSAGE_SIZE, status);
    if (status.is_error()) {
      status.push(NYM_S_POST_MESSAGE_FAILED);
      return;
    }
    if (n == MESSAGE_SIZE) return;
  }
  status = NYM_S_POST_MESSAGE_FAILED;
}

void Nym_thread::wait(Nym_status& status) const {
  status.clear();
  if (m_thread_id == nym_current_thread_id()) throw std::logic_error("Nym_thread::wait - cannot wait for current thread");
  if (m_thread_id == 0) return;
  unsigned int error = 0;
  if (impl::thread_wait(m_handle, 0xFFFFFFFFu, error) == impl::Thread_wait::failed) status = NYM_S_THREAD_WAIT_FAILED;
}

bool Nym_thread::wait(unsigned int timeout, Nym_status& status) const {
  status.clear();
  if (m_thread_id == nym_current_thread_id()) throw std::logic_error("Nym_thread::wait - cannot wait for current thread");
  if (m_thread_id == 0) return true;
  unsigned int error = 0;
  switch (impl::thread_wait(m_handle, timeout, error)) {
    case impl::Thread_wait::ended:
      return true;
    case impl::Thread_wait::timed_out:
      return false;
    case impl::Thread_wait::failed:
      break;
  }
  status = error;
  status.push(NYM_S_THREAD_WAIT_FAILED);
  return false;
}

unsigned int nym_current_thread_id() { return impl::current_thread_id(); }

Nym_thread* nym_thread_object(unsigned int id) {
  if (id == 0) id = nym_current_thread_id();
  impl::Thread_registry& registry = impl::thread_registry();
  const Guard map(registry.map_lock);
  return registered(registry, id);
}

void nym_thread_get_message(unsigned int& first, unsigned int& second, int& third, Nym_status& status) {
  status.clear();
  std::shared_ptr<Nym_anonymous_pipe> pipe;
  {
    impl::Thread_registry& registry = impl::thread_registry();
    const Guard map(registry.map_lock);
    const Nym_thread* const thread = registered(registry, nym_current_thread_id());
    if (thread == nullptr) {
      status = NYM_S_NO_THREAD_OBJECT;
      return;
    }
    pipe = thread->m_pipe;  // the destructor lets go of its share only after the entry is gone
  }
  read_message(pipe.get(), first, second, third, status);
}

void nym_thread_sleep(unsigned int milliseconds) { impl::thread_sleep(milliseconds); }

void nym_thread_yield() { impl::thread_sleep(0); }

namespace impl {

Nym_thread_hook nym_set_thread_hook(Nym_thread_hook hook) { return g_hook.exchange(hook, std::memory_order_acq_rel); }

Nym_thread_creator nym_set_thread_creator(Nym_thread_creator creator) {
  return g_creator.exchange(creator, std::memory_order_acq_rel);
}

}  // namespace impl

}  // namespace nym
