#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "elsewhere.h"
#include "helper_process.h"
#include "nym/event.h"
#include "nym/mutex.h"
#include "nym/security.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::elsewhere;
using nym_test::what_of;

namespace {

bool try_lock_elsewhere(Nym_mutex& mutex) {
  return elsewhere([&] { return mutex.try_lock() && (mutex.unlock(), true); });
}

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

TEST(MutexTest, HeldRecursivelyByOneThreadFreedWhenItsHolderEndsAndNamedWithCare) {
  Nym_mutex mutex;
  mutex.unlock();  // not held: harmless
  mutex.lock();
  EXPECT_TRUE(mutex.try_lock(0));
  mutex.unlock();
  EXPECT_FALSE(try_lock_elsewhere(mutex));
  mutex.unlock();
  EXPECT_TRUE(try_lock_elsewhere(mutex));
  EXPECT_FALSE(try_lock_elsewhere(*std::make_unique<Nym_mutex>(true, nullptr)));

  std::thread([&] { mutex.lock(); }).join();  // abandoned: counts as acquired
  EXPECT_TRUE(mutex.try_lock(0));
  EXPECT_FALSE(try_lock_elsewhere(mutex));
  mutex.unlock();

  EXPECT_EQ(what_of([] { Nym_mutex cut(Wstring(u"a\0b", 3), false, nullptr); }),
            "Nym_mutex::Nym_mutex - null character in name");
}

// The helper opens the test's mutex by name and finds it held, says so through an event of the
// test's, then takes it once the test lets go and holds it until the test signals another.
TEST(MutexTest, ANamedMutexAndEventsAreSharedWithAnotherProcess) {
  Wstring name = u"nym2208-tests-cross-process-";  // this test process's own
  nym_string_append(name, std::to_string(GetCurrentProcessId()).c_str());
  Nym_mutex mutex(name, true, nullptr);
  Nym_event ready(false, nullptr, true), release;
  const nym_test::Inherited_handle ready_handle(ready.handle()), release_handle(release.handle());
  int code = 0;
  std::thread helper([&] {
    code = nym_test::run_helper({"mutex-handoff", nym_test::utf8(name), ready_handle.text(), release_handle.text()},
                                std::chrono::seconds(60));
  });
  const bool saw_it_held = ready.wait(30000);
  mutex.unlock();
  const bool held_there = saw_it_held && ready.wait(30000) && !mutex.try_lock(0);
  release.signal();
  helper.join();
  EXPECT_TRUE(saw_it_held && held_there);
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(mutex.try_lock(10000));
}

TEST(KernelSecurityTest, EventsAndMutexesTakeAndKeepTheirDescriptors) {
  Nym_acl given = list_of(READ_CONTROL);
  Nym_status status;
  Nym_security creating(given, status);
  Nym_event event(false, &creating);
  Nym_mutex mutex(false, &creating);
  round_trip(event, given);
  round_trip(mutex, given);
}
