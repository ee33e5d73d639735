// Files: a file as a buffer under the usual streams, the status of a missing file, a checksum
// and region locks.
#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  const Wstring name = u"recipe-files.txt";
  Nym_status status;
  // The buffer opens the file and owns it; DELETE_ON_CLOSE cleans up when it closes, and then
  // every other open must share deleting.
  const unsigned int share = NYM_SHARE_READ | NYM_SHARE_WRITE | NYM_SHARE_DELETE;
  Nym_file_buffer file(name, NYM_FILE_REPLACE, NYM_ACCESS_READ_WRITE, NYM_FILE_DELETE_ON_CLOSE, share, status);
  check(status.ok(), "created");
  {
    Nym_ostream out(file, status, NYM_EOL_CRLF);
    out.writeln("alpha", status);
    out.writeln("beta", status);
  }  // the writer leaves: from now on a reader at the end sees the end

  // Each stream keeps its own position: the buffer moves the file before every transfer.
  Nym_buffered_istream first(file, false, status, NYM_EOL_CRLF);
  Nym_unbuffered_istream second(file, false, status, NYM_EOL_CRLF);
  second.seek(7);
  Nstring a, b;
  first.readln(80, a, status);
  second.readln(80, b, status);
  check(a == "alpha" && b == "beta", "two streams, two places");
  second.readln(80, b, status);
  check(status == NYM_S_END_OF_DATA && !status.has_child(), "the end of a file comes bare");

  // The checksum of the whole buffer, whatever the stream positions.
  Nym_crc32 crc;
  crc.update(file, status);
  check(status.ok() && crc.result(true) == Nym_crc32::calculate("alpha\r\nbeta\r\n", 13), "CRC-32");

  // A failed open: its own code with the path, over the cause.
  Nym_file missing(u"no-such-file.txt", NYM_ACCESS_READ, status);
  check(status == NYM_S_FILE_OPEN_FAILED && status.contains_value(NYM_S_FILE_NOT_FOUND), "missing");

  // Regions belong to one Nym_file: a shared region taken twice needs two unlocks. (Held
  // elsewhere, lock retries for timeout_ms, and even a timeout of 0 waits a second first.)
  Nym_file plain(name, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ, 0, share, status);
  plain.lock(NYM_LOCK_SHARED, 0, 5, 0, status);
  plain.lock(NYM_LOCK_SHARED, 0, 5, 0, status);
  check(status.ok(), "shared twice");
  plain.lock(NYM_LOCK_EXCLUSIVE, 2, 10, 0, status);
  check(status == NYM_S_REGION_OVERLAPS, "an overlap is refused by the object itself");
  plain.unlock(0, 5, status);
  plain.unlock(0, 5, status);
  plain.unlock(0, 5, status);
  check(status == NYM_S_REGION_NOT_LOCKED, "two locks, two unlocks");
  return recipe::result();
}
