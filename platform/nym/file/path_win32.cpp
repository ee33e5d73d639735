// The two path operations that ask the system: GetFullPathNameW and the process's PATH.
#include <windows.h>

#include <filesystem>
#include <system_error>

#include "nym/path.h"
#include "base/win32_wide.h"

namespace nym {

void Nym_path::absolute() {
  if (m_text.empty()) return;
  Wstring buffer(260, u'\0');
  for (;;) {
    const DWORD size = static_cast<DWORD>(buffer.size());
    const DWORD answer = GetFullPathNameW(impl::win32_wide(m_text), size, impl::win32_wide(&buffer[0]), nullptr);
    if (answer == 0) {
      const std::error_code code(static_cast<int>(GetLastError()), std::system_category());
      throw std::filesystem::filesystem_error("absolute", std::filesystem::path(impl::win32_wide(m_text)), code);
    }
    if (answer < size) {
      buffer.resize(answer);
      break;
    }
    // Too small: the answer is the size needed. Grow by at least one unit so that a system
    // that answered the size it was given can't hold the loop for ever.
    buffer.assign(answer > size ? answer : size + 1, u'\0');
  }
  m_text.swap(buffer);
}

Nym_path Nym_path::to_absolute() const {
  Nym_path copy(*this);
  copy.absolute();
  return copy;
}

void nym_get_path(Wstring& out) {
  const wchar_t* value = _wgetenv(L"PATH");
  if (value == nullptr) {
    out.clear();
    return;
  }
  out.assign(impl::from_win32_wide(value));
}

}  // namespace nym
