#include <windows.h>

#include <lm.h>

#include <atomic>

#include "security/account_db.h"
#include "base/win32_wide.h"

namespace nym::impl {

namespace {

// The size the listers ask the system to keep each answer within.
constexpr DWORD PREFERRED_BYTES = 8096;

const wchar_t* optional(const Wstring& text) { return text.empty() ? nullptr : win32_wide(text); }

// Copies the `read` names of a level-0 answer (each entry one name pointer) and frees it.
template <class Info>
void take_names(LPBYTE buffer, DWORD read, std::vector<Wstring>& names) {
  if (buffer == nullptr) return;
  const auto* entries = reinterpret_cast<const Info*>(buffer);
  for (DWORD i = 0; i < read; ++i) {
    const wchar_t* name = *reinterpret_cast<const LPWSTR*>(entries + i);
    if (name != nullptr) names.emplace_back(from_win32_wide(name));
  }
  NetApiBufferFree(buffer);
}

class System_accounts final : public Account_database {
 public:
  unsigned int local_groups(const Wstring& server, const Wstring& account, std::vector<Wstring>& names,
                            unsigned int& total) const override {
    LPBYTE buffer = nullptr;
    DWORD read = 0;
    DWORD all = 0;
    const NET_API_STATUS result = NetUserGetLocalGroups(optional(server), win32_wide(account), 0, LG_INCLUDE_INDIRECT,
                                                        &buffer, PREFERRED_BYTES, &read, &all);
    take_names<LOCALGROUP_USERS_INFO_0>(buffer, result == NERR_Success || result == ERROR_MORE_DATA ? read : 0, names);
    total = all;
    return result;
  }

  unsigned int global_groups(const Wstring& server, const Wstring& account, std::vector<Wstring>& names,
                             unsigned int& total) const override {
    LPBYTE buffer = nullptr;
    DWORD read = 0;
    DWORD all = 0;
    const NET_API_STATUS result =
        NetUserGetGroups(optional(server), win32_wide(account), 0, &buffer, PREFERRED_BYTES, &read, &all);
    take_names<GROUP_USERS_INFO_0>(buffer, result == NERR_Success || result == ERROR_MORE_DATA ? read : 0, names);
    total = all;
    return result;
  }

  unsigned int controller_name(const Wstring& domain, Wstring& name) const override {
    LPBYTE buffer = nullptr;
    const NET_API_STATUS result = NetGetDCName(nullptr, optional(domain), &buffer);
    name.clear();
    if (result == NERR_Success && buffer != nullptr) name = from_win32_wide(reinterpret_cast<const wchar_t*>(buffer));
    if (buffer != nullptr) NetApiBufferFree(buffer);
    return result;
  }
};

const System_accounts SYSTEM_ACCOUNTS;
std::atomic<const Account_database*> g_replacement{nullptr};

}  // namespace

const Account_database& account_database() {
  const Account_database* replacement = g_replacement.load();
  return replacement != nullptr ? *replacement : SYSTEM_ACCOUNTS;
}

const Account_database* set_account_database(const Account_database* database) {
  return g_replacement.exchange(database);
}

}  // namespace nym::impl
