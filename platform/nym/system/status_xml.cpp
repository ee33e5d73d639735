// Nym_status::to_xml and from_xml. Only virtual members of Xerces-C's DOM interfaces are
// called, so the library needs Xerces-C's headers but not its code.
#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNode.hpp>

#include <memory>
#include <stdexcept>
#include <type_traits>

#include "nym/cwstring.h"
#include "nym/date_status_arg.h"
#include "nym/quote.h"
#include "nym/status.h"
#include "nym/string_basic.h"
#include "nym/time_period.h"
#include "nym/time_zone.h"

namespace nym {

static_assert(std::is_same<XMLCh, Wchar>::value, "Xerces-C's text is the library's UTF-16");

namespace {

using xercesc::DOMDocument;
using xercesc::DOMElement;
using xercesc::DOMNode;

// The names of the form, each held once.
constexpr Wchar VALUE[] = u"value";
constexpr Wchar ORIG_VALUE[] = u"origvalue";
constexpr Wchar ARG[] = u"Arg";
constexpr Wchar CHILD_STATUS[] = u"ChildStatus";
constexpr Wchar TYPE[] = u"type";
constexpr Wchar TYPE_INT[] = u"int";
constexpr Wchar TYPE_UINT[] = u"uint";
constexpr Wchar TYPE_BOOL[] = u"bool";
constexpr Wchar TYPE_STRING[] = u"string";
constexpr Wchar TYPE_DATE[] = u"date";
constexpr Wchar TYPE_TIME[] = u"time";
constexpr Wchar TYPE_DATETIME[] = u"datetime";

const char* const INVALID_FORMAT = "Nym_status::from_xml() - Invalid XML format";

const Wstring& date_format() {
  static const Wstring format = u"%Y-%m-%d";
  return format;
}
const Wstring& time_format() {
  static const Wstring format = u"%H-%M-%S";
  return format;
}
const Wstring& datetime_format() {
  static const Wstring format = u"%Y-%m-%dT%H-%M-%SZ";
  return format;
}

bool is(const GUID& kind, const GUID& id) { return nym_guid_equal(kind, id); }

bool named(const DOMNode* node, const Wchar* name) {
  const XMLCh* own = node->getNodeName();
  return own != nullptr && nym_string_equal(own, name);
}

Wstring attribute(const DOMElement* element, const Wchar* name) {
  const XMLCh* text = element->getAttribute(name);
  return text != nullptr ? Wstring(text) : Wstring();
}

// The element children of a node, in order, without looking into entity references. A plain
// walk over the siblings: Xerces' tree walker stays in the document until the document goes,
// so each read would leave one behind.
const DOMNode* element_from(const DOMNode* node) {
  while (node != nullptr && node->getNodeType() != DOMNode::ELEMENT_NODE) node = node->getNextSibling();
  return node;
}
const DOMNode* first_element(const DOMNode* parent) { return element_from(parent->getFirstChild()); }
const DOMNode* next_element(const DOMNode* node) { return element_from(node->getNextSibling()); }

// The type and value text of one argument.
const Wchar* write_arg(const Nym_status_arg& arg, Wstring& text) {
  const GUID kind = arg.identity();
  text.clear();
  if (is(kind, Nym_int_status_arg::ID)) {
    nym_itow(static_cast<const Nym_int_status_arg&>(arg).value(), text, 10, false);
    return TYPE_INT;
  }
  if (is(kind, Nym_uint_status_arg::ID)) {
    nym_itow(static_cast<const Nym_uint_status_arg&>(arg).value(), text, 10, false);
    return TYPE_UINT;
  }
  if (is(kind, Nym_bool_status_arg::ID)) {
    text = static_cast<const Nym_bool_status_arg&>(arg).value() ? W_TRUE : W_FALSE;
    return TYPE_BOOL;
  }
  if (is(kind, Nym_wstring_status_arg::ID)) {
    nym_wstring_to_xml(static_cast<const Nym_wstring_status_arg&>(arg).value(), text, true);
    return TYPE_STRING;
  }
  if (is(kind, Nym_date_status_arg::ID)) {
    static_cast<const Nym_date_status_arg&>(arg).value().to_string(date_format(), text);
    return TYPE_DATE;
  }
  if (is(kind, Nym_time_status_arg::ID)) {
    static_cast<const Nym_time_status_arg&>(arg).value().to_string(time_format(), text);
    return TYPE_TIME;
  }
  if (is(kind, Nym_date_and_time_status_arg::ID)) {
    static_cast<const Nym_date_and_time_status_arg&>(arg).value().utc().to_string(datetime_format(), text);
    return TYPE_DATETIME;
  }
  return TYPE_STRING;  // the null argument and kinds this form doesn't know: empty text
}

// ---- reading the date and time values
//
// A strict reader of exactly what write_arg writes, with the field widths the form has always
// allowed (one digit and up): the value comes from the document and is never used as a format.

class Field_reader {
 public:
  explicit Field_reader(const Wstring& text) : m_text(text) {}

  // 1 to `widest` decimal digits.
  bool number(int widest, int& out) {
    int digits = 0;
    out = 0;
    while (m_at < m_text.size() && digits < widest && m_text[m_at] >= u'0' && m_text[m_at] <= u'9') {
      out = out * 10 + (m_text[m_at++] - u'0');
      ++digits;
    }
    return digits > 0;
  }
  // A year as %Y writes it: a "-" before the years before Christ, four or five digits.
  bool year(int& out) {
    const bool before_christ = unit(u'-');
    if (!number(5, out)) return false;
    if (before_christ) out = -out;
    return true;
  }
  bool unit(Wchar expected) {
    if (m_at >= m_text.size() || m_text[m_at] != expected) return false;
    ++m_at;
    return true;
  }
  bool at_end() const { return m_at == m_text.size(); }

 private:
  const Wstring& m_text;
  std::size_t m_at = 0;
};

bool read_date(Field_reader& in, Nym_date& date) {
  int year = 0;
  int month = 0;
  int day = 0;
  if (!in.year(year) || !in.unit(u'-') || !in.number(2, month) || !in.unit(u'-') || !in.number(2, day)) return false;
  if (!Nym_date::is_year(year) || !Nym_date::is_month(month) || !Nym_date::is_day_in_month(day, month, year)) {
    return false;
  }
  date = Nym_date(day, month, year);
  return true;
}

bool read_time(Field_reader& in, Nym_time& time) {
  int hours = 0;
  int minutes = 0;
  int seconds = 0;
  if (!in.number(2, hours) || !in.unit(u'-') || !in.number(2, minutes) || !in.unit(u'-') || !in.number(2, seconds)) {
    return false;
  }
  if (!Nym_time::valid_hour(hours) || !Nym_time::valid_minute(minutes) || !Nym_time::valid_second(seconds)) {
    return false;
  }
  time = Nym_time(hours, minutes, seconds, 0);
  return true;
}

// nym_wtoi64, except that a number above the signed range keeps its unsigned value.
uint64 read_uint(const Wstring& text) {
  const int64 signed_value = nym_wtoi64(text);
  if (signed_value != INT64_MAX) return static_cast<uint64>(signed_value);
  uint64 value = 0;
  for (std::size_t i = text.find_first_of(u"0123456789"); i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    const unsigned digit = text[i] - u'0';
    if (value > (UINT64_MAX - digit) / 10) return UINT64_MAX;
    value = value * 10 + digit;
  }
  return value;
}

struct Arg_deleter {
  void operator()(Nym_status_arg* arg) const { arg->destroy(); }
};
using Arg_ptr = std::unique_ptr<Nym_status_arg, Arg_deleter>;

// The argument of type `type` with value text `value`, or null when there is none.
Arg_ptr read_arg(const Wstring& type, const Wstring& value) {
  if (type == TYPE_STRING) {
    Wstring text;
    nym_wstring_from_xml(value, text);
    return Arg_ptr(new Nym_wstring_status_arg(text));
  }
  if (type == TYPE_INT) return Arg_ptr(new Nym_int_status_arg(nym_wtoi64(value), true));
  if (type == TYPE_UINT) return Arg_ptr(new Nym_uint_status_arg(read_uint(value), true));
  if (type == TYPE_BOOL) {
    // Only the empty text reads as false: "false", which to_xml writes, doesn't read back.
    if (value != W_TRUE && !value.empty()) return nullptr;
    return Arg_ptr(new Nym_bool_status_arg(!value.empty() && value[0] == u't'));
  }
  Field_reader in(value);
  if (type == TYPE_DATE) {
    Nym_date date;
    if (!read_date(in, date) || !in.at_end()) return nullptr;
    return Arg_ptr(new Nym_date_status_arg(date));
  }
  if (type == TYPE_TIME) {
    Nym_time time;
    if (!read_time(in, time) || !in.at_end()) return nullptr;
    return Arg_ptr(new Nym_time_status_arg(time));
  }
  if (type == TYPE_DATETIME) {
    Nym_date date;
    Nym_time time;
    if (!read_date(in, date) || !in.unit(u'T') || !read_time(in, time) || !in.unit(u'Z') || !in.at_end()) {
      return nullptr;
    }
    return Arg_ptr(new Nym_date_and_time_status_arg(Nym_date_and_time(date, time, Nym_time_zone::UTC)));
  }
  return nullptr;
}

}  // namespace

// Both directions walk the chain in a loop, so that its depth costs no stack.
void Nym_status::to_xml(xercesc::DOMNode* element, bool children) const {
  if (element == nullptr || element->getNodeType() != DOMNode::ELEMENT_NODE) {
    throw std::invalid_argument("Nym_status::to_xml() - not an element");
  }
  DOMDocument* document = element->getOwnerDocument();
  auto* target = static_cast<DOMElement*>(element);
  Wstring text;
  for (const Nym_status* status = this;;) {
    nym_itow(status->m_value, text, 10, false);
    target->setAttribute(VALUE, text.c_str());
    nym_itow(status->m_orig_value, text, 10, false);
    target->setAttribute(ORIG_VALUE, text.c_str());
    for (const Nym_status_arg* arg : *status) {
      DOMElement* node = document->createElement(ARG);
      const Wchar* type = write_arg(*arg, text);
      node->setAttribute(TYPE, type);
      node->setAttribute(VALUE, text.c_str());
      target->appendChild(node);
    }
    if (!children || !status->m_child) return;
    DOMElement* child = document->createElement(CHILD_STATUS);
    target->appendChild(child);
    target = child;
    status = status->m_child.get();
  }
}

void Nym_status::from_xml(const xercesc::DOMNode* element) {
  Nym_status* target = this;
  for (const DOMNode* node = element;;) {
    if (node == nullptr || node->getNodeType() != DOMNode::ELEMENT_NODE) throw std::runtime_error(INVALID_FORMAT);
    const auto* own = static_cast<const DOMElement*>(node);
    target->m_value = nym_narrow_u32(nym_wtoi64(attribute(own, VALUE)));
    target->m_orig_value = nym_narrow_u32(nym_wtoi64(attribute(own, ORIG_VALUE)));
    const DOMNode* at = first_element(node);
    while (at != nullptr) {
      bool is_arg = false;
      if (!target->deserialize_arg(at, is_arg)) throw std::runtime_error(INVALID_FORMAT);
      if (!is_arg) break;
      at = next_element(at);
    }
    if (!target->deserialize_child(at)) return;
    target = target->m_child.get();
    node = at;
  }
}

bool Nym_status::deserialize_arg(const xercesc::DOMNode* node, bool& is_arg) {
  is_arg = false;
  if (node == nullptr || num_args() >= 8 || !named(node, ARG)) return true;
  is_arg = true;
  const auto* element = static_cast<const DOMElement*>(node);
  Arg_ptr arg = read_arg(attribute(element, TYPE), attribute(element, VALUE));
  if (!arg) return false;
  if (m_args && m_args.use_count() == 1) {
    m_args->args[m_args->count++] = arg.release();
  } else {
    List_ptr list(new Arg_list);
    list->args[0] = arg.release();
    list->count = 1;
    m_args = std::move(list);
  }
  return true;
}

bool Nym_status::deserialize_child(const xercesc::DOMNode* node) {
  if (node == nullptr || !named(node, CHILD_STATUS)) return false;
  release_chain();
  m_child = Status_ptr(new Nym_status);
  return true;
}

}  // namespace nym
