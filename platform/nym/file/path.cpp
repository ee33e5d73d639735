// Nym_path: representation, constructors, parts, levels and setters. Everything here
// searches the text afresh; nothing is cached.
#include "nym/path.h"

#include "nym/cwstring.h"

namespace nym {

namespace {

[[noreturn]] void throw_level_range() { throw std::range_error("level index out of range."); }

// The constructors' joining rule: as it is when empty or one separator, else with a
// separator after it.
Wstring joined_directory(const Wstring& directory, Wchar separator) {
  Wstring d = directory;
  if (!d.empty() && !(d.size() == 1 && d[0] == separator) && d.back() != separator) d.push_back(separator);
  return d;
}

void append_extension(Wstring& text, Wchar separator, const Wstring& extension) {
  if (extension.empty()) return;
  text.push_back(separator);
  text += extension;
}

}  // namespace

Nym_path::Nym_path() { init_separators(); }

Nym_path::Nym_path(const Nym_path& other) : m_text(other.m_text) { init_separators(); }

Nym_path::Nym_path(const Wstring& path) : m_text(path) {
  init_separators();
  simplify();
}

Nym_path::Nym_path(const Wstring& directory, const Wstring& filename) {
  init_separators();
  m_text = joined_directory(directory, u'\\') + filename;
  simplify();
}

Nym_path::Nym_path(const Wstring& directory, const Wstring& base, const Wstring& extension) {
  init_separators();
  m_text = joined_directory(directory, u'\\') + base;
  append_extension(m_text, m_extension_separator, extension);
  simplify();
}

Nym_path::Nym_path(const Wstring& server, const Wstring& share, const Wstring& directory, const Wstring& filename) {
  init_separators();
  Wstring d = directory;
  directory_form(d, true);
  m_text = make_unc(server, share) + d + filename;
  simplify();
}

Nym_path::Nym_path(const Wstring& server, const Wstring& share, const Wstring& directory, const Wstring& base,
                   const Wstring& extension) {
  init_separators();
  Wstring d = directory;
  directory_form(d, true);
  m_text = make_unc(server, share) + d + base;
  append_extension(m_text, m_extension_separator, extension);
  simplify();
}

Nym_path::Nym_path(Wchar drive, const Wstring& directory, const Wstring& filename) {
  validate_drive_letter(drive);
  init_separators();
  Wstring d = directory;
  directory_form(d, true);
  m_text = Wstring{drive, m_drive_separator} + d + filename;
  simplify();
}

Nym_path::Nym_path(Wchar drive, const Wstring& directory, const Wstring& base, const Wstring& extension) {
  validate_drive_letter(drive);
  init_separators();
  Wstring d = directory;
  directory_form(d, true);
  m_text = Wstring{drive, m_drive_separator} + d + base;
  append_extension(m_text, m_extension_separator, extension);
  simplify();
}

Nym_path& Nym_path::operator=(const Nym_path& other) {
  m_text = other.m_text;
  return *this;
}

Nym_path& Nym_path::operator=(const Wstring& text) {
  m_text = text;
  return *this;
}

void Nym_path::init_separators() {
  m_path_separator = default_path_separator();
  m_drive_separator = u':';
  m_extension_separator = u'.';
}

Nym_path Nym_path::twin() const {
  Nym_path copy;
  copy.m_text = m_text;
  copy.m_path_separator = m_path_separator;
  copy.m_drive_separator = m_drive_separator;
  copy.m_extension_separator = m_extension_separator;
  return copy;
}

void Nym_path::append_path_separator(Wstring& s) {
  if (!s.empty() && s.back() != u'\\') s.push_back(u'\\');
}

bool Nym_path::is_dot_directory(const Wstring& s) { return s == W_DOT || s == W_DOTDOT; }

void Nym_path::directory_form(Wstring& s, bool leading) const {
  if (s.size() == 1 && s[0] == m_path_separator) return;
  const bool was_empty = s.empty();
  if (!was_empty && s.back() != m_path_separator) s.push_back(m_path_separator);
  if (leading && (was_empty || s[0] != m_path_separator)) s.insert(s.begin(), m_path_separator);
}

void Nym_path::validate_drive_letter(Wchar c) {
  // ASCII only, whatever the locale: the run-time's isalpha is undefined beyond a byte and
  // would let the locale decide what a drive is.
  if (!((c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'))) throw std::invalid_argument("Invalid drive letter.");
}

bool Nym_path::has_drive() const {
  return m_text.size() >= 2 && m_text[1] == m_drive_separator && m_text[0] != m_drive_separator;
}

bool Nym_path::has_unc() const {
  return m_text.size() >= 2 && m_text[0] == m_path_separator && m_text[1] == m_path_separator;
}

bool Nym_path::has_extension() const { return find_extension_separator() != NYM_NPOS; }

bool Nym_path::is_absolute() const {
  return has_drive() || has_unc() || (!m_text.empty() && m_text[0] == m_path_separator);
}

bool Nym_path::is_file_path() const { return find_filename() < m_text.size(); }

Wchar Nym_path::drive() const { return has_drive() ? m_text[0] : u' '; }

uint64 Nym_path::absolute_levels() const {
  const uint64 start = m_text.find_first_not_of(m_path_separator);
  if (start == Wstring::npos) return 0;
  uint64 count = 0;
  for (uint64 i = start; i < m_text.size(); ++i) count += m_text[i] == m_path_separator;
  return count;
}

uint64 Nym_path::find_filename() const {
  const uint64 last = m_text.rfind(m_path_separator);
  return last == Wstring::npos ? 0 : last + 1;
}

uint64 Nym_path::find_extension_separator() const {
  const uint64 pos = m_text.rfind(m_extension_separator);
  // One that starts the filename (.profile) or lies in the directory part doesn't count.
  if (pos == Wstring::npos || pos <= find_filename()) return NYM_NPOS;
  return pos;
}

uint64 Nym_path::find_level(uint64 n, uint64& len) const {
  len = 0;
  // Every raw level starts at its own unit, so n beyond the text can't exist; checking first
  // also keeps NYM_NPOS from wrapping "n + 1 passes" into none.
  if (n >= m_text.size()) throw_level_range();
  uint64 pos = has_unc() ? 2 : (!m_text.empty() && m_text[0] == m_path_separator) ? 1 : 0;
  uint64 start = 0;
  uint64 end = 0;
  for (uint64 pass = 0; pass <= n; ++pass) {
    if (pos >= m_text.size()) throw_level_range();
    start = pos;
    end = m_text.find(m_path_separator, pos);
    if (end == Wstring::npos) end = m_text.size();
    pos = end + 1;
  }
  len = end - start;
  return start;
}

uint64 Nym_path::raw_level(uint64 n) const {
  const uint64 offset = root_levels();
  if (n > NYM_NPOS - offset) throw_level_range();
  return n + offset;
}

Wstring Nym_path::level(uint64 n, bool raw) const {
  if (!raw) n = raw_level(n);
  if (n == absolute_levels() && is_file_path()) return base();
  uint64 len = 0;
  const uint64 start = find_level(n, len);
  return m_text.substr(start, len);
}

uint64 Nym_path::root_levels() const { return has_drive() ? 1 : has_unc() ? 2 : 0; }

int64 Nym_path::levels_past_root() const {
  return static_cast<int64>(absolute_levels()) - static_cast<int64>(root_levels());
}

uint64 Nym_path::levels() const {
  const int64 count = levels_past_root() + (is_file_path() ? 1 : 0);
  return count < 0 ? 0 : static_cast<uint64>(count);
}

uint64 Nym_path::legal(uint64 n) const { return n < levels() ? 1 : 0; }

// Levels minus the filename: the count for a directory path, count + 1 - 1 for a file path.
bool Nym_path::has_directory() const { return levels_past_root() > 0; }

uint64 Nym_path::find_directory(uint64& len) const {
  const uint64 filename_start = find_filename();
  if (has_directory()) {
    const uint64 k = root_levels();
    uint64 level_len = 0;
    uint64 start = find_level(k, level_len);
    // Include the separator before the first directory.
    if (start > 0 && (k != 0 || is_absolute())) --start;
    len = filename_start - start;
    return start;
  }
  if (m_text.empty() || m_text[0] != m_path_separator) {
    len = 0;
    return filename_start;
  }
  len = 1;
  return filename_start - 1;
}

Wstring Nym_path::filename() const { return m_text.substr(find_filename()); }

Wstring Nym_path::base() const {
  const uint64 start = find_filename();
  const uint64 ext = find_extension_separator();
  return m_text.substr(start, (ext == NYM_NPOS ? m_text.size() : ext) - start);
}

Wstring Nym_path::extension() const {
  const uint64 ext = find_extension_separator();
  return ext == NYM_NPOS ? Wstring() : m_text.substr(ext + 1);
}

Wstring Nym_path::directory() const {
  uint64 len = 0;
  const uint64 start = find_directory(len);
  return m_text.substr(start, len);
}

Wstring Nym_path::server() const { return has_unc() ? level(0, true) : Wstring(); }

Wstring Nym_path::share() const { return has_unc() ? level(1, true) : Wstring(); }

Wstring Nym_path::unc() const { return has_unc() ? make_unc(server(), share()) : Wstring(W_EMPTY); }

Wstring Nym_path::make_unc(const Wstring& server, const Wstring& share) const {
  if (server.empty() || share.empty()) throw std::invalid_argument("Server or share name is empty.");
  Wstring text(2, m_path_separator);
  text += server;
  text.push_back(m_path_separator);
  text += share;
  return text;
}

Nym_path& Nym_path::drive(Wchar letter) {
  validate_drive_letter(letter);
  if (has_drive()) {
    m_text[0] = letter;
    return *this;
  }
  remove_unc();  // raises, if at all, before it changes anything
  if (m_text.empty() || m_text[0] != m_path_separator) m_text.push_back(m_path_separator);
  m_text.insert(0, Wstring{letter, m_drive_separator});
  return *this;
}

Nym_path& Nym_path::drive_separator(Wchar c) {
  if (c == m_drive_separator) return *this;
  if (has_drive()) m_text[1] = c;
  m_drive_separator = c;
  return *this;
}

Nym_path& Nym_path::remove_drive() {
  if (has_drive()) m_text.erase(0, 2);
  return *this;
}

Nym_path& Nym_path::unc(const Wstring& server, const Wstring& share) {
  if (server.empty() || share.empty()) throw std::invalid_argument("UNC server or share name is empty.");
  Nym_path work = twin();
  if (work.has_unc()) {
    work.server(server);
    work.share(share);
  } else {
    work.remove_drive();
    Wstring prefix = make_unc(server, share);
    if (work.is_relative()) prefix.push_back(m_path_separator);
    work.m_text.insert(0, prefix);
  }
  m_text.swap(work.m_text);
  return *this;
}

Nym_path& Nym_path::server(const Wstring& name) {
  if (!has_unc()) throw No_unc("Path does not have a UNC.");
  if (name.empty()) throw std::invalid_argument("Server name cannot be empty.");
  replace_level(0, name);
  return *this;
}

Nym_path& Nym_path::share(const Wstring& name) {
  if (!has_unc()) throw No_unc("Path does not have a UNC.");
  if (name.empty()) throw std::invalid_argument("Share name cannot be empty.");
  replace_level(1, name);
  return *this;
}

void Nym_path::replace_level(uint64 raw, const Wstring& text) {
  uint64 len = 0;
  const uint64 start = find_level(raw, len);
  m_text.replace(start, len, text);
}

Nym_path& Nym_path::remove_unc() {
  if (!has_unc()) return *this;
  uint64 len = 0;
  const uint64 start = find_level(1, len);
  const uint64 end = start + len;
  m_text.erase(0, end >= m_text.size() ? m_text.size() : end);
  return *this;
}

Nym_path& Nym_path::directory(const Wstring& text) {
  Wstring d = text;
  if (has_drive() || has_unc()) {
    directory_form(d, true);
  } else {
    d = joined_directory(d, m_path_separator);
  }
  uint64 len = 0;
  const uint64 start = find_directory(len);
  m_text.replace(start, len, d);
  return *this;
}

Nym_path& Nym_path::filename(const Wstring& text) {
  m_text.replace(find_filename(), Wstring::npos, text);
  return *this;
}

Nym_path& Nym_path::base(const Wstring& text) {
  const uint64 start = find_filename();
  const uint64 ext = find_extension_separator();
  m_text.replace(start, (ext == NYM_NPOS ? m_text.size() : ext) - start, text);
  return *this;
}

Nym_path& Nym_path::extension(const Wstring& text) {
  const uint64 ext = find_extension_separator();
  if (ext != NYM_NPOS) {
    if (text.empty()) {
      m_text.resize(ext);
    } else {
      m_text.replace(ext + 1, Wstring::npos, text);
    }
  } else if (!text.empty()) {
    append_extension(m_text, m_extension_separator, text);
  }
  return *this;
}

Nym_path& Nym_path::remove_extension() {
  const uint64 ext = find_extension_separator();
  if (ext != NYM_NPOS) m_text.resize(ext);
  return *this;
}

Nym_path& Nym_path::extension_separator(Wchar c) {
  if (c == m_extension_separator) return *this;
  const uint64 ext = find_extension_separator();
  if (ext != NYM_NPOS) m_text[ext] = c;
  m_extension_separator = c;
  return *this;
}

Nym_path& Nym_path::path_separator(Wchar c) {
  if (c == m_path_separator) return *this;
  for (Wchar& unit : m_text) {
    if (unit == m_path_separator) unit = c;
  }
  m_path_separator = c;
  return *this;
}

Nym_path& Nym_path::cd(const Wstring& dir) {
  if (dir.empty() || dir[0] != m_path_separator) {
    m_text.insert(find_filename(), joined_directory(dir, m_path_separator));
  } else {
    directory(dir);
  }
  simplify();
  return *this;
}

Nym_path Nym_path::cd(const Wstring& dir) const {
  Nym_path copy(*this);
  copy.cd(dir);
  return copy;
}

Nym_path& Nym_path::level(uint64 n, const Wstring& text) {
  const uint64 raw = raw_level(n);
  if (raw == absolute_levels() && is_file_path()) return base(text);
  replace_level(raw, text);
  return *this;
}

}  // namespace nym
