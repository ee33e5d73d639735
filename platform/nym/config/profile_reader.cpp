// Nym_profile_reader: the section list at open, one section's body at a time.
#include "nym/profile_reader.h"

#include "config/profile_format.h"
#include "nym/unicode.h"

namespace nym {

namespace {

Nym_wstring_status_arg arg(const Wstring& text) { return Nym_wstring_status_arg(text); }

}  // namespace

Nym_profile_reader::Nym_profile_reader() = default;

Nym_profile_reader::Nym_profile_reader(const Wstring& path, Nym_status& status, bool wide) {
  status.clear();
  open(path, status, wide);
}

Nym_profile_reader::~Nym_profile_reader() {
  Nym_status ignored;
  close(ignored);
}

void Nym_profile_reader::open(const Wstring& path, Nym_status& status, bool wide) {
  status.clear();
  m_path = path;
  m_wide = wide;
  m_file.open(path, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ, 0, NYM_SHARE_READ, status);
  if (status.is_error()) {
    status.push(NYM_S_PROFILE_OPEN_FAILED, arg(path));
    return;
  }
  m_open = true;
  get_section_list(m_section_names, m_section_offsets, status);
}

void Nym_profile_reader::close(Nym_status& status) {
  status.clear();
  if (!m_open) return;
  m_file.close();
  m_path.clear();
  m_section_names.clear();
  m_section_offsets.clear();
  m_open = false;
}

void Nym_profile_reader::get_section_list(std::vector<Wstring>& names, Nym_status& status) const {
  status.clear();
  if (!m_open) {
    status.assign(NYM_S_PROFILE_NOT_OPEN, arg(m_path));
    return;
  }
  names.insert(names.end(), m_section_names.begin(), m_section_names.end());
}

void Nym_profile_reader::get_section_list(std::vector<Wstring>& names, std::vector<int64>& offsets,
                                          Nym_status& status) const {
  status.clear();
  names.clear();
  offsets.clear();
  if (!m_open) {
    status.assign(NYM_S_PROFILE_NOT_OPEN, arg(m_path));
    return;
  }
  impl::profile_scan_sections(m_file, m_wide, names, offsets, status);
  read_status_check(status, m_path);
}

bool Nym_profile_reader::get_section_header(Nym_istream& input, Wstring& name, Nym_status& status) const {
  status.clear();
  name.clear();
  Wstring line;
  impl::profile_read_line(input, m_wide, line, status);
  nym_trim(line);
  const bool header = !line.empty() && status.ok() && impl::profile_header(line, name);
  read_status_check(status, m_path);
  return header;
}

void Nym_profile_reader::read_status_check(Nym_status& status, const Wstring& path) const {
  if (status.is_error() && status.orig_value() != NYM_S_END_OF_DATA && status.orig_value() != NYM_S_LINE_NOT_ENDED) {
    status.push(NYM_S_PROFILE_READ_FAILED, arg(m_section), arg(path));
  }
}

void Nym_profile_reader::set_current_section(const Wstring& name, Nym_status& status) {
  status.clear();
  const Wstring* found = nullptr;
  for (const Wstring& candidate : m_section_names) {
    if (impl::profile_same_name(candidate, name)) {
      found = &candidate;
      break;
    }
  }
  if (found == nullptr) {
    status.assign(NYM_S_SECTION_NOT_FOUND, arg(name), arg(m_path));
    return;
  }
  m_section = *found;
  get_key_value_pairs(status);
  if (status.ok()) reset_section_position(status);
}

void Nym_profile_reader::get_key_value_pairs(Nym_status& status) {
  status.clear();
  if (!m_open) {
    status.assign(NYM_S_PROFILE_NOT_OPEN, arg(m_path));
    return;
  }
  if (m_section.empty()) {
    status = NYM_S_NO_CURRENT_SECTION;
    return;
  }
  std::vector<impl::Profile_entry> entries;
  impl::profile_read_section(m_file, m_wide, m_section_names, m_section_offsets, m_section, entries, status);
  m_entries.clear();
  m_position = 0;
  for (auto& entry : entries) add_to_key_value_pairs(entry.first, entry.second);
  read_status_check(status, m_path);
}

void Nym_profile_reader::add_to_key_value_pairs(const Wstring& key, const Wstring& value) {
  m_entries.emplace_back(key, value);
}

bool Nym_profile_reader::navigable(Nym_status& status, bool path_argument) const {
  status.clear();
  if (!m_open) {
    if (path_argument) {
      status.assign(NYM_S_PROFILE_NOT_OPEN, arg(m_path));
    } else {
      status = NYM_S_PROFILE_NOT_OPEN;
    }
    return false;
  }
  if (m_section.empty()) {
    status = NYM_S_NO_CURRENT_SECTION;
    return false;
  }
  return true;
}

void Nym_profile_reader::skip_non_entries() {
  while (m_position < m_entries.size() && !impl::profile_is_entry(m_entries[m_position].first)) ++m_position;
}

bool Nym_profile_reader::end_of_entries() const {
  std::size_t at = m_position;
  while (at < m_entries.size() && !impl::profile_is_entry(m_entries[at].first)) ++at;
  return at >= m_entries.size();
}

void Nym_profile_reader::get_current_entry(std::pair<Wstring, Wstring>& entry, Nym_status& status) const {
  if (!navigable(status, false)) return;
  if (end_of_entries()) {
    status.assign(NYM_S_NO_SUCH_ENTRY, arg(m_section), arg(m_path));
    return;
  }
  entry = m_entries[m_position];
}

void Nym_profile_reader::move_to_next_entry(Nym_status& status) {
  if (!navigable(status, false)) return;
  if (end_of_entries()) {
    status.assign(NYM_S_NO_SUCH_ENTRY, arg(m_section), arg(m_path));
    return;
  }
  ++m_position;
  skip_non_entries();
}

void Nym_profile_reader::move_to_key(const Wstring& key, Nym_status& status) {
  if (!navigable(status, false)) return;
  reset_section_position(status);
  while (m_position < m_entries.size() && !impl::profile_same_name(m_entries[m_position].first, key)) ++m_position;
  if (end_of_entries()) {
    m_position = m_entries.size();
    status.assign(NYM_S_NO_SUCH_ENTRY, arg(m_section), arg(m_path));
  }
}

void Nym_profile_reader::reset_section_position(Nym_status& status) {
  if (!navigable(status, true)) return;
  m_position = 0;
  skip_non_entries();
}

}  // namespace nym
