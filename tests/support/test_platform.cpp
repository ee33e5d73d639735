#include "test_platform.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace nym_test {

bool running_under_wine() {
#if defined(_WIN32)
  HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
  return false;
#endif
}

std::u16string system_message(unsigned int code) {
#if defined(_WIN32)
  wchar_t* buffer = nullptr;
  const DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  const DWORD n = FormatMessageW(flags, nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT),
                                 reinterpret_cast<LPWSTR>(&buffer), 0, nullptr);
  std::u16string text;
  if (n != 0 && buffer != nullptr) text.assign(reinterpret_cast<const char16_t*>(buffer), n);
  if (buffer != nullptr) LocalFree(buffer);
  return text;
#else
  (void)code;
  return {};
#endif
}

}  // namespace nym_test
