// Nym_profile_access: the cache, its edits, and commit over a backup.
#include "nym/profile_access.h"

#include <exception>

#include "config/profile_format.h"
#include "nym/file_buffer.h"
#include "nym/path.h"
#include "nym/stream_helpers.h"

namespace nym {

namespace {

Nym_wstring_status_arg arg(const Wstring& text) { return Nym_wstring_status_arg(text); }

// The backup's older name while a new backup is made: p.ini.bak gives p.ini.1. Empty if the
// path can't be parsed.
Wstring older_name(const Wstring& backup) {
  try {
    Nym_path older(backup);
    older.extension(u"1");
    return older;
  } catch (const std::exception&) {
    return Wstring();
  }
}

// Copies all of `from` over `to` from position 0, and answers the position reached.
int64 copy_file(const Nym_buffer& from, Nym_buffer& to, Nym_status& status) {
  Nym_unbuffered_istream input(from, false, status, NYM_EOL_CRLF);
  if (status.is_error()) return 0;
  Nym_ostream output(to, status, NYM_EOL_CRLF);
  if (status.is_error()) return 0;
  nym_copy_stream(input, output, status);
  return output.tell();
}

}  // namespace

Nym_profile_access::Nym_profile_access() = default;

Nym_profile_access::Nym_profile_access(const Wstring& path, Nym_file_open open_mode, Nym_file_access access,
                                       Nym_status& status, bool wide) {
  open(path, open_mode, access, status, wide);
}

Nym_profile_access::~Nym_profile_access() {
  clear_cache();
  // After a failed write the backup is the only intact copy of the last commit.
  if (!m_backup_only_copy) {
    Nym_status ignored;
    delete_backup_file(ignored);
  }
}

void Nym_profile_access::open(const Wstring& path, Nym_file_open open_mode, Nym_file_access access,
                              Nym_status& status, bool wide) {
  status.clear();
  m_wide = wide;
  if (access == NYM_ACCESS_WRITE) access = NYM_ACCESS_READ_WRITE;
  // Only an open object has a file to close: one whose open failed would otherwise refuse
  // every later open with "not open".
  if (m_open) {
    close(status);
    if (status.is_error()) return;
  }
  m_file.close();
  m_path = path;
  m_backup_path.clear();
  m_dirty = false;
  m_backup_only_copy = false;
  m_read_only = access == NYM_ACCESS_READ;
  m_file.open(path, open_mode, access, 0, m_read_only ? NYM_SHARE_READ : 0, status);
  if (status.is_error()) return;
  load_cache(status);
  if (status.ok()) {
    m_open = true;
  } else {
    m_file.close();
  }
}

void Nym_profile_access::close(Nym_status& status) {
  commit_changes(status);
  if (status.is_error()) return;
  clear_cache();
  if (!m_backup_only_copy) delete_backup_file(status);
  status.clear();
  m_path.clear();
  m_open = false;
  m_file.close();
}

void Nym_profile_access::commit_changes(Nym_status& status) {
  status.clear();
  if (!check_open(status) || !m_dirty) return;
  // After a failed write the backup already holds the last committed content; a new one would
  // copy the half-written file over it.
  if (!m_backup_only_copy) create_backup_file(status);
  if (status.is_error()) return;
  write_cache(status);
  if (status.is_error()) {
    m_backup_only_copy = !m_backup_path.empty();
    return;
  }
  m_backup_only_copy = false;
  m_dirty = false;
}

void Nym_profile_access::abort_changes(Nym_status& status) {
  status.clear();
  if (!check_open(status)) return;
  // The file may be half written: the last commit lives in the backup.
  if (m_backup_only_copy) {
    rollback(status);
    return;
  }
  if (m_dirty) load_cache(status);
}

void Nym_profile_access::rollback(Nym_status& status) {
  status.clear();
  if (!check_open(status)) return;
  if (m_backup_path.empty()) {
    abort_changes(status);
    return;
  }
  restore_backup_file(status);
  if (status.ok()) load_cache(status);
}

void Nym_profile_access::load_cache(Nym_status& status) {
  status.clear();
  clear_cache();
  Nym_file_buffer buffer(m_file, status);
  if (status.ok()) impl::profile_load(buffer, m_wide, m_sections, status);
  m_current = 0;
  if (!m_sections.empty()) {
    m_current_name = m_sections[0]->name;
    m_entry = entries().begin();
    skip_non_entries();
  } else {
    m_current_name.clear();
  }
  m_dirty = false;
}

void Nym_profile_access::write_cache(Nym_status& status) {
  status.clear();
  Nym_file_buffer buffer(m_file, status);
  int64 end = 0;
  if (status.ok()) impl::profile_write(buffer, m_wide, m_sections, end, status);
  if (status.ok()) m_file.seek(end, status);
  if (status.ok()) m_file.truncate(status);
}

void Nym_profile_access::clear_cache() {
  m_sections.clear();
  m_current = 0;
}

void Nym_profile_access::create_backup_file(Nym_status& status) {
  status.clear();
  Wstring older;
  const bool first = m_backup_path.empty();
  if (!first) {
    older = older_name(m_backup_path);
    if (!older.empty()) Nym_file::move(m_backup_path, older, status);
    if (status.is_error()) older.clear();
    status.clear();
  } else {
    m_backup_path = m_path + u".bak";
  }

  // The profile is read through the file this object holds: it is open unshared.
  Nym_file_buffer profile(m_file, status);
  if (status.ok()) {
    Nym_file_buffer backup(m_backup_path, NYM_FILE_REPLACE, NYM_ACCESS_READ_WRITE, NYM_FILE_WRITE_THROUGH, 0, status);
    if (status.ok()) copy_file(profile, backup, status);
  }

  Nym_status local;
  if (status.is_error()) {
    Nym_file::remove(m_backup_path, local);
    if (local.ok() && !older.empty()) {
      Nym_file::move(older, m_backup_path, local);
      if (local.ok()) older.clear();
    } else if (local.ok() && first) {
      m_backup_path.clear();  // no backup exists: rollback must not look for one
    }
  }
  if (!older.empty()) Nym_file::remove(older, local);
}

void Nym_profile_access::restore_backup_file(Nym_status& status) {
  status.clear();
  if (m_backup_path.empty()) return;
  int64 end = 0;
  {
    Nym_file_buffer profile(m_file, status);
    if (status.is_error()) return;
    Nym_file_buffer backup(m_backup_path, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ, 0, 0, status);
    if (status.is_error()) return;
    end = copy_file(backup, profile, status);
  }
  // Without the cut, a longer file's tail would stay behind the restored content.
  if (status.ok()) m_file.seek(end, status);
  if (status.ok()) m_file.truncate(status);
  if (status.is_error()) return;
  Nym_file::remove(m_backup_path, status);
  m_backup_path.clear();
  m_backup_only_copy = false;
  status.clear();
}

void Nym_profile_access::delete_backup_file(Nym_status& status) {
  status.clear();
  if (m_backup_path.empty()) return;
  Nym_file::remove(m_backup_path, status);
  if (status.ok()) m_backup_path.clear();
}

bool Nym_profile_access::check_open(Nym_status& status) const {
  if (!m_open) status = NYM_S_PROFILE_ACCESS_NOT_OPEN;
  return m_open;
}

bool Nym_profile_access::check_edit(Nym_status& status, bool needs_section) const {
  if (!check_open(status)) return false;
  if (m_read_only) {
    status = NYM_S_PROFILE_READ_ONLY;
    return false;
  }
  if (needs_section && !has_section()) {
    status = NYM_S_NO_CURRENT_SECTION;
    return false;
  }
  return true;
}

Nym_profile_access::Entries& Nym_profile_access::entries() const { return m_sections[m_current]->entries; }

std::size_t Nym_profile_access::find_section(const Wstring& name) const {
  for (std::size_t i = 0; i < m_sections.size(); ++i) {
    if (impl::profile_same_name(m_sections[i]->name, name)) return i;
  }
  return m_sections.size();
}

void Nym_profile_access::skip_non_entries() {
  while (m_entry != entries().end() && !impl::profile_is_entry(m_entry->first)) ++m_entry;
}

void Nym_profile_access::no_such_entry(Nym_status& status) const {
  status.assign(NYM_S_NO_SUCH_ENTRY, arg(m_current_name), arg(m_path));
}

void Nym_profile_access::get_section_list(std::vector<Wstring>& names, Nym_status& status) const {
  status.clear();
  names.clear();
  if (!check_open(status)) return;
  names.reserve(m_sections.size());
  for (const auto& section : m_sections) names.push_back(section->name);
}

void Nym_profile_access::set_current_section(const Wstring& name, Nym_status& status) {
  status.clear();
  if (!check_open(status)) return;
  const std::size_t found = find_section(name);
  if (found == m_sections.size()) {
    status.assign(NYM_S_SECTION_NOT_FOUND, arg(name), arg(m_path));
    return;
  }
  m_current = found;
  m_current_name = name;
  m_entry = entries().begin();
}

bool Nym_profile_access::check_navigation(Nym_status& status) const {
  status.clear();
  if (!check_open(status)) return false;
  if (!has_section()) status = NYM_S_NO_CURRENT_SECTION;
  return status.ok();
}

bool Nym_profile_access::check_item(Nym_status& status) const {
  if (!check_navigation(status)) return false;
  if (m_entry == entries().end()) no_such_entry(status);
  return status.ok();
}

void Nym_profile_access::reset_section_position(Nym_status& status) {
  if (!check_navigation(status)) return;
  m_entry = entries().begin();
  skip_non_entries();
}

bool Nym_profile_access::end_of_entries() const {
  if (!m_open || !has_section()) return true;
  for (auto at = m_entry; at != entries().end(); ++at) {
    if (impl::profile_is_entry(at->first)) return false;
  }
  return true;
}

void Nym_profile_access::get_current_entry(std::pair<Wstring, Wstring>& entry, Nym_status& status) const {
  if (check_item(status)) entry = *m_entry;
}

void Nym_profile_access::move_to_next_entry(Nym_status& status) {
  if (!check_item(status)) return;
  ++m_entry;
  skip_non_entries();
}

void Nym_profile_access::move_to_key(const Wstring& key, Nym_status& status) {
  if (!check_navigation(status)) return;
  auto at = m_entry;
  while (at != entries().end() && !impl::profile_same_name(at->first, key)) ++at;
  if (at == entries().end()) {
    no_such_entry(status);
    return;
  }
  m_entry = at;
}

void Nym_profile_access::insert_entry(const std::pair<Wstring, Wstring>& entry, Nym_status& status) {
  status.clear();
  if (!check_edit(status, true)) return;
  entries().insert(m_entry, entry);
  m_dirty = true;
}

void Nym_profile_access::delete_entry(Nym_status& status) {
  status.clear();
  if (!check_edit(status, true) || !check_item(status)) return;
  m_entry = entries().erase(m_entry);
  m_dirty = true;
}

void Nym_profile_access::create_new_section(const Wstring& name, Nym_status& status) {
  status.clear();
  if (!check_edit(status, false)) return;
  m_current = find_section(name);
  if (m_current == m_sections.size()) {
    m_sections.push_back(std::make_unique<impl::Profile_section>());
    m_sections.back()->name = name;
    m_dirty = true;
  } else {
    status.assign(NYM_S_SECTION_EXISTS, arg(name), arg(m_path));
  }
  m_current_name = name;
  m_entry = entries().begin();
}

void Nym_profile_access::copy_section(const Wstring& new_name, Nym_status& status) {
  if (!check_edit(status, true)) return;
  if (find_section(new_name) != m_sections.size()) {
    status.assign(NYM_S_SECTION_EXISTS, arg(new_name), arg(m_path));
    return;
  }
  auto copy = std::make_unique<impl::Profile_section>();
  copy->name = new_name;
  copy->entries = entries();
  // The current section is an index and its list stays where it is: growing the vector moves
  // only the owning pointers.
  m_sections.push_back(std::move(copy));
  m_dirty = true;
}

void Nym_profile_access::rename_section(const Wstring& new_name, Nym_status& status) {
  if (!check_edit(status, true)) return;
  const std::size_t found = find_section(new_name);
  if (found != m_sections.size() && found != m_current) {
    status.assign(NYM_S_SECTION_EXISTS, arg(new_name), arg(m_path));
    return;
  }
  m_sections[m_current]->name = new_name;
  m_dirty = true;
}

void Nym_profile_access::delete_section(Nym_status& status) {
  status.clear();
  if (!check_edit(status, true)) return;
  m_sections.erase(m_sections.begin() + static_cast<std::ptrdiff_t>(m_current));
  // The erased list took the current item with it: the item moves to the first of the section
  // that takes its place, so no later call can reach freed memory.
  if (has_section()) m_entry = entries().begin();
  m_dirty = true;
}

void Nym_profile_access::add_security(Nym_security& security, Nym_status& status) {
  status.clear();
  if (!check_open(status)) return;
  m_file.add_security(security, status);
}

}  // namespace nym
