#include <windows.h>

#include "status/messages_platform.h"
#include "base/win32_wide.h"

namespace nym::impl {

namespace {

// FormatMessageW reads marks %1 to %99 from the array, and a "*" width or precision on %99 two
// slots further: every slot beyond the insertion strings points at empty text, so no mark of
// any message can read past the array.
constexpr int ARGUMENT_SLOTS = 101;
constexpr DWORD NEUTRAL_SYSTEM_DEFAULT = MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT);  // 0x800
constexpr DWORD MINIMUM_SIZE = 1024;

// The system's buffer, freed on every way out.
struct Local_text {
  wchar_t* p = nullptr;
  ~Local_text() {
    if (p != nullptr) LocalFree(p);
  }
};

}  // namespace

void* load_message_file(const Wstring& name, unsigned int& error) {
  HMODULE module = LoadLibraryW(win32_wide(name));
  error = module == nullptr ? GetLastError() : 0;
  return module;
}

void free_message_file(void* module) noexcept { FreeLibrary(static_cast<HMODULE>(module)); }

bool format_message_text(void* module, unsigned int code, const Wstring* inserts, Wstring& text) {
  text.clear();
  // With FORMAT_MESSAGE_ARGUMENT_ARRAY the arguments are an array of DWORD_PTR.
  DWORD_PTR slots[ARGUMENT_SLOTS];
  for (int i = 0; i < ARGUMENT_SLOTS; ++i) {
    slots[i] = reinterpret_cast<DWORD_PTR>(i < MESSAGE_INSERTS ? win32_wide(inserts[i]) : L"");
  }
  DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_ARGUMENT_ARRAY;
  if (module != nullptr) flags |= FORMAT_MESSAGE_FROM_HMODULE;
  Local_text buffer;
  const DWORD length = FormatMessageW(flags, module, code, NEUTRAL_SYSTEM_DEFAULT, reinterpret_cast<LPWSTR>(&buffer.p),
                                      MINIMUM_SIZE, reinterpret_cast<va_list*>(slots));
  if (length == 0 || buffer.p == nullptr) return false;
  // The length the call answered bounds the copy; a terminator inside it ends the text.
  DWORD n = 0;
  while (n < length && buffer.p[n] != L'\0') ++n;
  text.assign(from_win32_wide(buffer.p), n);
  return true;
}

}  // namespace nym::impl
