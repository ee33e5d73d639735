// Results: how codes are normalised, what hresult() gives, and what copies share.
#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  // A plain system number n is kept as the error 0xC0000000 | n; compare with the number.
  const Nym_status denied(5);  // ERROR_ACCESS_DENIED, as GetLastError() gives it
  check(denied.value() == 0xC0000005u && denied == 5, "a Win32 code");
  // hresult() is not HRESULT_FROM_WIN32: it keeps the facility field as it is (none here).
  check(denied.hresult() == 0x80000005u, "hresult of a Win32 code is not E_ACCESSDENIED");

  // An HRESULT keeps its facility, so E_ACCESSDENIED is not the number 5.
  const Nym_status e_access(0x80070005u);
  check(e_access.value() == 0xC0070005u && e_access != 5 && e_access != denied, "0x80070005 is not 5");
  check(e_access.contains_value(0x80070005u) && e_access.hresult() == 0x80070005u, "an HRESULT round trip");

  // Below facility 0x100 only errors keep their severity: a warning HRESULT becomes a success.
  check(Nym_status(0x40070005u).value() == 0x70005u && Nym_status(0x40070005u).is_success(), "rewritten");
  // From facility 0x100 up a code stands as given: give a product's codes a facility of its
  // own there (0x100 to 0x7FF, not the library's 0x200), with any severity.
  check(Nym_status(0x82FD0002u).is_warning() && Nym_status(0x82FD0002u).ok(), "a product's warning");
  check(Nym_status(0xC2000019u).facility() == NYM_FACILITY, "the library's facility");

  // Copies share arguments and chain; nothing is written through a shared list.
  Nym_status first(0xC2FD0001u, Nym_int_status_arg(1), Nym_int_status_arg(2));
  Nym_status copy = first;
  // add_arg on a status whose list is shared starts a new list with that argument alone.
  copy.add_arg(Nym_int_status_arg(3));
  check(first.num_args() == 2 && copy.num_args() == 1, "add_arg after a copy");
  // On a list of its own add_arg appends.
  copy.add_arg(Nym_int_status_arg(4));
  check(copy.num_args() == 2, "add_arg on a sole owner");
  // push moves the old top down whole; the copy it came from is untouched.
  copy = first;
  copy.push(NYM_S_READ_FAILED);
  check(!first.has_child() && first.num_args() == 2, "the original after push");
  check(copy.num_args() == 0 && copy.child()->num_args() == 2, "the pushed copy");
  // The use counts are not atomic: a status and its copies stay on one thread at a time.
  return recipe::result();
}
