// Nym_profile_access: the read-write view of a profile file (the format: nym/profile_reader.h).
// Windows only.
//
// open loads the whole file into a cache of sections; edits change only the cache, and
// commit_changes writes it back over the file after copying the old content to a backup
// (path.bak; on later commits the backup before goes to path.1 while the new one is made, and
// then away). abort_changes goes back to the last commit, rollback to what the file held
// before it (one commit deep), and close commits and removes the backup.
//
// On disk, should the process die: during the backup copy the profile is intact; during the
// write the backup holds the content before this commit, written through; after a commit the
// new file and its backup; after close the new file alone. If the write of a commit fails, the
// backup is kept (the destructor, close and a retried commit leave it), and abort_changes and
// rollback bring it back.
//
// The cache keeps comments (as items whose key is the line) but no blank lines; a written file
// is the mark FF FE, then per section its header, its items and one empty line, with CR LF. A
// read-write open holds the file exclusively until close; read-only objects share it. An object
// belongs to one thread.
#ifndef NYM_PROFILE_ACCESS_H
#define NYM_PROFILE_ACCESS_H

#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "nym/file.h"
#include "nym/profile_reader.h"

namespace nym {

namespace impl {
struct Profile_section;
}

constexpr unsigned int NYM_S_SECTION_EXISTS = 0xC2000056u;         // arguments: section, path
constexpr unsigned int NYM_S_PROFILE_ACCESS_NOT_OPEN = 0xC200005Bu;
constexpr unsigned int NYM_S_PROFILE_READ_ONLY = 0xC200005Cu;

class NYM_API Nym_profile_access {
 public:
  // Closed, wide.
  Nym_profile_access();
  // open.
  Nym_profile_access(const Wstring& path, Nym_file_open open_mode, Nym_file_access access, Nym_status& status,
                     bool wide = true);
  // Drops uncommitted changes and removes the backup (unless a failed write left it the only
  // intact copy); doesn't commit.
  ~Nym_profile_access();
  Nym_profile_access(const Nym_profile_access&) = delete;
  Nym_profile_access& operator=(const Nym_profile_access&) = delete;

  // Closes an earlier file first (stops if that fails), opens `path` as `open_mode` says (write
  // access counts as read-write; shared with readers only when read-only) and loads the cache.
  // The file's reports pass through.
  void open(const Wstring& path, Nym_file_open open_mode, Nym_file_access access, Nym_status& status,
            bool wide = true);
  // commit_changes; if that failed the object stays open. Otherwise removes the backup (a
  // failure to do so isn't reported) and closes the file.
  void close(Nym_status& status);
  // With changes: the backup, then the cache written over the file. A failed backup leaves the
  // file untouched; a failed write keeps the changes and the backup.
  void commit_changes(Nym_status& status);
  // With changes, the file loaded again; the current section is the first.
  void abort_changes(Nym_status& status);
  // The backup copied back over the file and removed, then loaded; without a backup, as
  // abort_changes.
  void rollback(Nym_status& status);

  // Every section name in file order; the vector is emptied first.
  void get_section_list(std::vector<Wstring>& names, Nym_status& status) const;
  // The first section of that name, case aside; the current name keeps the caller's spelling.
  // NYM_S_SECTION_NOT_FOUND (name, path).
  void set_current_section(const Wstring& name, Nym_status& status);

  // Navigation: NYM_S_PROFILE_ACCESS_NOT_OPEN, NYM_S_NO_CURRENT_SECTION, then as stated.
  void reset_section_position(Nym_status& status);
  // True with no current section, or when no entry lies at or after the current item.
  bool end_of_entries() const;
  // The current item, comment or not; NYM_S_NO_SUCH_ENTRY (section, path) past the last.
  void get_current_entry(std::pair<Wstring, Wstring>& entry, Nym_status& status) const;
  // One step on, then past all that aren't entries; NYM_S_NO_SUCH_ENTRY past the last.
  void move_to_next_entry(Nym_status& status);
  // Forward from the current item to the first whose key matches case aside;
  // NYM_S_NO_SUCH_ENTRY if none (the current item stays).
  void move_to_key(const Wstring& key, Nym_status& status);

  // Edits report NYM_S_PROFILE_ACCESS_NOT_OPEN, NYM_S_PROFILE_READ_ONLY and, where a section is
  // needed, NYM_S_NO_CURRENT_SECTION, in that order.
  // Inserts before the current item, which stays current (so inserts land in order).
  void insert_entry(const std::pair<Wstring, Wstring>& entry, Nym_status& status);
  // Erases the current item; its successor becomes current. NYM_S_NO_SUCH_ENTRY past the last.
  void delete_entry(Nym_status& status);
  // Appends an empty section and makes it current; an existing one (case aside) becomes current
  // with NYM_S_SECTION_EXISTS (name, path).
  void create_new_section(const Wstring& name, Nym_status& status);
  // Appends a copy of the current section under a new name; NYM_S_SECTION_EXISTS if taken.
  // The status isn't cleared first.
  void copy_section(const Wstring& new_name, Nym_status& status);
  // Renames the current section; NYM_S_SECTION_EXISTS if another has the name. The status isn't
  // cleared first.
  void rename_section(const Wstring& new_name, Nym_status& status);
  // Erases the current section; the next one (or none) becomes current, at its first item.
  void delete_section(Nym_status& status);

  // Ties `security` to the open file; reports as Nym_file::add_security.
  void add_security(Nym_security& security, Nym_status& status);

 private:
  using Entries = std::list<std::pair<Wstring, Wstring>>;

  void load_cache(Nym_status& status);
  void write_cache(Nym_status& status);
  void clear_cache();
  void create_backup_file(Nym_status& status);
  void restore_backup_file(Nym_status& status);
  void delete_backup_file(Nym_status& status);

  // The checks the operations share. Only the navigation's clear the status first.
  bool check_open(Nym_status& status) const;
  bool check_edit(Nym_status& status, bool needs_section) const;
  bool check_navigation(Nym_status& status) const;
  // check_navigation, then NYM_S_NO_SUCH_ENTRY at the list's end.
  bool check_item(Nym_status& status) const;
  bool has_section() const { return m_current < m_sections.size(); }
  Entries& entries() const;
  std::size_t find_section(const Wstring& name) const;
  void skip_non_entries();
  void no_such_entry(Nym_status& status) const;

  bool m_open = false;
  bool m_dirty = false;
  bool m_read_only = false;
  bool m_wide = true;
  // A commit's write failed: the backup holds the last committed content and the file may not.
  bool m_backup_only_copy = false;
  Wstring m_path;
  Wstring m_backup_path;
  Nym_file m_file;
  std::vector<std::unique_ptr<impl::Profile_section>> m_sections;
  Wstring m_current_name;
  // Positions are an index and a list iterator: the vector's growth moves no list, and every
  // edit that erases a list re-points the iterator.
  std::size_t m_current = 0;  // the vector's size means none
  Entries::iterator m_entry;
};

}  // namespace nym

#endif
