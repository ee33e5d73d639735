// Equality of status arguments (internal): the right-hand side's identity decides the kind, so
// arguments of two kinds never compare equal, whatever their values.
#ifndef NYM_STATUS_ARG_KIND_H
#define NYM_STATUS_ARG_KIND_H

#include "nym/status_arg.h"

namespace nym::impl {

// `other` as a Kind, or null when it is of another kind.
template <class Kind>
const Kind* same_kind(const Nym_status_arg& other) {
  return nym_guid_equal(other.identity(), Kind::ID) ? static_cast<const Kind*>(&other) : nullptr;
}

// Whether `other` is a Kind with the value of `self`.
template <class Kind>
bool same_value(const Nym_status_arg& other, const Kind& self) {
  const Kind* same = same_kind<Kind>(other);
  return same != nullptr && same->value() == self.value();
}

}  // namespace nym::impl

#endif
