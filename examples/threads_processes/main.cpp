// Threads and processes: a worker fed through its message pipe, and child programs in the two
// ways of starting them.
#include "recipe.h"

using namespace nym;
using recipe::check;

constexpr unsigned int ADD = 1, STOP = 2;

// A message is three values. The worker waits for each in turn and stops at STOP.
void worker(void* total) {
  for (;;) {
    unsigned int kind = 0, unused = 0;
    int value = 0;
    Nym_status status;
    nym_thread_get_message(kind, unused, value, status);
    if (status.is_error() || kind == STOP) return;
    *static_cast<int*>(total) += value;
  }
}

int main() {
  int total = 0;
  Nym_status status;
  // The constructor returns once the thread runs; a failed start is in the status.
  Nym_thread thread(worker, &total, status);
  check(status.ok() && thread.state() == NYM_THREAD_RUNNING, "started");
  for (int i = 1; i <= 10; ++i) thread.post_message(ADD, 0, i, status);
  thread.post_message(STOP, 0, 0, status);
  thread.wait(status);
  check(thread.state() == NYM_THREAD_FINISHED && total == 55, "ten messages added up");

  // Mode 2 starts and goes on (here: then waits at most 20 s). The child's command line is the
  // program, a space and the arguments.
  Nym_process_details details;
  details.mode = 2;
  details.wait = true;
  details.timeout = 20000;
  Nym_process child(u"cmd.exe", u"/c exit 3", details, status);
  check(status.ok() && !child.is_running(), "the child ran and ended");
  check(child.get_exit_code(status) == 3, "its exit code, asked of the system");

  // Mode 0 waits inside the call, and the arguments are the whole command line: the program's
  // own name goes first in them.
  details.mode = 0;
  Nym_process waited(u"cmd.exe", u"cmd /c exit 4", details, status);
  check(status.ok() && waited.get_exit_code(status) == 4, "the exit code of a waited start");

  // A program that can't be found is reported with its name.
  Nym_process missing(u"no-such-program", u"", details, status);
  check(status == NYM_S_PROCESS_START_FAILED && !missing.is_running(), "not found");
  return recipe::result();
}
