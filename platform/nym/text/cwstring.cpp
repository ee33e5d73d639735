#include "nym/cwstring.h"

#include "nym/string_basic.h"

namespace nym {

Nym_cwstring::Nym_cwstring(const char* utf8) { nym_string_append(*this, utf8); }

const Nym_cwstring W_EMPTY("");
const Nym_cwstring W_SPACE(" ");
const Nym_cwstring W_UNDERSCORE("_");
const Nym_cwstring W_HYPHEN("-");
const Nym_cwstring W_EQUALS("=");
const Nym_cwstring W_COLON(":");
const Nym_cwstring W_SEMICOLON(";");
const Nym_cwstring W_BANG("!");
const Nym_cwstring W_PERCENT("%");
const Nym_cwstring W_DOLLAR("$");
const Nym_cwstring W_AMPERSAND("&");
const Nym_cwstring W_COMMA(",");
const Nym_cwstring W_SLASH("/");
const Nym_cwstring W_BACKSLASH("\\");
const Nym_cwstring W_STAR("*");
const Nym_cwstring W_OPARA("(");
const Nym_cwstring W_CPARA(")");
const Nym_cwstring W_STARDOTSTAR("*.*");
const Nym_cwstring W_DOT(".");
const Nym_cwstring W_DOTDOT("..");
const Nym_cwstring W_QUOTE("\"");
const Nym_cwstring W_TAB("\t");
const Nym_cwstring W_CR("\r");
const Nym_cwstring W_LF("\n");
const Nym_cwstring W_CRLF("\r\n");
const Nym_cwstring W_TRUE("true");
const Nym_cwstring W_FALSE("false");

const Nym_cwstring W_LT("lt");
const Nym_cwstring W_GT("gt");
const Nym_cwstring W_AMP("amp");
const Nym_cwstring W_APOS("apos");
const Nym_cwstring W_WORD_QUOTE("quot");
const Nym_cwstring W_NBSP("nbsp");
const Nym_cwstring W_DOCTYPE("!DOCTYPE");
const Nym_cwstring W_CDATA("![CDATA[");
const Nym_cwstring W_HTTP_EQUIV("HTTP-EQUIV");
const Nym_cwstring W_CONTENT("CONTENT");
const Nym_cwstring W_META("META");
const Nym_cwstring W_COMMENT("!--");

const Nym_cwstring WU_UTF8("UTF-8");
const Nym_cwstring WU_UTF16("UTF-16");
const Nym_cwstring WU_UTF32("UTF-32");
const Nym_cwstring WU_UNICODE("UNICODE");
const Nym_cwstring WU_LATIN1("ISO-8859-1");
const Nym_cwstring WL_UTF8("utf-8");
const Nym_cwstring WL_UTF16("utf-16");
const Nym_cwstring WL_UTF32("utf-32");
const Nym_cwstring WL_UNICODE("unicode");
const Nym_cwstring WL_LATIN1("iso-8859-1");

}  // namespace nym
