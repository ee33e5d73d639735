// Nym_process: starts another program, waiting for it inside the call or leaving it to run,
// and afterwards tells whether it runs, waits for it, reads its exit code and can end it.
//
// The program is found as the C runtime finds it: as given (relative to the current
// directory), else, for a bare name, in each directory of PATH; a name without extension is
// tried with .com, .exe, .bat and .cmd. It is then started by its full path.
//
// The object owns the process handle it holds and closes it in the destructor, without waiting
// for the process or ending it. It has no lock: an object belongs to one thread at a time.
// Windows only.
#ifndef NYM_PROCESS_H
#define NYM_PROCESS_H

#include "nym/types.h"

namespace nym {

class Nym_status;

constexpr unsigned int NYM_S_PROCESS_STILL_RUNNING = 0xC2000047u;     // still running after the wait; program, arguments
constexpr unsigned int NYM_S_PROCESS_START_FAILED = 0xC2000048u;      // the process couldn't be started; program
constexpr unsigned int NYM_S_PROCESS_TERMINATE_FAILED = 0xC2000049u;  // couldn't be ended, over the system's code; program
constexpr unsigned int NYM_S_PROCESS_EXIT_CODE_FAILED = 0xC200004Au;  // exit code unreadable, over the system's code; program
constexpr unsigned int NYM_S_PROCESS_EXIT_CODE_RUNNING = 0xC200004Bu;  // exit code asked for while it runs; program
constexpr unsigned int NYM_S_PROCESS_ALREADY_RUNNING = 0xC2000060u;   // the object has a live process; under START_FAILED

// How to start. `mode` 0 or 1: start and wait inside the call, `arguments` being the whole
// command line the program gets (its own name isn't added). 2: start and go on; the command
// line is the program as given, a space and `arguments`, and the program to run is the name
// with one pair of surrounding double quotes taken off; with `wait`, wait `timeout` ms after the
// start. Any other mode starts nothing.
struct NYM_API Nym_process_details {
  unsigned int mode = 2;
  bool wait = false;
  unsigned int timeout = 0;
};

class NYM_API Nym_process {
 public:
  // Starts as start_process does.
  Nym_process(const Wstring& program, const Wstring& arguments, const Nym_process_details& details,
              Nym_status& status);
  // No process.
  Nym_process();
  Nym_process(const Nym_process&) = delete;
  Nym_process& operator=(const Nym_process&) = delete;
  ~Nym_process();

  // Starts `program`. NYM_S_PROCESS_START_FAILED with the program when it can't be found or
  // started, above NYM_S_PROCESS_ALREADY_RUNNING when this object's process still runs (which is
  // left alone); NYM_S_PROCESS_STILL_RUNNING when a wait after the start ran out (the process
  // has started and runs on). The arguments given to the constructor are kept; this call
  // doesn't change them.
  void start_process(const Wstring& program, const Wstring& arguments, const Nym_process_details& details,
                     Nym_status& status);
  // Waits at most `timeout` ms (0xFFFFFFFF: without limit); NYM_S_PROCESS_STILL_RUNNING with
  // program and arguments when it still runs. Without a process it returns at once.
  void wait(Nym_status& status, unsigned int timeout) const;
  bool is_running() const;
  // The system's process identifier while it runs, else 0.
  unsigned long id() const;
  // Modes 0 and 1: the program's exit code as the start gave it. Mode 2: asked of the system.
  // NYM_S_PROCESS_EXIT_CODE_RUNNING while it runs, NYM_S_PROCESS_EXIT_CODE_FAILED over the
  // system's code when the system can't tell; the status is left alone otherwise.
  unsigned int get_exit_code(Nym_status& status) const;
  // Ends the process with exit code 0 and, with a `timeout`, waits that long for it to be gone.
  // NYM_S_PROCESS_TERMINATE_FAILED over the system's code when that fails; without a process
  // nothing happens and the status is left alone.
  void terminate(Nym_status& status, unsigned int timeout) const;
  // Ends the process `process_id` with exit code 0, waiting at most `timeout` ms (0: not at all)
  // for it to be gone; true when that all worked.
  static bool terminate(unsigned long process_id, unsigned int timeout);

 private:
  void* m_handle = nullptr;
  mutable unsigned int m_exit_code = 0;  // what the system last told, kept by const calls too
  Wstring m_program;
  unsigned int m_mode = 0;
  Wstring m_arguments;
};

}  // namespace nym

#endif
