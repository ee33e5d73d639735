// Nym_file's region locks: the object's own table (counts, overlaps, conflicts, the checks that
// raise), the schedule of the retries through the pause seam, and regions held by another
// handle of this process, another thread and another process.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <stdexcept>
#include <thread>

#include "file_fixture.h"
#include "helper_process.h"
#include "nym/event.h"
#include "nym/file.h"
#include "test_helpers.h"
#include "watchdog.h"

using namespace nym;
using nym_test::chain;
using nym_test::sys;
using nym_test::what_of;
using Codes = std::vector<unsigned int>;

namespace {

// The pauses between attempts, with something to do in each instead of sleeping.
std::vector<unsigned int> g_pauses;
std::function<void()> g_in_pause;

void record_pause(unsigned int milliseconds) {
  g_pauses.push_back(milliseconds);
  if (g_in_pause) g_in_pause();
}

class FileLockTest : public nym_test::File_test {
 protected:
  void SetUp() override {
    File_test::SetUp();
    m_system_pause = impl::nym_set_lock_pause(record_pause);
    g_pauses.clear();
    g_in_pause = nullptr;
    open(m_file);
    open(m_other);
  }
  void TearDown() override {
    impl::nym_set_lock_pause(m_system_pause);
    g_in_pause = nullptr;
    m_file.close();
    m_other.close();
    File_test::TearDown();
  }
  void open(Nym_file& file) {
    Nym_status status;
    file.open(path("locked"), NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, 0, NYM_SHARE_READ | NYM_SHARE_WRITE, status);
    ASSERT_TRUE(status.ok());
  }
  // Whether another handle could lock the region exclusively now (and let go at once).
  bool free_elsewhere(int64 start, int64 length) {
    Nym_status status;
    m_other.lock(NYM_LOCK_EXCLUSIVE, start, length, 0, status);
    if (status.is_error()) return false;
    m_other.unlock(start, length, status);
    return true;
  }

  Nym_file m_file, m_other;
  impl::Nym_lock_pause m_system_pause = nullptr;
};

TEST_F(FileLockTest, SharedRegionsCountAndTheSystemLockGoesWithTheLast) {
  Nym_status status;
  m_file.lock(NYM_LOCK_SHARED, 100, 50, 0, status);
  m_file.lock(NYM_LOCK_SHARED, 100, 50, 0, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_FALSE(free_elsewhere(120, 1));
  m_file.unlock(100, 50, status);
  EXPECT_FALSE(free_elsewhere(120, 1));
  m_file.unlock(100, 50, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_TRUE(free_elsewhere(100, 50));
  m_file.unlock(100, 50, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_REGION_NOT_LOCKED});
}

// Each row is tried on a table that holds [100, 150) exclusive and [200, 250) shared.
TEST_F(FileLockTest, TheTableRefusesOverlapsAndConflictingRepeats) {
  Nym_status status;
  m_file.lock(NYM_LOCK_EXCLUSIVE, 100, 50, 0, status);
  m_file.lock(NYM_LOCK_SHARED, 200, 50, 0, status);
  const struct {
    Nym_file_lock type;
    int64 start, length;
    unsigned int code;
  } cases[] = {
      {NYM_LOCK_EXCLUSIVE, 100, 50, NYM_S_REGION_HELD_OTHERWISE},
      {NYM_LOCK_SHARED, 100, 50, NYM_S_REGION_HELD_OTHERWISE},
      {NYM_LOCK_EXCLUSIVE, 200, 50, NYM_S_REGION_HELD_OTHERWISE},
      {NYM_LOCK_SHARED, 99, 2, NYM_S_REGION_OVERLAPS},
      {NYM_LOCK_SHARED, 149, 1, NYM_S_REGION_OVERLAPS},
      {NYM_LOCK_SHARED, 0, 1000, NYM_S_REGION_OVERLAPS},
      {NYM_LOCK_SHARED, 120, 5, NYM_S_REGION_OVERLAPS},
      {NYM_LOCK_SHARED, 100, 51, NYM_S_REGION_OVERLAPS},
      {NYM_LOCK_EXCLUSIVE, 150, 50, 0},
      {NYM_LOCK_SHARED, 250, 1, 0},
  };
  for (const auto& c : cases) {
    m_file.lock(c.type, c.start, c.length, 0, status);
    EXPECT_EQ(status.value(), c.code) << c.start << "+" << c.length;
    if (c.code == 0) m_file.unlock(c.start, c.length, status);
  }
  EXPECT_TRUE(g_pauses.empty()) << "the table answered without asking the system";
  m_file.unlock(100, 49, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_REGION_NOT_LOCKED}) << "only the exact region unlocks";

  m_file.close();  // everything held goes with the handle
  EXPECT_TRUE(free_elsewhere(0, 1000));
}

TEST_F(FileLockTest, BadRegionsRaiseAndLeaveTheObjectUsable) {
  nym_test::Watchdog watchdog("BadRegionsRaiseAndLeaveTheObjectUsable");
  Nym_status status;
  constexpr int64 MAX = std::numeric_limits<int64>::max();
  EXPECT_EQ(what_of([&] { m_file.lock(NYM_LOCK_SHARED, 0, 0, 0, status); }),
            "Nym_file::lock - region length must be greater than 0");
  EXPECT_EQ(what_of([&] { m_file.lock(NYM_LOCK_SHARED, MAX - 5, 10, 0, status); }), "Stream position too large.");
  EXPECT_EQ(what_of([&] { m_file.lock(NYM_LOCK_SHARED, -1, 10, 0, status); }), "Stream position going negative.");
  EXPECT_EQ(what_of([&] { m_file.lock(NYM_LOCK_SHARED, 0, 0x100000000, 0, status); }), "i64 too positive for u32");
  // The table speaks before the length is checked.
  m_file.lock(NYM_LOCK_SHARED, 10, 10, 0, status);
  m_file.lock(NYM_LOCK_SHARED, 0, 0x100000000, 0, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_REGION_OVERLAPS});
  // Had a raise kept the object's lock, this thread would wait for ever.
  std::thread([&] {
    Nym_status there;
    m_file.unlock(10, 10, there);
    EXPECT_TRUE(there.is_clear());
  }).join();
}

// Attempts are spaced by timeout / 10, at least 1000 ms, and a pause follows the last one too.
TEST_F(FileLockTest, RetriesFollowTheirScheduleAndEnd) {
  Nym_status status;
  m_other.lock(NYM_LOCK_EXCLUSIVE, 0, 10, 0, status);
  const struct {
    unsigned int timeout;
    size_t pauses;
    unsigned int step;
  } cases[] = {{0, 1, 1000}, {999, 1, 1000}, {5000, 5, 1000}, {20000, 10, 2000}, {0xFFFFFFFFu, 11, 429496729}};
  for (const auto& c : cases) {
    g_pauses.clear();
    m_file.lock(NYM_LOCK_SHARED, 5, 1, c.timeout, status);
    EXPECT_EQ(g_pauses, std::vector<unsigned int>(c.pauses, c.step)) << c.timeout;
    EXPECT_EQ(chain(status), (Codes{NYM_S_LOCK_FAILED, sys(ERROR_LOCK_VIOLATION)}));
  }
  // Let go during the wait: the next attempt takes it.
  g_pauses.clear();
  g_in_pause = [&] {
    Nym_status there;
    m_other.unlock(0, 10, there);
  };
  m_file.lock(NYM_LOCK_EXCLUSIVE, 0, 10, 20000, status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(g_pauses.size(), 1u);
}

TEST_F(FileLockTest, ARefusedUnlockIsOwedNotCountedBelowZero) {
  Nym_status status;
  m_file.lock(NYM_LOCK_SHARED, 0, 10, 0, status);
  OVERLAPPED at{};
  ASSERT_TRUE(UnlockFileEx(m_file.handle(), 0, 10, 0, &at));  // behind the object's back
  for (int i = 0; i < 2; ++i) {
    m_file.unlock(0, 10, status);
    ASSERT_EQ(status, NYM_S_UNLOCK_FAILED) << "try " << i;
    EXPECT_TRUE(status.child()->is_error());  // Windows answers 158, Wine 33
  }
  ASSERT_TRUE(LockFileEx(m_file.handle(), LOCKFILE_FAIL_IMMEDIATELY, 0, 10, 0, &at));
  m_file.unlock(0, 10, status);
  EXPECT_TRUE(status.is_clear()) << "the owed unlock is made";
  m_file.unlock(0, 10, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_REGION_NOT_LOCKED});
}

TEST_F(FileLockTest, AnotherThreadWaitsForTheRegion) {
  nym_test::Watchdog watchdog("AnotherThreadWaitsForTheRegion");
  Nym_status status;
  m_file.lock(NYM_LOCK_EXCLUSIVE, 0, 100, 0, status);
  Nym_status there;
  std::thread([&] { m_other.lock(NYM_LOCK_SHARED, 50, 100, 0, there); }).join();
  EXPECT_EQ(chain(there), (Codes{NYM_S_LOCK_FAILED, sys(ERROR_LOCK_VIOLATION)}));
  // The holder lets go while the other thread pauses between attempts.
  g_in_pause = [&] {
    Nym_status here;
    m_file.unlock(0, 100, here);
  };
  std::thread([&] { m_other.lock(NYM_LOCK_SHARED, 50, 100, 5000, there); }).join();
  EXPECT_TRUE(there.is_clear());
}

TEST_F(FileLockTest, AnotherProcessSeesTheRegions) {
  nym_test::Watchdog watchdog("AnotherProcessSeesTheRegions", std::chrono::seconds(120));
  const std::string file = nym_test::utf8(path("locked"));
  const auto try_there = [&](const char* type, const char* start, const char* length) {
    return nym_test::run_helper({"file-lock-try", file, type, start, length}, std::chrono::seconds(30));
  };
  Nym_status status;
  m_file.lock(NYM_LOCK_EXCLUSIVE, 0, 100, 0, status);
  EXPECT_EQ(try_there("shared", "99", "1"), 1);
  EXPECT_EQ(try_there("exclusive", "100", "10"), 0);
  m_file.unlock(0, 100, status);
  m_file.lock(NYM_LOCK_SHARED, 0, 100, 0, status);
  EXPECT_EQ(try_there("shared", "0", "100"), 0);
  EXPECT_EQ(try_there("exclusive", "0", "100"), 1);
  m_file.unlock(0, 100, status);

  // The helper holds a region until told; this process's attempts fail until it lets go.
  Nym_event ready(false, nullptr, true), release;
  const nym_test::Inherited_handle ready_handle(ready.handle()), release_handle(release.handle());
  int code = -3;
  std::thread helper([&] {
    code = nym_test::run_helper(
        {"file-lock-hold", file, "exclusive", "10", "10", ready_handle.text(), release_handle.text()},
        std::chrono::seconds(60));
  });
  const bool held_there = ready.wait(30000);
  EXPECT_TRUE(held_there) << "the helper took its lock";
  if (held_there) {
    g_in_pause = [&] {
      release.signal();
      helper.join();
    };
    m_file.lock(NYM_LOCK_SHARED, 0, 15, 5000, status);
    EXPECT_EQ(chain(status), Codes{0}) << g_pauses.size();
    EXPECT_EQ(g_pauses.size(), 1u);
    EXPECT_EQ(code, 0);
  }
  if (helper.joinable()) {
    release.signal();
    helper.join();
  }
}

}  // namespace
