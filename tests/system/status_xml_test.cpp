// Statuses into a Xerces-C document and back: the form, the round trips, the values that
// deliberately don't come back, and documents that must be refused without harm.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <gtest/gtest.h>

#include "nym/date_status_arg.h"
#include "nym/status.h"
#include "test_helpers.h"

using namespace nym;
using namespace xercesc;
using nym_test::utf8;
using nym_test::what_of;

namespace {

const char* const INVALID = "Nym_status::from_xml() - Invalid XML format";

// Counts what the test's document allocates.
struct Counting_memory : MemoryManager {
  MemoryManager* getExceptionMemoryManager() override { return this; }
  void* allocate(XMLSize_t size) override { return ++allocations, ::operator new(size); }
  void deallocate(void* p) override { ::operator delete(p); }
  long allocations = 0;
};

class StatusXmlTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { XMLPlatformUtils::Initialize(); }
  static void TearDownTestSuite() { XMLPlatformUtils::Terminate(); }
  StatusXmlTest()
      : document(DOMImplementationRegistry::getDOMImplementation(u"LS")->createDocument(nullptr, u"S", nullptr, &memory)) {}
  ~StatusXmlTest() override { document->release(); }

  DOMElement* arg(const char16_t* type, const Wstring& value) {
    DOMElement* e = document->createElement(u"Arg");
    e->setAttribute(u"type", type);
    e->setAttribute(u"value", value.c_str());
    return e;
  }
  // A status element of this value with one Arg for each (type, value) pair given.
  DOMElement* element(const char16_t* value, std::initializer_list<std::pair<const char16_t*, Wstring>> args = {}) {
    DOMElement* e = document->createElement(u"Status");
    e->setAttribute(u"value", value);
    for (const auto& [type, text] : args) e->appendChild(arg(type, text));
    return e;
  }
  DOMElement* written(const Nym_status& status, bool children = true) {
    DOMElement* e = document->createElement(u"Status");
    status.to_xml(e, children);
    return e;
  }
  static Nym_status read(const DOMNode* e) {
    Nym_status status;
    status.from_xml(e);
    return status;
  }

  Counting_memory memory;
  DOMDocument* document;
};

std::string attr(const DOMNode* node, const char16_t* name) {
  return utf8(static_cast<const DOMElement*>(node)->getAttribute(name));
}

}  // namespace

TEST_F(StatusXmlTest, ValuesAreWrittenInDecimalAndReadBackAsHeld) {
  const DOMElement* e = written(Nym_status(0xC2000019u));
  EXPECT_EQ(attr(e, u"value") + " " + attr(e, u"origvalue"), "3254779929 3254779929");
  e = written(Nym_status(5));
  EXPECT_EQ(attr(e, u"value") + " " + attr(e, u"origvalue"), "3221225477 5");
  EXPECT_EQ(read(e).orig_value(), 5u);
  EXPECT_EQ(read(element(u"7")).value(), 7u);  // as read, not normalised; origvalue missing: 0
  EXPECT_EQ(what_of([&] { read(element(u"-1")); }), "i64 too negative for u32");
  EXPECT_EQ(what_of([&] { read(element(u"4294967296")); }), "i64 too positive for u32");
  EXPECT_EQ(what_of([&] { read(document); }), INVALID);  // elements only, both ways
  EXPECT_EQ(what_of([&] { Nym_status(1).to_xml(document, true); }), "Nym_status::to_xml() - not an element");
}

TEST_F(StatusXmlTest, AChainOfThreeWithEveryKindComesBack) {
  Nym_status status(2, Nym_int_status_arg(-42, true), Nym_uint_status_arg(UINT64_MAX, true), Nym_bool_status_arg(true),
                    Nym_wstring_status_arg(Wstring(u"tab\there \\ <&\"'> ") + u'\0' + u"\U0001F600"));
  status.push(0xC2000026u, Nym_date_status_arg(Nym_date(15, 3, -44)), Nym_date_status_arg(Nym_date(31, 12, 32766)),
              Nym_time_status_arg(Nym_time(23, 59, 58, 0)), Nym_int_status_arg(INT64_MIN, true));
  status.push(0xC2000059u, Nym_date_and_time_status_arg(Nym_date_and_time(
                               Nym_date(1, 1, 2000), Nym_time(0, 30, 0, 0), Nym_time_zone::find("EST"))));
  const DOMElement* e = written(status);
  EXPECT_EQ(attr(e->getFirstChild(), u"value"), "2000-01-01T05-30-00Z");  // in UTC
  EXPECT_EQ(attr(e->getLastChild()->getFirstChild(), u"value"), "-0044-03-15");
  EXPECT_EQ(utf8(e->getLastChild()->getLastChild()->getNodeName()), "ChildStatus");
  EXPECT_TRUE(read(e).compare(status, true, true));
  EXPECT_EQ(read(e).child()->child()->orig_value(), 2u);
  EXPECT_FALSE(written(status, false)->getLastChild()->getNextSibling());
  EXPECT_FALSE(read(written(status, false)).has_child());
}

TEST_F(StatusXmlTest, WhatDeliberatelyDoesntComeBackAsItWent) {
  const DOMElement* e = written(Nym_status(1, Nym_int_status_arg(1), Nym_bool_status_arg(false)));
  EXPECT_EQ(attr(e->getLastChild(), u"value"), "false");  // written, but only "" reads as false
  Nym_status partial;
  EXPECT_EQ(what_of([&] { partial.from_xml(e); }), INVALID);
  EXPECT_EQ(partial.num_args(), 1u);  // what was read stays
  EXPECT_TRUE(*read(element(u"1", {{u"bool", u""}})).begin()[0] == Nym_bool_status_arg(false));

  const Nym_date_and_time noon_est(Nym_date(5, 3, 2024), Nym_time(12, 0, 0, 0), Nym_time_zone::find("EST"));
  const Nym_status back = read(written(Nym_status(1, Nym_null_status_arg(), Nym_int_status_arg(3, false),
                                                  Nym_time_status_arg(Nym_time(1, 2, 3, 456)),
                                                  Nym_date_and_time_status_arg(noon_est))));
  Nym_status_arg* const* args = back.begin();
  EXPECT_TRUE(*args[0] == Nym_wstring_status_arg(Wstring()));  // null becomes an empty string
  EXPECT_TRUE(static_cast<const Nym_int_status_arg*>(args[1])->format());  // the flag comes back set
  EXPECT_TRUE(*args[2] == Nym_time_status_arg(Nym_time(1, 2, 3, 0)));  // no microseconds
  EXPECT_TRUE(static_cast<const Nym_date_and_time_status_arg*>(args[3])->value().is_same_as(noon_est.utc()));
}

TEST_F(StatusXmlTest, ValuesFromTheDocumentAreNeverFormats) {
  const struct {
    const char16_t* type;
    const char16_t* value;
    const char* written;  // the argument written back, or null when it is refused
  } cases[] = {
      {u"date", u"2024-3-5", "2024-03-05"}, {u"date", u"-4713-01-01", "-4713-01-01"}, {u"date", u"%s%s%s%n", nullptr},
      {u"date", u"%4d-%2d-%2d", nullptr},   {u"date", u"2024-02-30", nullptr},        {u"date", u"0-01-01", nullptr},
      {u"date", u"2024-03-05 ", nullptr},   {u"date", u" 2024-03-05", nullptr},       {u"date", u"123456-01-01", nullptr},
      {u"time", u"23-59-59", "23-59-59"},   {u"time", u"24-00-00", nullptr},          {u"time", u"12-00", nullptr},
      {u"datetime", u"2024-03-05T14-07-09Z", "2024-03-05T14-07-09Z"},                 {u"datetime", u"2024-03-05T14-07-09", nullptr},
      {u"datetime", u"2024-03-05T14-07-09z", nullptr},                                {u"datetime", u"%4d-%2d-%2dT%2d-%2d-%2d%c", nullptr},
      {u"bool", u"true", "true"},           {u"bool", u"TRUE", nullptr},              {u"int", u"  -17xyz", "-17"},
      {u"uint", u"-1", "18446744073709551615"},                                       {u"Int", u"1", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(utf8(c.type) + " " + utf8(c.value));
    if (c.written == nullptr) {
      EXPECT_EQ(what_of([&] { read(element(u"1", {{c.type, c.value}})); }), INVALID);
    } else {
      EXPECT_EQ(attr(written(read(element(u"1", {{c.type, c.value}})))->getFirstChild(), u"value"), c.written);
    }
  }
}

TEST_F(StatusXmlTest, ArgumentsEndAtTheFirstOtherElementAndAChildReplacesTheChain) {
  DOMElement* nine = element(u"1", {{u"int", u"1"}, {u"int", u"2"}, {u"int", u"3"}, {u"int", u"4"}, {u"int", u"5"},
                                    {u"int", u"6"}, {u"int", u"7"}, {u"int", u"8"}, {u"int", u"9"}});
  nine->appendChild(document->createElement(u"ChildStatus"));
  EXPECT_EQ(read(nine).num_args(), 8u);  // the ninth goes to the chain, which it isn't
  EXPECT_FALSE(read(nine).has_child());

  DOMElement* mixed = element(u"9", {{u"int", u"1"}});
  for (int i = 0; i < 100000; ++i) mixed->appendChild(document->createComment(u"c"));  // passed over
  mixed->appendChild(document->createTextNode(u"text"));
  mixed->appendChild(arg(u"int", u"2"));
  static_cast<DOMElement*>(mixed->appendChild(document->createElement(u"ChildStatus")))->setAttribute(u"value", u"8");
  Nym_status status(1);
  status.push(0xC2000019u);
  status.push(0xC2000026u, Nym_int_status_arg(0));
  status.from_xml(mixed);
  EXPECT_EQ(status.num_args(), 3u);  // added to what it held
  EXPECT_EQ(status.child()->value(), 8u);
  EXPECT_FALSE(status.child()->has_child());
}

TEST_F(StatusXmlTest, AHundredThousandLevelsCostNoStackAndReadingLeavesNothingBehind) {
  Nym_status deep;
  for (unsigned int i = 0; i < 100000; ++i) deep.push(i + 1, Nym_uint_status_arg(i));
  const DOMElement* e = written(deep);
  const long before = memory.allocations;
  const Nym_status back = read(e);
  unsigned int depth = 0;
  for (const Nym_status* s = &back; s != nullptr; s = s->child()) ++depth;
  EXPECT_EQ(depth, 100000u);
  EXPECT_TRUE(back.compare(deep, true, true));
  const DOMNode* last = e;
  while (last->getLastChild() != nullptr) last = last->getLastChild();  // the deepest Arg's status
  for (int i = 0; i < 20000; ++i) read(last->getParentNode());
  EXPECT_EQ(memory.allocations, before);  // nothing made in the caller's document
}
