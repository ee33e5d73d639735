// Nym_status and its arguments: codes, argument lists, chains and their sharing.
#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>
#include <vector>

#include "nym/status.h"

using namespace nym;

namespace {

Wstring text(const Nym_status_arg& arg) {
  Wstring out = u"previous";
  arg.to_string(out);
  return out;
}

Wstring arg_text(const Nym_status& s, unsigned i) { return text(*s.begin()[i]); }

std::vector<unsigned int> chain(const Nym_status& s) {
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

TEST(StatusTest, CodesNormaliseTheSameWayThroughEveryDoor) {
  const struct {
    unsigned int given, value, hresult;
    char severity;
  } cases[] = {{0x5, 0xC0000005, 0x80000005, 'E'},        {0x80000005, 0xC0000005, 0x80000005, 'E'},
               {0x40000000, 0x0, 0x0, 'S'},               {0x70005, 0x70005, 0x70005, 'S'},
               {0x40070005, 0x70005, 0x70005, 'S'},       {0x80070005, 0xC0070005, 0x80070005, 'E'},
               {0xC2000019, 0xC2000019, 0x82000019, 'E'}, {0x82000003, 0x82000003, 0x2000003, 'W'},
               {0x42000001, 0x42000001, 0x2000001, 'I'},  {0x12000001, 0x12000001, 0x2000001, 'S'},
               {0xCC000001, 0xCC000001, 0x87FF0001, 'E'}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.given);
    const Nym_status s(c.given);
    const int kinds = s.is_error() + s.is_warning() + s.is_information() + s.is_success();
    const char severity = kinds != 1 ? '?' : s.is_error() ? 'E' : s.is_warning() ? 'W' : s.is_information() ? 'I' : 'S';
    EXPECT_EQ(std::make_tuple(s.value(), s.orig_value(), s.hresult(), severity, s.ok()),
              std::make_tuple(c.value, c.given, c.hresult, c.severity, c.severity != 'E'));
    Nym_status pushed(0x1234);
    pushed.push(c.given);
    EXPECT_TRUE(pushed.value() == c.value && pushed.contains_value(c.given));
  }
  EXPECT_EQ(Nym_status(0xC2000019).facility(), 0x02000000u);
  EXPECT_TRUE(Nym_status(5) == 5 && Nym_status(5) == 0x80000005 && !(Nym_status(5) != 5));
}

TEST(StatusTest, ArgumentsAreOrderedCopiesUpToEight) {
  Nym_wstring_status_arg path(Wstring(u"C:\\x"));
  Nym_status s(0xC2000026, path, Nym_int_status_arg(-3), Nym_bool_status_arg(true));
  ASSERT_EQ(s.num_args(), 3u);
  EXPECT_EQ(arg_text(s, 0) + arg_text(s, 1) + arg_text(s, 2), u"C:\\x-3true");
  EXPECT_NE(s.begin()[0], static_cast<Nym_status_arg*>(&path));
  s.clear();
  EXPECT_TRUE(s.is_clear() && s.value() == 0 && s.orig_value() == 0 && !s.has_child());

  // The sentinel is skipped from the fifth place on; in the first it is a real, empty argument.
  const Nym_status_arg& null_arg = Nym_null_status_arg::NULL_ARGUMENT;
  Nym_int_status_arg a(1), b(2), c(3), d(4), f(6);
  const Nym_status five(1, a, b, c, d, null_arg, f);
  EXPECT_TRUE(five.num_args() == 5 && arg_text(five, 4) == u"6");
  const Nym_status first_null(1, null_arg, b, c, d);
  EXPECT_TRUE(first_null.num_args() == 4 && arg_text(first_null, 0).empty());
  EXPECT_NE(first_null.begin()[0], &null_arg);

  Nym_status eight(1, a, b, c, d, Nym_int_status_arg(5), f, Nym_int_status_arg(7), Nym_int_status_arg(8));
  try {
    eight.add_arg(Nym_int_status_arg(9));
    FAIL() << "no exception";
  } catch (const std::overflow_error& e) {
    EXPECT_STREQ(e.what(), "Nym_status::Arg_list::add - too many arguments.");
  }
  EXPECT_TRUE(eight.num_args() == 8 && arg_text(eight, 7) == u"8");
}

TEST(StatusTest, CopiesShareAndWritesDoNotGoThroughTheShare) {
  Nym_status a(1, Nym_int_status_arg(10));
  Nym_status b(a);
  EXPECT_EQ(a.begin(), b.begin());
  b.assign(2, Nym_int_status_arg(20));
  EXPECT_EQ(arg_text(a, 0) + arg_text(b, 0), u"1020");
  b.assign(3, Nym_int_status_arg(30), Nym_int_status_arg(31));
  EXPECT_EQ(arg_text(a, 0) + arg_text(b, 1), u"1031");

  // Assign from its own argument, or from one of the chain it drops.
  Nym_status own(1, Nym_wstring_status_arg(Wstring(u"keep")));
  own.assign(2, *own.begin()[0]);
  EXPECT_EQ(arg_text(own, 0), u"keep");
  for (const bool many : {false, true}) {
    Nym_status cause_below(0xC2000026, Nym_wstring_status_arg(Wstring(u"C:\\missing.txt")));
    cause_below.push(0xC2000059);
    const Nym_status_arg& cause = *cause_below.child()->begin()[0];
    if (many) cause_below.assign(0xC2000059, cause, cause, cause, cause, cause);
    else cause_below.assign(0xC2000059, cause);
    EXPECT_EQ(cause_below.num_args(), many ? 5u : 1u);
    EXPECT_EQ(arg_text(cause_below, 0), u"C:\\missing.txt");
    EXPECT_FALSE(cause_below.has_child()) << "assign drops the chain";
  }
}

TEST(StatusTest, ChainsPushPopAndRemember) {
  Nym_status s;
  s.push(0xC2000026, Nym_int_status_arg(1));
  EXPECT_TRUE(!s.has_child() && s.num_args() == 1) << "a push on a clear status makes no child";
  Nym_status zero(0, Nym_int_status_arg(1));
  zero.push(5);
  EXPECT_TRUE(zero.has_child() && zero.child()->value() == 0 && zero.child()->num_args() == 1);
  Nym_status remembered(5);
  remembered.push(0);
  EXPECT_TRUE(remembered.ok() && remembered.contains_value(5) && !remembered.is_clear());

  Nym_status c(2);  // the system's code first
  c.push(0xC2000026, Nym_wstring_status_arg(Wstring(u"a.ini")));
  c.push(0xC2000059);
  EXPECT_EQ(chain(c), (std::vector<unsigned int>{0xC2000059, 0xC2000026, 0xC0000002}));
  EXPECT_TRUE(c.contains_value(2) && c.contains_value(0xC2000026) && !c.contains_value(3));
  const Nym_status copy = c;
  c.pop();
  EXPECT_TRUE(c.value() == 0xC2000026 && arg_text(c, 0) == u"a.ini");
  c.pop();
  EXPECT_TRUE(c.orig_value() == 2 && !c.has_child());
  c.pop();
  EXPECT_TRUE(c.is_clear());
  EXPECT_EQ(chain(copy).size(), 3u) << "the copy shared the chain and still sees all of it";

  // A pushed status goes on top with its chain, deep-copied.
  Nym_status mine(2);
  mine.push(0xC2000026);
  Nym_status other(3);
  other.push(0xC2000059, Nym_int_status_arg(9));
  mine.push(other);
  EXPECT_EQ(chain(mine), (std::vector<unsigned int>{0xC2000059, 0xC0000003, 0xC2000026, 0xC0000002}));
  EXPECT_EQ(chain(other), (std::vector<unsigned int>{0xC2000059, 0xC0000003}));
  Nym_status t(2);
  t.push(0xC2000026);
  t.push(t);
  EXPECT_EQ(chain(t), (std::vector<unsigned int>{0xC2000026, 0xC2000026, 0xC0000002})) << "a push of itself";
  t.pop();
  t.push(*t.child());
  EXPECT_EQ(chain(t), (std::vector<unsigned int>{0xC0000002, 0xC2000026, 0xC0000002})) << "of its own child";
  EXPECT_THROW(t.push(0xC2000059, Throwing_arg()), std::bad_alloc);
  EXPECT_EQ(chain(t).size(), 3u) << "a failed push leaves the status as it was";
}

TEST(StatusTest, EqualityIsTheValueCompareGoesDeep) {
  const Nym_status a(7, Nym_int_status_arg(1));
  const Nym_status b(0x80000007, Nym_int_status_arg(2));
  EXPECT_TRUE(a == b && a.compare(b, false, false) && !a.compare(b, true, false));
  EXPECT_TRUE(a.compare(Nym_status(7, Nym_int_status_arg(1)), true, true));
  Nym_status absent(7), empty_list(7);
  empty_list.add_arg(Nym_null_status_arg::NULL_ARGUMENT);
  EXPECT_TRUE(absent.compare(empty_list, true, true) && empty_list.compare(absent, true, true));
  Nym_status x(2), y(2);
  x.push(0xC2000059);
  x.push(0xC2000059);
  y.push(0xC2000059);
  EXPECT_TRUE(x.compare(y, true, false) && !x.compare(y, true, true)) << "a longer chain";
  // Chains are released, copied and compared without recursion.
  Nym_status deep;
  for (int i = 0; i < 200000; ++i) deep.push(0xC2000019);
  const Nym_status deep_copy = deep;
  EXPECT_TRUE(deep.compare(deep_copy, true, true));
  deep.clear();
  EXPECT_TRUE(deep_copy.contains_value(0xC2000019));
}

TEST(StatusArgTest, TextsKindsAndClones) {
  EXPECT_EQ(text(Nym_null_status_arg()) + u"|" + text(Nym_int_status_arg(INT64_MIN)) + u"|" +
                text(Nym_uint_status_arg(UINT64_MAX)) + u"|" + text(Nym_bool_status_arg(false)) + u"|" +
                text(Nym_int_status_arg(1234567, true)) + u"|" + Nym_wstring_status_arg(Nstring("caf\xE9")).value(),
            u"|-9223372036854775808|18446744073709551615|false|1234567|caf\u00E9")
      << "the C locale has no groups; narrow text is Latin-1";
  // Equal only in kind and value; the int's format takes no part.
  EXPECT_TRUE(Nym_int_status_arg(5, true) == Nym_int_status_arg(5, false));
  EXPECT_TRUE(Nym_wstring_status_arg(Wstring(u"a")) == Nym_wstring_status_arg(Nstring("a")));
  EXPECT_TRUE(Nym_null_status_arg() == Nym_null_status_arg::NULL_ARGUMENT);
  EXPECT_FALSE(Nym_int_status_arg(5) == Nym_uint_status_arg(5) || Nym_uint_status_arg(5) == Nym_int_status_arg(5) ||
               Nym_wstring_status_arg(Wstring(u"a")) == Nym_wstring_status_arg(Wstring(u"A")) ||
               Nym_null_status_arg() == Nym_bool_status_arg(false));
  const Nym_int_status_arg original(7, true);
  Nym_status_arg* const copy = original.clone(nullptr);
  EXPECT_TRUE(copy != &original && *copy == original && static_cast<Nym_int_status_arg*>(copy)->format());
  copy->destroy();
}
