#include <gtest/gtest.h>

#include <stdexcept>

#include "nym/status.h"

using namespace nym;

namespace {

// Frees a clone through the path lists use.
struct Destroy {
  void operator()(Nym_status_arg* arg) const { arg->destroy(); }
};
using Owned_arg = Ovt_auto_ptr<Nym_status_arg, Destroy>;

Wstring text_of(const Nym_status_arg& arg) {
  Wstring out = u"previous";
  arg.to_string(out);
  return out;
}

}  // namespace

TEST(StatusArgTest, IdentitiesAreTheFixedValues) {
  EXPECT_EQ(Nym_null_status_arg::ID.Data1, 0xE8325200u);
  EXPECT_EQ(Nym_int_status_arg::ID.Data1, 0xCFA02F50u);
  EXPECT_EQ(Nym_uint_status_arg::ID.Data1, 0x756DF300u);
  EXPECT_EQ(Nym_bool_status_arg::ID.Data1, 0x3FDA7139u);
  EXPECT_EQ(Nym_wstring_status_arg::ID.Data1, 0x6785ECA0u);
  const GUID expected_bool = {0x3FDA7139, 0xC3F9, 0x11D1, {0xA5, 0xAB, 0x00, 0xA0, 0xC9, 0xAA, 0xB3, 0xEB}};
  EXPECT_TRUE(nym_guid_equal(Nym_bool_status_arg::ID, expected_bool));
  const GUID expected_wstring = {0x6785ECA0, 0x2DBA, 0x11D0, {0x8F, 0x18, 0x00, 0x00, 0xC0, 0x1C, 0x6C, 0xDE}};
  EXPECT_TRUE(nym_guid_equal(Nym_wstring_status_arg::ID, expected_wstring));
  EXPECT_TRUE(nym_guid_equal(Nym_int_status_arg(1).identity(), Nym_int_status_arg::ID));
  EXPECT_TRUE(nym_guid_equal(Nym_null_status_arg::NULL_ARGUMENT.identity(), Nym_null_status_arg::ID));
}

TEST(StatusArgTest, ToStringReplacesTheOutput) {
  EXPECT_EQ(text_of(Nym_null_status_arg()), u"");
  EXPECT_EQ(text_of(Nym_int_status_arg(-42, false)), u"-42");
  EXPECT_EQ(text_of(Nym_int_status_arg(INT64_MIN, false)), u"-9223372036854775808");
  EXPECT_EQ(text_of(Nym_uint_status_arg(UINT64_MAX, false)), u"18446744073709551615");
  EXPECT_EQ(text_of(Nym_bool_status_arg(true)), u"true");
  EXPECT_EQ(text_of(Nym_bool_status_arg(false)), u"false");
  EXPECT_EQ(text_of(Nym_wstring_status_arg(Wstring(u"path"))), u"path");
}

TEST(StatusArgTest, WstringArgIntoItsOwnValueIsUnchanged) {
  Nym_wstring_status_arg arg(Wstring(u"same"));
  arg.to_string(const_cast<Wstring&>(arg.value()));
  EXPECT_EQ(arg.value(), u"same");
}

TEST(StatusArgTest, NarrowStringIsWidenedAsLatin1) {
  Nym_wstring_status_arg arg(Nstring("caf\xE9"));
  EXPECT_EQ(arg.value(), Wstring(u"caf\u00E9"));
}

TEST(StatusArgTest, EqualityNeedsTheSameKindAndValue) {
  EXPECT_TRUE(Nym_int_status_arg(5, true) == Nym_int_status_arg(5, false));
  EXPECT_FALSE(Nym_int_status_arg(5, false) == Nym_uint_status_arg(5, false));
  EXPECT_FALSE(Nym_uint_status_arg(5, false) == Nym_int_status_arg(5, false));
  EXPECT_FALSE(Nym_int_status_arg(5) == Nym_int_status_arg(6));
  EXPECT_TRUE(Nym_bool_status_arg(true) == Nym_bool_status_arg(true));
  EXPECT_FALSE(Nym_bool_status_arg(true) == Nym_bool_status_arg(false));
  EXPECT_TRUE(Nym_wstring_status_arg(Wstring(u"a")) == Nym_wstring_status_arg(Nstring("a")));
  EXPECT_FALSE(Nym_wstring_status_arg(Wstring(u"a")) == Nym_wstring_status_arg(Wstring(u"A")));
  EXPECT_FALSE(Nym_wstring_status_arg(Wstring(u"1")) == Nym_int_status_arg(1));
  // Any null argument equals any other, the sentinel included.
  EXPECT_TRUE(Nym_null_status_arg() == Nym_null_status_arg::NULL_ARGUMENT);
  EXPECT_TRUE(Nym_null_status_arg::NULL_ARGUMENT == Nym_null_status_arg());
  EXPECT_FALSE(Nym_null_status_arg() == Nym_bool_status_arg(false));
}

TEST(StatusArgTest, CloneIsAnEqualDistinctObject) {
  const Nym_int_status_arg original(7, true);
  Owned_arg copy(original.clone(nullptr));
  ASSERT_NE(copy.get(), &original);
  EXPECT_TRUE(*copy == original);
  EXPECT_TRUE(static_cast<Nym_int_status_arg*>(copy.get())->format());

  Owned_arg null_copy(Nym_null_status_arg::NULL_ARGUMENT.clone(nullptr));
  EXPECT_NE(null_copy.get(), &Nym_null_status_arg::NULL_ARGUMENT);
  EXPECT_TRUE(*null_copy == Nym_null_status_arg::NULL_ARGUMENT);
}

TEST(StatusArgTest, FormatFlagGroupsOnlyWhenTheLocaleDoes) {
  // The "C" locale has no thousands separator, so grouping asked for changes nothing.
  EXPECT_EQ(text_of(Nym_int_status_arg(1234567, true)), u"1234567");
  EXPECT_EQ(text_of(Nym_uint_status_arg(1234567, true)), u"1234567");
}
