#include <gtest/gtest.h>

#include <unicode/uchar.h>

#include "nym/unicode.h"

using namespace nym;
using impl::NYM_UNICODE_BIT_TABLE;

namespace {

unsigned count_if_bits(unsigned first, unsigned last, unsigned char bits) {
  unsigned n = 0;
  for (unsigned cp = first; cp <= last; ++cp) {
    if ((NYM_UNICODE_BIT_TABLE[cp] & bits) != 0) ++n;
  }
  return n;
}

// Characters whose general category changed after Unicode 7.0 (the table keeps 7.0's).
bool category_changed_after_7(unsigned cp) {
  return (cp >= 0x10D0 && cp <= 0x10FF) || (cp >= 0x13A0 && cp <= 0x13F4) || cp == 0x166D || cp == 0x1734 ||
         cp == 0x1885 || cp == 0x1886 || (cp >= 0x19B0 && cp <= 0x19C9) || cp == 0x1CF2 || cp == 0x1CF3 ||
         cp == 0xA9BD;
}

TEST(UnicodeBitTableTest, LengthIsThreePlanes) {
  EXPECT_EQ(impl::NYM_UNICODE_BIT_TABLE_LEN, 0x30000u);
  EXPECT_EQ(sizeof(NYM_UNICODE_BIT_TABLE), 0x30000u);
}

TEST(UnicodeBitTableTest, AssignedEntriesPerPlane) {
  EXPECT_EQ(count_if_bits(0x00000, 0x0FFFF, 0xFF), 63504u);
  EXPECT_EQ(count_if_bits(0x10000, 0x1FFFF, 0xFF), 10004u);
  EXPECT_EQ(count_if_bits(0x20000, 0x2FFFF, 0xFF), 47624u);
  // Every non-zero entry has the assigned bit, and bit 6 is never set.
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, 0x80), 121132u);
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, 0x40), 0u);
}

TEST(UnicodeBitTableTest, PropertyBitCounts) {
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, impl::NYM_UNICODE_NFKC), 4793u);
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, impl::NYM_UNICODE_UPPER), 1490u);
  EXPECT_EQ(count_if_bits(0, 0x2FFFF, impl::NYM_UNICODE_LOWER), 1841u);
}

TEST(UnicodeBitTableTest, SampleEntries) {
  const struct {
    unsigned cp;
    unsigned char entry;
  } samples[] = {
      {0x0000, 0x81}, {0x0009, 0x81}, {0x0020, 0x81}, {0x0030, 0x82}, {0x005F, 0x83}, {0x0041, 0x96},
      {0x00C0, 0x96}, {0x0061, 0x8E}, {0x00E9, 0x8E}, {0x00A0, 0xA1}, {0x3000, 0xA1}, {0x4E00, 0x87},
      {0x20000, 0x87}, {0xD800, 0x86}, {0xE000, 0x86}, {0xFFFD, 0x84}, {0x1D400, 0xB6}, {0xFDD0, 0x00},
      {0xFFFE, 0x00}, {0xFFFF, 0x00}, {0x2FFFF, 0x00},
      // Assigned after 7.0, so unassigned here: U+08B3 (8.0), U+1F600 is 6.1 and stays.
      {0x08B3, 0x00}, {0x1F600, 0x84},
      // Categories as they were in 7.0.
      {0x13A0, 0x87}, {0x10D0, 0x87}, {0x166D, 0x83}, {0x1734, 0x85}, {0xA9BD, 0x85},
  };
  for (const auto& s : samples) {
    EXPECT_EQ(NYM_UNICODE_BIT_TABLE[s.cp], s.entry) << std::hex << "U+" << s.cp;
  }
}

// The data is Unicode 7.0, a subset of what the linked ICU knows: what the table calls
// assigned, upper or lower, ICU does too, and the class agrees wherever the category is the
// same in both releases.
TEST(UnicodeBitTableTest, AgreesWithIcuWhereUnicodeDidNotChange) {
  for (unsigned cp = 0; cp < 0x30000; ++cp) {
    const unsigned char e = NYM_UNICODE_BIT_TABLE[cp];
    if (e == 0) continue;
    ASSERT_NE(u_charType(static_cast<UChar32>(cp)), U_UNASSIGNED) << std::hex << cp;
    if ((e & impl::NYM_UNICODE_UPPER) != 0) {
      ASSERT_TRUE(u_isupper(static_cast<UChar32>(cp))) << std::hex << cp;
    }
    if ((e & impl::NYM_UNICODE_LOWER) != 0) {
      ASSERT_TRUE(u_islower(static_cast<UChar32>(cp))) << std::hex << cp;
    }
    if (!category_changed_after_7(cp)) {
      ASSERT_EQ(e & impl::NYM_UNICODE_TYPE_MASK, impl::nym_get_icu_char_type(cp)) << std::hex << cp;
    }
  }
}

TEST(UnicodeBitTableTest, IcuClassAboveTheTable) {
  EXPECT_EQ(impl::nym_get_icu_char_type(0xE0001), NYM_CP_OTHER);        // Cf
  EXPECT_EQ(impl::nym_get_icu_char_type(0xE0100), NYM_CP_MARK);         // Mn
  EXPECT_EQ(impl::nym_get_icu_char_type(0xF0000), NYM_CP_CASED);        // Co
  EXPECT_EQ(impl::nym_get_icu_char_type(0x30000), NYM_CP_LETTER);       // Lo (CJK Ext G)
  EXPECT_EQ(impl::nym_get_icu_char_type(0x3FFFF), NYM_CP_OTHER);        // Cn
  EXPECT_EQ(impl::nym_get_icu_char_type(0x110000), NYM_CP_OTHER);       // no code point
  EXPECT_EQ(impl::nym_get_char_type(0xE0100), NYM_CP_MARK);
  EXPECT_EQ(impl::nym_get_char_type(0x2FFFF), NYM_CP_UNASSIGNED);
  EXPECT_EQ(impl::nym_get_char_type('5'), NYM_CP_NUMBER);
}

}  // namespace
