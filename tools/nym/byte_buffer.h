// Helpers of the text subcommands: a whole file read with C stdio, and a read-only Nym_buffer
// over bytes held in memory, so that the library's exact detectors can judge them.
#ifndef NYM_TOOL_BYTE_BUFFER_H
#define NYM_TOOL_BYTE_BUFFER_H

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "nym/buffer.h"
#include "nym/utf_detect.h"

namespace nym_tool {

// The whole file, or false with errno's text in `error`.
inline bool read_whole_file(const std::string& path, std::string& bytes, std::string& error) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) {
    error = std::strerror(errno);
    return false;
  }
  bytes.clear();
  char chunk[65536];
  std::size_t n = 0;
  while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) bytes.append(chunk, n);
  const bool failed = std::ferror(f) != 0;
  std::fclose(f);
  if (failed) error = "read error";
  return !failed;
}

class Byte_buffer : public nym::Nym_buffer {
 public:
  explicit Byte_buffer(const std::string& bytes) : m_bytes(bytes) {}

 protected:
  nym::uint64 read(bool, nym::int64& position, nym::uint64 count, void* data, nym::Nym_status& status) const override {
    status.clear();
    const auto size = static_cast<nym::int64>(m_bytes.size());
    if (position >= size) {
      status = nym::NYM_S_END_OF_DATA;
      return 0;
    }
    const nym::uint64 n = std::min<nym::uint64>(count, static_cast<nym::uint64>(size - position));
    std::memcpy(data, m_bytes.data() + position, static_cast<std::size_t>(n));
    position += static_cast<nym::int64>(n);
    return n;
  }
  void write(nym::int64&, nym::uint64, const void*, nym::Nym_status& status) override {
    status = nym::NYM_S_WRITE_FAILED;
  }
  void seek(nym::Nym_seek_mode mode, nym::int64 offset, nym::int64& position, nym::Nym_status& status) const override {
    status.clear();
    seek_within(mode, offset, position, static_cast<nym::int64>(m_bytes.size()), status);
  }
  void truncate(nym::int64, nym::Nym_status& status) override { status = nym::NYM_S_WRITE_FAILED; }

 private:
  const std::string& m_bytes;
};

}  // namespace nym_tool

#endif
