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
#include "test_helpers.h"

using namespace nym;
using nym_test::elsewhere;
using nym_test::what_of;

namespace {

bool try_lock_elsewhere(Nym_mutex& mutex) {
  return elsewhere([&] { return mutex.try_lock() && (mutex.unlock(), true); });
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
