// Nym_file: one open file of the system, with its reads, writes, position, size, times and a
// table of the regions this object has locked. Windows only.
//
// The object owns its handle and closes it in close() or its destructor; it can't be copied.
// The file position is the system's and is shared by everyone who uses the object: read,
// write, seek, tell and truncate take no lock, so an object used by several threads needs the
// caller's lock (Nym_file_buffer keeps its transfers serial). The region table has a
// Nym_critical of its own.
//
// Failures go into the status with the system's code underneath: a failed open reports
// NYM_S_FILE_OPEN_FAILED with the path above the cause, a failed read NYM_S_READ_FAILED, a failed
// write NYM_S_WRITE_FAILED. The end of the file comes bare, as NYM_S_END_OF_DATA.
//
// Region locks are the system's (LockFileEx), held per object: a region locked shared may be
// locked shared again by the same object and needs as many unlocks; close unlocks everything.
// The system enforces a region against other handles' reads and writes, and against their
// locks; this object's own table refuses a region that overlaps one it holds, unless it is the
// very same region.
#ifndef NYM_FILE_H
#define NYM_FILE_H

#include <vector>

#include "nym/buffer.h"
#include "nym/critical.h"
#include "nym/date_and_time.h"
#include "nym/file_access.h"
#include "nym/read_write_semaphore.h"

namespace nym {

class Nym_security;

constexpr unsigned int NYM_S_EMPTY_FILE_NAME = 0xC200001Du;        // argument: the path
constexpr unsigned int NYM_S_FILE_NOT_FOUND = 0xC200001Eu;         // must exist, and doesn't; argument: the path
constexpr unsigned int NYM_S_NOT_A_FILE = 0xC200001Fu;             // a directory, device or pipe; argument: the path
constexpr unsigned int NYM_S_COPY_INTO_ITSELF = 0xC2000020u;       // arguments: from directory, to directory
constexpr unsigned int NYM_S_TARGET_EXISTS = 0xC2000021u;          // argument: the path
constexpr unsigned int NYM_S_COPY_FAILED = 0xC2000022u;            // above the cause; arguments: from, to
constexpr unsigned int NYM_S_MOVE_FAILED = 0xC2000023u;            // above the cause; arguments: from, to
constexpr unsigned int NYM_S_REMOVE_FAILED = 0xC2000024u;          // above the cause; argument: the path
constexpr unsigned int NYM_S_REPLACE_NEEDS_WRITE = 0xC2000025u;    // NYM_FILE_REPLACE without write access
constexpr unsigned int NYM_S_FILE_OPEN_FAILED = 0xC2000026u;       // above the cause; argument: the path
constexpr unsigned int NYM_S_SEEK_FAILED = NYM_S_SIZE_UNKNOWN;     // 0xC2000027, above the system's code
constexpr unsigned int NYM_S_FILE_NOT_OPEN = 0xC2000028u;
constexpr unsigned int NYM_S_FILE_ALREADY_OPEN = 0xC200005Du;
constexpr unsigned int NYM_S_TRUNCATE_FAILED = 0xC2000063u;        // above the system's code
constexpr unsigned int NYM_S_REGION_OVERLAPS = 0xC200008Au;        // argument: the path
constexpr unsigned int NYM_S_REGION_HELD_OTHERWISE = 0xC200008Bu;  // argument: the path
constexpr unsigned int NYM_S_LOCK_FAILED = 0xC200008Cu;            // above the system's code; argument: the path
constexpr unsigned int NYM_S_REGION_NOT_LOCKED = 0xC200008Du;      // argument: the path
constexpr unsigned int NYM_S_UNLOCK_FAILED = 0xC200008Eu;          // above the system's code; argument: the path

// How open treats a file that exists or doesn't.
enum Nym_file_open : int {
  NYM_FILE_MUST_EXIST = 0,  // open; NYM_S_FILE_NOT_FOUND if it isn't there
  NYM_FILE_OPEN_ALWAYS = 1,  // open, creating it if needed
  NYM_FILE_REPLACE = 2,      // empty an existing file, or create it; needs write access
  NYM_FILE_CREATE_NEW = 3    // create; the system refuses an existing file
};

enum Nym_file_lock : int { NYM_LOCK_SHARED = 0, NYM_LOCK_EXCLUSIVE = 1 };

// The `flags` bits of open; other bits are dropped.
constexpr unsigned int NYM_FILE_WRITE_THROUGH = 0x01;
constexpr unsigned int NYM_FILE_NO_BUFFERING = 0x02;
constexpr unsigned int NYM_FILE_RANDOM_ACCESS = 0x04;
constexpr unsigned int NYM_FILE_SEQUENTIAL_SCAN = 0x08;
constexpr unsigned int NYM_FILE_DELETE_ON_CLOSE = 0x10;
constexpr unsigned int NYM_FILE_BACKUP_SEMANTICS = 0x20;
// The `share` bits of open: what others may do while the file is open; other bits are dropped.
constexpr unsigned int NYM_SHARE_READ = 1;
constexpr unsigned int NYM_SHARE_WRITE = 2;
constexpr unsigned int NYM_SHARE_DELETE = 4;

class NYM_API Nym_file {
 public:
  // Closed.
  Nym_file();
  // Then the short or the long open. A null security means the system's default.
  Nym_file(const Wstring& path, Nym_file_access access, Nym_status& status, Nym_security* security = nullptr);
  Nym_file(const Wstring& path, Nym_file_open open_mode, Nym_file_access access, unsigned int flags,
           unsigned int share, Nym_status& status, Nym_security* security = nullptr);
  // close().
  ~Nym_file();
  Nym_file(const Nym_file&) = delete;
  Nym_file& operator=(const Nym_file&) = delete;

  // NYM_ACCESS_READ opens an existing file, others may read it; NYM_ACCESS_WRITE replaces or
  // creates it, unshared; NYM_ACCESS_READ_WRITE and NYM_ACCESS_ALL open an existing file,
  // unshared. No flags. Another access value raises std::logic_error "Nym_file::open - Unknown
  // file access mode". Reports as the long form.
  void open(const Wstring& path, Nym_file_access access, Nym_status& status, Nym_security* security = nullptr);
  // Opens `path` as `open_mode` says, with `flags` and `share` (the NYM_FILE_* and NYM_SHARE_*
  // bits). Every failure ends with NYM_S_FILE_OPEN_FAILED (the path) on top of its cause:
  // NYM_S_FILE_ALREADY_OPEN (the object stays open on its old path), NYM_S_EMPTY_FILE_NAME,
  // NYM_S_NOT_A_FILE, NYM_S_FILE_NOT_FOUND, NYM_S_REPLACE_NEEDS_WRITE (before any system call),
  // or the system's code. A failed open leaves the object closed.
  void open(const Wstring& path, Nym_file_open open_mode, Nym_file_access access, unsigned int flags,
            unsigned int share, Nym_status& status, Nym_security* security = nullptr);
  // Unlocks every region, closes the handle and forgets the path; never reports.
  void close();
  bool is_open() const;
  // The system's handle, all ones when closed; it stays the object's.
  void* handle() const { return m_handle; }
  // The path given to open, empty when closed.
  const Wstring& path() const { return m_path; }

  // Up to `count` bytes at the position, moved on by what came. NYM_S_END_OF_DATA, bare, at the
  // end of the file; a count of 0 reads nothing and reports nothing. NYM_S_FILE_NOT_OPEN, a
  // count above 0xFFFFFFFF (NYM_S_READ_FAILED) and the system's errors come with
  // NYM_S_READ_FAILED on top. Answers the bytes read, also on failure.
  uint64 read(void* buffer, uint64 count, Nym_status& status);
  // NYM_S_FILE_NOT_OPEN, a count above 0xFFFFFFFF (NYM_S_READ_FAILED) and the system's errors
  // come with NYM_S_WRITE_FAILED on top. Answers the bytes written.
  uint64 write(const void* buffer, uint64 count, Nym_status& status);
  // From the start, the position or the end (a mode out of range counts from the start); the
  // system refuses a negative position (131) and allows one beyond the end. NYM_S_SEEK_FAILED on
  // top of the system's code.
  void seek(Nym_seek_mode mode, int64 offset, Nym_status& status);
  void seek(int64 offset, Nym_status& status);
  // The position; 0 when closed or when the system can't tell.
  int64 tell() const;
  // The size; 0 when closed or when the system can't tell.
  int64 length() const;
  // Writes the system's buffers out: NYM_S_WRITE_FAILED on top of NYM_S_FILE_NOT_OPEN or of
  // the system's code.
  void flush(Nym_status& status) const;
  // Ends the file at the position, which may extend it. NYM_S_TRUNCATE_FAILED on top of the
  // system's code.
  void truncate(Nym_status& status) const;

  // The file's times as a reading in UTC, or in the local zone on a volume that names itself
  // "FAT" (which keeps local times). When a time can't be had the answer is Julian day 38 at
  // midnight in the local zone, with no other sign.
  void creation_time(Nym_date_and_time& time) const;
  void last_accessed_time(Nym_date_and_time& time) const;
  void last_modified_time(Nym_date_and_time& time) const;

  // Ties `security` to this file's handle; reports as Nym_security::associate_with_object.
  void add_security(Nym_security& security, Nym_status& status) const;

  // Locks `length` bytes from `start`, shared or exclusive. A region this object holds already
  // may be locked shared again (both shared: a count goes up); otherwise it gives
  // NYM_S_REGION_HELD_OTHERWISE, and a region that overlaps a held one without being the same
  // NYM_S_REGION_OVERLAPS. Held elsewhere, the lock is tried again every timeout_ms / 10 but at
  // least every 1000 ms, for as long as timeout_ms; the attempts are spaced by sleeps, and a
  // sleep follows the last one too, so a timeout of 0 makes one attempt and returns after a
  // second. Then NYM_S_LOCK_FAILED on top of the system's code. Raises std::invalid_argument
  // "Nym_file::lock - region length must be greater than 0" for a length below 1,
  // std::overflow_error "Stream position too large." for a region past the largest position,
  // std::underflow_error "Stream position going negative." for a negative start, and (once the
  // table allows the region) "i64 too positive for u32" for a length above 0xFFFFFFFF. Other
  // threads' lock and unlock on this object wait until it returns.
  void lock(Nym_file_lock type, int64 start, int64 length, unsigned int timeout_ms, Nym_status& status);
  // Releases one lock of exactly that region: NYM_S_REGION_NOT_LOCKED if there is none. The
  // system's lock goes with the last; if the system refuses (NYM_S_UNLOCK_FAILED on top of its
  // code), the region stays in the table and the next unlock tries again.
  void unlock(int64 start, int64 length, Nym_status& status);

  // A path's size by the C run-time, 0 on failure.
  static int64 length(const Wstring& path);
  // A path's times by the C run-time, in the local zone; the fallback as above.
  static void creation_time(const Wstring& path, Nym_date_and_time& time);
  static void last_accessed_time(const Wstring& path, Nym_date_and_time& time);
  static void last_modified_time(const Wstring& path, Nym_date_and_time& time);

  // Operations on names. Each clears the status first and reports its own code with its
  // arguments on top of the cause.

  // Copies a regular file: NYM_S_COPY_FAILED (from, to) on top of NYM_S_EMPTY_FILE_NAME (the
  // later empty path), NYM_S_FILE_NOT_FOUND (from), NYM_S_NOT_A_FILE (from, also when `to` is
  // a directory or device), NYM_S_TARGET_EXISTS (to) without overwrite, or the system's code.
  static void copy(const Wstring& from, const Wstring& to, bool overwrite, Nym_status& status);
  // Copies the files of from_dir that match the mask into to_dir, as copy does; with `recurse`
  // the matching subdirectories too (the mask picks them as well), creating what is missing.
  // Links to directories are not entered. A recursive copy into from_dir itself or below it is
  // refused with NYM_S_COPY_INTO_ITSELF (from_dir, to_dir) before anything is copied. Stops at
  // the first failure; a from_dir that can't be read copies nothing and reports nothing.
  static void copy_files(const Wstring& from_dir, const Wstring& mask, const Wstring& to_dir, bool recurse,
                         bool overwrite, Nym_status& status);
  // Moves (renames) a regular file, as copy reports, with NYM_S_MOVE_FAILED on top; anything at
  // `to` gives NYM_S_TARGET_EXISTS.
  static void move(const Wstring& from, const Wstring& to, Nym_status& status);
  // Deletes the files that match a path whose last part may hold wildcards (directories are
  // passed over; nothing matching is no error), clearing a read-only mark first when asked.
  // NYM_S_REMOVE_FAILED with the given path, on top of NYM_S_REMOVE_FAILED with the entry's
  // path on top of the system's code; the first failure ends it.
  static void remove(const Wstring& path, Nym_status& status, bool clear_read_only = false,
                     bool case_sensitive = false);
  // Deletes a file; one that a sharing violation (32) holds back is put on a list of the
  // process, and every call tries each path on the list once more, keeping only those that
  // are still held. The status is the first attempt's. The list lives in memory only.
  static void retry_remove(const Wstring& path, Nym_status& status);
  // Creates an empty file, or empties one, unshared; unbuffered writes it through. Reports as
  // open.
  static void create_empty_file(const Wstring& path, Nym_status& status, bool unbuffered = false);
  // A path in the directory (empty: Nym_directory::temp_directory()) with the extension that
  // nothing lies at yet: pid<process id>_<number>.<extension>. The file isn't created, so
  // another process may take the name first. Raises std::runtime_error "Nym_file::temp_name -
  // no free name." once all ten million numbers are taken.
  static Wstring temp_name(const Wstring& directory, const Wstring& extension);
  static Wstring temp_name(const Wstring& extension);

  // For callers who make temporary files: no operation of this library takes it.
  static Nym_read_write_semaphore m_temp_lock;

 private:
  struct Lock {
    Nym_file_lock type;
    int64 start;
    int64 length;
    unsigned int count;  // 0 after the system refused to unlock: the unlock is still owed
  };
  using Locks = std::vector<Lock>;

  Locks::iterator find_lock(int64 start, int64 length);
  bool have_overlap(int64 start, int64 length) const;
  bool lock_region(Nym_file_lock type, int64 start, int64 length, unsigned int timeout_ms, Nym_status& status);
  bool unlock_region(int64 start, int64 length, Nym_status& status);
  void unlock_all();
  void file_time(int which, Nym_date_and_time& time) const;

  Nym_critical m_lock;  // over m_locks
  Locks m_locks;
  Wstring m_path;
  void* m_handle;
};

namespace impl {

// Test seams, each installed for the whole process; each answers the one it replaces, and
// null puts the system's back.
// The name of the file system at a root such as c:\ (empty: the current directory's volume),
// false when it can't be had: what the times of an open file ask GetVolumeInformationW.
using Nym_file_system_name_query = bool (*)(const Wstring& root, Wstring& name);
NYM_API Nym_file_system_name_query nym_set_file_system_name_query(Nym_file_system_name_query query);
// The pause between two attempts of Nym_file::lock (Sleep).
using Nym_lock_pause = void (*)(unsigned int milliseconds);
NYM_API Nym_lock_pause nym_set_lock_pause(Nym_lock_pause pause);
// Test-only: cuts writes, to show what a failed or interrupted write leaves on disk. Asked
// before every write with the file's path and count, it answers how many of those bytes reach
// the file. Fewer than asked: the write fails after them with the system's "disk full" (112),
// or, when the hook sets `stop`, the process ends at once after them, as in a crash.
using Nym_write_fault = uint64 (*)(const Wstring& path, uint64 count, bool& stop);
NYM_API Nym_write_fault nym_set_write_fault(Nym_write_fault fault);

}  // namespace impl

}  // namespace nym

#endif
