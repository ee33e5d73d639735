#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "nym/status.h"

using namespace nym;

namespace {

Wstring arg_text(const Nym_status& s, unsigned i) {
  Wstring out;
  s.begin()[i]->to_string(out);
  return out;
}

std::vector<unsigned int> chain_values(const Nym_status& s) {
  std::vector<unsigned int> values;
  for (const Nym_status* p = &s; p != nullptr; p = p->child()) values.push_back(p->value());
  return values;
}

// An argument whose clone throws, to drive the recovery paths.
class Throwing_arg : public Nym_int_status_arg {
 public:
  Throwing_arg() : Nym_int_status_arg(0) {}
  Nym_status_arg* clone(const void*) const override { throw std::bad_alloc(); }
};

}  // namespace

struct Code_case {
  unsigned int given;
  unsigned int value;
  unsigned int hresult;
};

class StatusCodeTest : public testing::TestWithParam<Code_case> {};

TEST_P(StatusCodeTest, NormalisesAndComposesHresult) {
  const Code_case c = GetParam();
  const Nym_status from_constructor(c.given);
  EXPECT_EQ(from_constructor.value(), c.value);
  EXPECT_EQ(from_constructor.orig_value(), c.given);
  EXPECT_EQ(from_constructor.hresult(), c.hresult);

  Nym_status assigned;
  assigned = c.given;
  EXPECT_EQ(assigned.value(), c.value);
  EXPECT_TRUE(assigned == c.given);

  Nym_status with_arg;
  with_arg.assign(c.given, Nym_int_status_arg(1));
  EXPECT_EQ(with_arg.value(), c.value);

  Nym_status pushed(0x1234);
  pushed.push(c.given);
  EXPECT_EQ(pushed.value(), c.value);
  EXPECT_TRUE(pushed.contains_value(c.given));
}

INSTANTIATE_TEST_SUITE_P(CodeTable, StatusCodeTest,
                         testing::Values(Code_case{0x0, 0x0, 0x0}, Code_case{0x5, 0xC0000005, 0x80000005},
                                         Code_case{0x80000005, 0xC0000005, 0x80000005},
                                         Code_case{0x40000000, 0x0, 0x0}, Code_case{0xC0000000, 0x0, 0x0},
                                         Code_case{0x70005, 0x70005, 0x70005},
                                         Code_case{0x40070005, 0x70005, 0x70005},
                                         Code_case{0x80070005, 0xC0070005, 0x80070005},
                                         Code_case{0xC2000019, 0xC2000019, 0x82000019},
                                         Code_case{0x82000003, 0x82000003, 0x2000003},
                                         Code_case{0x42000001, 0x42000001, 0x2000001},
                                         Code_case{0x12000001, 0x12000001, 0x2000001},
                                         Code_case{0xCC000001, 0xCC000001, 0x87FF0001}));

TEST(StatusTest, SeverityTests) {
  const Nym_status error(0xC2000019), warning(0x82000003), info(0x42000001), success(0x12000001);
  EXPECT_TRUE(error.is_error());
  EXPECT_FALSE(error.ok());
  EXPECT_TRUE(warning.is_warning());
  EXPECT_TRUE(warning.ok());
  EXPECT_TRUE(info.is_information());
  EXPECT_TRUE(info.ok());
  EXPECT_TRUE(success.is_success());
  EXPECT_FALSE(success.is_error() || success.is_warning() || success.is_information());
  EXPECT_EQ(error.facility(), 0x02000000u);
  EXPECT_EQ(Nym_status(0x80070005).facility(), 0x00070000u);
}

TEST(StatusTest, PlainSystemErrorComparesByNumber) {
  Nym_status s;
  s = 5;
  EXPECT_TRUE(s == 5);
  EXPECT_TRUE(s == 0x80000005);
  EXPECT_FALSE(s != 5);
  EXPECT_EQ(s.value(), 0xC0000005u);
  EXPECT_TRUE(s.is_error());
}

TEST(StatusTest, ClearAndDefaultAreEmpty) {
  Nym_status s(0xC2000019, Nym_int_status_arg(1));
  s.push(5);
  s.clear();
  EXPECT_TRUE(s.is_clear());
  EXPECT_EQ(s.value(), 0u);
  EXPECT_EQ(s.orig_value(), 0u);
  EXPECT_EQ(s.num_args(), 0u);
  EXPECT_FALSE(s.has_child());
  EXPECT_EQ(s.begin(), s.end());
  // Every empty status walks the same static empty range.
  EXPECT_EQ(Nym_status().begin(), s.begin());
}

TEST(StatusTest, ArgumentsKeepTheirOrderAndAreCopies) {
  Nym_wstring_status_arg path(Wstring(u"C:\\x"));
  Nym_status s(0xC2000026, path, Nym_int_status_arg(-3), Nym_bool_status_arg(true));
  ASSERT_EQ(s.num_args(), 3u);
  EXPECT_EQ(arg_text(s, 0), u"C:\\x");
  EXPECT_EQ(arg_text(s, 1), u"-3");
  EXPECT_EQ(arg_text(s, 2), u"true");
  EXPECT_NE(s.begin()[0], static_cast<Nym_status_arg*>(&path));
  EXPECT_EQ(s.end() - s.begin(), 3);
}

TEST(StatusTest, SentinelIsSkippedOnlyFromTheFifthPlace) {
  const Nym_status_arg& null_arg = Nym_null_status_arg::NULL_ARGUMENT;
  Nym_int_status_arg a(1), b(2), c(3), d(4), f(6);
  Nym_status five(1, a, b, c, d, null_arg, f);
  ASSERT_EQ(five.num_args(), 5u);
  EXPECT_EQ(arg_text(five, 4), u"6");  // the sixth parameter moves up

  Nym_status first_null(1, null_arg, b, c, d);
  ASSERT_EQ(first_null.num_args(), 4u);  // a real, empty argument in the first place
  EXPECT_EQ(arg_text(first_null, 0), u"");
  EXPECT_NE(first_null.begin()[0], &Nym_null_status_arg::NULL_ARGUMENT);

  Nym_status one(1, null_arg);
  EXPECT_EQ(one.num_args(), 1u);
}

TEST(StatusTest, NinthArgumentThrowsAndKeepsTheEight) {
  Nym_status s(1, Nym_int_status_arg(1), Nym_int_status_arg(2), Nym_int_status_arg(3), Nym_int_status_arg(4),
               Nym_int_status_arg(5), Nym_int_status_arg(6), Nym_int_status_arg(7), Nym_int_status_arg(8));
  ASSERT_EQ(s.num_args(), 8u);
  try {
    s.add_arg(Nym_int_status_arg(9));
    FAIL() << "no exception";
  } catch (const std::overflow_error& e) {
    EXPECT_STREQ(e.what(), "Nym_status::Arg_list::add - too many arguments.");
  }
  EXPECT_EQ(s.num_args(), 8u);
  EXPECT_EQ(arg_text(s, 7), u"8");
  // The sentinel is looked at before the limit.
  EXPECT_NO_THROW(s.add_arg(Nym_null_status_arg::NULL_ARGUMENT));
  EXPECT_EQ(s.num_args(), 8u);
}

TEST(StatusTest, AddArgOfTheSentinelAddsNothingButItsCloneDoes) {
  Nym_status s(1);
  s.add_arg(Nym_null_status_arg::NULL_ARGUMENT);  // makes an empty list
  EXPECT_EQ(s.num_args(), 0u);
  s.add_arg(Nym_null_status_arg());  // a different null object is a real argument
  EXPECT_EQ(s.num_args(), 1u);
  s.add_arg(*s.begin()[0]);  // so is a clone
  EXPECT_EQ(s.num_args(), 2u);
}

TEST(StatusTest, CopiesShareAndAssignDoesNotWriteThroughTheShare) {
  Nym_status a(1, Nym_int_status_arg(10));
  Nym_status b(a);
  EXPECT_EQ(a.begin(), b.begin());
  b.assign(2, Nym_int_status_arg(20));
  EXPECT_EQ(arg_text(a, 0), u"10");
  EXPECT_EQ(arg_text(b, 0), u"20");
  EXPECT_EQ(a.value(), 0xC0000001u);
  // Sole owner: rebuilt in place.
  Nym_status_arg* const* before = b.begin();
  b.assign(3, Nym_int_status_arg(30), Nym_int_status_arg(31));
  EXPECT_EQ(b.begin(), before);
  EXPECT_EQ(b.num_args(), 2u);
}

TEST(StatusTest, AssignFromItsOwnArgumentIsSafe) {
  Nym_status s(1, Nym_wstring_status_arg(Wstring(u"keep")));
  s.assign(2, *s.begin()[0]);
  ASSERT_EQ(s.num_args(), 1u);
  EXPECT_EQ(arg_text(s, 0), u"keep");
  // An argument of the chain, which assign drops: re-reporting a cause's argument on top.
  for (bool many : {false, true}) {
    Nym_status c(0xC2000026, Nym_wstring_status_arg(Wstring(u"C:\\missing.txt")));
    c.push(0xC2000059);
    const Nym_status_arg& cause = *c.child()->begin()[0];
    if (many) {
      c.assign(0xC2000059, cause, cause, cause, cause, cause);
    } else {
      c.assign(0xC2000059, cause);
    }
    ASSERT_EQ(c.num_args(), many ? 5u : 1u);
    EXPECT_EQ(arg_text(c, 0), u"C:\\missing.txt");
    EXPECT_FALSE(c.has_child());
  }
}

TEST(StatusTest, AddArgOnACopyKeepsOnlyTheNewArgument) {
  Nym_status a(1, Nym_int_status_arg(1), Nym_int_status_arg(2));
  Nym_status b = a;
  b.add_arg(Nym_int_status_arg(3));
  ASSERT_EQ(b.num_args(), 1u);
  EXPECT_EQ(arg_text(b, 0), u"3");
  EXPECT_EQ(a.num_args(), 2u);
  // Once sole owner again, add_arg appends.
  a = Nym_status();
  b.add_arg(Nym_int_status_arg(4));
  EXPECT_EQ(b.num_args(), 2u);
}

TEST(StatusTest, AssignDropsTheChain) {
  Nym_status s(5);
  s.push(0xC2000026, Nym_int_status_arg(1));
  ASSERT_TRUE(s.has_child());
  s.assign(0xC2000059, Nym_int_status_arg(2));
  EXPECT_FALSE(s.has_child());
}

TEST(StatusTest, PushOnAClearStatusMakesNoChild) {
  Nym_status s;
  s.push(0xC2000019);
  EXPECT_FALSE(s.has_child());
  EXPECT_EQ(s.value(), 0xC2000019u);

  Nym_status with_args;
  with_args.push(0xC2000026, Nym_int_status_arg(1));
  EXPECT_FALSE(with_args.has_child());
  EXPECT_EQ(with_args.num_args(), 1u);
}

TEST(StatusTest, PushOnValueZeroWithArgumentsMakesAChild) {
  Nym_status s(0, Nym_int_status_arg(1));
  EXPECT_FALSE(s.is_clear());
  s.push(5);
  ASSERT_TRUE(s.has_child());
  EXPECT_EQ(s.child()->value(), 0u);
  EXPECT_EQ(s.child()->num_args(), 1u);
  EXPECT_EQ(s.num_args(), 0u);
}

TEST(StatusTest, PushZeroOverAnErrorIsOkButRemembers) {
  Nym_status s(5);
  s.push(0);
  EXPECT_EQ(s.value(), 0u);
  EXPECT_TRUE(s.ok());
  EXPECT_TRUE(s.contains_value(5));
  EXPECT_FALSE(s.is_clear());
}

TEST(StatusTest, ChainReadsNewestFirst) {
  Nym_status s;
  s = 2;  // the system's code first
  s.push(0xC2000026, Nym_wstring_status_arg(Wstring(u"a.ini")));
  s.push(0xC2000059);
  EXPECT_EQ(chain_values(s), (std::vector<unsigned int>{0xC2000059, 0xC2000026, 0xC0000002}));
  EXPECT_EQ(arg_text(*s.child(), 0), u"a.ini");
  EXPECT_TRUE(s.contains_value(2));
  EXPECT_TRUE(s.contains_value(0xC2000026));
  EXPECT_FALSE(s.contains_value(3));
  EXPECT_TRUE(s.contains_value(0xC2000059));
}

TEST(StatusTest, PopMovesDownAndEndsClear) {
  Nym_status s(2);
  s.push(0xC2000026, Nym_int_status_arg(7));
  s.push(0xC2000059);
  Nym_status copy = s;
  s.pop();
  EXPECT_EQ(s.value(), 0xC2000026u);
  EXPECT_EQ(arg_text(s, 0), u"7");
  s.pop();
  EXPECT_EQ(s.value(), 0xC0000002u);
  EXPECT_EQ(s.orig_value(), 2u);
  EXPECT_FALSE(s.has_child());
  s.pop();
  EXPECT_TRUE(s.is_clear());
  // The copy shared the chain and still sees all of it.
  EXPECT_EQ(chain_values(copy).size(), 3u);
}

TEST(StatusTest, PushStatusPutsOtherAndItsChainOnTop) {
  Nym_status mine(2);
  mine.push(0xC2000026);
  Nym_status other(3);
  other.push(0xC2000059, Nym_int_status_arg(9));
  mine.push(other);
  EXPECT_EQ(chain_values(mine), (std::vector<unsigned int>{0xC2000059, 0xC0000003, 0xC2000026, 0xC0000002}));
  EXPECT_EQ(arg_text(mine, 0), u"9");
  // other's own chain is untouched: it was deep-copied before the link.
  EXPECT_EQ(chain_values(other), (std::vector<unsigned int>{0xC2000059, 0xC0000003}));
}

TEST(StatusTest, PushStatusOntoClearShares) {
  Nym_status other(3, Nym_int_status_arg(1));
  Nym_status s;
  s.push(other);
  EXPECT_EQ(s.begin(), other.begin());
}

TEST(StatusTest, PushItselfAndPushFromItsOwnChain) {
  Nym_status s(2);
  s.push(0xC2000026);
  s.push(s);
  EXPECT_EQ(chain_values(s), (std::vector<unsigned int>{0xC2000026, 0xC2000026, 0xC0000002}));

  Nym_status t(2);
  t.push(0xC2000026);
  t.push(*t.child());
  EXPECT_EQ(chain_values(t), (std::vector<unsigned int>{0xC0000002, 0xC2000026, 0xC0000002}));
}

TEST(StatusTest, FailedPushLeavesTheStatusAsItWas) {
  Nym_status s(2);
  s.push(0xC2000026, Nym_int_status_arg(1));
  EXPECT_THROW(s.push(0xC2000059, Throwing_arg()), std::bad_alloc);
  EXPECT_EQ(chain_values(s), (std::vector<unsigned int>{0xC2000026, 0xC0000002}));
  EXPECT_EQ(arg_text(s, 0), u"1");
}

TEST(StatusTest, EqualityIsValueOnlyCompareGoesDeep) {
  const Nym_status a(7, Nym_int_status_arg(1));
  const Nym_status b(0x80000007, Nym_int_status_arg(2));
  EXPECT_TRUE(a == b);  // orig values differ, values do not
  EXPECT_TRUE(a.compare(b, false, false));
  EXPECT_FALSE(a.compare(b, true, false));
  EXPECT_TRUE(a.compare(Nym_status(7, Nym_int_status_arg(1)), true, true));
}

TEST(StatusTest, CompareTreatsAbsentAndEmptyListsAlike) {
  Nym_status absent(7);
  Nym_status empty_list(7);
  empty_list.add_arg(Nym_null_status_arg::NULL_ARGUMENT);
  EXPECT_TRUE(absent.compare(empty_list, true, true));
  EXPECT_TRUE(empty_list.compare(absent, true, true));
  EXPECT_FALSE(absent.compare(Nym_status(7, Nym_int_status_arg(1)), true, false));

  // Value 0 with an empty list is clear, so a push on it starts a fresh report.
  Nym_status zero;
  zero.add_arg(Nym_null_status_arg::NULL_ARGUMENT);
  EXPECT_TRUE(zero.is_clear());
  zero.push(5);
  EXPECT_FALSE(zero.has_child());
}

TEST(StatusTest, CompareWalksChains) {
  Nym_status a(2), b(2);
  a.push(0xC2000026);
  b.push(0xC2000026);
  EXPECT_TRUE(a.compare(b, true, true));
  b.push(0xC2000059);
  a.push(0xC2000059);
  a.push(0xC2000059);
  EXPECT_TRUE(a.compare(b, true, false));
  EXPECT_FALSE(a.compare(b, true, true));  // a has a longer chain
}

TEST(StatusTest, DeepChainsReleaseWithoutRecursion) {
  Nym_status s;
  for (int i = 0; i < 200000; ++i) s.push(0xC2000019);
  Nym_status copy = s;
  EXPECT_TRUE(s.compare(copy, true, true));
  s.clear();
  EXPECT_TRUE(copy.contains_value(0xC2000019));
}
