// Nym_file_system: the path's root handed to the system, and the system's drive kinds mapped
// onto Type.
#include "nym/file_system.h"

#include <atomic>

#include "file/file_system_platform.h"

namespace nym {

namespace {

std::atomic<impl::Nym_drive_type_query> g_drive_type_query{nullptr};

// GetDriveTypeW's numbers, 0 to 6, in its own order.
constexpr Nym_file_system::Type DRIVE_TYPES[] = {
    Nym_file_system::UNKNOWN,         Nym_file_system::NO_ROOT,      Nym_file_system::REMOVABLE_DISK,
    Nym_file_system::FIXED_DISK,      Nym_file_system::NETWORK_DRIVE, Nym_file_system::OPTICAL_DISC,
    Nym_file_system::RAM_DISK};

}  // namespace

impl::Nym_drive_type_query impl::nym_set_drive_type_query(Nym_drive_type_query query) {
  return g_drive_type_query.exchange(query);
}

void Nym_file_system::stats(int64& total, int64& free, int64& available, Nym_status& status) const {
  stats(m_path.file_system_root(), total, free, available, status);
}

void Nym_file_system::stats(const Wstring& root, int64& total, int64& free, int64& available, Nym_status& status) {
  status.clear();
  if (!impl::volume_stats(root, total, free, available, status)) {
    status.push(NYM_S_VOLUME_STATS_FAILED, Nym_wstring_status_arg(root));
  }
}

Nym_file_system::Type Nym_file_system::type() const { return type(m_path.file_system_root()); }

Nym_file_system::Type Nym_file_system::type(const Wstring& root) {
  const impl::Nym_drive_type_query query = g_drive_type_query.load();
  const unsigned int answer = query != nullptr ? query(root) : impl::system_drive_type(root);
  return answer < sizeof DRIVE_TYPES / sizeof DRIVE_TYPES[0] ? DRIVE_TYPES[answer] : UNKNOWN;
}

}  // namespace nym
