// The library's entry point: remembers its module handle and does nothing else.
#include <windows.h>

namespace nym::impl {

HINSTANCE g_module = nullptr;

}  // namespace nym::impl

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    nym::impl::g_module = instance;
    // mingw DLLs always carry a TLS directory, so this answers FALSE; that is harmless.
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}
