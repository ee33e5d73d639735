// Streams: one writer and two blocking readers on one store, each reader on its own thread.
#include <string>
#include <thread>

#include "recipe.h"

using namespace nym;
using recipe::check;

constexpr unsigned int LINES = 200;

// A blocking reader waits at the end of the data while a writer is attached, and sees the
// end once the writer has gone.
void follow(const Nym_buffer& log, unsigned int& lines, Nym_status& status) {
  Nym_unbuffered_istream in(log, true, status, NYM_EOL_LF);
  Nstring line;
  while (status.ok()) {
    in.readln(256, line, status);
    if (status.ok() && line == "line " + std::to_string(lines)) ++lines;
  }
}

int main() {
  Nstring text;
  Nym_string_buffer log(text, true);
  Nym_status status;
  // Attach the writer before the readers start: a blocking reader that finds no writer
  // reports the end of the data at once.
  Nym_ostream writer(log, status, NYM_EOL_LF);
  check(status.ok(), "the writer attached");

  unsigned int first = 0;
  unsigned int second = 0;
  Nym_status first_status;
  Nym_status second_status;
  std::thread a(follow, std::cref(log), std::ref(first), std::ref(first_status));
  std::thread b(follow, std::cref(log), std::ref(second), std::ref(second_status));
  for (unsigned int i = 0; i < LINES; ++i) writer.writeln("line " + std::to_string(i), status);
  check(status.ok(), "every line written");
  writer.detach();  // wakes the readers: they read the rest, then see the end
  a.join();
  b.join();

  std::printf("readers saw %u and %u lines\n", first, second);
  check(first == LINES && second == LINES, "each reader saw every line in order");
  check(first_status == NYM_S_END_OF_DATA && second_status == NYM_S_END_OF_DATA, "both saw the end");
  // Only one writer at a time: a second one is refused.
  Nym_ostream one(log, status);
  Nym_ostream two(log, status);
  check(status == NYM_S_NO_WRITER_TAKEN, "one writer");
  return recipe::result();
}
