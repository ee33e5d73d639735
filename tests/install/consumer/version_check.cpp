// The version resource of the nym2208.dll this program loaded must show the version the CMake
// package was installed as: both come from the project version.
#include <windows.h>

#include <cstdio>
#include <string>

#include <nym/nym.h>

namespace {

std::string narrow(const wchar_t* text) {
  std::string out;
  for (; *text != 0; ++text) out += static_cast<char>(*text < 128 ? *text : '?');
  return out;
}

}  // namespace

int main() {
  nym::Nym_status status;  // the DLL is loaded at start-up, not on first use
  wchar_t path[MAX_PATH];
  const HMODULE dll = GetModuleHandleW(L"nym2208.dll");
  if (dll == nullptr || GetModuleFileNameW(dll, path, MAX_PATH) == 0) {
    std::printf("version_check: nym2208.dll is not loaded\n");
    return 1;
  }
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(path, &handle);
  std::string info(size, '\0');
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT fixed_size = 0;
  wchar_t* product = nullptr;
  UINT product_size = 0;
  if (size == 0 || !GetFileVersionInfoW(path, 0, size, info.data()) ||
      !VerQueryValueW(info.data(), L"\\", reinterpret_cast<void**>(&fixed), &fixed_size) ||
      fixed_size < sizeof(VS_FIXEDFILEINFO) ||
      !VerQueryValueW(info.data(), L"\\StringFileInfo\\040904b0\\ProductVersion",
                      reinterpret_cast<void**>(&product), &product_size) ||
      product_size == 0) {
    std::printf("version_check: nym2208.dll has no readable version resource (%lu)\n", GetLastError());
    return 1;
  }
  char numeric[64];
  std::snprintf(numeric, sizeof numeric, "%lu.%lu.%lu", HIWORD(fixed->dwFileVersionMS),
                LOWORD(fixed->dwFileVersionMS), HIWORD(fixed->dwFileVersionLS));
  const std::string text = narrow(product);
  std::printf("package %s, file version %s, product version %s\n", NYM_PACKAGE_VERSION, numeric, text.c_str());
  return (text == NYM_PACKAGE_VERSION && std::string(numeric) == NYM_PACKAGE_VERSION) ? 0 : 1;
}
