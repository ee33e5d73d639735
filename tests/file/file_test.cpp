// Nym_file: every open mode against a file that exists and one that doesn't, the status
// stacks of the transfers, and the times with the FAT rule through its seam.
#include <gtest/gtest.h>

#include <cstdlib>
#include <tuple>

#include "file_fixture.h"
#include "nym/file.h"
#include "nym/path.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::chain;
using nym_test::sys;
using Codes = std::vector<unsigned int>;

namespace {

using FileTest = nym_test::File_test;

// Mode, whether the file exists (holding "old"), access, the failure (none: the open succeeds)
// and the content after the open.
const std::tuple<Nym_file_open, bool, Nym_file_access, Codes, const char*> OPEN_CASES[] = {
    {NYM_FILE_MUST_EXIST, true, NYM_ACCESS_READ, {}, "old"},
    {NYM_FILE_MUST_EXIST, false, NYM_ACCESS_READ_WRITE, {NYM_S_FILE_OPEN_FAILED, NYM_S_FILE_NOT_FOUND}, "(missing)"},
    {NYM_FILE_OPEN_ALWAYS, true, NYM_ACCESS_WRITE, {}, "old"},
    {NYM_FILE_OPEN_ALWAYS, false, NYM_ACCESS_READ_WRITE, {}, ""},
    {NYM_FILE_REPLACE, true, NYM_ACCESS_WRITE, {}, ""},
    {NYM_FILE_REPLACE, false, NYM_ACCESS_ALL, {}, ""},
    {NYM_FILE_REPLACE, true, NYM_ACCESS_READ, {NYM_S_FILE_OPEN_FAILED, NYM_S_REPLACE_NEEDS_WRITE}, "old"},
    {NYM_FILE_REPLACE, false, Nym_file_access(9), {NYM_S_FILE_OPEN_FAILED, NYM_S_REPLACE_NEEDS_WRITE}, "(missing)"},
    {NYM_FILE_CREATE_NEW, true, NYM_ACCESS_READ_WRITE, {NYM_S_FILE_OPEN_FAILED, sys(ERROR_FILE_EXISTS)}, "old"},
    {NYM_FILE_CREATE_NEW, false, NYM_ACCESS_READ_WRITE, {}, ""},
    {Nym_file_open(7), true, NYM_ACCESS_READ, {NYM_S_FILE_OPEN_FAILED, sys(ERROR_INVALID_PARAMETER)}, "old"},
};

TEST_F(FileTest, EveryOpenModeMeetsAFileThereAndNoFileAndRoundTrips) {
  int row = 0;
  for (const auto& [mode, there, access, failure, content] : OPEN_CASES) {
    SCOPED_TRACE(testing::Message() << "row " << row);
    const Wstring name = path(("f" + std::to_string(row++)).c_str());
    if (there) put(name, "old");
    Nym_status status;
    Nym_file file(name, mode, access, 0, NYM_SHARE_READ | NYM_SHARE_WRITE, status);
    EXPECT_EQ(chain(status), failure.empty() ? Codes{0} : failure);
    EXPECT_EQ(file.path(), failure.empty() ? name : Wstring());
    EXPECT_TRUE(failure.empty() || status.compare(Nym_status(failure[0], Nym_wstring_status_arg(name)), true, false));
    EXPECT_EQ(take(name), content);
    if (!file.is_open()) continue;
    // What the access allows comes back; what it doesn't, the system refuses.
    const bool readable = access != NYM_ACCESS_WRITE, writable = access != NYM_ACCESS_READ;
    EXPECT_EQ(file.write("new!", 4, status), writable ? 4u : 0u);
    EXPECT_EQ(chain(status), writable ? Codes{0} : (Codes{NYM_S_WRITE_FAILED, sys(ERROR_ACCESS_DENIED)}));
    file.seek(0, status);
    char back[8];
    const uint64 got = file.read(back, sizeof back, status);
    EXPECT_EQ(chain(status), readable ? Codes{0} : (Codes{NYM_S_READ_FAILED, sys(ERROR_ACCESS_DENIED)}));
    EXPECT_EQ(std::string(back, readable ? got : 0), readable ? (writable ? "new!" : content) : "");
    file.close();
    EXPECT_EQ(take(name), writable ? "new!" : content);
  }
}

TEST_F(FileTest, TheShortOpenSharesAndTheLongOneRefusesWhatIsNoFile) {
  const Wstring name = path("short");
  Nym_status status;
  {
    Nym_file writer(name, NYM_ACCESS_WRITE, status);  // replaces or creates, shares nothing
    writer.write("abc", 3, status);
    Nym_file second(name, NYM_ACCESS_READ, status);
    EXPECT_EQ(chain(status), (Codes{NYM_S_FILE_OPEN_FAILED, sys(ERROR_SHARING_VIOLATION)}));
  }
  Nym_file reader(name, NYM_ACCESS_READ, status), another(name, NYM_ACCESS_READ, status);  // shares reading
  EXPECT_TRUE(status.ok());
  Nym_file file;
  EXPECT_EQ(nym_test::what_of([&] { file.open(name, Nym_file_access(4), status); }),
            "Nym_file::open - Unknown file access mode");
  const std::pair<Wstring, Codes> cases[] = {
      {Wstring(), {NYM_S_FILE_OPEN_FAILED, NYM_S_EMPTY_FILE_NAME}},
      {dir(), {NYM_S_FILE_OPEN_FAILED, NYM_S_NOT_A_FILE}},
      {path("cut") + Wstring(1, u'\0') + u"tail", {NYM_S_FILE_OPEN_FAILED, sys(ERROR_INVALID_NAME)}},
  };
  for (const auto& [bad, codes] : cases) {
    file.open(bad, NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, 0, 0, status);
    EXPECT_EQ(chain(status), codes);
  }
  EXPECT_FALSE(exists(path("cut"))) << "a name with U+0000 is not cut short";
  file.open(path("a"), NYM_FILE_CREATE_NEW, NYM_ACCESS_READ_WRITE, NYM_FILE_DELETE_ON_CLOSE | 0x100, 0x80, status);
  file.open(path("b"), NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, 0, 0, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_FILE_OPEN_FAILED, NYM_S_FILE_ALREADY_OPEN}));
  EXPECT_TRUE(file.path() == path("a") && !exists(path("b"))) << "open on an open object keeps the old file";
  file.close();
  EXPECT_FALSE(exists(path("a"))) << "the flags reached the system";
}

TEST_F(FileTest, TransfersReportInTheirStacks) {
  Nym_status status;
  Nym_file file;
  char byte = 0;
  file.read(&byte, 1, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_READ_FAILED, NYM_S_FILE_NOT_OPEN}));
  file.write(&byte, 1, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_WRITE_FAILED, NYM_S_FILE_NOT_OPEN}));
  EXPECT_EQ(file.tell() + file.length(), 0);

  file.open(path("t"), NYM_FILE_CREATE_NEW, NYM_ACCESS_READ_WRITE, 0, 0, status);
  file.write("0123456789", 10, status);
  file.flush(status);
  EXPECT_TRUE(file.read(&byte, 0, status) == 0 && status.is_clear()) << "a read of nothing is no end of file";
  file.read(&byte, 1, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_END_OF_DATA}) << "the end comes bare";
  file.read(&byte, 0x100000000u, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_READ_FAILED, NYM_S_READ_FAILED}));
  file.write(&byte, 0x100000000u, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_WRITE_FAILED, NYM_S_READ_FAILED}));

  file.seek(NYM_SEEK_END, -3, status);
  file.seek(NYM_SEEK_CURRENT, -2, status);
  EXPECT_EQ(file.tell(), 5);
  file.seek(-1, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_SEEK_FAILED, sys(ERROR_NEGATIVE_SEEK)}));
  file.seek(3, status);
  file.truncate(status);
  EXPECT_EQ(Nym_file::length(path("t")) + Nym_file::length(path("none")), 3);
  file.close();
  file.close();
  file.truncate(status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_TRUNCATE_FAILED, sys(ERROR_INVALID_HANDLE)}));
  EXPECT_EQ(take(path("t")), "012");
}

Wstring g_volume_name;
bool g_volume_known = true;
Wstring g_root;

bool fake_volume(const Wstring& root, Wstring& name) {
  g_root = root;
  name = g_volume_name;
  return g_volume_known;
}

TEST_F(FileTest, TimesAreUtcExceptOnAVolumeNamedFat) {
  Nym_status status;
  Nym_file file(path("when"), NYM_ACCESS_WRITE, status);
  Nym_date_and_time real, by_path;
  file.last_modified_time(real);
  Nym_file::last_modified_time(path("when"), by_path);
  EXPECT_TRUE(real.zone() == Nym_time_zone::UTC && by_path.zone() == Nym_time_zone::local(true));
  EXPECT_LT(std::llabs((Nym_date_and_time::now().utc() - by_path.utc()).seconds()), 300);

  const auto system = impl::nym_set_file_system_name_query(fake_volume);
  const std::tuple<const char16_t*, bool, bool> cases[] = {  // the volume's name, whether known, local time
      {u"FAT", true, true}, {u"FAT32", true, false}, {u"FAT", false, false}};
  for (const auto& [name, known, local] : cases) {
    g_volume_name = name;
    g_volume_known = known;
    Nym_date_and_time t;
    file.last_modified_time(t);
    EXPECT_TRUE(t.date() == real.date() && t.time() == real.time()) << "the reading stays, the zone changes";
    EXPECT_EQ(t.zone(), local ? Nym_time_zone::local(true) : Nym_time_zone::UTC);
  }
  EXPECT_EQ(g_root, Nym_path(path("when")).file_system_root());
  EXPECT_EQ(impl::nym_set_file_system_name_query(system), fake_volume);

  // No time to be had: Julian day 38, midnight, local.
  const Nym_date_and_time fallback(Nym_time_period(38, 0, 0, 0, 0), Nym_time_zone::local(true));
  file.close();
  file.creation_time(real);
  Nym_file::creation_time(path("none"), by_path);
  EXPECT_TRUE(real.is_same_as(fallback) && by_path.is_same_as(fallback));
}

}  // namespace
