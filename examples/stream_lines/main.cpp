// Streams: the read loop. The end of the data comes as a status, not as a short read.
#include <string>
#include <vector>

#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  Nstring data = "first\r\nsecond\nthird";  // the last line has no line end
  const Nym_string_buffer buffer(data, false);
  Nym_status status;
  Nym_unbuffered_istream in(buffer, false, status);  // not blocking: no writer will come
  check(status.ok(), "attached");

  // Lines: loop until NYM_S_END_OF_DATA. A line without its end (the last one here, or a
  // piece of one longer than max) comes with NYM_S_LINE_NOT_ENDED: keep it, clear, go on.
  std::vector<Nstring> lines;
  for (;;) {
    Nstring line;
    in.readln(1024, line, status);
    if (status == NYM_S_END_OF_DATA) break;
    if (status == NYM_S_LINE_NOT_ENDED) status.clear();
    if (status.is_error()) break;
    lines.push_back(line);
  }
  check(status == NYM_S_END_OF_DATA, "the loop ends at the end of the data");
  status.clear();
  check(lines == std::vector<Nstring>{"first", "second", "third"}, "three lines, the last one too");

  // Bytes: a short read is normal; only the status tells the end.
  in.seek(0);
  std::string all;
  char block[4];
  for (;;) {
    const uint64 n = in.read(sizeof block, block, status);
    if (status.is_error()) break;
    all.append(block, n);
  }
  check(status == NYM_S_END_OF_DATA && all == data, "every byte");
  status.clear();

  // A string store takes 655,360 bytes unless built with no_limit; past that a write fails.
  Nstring text;
  Nym_string_buffer capped(text, false);
  Nym_ostream out(capped, status);
  const std::string chunk(Nym_string_buffer::STRING_LIMIT, 'x');
  out.write(chunk.size(), chunk.data(), status);
  check(status.ok(), "up to the limit");
  out.write(1, "y", status);
  check(status == NYM_S_WRITE_FAILED && status.contains_value(NYM_S_STRING_LIMIT), "past the limit");
  // Nym_string_buffer(text, true) and Nym_wstring_buffer have no limit but hold it all in memory.
  return recipe::result();
}
