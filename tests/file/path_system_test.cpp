// The path operation that asks the system: absolute (GetFullPathNameW).
#include <windows.h>

#include <gtest/gtest.h>

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

}  // namespace
