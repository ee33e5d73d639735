// Nym_file's operations on names: copy, move, copy_files, removal by wildcard, the retry list,
// empty files and temporary names. They walk directories with Nym_directory_iterator; the
// system calls are in directory_win32.cpp.
#include <memory>
#include <mutex>
#include <stdexcept>

#include "file/directory_platform.h"
#include "nym/cwstring.h"
#include "nym/directory.h"
#include "nym/file.h"
#include "nym/path_query.h"
#include "nym/status_arg.h"
#include "nym/string_basic.h"
#include "nym/time.h"
#include "nym/time_period.h"
#include "nym/unicode.h"

namespace nym {

namespace {

constexpr unsigned int SHARING_VIOLATION = 32;
constexpr unsigned int UNBUFFERED = NYM_FILE_WRITE_THROUGH | NYM_FILE_NO_BUFFERING;
constexpr std::uint32_t TEMP_NAMES = 10000000;

Nym_critical g_retry_lock;
std::vector<Wstring> g_retry_list;

Nym_wstring_status_arg arg(const Wstring& text) { return Nym_wstring_status_arg(text); }

Wstring with_separator(const Wstring& path) {
  Wstring s = path;
  Nym_path::append_path_separator(s);
  return s;
}

// The directory as the system resolves it, lower case, with a trailing separator.
Wstring resolved_directory(const Wstring& directory) {
  Nym_path p(directory.empty() ? Nym_directory::working_directory() : directory);
  try {
    p.absolute();
  } catch (const std::exception&) {
    // Compared as written, then.
  }
  Wstring text = with_separator(p);
  nym_lower(text);
  return text;
}

// Copy and move check the same things before the system is asked.
void check_transfer(const Wstring& from, const Wstring& to, bool overwrite, bool any_target, Nym_status& status) {
  status.clear();
  if (from.empty()) status.assign(NYM_S_EMPTY_FILE_NAME, arg(from));
  if (to.empty()) status.assign(NYM_S_EMPTY_FILE_NAME, arg(to));
  if (status.ok()) {
    const Nym_type type = nym_type(from);
    if (type == NYM_TYPE_NONE) {
      status.assign(NYM_S_FILE_NOT_FOUND, arg(from));
    } else if (type != NYM_TYPE_FILE) {
      status.assign(NYM_S_NOT_A_FILE, arg(from));
    }
  }
  if (status.ok()) {
    const Nym_type type = nym_type(to);
    if (type != NYM_TYPE_NONE && (any_target || (type == NYM_TYPE_FILE && !overwrite))) {
      status.assign(NYM_S_TARGET_EXISTS, arg(to));
    } else if (type != NYM_TYPE_NONE && type != NYM_TYPE_FILE) {
      status.assign(NYM_S_NOT_A_FILE, arg(from));
    }
  }
}

}  // namespace

void Nym_file::copy(const Wstring& from, const Wstring& to, bool overwrite, Nym_status& status) {
  check_transfer(from, to, overwrite, false, status);
  if (status.ok()) impl::copy_path(from, to, !overwrite, status);
  if (status.is_error()) status.push(NYM_S_COPY_FAILED, arg(from), arg(to));
}

void Nym_file::move(const Wstring& from, const Wstring& to, Nym_status& status) {
  check_transfer(from, to, false, true, status);
  if (status.ok()) impl::move_path(from, to, status);
  if (status.is_error()) status.push(NYM_S_MOVE_FAILED, arg(from), arg(to));
}

void Nym_file::copy_files(const Wstring& from_dir, const Wstring& mask, const Wstring& to_dir, bool recurse,
                          bool overwrite, Nym_status& status) {
  status.clear();
  // Copying a tree into itself would meet each copy among the entries it is copying.
  const Wstring outer = resolved_directory(from_dir);
  if (recurse && resolved_directory(to_dir).compare(0, outer.size(), outer) == 0) {
    status.assign(NYM_S_COPY_INTO_ITSELF, arg(from_dir), arg(to_dir));
    return;
  }
  // A loop over a stack of open scans, one per level, so that depth costs no stack.
  struct Level {
    Wstring from;
    Wstring to;
    Nym_directory_iterator entries;
  };
  std::vector<std::unique_ptr<Level>> levels;
  levels.push_back(std::make_unique<Level>(
      Level{with_separator(from_dir), with_separator(to_dir), Nym_directory_iterator(from_dir, mask, false)}));
  while (!levels.empty()) {
    Level& level = *levels.back();
    if (status.is_error() || level.entries.end()) {
      levels.pop_back();
      if (!levels.empty() && status.ok()) ++levels.back()->entries;
      continue;
    }
    const Nym_file_info& entry = *level.entries;
    if (!entry.directory) {
      copy(level.from + entry.name, level.to + entry.name, overwrite, status);
    } else if (recurse && !entry.link) {
      const Wstring from = level.from + entry.name;
      const Wstring to = level.to + entry.name;
      if (nym_type(to) == NYM_TYPE_NONE) Nym_directory::create(to, status);
      if (status.ok()) {
        levels.push_back(std::make_unique<Level>(
            Level{with_separator(from), with_separator(to), Nym_directory_iterator(from, mask, false)}));
        continue;
      }
    }
    if (status.ok()) ++level.entries;
  }
}

void Nym_file::remove(const Wstring& path, Nym_status& status, bool clear_read_only, bool case_sensitive) {
  status.clear();
  if (path.empty()) {
    status.assign(NYM_S_EMPTY_FILE_NAME, arg(path));
  } else {
    const Nym_path p(path);
    for (Nym_directory_iterator it(p.root_and_directory(), p.filename(), case_sensitive); !it.end() && status.ok();
         ++it) {
      if (it->directory) continue;
      const Wstring entry = it.directory() + it->name;
      unsigned int attributes = 0;
      if (clear_read_only && impl::path_attributes(entry, attributes, status) &&
          (attributes & impl::ENTRY_READ_ONLY) != 0) {
        impl::set_path_attributes(entry, attributes & ~impl::ENTRY_READ_ONLY, status);
      }
      if (status.ok() && !impl::delete_path(entry, status)) status.push(NYM_S_REMOVE_FAILED, arg(entry));
    }
  }
  if (status.is_error()) status.push(NYM_S_REMOVE_FAILED, arg(path));
}

void Nym_file::retry_remove(const Wstring& path, Nym_status& status) {
  impl::delete_path(path, status);
  std::lock_guard<Nym_critical> hold(g_retry_lock);
  if (status.contains_value(SHARING_VIOLATION)) g_retry_list.push_back(path);
  for (auto it = g_retry_list.begin(); it != g_retry_list.end();) {
    Nym_status again;
    impl::delete_path(*it, again);
    it = again.contains_value(SHARING_VIOLATION) ? it + 1 : g_retry_list.erase(it);
  }
}

void Nym_file::create_empty_file(const Wstring& path, Nym_status& status, bool unbuffered) {
  Nym_file file(path, NYM_FILE_REPLACE, NYM_ACCESS_WRITE, unbuffered ? UNBUFFERED : 0, 0, status);
}

Wstring Nym_file::temp_name(const Wstring& extension) { return temp_name(W_EMPTY, extension); }

Wstring Nym_file::temp_name(const Wstring& directory, const Wstring& extension) {
  Nym_path path(directory.empty() ? Nym_directory::temp_directory() : directory, W_STAR);
  path.extension(extension);
  static Nym_critical lock;
  std::lock_guard<Nym_critical> hold(lock);
  static Wstring prefix;
  static std::uint32_t counter = 0;
  if (prefix.empty()) {
    Wstring pid;
    nym_itow(impl::current_process_id(), pid, 10, false);
    prefix = u"pid" + pid + static_cast<const Wstring&>(W_UNDERSCORE);
    counter = static_cast<std::uint32_t>(Nym_time_period(Nym_time::now()).seconds() % 100000) * 100;
  }
  // Bounded: every number taken would otherwise keep this loop, and the lock, for ever.
  for (std::uint32_t tries = 0; tries < TEMP_NAMES; ++tries) {
    Wstring number;
    nym_itow(counter % TEMP_NAMES, number, 10, false);
    ++counter;
    path.base(prefix + number);
    if (nym_type(path) == NYM_TYPE_NONE) return path;
  }
  throw std::runtime_error("Nym_file::temp_name - no free name.");
}

}  // namespace nym
