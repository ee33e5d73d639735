// Nym_directory_iterator, Nym_directory and the search along a search path. The system calls
// are in directory_win32.cpp.
#include "nym/directory.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "file/directory_create.h"
#include "file/directory_platform.h"
#include "file/file_platform.h"
#include "nym/critical.h"
#include "nym/cwstring.h"
#include "nym/file.h"
#include "nym/path_query.h"
#include "nym/status_arg.h"
#include "text/wildcard.h"

namespace nym {

namespace {

const Wchar SEPARATOR = Nym_path::default_path_separator();

std::atomic<impl::Nym_entry_attributes> g_entry_attributes{nullptr};

void require(const Wstring& text, const char* what) {
  if (text.empty()) throw std::invalid_argument(what);
}

Nym_wstring_status_arg arg(const Wstring& text) { return Nym_wstring_status_arg(text); }

Wstring with_separator(const Wstring& path) {
  Wstring s = path;
  Nym_path::append_path_separator(s);
  return s;
}

}  // namespace

impl::Nym_entry_attributes impl::nym_set_entry_attributes(Nym_entry_attributes filter) {
  return g_entry_attributes.exchange(filter);
}

// ---- Nym_directory_iterator

Nym_directory_iterator::Nym_directory_iterator(const Wstring& directory, const Wstring& mask, bool case_sensitive)
    : m_directory(directory),
      m_end(false),
      m_begin(true),
      m_find(impl::CLOSED_HANDLE),
      m_mask(mask),
      m_case_sensitive(case_sensitive) {
  if (m_mask == W_STARDOTSTAR) m_mask = W_STAR;
  if (m_directory.empty()) m_directory = Nym_directory::working_directory();
  if (!m_directory.empty() && m_directory.back() != SEPARATOR) m_directory += SEPARATOR;
  goto_start();
}

Nym_directory_iterator::Nym_directory_iterator(const Nym_directory_iterator& other)
    : m_end(true), m_begin(true), m_find(impl::CLOSED_HANDLE), m_case_sensitive(false) {
  take(other);
}

Nym_directory_iterator::Nym_directory_iterator(Nym_directory_iterator&& other) noexcept
    : m_directory(std::move(other.m_directory)),
      m_end(other.m_end),
      m_begin(other.m_begin),
      m_info(std::move(other.m_info)),
      m_find(other.m_find),
      m_mask(std::move(other.m_mask)),
      m_case_sensitive(other.m_case_sensitive),
      m_status(std::move(other.m_status)) {
  other.m_find = impl::CLOSED_HANDLE;
  other.m_end = true;
}

Nym_directory_iterator::~Nym_directory_iterator() { close(); }

Nym_directory_iterator& Nym_directory_iterator::operator=(const Nym_directory_iterator& other) {
  if (this != &other) take(other);
  return *this;
}

Nym_directory_iterator& Nym_directory_iterator::operator=(Nym_directory_iterator&& other) noexcept {
  if (this != &other) {
    close();
    m_directory = std::move(other.m_directory);
    m_end = other.m_end;
    m_begin = other.m_begin;
    m_info = std::move(other.m_info);
    m_find = other.m_find;
    m_mask = std::move(other.m_mask);
    m_case_sensitive = other.m_case_sensitive;
    m_status = std::move(other.m_status);
    other.m_find = impl::CLOSED_HANDLE;
    other.m_end = true;
  }
  return *this;
}

// A find handle can't be duplicated, and two owners would close it twice: the copy opens a
// scan of its own and walks it to the other's entry.
void Nym_directory_iterator::take(const Nym_directory_iterator& other) {
  close();
  m_directory = other.m_directory;
  m_mask = other.m_mask;
  m_case_sensitive = other.m_case_sensitive;
  m_status = other.m_status;
  m_end = other.m_end;
  m_begin = other.m_begin;
  m_info = other.m_info;
  if (other.m_end) return;
  m_status.clear();
  m_end = false;
  goto_start();
  while (!m_end && m_info.name != other.m_info.name) {
    if (m_status.is_error()) return;
    ++*this;
  }
}

void Nym_directory_iterator::close() {
  if (m_find != impl::CLOSED_HANDLE) impl::find_close(m_find);
  m_find = impl::CLOSED_HANDLE;
}

bool Nym_directory_iterator::operator==(const Nym_directory_iterator& other) const {
  return m_directory == other.m_directory && m_info.name == other.m_info.name;
}

bool Nym_directory_iterator::is_good_match(const Wstring& name, bool is_directory) const {
  if (name.empty()) return false;
  return !is_directory || !Nym_path::is_dot_directory(name);
}

bool Nym_directory_iterator::next_entry() {
  Wstring name;
  unsigned int attributes = 0;
  Nym_status status;
  for (;;) {
    if (!impl::find_next(m_find, name, attributes, status)) {
      m_end = true;
      m_info.name.clear();
      if (status != impl::NO_MORE_FILES) {
        m_status = status;
        m_status.push(NYM_S_DIRECTORY_SCAN_FAILED, arg(m_directory));
      }
      return false;
    }
    // The system's search ignores case: a case-sensitive mask is held to the name again.
    if (!m_case_sensitive || impl::wildcard_match<impl::Unit_walk>(name.c_str(), m_mask.c_str())) break;
  }
  set_entry(name, attributes);
  return true;
}

void Nym_directory_iterator::set_entry(const Wstring& name, unsigned int attributes) {
  const impl::Nym_entry_attributes filter = g_entry_attributes.load();
  if (filter != nullptr) attributes = filter(m_directory + name, attributes);
  m_info.name = name;
  m_info.directory = (attributes & impl::ENTRY_DIRECTORY) != 0;
  m_info.link = (attributes & impl::ENTRY_LINK) != 0;
}

void Nym_directory_iterator::goto_start() {
  m_info = Nym_file_info();
  close();
  Wstring name;
  unsigned int attributes = 0;
  Nym_status status;
  void* find = impl::CLOSED_HANDLE;
  if (!impl::find_first(m_directory + m_mask, find, name, attributes, status)) {
    m_end = true;
    m_status = status;
    m_status.push(NYM_S_DIRECTORY_SCAN_START_FAILED, arg(m_directory));
    return;
  }
  m_find = find;
  if (!m_case_sensitive || impl::wildcard_match<impl::Unit_walk>(name.c_str(), m_mask.c_str())) {
    set_entry(name, attributes);
  } else if (!next_entry()) {
    return;
  }
  while (m_status.ok() && !m_end && !is_good_match(m_info.name, m_info.directory)) goto_next();
  m_begin = true;
}

void Nym_directory_iterator::goto_next() {
  if (m_end) return;
  // Passing only the dot entries leaves the iterator at its beginning.
  if (!Nym_path::is_dot_directory(m_info.name)) m_begin = false;
  next_entry();
}

Nym_directory_iterator& Nym_directory_iterator::operator++() {
  if (m_status.is_error()) return *this;
  do {
    goto_next();
  } while (!m_end && m_status.ok() && !is_good_match(m_info.name, m_info.directory));
  return *this;
}

// ---- Nym_directory

const Nym_path* Nym_directory::m_temp_dir_p = nullptr;

void Nym_directory::create(const Wstring& path, Nym_status& status) {
  status.clear();
  require(path, "Nym_directory::create - empty path.");
  static Nym_critical lock;
  std::lock_guard<Nym_critical> hold(lock);
  impl::create_directories(path, nym_type, impl::make_directory, status);
}

void Nym_directory::remove(const Wstring& path, Nym_status& status) {
  status.clear();
  require(path, "Nym_directory::remove - empty path.");
  if (!impl::remove_directory(path, status)) status.push(NYM_S_DIRECTORY_REMOVE_FAILED, arg(path));
}

void Nym_directory::remove_contents(const Wstring& path, const Wstring& mask, bool recurse, Nym_status& status) {
  status.clear();
  // A loop over a stack of open scans, one per level, so that depth costs no stack.
  struct Level {
    Wstring directory;
    Nym_directory_iterator entries;
  };
  std::vector<std::unique_ptr<Level>> levels;
  const Wstring top = with_separator(path);
  levels.push_back(std::make_unique<Level>(Level{top, Nym_directory_iterator(top, mask, false)}));
  while (!levels.empty()) {
    Level& level = *levels.back();
    if (status.is_error() || level.entries.status().is_error() || level.entries.end()) {
      levels.pop_back();
      if (levels.empty() || status.is_error()) continue;
      // The level just emptied is the entry its parent stands on.
      Level& parent = *levels.back();
      remove(parent.directory + parent.entries->name, status);
      if (status.ok()) ++parent.entries;
      continue;
    }
    const Nym_file_info& entry = *level.entries;
    const Wstring entry_path = level.directory + entry.name;
    if (!entry.directory) {
      Nym_file::remove(entry_path, status, true, false);
    } else if (recurse && !entry.link) {
      const Wstring inner = entry_path + SEPARATOR;
      levels.push_back(std::make_unique<Level>(Level{inner, Nym_directory_iterator(inner, mask, false)}));
      continue;
    } else {
      // A link is removed as a name, whatever lies behind it; without recurse a directory
      // that isn't empty stays.
      remove(entry_path, status);
      if (!recurse && status.contains_value(145)) status.clear();
    }
    if (status.ok()) ++level.entries;
  }
}

void Nym_directory::rename(const Wstring& old_dirpath, const Wstring& new_dirpath, bool overwrite,
                           Nym_status& status) {
  status.clear();
  require(old_dirpath, "Nym_directory::rename - empty old_dirpath.");
  require(new_dirpath, "Nym_directory::rename - empty new_dirpath.");
  Wstring from = old_dirpath;
  Wstring to = new_dirpath;
  if (from.back() == SEPARATOR) from.pop_back();
  if (to.back() == SEPARATOR) to.pop_back();
  if (nym_type(from) != NYM_TYPE_DIRECTORY) status.assign(NYM_S_NOT_A_DIRECTORY, arg(old_dirpath));
  if (status.ok()) {
    const Nym_type there = nym_type(to);
    if (there != NYM_TYPE_NONE && !overwrite) {
      status.assign(NYM_S_TARGET_DIRECTORY_EXISTS, arg(new_dirpath));
    } else if (there == NYM_TYPE_DIRECTORY) {
      remove(to, status);
    } else if (there != NYM_TYPE_NONE) {
      Nym_file::remove(to, status);
    }
  }
  if (status.ok() && !impl::move_path(from, to, status)) {
    status.push(NYM_S_DIRECTORY_RENAME_FAILED, arg(old_dirpath), arg(new_dirpath));
  }
}

void Nym_directory::empty(const Wstring& path, Nym_status& status) {
  require(path, "Nym_directory::empty - empty path.");
  status.clear();
  const Nym_type type = nym_type(path);
  if (type == NYM_TYPE_NONE) {
    status.assign(NYM_S_DIRECTORY_NOT_FOUND, arg(path));
  } else if (type != NYM_TYPE_DIRECTORY) {
    status.assign(NYM_S_NOT_A_DIRECTORY, arg(path));
  } else if (!Nym_directory_iterator(path, W_STAR, false).end()) {
    status.assign(NYM_S_DIRECTORY_NOT_EMPTY, arg(path));
  }
}

bool Nym_directory::exist(const Wstring& mask, bool case_sensitive) {
  require(mask, "Nym_directory::exist - empty mask.");
  const Nym_path p(mask);
  return !Nym_directory_iterator(p.root_and_directory(), p.filename(), case_sensitive).end();
}

void Nym_directory::list(const Wstring& mask, std::vector<Wstring>& names, unsigned int max_count,
                         bool case_sensitive) {
  names.clear();
  require(mask, "Nym_directory::list - empty mask.");
  const Nym_path p(mask);
  for (Nym_directory_iterator it(p.root_and_directory(), p.filename(), case_sensitive);
       names.size() < max_count && !it.end() && it.status().ok(); ++it) {
    names.push_back(it->name);
  }
}

unsigned int Nym_directory::count_files(const Wstring& path, Nym_status& status, const Wstring& mask,
                                        bool case_sensitive) {
  require(path, "Nym_directory::count_files - empty path.");
  status.clear();
  const Nym_type type = nym_type(path);
  if (type == NYM_TYPE_NONE) {
    status.assign(NYM_S_DIRECTORY_NOT_FOUND, arg(path));
    return 0;
  }
  if (type != NYM_TYPE_DIRECTORY) {
    status.assign(NYM_S_NOT_A_DIRECTORY, arg(path));
    return 0;
  }
  unsigned int count = 0;
  for (Nym_directory_iterator it(path, mask, case_sensitive); !it.end() && it.status().ok(); ++it) ++count;
  return count;
}

Nym_path impl::nym_temp_directory_chain() {
  Wstring value;
  if (!(impl::environment_value(u"QX_TMP", value) && !value.empty()) &&
      !(impl::environment_value(u"TMP", value) && !value.empty()) && !impl::default_user_temp(value)) {
    return Nym_path(u'C', W_EMPTY, W_EMPTY);
  }
  return Nym_path(value, W_EMPTY);
}

const Wstring& Nym_directory::temp_directory() {
  static std::once_flag once;
  std::call_once(once, [] { m_temp_dir_p = new Nym_path(impl::nym_temp_directory_chain()); });
  return *m_temp_dir_p;
}

Wstring Nym_directory::working_directory() { return impl::current_directory(); }

// ---- the search path

void nym_find_file(const Wstring& search_path, const Wstring& filename, Wstring& result) {
  result.clear();
  std::vector<Wstring> directories;
  nym_parse_path(search_path, directories);
  for (const Wstring& directory : directories) {
    const Nym_path candidate(directory, filename);
    if (nym_type(candidate) == NYM_TYPE_FILE) {
      result = static_cast<const Wstring&>(candidate);
      return;
    }
  }
}

void nym_find_files(const Wstring& search_path, const Wstring& extension, std::vector<Wstring>& result) {
  std::vector<Wstring> directories;
  nym_parse_path(search_path, directories);
  nym_find_files(directories, extension, result);
}

void nym_find_files(const std::vector<Wstring>& directories, const Wstring& extension,
                    std::vector<Wstring>& result) {
  const Nym_path pattern(W_EMPTY, W_STAR, extension);
  result.clear();
  for (const Wstring& directory : directories) {
    for (Nym_directory_iterator it(directory, pattern, false); !it.end() && it.status().ok(); ++it) {
      if (!it->directory) result.push_back(Nym_path(directory, it->name));
    }
  }
}

}  // namespace nym
