#include "nym/date_status_arg.h"

#include "status/arg_kind.h"

namespace nym {

const GUID Nym_time_status_arg::ID = {0xE48B8170, 0xAAF0, 0x11D2, {0x99, 0x25, 0x00, 0xA0, 0xC9, 0xB7, 0xDA, 0xA8}};
const GUID Nym_date_status_arg::ID = {0x1637FA71, 0xAB07, 0x11D2, {0x99, 0x25, 0x00, 0xA0, 0xC9, 0xB7, 0xDA, 0xA8}};
const GUID Nym_date_and_time_status_arg::ID = {
    0x1637FA72, 0xAB07, 0x11D2, {0x99, 0x25, 0x00, 0xA0, 0xC9, 0xB7, 0xDA, 0xA8}};

void Nym_time_status_arg::destroy() { delete this; }
void Nym_time_status_arg::to_string(Wstring& out) const {
  static const Wstring format(u"%X");
  m_value.to_string(format, out);
}
GUID Nym_time_status_arg::identity() const { return ID; }
Nym_status_arg* Nym_time_status_arg::clone(const void*) const { return new Nym_time_status_arg(*this); }
bool Nym_time_status_arg::operator==(const Nym_status_arg& other) const { return impl::same_value(other, *this); }

void Nym_date_status_arg::destroy() { delete this; }
void Nym_date_status_arg::to_string(Wstring& out) const {
  static const Wstring format(u"%x");
  m_value.to_string(format, out);
}
GUID Nym_date_status_arg::identity() const { return ID; }
Nym_status_arg* Nym_date_status_arg::clone(const void*) const { return new Nym_date_status_arg(*this); }
bool Nym_date_status_arg::operator==(const Nym_status_arg& other) const { return impl::same_value(other, *this); }

void Nym_date_and_time_status_arg::destroy() { delete this; }
void Nym_date_and_time_status_arg::to_string(Wstring& out) const {
  static const Wstring format(u"%c");
  m_value.to_string(format, out);
}
GUID Nym_date_and_time_status_arg::identity() const { return ID; }
Nym_status_arg* Nym_date_and_time_status_arg::clone(const void*) const {
  return new Nym_date_and_time_status_arg(*this);
}
bool Nym_date_and_time_status_arg::operator==(const Nym_status_arg& other) const { return impl::same_value(other, *this); }

}  // namespace nym
