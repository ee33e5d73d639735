// The one place where the library's char16_t text meets Win32's wchar_t (internal; platform
// files only). Both are 16-bit UTF-16 units on Windows, so the cast is exact.
#ifndef NYM_BASE_WIN32_WIDE_H
#define NYM_BASE_WIN32_WIDE_H

#include "nym/types.h"

namespace nym::impl {

static_assert(sizeof(wchar_t) == sizeof(Wchar), "Win32 wide text is UTF-16");

inline const wchar_t* win32_wide(const Wchar* text) { return reinterpret_cast<const wchar_t*>(text); }
inline wchar_t* win32_wide(Wchar* text) { return reinterpret_cast<wchar_t*>(text); }
inline const wchar_t* win32_wide(const Wstring& text) { return win32_wide(text.c_str()); }
inline const Wchar* from_win32_wide(const wchar_t* text) { return reinterpret_cast<const Wchar*>(text); }

}  // namespace nym::impl

#endif
