#include "nym/status_arg.h"

#include "nym/cwstring.h"
#include "nym/string_basic.h"
#include "status/arg_kind.h"

namespace nym {

namespace {

// The fixed identities of the argument kinds.
constexpr GUID NULL_ID = {0xE8325200, 0x2D7D, 0x11D0, {0x8F, 0x18, 0x00, 0x00, 0xC0, 0x1C, 0x6C, 0xDE}};
constexpr GUID INT_ID = {0xCFA02F50, 0x2DB3, 0x11D0, {0x8F, 0x18, 0x00, 0x00, 0xC0, 0x1C, 0x6C, 0xDE}};
constexpr GUID UINT_ID = {0x756DF300, 0x2DB7, 0x11D0, {0x8F, 0x18, 0x00, 0x00, 0xC0, 0x1C, 0x6C, 0xDE}};
constexpr GUID BOOL_ID = {0x3FDA7139, 0xC3F9, 0x11D1, {0xA5, 0xAB, 0x00, 0xA0, 0xC9, 0xAA, 0xB3, 0xEB}};
constexpr GUID WSTRING_ID = {0x6785ECA0, 0x2DBA, 0x11D0, {0x8F, 0x18, 0x00, 0x00, 0xC0, 0x1C, 0x6C, 0xDE}};

}  // namespace

Nym_status_arg::~Nym_status_arg() = default;

const GUID Nym_null_status_arg::ID = NULL_ID;
const Nym_null_status_arg Nym_null_status_arg::NULL_ARGUMENT;
const GUID Nym_int_status_arg::ID = INT_ID;
const GUID Nym_uint_status_arg::ID = UINT_ID;
const GUID Nym_bool_status_arg::ID = BOOL_ID;
const GUID Nym_wstring_status_arg::ID = WSTRING_ID;

void Nym_null_status_arg::destroy() { delete this; }
void Nym_null_status_arg::to_string(Wstring& out) const { out.clear(); }
GUID Nym_null_status_arg::identity() const { return ID; }
Nym_status_arg* Nym_null_status_arg::clone(const void*) const { return new Nym_null_status_arg(*this); }
bool Nym_null_status_arg::operator==(const Nym_status_arg& other) const {
  return impl::same_kind<Nym_null_status_arg>(other) != nullptr;
}

void Nym_int_status_arg::destroy() { delete this; }
void Nym_int_status_arg::to_string(Wstring& out) const { nym_itow(m_value, out, 10, m_format); }
GUID Nym_int_status_arg::identity() const { return ID; }
Nym_status_arg* Nym_int_status_arg::clone(const void*) const { return new Nym_int_status_arg(*this); }
bool Nym_int_status_arg::operator==(const Nym_status_arg& other) const { return impl::same_value(other, *this); }

void Nym_uint_status_arg::destroy() { delete this; }
void Nym_uint_status_arg::to_string(Wstring& out) const { nym_itow(m_value, out, 10, m_format); }
GUID Nym_uint_status_arg::identity() const { return ID; }
Nym_status_arg* Nym_uint_status_arg::clone(const void*) const { return new Nym_uint_status_arg(*this); }
bool Nym_uint_status_arg::operator==(const Nym_status_arg& other) const { return impl::same_value(other, *this); }

void Nym_bool_status_arg::destroy() { delete this; }
void Nym_bool_status_arg::to_string(Wstring& out) const { out = m_value ? W_TRUE : W_FALSE; }
GUID Nym_bool_status_arg::identity() const { return ID; }
Nym_status_arg* Nym_bool_status_arg::clone(const void*) const { return new Nym_bool_status_arg(*this); }
bool Nym_bool_status_arg::operator==(const Nym_status_arg& other) const { return impl::same_value(other, *this); }

Nym_wstring_status_arg::Nym_wstring_status_arg(const Nstring& value) { nym_stow(value, m_value); }
void Nym_wstring_status_arg::destroy() { delete this; }
void Nym_wstring_status_arg::to_string(Wstring& out) const {
  if (&out != &m_value) out = m_value;
}
GUID Nym_wstring_status_arg::identity() const { return ID; }
Nym_status_arg* Nym_wstring_status_arg::clone(const void*) const { return new Nym_wstring_status_arg(*this); }
bool Nym_wstring_status_arg::operator==(const Nym_status_arg& other) const { return impl::same_value(other, *this); }

}  // namespace nym
