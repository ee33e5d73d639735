// What the file tests share: a fresh directory per test under the system's temporary folder,
// and bytes put and taken without the library, so that the file classes are checked against
// the system rather than against themselves.
#ifndef NYM_TESTS_FILE_FILE_FIXTURE_H
#define NYM_TESTS_FILE_FILE_FIXTURE_H

#include <windows.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "nym/status.h"
#include "nym/types.h"

namespace nym_test {

class File_test : public testing::Test {
 protected:
  void SetUp() override {
    // Wine reuses process ids from run to run, so a name another run left behind is passed over.
    static unsigned int serial = 0;
    std::filesystem::path dir;
    std::error_code error;
    for (int tries = 0; tries < 1000; ++tries) {
      dir = std::filesystem::temp_directory_path() /
            ("nym-file-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++serial));
      if (std::filesystem::create_directory(dir, error)) break;
    }
    ASSERT_TRUE(std::filesystem::is_empty(dir, error) && !error) << dir.string();
    m_dir = dir.u16string() + u"\\";
  }
  void TearDown() override {
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(m_dir), ignored);
  }

  nym::Wstring path(const char* name) const { return m_dir + wide(name); }
  const nym::Wstring& dir() const { return m_dir; }

  static const wchar_t* win(const nym::Wstring& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }
  static nym::Wstring wide(const std::string& ascii) { return nym::Wstring(ascii.begin(), ascii.end()); }

  static void put(const nym::Wstring& file, const std::string& bytes) {
    ASSERT_TRUE(std::ofstream(std::filesystem::path(file), std::ios::binary) << bytes);
  }
  // The file's bytes, or "(missing)"; read sharing all, as the files under test may be open.
  static std::string take(const nym::Wstring& file) {
    const HANDLE h = CreateFileW(win(file), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, OPEN_EXISTING, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE) return "(missing)";
    std::string bytes(GetFileSize(h, nullptr), '\0');
    DWORD n = 0;
    const BOOL ok = ReadFile(h, &bytes[0], DWORD(bytes.size()), &n, nullptr);
    CloseHandle(h);
    return ok ? bytes.substr(0, n) : "(unreadable)";
  }
  static bool exists(const nym::Wstring& file) { return GetFileAttributesW(win(file)) != INVALID_FILE_ATTRIBUTES; }

 private:
  nym::Wstring m_dir;
};

// The codes of a status chain, newest first.
inline std::vector<unsigned int> chain(const nym::Nym_status& status) {
  std::vector<unsigned int> codes;
  for (const nym::Nym_status* s = &status; s != nullptr; s = s->child()) codes.push_back(s->value());
  return codes;
}

// A plain system error number in the form a status keeps it.
constexpr unsigned int sys(unsigned int code) { return nym::Nym_status::convert_value(code); }

}  // namespace nym_test

#endif
