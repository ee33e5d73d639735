// Nym_path: the library's file path value, and two helpers for the process's search path.
//
// A path is one wide string plus three separators of its own: the path separator (backslash),
// the drive separator (colon) and the extension separator (full stop). Nothing is split or
// cached: every query searches the text, every setter edits it in place. The class knows the
// Windows forms (c:\a, c:a, \a, \\server\share\a) and touches the file system in `absolute`
// only; everything else is text work and behaves the same on every platform.
//
// Vocabulary. A path has a drive when its first drive separator stands at index 1 (the letter
// itself is not checked there), a UNC when it starts with two path separators. The filename
// follows the last path separator; a text ending in one is a directory path, any other
// non-empty text a file path. The extension is what follows the last extension separator of
// the filename, unless that separator starts the filename (".profile" has none; "a." has an
// empty one). The raw levels are the pieces between single separators after the leading ones
// (c:, a, b in c:\a\b; srv, share, a in \\srv\share\a); the levels exclude the drive (one raw
// level) or the UNC (two): the directories and, last, the file. The last level of a file path
// reads as its base, without the extension.
//
// Separators belong to one object: the copy constructor gives the copy the default
// separators, assignment copies the text only and keeps the target's, and so every operation
// that answers a Nym_path by value answers it with the defaults. The text is not kept
// simplified: the constructors (but the default and copy ones) and `cd` simplify, assignment
// and the setters do not.
//
// Failures are programming faults and raise: std::invalid_argument for a bad drive letter or
// an empty server or share name, Nym_path::No_unc for a UNC setter on a path without one,
// std::range_error "level index out of range." for a level that is not there. A setter that
// raises leaves the path as it was.
//
// A Nym_path has no lock: concurrent reads are safe, a write needs the caller's exclusion.
#ifndef NYM_PATH_H
#define NYM_PATH_H

#include <stdexcept>
#include <type_traits>
#include <vector>

#include "nym/types.h"

namespace nym {

class NYM_API Nym_path {
 public:
  // A UNC setter (`server`, `share`) on a path without a UNC: "Path does not have a UNC.".
  class NYM_API No_unc : public std::logic_error {
   public:
    explicit No_unc(const Nstring& message) : std::logic_error(message) {}
  };

  // The constructors with parts join them and simplify. A directory joins as it is when it is
  // empty or one backslash, otherwise with a backslash after it; the drive and UNC forms
  // root it (\dir\). An empty extension adds no separator. The drive forms raise
  // std::invalid_argument "Invalid drive letter." unless the letter is ASCII; the UNC forms
  // "Server or share name is empty.".
  Nym_path();
  // Copies the text; the copy has the default separators.
  Nym_path(const Nym_path& other);
  explicit Nym_path(const Wstring& path);
  Nym_path(const Wstring& directory, const Wstring& filename);
  Nym_path(const Wstring& directory, const Wstring& base, const Wstring& extension);
  Nym_path(const Wstring& server, const Wstring& share, const Wstring& directory, const Wstring& filename);
  Nym_path(const Wstring& server, const Wstring& share, const Wstring& directory, const Wstring& base,
           const Wstring& extension);
  Nym_path(Wchar drive, const Wstring& directory, const Wstring& filename);
  Nym_path(Wchar drive, const Wstring& directory, const Wstring& base, const Wstring& extension);
  ~Nym_path() = default;

  // Text only: the separators stay the target's, and the text is not simplified.
  Nym_path& operator=(const Nym_path& other);
  Nym_path& operator=(const Wstring& text);

  static Wchar default_path_separator() { return u'\\'; }
  // Appends a backslash (literally, not an object's separator) to a non-empty string that
  // does not end in one.
  static void append_path_separator(Wstring& s);
  // Whether s is "." or "..".
  static bool is_dot_directory(const Wstring& s);

  // Queries. Absent parts are empty; the extension does not include its separator.
  bool empty() const { return m_text.empty(); }
  bool has_drive() const;
  bool has_unc() const;
  bool has_extension() const;
  // Whether at least one level is a directory: c:\f and \f have none, a\f and c:\a\ one.
  bool has_directory() const;
  // A drive, a UNC or a leading separator; c:a counts as absolute.
  bool is_absolute() const;
  bool is_relative() const { return !is_absolute(); }
  bool is_file_path() const;
  // True for the empty path too.
  bool is_directory_path() const { return !is_file_path(); }
  // The drive letter, or a blank when there is no drive.
  Wchar drive() const;
  Wchar drive_separator() const { return m_drive_separator; }
  Wchar extension_separator() const { return m_extension_separator; }
  Wchar path_separator() const { return m_path_separator; }
  Wstring filename() const;
  Wstring base() const;
  Wstring extension() const;
  // From the separator before the first directory to the one after the last: \a\b\ in
  // c:\a\b\f. The directory of \f is \, that of c:\f is empty.
  Wstring directory() const;
  Wstring server() const;
  Wstring share() const;
  // \\server\share, or empty without a UNC.
  Wstring unc() const;
  uint64 levels() const;
  // 1 when level n exists, else 0.
  uint64 legal(uint64 n) const;
  // Level n; the last level of a file path is its base. A missing level raises
  // std::range_error.
  Wstring operator[](uint64 n) const { return level(n, false); }
  // Any other integer picks the same; without it p[0] would be ambiguous with the built-in
  // subscript of `const Wchar*`. A negative n is out of range.
  template <class T, class = std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, uint64>>>
  Wstring operator[](T n) const {
    return level(static_cast<uint64>(n), false);
  }
  operator const Wstring&() const { return m_text; }
  operator const Wchar*() const { return m_text.c_str(); }

  // Setters. Each answers the path itself.
  // Validates the letter. With a drive, replaces the letter; otherwise drops any UNC and puts
  // letter and drive separator in front, with a separator at the end of a text that does not
  // start with one: a\b becomes c:a\b\, the empty path c:\.
  Nym_path& drive(Wchar letter);
  Nym_path& drive_separator(Wchar c);
  Nym_path& remove_drive();
  // Replaces the server and share, or drops the drive and puts \\server\share in front.
  // Either name empty: std::invalid_argument "UNC server or share name is empty.".
  Nym_path& unc(const Wstring& server, const Wstring& share);
  // No UNC: No_unc. Empty name: std::invalid_argument "Server name cannot be empty." or
  // "Share name cannot be empty.". A share that is not there: std::range_error.
  Nym_path& server(const Wstring& name);
  Nym_path& share(const Wstring& name);
  // Drops \\server\share, keeping the separator after the share; \\srv alone raises
  // std::range_error.
  Nym_path& remove_unc();
  // Replaces the directory part; rooted (\dir\) when there is a drive or a UNC.
  Nym_path& directory(const Wstring& text);
  Nym_path& filename(const Wstring& text);
  Nym_path& base(const Wstring& text);
  // An empty text removes the extension and its separator; a path without one gains both.
  Nym_path& extension(const Wstring& text);
  Nym_path& remove_extension();
  // Each changes the field and the units of the text that play that part.
  Nym_path& extension_separator(Wchar c);
  Nym_path& path_separator(Wchar c);
  // Replaces level n; the last level of a file path is its base, so the extension stays.
  Nym_path& level(uint64 n, const Wstring& text);
  // So that a literal does not turn into the bool of the protected level(n, raw).
  Nym_path& level(uint64 n, const Wchar* text) { return level(n, Wstring(text)); }

  // Relations. `simplify` normalises in place: slashes and backslashes become the path
  // separator, empty and "." levels go, and a ".." takes the level before it with it when a
  // level other than ".." precedes it (on a path with a drive, not counting the drive, so
  // c:\..\b stays). The last piece of a text without a trailing separator is never looked at
  // (a\.. stays; a\..\ becomes empty), a leading .. stays, and on a UNC path the share and
  // the server are levels like any other (\\s\sh\..\b gives \\s\b).
  void simplify();
  Nym_path simplified() const;
  // Descends: a dir without a leading separator goes before the filename, one with it
  // replaces the directory; then simplifies. c:\a\f.txt with .. gives c:\f.txt.
  Nym_path& cd(const Wstring& dir);
  Nym_path cd(const Wstring& dir) const;
  // The full path from the system (GetFullPathNameW), not simplified further; an empty path
  // stays empty. A failure raises std::filesystem::filesystem_error. Windows only.
  void absolute();
  Nym_path to_absolute() const;
  // Makes the path relative to the directory `base`: c:\a\b\f.txt against c:\a\c gives
  // ..\b\f.txt. Both must be absolute, else std::invalid_argument "Both paths should be
  // absolute." with the path unchanged; a different drive letter (exactly compared) or UNC
  // leaves the path as it is. Levels compare by exact code units.
  void relative_to(const Wstring& base);
  Nym_path relative_to(const Wstring& base) const;
  // c:\ or \\server\share\, with this path's separator; empty for other paths.
  Wstring file_system_root() const;
  // The root followed by the directory: c:\a\b\ for c:\a\b\f.txt, a\ for a\f.
  Wstring root_and_directory() const;

  // Exact code units; no case folding, no simplification, separators ignored.
  bool operator==(const Nym_path& other) const { return m_text == other.m_text; }
  bool operator==(const Wstring& other) const { return m_text == other; }
  bool operator!=(const Nym_path& other) const { return m_text != other.m_text; }
  bool operator!=(const Wstring& other) const { return m_text != other; }
  // Units as unsigned numbers, then the shorter text first.
  bool operator<(const Nym_path& other) const { return m_text < other.m_text; }
  bool operator<(const Wstring& other) const { return m_text < other; }

 protected:
  void init_separators();
  // Appends a separator to a non-empty s that lacks one; with `leading`, puts one in front
  // too (the empty s becomes one separator). One separator alone is left as it is.
  void directory_form(Wstring& s, bool leading) const;
  static void validate_drive_letter(Wchar c);
  // The separators after the leading ones: 2 in c:\a\b and in \\s\sh\d.
  uint64 absolute_levels() const;
  uint64 find_filename() const;
  uint64 find_extension_separator() const;
  // Start and length of raw level n; a missing level raises std::range_error.
  uint64 find_level(uint64 n, uint64& len) const;
  uint64 find_directory(uint64& len) const;
  Wstring level(uint64 n, bool raw) const;
  // \\server\share with this path's separator; an empty name raises std::invalid_argument
  // "Server or share name is empty.".
  Wstring make_unc(const Wstring& server, const Wstring& share) const;

 private:
  // A copy that keeps this path's separators, for setters that must not half-apply.
  Nym_path twin() const;
  // The raw levels a drive (1) or a UNC (2) takes, and the separators after them.
  uint64 root_levels() const;
  int64 levels_past_root() const;
  // Level n with the offset of a drive or a UNC, range-checked.
  uint64 raw_level(uint64 n) const;
  void replace_level(uint64 raw, const Wstring& text);

  Wstring m_text;
  Wchar m_path_separator;
  Wchar m_drive_separator;
  Wchar m_extension_separator;
};

// The value of the environment variable PATH (_wgetenv), or empty when it is not set.
// Windows only.
NYM_API void nym_get_path(Wstring& out);
// Splits a search path at ";" into directories (Nym_tokeniser), dropping empty ones; a ";"
// inside double quotes does not split. A directory that starts with a double quote is then
// unquoted with nym_unquote, which also reads its backslash escapes.
NYM_API void nym_parse_path(const Wstring& search_path, std::vector<Wstring>& out);

}  // namespace nym

#endif
