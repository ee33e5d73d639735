// Nym_file's region locks: the object's own table (counts, overlaps, conflicts, the checks that
// raise), the schedule of the retries through the pause seam, and regions held by another
// handle and another process.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <thread>
#include <tuple>

#include "file_fixture.h"
#include "helper_process.h"
#include "nym/event.h"
#include "nym/file.h"
#include "test_helpers.h"

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

const Codes HELD_ELSEWHERE = {NYM_S_LOCK_FAILED, sys(ERROR_LOCK_VIOLATION)};

class FileLockTest : public nym_test::File_test {
 protected:
  void SetUp() override {
    File_test::SetUp();
    m_system_pause = impl::nym_set_lock_pause(record_pause);
    for (Nym_file* file : {&m_file, &m_other}) {
      file->open(path("locked"), NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, 0, NYM_SHARE_READ | NYM_SHARE_WRITE,
                 status);
    }
  }
  void TearDown() override {
    impl::nym_set_lock_pause(m_system_pause);
    g_pauses.clear();
    g_in_pause = nullptr;
    m_file.close();
    m_other.close();
    File_test::TearDown();
  }
  // Whether another handle could lock the region exclusively now (and let go at once).
  bool free_elsewhere(int64 start, int64 length) {
    Nym_status probe;
    m_other.lock(NYM_LOCK_EXCLUSIVE, start, length, 0, probe);
    m_other.unlock(start, length, probe);
    return probe.ok();
  }

  Nym_file m_file, m_other;
  Nym_status status;
  impl::Nym_lock_pause m_system_pause = nullptr;
};

// Each row is tried on a table that holds [100, 150) exclusive and [200, 250) shared twice.
TEST_F(FileLockTest, TheTableCountsSharedRepeatsAndRefusesOverlapsAndConflicts) {
  m_file.lock(NYM_LOCK_EXCLUSIVE, 100, 50, 0, status);
  m_file.lock(NYM_LOCK_SHARED, 200, 50, 0, status);
  m_file.lock(NYM_LOCK_SHARED, 200, 50, 0, status);
  EXPECT_TRUE(status.is_clear());
  const std::tuple<Nym_file_lock, int64, int64, unsigned int> cases[] = {  // type, start, length, code
      {NYM_LOCK_EXCLUSIVE, 100, 50, NYM_S_REGION_HELD_OTHERWISE}, {NYM_LOCK_SHARED, 99, 2, NYM_S_REGION_OVERLAPS},
      {NYM_LOCK_SHARED, 100, 50, NYM_S_REGION_HELD_OTHERWISE}, {NYM_LOCK_SHARED, 149, 1, NYM_S_REGION_OVERLAPS},
      {NYM_LOCK_EXCLUSIVE, 200, 50, NYM_S_REGION_HELD_OTHERWISE}, {NYM_LOCK_SHARED, 0, 1000, NYM_S_REGION_OVERLAPS},
      {NYM_LOCK_SHARED, 100, 51, NYM_S_REGION_OVERLAPS}, {NYM_LOCK_EXCLUSIVE, 150, 50, 0}, {NYM_LOCK_SHARED, 250, 1, 0},
  };
  for (const auto& [type, start, length, code] : cases) {
    m_file.lock(type, start, length, 0, status);
    EXPECT_EQ(status.value(), code) << start << "+" << length;
    if (code == 0) m_file.unlock(start, length, status);
  }
  EXPECT_TRUE(g_pauses.empty()) << "the table answered without asking the system";
  m_file.unlock(100, 49, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_REGION_NOT_LOCKED}) << "only the exact region unlocks";
  m_file.unlock(200, 50, status);
  EXPECT_FALSE(free_elsewhere(220, 1)) << "the system lock goes with the last unlock";
  m_file.unlock(200, 50, status);
  EXPECT_TRUE(free_elsewhere(200, 50));
  m_file.close();  // what is held goes with the handle
  EXPECT_TRUE(free_elsewhere(0, 1000));
}

TEST_F(FileLockTest, BadRegionsRaiseAndLeaveTheObjectUsable) {
  const auto lock = [&](int64 start, int64 length) {
    return what_of([&] { m_file.lock(NYM_LOCK_SHARED, start, length, 0, status); });
  };
  EXPECT_EQ(lock(0, 0), "Nym_file::lock - region length must be greater than 0");
  EXPECT_EQ(lock(std::numeric_limits<int64>::max() - 5, 10), "Stream position too large.");
  EXPECT_EQ(lock(-1, 10), "Stream position going negative.");
  EXPECT_EQ(lock(0, 0x100000000), "i64 too positive for u32");
  m_file.lock(NYM_LOCK_SHARED, 10, 10, 0, status);
  EXPECT_EQ(lock(0, 0x100000000), "(nothing raised)") << "the table speaks before the length is checked";
  EXPECT_EQ(chain(status), Codes{NYM_S_REGION_OVERLAPS});
  // Had a raise kept the object's lock, this thread would wait for ever.
  std::thread([&] { m_file.unlock(10, 10, status); }).join();
  EXPECT_TRUE(status.is_clear());
}

// Attempts are spaced by timeout / 10, at least 1000 ms, and a pause follows the last one too.
TEST_F(FileLockTest, RetriesFollowTheirScheduleAndEnd) {
  m_other.lock(NYM_LOCK_EXCLUSIVE, 0, 10, 0, status);
  const std::tuple<unsigned int, size_t, unsigned int> cases[] = {  // timeout, pauses, pause
      {0, 1, 1000}, {999, 1, 1000}, {5000, 5, 1000}, {20000, 10, 2000}, {0xFFFFFFFFu, 11, 429496729}};
  for (const auto& [timeout, pauses, step] : cases) {
    g_pauses.clear();
    m_file.lock(NYM_LOCK_SHARED, 5, 1, timeout, status);
    EXPECT_EQ(g_pauses, std::vector<unsigned int>(pauses, step)) << timeout;
    EXPECT_EQ(chain(status), HELD_ELSEWHERE);
  }
}

TEST_F(FileLockTest, ARefusedUnlockIsOwedNotCountedBelowZero) {
  m_file.lock(NYM_LOCK_SHARED, 0, 10, 0, status);
  OVERLAPPED at{};
  ASSERT_TRUE(UnlockFileEx(m_file.handle(), 0, 10, 0, &at));  // behind the object's back
  for (int i = 0; i < 2; ++i) {
    m_file.unlock(0, 10, status);
    EXPECT_EQ(status, NYM_S_UNLOCK_FAILED) << "try " << i;  // over 158 on Windows, 33 under Wine
  }
  ASSERT_TRUE(LockFileEx(m_file.handle(), LOCKFILE_FAIL_IMMEDIATELY, 0, 10, 0, &at));
  m_file.unlock(0, 10, status);
  EXPECT_TRUE(status.is_clear()) << "the owed unlock is made";
  m_file.unlock(0, 10, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_REGION_NOT_LOCKED});
}

TEST_F(FileLockTest, AnotherProcessSeesTheRegions) {
  const std::string file = nym_test::utf8(path("locked"));
  const auto try_there = [&](const char* type, const char* start, const char* length) {
    return nym_test::run_helper({"file-lock-try", file, type, start, length}, std::chrono::seconds(30));
  };
  m_file.lock(NYM_LOCK_EXCLUSIVE, 0, 100, 0, status);
  m_file.lock(NYM_LOCK_SHARED, 200, 100, 0, status);
  EXPECT_EQ(try_there("shared", "99", "1"), 1);
  EXPECT_EQ(try_there("shared", "200", "100"), 0);
  EXPECT_EQ(try_there("exclusive", "100", "101"), 1);  // reaches into the shared region
  m_file.unlock(0, 100, status);
  m_file.unlock(200, 100, status);

  // The helper holds a region until told; this process's attempt fails until it lets go.
  Nym_event ready(false, nullptr, true), release;
  const nym_test::Inherited_handle ready_handle(ready.handle()), release_handle(release.handle());
  int code = -3;
  std::thread helper([&] {
    code = nym_test::run_helper(
        {"file-lock-hold", file, "exclusive", "10", "10", ready_handle.text(), release_handle.text()},
        std::chrono::seconds(60));
  });
  const auto let_go = [&] {
    release.signal();
    if (helper.joinable()) helper.join();
  };
  if (ready.wait(30000)) {
    g_in_pause = let_go;
    m_file.lock(NYM_LOCK_SHARED, 0, 15, 5000, status);
    EXPECT_TRUE(status.is_clear() && g_pauses.size() == 1 && code == 0) << g_pauses.size() << " " << code;
  } else {
    ADD_FAILURE() << "the helper did not take its lock";
  }
  let_go();
}

}  // namespace
