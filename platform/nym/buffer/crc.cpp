#include "nym/crc.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <stdexcept>

#include "crc_kernels.h"

namespace nym {

namespace {

constexpr uint64 STREAM_BLOCK = 65536;

struct Crc_method {
  std::uint32_t (*crc32)(std::uint32_t, const unsigned char*, std::size_t);
  std::uint64_t (*crc64)(std::uint64_t, const unsigned char*, std::size_t);
};

const Crc_method METHODS[] = {
    {impl::crc32_bytes, impl::crc64_bytes},
    {impl::crc32_clmul, impl::crc64_clmul},
    {impl::crc32_avx512, impl::crc64_avx512},
};

// -1 until the first block asks.
std::atomic<int> g_method{-1};

impl::Nym_crc_method best_method() {
  if (impl::crc_avx512_available()) return impl::NYM_CRC_CLMUL_AVX512;
  if (impl::crc_clmul_available()) return impl::NYM_CRC_CLMUL;
  return impl::NYM_CRC_TABLE;
}

const Crc_method& method() {
  int m = g_method.load(std::memory_order_relaxed);
  if (m < 0) {
    m = best_method();
    g_method.store(m, std::memory_order_relaxed);
  }
  return METHODS[m];
}

// Blocks below a kernel's first step go straight to the table.
constexpr uint64 SHORT_BLOCK = 16;

std::uint32_t crc32_block(std::uint32_t c, const void* data, uint64 size) {
  const auto* p = static_cast<const unsigned char*>(data);
  if (size < SHORT_BLOCK) return impl::crc32_bytes(c, p, static_cast<std::size_t>(size));
  return method().crc32(c, p, static_cast<std::size_t>(size));
}

std::uint64_t crc64_block(std::uint64_t c, const void* data, uint64 size) {
  const auto* p = static_cast<const unsigned char*>(data);
  if (size < SHORT_BLOCK) return impl::crc64_bytes(c, p, static_cast<std::size_t>(size));
  return method().crc64(c, p, static_cast<std::size_t>(size));
}

// The whole stream from position 0, block by block, into `value`.
template <class T>
void update_from_stream(T& value, T (*block)(T, const void*, uint64), Nym_istream& stream, Nym_status& status) {
  std::unique_ptr<unsigned char[]> work(new unsigned char[STREAM_BLOCK]);
  stream.seek(NYM_SEEK_BEGIN, 0, status);
  if (status.is_error()) return;
  for (;;) {
    // A store that reports more than it was asked for is held to the request.
    const uint64 got = std::min(stream.read(STREAM_BLOCK, work.get(), status), STREAM_BLOCK);
    if (got > 0) value = block(value, work.get(), got);
    if (status.is_error() || got == 0) break;
  }
  if (status == NYM_S_END_OF_DATA) status.clear();
}

template <class T>
void update_from_buffer(T& value, T (*block)(T, const void*, uint64), const Nym_buffer& buffer, Nym_status& status) {
  Nym_unbuffered_istream stream(buffer, true, status, NYM_EOL_CRLF);
  if (status.is_error()) return;
  update_from_stream(value, block, stream, status);
}

}  // namespace

bool impl::nym_crc_method_available(Nym_crc_method method) {
  switch (method) {
    case NYM_CRC_TABLE:
      return true;
    case NYM_CRC_CLMUL:
      return crc_clmul_available();
    case NYM_CRC_CLMUL_AVX512:
      return crc_avx512_available();
  }
  return false;
}

impl::Nym_crc_method impl::nym_set_crc_method(Nym_crc_method method) {
  if (!nym_crc_method_available(method)) throw std::invalid_argument("Nym_crc - method not available");
  nym::method();  // so that the answer is the method in use, not "none chosen yet"
  return static_cast<Nym_crc_method>(g_method.exchange(method));
}

void Nym_crc32::update(unsigned char byte) { m_value = impl::crc32_bytes(m_value, &byte, 1); }

void Nym_crc32::update(const void* data, uint64 size) { m_value = crc32_block(m_value, data, size); }

void Nym_crc32::update(Nym_istream& stream, Nym_status& status) {
  update_from_stream(m_value, crc32_block, stream, status);
}

void Nym_crc32::update(Nym_istream* stream, Nym_status& status) {
  if (stream == nullptr) throw std::invalid_argument("Nym_crc32::update - null stream");
  update(*stream, status);
}

void Nym_crc32::update(const Nym_buffer& buffer, Nym_status& status) {
  update_from_buffer(m_value, crc32_block, buffer, status);
}

std::uint32_t Nym_crc32::calculate(const void* data, uint64 size, std::uint32_t seed) {
  return ~crc32_block(seed, data, size);
}

void Nym_crc64::update(unsigned char byte) { m_value = impl::crc64_bytes(m_value, &byte, 1); }

void Nym_crc64::update(const void* data, uint64 size) { m_value = crc64_block(m_value, data, size); }

void Nym_crc64::update(Nym_istream& stream, Nym_status& status) {
  update_from_stream(m_value, crc64_block, stream, status);
}

void Nym_crc64::update(Nym_istream* stream, Nym_status& status) {
  if (stream == nullptr) throw std::invalid_argument("Nym_crc64::update - null stream");
  update(*stream, status);
}

void Nym_crc64::update(const Nym_buffer& buffer, Nym_status& status) {
  update_from_buffer(m_value, crc64_block, buffer, status);
}

std::uint64_t Nym_crc64::calculate(const void* data, uint64 size, std::uint64_t seed) {
  return ~crc64_block(seed, data, size);
}

}  // namespace nym
