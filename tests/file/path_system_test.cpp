// The path operations that ask the system: absolute (GetFullPathNameW) and nym_get_path.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "path_test_support.h"
#include "base/win32_wide.h"

using namespace nym;
using nym_test::as_path;

namespace {

TEST(PathSystemTest, Absolute) {
  wchar_t buffer[MAX_PATH * 4];
  Wstring here(impl::from_win32_wide(buffer), GetCurrentDirectoryW(MAX_PATH * 4, buffer));
  Nym_path::append_path_separator(here);
  // The system's own normalising is kept; the answer is not simplified further.
  EXPECT_EQ(Wstring(as_path(u"c:\\a\\.\\b\\..\\f").to_absolute()), u"c:\\a\\f");
  Nym_path empty;
  empty.absolute();
  EXPECT_EQ(Wstring(empty), u"");
  // Longer than the first 260-unit buffer: the call is repeated with the size it asks for.
  const Wstring long_name(400, u'n');
  Nym_path deep(long_name + u"\\f");
  deep.path_separator(u'/');
  deep.absolute();  // relative: from the working directory
  EXPECT_EQ(Wstring(deep), here + long_name + u"\\f");
  EXPECT_EQ(deep.path_separator(), u'/');
}

TEST(PathSystemTest, GetPathReadsTheEnvironment) {
  const std::wstring original = _wgetenv(L"PATH") != nullptr ? _wgetenv(L"PATH") : L"";
  ASSERT_EQ(_wputenv(L"PATH=c:\\x;\"d:\\y z\""), 0);
  Wstring path = u"junk";
  nym_get_path(path);
  std::vector<Wstring> dirs;
  nym_parse_path(path, dirs);
  EXPECT_EQ(dirs, (std::vector<Wstring>{u"c:\\x", u"d:y z"})) << "nym_unquote reads \\y as y";
  ASSERT_EQ(_wputenv(L"PATH="), 0);
  nym_get_path(path);
  EXPECT_EQ(path, u"") << "an unset variable clears the output";
  _wputenv((L"PATH=" + original).c_str());
}

}  // namespace
