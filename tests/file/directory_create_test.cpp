// The walk of Nym_directory::create on pure paths: a made-up file system says what exists,
// and the test records what would be made, so UNC shares and odd roots need no machine.
#include <gtest/gtest.h>

#include <set>

#include "file/directory_create.h"
#include "test_helpers.h"

using namespace nym;

namespace {

struct Case {
  const char16_t* path;
  std::set<Wstring> directories;  // what exists; "f.txt" is a file
  std::vector<Wstring> made;      // in order
  std::vector<unsigned int> failure;
  const char16_t* named;          // the argument of the top failure
};

const Case CASES[] = {
    {u"\\\\srv\\share\\new\\deeper", {u"\\\\srv\\share\\"}, {u"\\\\srv\\share\\new\\", u"\\\\srv\\share\\new\\deeper\\"}, {}, u""},
    {u"\\\\srv\\gone\\new", {}, {}, {NYM_S_ROOT_CREATE_FAILED}, u"\\\\srv\\gone\\"},
    {u"c:\\f.txt\\sub", {u"c:\\"}, {}, {NYM_S_NOT_A_DIRECTORY}, u"c:\\f.txt\\"},
    {u"rel\\a", {}, {u"rel\\", u"rel\\a\\"}, {}, u""},
    {u"q:\\a", {}, {}, {NYM_S_ROOT_CREATE_FAILED}, u"q:\\"},
    // The drive root keeps its "..": the parents would only grow.
    {u"c:\\..\\x", {}, {}, {NYM_S_ROOT_CREATE_FAILED}, u"c:\\..\\"},
    {u"c:\\deny\\a", {u"c:\\"}, {}, {NYM_S_DIRECTORY_CREATE_FAILED, 0xC0000005u}, u"c:\\deny\\"},
};

TEST(DirectoryCreateTest, MakesTheMissingLevelsTopDown) {
  for (const Case& c : CASES) {
    std::vector<Wstring> made;
    const auto type_of = [&](const Wstring& path) {
      if (path.find(u"f.txt") != Wstring::npos) return path == u"c:\\f.txt\\" ? NYM_TYPE_FILE : NYM_TYPE_NONE;
      Wstring bare = path;
      if (bare.size() > 3 && bare.back() == u'\\') bare.pop_back();
      return c.directories.count(bare) + c.directories.count(bare + u"\\") != 0 ? NYM_TYPE_DIRECTORY : NYM_TYPE_NONE;
    };
    const auto make = [&](const Wstring& path, Nym_status& status) {
      if (path == u"c:\\deny\\") status = 5;
      if (status.ok()) made.push_back(path);
      return status.ok();
    };
    Nym_status status;
    impl::create_directories(c.path, type_of, make, status);
    EXPECT_EQ(made, c.made) << nym_test::utf8(c.path);
    std::vector<unsigned int> codes;
    for (const Nym_status* s = &status; s != nullptr && s->is_error(); s = s->child()) codes.push_back(s->value());
    EXPECT_EQ(codes, c.failure) << nym_test::utf8(c.path);
    Wstring named;
    if (status.num_args() > 0) (*status.begin())->to_string(named);
    EXPECT_EQ(nym_test::utf8(named), nym_test::utf8(c.named)) << nym_test::utf8(c.path);
  }
}

}  // namespace
