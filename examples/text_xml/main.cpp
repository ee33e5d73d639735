// Text: nym_wstring_to_xml is not XML escaping. It turns control characters (which XML 1.0
// can't hold) into a backslash and a letter; & < > and quotes stay for the XML writer.
#include "recipe.h"

using namespace nym;
using recipe::check;

// Escaping for XML text and attribute values, with the library's entity names (W_AMP is
// "amp", without "&" and ";").
Wstring xml_escape(const Wstring& text) {
  Wstring out;
  for (const Wchar c : text) {
    const Wstring* entity = c == u'&' ? &W_AMP : c == u'<' ? &W_LT : c == u'>' ? &W_GT
                          : c == u'"' ? &W_WORD_QUOTE : c == u'\'' ? &W_APOS : nullptr;
    if (entity != nullptr) out += W_AMPERSAND + *entity + W_SEMICOLON;
    else out += c;
  }
  return out;
}

int main() {
  const Wstring value = u"Tom & Jerry's <b>\t\"show\"\\";

  // Control characters out (a tab becomes \i, a backslash \\), nothing else changed.
  Wstring safe;
  nym_wstring_to_xml(value, safe, true);
  check(safe == u"Tom & Jerry's <b>\\i\"show\"\\\\", "only controls and backslashes change");
  Wstring again;
  nym_wstring_from_xml(safe, again);
  check(again == value, "and back");

  // Both steps for an attribute value: controls first, then the entities.
  const Wstring attribute = xml_escape(safe);
  recipe::print("attribute", attribute);
  check(attribute == u"Tom &amp; Jerry&apos;s &lt;b&gt;\\i&quot;show&quot;\\\\", "escaped for XML");

  // Quoting is another codec: a C-style literal with backslash escapes.
  Wstring quoted;
  nym_quote(value, quoted);
  check(quoted == u"\"Tom & Jerry's <b>\\t\\\"show\\\"\\\\\"", "quoted");
  Wstring unquoted;
  nym_unquote(quoted, unquoted);
  check(unquoted == value, "unquoted");
  return recipe::result();
}
