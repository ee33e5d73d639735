// Nym_profile_reader: read-only access to a profile file, one section at a time. Windows only.
//
// A profile is the library's configuration file: 16-bit little-endian text (written with the
// mark FF FE first), [section] headers, key = value lines split at the first '=' not preceded
// by a backslash, each side trimmed and then unescaped (\= \0A \0D \5C), and comments whose
// first unit is ';'. Lines before the first header belong to no section.
//
// open reads the list of headers (any line end) with their byte offsets; set_current_section
// reads one section's body (lines ended by CR LF alone, so a file without CR LF lists its
// sections and yields no entries) and keeps it as the current entries: every line of the body,
// a comment as (line, empty) and a blank line as (empty, empty). Navigation steps over all that
// aren't entries (a non-empty key that isn't a comment). The file is opened with read sharing;
// an object belongs to one thread.
#ifndef NYM_PROFILE_READER_H
#define NYM_PROFILE_READER_H

#include <utility>
#include <vector>

#include "nym/file_buffer.h"

namespace nym {

constexpr unsigned int NYM_S_PROFILE_NOT_OPEN = 0xC200004Fu;       // argument: the path, or none
constexpr unsigned int NYM_S_SECTION_NOT_FOUND = 0xC2000051u;      // arguments: section, path
constexpr unsigned int NYM_S_NO_CURRENT_SECTION = 0xC2000052u;
constexpr unsigned int NYM_S_NO_SUCH_ENTRY = 0xC2000054u;          // or past the last; arguments: section, path
constexpr unsigned int NYM_S_PROFILE_READ_FAILED = 0xC2000058u;    // above the cause; arguments: section, path
constexpr unsigned int NYM_S_PROFILE_OPEN_FAILED = 0xC2000059u;    // above the cause; argument: the path

class NYM_API Nym_profile_reader {
 public:
  // Closed, wide.
  Nym_profile_reader();
  // Clears the status, then open.
  Nym_profile_reader(const Wstring& path, Nym_status& status, bool wide = true);
  // close, into a status of its own.
  virtual ~Nym_profile_reader();
  Nym_profile_reader(const Nym_profile_reader&) = delete;
  Nym_profile_reader& operator=(const Nym_profile_reader&) = delete;

  // Opens an existing file for reading, shared with other readers, and reads its section list.
  // A failed open gives NYM_S_PROFILE_OPEN_FAILED (the path) above the file's report; a failed
  // read NYM_S_PROFILE_READ_FAILED. `wide` picks xreadln or wreadln_le, which read alike here.
  virtual void open(const Wstring& path, Nym_status& status, bool wide = true);
  // Closes the file and forgets the path and section list; the current section name and
  // entries stay until the next use.
  virtual void close(Nym_status& status);
  // Makes the first section of that name, case aside, current (the name takes the file's
  // spelling) and reads its entries; position at the first entry. NYM_S_SECTION_NOT_FOUND
  // (name, path), also on a closed reader; NYM_S_PROFILE_READ_FAILED.
  virtual void set_current_section(const Wstring& name, Nym_status& status);

  // Appends the section names in file order, duplicates included; NYM_S_PROFILE_NOT_OPEN (path).
  void get_section_list(std::vector<Wstring>& names, Nym_status& status) const;

  // Navigation. Each reports, in this order: NYM_S_PROFILE_NOT_OPEN (no argument, but the path
  // from reset_section_position), NYM_S_NO_CURRENT_SECTION, then as stated.
  // The key and value at the position; NYM_S_NO_SUCH_ENTRY past the last entry.
  void get_current_entry(std::pair<Wstring, Wstring>& entry, Nym_status& status) const;
  // Whether no entry lies at or after the position.
  bool end_of_entries() const;
  // One step on, then past all that aren't entries; NYM_S_NO_SUCH_ENTRY past the last entry.
  void move_to_next_entry(Nym_status& status);
  // From the first item, the first whose key matches case aside (a comment's line counts);
  // NYM_S_NO_SUCH_ENTRY, with the position past the last, if none is an entry from there.
  void move_to_key(const Wstring& key, Nym_status& status);
  // To the first entry.
  void reset_section_position(Nym_status& status);

 protected:
  // The headers and their byte offsets, both vectors emptied first.
  void get_section_list(std::vector<Wstring>& names, std::vector<int64>& offsets, Nym_status& status) const;
  // Reads a line from `input`; true if it is a header, with its name.
  bool get_section_header(Nym_istream& input, Wstring& name, Nym_status& status) const;
  // A read error other than the end of the data or of a piece gets NYM_S_PROFILE_READ_FAILED.
  void read_status_check(Nym_status& status, const Wstring& path) const;

 private:
  void add_to_key_value_pairs(const Wstring& key, const Wstring& value);
  void get_key_value_pairs(Nym_status& status);
  // The checks the navigation shares: open, then a current section.
  bool navigable(Nym_status& status, bool path_argument) const;
  void skip_non_entries();

  bool m_open = false;
  bool m_wide = true;
  Wstring m_path;
  Wstring m_section;
  std::vector<std::pair<Wstring, Wstring>> m_entries;
  std::size_t m_position = 0;  // an index: the list's size means past the last
  Nym_file_buffer m_file;
  std::vector<Wstring> m_section_names;
  std::vector<int64> m_section_offsets;
};

}  // namespace nym

#endif
