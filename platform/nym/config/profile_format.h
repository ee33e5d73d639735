// The profile file format (internal): its line rules, and the reads and writes of whole files
// that Nym_profile_reader and Nym_profile_access share.
//
// A profile is 16-bit little-endian text: [section] headers, key = value lines with the escapes
// \= \0A \0D \5C, comments starting with ';'. Portable (it reads and writes any Nym_buffer), so
// the host build tests it under the sanitizers; exported for the tests alone.
#ifndef NYM_CONFIG_PROFILE_FORMAT_H
#define NYM_CONFIG_PROFILE_FORMAT_H

#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "nym/istream.h"
#include "nym/ostream.h"

namespace nym::impl {

using Profile_entry = std::pair<Wstring, Wstring>;
using Profile_entries = std::list<Profile_entry>;

// One section of the editor's cache: its name and every item of its body but the blank lines;
// a comment is an item whose key is the line.
struct Profile_section {
  Wstring name;
  Profile_entries entries;
};
using Profile_sections = std::vector<std::unique_ptr<Profile_section>>;

// A line is read in pieces of this many units, and the pieces are joined.
constexpr uint64 PROFILE_LINE_PIECE = 1024;

// A key that starts with ';'.
NYM_API bool profile_is_comment(const Wstring& key);
// A key that isn't empty and isn't a comment.
NYM_API bool profile_is_entry(const Wstring& key);

// \= \0A \0D \5C decoded; any other backslash stands for itself.
NYM_API Wstring profile_unescape(const Wstring& text);
// The written form of a value: unescape gives every text back.
NYM_API Wstring profile_escape(const Wstring& text);
// The written form of a key: as a value's, except that a backslash which would stand before the
// separating or an escaped '=' is written \5C, so that the split finds the right '='.
NYM_API Wstring profile_escape_key(const Wstring& text);
// A line as a key and a value: a comment (first unit ';') whole as key; otherwise split at the
// first '=' not preceded by a backslash, each side trimmed and then unescaped.
NYM_API void profile_split_line(const Wstring& line, Wstring& key, Wstring& value);
// The line an item is written as: a comment verbatim, anything else key=value escaped.
NYM_API Wstring profile_entry_line(const Profile_entry& entry);
// The same, appended to `out`.
NYM_API void profile_append_entry_line(const Profile_entry& entry, Wstring& out);
// Whether a trimmed line is a header, as the reader sees it ([name], or U+FEFF then [name]); the
// name is what stands between the brackets, untouched.
NYM_API bool profile_header(const Wstring& trimmed, Wstring& name);

// One line, in pieces of PROFILE_LINE_PIECE, joined. NYM_S_END_OF_DATA at the end; a last line
// without its line end comes with a clear status. `wide` picks xreadln or wreadln_le, which read
// the same units here.
NYM_API void profile_read_line(Nym_istream& input, bool wide, Wstring& line, Nym_status& status);

// The reader's section list: every header line (any line end) with its byte offset. The read
// error, if any, is left in the status; the end of the data is not one.
NYM_API void profile_scan_sections(const Nym_buffer& file, bool wide, std::vector<Wstring>& names,
                                   std::vector<int64>& offsets, Nym_status& status);
// The reader's section body: the items after the first header named `section` (case aside),
// lines ended by CR LF alone, up to the next header or the end of the data. `entries` is
// emptied first; a file without the header yields none.
NYM_API void profile_read_section(const Nym_buffer& file, bool wide, const std::vector<Wstring>& names,
                                  const std::vector<int64>& offsets, const Wstring& section,
                                  std::vector<Profile_entry>& entries, Nym_status& status);

// The editor's cache from the whole file (any line end): blank lines, lines of one unit and the
// lines before the first header are dropped. `sections` is emptied first.
NYM_API void profile_load(const Nym_buffer& file, bool wide, Profile_sections& sections, Nym_status& status);
// The cache as a file from position 0: the mark FF FE, each section's header, items and an
// empty line, with CR LF. `end` is the position reached, where the caller cuts the file.
NYM_API void profile_write(Nym_buffer& file, bool wide, const Profile_sections& sections, int64& end,
                           Nym_status& status);

// Whether two names are one to the profile: same length, equal without regard to case.
NYM_API bool profile_same_name(const Wstring& a, const Wstring& b);

}  // namespace nym::impl

#endif
