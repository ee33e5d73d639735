#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "nym/date_status_arg.h"

using namespace nym;

namespace {

using Z = Nym_time_zone;

struct Destroy {
  void operator()(Nym_status_arg* arg) const { arg->destroy(); }
};
using Owned_arg = std::unique_ptr<Nym_status_arg, Destroy>;

template <class T>
Wstring formatted(const T& value, const char16_t* format) {
  Wstring out;
  value.to_string(format, out);
  return out;
}

const Nym_date DAY(29, 2, 2024);
const Nym_time CLOCK(13, 4, 5, 0);

}  // namespace

TEST(DateStatusArgTest, TextsAreTheLocaleFormsOfTheValue) {
  const Nym_date_and_time moment(DAY, CLOCK, Z::find(Z::EST));
  const Nym_time_status_arg t(CLOCK);
  const Nym_date_status_arg d(DAY);
  const Nym_date_and_time_status_arg m(moment);
  const std::pair<const Nym_status_arg*, Wstring> cases[] = {
      {&t, formatted(CLOCK, u"%X")},
      {&d, formatted(DAY, u"%x")},
      {&m, formatted(moment, u"%c")},
  };
  for (const auto& c : cases) {
    Wstring out = u"previous content";
    c.first->to_string(out);
    EXPECT_EQ(out, c.second);
    EXPECT_FALSE(out.empty());
  }
}

TEST(DateStatusArgTest, EqualityIsByKindThenValueAndClonesCompareEqual) {
  const Nym_date_and_time noon_est(DAY, Nym_time(12, 0, 0, 0), Z::find(Z::EST));
  const Nym_date_and_time five_gmt(DAY, Nym_time(17, 0, 0, 0), Z::UTC);
  const Nym_time_status_arg t(CLOCK);
  const Nym_date_status_arg d(DAY);
  const Nym_date_and_time_status_arg m(noon_est);
  const Nym_status_arg* const all[] = {&t, &d, &m};
  for (const Nym_status_arg* a : all) {
    for (const Nym_status_arg* b : all) EXPECT_EQ(*a == *b, a == b);
    const Owned_arg copy(a->clone(nullptr));
    EXPECT_TRUE(*copy == *a && *a == *copy);
  }
  // Not even a date and time of the same day equals a date; the int kind never equals these.
  EXPECT_FALSE(Nym_date_status_arg(DAY) == Nym_date_and_time_status_arg(Nym_date_and_time(DAY, Nym_time(), Z::UTC)));
  EXPECT_FALSE(Nym_time_status_arg(Nym_time()) == Nym_int_status_arg(0));
  EXPECT_TRUE(Nym_date_and_time_status_arg(noon_est) == Nym_date_and_time_status_arg(five_gmt));
  EXPECT_TRUE(Nym_time_status_arg(CLOCK) != Nym_time_status_arg(Nym_time(13, 4, 6, 0)));
}
