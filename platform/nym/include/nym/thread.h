// Nym_thread: one system thread with a life-cycle state, a start handshake, its function's
// exceptions turned into a status, an optional message pipe, and a process-wide registry that
// finds the Nym_thread of a running thread by its identifier. Nym_thread_startup carries the
// start options; the free functions below serve the calling thread.
//
// The constructor returns once the new thread has come up (or failed to): the creator holds
// the registry's start lock until then, so starts and ends of threads are serialised. The
// thread's function runs holding no lock of the library's. The object belongs to its creator;
// the thread keeps only copies of its function, argument and identifier, so a detached thread
// may outlive its object. Destroying the object neither waits for nor stops the thread; a
// thread whose object is gone is no longer found by nym_thread_object, and a read of its
// messages ends with NYM_S_GET_MESSAGE_FAILED.
//
// The state word is written without a common lock by the creator, the thread and the control
// operations: it is a snapshot. Failures are reported in the status; calling kill or wait on
// the calling thread's own object raises std::logic_error.
//
// On the host build threads are POSIX threads: there is no security, component runtime,
// suspend, resume, kill or priority there.
#ifndef NYM_THREAD_H
#define NYM_THREAD_H

#include <atomic>
#include <memory>

#include "nym/event.h"
#include "nym/status.h"

namespace nym {

class Nym_anonymous_pipe;
class Nym_security;

constexpr unsigned int NYM_S_TOO_MANY_THREADS = 0xC2000035u;          // the runtime refused a thread: EAGAIN
constexpr unsigned int NYM_S_THREAD_BAD_ARGUMENT = 0xC2000036u;       // the runtime refused a thread: EINVAL
constexpr unsigned int NYM_S_THREAD_START_FAILED = 0xC2000037u;       // any other refusal; integer: the errno
constexpr unsigned int NYM_S_THREAD_EXCEPTION = 0xC2000038u;          // the function raised; wide string: what()
constexpr unsigned int NYM_S_THREAD_KILL_FAILED = 0xC2000039u;        // TerminateThread failed
constexpr unsigned int NYM_S_THREAD_SUSPEND_FAILED = 0xC200003Au;     // suspend failed
constexpr unsigned int NYM_S_THREAD_RESUME_FAILED = 0xC200003Bu;      // resume failed
constexpr unsigned int NYM_S_THREAD_WAIT_FAILED = 0xC200003Cu;        // waiting failed
constexpr unsigned int NYM_S_THREAD_BAD_PRIORITY = 0xC200003Du;       // unknown priority
constexpr unsigned int NYM_S_THREAD_PRIORITY_FAILED = 0xC200003Eu;    // SetThreadPriority failed
constexpr unsigned int NYM_S_POST_MESSAGE_FAILED = 0xC2000040u;       // post_message failed
constexpr unsigned int NYM_S_GET_MESSAGE_FAILED = 0xC2000045u;        // a message couldn't be read
constexpr unsigned int NYM_S_NO_THREAD_OBJECT = 0xC2000046u;          // the calling thread has no Nym_thread
constexpr unsigned int NYM_S_COM_INIT_FAILED = 0xC200009Bu;           // CoInitializeEx failed
constexpr unsigned int NYM_S_THREAD_UNKNOWN_EXCEPTION = 0xC200009Cu;  // the function raised something else

// The life-cycle word.
enum Nym_thread_state {
  NYM_THREAD_NOT_STARTED = 0,  // being built, or the start failed
  NYM_THREAD_RUNNING = 1,      // runs, or was resumed
  NYM_THREAD_FINISHED = 2,     // the function returned
  NYM_THREAD_FAILED = 3,       // start-up in the thread failed, or the function raised
  NYM_THREAD_KILLED = 4,       // kill succeeded
  NYM_THREAD_SUSPENDED = 5,    // suspend succeeded
};

// Component-runtime initialisation of a new thread; any other value counts as none.
enum Nym_thread_COM {
  NYM_THREAD_COM_NONE = 0,
  NYM_THREAD_COM_APARTMENT = 1,  // COINIT_APARTMENTTHREADED
  NYM_THREAD_COM_MULTI = 2,      // COINIT_MULTITHREADED
};

enum Nym_thread_priority {
  NYM_THREAD_PRIORITY_HIGHEST = 0,       // +2
  NYM_THREAD_PRIORITY_ABOVE_NORMAL = 1,  // +1
  NYM_THREAD_PRIORITY_NORMAL = 2,        // 0
  NYM_THREAD_PRIORITY_BELOW_NORMAL = 3,  // -1
  NYM_THREAD_PRIORITY_LOWEST = 4,        // -2
};

// The start options, a plain value.
struct NYM_API Nym_thread_startup {
  Nym_thread_startup() = default;

  void* arg = nullptr;                    // handed to the thread's function
  bool detached = false;                  // kept: every object may be destroyed while its thread runs
  uint64 stack_size = 0;                  // kept, not applied: every thread gets the default stack
  bool message_pipe = true;               // make the message pipe
  Nym_security* security = nullptr;       // security of the thread object; null: the system's default
  Nym_thread_COM com = NYM_THREAD_COM_MULTI;
};

class NYM_API Nym_thread {
 public:
  // Start `fn(arg)` on a new thread. A start failure is in `status` (NYM_S_NO_MEMORY,
  // NYM_S_TOO_MANY_THREADS, NYM_S_THREAD_BAD_ARGUMENT, NYM_S_THREAD_START_FAILED, a failure to
  // make the message pipe, or NYM_S_COM_INIT_FAILED from the thread): the object then stands in
  // state NOT_STARTED or FAILED and is destroyed as usual. `keep_exceptions` false (the usual
  // case) has the thread take hardware faults as Nym_system_exception. A null `fn` raises
  // std::invalid_argument "Nym_thread::start - null function".
  Nym_thread(void (*fn)(void*), void* arg, Nym_status& status, bool detached = false, uint64 stack_size = 0,
             bool message_pipe = true, Nym_security* security = nullptr, Nym_thread_COM com = NYM_THREAD_COM_MULTI,
             bool keep_exceptions = false);
  Nym_thread(void (*fn)(void*), const Nym_thread_startup& startup, Nym_status& status, bool keep_exceptions = false);
  ~Nym_thread();
  Nym_thread(const Nym_thread&) = delete;
  Nym_thread& operator=(const Nym_thread&) = delete;

  Nym_thread_state state() const { return static_cast<Nym_thread_state>(m_state.load(std::memory_order_acquire)); }
  // The system's identifier; 0 after a failed start.
  unsigned int thread_id() const { return m_thread_id; }
  // Why the thread failed: NYM_S_THREAD_EXCEPTION with the exception's text,
  // NYM_S_THREAD_UNKNOWN_EXCEPTION or NYM_S_COM_INIT_FAILED.
  void get_failed_status(Nym_status& status) const;

  // Sends three values to this thread's message pipe, from any thread; NYM_S_POST_MESSAGE_FAILED
  // (over the pipe's report, if any) without a pipe or when the write fails.
  void post_message(const unsigned int& first, const unsigned int& second, const int& third, Nym_status& status) const;

  // Blocks until the thread has ended; NYM_S_THREAD_WAIT_FAILED when the wait fails.
  void wait(Nym_status& status) const;
  // True when the thread has ended within `timeout` ms; a failed wait reports
  // NYM_S_THREAD_WAIT_FAILED over the system's code and answers false.
  bool wait(unsigned int timeout, Nym_status& status) const;

#if defined(_WIN32)
  // Suspends the thread: NYM_S_THREAD_SUSPEND_FAILED for the calling thread itself, for a thread
  // that is ending, or when the system refuses. Never while the thread is inside the registry's
  // locks, so that a suspended thread can't hold up the start and end of others.
  void suspend(Nym_status& status);
  // NYM_S_THREAD_RESUME_FAILED for the calling thread itself or when the system refuses; state
  // RUNNING otherwise, whatever it was.
  void resume(Nym_status& status);
  // Ends the thread at once, where it stands (TerminateThread: the last resort; what the thread
  // held, it holds for ever), and takes it out of the registry. It is never ended inside the
  // registry's locks, so starting and ending other threads goes on; a thread that has done its
  // ending steps already is left to end by itself, its state as it stands. State KILLED, or
  // NYM_S_THREAD_KILL_FAILED when the system refuses. Killing the calling thread raises
  // std::logic_error "Nym_thread::kill - cannot kill current thread".
  void kill(Nym_status& status);
  // NYM_S_THREAD_BAD_PRIORITY for a value outside the enumeration, NYM_S_THREAD_PRIORITY_FAILED
  // when the system refuses.
  void set_priority(Nym_thread_priority priority, Nym_status& status) const;
  // Ties `security` to the thread's handle; reports as Nym_security::associate_with_object does.
  void add_security(Nym_security& security, Nym_status& status);
#endif

 private:
  friend struct Nym_thread_entry;
  friend NYM_API void nym_thread_get_message(unsigned int&, unsigned int&, int&, Nym_status&);

  void start(void (*fn)(void*), const Nym_thread_startup& startup, Nym_status& status);

  void (*m_function)(void*) = nullptr;
  void* m_argument = nullptr;
  std::atomic<int> m_state{NYM_THREAD_NOT_STARTED};
  Nym_event m_started;
  Nym_event m_go;
  // Shared with a reader in nym_thread_get_message, so that the pipe outlives a detached
  // object that is destroyed while its thread reads.
  std::shared_ptr<Nym_anonymous_pipe> m_pipe;
  Nym_status m_failed_status;
  unsigned int m_thread_id = 0;
  void* m_handle = nullptr;
  Nym_thread_COM m_com = NYM_THREAD_COM_NONE;
  bool m_keep_exceptions = false;
  // Set by the thread under both registry locks when it leaves them for the last time: from
  // then on it is leaving on its own, through the runtime's and the loader's locks, where it
  // must be neither killed nor suspended.
  bool m_ended = false;
};

// The calling thread's system identifier.
NYM_API unsigned int nym_current_thread_id();
// The object of the running thread `id` (0: the calling thread), or null. A thread whose
// function raised stays found until its object is destroyed.
NYM_API Nym_thread* nym_thread_object(unsigned int id);
// Waits for the next message of the calling thread's pipe. NYM_S_NO_THREAD_OBJECT in a thread
// without a Nym_thread; NYM_S_GET_MESSAGE_FAILED (over the pipe's report, if any) without a
// pipe or when the read fails.
NYM_API void nym_thread_get_message(unsigned int& first, unsigned int& second, int& third, Nym_status& status);
NYM_API void nym_thread_sleep(unsigned int milliseconds);
// Gives up the rest of the time slice.
NYM_API void nym_thread_yield();

namespace impl {

// Tests only. Called by each new thread at two points of its life: 0 when it has come up and
// is about to tell its creator, 1 in its ending steps, holding the registry's locks. Answers
// the hook it replaces; null removes it.
using Nym_thread_hook = void (*)(unsigned int point);
NYM_API Nym_thread_hook nym_set_thread_hook(Nym_thread_hook hook);

// Tests only. The runtime's thread creation (_beginthreadex on Windows): answers the thread's
// handle, or null with errno set. Answers the call it replaces; null puts the runtime's back.
using Nym_thread_creator = void* (*)(void* security_attributes, unsigned (*entry)(void*), void* argument,
                                     unsigned int* thread_id);
NYM_API Nym_thread_creator nym_set_thread_creator(Nym_thread_creator creator);

}  // namespace impl

}  // namespace nym

#endif
