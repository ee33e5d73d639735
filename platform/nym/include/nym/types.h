// The shared vocabulary types: wide and narrow strings, fixed-width integers, GUID and
// NYM_NPOS.
//
// Wchar is char16_t on every build: the unit of ICU's UChar and Xerces' XMLCh. Win32 calls
// take wchar_t*; inside the library the only conversion is nym::impl::win32_wide() in the
// platform files (callers cast at their own Win32 calls: the layouts are the same).
#ifndef NYM_TYPES_H
#define NYM_TYPES_H

#include <cstdint>
#include <string>

#include "nym/export.h"

#if defined(_WIN32)
#include <guiddef.h>
#else
// Layout-identical to the Windows GUID, so identities compare and serialise alike.
struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
#endif

namespace nym {

using Wchar = char16_t;
using Wstring = std::basic_string<Wchar>;
using Nstring = std::string;

using int64 = std::int64_t;
using uint64 = std::uint64_t;

// No position: the answer of every finder and index that finds nothing.
extern NYM_API const uint64 NYM_NPOS;

// Byte-wise equality of two GUIDs (the identity test of status arguments).
NYM_API bool nym_guid_equal(const GUID& a, const GUID& b);

}  // namespace nym

#endif
