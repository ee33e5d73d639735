// Two small text codecs: C-style quoting with backslash escapes, and the library's escape form
// that takes control characters (which XML can't hold) out of text before an XML writer
// escapes it; it doesn't escape & < > or quotes itself.
//
// Quoting wraps a string in double quotes and escapes the double quote, the backslash and
// \r \n \t \v \b \f \a; nothing else (NUL and other controls pass as they are). The XML form is
// not an entity encoder: it only turns control characters into a backslash and a printable
// character, and leaves & < > and quotes to the XML writer. In every operation `out` is
// emptied first and must be a string other than `in`. Nothing here reports or throws beyond
// std::bad_alloc.
#ifndef NYM_QUOTE_H
#define NYM_QUOTE_H

#include "nym/types.h"

namespace nym {

// A double quote, the escaped text, a double quote ("" for an empty input).
NYM_API void nym_quote(const Nstring& in, Nstring& out);
NYM_API void nym_quote(const Wstring& in, Wstring& out);

// Takes off one pair of outer double quotes when there are two or more characters, then
// undoes the escapes (also in text that was never quoted): \t \r \n \f \a \b \v \\; \x with up
// to 2 (narrow) or 4 (wide) hexadecimal digits, a NUL when none follows; \ with up to three
// octal digits (cut to the unit's width); any other escaped character stands for itself. A
// backslash at the very end stays.
NYM_API void nym_unquote(const Nstring& in, Nstring& out);
NYM_API void nym_unquote(const Wstring& in, Wstring& out);

// Takes off one pair of matching outer quotes, double or single; a text of one character and
// mixed pairs are copied unchanged.
NYM_API void nym_strip_quotes(const Wstring& in, Wstring& out);
// Takes off a double quote that stands at one end only and answers true. Otherwise answers
// false and leaves `out` empty (not a copy of `in`): keep your own copy if you need the text.
NYM_API bool nym_strip_unmatched_quotes(const Wstring& in, Wstring& out);

// Control characters to escapes: a character c below 31 becomes \ and c + 96 (\` for NUL, \a
// for 1, \i for a tab), 31 becomes \_, and with `escape_backslash` a backslash becomes \\.
// The narrow form takes bytes as signed, so bytes of 0x80 and above are escaped too (as the
// byte plus 96, modulo 256); the wide form leaves units of 32 and above alone.
NYM_API void nym_string_to_xml(const Nstring& in, Nstring& out, bool escape_backslash);
NYM_API void nym_wstring_to_xml(const Wstring& in, Wstring& out, bool escape_backslash);
NYM_API void nym_wstring_to_xml(Wstring& text, bool escape_backslash);

// Undoes the escapes: \\ is a backslash, \_ is 31, \c is c - 96 wrapped to the unit's width; a
// backslash at the very end is dropped. Every backslash is read as an escape, so only text
// made with `escape_backslash` true comes back unchanged. In the narrow form the bytes 0xFC and
// 0xFF don't come back: their escapes are \\ and \_.
NYM_API void nym_string_from_xml(const Nstring& in, Nstring& out);
NYM_API void nym_wstring_from_xml(const Wstring& in, Wstring& out);

}  // namespace nym

#endif
