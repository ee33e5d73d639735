// Profile files on disk: the reader, the editor's cache and edits, commit over a backup,
// rollback, failed writes and crashes at each moment of a commit.
#include <gtest/gtest.h>

#include <chrono>

#include "../file/file_fixture.h"
#include "nym/profile_access.h"
#include "nym/profile_reader.h"
#include "helper_process.h"

using namespace nym;
using Entry = std::pair<Wstring, Wstring>;
using Names = std::vector<Wstring>;

namespace {

std::string bytes_of(const Wstring& text) {
  std::string out;
  for (Wchar c : text) {
    out += static_cast<char>(c & 0xFF);
    out += static_cast<char>(c >> 8);
  }
  return out;
}

// The write fault of the file layer, armed for one path: fails the write after so many bytes.
Wstring g_fail_path;
uint64 g_fail_bytes = 0;
uint64 fail_write(const Wstring& path, uint64 count, bool&) {
  if (path != g_fail_path) return count;
  const uint64 allowed = std::min(count, g_fail_bytes);
  g_fail_bytes -= allowed;
  return allowed;
}
struct Failing_writes {
  Failing_writes(const Wstring& path, uint64 bytes) {
    g_fail_path = path;
    g_fail_bytes = bytes;
    impl::nym_set_write_fault(fail_write);
  }
  ~Failing_writes() { impl::nym_set_write_fault(nullptr); }
};

class ProfileTest : public nym_test::File_test {
 protected:
  void SetUp() override {
    File_test::SetUp();
    m_profile = path("p.ini");
  }
  // Every entry of a section, through the reader.
  std::vector<Entry> read_section(const Wstring& name) {
    Nym_status status;
    Nym_profile_reader reader(m_profile, status);
    EXPECT_TRUE(status.ok());
    reader.set_current_section(name, status);
    std::vector<Entry> all;
    Entry entry;
    for (; status.ok() && !reader.end_of_entries(); reader.move_to_next_entry(status)) {
      reader.get_current_entry(entry, status);
      all.push_back(entry);
    }
    return all;
  }
  Wstring m_profile;
};

TEST_F(ProfileTest, ReaderListsSectionsAndNavigatesAsTold) {
  put(m_profile, bytes_of(u"\uFEFF[General]\r\n; listen\r\nhost = alpha\r\n\r\ngreeting=a\\=b\\0Ac\r\n"
                          u"[]\r\n[Empty]\r\n;only\r\n[general]\r\nhost=beta\r\n"));
  Nym_status status;
  Nym_profile_reader reader(m_profile, status);
  ASSERT_TRUE(status.ok());
  Names names{u"kept"};
  reader.get_section_list(names, status);
  reader.get_section_list(names, status);
  const Names once{u"General", u"", u"Empty", u"general"};
  EXPECT_EQ(names, (Names{u"kept", once[0], once[1], once[2], once[3], once[0], once[1], once[2], once[3]}));

  reader.set_current_section(u"GENERAL", status);
  Entry entry;
  reader.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"host", u"alpha"));  // the first of duplicates, the comment skipped
  reader.move_to_next_entry(status);
  reader.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"greeting", u"a=b\nc"));
  reader.move_to_key(u"HOST", status);
  reader.get_current_entry(entry, status);
  EXPECT_EQ(entry.second, u"alpha");
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
  reader.move_to_next_entry(status);
  EXPECT_EQ(status, NYM_S_NO_CURRENT_SECTION);
  reader.set_current_section(u"missing", status);
  EXPECT_EQ(status, NYM_S_SECTION_NOT_FOUND);

  reader.close(status);
  reader.get_section_list(names, status);
  EXPECT_EQ(status, NYM_S_PROFILE_NOT_OPEN);
  reader.get_current_entry(entry, status);
  EXPECT_EQ(status, NYM_S_PROFILE_NOT_OPEN);
  reader.open(path("none.ini"), status);
  EXPECT_EQ(status, NYM_S_PROFILE_OPEN_FAILED);
  EXPECT_TRUE(status.contains_value(NYM_S_FILE_OPEN_FAILED));
}

TEST_F(ProfileTest, ReadersShareTheFileAndAWriterHoldsItAlone) {
  put(m_profile, bytes_of(u"[a]\r\nk=v\r\n"));
  Nym_status status;
  Nym_profile_reader first(m_profile, status);
  Nym_profile_access viewer(m_profile, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ, status);
  EXPECT_TRUE(status.ok());
  viewer.create_new_section(u"b", status);
  EXPECT_EQ(status, NYM_S_PROFILE_READ_ONLY);
  Nym_profile_access writer(m_profile, NYM_FILE_MUST_EXIST, NYM_ACCESS_WRITE, status);
  EXPECT_TRUE(status.is_error());
  first.close(status);
  viewer.close(status);
  writer.open(m_profile, NYM_FILE_MUST_EXIST, NYM_ACCESS_WRITE, status);
  EXPECT_TRUE(status.ok());
  Nym_profile_reader second(m_profile, status);
  EXPECT_EQ(status, NYM_S_PROFILE_OPEN_FAILED);
}

TEST_F(ProfileTest, EditsShapeTheCacheAndTheFileExactly) {
  Nym_status status;
  Nym_profile_access profile(m_profile, NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, status);
  ASSERT_TRUE(status.ok());
  Entry entry;
  profile.get_current_entry(entry, status);
  EXPECT_EQ(status, NYM_S_NO_CURRENT_SECTION);
  EXPECT_TRUE(profile.end_of_entries());

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
  profile.copy_section(u"main", status);
  EXPECT_EQ(status, NYM_S_SECTION_EXISTS);
  status.clear();
  profile.rename_section(u"GONE", status);
  EXPECT_TRUE(status.ok());
  profile.rename_section(u"Main", status);
  EXPECT_EQ(status, NYM_S_SECTION_EXISTS);
  profile.close(status);
  ASSERT_TRUE(status.ok());

  EXPECT_EQ(take(m_profile), bytes_of(u"\uFEFF[Main]\r\n; head\r\na=1\r\nb\\5C=x\\=\\0D\\0A\r\n\r\n[GONE]\r\n\r\n"));
  EXPECT_EQ(read_section(u"main"), (std::vector<Entry>{{u"a", u"1"}, {u"b\\", u"x=\r\n"}}));
  EXPECT_EQ(take(m_profile + u".bak"), "(missing)");

  Nym_profile_access closed;
  closed.commit_changes(status);
  EXPECT_EQ(status, NYM_S_PROFILE_ACCESS_NOT_OPEN);
  closed.insert_entry({u"k", u"v"}, status);
  EXPECT_EQ(status, NYM_S_PROFILE_ACCESS_NOT_OPEN);
}

// Positions are indices: copying into a growing vector, and deleting the current section, leave
// nothing dangling.
TEST_F(ProfileTest, SectionCopiesAndDeletesKeepPositionsValid) {
  Nym_status status;
  Nym_profile_access profile(m_profile, NYM_FILE_OPEN_ALWAYS, NYM_ACCESS_READ_WRITE, status);
  profile.create_new_section(u"s", status);
  profile.insert_entry({u"k", u"v"}, status);
  profile.reset_section_position(status);
  for (int i = 0; i < 200; ++i) profile.copy_section(u"c" + Wstring(1, static_cast<Wchar>(u'A' + i % 26)) +
                                                         Wstring(static_cast<std::size_t>(i / 26), u'z'), status);
  ASSERT_TRUE(status.ok());
  Entry entry;
  profile.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"k", u"v"));
  profile.insert_entry({u"j", u"w"}, status);

  profile.delete_section(status);  // the first copy takes its place, at its first item
  profile.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"k", u"v"));
  profile.set_current_section(u"cA", status);
  for (int i = 0; i < 200; ++i) profile.delete_section(status);
  profile.get_current_entry(entry, status);
  EXPECT_EQ(status, NYM_S_NO_CURRENT_SECTION);
  Names names;
  profile.get_section_list(names, status);
  EXPECT_TRUE(names.empty());
}

TEST_F(ProfileTest, CommitsRotateOneBackupAndRollbackRestoresTheContentBefore) {
  const std::string original = bytes_of(u"\uFEFF[s]\r\nk=v\r\n\r\n");
  put(m_profile, original);
  Nym_status status;
  Nym_profile_access profile(m_profile, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ_WRITE, status);
  profile.commit_changes(status);
  EXPECT_EQ(take(m_profile + u".bak"), "(missing)");  // nothing changed, nothing written

  profile.insert_entry({u"a", u"1"}, status);
  profile.commit_changes(status);
  EXPECT_EQ(take(m_profile + u".bak"), original);
  profile.insert_entry({u"b", Wstring(500, u'2')}, status);
  profile.commit_changes(status);
  const std::string first = take(m_profile + u".bak");  // the file holds it open unshared
  EXPECT_NE(first, original);
  EXPECT_EQ(take(m_profile + u".1"), "(missing)");

  profile.rollback(status);  // the longer file is cut back
  ASSERT_TRUE(status.ok());
  EXPECT_EQ(take(m_profile + u".bak"), "(missing)");
  profile.insert_entry({u"c", u"3"}, status);
  profile.rollback(status);  // no backup left: the edit goes
  Entry entry;
  profile.reset_section_position(status);
  profile.get_current_entry(entry, status);
  EXPECT_EQ(entry, Entry(u"a", u"1"));
  profile.close(status);
  EXPECT_EQ(take(m_profile), first);
}

// After a failed write the backup is the only intact copy: nothing may remove or overwrite it.
TEST_F(ProfileTest, AFailedWriteKeepsTheBackupThroughCloseRetryAndDestructor) {
  const std::string original = bytes_of(u"\uFEFF[s]\r\nk=v\r\n\r\n");
  for (const char* ending : {"retry", "destructor", "abort"}) {
    put(m_profile, original);
    Nym_status status;
    {
      Nym_profile_access profile(m_profile, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ_WRITE, status);
      profile.insert_entry({u"big", Wstring(4000, u'x')}, status);
      {
        Failing_writes fault(m_profile, 40);
        profile.commit_changes(status);
        EXPECT_TRUE(status.contains_value(112)) << ending;
        profile.close(status);
        EXPECT_TRUE(status.is_error()) << ending;
      }
      EXPECT_EQ(take(m_profile + u".bak"), original) << ending;
      if (std::string(ending) == "retry") {
        profile.commit_changes(status);
        EXPECT_TRUE(status.ok());
        EXPECT_EQ(take(m_profile + u".bak"), original);  // not the half-written file
        profile.rollback(status);
      } else if (std::string(ending) == "abort") {
        profile.abort_changes(status);
        EXPECT_TRUE(status.ok());
      }
    }
    if (std::string(ending) == "destructor") {
      EXPECT_EQ(take(m_profile + u".bak"), original);
    } else {
      EXPECT_EQ(take(m_profile), original) << ending;
      EXPECT_EQ(take(m_profile + u".bak"), "(missing)") << ending;
    }
    DeleteFileW(win(m_profile + u".bak"));
  }
}

// Each moment of the second of two commits, the process dies there (in the helper); what is on
// disk afterwards is what the moment promises.
TEST_F(ProfileTest, ACrashAtEachMomentOfACommitLeavesWhatItPromises) {
  const std::string original = bytes_of(u"\uFEFF[s]\r\nk=v\r\n\r\n");
  // The same two commits, here and uninterrupted: the content after each.
  std::string after_first, after_second;
  {
    put(m_profile, original);
    Nym_status status;
    Nym_profile_access profile(m_profile, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ_WRITE, status);
    profile.insert_entry({u"k1", u"v1"}, status);
    profile.close(status);
    after_first = take(m_profile);
    profile.open(m_profile, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ_WRITE, status);
    profile.reset_section_position(status);
    profile.insert_entry({u"k2", Wstring(3000, u'x')}, status);
    profile.close(status);
    after_second = take(m_profile);
  }
  struct Row {
    const char* moment;
    std::string profile, backup, older;
  };
  const std::size_t cut = 30;
  const Row rows[] = {
      {"backup", after_first, after_first.substr(0, cut), original},
      {"write", after_second.substr(0, cut) + after_first.substr(cut), after_first, "(missing)"},
      {"commit", after_second, after_first, "(missing)"},
      {"close", after_second, "(missing)", "(missing)"},
  };
  std::string utf8_path(m_profile.begin(), m_profile.end());
  for (const Row& row : rows) {
    put(m_profile, original);
    const int code =
        nym_test::run_helper({"profile-crash", utf8_path, row.moment, std::to_string(cut)}, std::chrono::seconds(60));
    ASSERT_EQ(code, 70) << row.moment;
    EXPECT_EQ(take(m_profile), row.profile) << row.moment;
    EXPECT_EQ(take(m_profile + u".bak"), row.backup) << row.moment;
    EXPECT_EQ(take(m_profile + u".1"), row.older) << row.moment;
    DeleteFileW(win(m_profile + u".bak"));
    DeleteFileW(win(m_profile + u".1"));
  }
}

}  // namespace
