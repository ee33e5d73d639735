// Access control: trustees, lists edited by trustee, rights through groups, an event's descriptor.
#include <windows.h>
#include <memory>

#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  // A trustee by number, by SID text or by name: each form is made from another when asked.
  const Nym_security_id admins(NYM_TRUSTEE_ADMINISTRATORS), everyone(NYM_TRUSTEE_EVERYONE);
  check(static_cast<Wstring>(admins) == u"S-1-5-32-544" && admins == Nym_security_id(u"S-1-5-32-544"), "SID text");
  recipe::print("administrators", admins.account_name());
  const Nym_security_id me(NYM_TRUSTEE_CURRENT_PROCESS_USER);  // the user of the process token
  // An empty list gives nobody anything.
  Nym_status status;
  Nym_acl acl;
  unsigned int rights = 1, count = 0, mask = 0;
  acl.get_rights(everyone, rights, status);
  check(status.ok() && rights == 0, "empty: nothing");
  // Edits go by trustee: a denial goes in front, the same kind for the same trustee widens.
  acl.set_rights(everyone, NYM_ACCESS_ALLOW, SYNCHRONIZE, 0, status);
  acl.set_rights(me, NYM_ACCESS_ALLOW, EVENT_ALL_ACCESS, 0, status);
  acl.set_rights(admins, NYM_ACCESS_ALLOW, READ_CONTROL, 0, status);
  acl.set_rights(admins, NYM_ACCESS_ALLOW, WRITE_DAC | EVENT_MODIFY_STATE, 0, status);
  acl.set_rights(everyone, NYM_ACCESS_DENY, WRITE_DAC, 0, status);
  Nym_security_id first;
  Nym_access_modes mode = NYM_ACCESS_ALLOW;
  unsigned char flags = 0;
  acl.get_entry_count(count, status);
  acl.get_entry(0, first, mode, mask, flags, status);
  check(status.ok() && count == 4 && mode == NYM_ACCESS_DENY && first == everyone, "deny first, allow widened");
  // Effective rights sum the trustee's entries and its groups' (Everyone's too); denials win.
  acl.get_rights(admins, rights, status);
  check(status.ok() && rights == (SYNCHRONIZE | READ_CONTROL | EVENT_MODIFY_STATE), "through Everyone");
  // A user's groups come from the account databases. When they can't all be listed (as under
  // Wine) the answer is the error and no rights; a name that doesn't resolve raises.
  const bool may_signal = acl.test_rights(me, EVENT_MODIFY_STATE, status, &rights);
  check(may_signal ? status.ok() : status.is_error() && rights == 0, "no answer from part of the groups");
  try {
    acl.get_rights(Nym_security_id(u"no-such-account-here"), rights, status);
    check(false, "an unknown name");
  } catch (const std::runtime_error&) {
  }
  // A descriptor for a new object; a second one, tied to the event, reads its list back.
  Nym_security descriptor(acl, status);
  Nym_event event(false, &descriptor);
  Nym_security tied;
  event.add_security(tied, status);
  std::unique_ptr<Nym_acl> read(tied.get_disc_acl(status));
  check(status.ok() && read != nullptr && read->standard_rights_equal(acl), "the event's list");
  // A null list (Nym_security() or Nym_security(true, status)) is open to all, with no look-up.
  Nym_security open(true, status);
  std::unique_ptr<Nym_acl> none(open.get_disc_acl(status));
  none->get_rights(me, rights, status);
  check(status.ok() && rights == NYM_ACL_ALL_RIGHTS, "a null list: everything, for everybody");
  return recipe::result();
}
