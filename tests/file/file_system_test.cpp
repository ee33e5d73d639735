// Nym_file_system: every answer of the system's drive-type call through the seam (Wine calls
// every mapped drive fixed), and the type and statistics of real volumes.
#include <gtest/gtest.h>

#include <vector>

#include "nym/file_system.h"
#include "path_test_support.h"

using namespace nym;

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
}

}  // namespace
