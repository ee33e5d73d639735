// What the registry makes of key paths and value bytes. Every case reads from a heap block of
// exactly the data's size, so a read past the end fails under the sanitizers.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <vector>

#include "config/registry_data.h"
#include "test_helpers.h"

using namespace nym;
using nym::impl::reg_path_below;

namespace {

// The units of `text` (its first `bytes` bytes when given) in a block of exactly that size.
struct Exact {
  explicit Exact(const std::u16string& text, std::size_t byte_count = SIZE_MAX)
      : bytes(byte_count == SIZE_MAX ? text.size() * 2 : byte_count), data(new unsigned char[bytes ? bytes : 1]) {
    std::memcpy(data.get(), text.data(), bytes);
  }
  std::size_t bytes;
  std::unique_ptr<unsigned char[]> data;
};

Wstring text_of(const Exact& e) { return impl::reg_text(e.data.get(), e.bytes); }

std::vector<Wstring> texts_of(const Exact& e) {
  std::vector<Wstring> texts{u"stale"};
  impl::reg_texts(e.data.get(), e.bytes, texts);
  return texts;
}

}  // namespace

TEST(RegistryDataTest, JoinAddsABackslashOnlyBeforeASubkey) {
  EXPECT_EQ(impl::reg_join(u"SOFTWARE\\A", u"B"), u"SOFTWARE\\A\\B");
  EXPECT_EQ(impl::reg_join(u"SOFTWARE\\A", u""), u"SOFTWARE\\A");
  EXPECT_EQ(impl::reg_join(u"S", u"\\Parameters"), u"S\\\\Parameters");
}

TEST(RegistryDataTest, BelowComparesWholeComponentsWithoutCase) {
  struct Case {
    const char16_t* outer;
    const char16_t* inner;
    bool below;
  } const cases[] = {
      {u"Software\\A", u"Software\\A\\B", true},
      {u"Software\\A", u"software\\a\\b\\c", true},
      {u"Software\\A\\", u"\\Software\\\\A\\B\\", true},
      {u"", u"A", true},
      {u"Software\\A", u"Software\\A", false},
      {u"Software\\A", u"software\\a\\", false},
      {u"Software\\A", u"Software\\AB\\C", false},
      {u"Software\\A\\B", u"Software\\A", false},
      {u"Software\\A", u"Other\\A\\B", false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(reg_path_below(c.outer, c.inner), c.below) << nym_test::utf8(c.outer) << " / " << nym_test::utf8(c.inner);
  }
}

TEST(RegistryDataTest, TextEndsAtItsZeroOrAtTheEndOfTheData) {
  EXPECT_EQ(text_of(Exact(std::u16string(u"abc\0def", 7))), u"abc");
  EXPECT_EQ(text_of(Exact(u"abc")), u"abc");          // no terminator
  EXPECT_EQ(text_of(Exact(u"abc", 5)), u"ab");        // an odd last byte is dropped
  EXPECT_EQ(text_of(Exact(u"", 0)), u"");
  EXPECT_EQ(text_of(Exact(std::u16string(u"\0x", 2))), u"");
}

TEST(RegistryDataTest, MultiTextsEndAtTheFirstEmptyTextOrTheEndOfTheData) {
  using V = std::vector<Wstring>;
  EXPECT_EQ(texts_of(Exact(std::u16string(u"a\0bc\0\0", 6))), (V{u"a", u"bc"}));
  EXPECT_EQ(texts_of(Exact(std::u16string(u"a\0bc", 4))), (V{u"a", u"bc"}));  // unterminated
  EXPECT_EQ(texts_of(Exact(std::u16string(u"a\0\0b\0\0", 6))), (V{u"a"}));
  EXPECT_EQ(texts_of(Exact(std::u16string(u"\0a\0\0", 4))), V{});
  EXPECT_EQ(texts_of(Exact(u"", 0)), V{});
  EXPECT_EQ(texts_of(Exact(u"ab", 3)), (V{u"a"}));
}

TEST(RegistryDataTest, MultiDataReadsBackAndCutsEachTextAtItsZero) {
  using V = std::vector<Wstring>;
  EXPECT_EQ(impl::reg_multi_data(V{}), std::u16string(1, u'\0'));
  EXPECT_EQ(impl::reg_multi_data(V{std::u16string(u"a\0x", 3), u"b"}), std::u16string(u"a\0b\0\0", 5));
  const V texts{u"one", u"C:\\two", u"\U0001F600"};
  const Wstring data = impl::reg_multi_data(texts);
  EXPECT_EQ(texts_of(Exact(data)), texts);
}

TEST(RegistryDataTest, NumberTextReadsAsWtoiWithinTheData) {
  struct Case {
    Exact data;
    unsigned int number;
  } const cases[] = {
      {Exact(u"12x"), 12u},
      {Exact(u"x"), 0u},
      {Exact(u"42"), 42u},  // unterminated
      {Exact(u" \t-5"), static_cast<unsigned int>(-5)},
      {Exact(u"99999999999"), static_cast<unsigned int>(INT_MAX)},
      {Exact(u"-99999999999"), static_cast<unsigned int>(INT_MIN)},
      {Exact(std::u16string(u"7\0" u"9", 3)), 7u},
  };
  for (const Case& c : cases) EXPECT_EQ(impl::reg_text_number(c.data.data.get(), c.data.bytes), c.number);
}
