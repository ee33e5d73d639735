// The registry: open, create, copy, remove and enumerate keys; typed get, set and remove of
// values. Windows only.
//
// Three layers of free functions. The plain forms take a root key (an open key or a predefined
// root such as HKEY_LOCAL_MACHINE, passed as void*) and a key path made of `path` and `subkey`:
// the path, then a backslash and the subkey when the subkey isn't empty. That joined text is
// the "key" that the status codes carry. The parameter forms address
// HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\<service>\Parameters, the sw forms
// HKEY_LOCAL_MACHINE\SOFTWARE\<product>\<subkey>. Each call opens what it needs and closes it before it returns; only
// nym_open_reg_key and nym_connect_reg_root hand a key to the caller, who closes it.
//
// Value forms: string (REG_SZ) and path (REG_EXPAND_SZ, variables left unexpanded both ways) as
// Wstring, uint (REG_DWORD), multi string (REG_MULTI_SZ) as a vector of Wstring. Data is read
// only as far as the system says it reaches: a text without a terminating zero unit ends where
// the data ends, and a text with one ends there. There are no defaults: a missing key or value
// is a failure, and the out argument keeps what it held (except the multi string form, which
// empties it first). On failure the status holds the system's code with the library's code
// pushed over it. The functions keep no state; the registry serialises them.
#ifndef NYM_REGISTRY_H
#define NYM_REGISTRY_H

#include <vector>

#include "nym/status.h"

namespace nym {

class Nym_security;

constexpr unsigned int NYM_S_REG_KEY_WRITE_OPEN_FAILED = 0xC200000Au;  // arg: key
constexpr unsigned int NYM_S_REG_KEY_OPEN_FAILED = 0xC200000Bu;        // arg: key
constexpr unsigned int NYM_S_REG_VALUE_READ_FAILED = 0xC200000Cu;      // args: key, name
constexpr unsigned int NYM_S_REG_VALUE_WRITE_FAILED = 0xC200000Du;     // args: key, name
constexpr unsigned int NYM_S_REG_ENUM_FAILED = 0xC200000Eu;            // arg: key
constexpr unsigned int NYM_S_REG_NOT_STRING = 0xC200000Fu;             // args: key, name
constexpr unsigned int NYM_S_REG_NOT_NUMBER = 0xC2000010u;             // args: key, name
constexpr unsigned int NYM_S_REG_NOT_PATH = 0xC2000011u;               // args: key, name
constexpr unsigned int NYM_S_REG_KEY_DELETE_FAILED = 0xC2000012u;      // arg: the parent key
constexpr unsigned int NYM_S_REG_VALUE_DELETE_FAILED = 0xC2000013u;    // args: key, name
constexpr unsigned int NYM_S_REG_BAD_ROOT = 0xC2000014u;               // no args
constexpr unsigned int NYM_S_REG_CONNECT_FAILED = 0xC2000015u;         // arg: server
constexpr unsigned int NYM_S_REG_COPY_INTO_ITSELF = 0xC2000016u;       // args: from key, to key
constexpr unsigned int NYM_S_REG_KEY_CREATE_FAILED = 0xC200006Cu;      // arg: key
constexpr unsigned int NYM_S_REG_OPEN_KEY_FAILED = 0xC200006Du;        // arg: path
constexpr unsigned int NYM_S_REG_CLOSE_KEY_FAILED = 0xC200006Eu;       // no args
constexpr unsigned int NYM_S_REG_NOT_MULTI_STRING = 0xC200007Eu;       // args: key, name

// ---- keys

// The registry root (HKEY_LOCAL_MACHINE or HKEY_USERS) of `server` (empty: this machine); close
// it with nym_disconnect_reg_root. Another root gives NYM_S_REG_BAD_ROOT, a failed connection
// the system's code; either with NYM_S_REG_CONNECT_FAILED on top and all ones as the answer.
NYM_API void* nym_connect_reg_root(const Wstring& server, void* root, Nym_status& status);
// Clears the status and closes a connected root.
NYM_API void nym_disconnect_reg_root(void* key, Nym_status& status);
// Opens a key with all access; the caller closes it with nym_close_reg_key. Failure sets
// NYM_S_REG_OPEN_KEY_FAILED with `path` alone (no system code) and answers null. The status is
// not cleared first.
NYM_API void* nym_open_reg_key(void* key, const Wstring& path, const Wstring& subkey, Nym_status& status);
// Failure sets NYM_S_REG_CLOSE_KEY_FAILED; the status is not cleared first.
NYM_API void nym_close_reg_key(void* key, Nym_status& status);
// Creates a key and its missing parents. The key's handle stays open until the process ends.
// Failure: the thread's last error, with NYM_S_REG_KEY_CREATE_FAILED on top.
NYM_API void nym_create_reg_key(void* key, const Wstring& path, const Wstring& subkey, Nym_status& status);
// Copies the values of from_path to to_path (created if need be), and with `recurse` every
// subkey below it the same way; all subkeys are tried and the status tells the last one's
// result. NYM_S_REG_KEY_OPEN_FAILED, NYM_S_REG_KEY_WRITE_OPEN_FAILED, NYM_S_REG_VALUE_WRITE_FAILED
// or NYM_S_REG_ENUM_FAILED on failure. A recursive copy into the key's own subtree (same root,
// to_path below from_path) would never end: it is refused with NYM_S_REG_COPY_INTO_ITSELF.
NYM_API void nym_copy_reg_key(void* from_root, const Wstring& from_path, void* to_root, const Wstring& to_path,
                              bool recurse, Nym_status& status);
// Removes the key `name` below path\subkey with its whole subtree, children first; stops at
// the first failure (NYM_S_REG_KEY_OPEN_FAILED, NYM_S_REG_ENUM_FAILED or
// NYM_S_REG_KEY_DELETE_FAILED). Not atomic.
NYM_API void nym_remove_reg_key(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                Nym_status& status);
// Whether the key can be opened for reading: an inaccessible key reads as absent.
NYM_API bool nym_reg_key_exists(void* key, const Wstring& path, const Wstring& subkey);
// The names of the key's subkeys (of its values), in the system's order; `names` is emptied
// first. NYM_S_REG_KEY_OPEN_FAILED or NYM_S_REG_ENUM_FAILED on failure.
NYM_API void nym_enum_reg_keys(void* key, const Wstring& path, const Wstring& subkey, std::vector<Wstring>& names,
                               Nym_status& status);
NYM_API void nym_enum_reg_value_names(void* key, const Wstring& path, const Wstring& subkey,
                                      std::vector<Wstring>& names, Nym_status& status);
// Ties `security` to the open key (Nym_security::associate_with_object).
NYM_API void nym_reg_add_security(void* key, Nym_security& security, Nym_status& status);

// ---- values, plain forms

// Gets fail with NYM_S_REG_KEY_OPEN_FAILED or NYM_S_REG_VALUE_READ_FAILED, or with the form's
// wrong-type code. A string of any length is read; a path value over 1024 bytes fails with the
// system's more-data code. A uint is read from REG_DWORD, or from REG_SZ of up to 64 bytes as
// _wtoi reads it (leading digits, 0 without any). A multi string ends at its first empty text.
NYM_API void nym_get_reg_string_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                      Wstring& value, Nym_status& status);
NYM_API void nym_get_reg_path_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                    Wstring& value, Nym_status& status);
NYM_API void nym_get_reg_uint_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                    unsigned int& value, Nym_status& status);
NYM_API void nym_get_reg_multi_string_value(void* key, const Wstring& path, const Wstring& subkey,
                                            const Wstring& name, std::vector<Wstring>& value, Nym_status& status);
// Sets create the key and its parents if need be; NYM_S_REG_KEY_WRITE_OPEN_FAILED or
// NYM_S_REG_VALUE_WRITE_FAILED on failure. Each text of a multi string ends at its own first
// zero unit; an empty vector writes one zero unit.
NYM_API void nym_set_reg_string_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                      const Wstring& value, Nym_status& status);
NYM_API void nym_set_reg_path_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                    const Wstring& value, Nym_status& status);
NYM_API void nym_set_reg_uint_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                    unsigned int value, Nym_status& status);
NYM_API void nym_set_reg_multi_string_value(void* key, const Wstring& path, const Wstring& subkey,
                                            const Wstring& name, const std::vector<Wstring>& value,
                                            Nym_status& status);
// NYM_S_REG_KEY_OPEN_FAILED or NYM_S_REG_VALUE_DELETE_FAILED on failure.
NYM_API void nym_remove_reg_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                  Nym_status& status);

// ---- a service's parameters: HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\<service>\Parameters

NYM_API void nym_get_reg_string_parameter(const Wstring& service, const Wstring& name, Wstring& value,
                                          Nym_status& status);
NYM_API void nym_get_reg_uint_parameter(const Wstring& service, const Wstring& name, unsigned int& value,
                                        Nym_status& status);
NYM_API void nym_set_reg_string_parameter(const Wstring& service, const Wstring& name, const Wstring& value,
                                          Nym_status& status);
NYM_API void nym_set_reg_uint_parameter(const Wstring& service, const Wstring& name, unsigned int value,
                                        Nym_status& status);
NYM_API void nym_remove_reg_parameter(const Wstring& service, const Wstring& name, Nym_status& status);

// ---- a product's key: HKEY_LOCAL_MACHINE\SOFTWARE\<product>\<subkey>

NYM_API void nym_get_reg_sw_string_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                                         Wstring& value, Nym_status& status);
NYM_API void nym_get_reg_sw_uint_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                                       unsigned int& value, Nym_status& status);
NYM_API void nym_set_reg_sw_string_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                                         const Wstring& value, Nym_status& status);
NYM_API void nym_set_reg_sw_uint_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                                       unsigned int value, Nym_status& status);
NYM_API void nym_remove_reg_sw_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                                     Nym_status& status);

}  // namespace nym

#endif
