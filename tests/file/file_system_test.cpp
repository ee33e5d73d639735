// Nym_file_system: every answer of the system's drive-type call through the seam (Wine calls
// every mapped drive fixed), and the volume statistics of a real volume.
#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

#include "nym/file_system.h"
#include "path_test_support.h"

using namespace nym;
using nym_test::u8;

namespace {

std::vector<Wstring> g_roots_asked;
unsigned int g_answer = 0;

unsigned int fake_drive_type(const Wstring& root) {
  g_roots_asked.push_back(root);
  return g_answer;
}

// A drive letter that nothing is mapped to, as a root.
Wstring unmapped_root() {
  const DWORD mapped = GetLogicalDrives();
  for (int letter = 25; letter >= 3; --letter) {
    if ((mapped & (1u << letter)) == 0) return Wstring{static_cast<Wchar>(u'A' + letter), u':', u'\\'};
  }
  return Wstring();
}

TEST(FileSystemTest, TypeMapsEverySystemAnswerOfThePathsRoot) {
  const impl::Nym_drive_type_query system = impl::nym_set_drive_type_query(fake_drive_type);
  const Nym_file_system::Type expected[] = {
      Nym_file_system::UNKNOWN,        Nym_file_system::NO_ROOT,       Nym_file_system::REMOVABLE_DISK,
      Nym_file_system::FIXED_DISK,     Nym_file_system::NETWORK_DRIVE, Nym_file_system::OPTICAL_DISC,
      Nym_file_system::RAM_DISK,       Nym_file_system::UNKNOWN};
  for (g_answer = 0; g_answer < 8; ++g_answer) EXPECT_EQ(Nym_file_system::type(u"x:\\"), expected[g_answer]);
  g_answer = 0xFFFFFFFFu;
  EXPECT_EQ(Nym_file_system::type(u"x:\\"), Nym_file_system::UNKNOWN);
  g_roots_asked.clear();
  for (const char16_t* path : {u"c:\\a\\f", u"d:x", u"\\\\srv\\share\\d\\f", u"a\\b", u"\\a"}) {
    (void)Nym_file_system(path).type();
  }
  EXPECT_EQ(g_roots_asked, (std::vector<Wstring>{u"c:\\", u"d:\\", u"\\\\srv\\share\\", u"", u""}));
  EXPECT_EQ(impl::nym_set_drive_type_query(system), fake_drive_type);
}

TEST(FileSystemTest, TypeOfRealRoots) {
  EXPECT_EQ(Nym_file_system::type(u"C:\\"), Nym_file_system::FIXED_DISK);
  EXPECT_EQ(Nym_file_system(u"relative\\f").type(), Nym_file_system::FIXED_DISK)
      << "a relative path asks about the current directory's volume";
  const Wstring missing = unmapped_root();
  if (!missing.empty()) {
    EXPECT_EQ(Nym_file_system::type(missing), Nym_file_system::NO_ROOT) << u8(missing);
  }
}

TEST(FileSystemTest, StatsOfARealVolume) {
  int64 total = -1, free = -1, available = -1;
  Nym_status status = 5;
  Nym_file_system(u"C:\\Windows\\f").stats(total, free, available, status);
  ASSERT_TRUE(status.is_clear());
  EXPECT_GT(total, 0);
  EXPECT_TRUE(free >= 0 && free <= total && available >= 0 && available <= total) << free << " " << available;
  Nym_file_system::stats(u"", total, free, available, status);
  EXPECT_TRUE(status.is_clear()) << "an empty root is the current directory's volume";
}

TEST(FileSystemTest, StatsFailureKeepsTheOutputs) {
  const Wstring missing = unmapped_root();
  if (missing.empty()) GTEST_SKIP() << "every drive letter is mapped";
  int64 total = -7, free = -8, available = -9;
  Nym_status status;
  Nym_file_system(missing + u"dir\\f").stats(total, free, available, status);
  ASSERT_EQ(status, NYM_S_VOLUME_STATS_FAILED);
  EXPECT_TRUE(status.compare(Nym_status(NYM_S_VOLUME_STATS_FAILED, Nym_wstring_status_arg(missing)), true, false));
  EXPECT_TRUE(status.has_child() && status.child()->is_error()) << "the system's code lies below";
  EXPECT_TRUE(total == -7 && free == -8 && available == -9);
}

}  // namespace
