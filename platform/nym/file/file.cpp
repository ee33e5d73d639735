// Nym_file: open modes and dispositions, the status stacks of each transfer, the FAT rule of
// the times and the region table. The system calls are in file_win32.cpp.
#include "nym/file.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>
#include <stdexcept>

#include "file/file_platform.h"
#include "nym/path.h"
#include "nym/path_query.h"
#include "nym/security.h"
#include "nym/time_period.h"

namespace nym {

namespace {

// The platform's values of CreateFileW's arguments.
constexpr unsigned int CREATE_NEW_FILE = 1;
constexpr unsigned int OPEN_EXISTING_FILE = 3;
constexpr unsigned int OPEN_ALWAYS_FILE = 4;
constexpr unsigned int TRUNCATE_EXISTING_FILE = 5;
constexpr unsigned int HANDLE_EOF = 38;  // ERROR_HANDLE_EOF

constexpr unsigned int DESIRED_ACCESS[] = {0x80000000u, 0x40000000u, 0xC0000000u, 0x10000000u};

// The flags bits, low to high, as the system spells them.
constexpr unsigned int PLATFORM_FLAGS[] = {0x80000000u, 0x20000000u, 0x10000000u,
                                           0x08000000u, 0x04000000u, 0x02000000u};

constexpr uint64 MAX_TRANSFER = 0xFFFFFFFFu;
constexpr unsigned int MIN_LOCK_STEP = 1000;

std::atomic<impl::Nym_file_system_name_query> g_file_system_name{nullptr};
std::atomic<impl::Nym_lock_pause> g_lock_pause{nullptr};
std::atomic<impl::Nym_write_fault> g_write_fault{nullptr};
constexpr unsigned int DISK_FULL = 112;  // ERROR_DISK_FULL

unsigned int desired_access(Nym_file_access access) {
  return static_cast<unsigned int>(access) < 4 ? DESIRED_ACCESS[access] : 0;
}

unsigned int platform_flags(unsigned int flags) {
  unsigned int mapped = 0;
  for (unsigned int bit = 0; bit < 6; ++bit) {
    if ((flags & (1u << bit)) != 0) mapped |= PLATFORM_FLAGS[bit];
  }
  return mapped;
}

bool file_system_name(const Wstring& root, Wstring& name) {
  const impl::Nym_file_system_name_query query = g_file_system_name.load();
  return query != nullptr ? query(root, name) : impl::system_file_system_name(root, name);
}

void lock_pause(unsigned int milliseconds) {
  const impl::Nym_lock_pause pause = g_lock_pause.load();
  if (pause != nullptr) {
    pause(milliseconds);
  } else {
    impl::system_pause(milliseconds);
  }
}

// What a time is when it can't be had.
Nym_date_and_time fallback_time() {
  return Nym_date_and_time(Nym_time_period(38, 0, 0, 0, 0), Nym_time_zone::local(true));
}

// What a read or a write checks first: an open file, and a count the system takes in 32 bits.
bool may_transfer(bool open, uint64 count, Nym_status& status) {
  if (!open) {
    status = NYM_S_FILE_NOT_OPEN;
  } else if (count > MAX_TRANSFER) {
    status = NYM_S_READ_FAILED;
  }
  return status.ok();
}

// The region's last byte; raises for a region past the largest position or a negative start.
int64 last_byte(int64 start, int64 length) { return nym_advance(start, length) - 1; }

}  // namespace

Nym_read_write_semaphore Nym_file::m_temp_lock;

impl::Nym_file_system_name_query impl::nym_set_file_system_name_query(Nym_file_system_name_query query) {
  return g_file_system_name.exchange(query);
}

impl::Nym_lock_pause impl::nym_set_lock_pause(Nym_lock_pause pause) { return g_lock_pause.exchange(pause); }

impl::Nym_write_fault impl::nym_set_write_fault(Nym_write_fault fault) { return g_write_fault.exchange(fault); }

Nym_file::Nym_file() : m_handle(impl::CLOSED_HANDLE) {}

Nym_file::Nym_file(const Wstring& path, Nym_file_access access, Nym_status& status, Nym_security* security)
    : Nym_file() {
  open(path, access, status, security);
}

Nym_file::Nym_file(const Wstring& path, Nym_file_open open_mode, Nym_file_access access, unsigned int flags,
                   unsigned int share, Nym_status& status, Nym_security* security)
    : Nym_file() {
  open(path, open_mode, access, flags, share, status, security);
}

Nym_file::~Nym_file() { close(); }

void Nym_file::open(const Wstring& path, Nym_file_access access, Nym_status& status, Nym_security* security) {
  switch (access) {
    case NYM_ACCESS_READ:
      open(path, NYM_FILE_MUST_EXIST, access, 0, NYM_SHARE_READ, status, security);
      return;
    case NYM_ACCESS_WRITE:
      open(path, NYM_FILE_REPLACE, access, 0, 0, status, security);
      return;
    case NYM_ACCESS_READ_WRITE:
    case NYM_ACCESS_ALL:
      open(path, NYM_FILE_MUST_EXIST, access, 0, 0, status, security);
      return;
  }
  throw std::logic_error("Nym_file::open - Unknown file access mode");
}

void Nym_file::open(const Wstring& path, Nym_file_open open_mode, Nym_file_access access, unsigned int flags,
                    unsigned int share, Nym_status& status, Nym_security* security) {
  status.clear();
  if (is_open()) status = NYM_S_FILE_ALREADY_OPEN;
  Nym_type type = NYM_TYPE_NONE;
  if (status.ok()) {
    if (path.empty()) {
      status.assign(NYM_S_EMPTY_FILE_NAME, Nym_wstring_status_arg(path));
    } else if ((type = nym_type(path)) > NYM_TYPE_FILE) {
      status.assign(NYM_S_NOT_A_FILE, Nym_wstring_status_arg(path));
    }
  }
  unsigned int disposition = 0;
  if (status.ok()) {
    const bool exists = type != NYM_TYPE_NONE;
    switch (open_mode) {
      case NYM_FILE_MUST_EXIST:
        if (exists) {
          disposition = OPEN_EXISTING_FILE;
        } else {
          status.assign(NYM_S_FILE_NOT_FOUND, Nym_wstring_status_arg(path));
        }
        break;
      case NYM_FILE_OPEN_ALWAYS:
        disposition = OPEN_ALWAYS_FILE;
        break;
      case NYM_FILE_REPLACE:
        if (access == NYM_ACCESS_WRITE || access == NYM_ACCESS_READ_WRITE || access == NYM_ACCESS_ALL) {
          disposition = exists ? TRUNCATE_EXISTING_FILE : CREATE_NEW_FILE;
        } else {
          status = NYM_S_REPLACE_NEEDS_WRITE;
        }
        break;
      case NYM_FILE_CREATE_NEW:
        disposition = CREATE_NEW_FILE;
        break;
    }
  }
  if (status.ok()) {
    void* handle = impl::CLOSED_HANDLE;
    if (impl::file_create(path, desired_access(access), share & 7u, security, disposition, platform_flags(flags),
                          handle, status)) {
      try {
        m_path = path;
      } catch (...) {
        impl::file_close(handle);
        throw;
      }
      m_handle = handle;
    }
  }
  if (status.is_error()) status.push(NYM_S_FILE_OPEN_FAILED, Nym_wstring_status_arg(path));
}

void Nym_file::close() {
  if (!is_open()) return;
  unlock_all();
  impl::file_close(m_handle);
  m_handle = impl::CLOSED_HANDLE;
  m_path.clear();
}

bool Nym_file::is_open() const { return m_handle != impl::CLOSED_HANDLE; }

uint64 Nym_file::read(void* buffer, uint64 count, Nym_status& status) {
  status.clear();
  unsigned int done = 0;
  if (may_transfer(is_open(), count, status)) {
    const bool read = impl::file_read(m_handle, buffer, static_cast<unsigned int>(count), done, status);
    // Nothing for a non-zero count is the end of the file, and so is the system's own word for it.
    if (done == 0 && ((read && count != 0) || (!read && status == HANDLE_EOF))) status = NYM_S_END_OF_DATA;
  }
  if (status.is_error() && status != NYM_S_END_OF_DATA) status.push(NYM_S_READ_FAILED);
  return done;
}

uint64 Nym_file::write(const void* buffer, uint64 count, Nym_status& status) {
  status.clear();
  unsigned int done = 0;
  if (may_transfer(is_open(), count, status)) {
    uint64 allowed = count;
    bool stop = false;
    if (const impl::Nym_write_fault fault = g_write_fault.load(std::memory_order_relaxed)) {
      allowed = std::min(count, fault(m_path, count, stop));
    }
    impl::file_write(m_handle, buffer, static_cast<unsigned int>(allowed), done, status);
    if (allowed < count && status.ok()) {
      if (stop) impl::file_stop_process();
      status = DISK_FULL;
    }
  }
  if (status.is_error()) status.push(NYM_S_WRITE_FAILED);
  return done;
}

void Nym_file::seek(Nym_seek_mode mode, int64 offset, Nym_status& status) {
  status.clear();
  const int origin = mode == NYM_SEEK_CURRENT ? 1 : mode == NYM_SEEK_END ? 2 : 0;
  int64 position = 0;
  if (!impl::file_seek(m_handle, offset, origin, position, status)) status.push(NYM_S_SEEK_FAILED);
}

void Nym_file::seek(int64 offset, Nym_status& status) { seek(NYM_SEEK_BEGIN, offset, status); }

int64 Nym_file::tell() const {
  Nym_status ignored;
  int64 position = 0;
  return is_open() && impl::file_seek(m_handle, 0, 1, position, ignored) ? position : 0;
}

int64 Nym_file::length() const {
  int64 size = 0;
  return impl::file_size(m_handle, size) ? size : 0;
}

void Nym_file::flush(Nym_status& status) const {
  status.clear();
  if (!is_open()) {
    status = NYM_S_FILE_NOT_OPEN;
  } else {
    impl::file_flush(m_handle, status);
  }
  if (status.is_error()) status.push(NYM_S_WRITE_FAILED);
}

void Nym_file::truncate(Nym_status& status) const {
  status.clear();
  if (!impl::file_set_end(m_handle, status)) status.push(NYM_S_TRUNCATE_FAILED);
}

void Nym_file::creation_time(Nym_date_and_time& time) const { file_time(impl::FILE_CREATED, time); }
void Nym_file::last_accessed_time(Nym_date_and_time& time) const { file_time(impl::FILE_ACCESSED, time); }
void Nym_file::last_modified_time(Nym_date_and_time& time) const { file_time(impl::FILE_MODIFIED, time); }

void Nym_file::file_time(int which, Nym_date_and_time& time) const {
  impl::File_stamp s{};
  if (!impl::file_time(m_handle, static_cast<impl::File_time_kind>(which), s)) {
    time = fallback_time();
    return;
  }
  // A FAT volume keeps local times; the others keep UTC.
  Wstring name;
  bool fat = false;
  try {
    fat = file_system_name(Nym_path(m_path).file_system_root(), name) && name == u"FAT";
  } catch (const std::logic_error&) {
    fat = false;  // a path without a root to ask about counts as NTFS, as a failed query does
  }
  try {
    time = Nym_date_and_time(Nym_date(s.day, s.month, s.year),
                             Nym_time(s.hour, s.minute, s.second, s.milliseconds * 1000),
                             fat ? Nym_time_zone::local(true) : Nym_time_zone::UTC);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    time = fallback_time();  // a reading outside the calendar's range
  }
}

void Nym_file::add_security(Nym_security& security, Nym_status& status) const {
  status.clear();
  security.associate_with_object(NYM_SEC_OBJ_FILE, m_handle, status);
}

int64 Nym_file::length(const Wstring& path) {
  int64 size = 0;
  return impl::path_size(path, size) ? size : 0;
}

namespace {

void path_time(const Wstring& path, impl::File_time_kind kind, Nym_date_and_time& time) {
  std::tm local{};
  if (!impl::path_time(path, kind, local)) {
    time = fallback_time();
    return;
  }
  try {
    time = Nym_date_and_time(local, Nym_time_zone::local(true));
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception&) {
    time = fallback_time();
  }
}

}  // namespace

void Nym_file::creation_time(const Wstring& path, Nym_date_and_time& time) {
  path_time(path, impl::FILE_CREATED, time);
}
void Nym_file::last_accessed_time(const Wstring& path, Nym_date_and_time& time) {
  path_time(path, impl::FILE_ACCESSED, time);
}
void Nym_file::last_modified_time(const Wstring& path, Nym_date_and_time& time) {
  path_time(path, impl::FILE_MODIFIED, time);
}

void Nym_file::lock(Nym_file_lock type, int64 start, int64 length, unsigned int timeout_ms, Nym_status& status) {
  status.clear();
  if (length < 1) throw std::invalid_argument("Nym_file::lock - region length must be greater than 0");
  // Held through the waits: other threads' lock and unlock on this object wait for the end.
  std::lock_guard<Nym_critical> hold(m_lock);
  if (have_overlap(start, length)) {
    status.assign(NYM_S_REGION_OVERLAPS, Nym_wstring_status_arg(m_path));
    return;
  }
  const auto row = find_lock(start, length);
  if (row == m_locks.end()) {
    if (lock_region(type, start, length, timeout_ms, status)) m_locks.push_back({type, start, length, 1});
  } else if (type == NYM_LOCK_SHARED && row->type == NYM_LOCK_SHARED) {
    ++row->count;
  } else {
    status.assign(NYM_S_REGION_HELD_OTHERWISE, Nym_wstring_status_arg(m_path));
  }
}

void Nym_file::unlock(int64 start, int64 length, Nym_status& status) {
  std::lock_guard<Nym_critical> hold(m_lock);
  status.clear();
  const auto row = find_lock(start, length);
  if (row == m_locks.end()) {
    status.assign(NYM_S_REGION_NOT_LOCKED, Nym_wstring_status_arg(m_path));
    return;
  }
  // A row left at 0 by a refused unlock owes the system its unlock: it is tried again, and the
  // count doesn't wrap.
  if (row->count > 0) --row->count;
  if (row->count == 0 && unlock_region(start, length, status)) m_locks.erase(row);
}

Nym_file::Locks::iterator Nym_file::find_lock(int64 start, int64 length) {
  return std::find_if(m_locks.begin(), m_locks.end(),
                      [&](const Lock& row) { return row.start == start && row.length == length; });
}

bool Nym_file::have_overlap(int64 start, int64 length) const {
  const int64 last = last_byte(start, length);
  for (const Lock& row : m_locks) {
    if (row.start == start && row.length == length) continue;
    const int64 row_last = last_byte(row.start, row.length);
    const bool ends_inside = (start >= row.start && start <= row_last) || (last >= row.start && last <= row_last);
    const bool row_inside = (row.start >= start && row.start <= last) || (row_last >= start && row_last <= last);
    if (ends_inside || row_inside) return true;
  }
  return false;
}

bool Nym_file::lock_region(Nym_file_lock type, int64 start, int64 length, unsigned int timeout_ms,
                           Nym_status& status) {
  const unsigned int step = std::max(timeout_ms / 10, MIN_LOCK_STEP);
  const unsigned int size = nym_narrow_u32(length);
  // 64 bits: near the largest timeout a 32-bit sum would wrap and the loop would never end.
  uint64 waited = 0;
  do {
    if (impl::file_lock_region(m_handle, start, size, type == NYM_LOCK_EXCLUSIVE, status)) {
      status.clear();  // an earlier attempt's refusal is no news
      return true;
    }
    lock_pause(step);
    waited += step;
  } while (waited < timeout_ms);
  status.push(NYM_S_LOCK_FAILED, Nym_wstring_status_arg(m_path));
  return false;
}

bool Nym_file::unlock_region(int64 start, int64 length, Nym_status& status) {
  status.clear();
  if (impl::file_unlock_region(m_handle, start, nym_narrow_u32(length), status)) return true;
  status.push(NYM_S_UNLOCK_FAILED, Nym_wstring_status_arg(m_path));
  return false;
}

void Nym_file::unlock_all() {
  std::lock_guard<Nym_critical> hold(m_lock);
  // Failures are not reported: the handle closes next, which ends its locks anyway.
  Nym_status ignored;
  for (const Lock& row : m_locks) {
    impl::file_unlock_region(m_handle, row.start, static_cast<unsigned int>(row.length), ignored);
  }
  m_locks.clear();
}

}  // namespace nym
