// What the differential harness cannot reach in the UTF-8 kernels: each NUL scan on its own
// (the harness sees only the one the processor picks).
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "text/utf_kernel.h"

using namespace nym;

// Every start in a line, every length and bound: each scan stops at the first NUL or at the
// bound, as a byte-at-a-time loop does.
TEST(Utf8KernelTest, NulScansStopExactly) {
  using Scan = std::size_t (*)(const unsigned char*, std::size_t);
  std::vector<Scan> scans = {impl::utf8_length_sse2};
#if defined(NYM_UTF_AVX)
  if (impl::utf_kernel_supported(impl::Utf_kernel::avx512)) scans.push_back(impl::utf8_length_avx512);
#endif
  alignas(64) unsigned char text[320];
  for (std::size_t start = 0; start < 64; ++start) {
    for (std::size_t length = 0; length < 200; length += 1 + length / 16) {
      std::memset(text, 'z', sizeof text);
      text[start + length] = 0;
      text[start + length + 1] = 0;
      for (const std::size_t bound : {std::size_t(0), length / 2, length, length + 1, std::size_t(1) << 40}) {
        const std::size_t expected = length < bound ? length : bound;
        for (std::size_t i = 0; i < scans.size(); ++i) {
          ASSERT_EQ(scans[i](text + start, bound), expected) << i << " " << start << " " << length << " " << bound;
        }
      }
    }
  }
}
