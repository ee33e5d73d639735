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

}  // namespace nym_test
