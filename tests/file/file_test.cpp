// Nym_file: every open mode against a file that exists and one that doesn't, the status
// stacks of the transfers, the times with the FAT rule through its seam, and the region table.
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "file_fixture.h"
#include "nym/file.h"
#include "nym/path.h"
#include "nym/time_period.h"
#include "test_helpers.h"
#include "test_platform.h"

using namespace nym;
using nym_test::chain;
using nym_test::sys;
using nym_test::what_of;
using Codes = std::vector<unsigned int>;

namespace {

class FileTest : public nym_test::File_test {};

Wstring first_arg(const Nym_status& status) {
  Wstring text;
  if (status.num_args() > 0) (*status.begin())->to_string(text);
  return text;
}

struct Open_case {
  Nym_file_open mode;
  bool exists;
  Nym_file_access access;
  Codes failure;         // empty: the open succeeds
  const char* content;   // what the file holds after the open, or "(missing)"
};

// One row per mode and state; a file that exists holds "old".
const Open_case OPEN_CASES[] = {
    {NYM_FILE_MUST_EXIST, true, NYM_ACCESS_READ, {}, "old"},
    {NYM_FILE_MUST_EXIST, true, NYM_ACCESS_READ_WRITE, {}, "old"},
    {NYM_FILE_MUST_EXIST, false, NYM_ACCESS_READ_WRITE, {NYM_S_FILE_OPEN_FAILED, NYM_S_FILE_NOT_FOUND}, "(missing)"},
    {NYM_FILE_OPEN_ALWAYS, true, NYM_ACCESS_WRITE, {}, "old"},
    {NYM_FILE_OPEN_ALWAYS, false, NYM_ACCESS_READ_WRITE, {}, ""},
    {NYM_FILE_REPLACE, true, NYM_ACCESS_WRITE, {}, ""},
    {NYM_FILE_REPLACE, false, NYM_ACCESS_ALL, {}, ""},
    {NYM_FILE_REPLACE, true, NYM_ACCESS_READ, {NYM_S_FILE_OPEN_FAILED, NYM_S_REPLACE_NEEDS_WRITE}, "old"},
    {NYM_FILE_REPLACE, false, static_cast<Nym_file_access>(9), {NYM_S_FILE_OPEN_FAILED, NYM_S_REPLACE_NEEDS_WRITE},
     "(missing)"},
    {NYM_FILE_CREATE_NEW, true, NYM_ACCESS_READ_WRITE, {NYM_S_FILE_OPEN_FAILED, sys(ERROR_FILE_EXISTS)}, "old"},
    {NYM_FILE_CREATE_NEW, false, NYM_ACCESS_READ_WRITE, {}, ""},
    {static_cast<Nym_file_open>(7), true, NYM_ACCESS_READ, {NYM_S_FILE_OPEN_FAILED, sys(ERROR_INVALID_PARAMETER)},
     "old"},
};

TEST_F(FileTest, EveryOpenModeMeetsAFileThereAndNoFileAndRoundTrips) {
  int row = 0;
  for (const Open_case& c : OPEN_CASES) {
    SCOPED_TRACE(testing::Message() << "row " << row);
    const Wstring name = path(("f" + std::to_string(row++)).c_str());
    if (c.exists) put(name, "old");
    Nym_status status;
    Nym_file file(name, c.mode, c.access, 0, NYM_SHARE_READ | NYM_SHARE_WRITE, status);
    EXPECT_EQ(chain(status), c.failure.empty() ? Codes{0} : c.failure);
    EXPECT_EQ(file.is_open(), c.failure.empty());
    EXPECT_EQ(file.path(), c.failure.empty() ? name : Wstring());
    if (!c.failure.empty()) {
      EXPECT_EQ(first_arg(status), name);
    }
    EXPECT_EQ(take(name), c.content);
    if (!file.is_open()) continue;
    // What the access allows comes back; what it doesn't is refused by the system.
    const bool readable = c.access != NYM_ACCESS_WRITE, writable = c.access != NYM_ACCESS_READ;
    const uint64 written = file.write("new!", 4, status);
    EXPECT_EQ(written, writable ? 4u : 0u);
    EXPECT_EQ(chain(status), writable ? Codes{0} : (Codes{NYM_S_WRITE_FAILED, sys(ERROR_ACCESS_DENIED)}));
    file.seek(0, status);
    char back[8] = {};
    const uint64 got = file.read(back, sizeof back, status);
    if (readable) {
      EXPECT_EQ(std::string(back, got), writable ? "new!" : c.content);
    } else {
      EXPECT_EQ(chain(status), (Codes{NYM_S_READ_FAILED, sys(ERROR_ACCESS_DENIED)}));
    }
    file.close();
    EXPECT_EQ(take(name), writable ? "new!" : c.content);
  }
}

TEST_F(FileTest, ShortOpenChoosesModeAndSharing) {
  const Wstring name = path("short");
  Nym_status status;
  Nym_file missing(name, NYM_ACCESS_READ, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_FILE_OPEN_FAILED, NYM_S_FILE_NOT_FOUND}));
  {
    Nym_file writer(name, NYM_ACCESS_WRITE, status);  // creates, shares nothing
    ASSERT_TRUE(status.ok());
    writer.write("abc", 3, status);
    Nym_file second(name, NYM_ACCESS_READ, status);
    EXPECT_EQ(chain(status), (Codes{NYM_S_FILE_OPEN_FAILED, sys(ERROR_SHARING_VIOLATION)}));
  }
  Nym_file reader(name, NYM_ACCESS_READ, status);  // shares reading
  Nym_file another(name, NYM_ACCESS_READ, status);
  EXPECT_TRUE(status.ok());
  Nym_file writer(name, NYM_ACCESS_WRITE, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_FILE_OPEN_FAILED, sys(ERROR_SHARING_VIOLATION)}));
  EXPECT_EQ(take(name), "abc");
  EXPECT_EQ(what_of([&] { writer.open(name, static_cast<Nym_file_access>(4), status); }),
            "Nym_file::open - Unknown file access mode");
}

TEST_F(FileTest, OpenRefusesWhatIsNoFile) {
  Nym_status status;
  Nym_file file;
  const struct {
    Wstring path;
    Codes codes;
  } cases[] = {
      {Wstring(), {NYM_S_FILE_OPEN_FAILED, NYM_S_EMPTY_FILE_NAME}},
      {dir(), {NYM_S_FILE_OPEN_FAILED, NYM_S_NOT_A_FILE}},
      {path("cut") + Wstring(1, u'\0') + u"tail", {NYM_S_FILE_OPEN_FAILED, sys(ERROR_INVALID_NAME)}},
  };
  for (const auto& c : cases) {
    file.open(c.path, NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, 0, 0, status);
    EXPECT_EQ(chain(status), c.codes);
    EXPECT_FALSE(file.is_open());
  }
  EXPECT_FALSE(exists(path("cut"))) << "the name was not cut short";

  file.open(path("a"), NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, 0, 0, status);
  file.open(path("b"), NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, 0, 0, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_FILE_OPEN_FAILED, NYM_S_FILE_ALREADY_OPEN}));
  EXPECT_EQ(file.path(), path("a"));
  EXPECT_FALSE(exists(path("b")));
}

TEST_F(FileTest, FlagsAndShareBitsReachTheSystem) {
  Nym_status status;
  {
    Nym_file temporary(path("gone"), NYM_FILE_CREATE_NEW, NYM_ACCESS_READ_WRITE,
                       NYM_FILE_DELETE_ON_CLOSE | NYM_FILE_SEQUENTIAL_SCAN | 0x100, NYM_SHARE_DELETE | 0x80, status);
    ASSERT_TRUE(status.ok());
    EXPECT_TRUE(exists(path("gone")));
  }
  EXPECT_FALSE(exists(path("gone")));
}

TEST_F(FileTest, TransfersReportInTheirStacks) {
  Nym_status status;
  Nym_file file;
  char byte = 0;
  EXPECT_EQ(file.read(&byte, 1, status), 0u);
  EXPECT_EQ(chain(status), (Codes{NYM_S_READ_FAILED, NYM_S_FILE_NOT_OPEN}));
  file.write(&byte, 1, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_WRITE_FAILED, NYM_S_FILE_NOT_OPEN}));
  file.flush(status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_WRITE_FAILED, NYM_S_FILE_NOT_OPEN}));
  EXPECT_EQ(file.tell(), 0);
  EXPECT_EQ(file.length(), 0);

  file.open(path("t"), NYM_FILE_CREATE_NEW, NYM_ACCESS_READ_WRITE, 0, 0, status);
  EXPECT_EQ(file.write("0123456789", 10, status), 10u);
  file.flush(status);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(file.read(&byte, 0, status), 0u);
  EXPECT_TRUE(status.is_clear()) << "a read of nothing is no end of file";
  EXPECT_EQ(file.read(&byte, 1, status), 0u);
  EXPECT_EQ(chain(status), Codes{NYM_S_END_OF_DATA}) << "the end comes bare";
  EXPECT_EQ(file.read(&byte, 0x100000000u, status), 0u);
  EXPECT_EQ(chain(status), (Codes{NYM_S_READ_FAILED, NYM_S_READ_FAILED}));
  file.write(&byte, 0x100000000u, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_WRITE_FAILED, NYM_S_READ_FAILED}));

  file.seek(NYM_SEEK_END, -3, status);
  EXPECT_EQ(file.tell(), 7);
  file.seek(NYM_SEEK_CURRENT, -2, status);
  EXPECT_EQ(file.tell(), 5);
  file.seek(static_cast<Nym_seek_mode>(5), 4, status);  // out of range: from the start
  EXPECT_EQ(file.tell(), 4);
  file.seek(-1, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_SEEK_FAILED, sys(ERROR_NEGATIVE_SEEK)}));
  EXPECT_EQ(file.tell(), 4);

  file.seek(20, status);  // beyond the end, then cut there: the file grows
  file.truncate(status);
  EXPECT_EQ(file.length(), 20);
  file.seek(3, status);
  file.truncate(status);
  EXPECT_EQ(file.length(), 3);
  EXPECT_EQ(Nym_file::length(path("t")), 3);
  EXPECT_EQ(Nym_file::length(path("none")), 0);
  file.close();
  file.close();  // twice is harmless
  file.truncate(status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_TRUNCATE_FAILED, sys(ERROR_INVALID_HANDLE)}));
  EXPECT_EQ(take(path("t")), "012");
}

// --- Times -------------------------------------------------------------------

Wstring g_volume_name;
bool g_volume_known = true;
std::vector<Wstring> g_roots;

bool fake_volume(const Wstring& root, Wstring& name) {
  g_roots.push_back(root);
  name = g_volume_name;
  return g_volume_known;
}

TEST_F(FileTest, TimesAreUtcExceptOnAVolumeNamedFat) {
  Nym_status status;
  Nym_file file(path("when"), NYM_ACCESS_WRITE, status);
  ASSERT_TRUE(status.ok());
  Nym_date_and_time real;
  file.last_modified_time(real);
  EXPECT_EQ(real.zone(), Nym_time_zone::UTC) << "the volume says NTFS";
  const Nym_date_and_time now = Nym_date_and_time::now();
  EXPECT_LT(std::llabs((now.utc() - real.utc()).seconds()), 300);

  const auto system = impl::nym_set_file_system_name_query(fake_volume);
  const struct {
    const char16_t* name;
    bool known;
    bool local;
  } cases[] = {{u"FAT", true, true}, {u"FAT32", true, false}, {u"NTFS", true, false}, {u"FAT", false, false}};
  for (const auto& c : cases) {
    g_volume_name = c.name;
    g_volume_known = c.known;
    Nym_date_and_time t;
    file.last_modified_time(t);
    EXPECT_TRUE(t.date() == real.date() && t.time() == real.time()) << "the reading stays, the zone changes";
    EXPECT_EQ(t.zone(), c.local ? Nym_time_zone::local(true) : Nym_time_zone::UTC);
  }
  EXPECT_EQ(g_roots.back(), Nym_path(path("when")).file_system_root());
  EXPECT_EQ(impl::nym_set_file_system_name_query(system), fake_volume);

  Nym_date_and_time created, accessed;
  file.creation_time(created);
  file.last_accessed_time(accessed);
  EXPECT_LT(std::llabs((now.utc() - created.utc()).seconds()), 300);
  EXPECT_LT(std::llabs((now.utc() - accessed.utc()).seconds()), 300);
  Nym_date_and_time by_path;
  Nym_file::last_modified_time(path("when"), by_path);
  EXPECT_EQ(by_path.zone(), Nym_time_zone::local(true));
  EXPECT_LT(std::llabs((now.utc() - by_path.utc()).seconds()), 300);

  // No time to be had: Julian day 38, midnight, local.
  const Nym_date_and_time fallback(Nym_time_period(38, 0, 0, 0, 0), Nym_time_zone::local(true));
  file.close();
  Nym_date_and_time none;
  file.creation_time(none);
  EXPECT_TRUE(none.is_same_as(fallback));
  Nym_file::creation_time(path("none"), none);
  EXPECT_TRUE(none.is_same_as(fallback));
}

TEST_F(FileTest, TempLockExistsFromLoad) {
  Nym_write_lock hold(Nym_file::m_temp_lock);
  bool could_read = true;
  std::thread([&] { could_read = Nym_file::m_temp_lock.try_read_lock(); }).join();
  EXPECT_FALSE(could_read);
}

}  // namespace
