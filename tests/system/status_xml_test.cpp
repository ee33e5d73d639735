// Statuses into a Xerces-C document and back, and documents that must be refused without harm.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <gtest/gtest.h>

#include <tuple>

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

  // A status element of this value with one Arg for each (type, value) pair given.
  DOMElement* element(const char16_t* value, std::initializer_list<std::pair<const char16_t*, Wstring>> args = {}) {
    DOMElement* e = document->createElement(u"Status");
    e->setAttribute(u"value", value);
    for (const auto& [type, text] : args) {
      DOMElement* a = static_cast<DOMElement*>(e->appendChild(document->createElement(u"Arg")));
      a->setAttribute(u"type", type);
      a->setAttribute(u"value", text.c_str());
    }
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

  Counting_memory memory;  // before the document, which allocates through it
  DOMDocument* document;
};

std::string attr(const DOMNode* node, const char16_t* name) {
  return utf8(static_cast<const DOMElement*>(node)->getAttribute(name));
}

}  // namespace

TEST_F(StatusXmlTest, AChainOfThreeWithEveryKindComesBack) {
  Nym_status status(2, Nym_int_status_arg(-42, true), Nym_uint_status_arg(UINT64_MAX, true), Nym_bool_status_arg(true),
                    Nym_wstring_status_arg(Wstring(u"tab\there \\ <&\"'> ") + u'\0' + u"\U0001F600"));
  status.push(0xC2000026u, Nym_date_status_arg(Nym_date(15, 3, -44)), Nym_date_status_arg(Nym_date(31, 12, 32766)),
              Nym_time_status_arg(Nym_time(23, 59, 58, 0)), Nym_int_status_arg(INT64_MIN, true));
  status.push(0xC2000059u, Nym_date_and_time_status_arg(Nym_date_and_time(
                               Nym_date(1, 1, 2000), Nym_time(0, 30, 0, 0), Nym_time_zone::find("EST"))));
  const DOMElement* e = written(status);
  EXPECT_EQ(attr(e->getFirstChild(), u"value"), "2000-01-01T05-30-00Z");  // in UTC
  const DOMNode* deepest = e->getLastChild()->getLastChild();
  // Values go in decimal; a system code keeps its own number beside the one it stands for.
  EXPECT_EQ(attr(e, u"value") + " " + attr(deepest, u"value") + " " + attr(deepest, u"origvalue"),
            "3254779993 3221225474 2");
  EXPECT_TRUE(read(e).compare(status, true, true));
  EXPECT_EQ(read(e).child()->child()->orig_value(), 2u);
}

TEST_F(StatusXmlTest, ValuesFromTheDocumentAreNeverFormats) {
  // Type, value, and the argument written back, or null when it is refused ("false" is
  // written, but only "" reads as false).
  const std::tuple<const char16_t*, const char16_t*, const char*> cases[] = {
      {u"date", u"2024-3-5", "2024-03-05"}, {u"date", u"-4713-01-01", "-4713-01-01"}, {u"date", u"%s%s%s%n", nullptr},
      {u"date", u"2024-02-30", nullptr}, {u"date", u"2024-03-05 ", nullptr}, {u"date", u"123456-01-01", nullptr},
      {u"time", u"23-59-59", "23-59-59"}, {u"time", u"24-00-00", nullptr}, {u"bool", u"true", "true"},
      {u"datetime", u"2024-03-05T14-07-09Z", "2024-03-05T14-07-09Z"}, {u"datetime", u"2024-03-05T14-07-09", nullptr},
      {u"datetime", u"%4d-%2d-%2dT%2d-%2d-%2d%c", nullptr}, {u"int", u"  -17xyz", "-17"}, {u"Int", u"1", nullptr},
      {u"bool", u"", "false"}, {u"bool", u"false", nullptr}, {u"uint", u"-1", "18446744073709551615"},
  };
  for (const auto& [type, value, back] : cases) {
    SCOPED_TRACE(utf8(type) + " " + utf8(value));
    DOMElement* e = element(u"1", {{type, value}});
    if (back == nullptr) {
      EXPECT_EQ(what_of([&] { read(e); }), INVALID);
    } else {
      EXPECT_EQ(attr(written(read(e))->getFirstChild(), u"value"), back);
    }
  }
}

TEST_F(StatusXmlTest, HostileDocumentsAreRefusedOrReadWithinBounds) {
  DOMElement* nine = element(u"1", {{u"int", u"1"}, {u"int", u"2"}, {u"int", u"3"}, {u"int", u"4"}, {u"int", u"5"},
                                    {u"int", u"6"}, {u"int", u"7"}, {u"int", u"8"}, {u"int", u"9"}});
  nine->appendChild(document->createElement(u"ChildStatus"));
  EXPECT_EQ(read(nine).num_args(), 8u);  // the ninth goes to the chain, which it isn't
  EXPECT_FALSE(read(nine).has_child());
  EXPECT_EQ(what_of([&] { read(element(u"-1")); }), "i64 too negative for u32");
  EXPECT_EQ(what_of([&] { read(element(u"4294967296")); }), "i64 too positive for u32");
  EXPECT_EQ(what_of([&] { read(document); }), INVALID);  // elements only

  DOMElement* mixed = element(u"9", {{u"int", u"1"}, {u"int", u"2"}});
  // Comments and text between the arguments are passed over.
  for (int i = 0; i < 100000; ++i) mixed->insertBefore(document->createComment(u"c"), mixed->getLastChild());
  mixed->insertBefore(document->createTextNode(u"text"), mixed->getLastChild());
  static_cast<DOMElement*>(mixed->appendChild(document->createElement(u"ChildStatus")))->setAttribute(u"value", u"8");
  Nym_status status(1);
  status.push(0xC2000019u);
  status.push(0xC2000026u, Nym_int_status_arg(0));
  status.from_xml(mixed);
  EXPECT_EQ(status.num_args(), 3u);  // added to what it held
  EXPECT_EQ(status.child()->value(), 8u);
  EXPECT_FALSE(status.child()->has_child());
  // A hundred thousand levels cost no stack, and reading makes nothing in the caller's document.
  Nym_status deep;
  for (unsigned int i = 0; i < 100000; ++i) deep.push(i + 1, Nym_uint_status_arg(i));
  const DOMElement* e = written(deep);
  const long before = memory.allocations;
  EXPECT_TRUE(read(e).compare(deep, true, true));
  const DOMNode* last = e;
  while (last->getLastChild() != nullptr) last = last->getLastChild();  // the deepest status's Arg
  for (int i = 0; i < 20000; ++i) read(last->getParentNode());
  EXPECT_EQ(memory.allocations, before);
}
