// Statuses into a Xerces-C document and back: the form, the round trips, the values that
// deliberately don't come back, and documents that must be refused without harm.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemoryManager.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "nym/date_status_arg.h"
#include "nym/status.h"
#include "nym/time_zone.h"
#include "test_helpers.h"

using namespace nym;
using namespace xercesc;
using nym_test::utf8;
using nym_test::what_of;

namespace {

const char* const INVALID = "Nym_status::from_xml() - Invalid XML format";

// Counts what documents made with it allocate.
class Counting_memory : public MemoryManager {
 public:
  MemoryManager* getExceptionMemoryManager() override { return this; }
  void* allocate(XMLSize_t size) override {
    ++allocations;
    return ::operator new(size);
  }
  void deallocate(void* p) override { ::operator delete(p); }
  long allocations = 0;
};

class StatusXmlTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { XMLPlatformUtils::Initialize(); }
  static void TearDownTestSuite() { XMLPlatformUtils::Terminate(); }

  void SetUp() override {
    document = DOMImplementationRegistry::getDOMImplementation(u"LS")->createDocument(nullptr, u"Status", nullptr,
                                                                                       &memory);
    root = document->getDocumentElement();
  }
  void TearDown() override { document->release(); }

  // A fresh top element holding the given children, written as the form's elements.
  DOMElement* element(const char16_t* value, const char16_t* orig) {
    DOMElement* e = document->createElement(u"Status");
    e->setAttribute(u"value", value);
    e->setAttribute(u"origvalue", orig);
    return e;
  }
  DOMElement* add_arg(DOMElement* parent, const char16_t* type, const Wstring& value) {
    DOMElement* arg = document->createElement(u"Arg");
    arg->setAttribute(u"type", type);
    arg->setAttribute(u"value", value.c_str());
    parent->appendChild(arg);
    return arg;
  }
  Nym_status read(const DOMNode* e) {
    Nym_status status;
    status.from_xml(e);
    return status;
  }
  // Throws or answers the one argument read from an Arg of this type and value.
  Nym_status read_arg(const char16_t* type, const Wstring& value) {
    DOMElement* e = element(u"1", u"1");
    add_arg(e, type, value);
    return read(e);
  }

  Counting_memory memory;
  DOMDocument* document = nullptr;
  DOMElement* root = nullptr;
};

std::string attr(const DOMNode* node, const char16_t* name) {
  return utf8(static_cast<const DOMElement*>(node)->getAttribute(name));
}

Wstring text_of(const Nym_status_arg* arg) {
  Wstring text;
  arg->to_string(text);
  return text;
}

}  // namespace

TEST_F(StatusXmlTest, ValuesAreWrittenInDecimalAsHeld) {
  Nym_status(0xC2000019u).to_xml(root, true);
  EXPECT_EQ(attr(root, u"value"), "3254779929");
  EXPECT_EQ(attr(root, u"origvalue"), "3254779929");
  EXPECT_EQ(root->getFirstChild(), nullptr);

  DOMElement* e = document->createElement(u"Status");
  Nym_status(5).to_xml(e, true);
  EXPECT_EQ(attr(e, u"value"), "3221225477");
  EXPECT_EQ(attr(e, u"origvalue"), "5");
  const Nym_status back = read(e);
  EXPECT_EQ(back.value(), 0xC0000005u);
  EXPECT_EQ(back.orig_value(), 5u);

  // Stored as read: the one way for the two to disagree.
  const Nym_status odd = read(element(u"7", u"2"));
  EXPECT_EQ(odd.value(), 7u);
  EXPECT_EQ(odd.orig_value(), 2u);
  EXPECT_EQ(read(element(u"", u"")).value(), 0u);
}

TEST_F(StatusXmlTest, AChainOfThreeWithEveryKindComesBack) {
  const Nym_time_zone est = Nym_time_zone::find("EST");
  Nym_status status(2, Nym_int_status_arg(-42, true), Nym_uint_status_arg(UINT64_MAX, true),
                    Nym_bool_status_arg(true), Nym_wstring_status_arg(Wstring(u"tab\there \\ <&\"'> \U0001F600")),
                    Nym_wstring_status_arg(Wstring(u"nul\0in", 6)), Nym_wstring_status_arg(Wstring()));
  status.push(0xC2000026u, Nym_date_status_arg(Nym_date(15, 3, -44)), Nym_date_status_arg(Nym_date(31, 12, 32766)),
              Nym_time_status_arg(Nym_time(23, 59, 58, 0)));
  status.push(0xC2000059u, Nym_date_and_time_status_arg(Nym_date_and_time(Nym_date(1, 1, 2000), Nym_time(0, 30, 0, 0), est)),
              Nym_int_status_arg(INT64_MIN, true), Nym_date_status_arg(Nym_date(1, 1, 1)));
  status.to_xml(root, true);

  const DOMNode* child = root->getLastChild();
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(utf8(child->getNodeName()), "ChildStatus");
  EXPECT_EQ(utf8(child->getLastChild()->getNodeName()), "ChildStatus");
  EXPECT_EQ(attr(root->getFirstChild(), u"value"), "2000-01-01T05-30-00Z");  // in UTC
  EXPECT_EQ(attr(child->getFirstChild(), u"value"), "-0044-03-15");
  EXPECT_EQ(attr(child->getFirstChild()->getNextSibling()->getNextSibling(), u"type"), "time");

  const Nym_status back = read(root);
  EXPECT_TRUE(back.compare(status, true, true));
  EXPECT_EQ(back.orig_value(), 0xC2000059u);
  EXPECT_EQ(back.child()->child()->orig_value(), 2u);

  DOMElement* alone = document->createElement(u"Status");
  status.to_xml(alone, false);
  EXPECT_EQ(alone->getElementsByTagName(u"ChildStatus")->getLength(), 0u);
  EXPECT_FALSE(read(alone).has_child());
}

TEST_F(StatusXmlTest, WhatDeliberatelyDoesntComeBackAsItWent) {
  // A false bool is written as "false", which doesn't read: only the empty text is false.
  DOMElement* e = document->createElement(u"Status");
  Nym_status(1, Nym_int_status_arg(1), Nym_bool_status_arg(false)).to_xml(e, true);
  EXPECT_EQ(attr(e->getLastChild(), u"value"), "false");
  Nym_status partial;
  EXPECT_EQ(what_of([&] { partial.from_xml(e); }), INVALID);
  EXPECT_EQ(partial.num_args(), 1u);  // what was read stays
  EXPECT_EQ(partial.orig_value(), 1u);
  const Nym_status empty_false = read_arg(u"bool", u"");
  EXPECT_TRUE(*empty_false.begin()[0] == Nym_bool_status_arg(false));

  const Nym_date_and_time noon_est(Nym_date(5, 3, 2024), Nym_time(12, 0, 0, 0), Nym_time_zone::find("EST"));
  Nym_status status(1, Nym_null_status_arg(), Nym_int_status_arg(3, false), Nym_time_status_arg(Nym_time(1, 2, 3, 456)),
                    Nym_date_and_time_status_arg(noon_est));
  e = document->createElement(u"Status");
  status.to_xml(e, true);
  const Nym_status back = read(e);
  Nym_status_arg* const* args = back.begin();
  EXPECT_TRUE(*args[0] == Nym_wstring_status_arg(Wstring()));  // null becomes an empty string
  EXPECT_TRUE(static_cast<const Nym_int_status_arg*>(args[1])->format());  // the flag comes back set
  EXPECT_TRUE(*args[2] == Nym_time_status_arg(Nym_time(1, 2, 3, 0)));  // no microseconds
  const auto& moment = static_cast<const Nym_date_and_time_status_arg*>(args[3])->value();
  EXPECT_TRUE(moment == noon_est);  // the same instant...
  EXPECT_TRUE(moment.is_same_as(noon_est.utc()));  // ...told in UTC
}

TEST_F(StatusXmlTest, ValuesFromTheDocumentAreNeverFormats) {
  struct Case {
    const char16_t* type;
    const char16_t* value;
    const char* read;  // the argument's text in the fixed form, or null when refused
  } const cases[] = {
      {u"date", u"2024-03-05", "2024-03-05"},
      {u"date", u"2024-3-5", "2024-03-05"},
      {u"date", u"-4713-01-01", "-4713-01-01"},
      {u"date", u"%s%s%s%n", nullptr},
      {u"date", u"%4d-%2d-%2d", nullptr},
      {u"date", u"2024-02-30", nullptr},
      {u"date", u"2024-13-01", nullptr},
      {u"date", u"0-01-01", nullptr},
      {u"date", u"2024-03-05 ", nullptr},
      {u"date", u" 2024-03-05", nullptr},
      {u"date", u"123456-01-01", nullptr},
      {u"date", u"", nullptr},
      {u"time", u"23-59-59", "23-59-59"},
      {u"time", u"24-00-00", nullptr},
      {u"time", u"12-00", nullptr},
      {u"time", u"%n%n%n", nullptr},
      {u"datetime", u"2024-03-05T14-07-09Z", "2024-03-05T14-07-09Z"},
      {u"datetime", u"2024-03-05T14-07-09", nullptr},
      {u"datetime", u"2024-03-05T14-07-09z", nullptr},
      {u"datetime", u"2024-03-05T14-07-09Zjunk", nullptr},
      {u"datetime", u"%4d-%2d-%2dT%2d-%2d-%2d%c", nullptr},
      {u"bool", u"true", "true"},
      {u"bool", u"TRUE", nullptr},
      {u"int", u"  -17xyz", "-17"},
      {u"uint", u"18446744073709551615", "18446744073709551615"},
      {u"uint", u"-1", "18446744073709551615"},
      {u"Int", u"1", nullptr},
      {u"", u"", nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(utf8(c.type) + " " + utf8(c.value));
    if (c.read == nullptr) {
      EXPECT_EQ(what_of([&] { read_arg(c.type, c.value); }), INVALID);
      continue;
    }
    const Nym_status back = read_arg(c.type, c.value);
    ASSERT_EQ(back.num_args(), 1u);
    DOMElement* e = document->createElement(u"Status");
    back.to_xml(e, true);
    EXPECT_EQ(attr(e->getFirstChild(), u"value"), c.read);
  }
}

TEST_F(StatusXmlTest, ValuesOutsideThirtyTwoBitsRaise) {
  EXPECT_EQ(what_of([&] { read(element(u"-1", u"0")); }), "i64 too negative for u32");
  EXPECT_EQ(what_of([&] { read(element(u"1", u"4294967296")); }), "i64 too positive for u32");
  EXPECT_EQ(read(element(u"4294967295", u"0")).value(), 0xFFFFFFFFu);
}

TEST_F(StatusXmlTest, ReadingStopsAtTheFirstElementThatIsNoArg) {
  // Nine arguments: the ninth isn't read, and so the chain behind it is never reached.
  DOMElement* nine = element(u"1", u"1");
  for (int i = 0; i < 9; ++i) add_arg(nine, u"int", Wstring(1, static_cast<char16_t>(u'0' + i)));
  DOMElement* chained = document->createElement(u"ChildStatus");
  chained->setAttribute(u"value", u"3");
  nine->appendChild(chained);
  Nym_status back = read(nine);
  EXPECT_EQ(back.num_args(), 8u);
  EXPECT_FALSE(back.has_child());

  // Other nodes between the arguments are passed over; an unknown element ends the reading.
  DOMElement* mixed = element(u"1", u"1");
  add_arg(mixed, u"int", u"1");
  for (int i = 0; i < 100000; ++i) mixed->appendChild(document->createComment(u"c"));
  mixed->appendChild(document->createTextNode(u"text"));
  add_arg(mixed, u"int", u"2");
  mixed->appendChild(document->createElement(u"Other"));
  add_arg(mixed, u"int", u"3");
  back = read(mixed);
  EXPECT_EQ(back.num_args(), 2u);
}

TEST_F(StatusXmlTest, ReadingAddsToWhatTheStatusHoldsAndAChildReplacesTheChain) {
  DOMElement* e = element(u"9", u"9");
  add_arg(e, u"int", u"2");
  DOMElement* child = document->createElement(u"ChildStatus");
  child->setAttribute(u"value", u"8");
  e->appendChild(child);

  Nym_status status(1, Nym_int_status_arg(1));
  status.push(0xC2000019u, Nym_int_status_arg(0));
  status.push(0xC2000026u);
  status.add_arg(Nym_int_status_arg(1));
  status.from_xml(e);
  EXPECT_EQ(status.num_args(), 2u);
  ASSERT_TRUE(status.has_child());
  EXPECT_EQ(status.child()->value(), 8u);
  EXPECT_FALSE(status.child()->has_child());

  // A list shared with a copy isn't written: the status gets a list of the new argument alone.
  Nym_status shared(1, Nym_int_status_arg(1));
  const Nym_status copy = shared;
  shared.from_xml(e);
  EXPECT_EQ(shared.num_args(), 1u);
  EXPECT_EQ(text_of(shared.begin()[0]), u"2");
  EXPECT_EQ(copy.num_args(), 1u);
  EXPECT_EQ(text_of(copy.begin()[0]), u"1");
}

TEST_F(StatusXmlTest, AHundredThousandLevelsCostNoStack) {
  Nym_status deep;
  for (unsigned int i = 0; i < 100000; ++i) deep.push(i + 1, Nym_uint_status_arg(i));
  deep.to_xml(root, true);
  const Nym_status back = read(root);
  unsigned int depth = 0;
  for (const Nym_status* s = &back; s != nullptr; s = s->child()) ++depth;
  EXPECT_EQ(depth, 100000u);
  EXPECT_TRUE(back.compare(deep, true, true));
}

TEST_F(StatusXmlTest, ReadingLeavesNothingInTheCallersDocument) {
  Nym_status(3, Nym_int_status_arg(1), Nym_wstring_status_arg(Wstring(u"x"))).to_xml(root, true);
  const long before = memory.allocations;
  for (int i = 0; i < 20000; ++i) read(root);
  EXPECT_EQ(memory.allocations, before);
}

TEST_F(StatusXmlTest, OnlyElementsAreReadOrWritten) {
  EXPECT_EQ(what_of([&] { read(nullptr); }), INVALID);
  EXPECT_EQ(what_of([&] { read(document); }), INVALID);
  EXPECT_EQ(what_of([&] { read(document->createTextNode(u"1")); }), INVALID);
  EXPECT_EQ(what_of([&] { Nym_status(1).to_xml(document, true); }), "Nym_status::to_xml() - not an element");
}
