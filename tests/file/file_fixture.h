// What the file tests share: a fresh directory per test under the system's temporary folder,
// and bytes put and taken with plain Win32 calls, so that the file classes are checked
// against the system rather than against themselves.
#ifndef NYM_TESTS_FILE_FILE_FIXTURE_H
#define NYM_TESTS_FILE_FILE_FIXTURE_H

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "nym/status.h"
#include "nym/types.h"

namespace nym_test {

class File_test : public testing::Test {
 protected:
  void SetUp() override {
    wchar_t temp[MAX_PATH + 1];
    const DWORD n = GetTempPathW(MAX_PATH + 1, temp);
    ASSERT_TRUE(n > 0 && n <= MAX_PATH);
    static unsigned int serial = 0;
    m_dir = nym::Wstring(reinterpret_cast<const char16_t*>(temp)) + u"nym-file-test-" +
            wide(std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++serial)) + u"\\";
    ASSERT_TRUE(CreateDirectoryW(win(m_dir), nullptr));
  }
  void TearDown() override { remove_tree(m_dir); }

  // Everything below `dir` (which ends in a separator), read-only files too and links as
  // names, then `dir` itself.
  static void remove_tree(const nym::Wstring& dir) {
    WIN32_FIND_DATAW found;
    const HANDLE listing = FindFirstFileW(win(dir + u"*"), &found);
    if (listing != INVALID_HANDLE_VALUE) {
      do {
        const nym::Wstring name = reinterpret_cast<const char16_t*>(found.cFileName);
        if (name == u"." || name == u"..") continue;
        const nym::Wstring entry = dir + name;
        SetFileAttributesW(win(entry), FILE_ATTRIBUTE_NORMAL);
        const DWORD kind = found.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
        if (kind == FILE_ATTRIBUTE_DIRECTORY) {
          remove_tree(entry + u"\\");
        } else if (!DeleteFileW(win(entry))) {
          RemoveDirectoryW(win(entry));
        }
      } while (FindNextFileW(listing, &found));
      FindClose(listing);
    }
    RemoveDirectoryW(win(dir));
  }

  nym::Wstring path(const char* name) const { return m_dir + wide(name); }
  const nym::Wstring& dir() const { return m_dir; }

  static const wchar_t* win(const nym::Wstring& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }
  static nym::Wstring wide(const std::string& ascii) { return nym::Wstring(ascii.begin(), ascii.end()); }

  static void put(const nym::Wstring& file, const std::string& bytes) {
    const HANDLE h = CreateFileW(win(file), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    DWORD n = 0;
    const BOOL ok = WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &n, nullptr);
    CloseHandle(h);
    ASSERT_TRUE(ok && n == bytes.size());
  }
  // The file's bytes, or "(missing)".
  static std::string take(const nym::Wstring& file) {
    const HANDLE h = CreateFileW(win(file), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, OPEN_EXISTING, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE) return "(missing)";
    std::string bytes;
    char block[4096];
    DWORD n = 0;
    while (ReadFile(h, block, sizeof block, &n, nullptr) && n > 0) bytes.append(block, n);
    CloseHandle(h);
    return bytes;
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
