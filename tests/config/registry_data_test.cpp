// Value bytes as the registry returns them, in a heap block of exactly their size, so that a
// read past the end fails under the sanitizers.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>

#include "config/registry_data.h"

using namespace nym;
using Names = std::vector<Wstring>;

namespace {

// What each reader makes of exactly `bytes` bytes of `units`.
struct Read {
  Read(const std::u16string& units, std::size_t bytes) : block(new unsigned char[bytes]) {
    std::memcpy(block.get(), units.data(), bytes);
    text = impl::reg_text(block.get(), bytes);
    impl::reg_texts(block.get(), bytes, texts);
    number = impl::reg_text_number(block.get(), bytes);
  }
  explicit Read(const std::u16string& units) : Read(units, units.size() * 2) {}
  std::unique_ptr<unsigned char[]> block;
  Wstring text;
  Names texts{u"stale"};
  unsigned int number;
};

}  // namespace

TEST(RegistryDataTest, ReadersStopAtTheirZeroOrAtTheEndOfTheData) {
  using S = std::u16string;
  EXPECT_EQ(Read(S(u"ab\0c\0\0", 6)).text, u"ab");
  EXPECT_EQ(Read(S(u"ab\0c\0\0", 6)).texts, (Names{u"ab", u"c"}));
  EXPECT_EQ(Read(u"abc", 5).text, u"ab");  // no terminator, and an odd last byte
  EXPECT_EQ(Read(S(u"a\0bc", 4)).texts, (Names{u"a", u"bc"}));
  EXPECT_EQ(Read(S(u"a\0\0b\0\0", 6)).texts, Names{u"a"});
  EXPECT_EQ(Read(u"", 0).texts, Names{});
  EXPECT_EQ(Read(u"42").number + Read(u"x").number, 42u);
  EXPECT_EQ(Read(u" \t-99999999999").number, static_cast<unsigned int>(INT_MIN));
  const Names texts{u"one", u"C:\\two", u"\U0001F600"};
  EXPECT_EQ(Read(impl::reg_multi_data(texts)).texts, texts);
  EXPECT_EQ(impl::reg_multi_data({S(u"a\0x", 3)}), S(u"a\0\0", 3));
}
