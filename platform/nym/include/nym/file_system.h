// Nym_file_system: the volume a path lies on, how much room it has and what kind of drive it
// is. Windows only.
//
// The object holds a Nym_path (built as Nym_path(path) does, so simplified) and asks about its
// root: c:\ for a drive, \\server\share\ for a UNC, nothing for other paths, which means the
// current directory's volume. The static forms take a root text directly. Copying and
// assigning are those of Nym_path. No state beyond the path, no lock.
#ifndef NYM_FILE_SYSTEM_H
#define NYM_FILE_SYSTEM_H

#include "nym/path.h"
#include "nym/status.h"

namespace nym {

// The volume's statistics could not be read; argument: the root.
constexpr unsigned int NYM_S_VOLUME_STATS_FAILED = 0xC2000029u;

class NYM_API Nym_file_system {
 public:
  // The kind of drive; the system's answers map onto these, anything unknown to UNKNOWN.
  enum Type {
    NO_ROOT = 0,         // no such root
    UNKNOWN = 1,         // the system can't tell, or answered a kind not listed here
    FIXED_DISK = 2,
    REMOVABLE_DISK = 3,
    OPTICAL_DISC = 4,
    NETWORK_DRIVE = 5,
    RAM_DISK = 6
  };

  explicit Nym_file_system(const Wstring& path) : m_path(path) {}
  Nym_file_system(const Nym_file_system&) = default;
  Nym_file_system& operator=(const Nym_file_system&) = default;
  ~Nym_file_system() = default;

  // Bytes in total, free, and free to the caller (quotas count) on the path's volume. Clears
  // the status; on failure the outputs stay as they were and the status holds the system's
  // code under NYM_S_VOLUME_STATS_FAILED with the root.
  void stats(int64& total, int64& free, int64& available, Nym_status& status) const;
  // The same for a root such as c:\ or \\server\share\ (with its trailing separator); an
  // empty root asks about the current directory's volume.
  static void stats(const Wstring& root, int64& total, int64& free, int64& available, Nym_status& status);
  // Never fails: a root that is not there is NO_ROOT.
  Type type() const;
  static Type type(const Wstring& root);

 private:
  Nym_path m_path;
};

namespace impl {

// Test seam: what Nym_file_system::type asks the system, GetDriveTypeW's number for a root
// (empty: the current directory's volume). Installs `query` for the whole process and
// answers the one it replaces; null puts the system's back.
using Nym_drive_type_query = unsigned int (*)(const Wstring& root);
NYM_API Nym_drive_type_query nym_set_drive_type_query(Nym_drive_type_query query);

}  // namespace impl

}  // namespace nym

#endif
