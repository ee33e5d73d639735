// Profile files on disk: the reader, the editor's cache and edits, commit over a backup,
// rollback, failed writes and crashes at each moment of a commit.
#include <gtest/gtest.h>

#include <chrono>

#include "../file/file_fixture.h"
#include "nym/profile_access.h"
#include "nym/profile_reader.h"
#include "helper_process.h"
#include "profile_test_support.h"
#include "test_helpers.h"

using namespace nym;
using Entry = std::pair<Wstring, Wstring>;
using Names = std::vector<Wstring>;

namespace {

using nym_test::bytes_of;
const std::string original = bytes_of(u"\uFEFF[s]\r\nk=v\r\n\r\n");  // the file before the commits

// The write fault of the file layer for one path: fails its writes after so many bytes.
Wstring g_fail_path;
uint64 g_fail_bytes = 0;
uint64 fail_write(const Wstring& path, uint64 count, bool&) {
  const uint64 allowed = path != g_fail_path ? count : std::min(count, g_fail_bytes);
  if (path == g_fail_path) g_fail_bytes -= allowed;
  return allowed;
}

class ProfileTest : public nym_test::File_test {
 protected:
  Wstring ini() const { return path("p.ini"); }
};

TEST_F(ProfileTest, ReaderListsSectionsAndNavigatesAsTold) {
  put(ini(), bytes_of(u"\uFEFF[General]\r\n; listen\r\nhost = alpha\r\n\r\ngreeting=a\\=b\\0Ac\r\n"
                          u"[]\r\n[Empty]\r\n;only\r\n[general]\r\nhost=beta\r\n"));
  Nym_status status;
  Nym_profile_reader reader(ini(), status);
  Names names{u"kept"};
  reader.get_section_list(names, status);  // appends
  EXPECT_EQ(names, (Names{u"kept", u"General", u"", u"Empty", u"general"}));

  reader.set_current_section(u"GENERAL", status);
  Entry entry;
  reader.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"host", u"alpha"));  // the first of duplicates, the comment skipped
  reader.move_to_next_entry(status);
  reader.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"greeting", u"a=b\nc"));
  reader.move_to_key(u"nothing", status);
  ASSERT_EQ(status, NYM_S_NO_SUCH_ENTRY);
  Wstring argument;
  (*status.begin())->to_string(argument);
  EXPECT_EQ(argument, u"General");  // the file's spelling
  reader.get_current_entry(entry, status);
  EXPECT_EQ(status, NYM_S_NO_SUCH_ENTRY);

  reader.set_current_section(u"empty", status);
  EXPECT_TRUE(status.ok());
  EXPECT_TRUE(reader.end_of_entries());
  reader.set_current_section(u"", status);  // found, but an empty name is no current section
  EXPECT_EQ(status, NYM_S_NO_CURRENT_SECTION);
  reader.set_current_section(u"missing", status);
  EXPECT_EQ(status, NYM_S_SECTION_NOT_FOUND);
  Nym_profile_access writer(ini(), NYM_FILE_MUST_EXIST, NYM_ACCESS_WRITE, status);
  EXPECT_TRUE(status.is_error());  // a writer holds the file alone, so not beside a reader
  reader.close(status);
  reader.get_current_entry(entry, status);
  EXPECT_EQ(status, NYM_S_PROFILE_NOT_OPEN);
  reader.open(path("none.ini"), status);
  EXPECT_TRUE(status == NYM_S_PROFILE_OPEN_FAILED && status.contains_value(NYM_S_FILE_OPEN_FAILED));
}

TEST_F(ProfileTest, EditsShapeTheCacheAndTheFileExactly) {
  Nym_status status;
  Nym_profile_access profile(ini(), NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, status);
  Entry entry;
  profile.get_current_entry(entry, status);
  EXPECT_EQ(status, NYM_S_NO_CURRENT_SECTION);

  profile.create_new_section(u"Main", status);
  profile.insert_entry({u"; head", u""}, status);
  profile.reset_section_position(status);  // past the comment: inserts go after it, in order
  profile.insert_entry({u"a", u"1"}, status);
  profile.insert_entry({u"b\\", u"x=\r\n"}, status);
  profile.create_new_section(u"MAIN", status);
  EXPECT_EQ(status, NYM_S_SECTION_EXISTS);
  profile.get_current_entry(entry, status);
  EXPECT_EQ(entry.first, u"; head");  // the first item, comment or not
  profile.create_new_section(u"gone", status);
  profile.insert_entry({u"only", u"1"}, status);
  profile.reset_section_position(status);
  profile.delete_entry(status);
  profile.delete_entry(status);
  EXPECT_EQ(status, NYM_S_NO_SUCH_ENTRY);
  profile.rename_section(u"GONE", status);  // doesn't clear the status: the file shows it
  profile.rename_section(u"Main", status);
  EXPECT_EQ(status, NYM_S_SECTION_EXISTS);
  profile.close(status);

  EXPECT_EQ(take(ini()), bytes_of(u"\uFEFF[Main]\r\n; head\r\na=1\r\nb\\5C=x\\=\\0D\\0A\r\n\r\n[GONE]\r\n\r\n"));
  Nym_profile_reader reader(ini(), status);  // what the editor wrote, the reader reads
  reader.set_current_section(u"main", status);
  reader.move_to_key(u"b\\", status);
  reader.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"b\\", u"x=\r\n"));
  EXPECT_EQ(take(ini() + u".bak"), "(missing)");
  profile.commit_changes(status);
  EXPECT_EQ(status, NYM_S_PROFILE_ACCESS_NOT_OPEN);
}

// Positions are indices: copying into a growing vector, and deleting the current section, leave
// nothing dangling.
TEST_F(ProfileTest, SectionCopiesAndDeletesKeepPositionsValid) {
  Nym_status status;
  Nym_profile_access profile(ini(), NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, status);
  profile.create_new_section(u"s", status);
  profile.insert_entry({u"k", u"v"}, status);
  profile.reset_section_position(status);
  for (std::size_t i = 1; i <= 200; ++i) profile.copy_section(Wstring(i, u'c'), status);
  Entry entry;
  profile.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"k", u"v"));
  profile.delete_section(status);  // the first copy takes its place, at its first item
  profile.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"k", u"v"));
  profile.set_current_section(u"c", status);
  for (int i = 0; i < 200; ++i) profile.delete_section(status);
  profile.get_current_entry(entry, status);
  EXPECT_EQ(status, NYM_S_NO_CURRENT_SECTION);
}

TEST_F(ProfileTest, CommitsRotateOneBackupAndRollbackRestoresTheContentBefore) {
  put(ini(), original);
  Nym_status status;
  Nym_profile_access profile(ini(), NYM_FILE_MUST_EXIST, NYM_ACCESS_READ_WRITE, status);
  profile.commit_changes(status);
  EXPECT_EQ(take(ini() + u".bak"), "(missing)");  // nothing changed, nothing written

  profile.insert_entry({u"a", u"1"}, status);
  profile.commit_changes(status);
  EXPECT_EQ(take(ini() + u".bak"), original);
  profile.insert_entry({u"b", Wstring(500, u'2')}, status);
  profile.commit_changes(status);
  const std::string first = take(ini() + u".bak");  // the file holds it open unshared
  EXPECT_EQ(take(ini() + u".1"), "(missing)");

  profile.rollback(status);  // the longer file is cut back
  ASSERT_TRUE(status.ok());
  EXPECT_EQ(take(ini() + u".bak"), "(missing)");
  profile.insert_entry({u"c", u"3"}, status);
  profile.rollback(status);  // no backup left: the edit goes, so close writes nothing
  profile.close(status);
  EXPECT_EQ(take(ini()), first);
}

// After a failed write the backup is the only intact copy: nothing may remove or overwrite it.
TEST_F(ProfileTest, AFailedWriteKeepsTheBackupThroughCloseRetryAndDestructor) {
  for (const char* ending : {"retry", "destructor", "abort"}) {
    put(ini(), original);
    Nym_status status;
    {
      Nym_profile_access profile(ini(), NYM_FILE_MUST_EXIST, NYM_ACCESS_READ_WRITE, status);
      profile.insert_entry({u"big", Wstring(4000, u'x')}, status);
      g_fail_path = ini();
      g_fail_bytes = 40;
      impl::nym_set_write_fault(fail_write);
      profile.commit_changes(status);
      EXPECT_TRUE(status.contains_value(112)) << ending;
      profile.close(status);
      EXPECT_TRUE(status.is_error()) << ending;
      impl::nym_set_write_fault(nullptr);
      EXPECT_EQ(take(ini() + u".bak"), original) << ending;
      if (std::string(ending) == "retry") {
        profile.commit_changes(status);
        EXPECT_TRUE(status.ok());
        EXPECT_EQ(take(ini() + u".bak"), original);  // not the half-written file
        profile.rollback(status);
      } else if (std::string(ending) == "abort") {
        profile.abort_changes(status);
        EXPECT_TRUE(status.ok());
      }
    }
    if (std::string(ending) == "destructor") {
      EXPECT_EQ(take(ini() + u".bak"), original);
    } else {
      EXPECT_EQ(take(ini()), original) << ending;
      EXPECT_EQ(take(ini() + u".bak"), "(missing)") << ending;
    }
    DeleteFileW(win(ini() + u".bak"));
  }
}

// Each moment of the second of two commits, the process dies there (in the helper); what is on
// disk afterwards is what the moment promises.
TEST_F(ProfileTest, ACrashAtEachMomentOfACommitLeavesWhatItPromises) {
  // The two commits of the helper: k1=v1, then k2 before it.
  const std::string after_first = bytes_of(u"\uFEFF[s]\r\nk1=v1\r\nk=v\r\n\r\n");
  const std::string after_second = bytes_of(u"\uFEFF[s]\r\nk2=" + Wstring(3000, u'x') + u"\r\nk1=v1\r\nk=v\r\n\r\n");
  struct Row { const char* moment; std::string profile, backup, older; };
  const std::size_t cut = 30;
  const Row rows[] = {
      {"backup", after_first, after_first.substr(0, cut), original},
      {"write", after_second.substr(0, cut) + after_first.substr(cut), after_first, "(missing)"},
      {"commit", after_second, after_first, "(missing)"},
  };
  const std::string utf8_path = nym_test::utf8(ini());
  for (const Row& row : rows) {
    put(ini(), original);
    const int code =
        nym_test::run_helper({"profile-crash", utf8_path, row.moment, std::to_string(cut)}, std::chrono::seconds(60));
    ASSERT_EQ(code, 70) << row.moment;
    EXPECT_EQ(take(ini()), row.profile) << row.moment;
    EXPECT_EQ(take(ini() + u".bak"), row.backup) << row.moment;
    EXPECT_EQ(take(ini() + u".1"), row.older) << row.moment;
    DeleteFileW(win(ini() + u".bak"));
    DeleteFileW(win(ini() + u".1"));
  }
}

}  // namespace
