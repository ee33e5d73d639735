// Nym_file_system: every answer of the system's drive-type call through the seam (Wine calls
// every mapped drive fixed), and the volume statistics against a real volume.
#include <windows.h>

#include <gtest/gtest.h>

#include <string>
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

// Installs the fake for one test and puts back whatever was there.
class Fake_drive_types {
 public:
  Fake_drive_types() : m_previous(impl::nym_set_drive_type_query(fake_drive_type)) { g_roots_asked.clear(); }
  ~Fake_drive_types() { impl::nym_set_drive_type_query(m_previous); }
  Fake_drive_types(const Fake_drive_types&) = delete;
  Fake_drive_types& operator=(const Fake_drive_types&) = delete;

 private:
  impl::Nym_drive_type_query m_previous;
};

// A drive letter that nothing is mapped to, as a root.
Wstring unmapped_root() {
  const DWORD mapped = GetLogicalDrives();
  for (int letter = 25; letter >= 3; --letter) {
    if ((mapped & (1u << letter)) == 0) return Wstring{static_cast<Wchar>(u'A' + letter), u':', u'\\'};
  }
  return Wstring();
}

TEST(FileSystemTest, TypeMapsEverySystemAnswer) {
  const Fake_drive_types fake;
  const std::pair<unsigned int, Nym_file_system::Type> answers[] = {
      {0, Nym_file_system::UNKNOWN},        {1, Nym_file_system::NO_ROOT},
      {2, Nym_file_system::REMOVABLE_DISK}, {3, Nym_file_system::FIXED_DISK},
      {4, Nym_file_system::NETWORK_DRIVE},  {5, Nym_file_system::OPTICAL_DISC},
      {6, Nym_file_system::RAM_DISK},       {7, Nym_file_system::UNKNOWN},
      {0x80000000u, Nym_file_system::UNKNOWN}, {0xFFFFFFFFu, Nym_file_system::UNKNOWN},
  };
  for (const auto& [answer, type] : answers) {
    g_answer = answer;
    EXPECT_EQ(Nym_file_system(u"c:\\a\\f").type(), type) << answer;
    EXPECT_EQ(Nym_file_system::type(u"x:\\"), type) << answer;
  }
}

TEST(FileSystemTest, TypeAsksAboutThePathsRoot) {
  const Fake_drive_types fake;
  for (const char16_t* path : {u"c:\\a\\f", u"d:x", u"\\\\srv\\share\\d\\f", u"a\\b", u"\\a"}) {
    (void)Nym_file_system(path).type();
  }
  const std::vector<Wstring> expected = {u"c:\\", u"d:\\", u"\\\\srv\\share\\", u"", u""};
  EXPECT_EQ(g_roots_asked, expected);
}

TEST(FileSystemTest, TypeOfRealRoots) {
  EXPECT_EQ(Nym_file_system::type(u"C:\\"), Nym_file_system::FIXED_DISK);
  EXPECT_EQ(Nym_file_system(u"relative\\f").type(), Nym_file_system::FIXED_DISK)
      << "a relative path asks about the current directory's volume";
  const Wstring missing = unmapped_root();
  if (missing.empty()) GTEST_SKIP() << "every drive letter is mapped";
  EXPECT_EQ(Nym_file_system::type(missing), Nym_file_system::NO_ROOT) << u8(missing);
}

TEST(FileSystemTest, StatsOfARealVolume) {
  int64 total = -1, free = -1, available = -1;
  Nym_status status = 5;
  Nym_file_system(u"C:\\Windows\\f").stats(total, free, available, status);
  ASSERT_TRUE(status.is_clear());
  EXPECT_GT(total, 0);
  EXPECT_GE(free, 0);
  EXPECT_LE(free, total);
  EXPECT_GE(available, 0);
  EXPECT_LE(available, total);

  int64 here = -1, here_free = -1, here_available = -1;
  Nym_file_system::stats(u"", here, here_free, here_available, status);
  EXPECT_TRUE(status.is_clear()) << "an empty root is the current directory's volume";
  EXPECT_GT(here, 0);
}

TEST(FileSystemTest, StatsFailureKeepsTheOutputs) {
  const Wstring missing = unmapped_root();
  if (missing.empty()) GTEST_SKIP() << "every drive letter is mapped";
  int64 total = -7, free = -8, available = -9;
  Nym_status status;
  Nym_file_system(missing + u"dir\\f").stats(total, free, available, status);
  ASSERT_TRUE(status.is_error());
  EXPECT_EQ(status, NYM_S_VOLUME_STATS_FAILED);
  ASSERT_EQ(status.num_args(), 1u);
  const auto* root = dynamic_cast<const Nym_wstring_status_arg*>(*status.begin());
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->value(), missing);
  ASSERT_TRUE(status.has_child());
  EXPECT_TRUE(status.child()->is_error()) << "the system's code lies below";
  EXPECT_EQ(total, -7);
  EXPECT_EQ(free, -8);
  EXPECT_EQ(available, -9);
}

}  // namespace
