// Directories: walking one directory's entries by mask (Nym_directory_iterator), the static
// operations on directories (Nym_directory: create, remove, rename, list, count, the
// temporary directory) and the search for files along a search path. Windows only.
//
// Masks are the system's: "*" any run, "?" one unit, compared without regard to case; "*.*"
// is taken as "*", so it finds names without a dot too. A case-sensitive iterator also
// holds every name the system found to the mask by exact units (nym_string_match's rule, with
// one unit for "?"), so that A* skips a1.
//
// None of these objects has a lock: an iterator belongs to one thread. Nym_directory::create
// serialises itself with a lock of its own; temp_directory settles once per process.
#ifndef NYM_DIRECTORY_H
#define NYM_DIRECTORY_H

#include <vector>

#include "nym/path.h"
#include "nym/status.h"

namespace nym {

constexpr unsigned int NYM_S_NOT_A_DIRECTORY = 0xC200002Cu;            // argument: the path
constexpr unsigned int NYM_S_DIRECTORY_CREATE_FAILED = 0xC200002Du;    // above the cause; argument: the path
constexpr unsigned int NYM_S_DIRECTORY_REMOVE_FAILED = 0xC200002Eu;    // above the cause; argument: the path
constexpr unsigned int NYM_S_TARGET_DIRECTORY_EXISTS = 0xC200002Fu;    // argument: the new path
constexpr unsigned int NYM_S_DIRECTORY_RENAME_FAILED = 0xC2000030u;    // above the cause; arguments: old, new
constexpr unsigned int NYM_S_DIRECTORY_SCAN_START_FAILED = 0xC2000061u;  // above the cause; argument: the directory
constexpr unsigned int NYM_S_DIRECTORY_SCAN_FAILED = 0xC2000062u;      // above the cause; argument: the directory
constexpr unsigned int NYM_S_DIRECTORY_NOT_FOUND = 0xC2000084u;        // argument: the path
constexpr unsigned int NYM_S_ROOT_CREATE_FAILED = 0xC2000085u;         // argument: the missing root
constexpr unsigned int NYM_S_DIRECTORY_NOT_EMPTY = 0xC2000086u;        // argument: the path

// One entry of a directory: its bare name, whether it is a directory, and whether it is a
// link (a junction or a symbolic link: the system's reparse points), which the operations
// that walk a tree never enter.
struct Nym_file_info {
  Wstring name;
  bool directory = false;
  bool link = false;
};

// Walks the entries of one directory that match a mask, reading ahead: after construction it
// stands on the first entry, or at the end. Entries come in the system's order; "." and ".."
// are never shown. At the end `end()` is true and the entry's name is empty.
//
// `status()` is the iterator's own: a clear status at a normal end; a scan that can't start
// (no such directory, or no entry matches the mask: the system's 3 or 2) ends it at once with
// NYM_S_DIRECTORY_SCAN_START_FAILED and the directory above the cause; a failure later on
// ends it with NYM_S_DIRECTORY_SCAN_FAILED. After a failure ++ does nothing.
//
// Each iterator owns its scan: a copy opens a scan of its own and stands on the same entry
// (or at the end, if that entry has gone meanwhile).
class NYM_API Nym_directory_iterator {
 public:
  // An empty directory is the working directory.
  Nym_directory_iterator(const Wstring& directory, const Wstring& mask, bool case_sensitive);
  Nym_directory_iterator(const Nym_directory_iterator& other);
  Nym_directory_iterator(Nym_directory_iterator&& other) noexcept;
  ~Nym_directory_iterator();
  Nym_directory_iterator& operator=(const Nym_directory_iterator& other);
  Nym_directory_iterator& operator=(Nym_directory_iterator&& other) noexcept;

  // The same directory text and entry name, by exact units.
  bool operator==(const Nym_directory_iterator& other) const;
  bool operator!=(const Nym_directory_iterator& other) const { return !(*this == other); }
  const Nym_file_info& operator*() const { return m_info; }
  const Nym_file_info* operator->() const { return &m_info; }
  Nym_directory_iterator& operator++();

  // Still on the first entry (only dot entries passed).
  bool begin() const { return m_begin; }
  bool end() const { return m_end; }
  const Nym_status& status() const { return m_status; }
  // The directory, with a trailing separator.
  const Wstring& directory() const { return m_directory; }

 protected:
  // Directories but "." and ".." and every file; an empty name never.
  bool is_good_match(const Wstring& name, bool is_directory) const;

 private:
  void goto_start();
  void goto_next();
  // The next entry the mask allows, or the end; false at the end or on a failure.
  bool next_entry();
  void set_entry(const Wstring& name, unsigned int attributes);
  void take(const Nym_directory_iterator& other);
  void close();

  Wstring m_directory;
  bool m_end;
  bool m_begin;
  Nym_file_info m_info;
  void* m_find;
  Wstring m_mask;
  bool m_case_sensitive;
  Nym_status m_status;
};

// Static operations on directories. An empty path argument is a programming fault and raises
// std::invalid_argument "Nym_directory::<operation> - empty <argument>.".
class NYM_API Nym_directory {
 public:
  Nym_directory() = delete;

  // Creates the directory and every missing parent, top down (as mkdir -p); an existing
  // directory is success. A relative path is created in the working directory, a path under
  // \\server\share\ below the share. NYM_S_NOT_A_DIRECTORY if something else stands at the
  // path or at a parent (that parent's path); NYM_S_DIRECTORY_CREATE_FAILED (the path of the
  // level that failed) above the system's code; NYM_S_ROOT_CREATE_FAILED when the drive or
  // share itself is missing. A parent that another process makes meanwhile is a failure.
  static void create(const Wstring& path, Nym_status& status);
  // Removes an empty directory: NYM_S_DIRECTORY_REMOVE_FAILED (the path) above the system's code.
  static void remove(const Wstring& path, Nym_status& status);
  // Removes the entries of the directory that match the mask (not case-sensitive), and keeps
  // the directory. Files go with their read-only mark cleared. With `recurse`, a matching
  // subdirectory is emptied by the same mask and removed; without, only an empty one goes
  // and a full one stays without complaint. A link to a directory is removed, never entered,
  // so nothing outside the tree is touched. Stops at the first failure.
  static void remove_contents(const Wstring& path, const Wstring& mask, bool recurse, Nym_status& status);
  // Renames (moves) a directory; a trailing separator on either path changes nothing.
  // NYM_S_NOT_A_DIRECTORY (old) unless the old path is a directory. Something at the new path:
  // with `overwrite` a file is removed, a directory only if it is empty; without,
  // NYM_S_TARGET_DIRECTORY_EXISTS (new). NYM_S_DIRECTORY_RENAME_FAILED (old, new) above the
  // system's code.
  static void rename(const Wstring& old_dirpath, const Wstring& new_dirpath, bool overwrite, Nym_status& status);
  // Tells through the status whether the directory is empty: clear if it is,
  // NYM_S_DIRECTORY_NOT_EMPTY if not, NYM_S_DIRECTORY_NOT_FOUND or NYM_S_NOT_A_DIRECTORY.
  static void empty(const Wstring& path, Nym_status& status);
  // Whether any entry matches a path whose last part is a mask (c:\logs\*.txt; a plain
  // c:\logs asks for the entry logs in c:\). A mask ending in a separator finds nothing.
  static bool exist(const Wstring& mask, bool case_sensitive = false);
  // The bare names (no directory) of up to max_count entries matching such a mask,
  // subdirectories included; a failure of the scan gives fewer names and isn't reported.
  static void list(const Wstring& mask, std::vector<Wstring>& names, unsigned int max_count,
                   bool case_sensitive = false);
  // The entries of the directory that match the mask, subdirectories included; 0 with
  // NYM_S_DIRECTORY_NOT_FOUND or NYM_S_NOT_A_DIRECTORY.
  static unsigned int count_files(const Wstring& path, Nym_status& status, const Wstring& mask = u"*",
                                  bool case_sensitive = false);
  // The temporary directory, with a trailing separator, settled by the first call for the
  // life of the process (later changes of the environment don't count): the environment's
  // QX_TMP, else TMP, else the value TMP of HKEY_USERS\.DEFAULT\Environment (expanded when it
  // is REG_EXPAND_SZ; a value of another type gives the empty path, the working directory),
  // else C:\. Safe from any thread.
  static const Wstring& temp_directory();
  // The working directory, at any length; empty if the system can't tell.
  static Wstring working_directory();

 private:
  static const Nym_path* m_temp_dir_p;
};

// The first directory of a search path (";" between directories, as nym_parse_path reads it)
// that holds a regular file of that name: its full path in `result`, or empty when none does.
NYM_API void nym_find_file(const Wstring& search_path, const Wstring& filename, Wstring& result);
// Every regular file with the extension (every file for an empty one) in each directory,
// directory by directory, as full paths. Directories that can't be read are passed over.
NYM_API void nym_find_files(const Wstring& search_path, const Wstring& extension, std::vector<Wstring>& result);
NYM_API void nym_find_files(const std::vector<Wstring>& directories, const Wstring& extension,
                            std::vector<Wstring>& result);

namespace impl {

// Test seam, installed for the whole process: given an entry's full path and the attributes
// the system found, answers the attributes the iterator goes by (Wine makes no junctions or
// symbolic links, so tests mark directories as links here). Answers the one it replaces;
// null puts the system's answer back.
using Nym_entry_attributes = unsigned int (*)(const Wstring& path, unsigned int attributes);
NYM_API Nym_entry_attributes nym_set_entry_attributes(Nym_entry_attributes filter);

// The temporary directory's chain as it reads now, without settling it for the process.
NYM_API Nym_path nym_temp_directory_chain();

}  // namespace impl

}  // namespace nym

#endif
