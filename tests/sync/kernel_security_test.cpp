#include <gtest/gtest.h>

#include <windows.h>

#include <memory>

#include "nym/event.h"
#include "nym/mutex.h"
#include "nym/security.h"

using namespace nym;

namespace {

Nym_acl list_of(unsigned int everyone_rights) {
  Nym_acl acl;
  Nym_status status;
  acl.set_rights(Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER), NYM_ACCESS_ALLOW, EVENT_ALL_ACCESS | MUTEX_ALL_ACCESS,
                 0, status);
  acl.set_rights(Nym_security_id(Wstring(u"S-1-1-0")), NYM_ACCESS_ALLOW, everyone_rights, 0, status);
  return acl;
}

// The list an object was made with reads back through add_security; one written through it is
// what a second tie reads.
template <class Object>
void round_trip(Object& object, const Nym_acl& given) {
  Nym_status status;
  Nym_security tied, again;
  object.add_security(tied, status);
  std::unique_ptr<Nym_acl> read(tied.get_disc_acl(status));
  ASSERT_TRUE(read != nullptr && status.ok());
  EXPECT_TRUE(read->standard_rights_equal(given));
  const Nym_acl changed = list_of(READ_CONTROL | WRITE_DAC);
  tied.set_disc_acl(changed, status);
  object.add_security(again, status);
  read.reset(again.get_disc_acl(status));
  ASSERT_TRUE(read != nullptr && status.ok());
  EXPECT_TRUE(read->standard_rights_equal(changed));
  object.add_security(tied, status);
  EXPECT_EQ(status, NYM_S_ALREADY_ASSOCIATED);
}

}  // namespace

TEST(KernelSecurityTest, EventsAndMutexesTakeAndKeepTheirDescriptors) {
  Nym_acl given = list_of(READ_CONTROL);
  Nym_status status;
  Nym_security creating(given, status);
  Nym_event event(false, &creating);
  Nym_mutex mutex(false, &creating);
  round_trip(event, given);
  round_trip(mutex, given);
}
