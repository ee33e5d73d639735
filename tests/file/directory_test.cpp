// Directories and the operations on names, each test in a fresh directory of its own.
#include <gtest/gtest.h>

#include <regex>

#include <tuple>

#include "file_fixture.h"
#include "nym/directory.h"
#include "nym/file.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::chain;
using nym_test::sys;
using Codes = std::vector<unsigned int>;

namespace {

class DirectoryTest : public nym_test::File_test {
 protected:
  // Directories end in a separator, files are written with their own name as content.
  void tree(std::initializer_list<const char*> entries) {
    for (const char* e : entries) {
      const Wstring p = path(e);
      if (p.back() == u'\\') {
        ASSERT_TRUE(CreateDirectoryW(win(p), nullptr)) << e;
      } else {
        put(p, e);
      }
    }
  }
  std::string names(const char* mask, bool case_sensitive = false, unsigned int most = 100) {
    std::vector<Wstring> found;
    Nym_directory::list(path(mask), found, most, case_sensitive);
    std::string joined;
    for (const Wstring& n : found) joined += (joined.empty() ? "" : ",") + nym_test::utf8(n);
    return joined;
  }
};

TEST_F(DirectoryTest, ListsByMaskWithoutDotEntries) {
  tree({"a1", "A2.txt", "b.txt", "sub\\", "sub\\x.txt"});
  EXPECT_EQ(names("*.*"), "a1,A2.txt,b.txt,sub");  // the "*.*" of the system finds a1 too
  EXPECT_EQ(names("A*", true), "A2.txt");
  EXPECT_EQ(names("*", false, 2), "a1,A2.txt");
  EXPECT_TRUE(Nym_directory::exist(path("sub")) && !Nym_directory::exist(path("sub\\")));  // an entry, not a dir
  Nym_status status;
  EXPECT_TRUE(Nym_directory::count_files(dir(), status) == 4 && status.ok());
  EXPECT_TRUE(Nym_directory::count_files(path("none"), status) == 0 &&
              chain(status) == Codes{NYM_S_DIRECTORY_NOT_FOUND});
  const Nym_directory_iterator missing(path("none"), u"*", false);
  EXPECT_TRUE(missing.end() &&
              chain(missing.status()) == (Codes{NYM_S_DIRECTORY_SCAN_START_FAILED, sys(ERROR_PATH_NOT_FOUND)}));
  Nym_directory::empty(path("sub"), status);
  EXPECT_EQ(chain(status), Codes{NYM_S_DIRECTORY_NOT_EMPTY});
  tree({"empty\\"});
  Nym_directory::empty(path("empty"), status);
  EXPECT_TRUE(status.ok());
}

// Relative to a working directory longer than the old fixed buffer of 260 units.
TEST_F(DirectoryTest, CreatesRelativeToALongWorkingDirectory) {
  Nym_status status;
  EXPECT_THROW(Nym_directory::create(u"", status), std::invalid_argument);
  Wstring deep = dir();
  while (deep.size() < 400) {
    deep += u"level-of-a-deep-tree\\";
    ASSERT_TRUE(CreateDirectoryW(win(deep), nullptr));
  }
  const Wstring old = Nym_directory::working_directory();
  if (!SetCurrentDirectoryW(win(deep))) GTEST_SKIP() << "the system keeps working directories below 260 units";
  const Wstring here = Nym_directory::working_directory();
  Nym_directory::create(u"rel\\a", status);
  SetCurrentDirectoryW(win(old));
  EXPECT_TRUE(here + u"\\" == deep && status.ok() && exists(deep + u"rel\\a")) << nym_test::utf8(here);
  // The fixture's clean-up can't reach below 260 units: the levels go here, deepest first.
  RemoveDirectoryW(win(u"\\\\?\\" + deep + u"rel\\a"));
  RemoveDirectoryW(win(u"\\\\?\\" + deep + u"rel"));
  while (deep.size() > dir().size()) {
    RemoveDirectoryW(win(u"\\\\?\\" + deep));
    deep.erase(deep.find_last_of(u'\\', deep.size() - 2) + 1);
  }
}

// The one directory marked as a link (Wine makes none) is never entered, by either walk.
unsigned int y_is_link(const Wstring& entry, unsigned int attributes) {
  return entry.size() > 2 && entry.compare(entry.size() - 2, 2, u"\\y") == 0 ? attributes | 0x400 : attributes;
}

TEST_F(DirectoryTest, RemovesContentsWithoutFollowingLinks) {
  tree({"t\\", "t\\f.txt", "t\\ro.txt", "t\\s\\", "t\\s\\g.txt", "t\\e\\", "t\\y\\", "t\\y\\keep.txt"});
  SetFileAttributesW(win(path("t\\ro.txt")), FILE_ATTRIBUTE_READONLY);
  Nym_status status;
  Nym_directory::remove_contents(path("t"), u"*", false, status);
  EXPECT_TRUE(status.ok() && !exists(path("t\\ro.txt")) && !exists(path("t\\e")) && exists(path("t\\s\\g.txt")));

  const auto before = impl::nym_set_entry_attributes(y_is_link);
  Nym_file::copy_files(path("t"), u"*", path("copy"), true, false, status);
  EXPECT_TRUE(status.ok() && exists(path("copy\\s\\g.txt")) && !exists(path("copy\\y")));
  // A real link would go as a name; this real directory refuses, as it isn't empty.
  Nym_directory::remove_contents(path("t"), u"*", true, status);
  impl::nym_set_entry_attributes(before);
  EXPECT_EQ(chain(status), (Codes{NYM_S_DIRECTORY_REMOVE_FAILED, sys(ERROR_DIR_NOT_EMPTY)}));
  EXPECT_TRUE(exists(path("t\\y\\keep.txt")) && !exists(path("t\\s")));
}

TEST_F(DirectoryTest, CopiesMovesAndRemovesFiles) {
  tree({"a.log", "b.log", "keep.txt", "d.log\\"});
  const std::tuple<const char*, const char*, bool, Codes> rows[] = {  // from, to, overwrite, codes
      {"a.log", "c.log", false, {0}},
      {"a.log", "b.log", false, {NYM_S_COPY_FAILED, NYM_S_TARGET_EXISTS}},
      {"keep.txt", "b.log", true, {0}},
      {"none", "x", true, {NYM_S_COPY_FAILED, NYM_S_FILE_NOT_FOUND}},
      {"d.log", "x", true, {NYM_S_COPY_FAILED, NYM_S_NOT_A_FILE}},
      {"a.log", "d.log", true, {NYM_S_COPY_FAILED, NYM_S_NOT_A_FILE}},
  };
  Nym_status status;
  for (const auto& [from, to, overwrite, codes] : rows) {
    Nym_file::copy(path(from), path(to), overwrite, status);
    EXPECT_EQ(chain(status), codes) << from << " " << to;
  }
  EXPECT_EQ(take(path("b.log")), "keep.txt");
  Nym_file::move(path("c.log"), path("keep.txt"), status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_MOVE_FAILED, NYM_S_TARGET_EXISTS}));
  Nym_file::move(path("c.log"), path("e.log"), status);
  EXPECT_TRUE(status.ok() && take(path("e.log")) == "a.log" && !exists(path("c.log")));
  Nym_file::remove(path("*.log"), status);
  EXPECT_TRUE(status.ok() && !exists(path("a.log")) && exists(path("keep.txt")) && exists(path("d.log")));
  Nym_file::remove(path("nothing-*"), status);
  EXPECT_TRUE(status.ok());
  Nym_file::create_empty_file(path("keep.txt"), status);
  EXPECT_TRUE(status.ok() && take(path("keep.txt")).empty());
}

TEST_F(DirectoryTest, CopyIntoItsOwnTreeIsRefused) {
  tree({"t\\", "t\\f", "t\\sub\\"});
  Nym_status status;
  for (const char* target : {"t\\sub\\deeper", "T\\", "t\\..\\t\\new"}) {
    Nym_file::copy_files(path("t"), u"*", path(target), true, true, status);
    EXPECT_EQ(chain(status), Codes{NYM_S_COPY_INTO_ITSELF}) << target;
  }
  EXPECT_FALSE(exists(path("t\\sub\\deeper")) || exists(path("t\\new")));
  Nym_file::copy_files(path("t"), u"*", path("t\\sub"), false, true, status);  // one level: it ends
  EXPECT_TRUE(status.ok() && exists(path("t\\sub\\f")));
}

// Every match is reported once, and the call returns.
TEST_F(DirectoryTest, FindsFilesAlongASearchPath) {
  tree({"d1\\", "d1\\x.dll", "d1\\y.txt", "d1\\z.dll\\", "d1\\w.dll", "d2\\", "d2\\x.dll"});
  const Wstring search = path("missing") + u";" + path("d1") + u";;" + path("d2");
  Wstring found;
  nym_find_file(search, u"x.dll", found);
  EXPECT_EQ(nym_test::utf8(found), nym_test::utf8(path("d1\\x.dll")));
  std::vector<Wstring> all;
  nym_find_files(search, u"dll", all);
  EXPECT_EQ(all, (std::vector<Wstring>{path("d1\\w.dll"), path("d1\\x.dll"), path("d2\\x.dll")}));
}

// Each copy walks a scan of its own, and neither closes the other's handle.
TEST_F(DirectoryTest, CopiedIteratorOwnsItsScan) {
  tree({"a", "b", "c", "d"});
  Nym_directory_iterator it(dir(), u"*", false);
  ++it;
  Nym_directory_iterator copy(it);
  EXPECT_TRUE(copy == it);
  std::string rest;
  for (; !it.end(); ++it) rest += nym_test::utf8(it->name);
  Nym_directory_iterator assigned(dir(), u"z*", false);
  assigned = copy;
  for (; !copy.end(); ++copy) rest += nym_test::utf8(copy->name);
  for (; !assigned.end(); ++assigned) rest += nym_test::utf8(assigned->name);
  EXPECT_EQ(rest, "bcdbcdbcd");
}

TEST_F(DirectoryTest, RenamesWithOrWithoutSeparators) {
  tree({"a\\", "a\\f", "b\\", "c\\", "c\\x"});
  Nym_status status;
  Nym_directory::rename(path("a\\"), path("moved\\"), false, status);
  EXPECT_TRUE(status.ok() && exists(path("moved\\f")));
  Nym_directory::rename(path("moved"), path("c"), false, status);
  EXPECT_EQ(chain(status), Codes{NYM_S_TARGET_DIRECTORY_EXISTS});
  Nym_directory::rename(path("moved"), path("c"), true, status);
  EXPECT_EQ(chain(status), (Codes{NYM_S_DIRECTORY_REMOVE_FAILED, sys(ERROR_DIR_NOT_EMPTY)}));
  Nym_directory::rename(path("moved"), path("b"), true, status);
  EXPECT_TRUE(status.ok() && exists(path("b\\f")));
}

// A file held open without delete sharing waits on the list; each later call tries it again.
TEST_F(DirectoryTest, RetryRemoveKeepsHeldFilesUntilTheyGo) {
  tree({"held"});
  const HANDLE h = CreateFileW(win(path("held")), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  Nym_status status;
  Nym_file::retry_remove(path("held"), status);
  EXPECT_TRUE(status == ERROR_SHARING_VIOLATION && exists(path("held")));
  CloseHandle(h);
  status.clear();
  Nym_file::retry_remove(path("absent"), status);
  EXPECT_EQ(status, ERROR_FILE_NOT_FOUND);
  EXPECT_FALSE(exists(path("held")));
}

TEST_F(DirectoryTest, TempNamesAreFreeAndDistinct) {
  const Wstring first = Nym_file::temp_name(dir(), u"tmp");
  const std::regex form("pid" + std::to_string(GetCurrentProcessId()) + "_[0-9]+\\.tmp");
  ASSERT_EQ(first.compare(0, dir().size(), dir()), 0);
  EXPECT_TRUE(std::regex_match(nym_test::utf8(first.substr(dir().size())), form)) << nym_test::utf8(first);
  put(first, "");
  const Wstring second = Nym_file::temp_name(dir(), u"tmp");
  EXPECT_NE(first, second);
  EXPECT_FALSE(exists(second));
}

// The temporary directory's chain under each environment (msvcrt's, which _wputenv sets); the
// registry key of its third step, missing under Wine, is made here and goes again if new.
TEST_F(DirectoryTest, TempDirectoryChain) {
  const Wstring& settled = Nym_directory::temp_directory();
  HKEY key = nullptr;
  DWORD made = 0;
  ASSERT_EQ(RegCreateKeyExW(HKEY_USERS, L".DEFAULT\\Environment", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &made), 0);
  const wchar_t* tmp = _wgetenv(L"TMP");
  const std::wstring saved = L"TMP=" + std::wstring(tmp != nullptr ? tmp : L"");
  const struct {
    const wchar_t* qx_tmp;
    const wchar_t* tmp;
    DWORD type;  // of the registry's TMP; 0 none
    const wchar_t* value;
    const char* expected;
  } rows[] = {
      {L"QX_TMP=C:\\qx", L"TMP=C:\\t", REG_SZ, L"C:\\reg", "C:\\qx\\"},
      {L"QX_TMP=", L"TMP=C:\\t", REG_SZ, L"C:\\reg", "C:\\t\\"},
      {L"QX_TMP=", L"TMP=", REG_SZ, L"D:\\reg", "D:\\reg\\"},
      {L"QX_TMP=", L"TMP=", REG_EXPAND_SZ, L"%NYM_TEST_ROOT%\\x", "C:\\root\\x\\"},
      {L"QX_TMP=", L"TMP=", REG_DWORD, L"", ""},
      {L"QX_TMP=", L"TMP=", 0, nullptr, "C:\\"},
  };
  _wputenv(L"NYM_TEST_ROOT=C:\\root");
  for (const auto& r : rows) {
    _wputenv(r.qx_tmp);
    _wputenv(r.tmp);
    RegDeleteValueW(key, L"TMP");
    if (r.type != 0) RegSetValueExW(key, L"TMP", 0, r.type, reinterpret_cast<const BYTE*>(r.value), static_cast<DWORD>(2 * (wcslen(r.value) + 1)));
    EXPECT_EQ(nym_test::utf8(impl::nym_temp_directory_chain()), r.expected);
  }
  _wputenv(L"NYM_TEST_ROOT=");
  _wputenv(saved.c_str());
  RegDeleteValueW(key, L"TMP");
  RegCloseKey(key);
  if (made == REG_CREATED_NEW_KEY) RegDeleteKeyW(HKEY_USERS, L".DEFAULT\\Environment");
  EXPECT_EQ(&Nym_directory::temp_directory(), &settled);  // the first answer stays
}

}  // namespace
