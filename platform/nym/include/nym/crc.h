// Nym_crc32 and Nym_crc64: running checksums over memory, single bytes, streams and buffers.
//
// Nym_crc32 is the CRC-32 of ISO 3309 and IEEE 802.3 (zip, PNG, Ethernet): polynomial
// 0xEDB88320 in reflected form, low bit first. Nym_crc64 uses the polynomial of ECMA-182,
// 0x42F0E1EBA9EA3693, high bit first: with all ones at the start and the result inverted it is
// the CRC the catalogues call CRC-64/WE. Check values: the nine bytes "123456789" give
// 0xCBF43926 and 0x62EC59E3F1A4F00A.
//
// Each object keeps the value it was built with (for reset) and the running value; result
// inverts on request and leaves the running value alone, so updates go on from it. Blocks are
// folded by carry-less multiplication where the processor can (PCLMULQDQ, or VPCLMULQDQ on
// AVX-512), chosen once per process, and by a table a byte at a time otherwise; every way gives
// the same value for every input. An object belongs to one thread at a time.
#ifndef NYM_CRC_H
#define NYM_CRC_H

#include <cstdint>

#include "nym/istream.h"

namespace nym {

class NYM_API Nym_crc32 {
 public:
  explicit Nym_crc32(std::uint32_t initial = 0xFFFFFFFFu) : m_initial(initial), m_value(initial) {}

  void update(unsigned char byte);
  // A block; a size of 0 does nothing.
  void update(const void* data, uint64 size);
  // The whole stream, from position 0 whatever its position now, in blocks of 64 KiB. The
  // status ends clear at the end of the data; any other error stays, with the value covering
  // what was read before it.
  void update(Nym_istream& stream, Nym_status& status);
  // The same; a null stream raises std::invalid_argument "Nym_crc32::update - null stream".
  void update(Nym_istream* stream, Nym_status& status);
  // The whole buffer, through a blocking Nym_unbuffered_istream (line rule CR LF): on a buffer
  // with a writer connected this waits, as every blocking reader does, until the writer has
  // written up to the end or has left. A stream that can't attach leaves its status and the
  // value as it was.
  void update(const Nym_buffer& buffer, Nym_status& status);

  // The running value, every bit inverted when `invert` is true.
  std::uint32_t result(bool invert) const { return invert ? ~m_value : m_value; }
  // Back to the value the object was built with.
  void reset() { m_value = m_initial; }

  // One block from `seed`; the result is always inverted, so a size of 0 gives ~seed.
  static std::uint32_t calculate(const void* data, uint64 size, std::uint32_t seed = 0xFFFFFFFFu);

 private:
  std::uint32_t m_initial;
  std::uint32_t m_value;
};

class NYM_API Nym_crc64 {
 public:
  explicit Nym_crc64(std::uint64_t initial = ~std::uint64_t{0}) : m_initial(initial), m_value(initial) {}

  void update(unsigned char byte);
  void update(const void* data, uint64 size);
  // As Nym_crc32's ("Nym_crc64::update - null stream").
  void update(Nym_istream& stream, Nym_status& status);
  void update(Nym_istream* stream, Nym_status& status);
  // As Nym_crc32's: waits while a writer is connected.
  void update(const Nym_buffer& buffer, Nym_status& status);

  std::uint64_t result(bool invert) const { return invert ? ~m_value : m_value; }
  void reset() { m_value = m_initial; }

  static std::uint64_t calculate(const void* data, uint64 size, std::uint64_t seed = ~std::uint64_t{0});

 private:
  std::uint64_t m_initial;
  std::uint64_t m_value;
};

namespace impl {

// How a block is folded: by table a byte at a time, by PCLMULQDQ on 16 bytes at a time, or by
// VPCLMULQDQ on 64 (with AVX-512). The best the processor runs is taken on first use.
enum Nym_crc_method : int { NYM_CRC_TABLE = 0, NYM_CRC_CLMUL = 1, NYM_CRC_CLMUL_AVX512 = 2 };

// Test and benchmark seam. Whether this processor (and build) can run `method`.
NYM_API bool nym_crc_method_available(Nym_crc_method method);
// Makes every CRC of the process use `method` and answers the one it replaces. A method the
// processor can't run raises std::invalid_argument "Nym_crc - method not available".
NYM_API Nym_crc_method nym_set_crc_method(Nym_crc_method method);

}  // namespace impl

}  // namespace nym

#endif
