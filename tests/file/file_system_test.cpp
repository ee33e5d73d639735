// Nym_file_system: every answer of the system's drive-type call through the seam (Wine calls
// every mapped drive fixed), and the type and statistics of real volumes.
#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

#include "nym/file_system.h"
#include "path_test_support.h"

using namespace nym;
using nym_test::utf8;

namespace {

std::vector<Wstring> g_roots_asked;
unsigned int g_answer = 0;

unsigned int fake_drive_type(const Wstring& root) {
  g_roots_asked.push_back(root);
  return g_answer;
}

TEST(FileSystemTest, TypeMapsEverySystemAnswerOfThePathsRoot) {
  const impl::Nym_drive_type_query system = impl::nym_set_drive_type_query(fake_drive_type);
  using F = Nym_file_system;
  const F::Type expected[] = {F::UNKNOWN,       F::NO_ROOT,      F::REMOVABLE_DISK, F::FIXED_DISK,
                              F::NETWORK_DRIVE, F::OPTICAL_DISC, F::RAM_DISK,       F::UNKNOWN};
  for (g_answer = 0; g_answer < 8; ++g_answer) EXPECT_EQ(F::type(u"x:\\"), expected[g_answer]);
  g_answer = 0xFFFFFFFFu;
  EXPECT_EQ(F::type(u"x:\\"), F::UNKNOWN);
  g_roots_asked.clear();
  for (const char16_t* path : {u"c:\\a\\f", u"d:x", u"\\\\srv\\share\\d\\f", u"a\\b", u"\\a"}) (void)F(path).type();
  EXPECT_EQ(g_roots_asked, (std::vector<Wstring>{u"c:\\", u"d:\\", u"\\\\srv\\share\\", u"", u""}));
  EXPECT_EQ(impl::nym_set_drive_type_query(system), fake_drive_type);
}

TEST(FileSystemTest, RealVolumes) {
  EXPECT_EQ(Nym_file_system::type(u"C:\\"), Nym_file_system::FIXED_DISK);
  int64 total = -1, free = -1, available = -1;
  Nym_status status = 5;
  Nym_file_system(u"C:\\Windows\\f").stats(total, free, available, status);
  EXPECT_TRUE(status.is_clear() && total > 0 && free >= 0 && free <= total && available >= 0 && available <= total)
      << free << " " << available;

  Wstring missing;  // a drive letter nothing is mapped to
  for (int letter = 25; letter >= 3 && missing.empty(); --letter) {
    if ((GetLogicalDrives() & (1u << letter)) == 0) missing = {static_cast<Wchar>(u'A' + letter), u':', u'\\'};
  }
  if (missing.empty()) GTEST_SKIP() << "every drive letter is mapped";
  EXPECT_EQ(Nym_file_system::type(missing), Nym_file_system::NO_ROOT) << utf8(missing);
  total = -7, free = -8, available = -9;
  Nym_file_system(missing + u"dir\\f").stats(total, free, available, status);
  EXPECT_TRUE(status.compare(Nym_status(NYM_S_VOLUME_STATS_FAILED, Nym_wstring_status_arg(missing)), true, false));
  EXPECT_TRUE(status.has_child() && status.child()->is_error()) << "the system's code lies below";
  EXPECT_TRUE(total == -7 && free == -8 && available == -9) << "a failure keeps the outputs";
}

}  // namespace
