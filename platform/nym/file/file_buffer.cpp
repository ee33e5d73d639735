#include "nym/file_buffer.h"

#include "buffer/store_failure.h"

namespace nym {

Nym_file_buffer::Nym_file_buffer() = default;

Nym_file_buffer::Nym_file_buffer(Nym_file& file, Nym_status& status) { attach(file, status); }

Nym_file_buffer::Nym_file_buffer(const Wstring& path, Nym_file_access access, Nym_status& status) {
  open(path, access, status);
}

Nym_file_buffer::Nym_file_buffer(const Wstring& path, Nym_file_open open_mode, Nym_file_access access,
                                 unsigned int flags, unsigned int share, Nym_status& status) {
  open(path, open_mode, access, flags, share, status);
}

Nym_file_buffer::~Nym_file_buffer() {
  if (m_owned) drop_file();
}

void Nym_file_buffer::attach(Nym_file& file, Nym_status& status) {
  status.clear();
  write_lock();
  if (m_file != nullptr) {
    status = NYM_S_FILE_ALREADY_HELD;
  } else {
    m_file = &file;
    m_owned = false;
  }
  write_unlock();
}

template <class Make>
void Nym_file_buffer::open_file(Make make, Nym_status& status) {
  status.clear();
  write_lock();
  try {
    if (m_file != nullptr) {
      status = NYM_S_FILE_ALREADY_HELD;
    } else {
      m_file = make();
      m_owned = true;
      if (status.is_error()) drop_file();
    }
  } catch (...) {
    write_unlock();
    throw;
  }
  write_unlock();
}

void Nym_file_buffer::open(const Wstring& path, Nym_file_access access, Nym_status& status) {
  open_file([&] { return new Nym_file(path, access, status); }, status);
}

void Nym_file_buffer::open(const Wstring& path, Nym_file_open open_mode, Nym_file_access access,
                           unsigned int flags, unsigned int share, Nym_status& status) {
  open_file([&] { return new Nym_file(path, open_mode, access, flags, share, status); }, status);
}

void Nym_file_buffer::close() {
  write_lock();
  drop_file();
  write_unlock();
}

void Nym_file_buffer::drop_file() {
  if (m_file != nullptr) {
    m_file->close();
    if (m_owned) delete m_file;
  }
  m_file = nullptr;
  m_owned = false;
}

bool Nym_file_buffer::place(int64 position, Nym_status& status) const {
  if (m_file->tell() != position) m_file->seek(position, status);
  return !status.is_error();
}

uint64 Nym_file_buffer::read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const {
  status.clear();
  uint64 got = 0;
  read_lock();
  try {
    if (m_file == nullptr) {
      status = NYM_S_NO_FILE;
    } else {
      for (;;) {
        try {
          if (place(position, status)) {
            got = m_file->read(data, count, status);
            position += static_cast<int64>(got);
          }
        } catch (...) {
          impl::status_from_exception(status, NYM_S_READ_FAILED);
          got = 0;
          break;
        }
        if (got > 0 || (status.is_error() && status != NYM_S_END_OF_DATA)) break;
        if (!wait_for_data(wait, status)) break;
        status.clear();
      }
    }
  } catch (...) {
    read_unlock();
    throw;
  }
  read_unlock();
  return got;
}

void Nym_file_buffer::write(int64& position, uint64 count, const void* data, Nym_status& status) {
  status.clear();
  check_write_count(count);
  write_lock();
  if (m_file == nullptr) {
    status = NYM_S_NO_FILE;
  } else if (count > 0) {
    try {
      if (place(position, status)) position += static_cast<int64>(m_file->write(data, count, status));
    } catch (...) {
      // The read failure on top, as for reads: callers of this store test for one code.
      impl::status_from_exception(status, NYM_S_READ_FAILED);
    }
    signal();
  }
  write_unlock();
}

void Nym_file_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  status.clear();
  read_lock();
  try {
    if (m_file == nullptr) {
      status = NYM_S_NO_FILE;
    } else {
      Nym_seek_mode file_mode = mode;
      int64 target = offset;
      if (mode == NYM_SEEK_CURRENT) {
        file_mode = NYM_SEEK_BEGIN;
        // The sum of two signed 64-bit values may leave their range: checked, never wrapped.
        if (__builtin_add_overflow(position, offset, &target)) status = NYM_S_SEEK_FAILED;
      }
      if (status.ok()) m_file->seek(file_mode, target, status);
      // After a failed seek the file stands wherever the last transfer left it, which is no
      // position of this stream's.
      if (status.ok()) position = m_file->tell();
    }
  } catch (...) {
    status = NYM_S_SEEK_FAILED;
  }
  read_unlock();
}

void Nym_file_buffer::truncate(int64 size, Nym_status& status) {
  status.clear();
  // Under the write lock, so that the file doesn't move between another thread's seek and its
  // transfer.
  write_lock();
  try {
    if (m_file == nullptr) {
      status = NYM_S_NO_FILE;
    } else {
      m_file->seek(size, status);
      if (status.ok()) m_file->truncate(status);
    }
  } catch (...) {
    write_unlock();
    throw;
  }
  write_unlock();
}

void Nym_file_buffer::read_lock() const { write_lock(); }

void Nym_file_buffer::read_unlock() const { write_unlock(); }

}  // namespace nym
