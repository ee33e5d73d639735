// What the registry functions make of key paths and of the bytes a value holds (internal).
//
// Every reader takes the byte count the system returned and never reads beyond it: registry
// data need not end in a zero unit, whatever its type says. Portable, so the host build tests
// it under the sanitizers; exported for the tests alone.
#ifndef NYM_CONFIG_REGISTRY_DATA_H
#define NYM_CONFIG_REGISTRY_DATA_H

#include <vector>

#include "nym/status.h"

namespace nym::impl {

// The path, then a backslash and the subkey when the subkey isn't empty.
NYM_API Wstring reg_join(const Wstring& path, const Wstring& subkey);

// Whether `inner` names a key strictly below `outer`: whole components compared without regard
// to case, empty components (doubled or trailing backslashes) ignored.
NYM_API bool reg_path_below(const Wstring& outer, const Wstring& inner);

// Text data (REG_SZ, REG_EXPAND_SZ): the units up to the first zero unit, or to the end of the
// data when there is none; an odd last byte is dropped.
NYM_API Wstring reg_text(const void* data, uint64 bytes);

// Multi-string data: each text up to its zero unit, until an empty text or the end of the
// data; a last text without its zero unit still counts. `texts` is emptied first.
NYM_API void reg_texts(const void* data, uint64 bytes, std::vector<Wstring>& texts);

// The data of a multi string: each text up to its own first zero unit and a zero unit after
// it, then one more zero unit (so an empty vector gives one zero unit).
NYM_API Wstring reg_multi_data(const std::vector<Wstring>& texts);

// Text data read as a number as _wtoi reads it: leading white space, a sign, decimal digits up
// to the first other unit; 0 without digits; saturated to the range of int, then taken as
// unsigned.
NYM_API unsigned int reg_text_number(const void* data, uint64 bytes);

#if defined(_WIN32)
// nym_get_reg_path_value for a value of any length (that one stops at 1024 bytes), reporting
// the same way.
void reg_get_long_path_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                             Wstring& value, Nym_status& status);
#endif

}  // namespace nym::impl

#endif
