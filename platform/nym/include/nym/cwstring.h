// Nym_cwstring and the library's ready-made wide strings (W_*, WU_*, WL_*).
//
// A Nym_cwstring is a Wstring built once from a UTF-8 literal. The constants are built during
// the library's static initialisation and never change; any thread may read them.
#ifndef NYM_CWSTRING_H
#define NYM_CWSTRING_H

#include "nym/types.h"

namespace nym {

class NYM_API Nym_cwstring : public Wstring {
 public:
  // Reads the literal as UTF-8 (nym_string_append); malformed bytes become U+FFFD.
  explicit Nym_cwstring(const char* utf8);
};

// General constants.
extern NYM_API const Nym_cwstring W_EMPTY;
extern NYM_API const Nym_cwstring W_SPACE;
extern NYM_API const Nym_cwstring W_UNDERSCORE;
extern NYM_API const Nym_cwstring W_HYPHEN;
extern NYM_API const Nym_cwstring W_EQUALS;
extern NYM_API const Nym_cwstring W_COLON;
extern NYM_API const Nym_cwstring W_SEMICOLON;
extern NYM_API const Nym_cwstring W_BANG;
extern NYM_API const Nym_cwstring W_PERCENT;
extern NYM_API const Nym_cwstring W_DOLLAR;
extern NYM_API const Nym_cwstring W_AMPERSAND;
extern NYM_API const Nym_cwstring W_COMMA;
extern NYM_API const Nym_cwstring W_SLASH;
extern NYM_API const Nym_cwstring W_BACKSLASH;
extern NYM_API const Nym_cwstring W_STAR;
extern NYM_API const Nym_cwstring W_OPARA;
extern NYM_API const Nym_cwstring W_CPARA;
extern NYM_API const Nym_cwstring W_STARDOTSTAR;
extern NYM_API const Nym_cwstring W_DOT;
extern NYM_API const Nym_cwstring W_DOTDOT;
extern NYM_API const Nym_cwstring W_QUOTE;
extern NYM_API const Nym_cwstring W_TAB;
extern NYM_API const Nym_cwstring W_CR;
extern NYM_API const Nym_cwstring W_LF;
extern NYM_API const Nym_cwstring W_CRLF;
extern NYM_API const Nym_cwstring W_TRUE;
extern NYM_API const Nym_cwstring W_FALSE;

// Markup words: entity names without "&" and ";", markers without "<".
extern NYM_API const Nym_cwstring W_LT;
extern NYM_API const Nym_cwstring W_GT;
extern NYM_API const Nym_cwstring W_AMP;
extern NYM_API const Nym_cwstring W_APOS;
extern NYM_API const Nym_cwstring W_WORD_QUOTE;
extern NYM_API const Nym_cwstring W_NBSP;
extern NYM_API const Nym_cwstring W_DOCTYPE;
extern NYM_API const Nym_cwstring W_CDATA;
extern NYM_API const Nym_cwstring W_HTTP_EQUIV;
extern NYM_API const Nym_cwstring W_CONTENT;
extern NYM_API const Nym_cwstring W_META;
extern NYM_API const Nym_cwstring W_COMMENT;

// Encoding names, upper and lower case.
extern NYM_API const Nym_cwstring WU_UTF8;
extern NYM_API const Nym_cwstring WU_UTF16;
extern NYM_API const Nym_cwstring WU_UTF32;
extern NYM_API const Nym_cwstring WU_UNICODE;
extern NYM_API const Nym_cwstring WU_LATIN1;
extern NYM_API const Nym_cwstring WL_UTF8;
extern NYM_API const Nym_cwstring WL_UTF16;
extern NYM_API const Nym_cwstring WL_UTF32;
extern NYM_API const Nym_cwstring WL_UNICODE;
extern NYM_API const Nym_cwstring WL_LATIN1;

}  // namespace nym

#endif
