#include "nym/registry.h"

#include <windows.h>

#include <cstdint>
#include <cstring>

#include "config/registry_data.h"
#include "nym/cwstring.h"
#include "nym/security.h"
#include "base/win32_wide.h"

namespace nym {

namespace {

using impl::reg_join;
using impl::win32_wide;

// The first read of a text value; a longer one is read again at the size the system names.
constexpr DWORD FIRST_READ_BYTES = 1024;
// A text value read as a number is read into this much.
constexpr DWORD NUMBER_TEXT_BYTES = 64;
// Key names are at most 255 units, value names at most 16383.
constexpr DWORD KEY_NAME_UNITS = 512;
constexpr DWORD VALUE_NAME_UNITS = 16384;
// A value that keeps growing between two reads is given up after this many.
constexpr int READ_ATTEMPTS = 4;

HKEY hkey(void* key) { return static_cast<HKEY>(key); }

// An open key, closed on leaving.
class Key {
 public:
  Key() = default;
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() {
    if (m_key != nullptr) RegCloseKey(m_key);
  }
  HKEY* out() { return &m_key; }
  HKEY get() const { return m_key; }

 private:
  HKEY m_key = nullptr;
};

LONG open_key(void* root, const Wstring& key, REGSAM access, Key& out) {
  return RegOpenKeyExW(hkey(root), win32_wide(key), 0, access, out.out());
}

LONG create_key(void* root, const Wstring& key, REGSAM access, Key& out) {
  return RegCreateKeyExW(hkey(root), win32_wide(key), 0, nullptr, 0, access, nullptr, out.out(), nullptr);
}

void fail(Nym_status& status, LONG code, unsigned int what, const Wstring& key) {
  status = static_cast<unsigned int>(code);
  status.push(what, Nym_wstring_status_arg(key));
}

void fail(Nym_status& status, LONG code, unsigned int what, const Wstring& key, const Wstring& name) {
  status = static_cast<unsigned int>(code);
  status.push(what, Nym_wstring_status_arg(key), Nym_wstring_status_arg(name));
}

// Opens the key, or with `create` creates it, for `access`; a failure reports `what` with the key
// over the system's code.
bool open_for(void* root, const Wstring& key, REGSAM access, bool create, unsigned int what, Key& k,
              Nym_status& status) {
  const LONG result = create ? create_key(root, key, access, k) : open_key(root, key, access, k);
  if (result == ERROR_SUCCESS) return true;
  fail(status, result, what, key);
  return false;
}

// Reads a value's type and bytes into `data`, which ends up exactly as long as the system says
// the value is. `first` bytes are tried first; with `grow` a longer value is read again.
LONG query(HKEY key, const Wstring& name, DWORD first, bool grow, DWORD& type, std::vector<unsigned char>& data) {
  data.assign(first, 0);
  for (int attempt = 1;; ++attempt) {
    DWORD size = static_cast<DWORD>(data.size());
    const LONG result = RegQueryValueExW(key, win32_wide(name), nullptr, &type, data.data(), &size);
    if (result == ERROR_MORE_DATA && grow && attempt < READ_ATTEMPTS && size > data.size()) {
      data.assign(size, 0);
      continue;
    }
    if (result == ERROR_SUCCESS) data.resize(size < data.size() ? size : data.size());
    return result;
  }
}

// Opens key and reads the value: the common first steps of the gets.
bool read_value(void* root, const Wstring& key, const Wstring& name, DWORD first, bool grow, DWORD& type,
                std::vector<unsigned char>& data, Nym_status& status) {
  Key k;
  if (!open_for(root, key, KEY_QUERY_VALUE, false, NYM_S_REG_KEY_OPEN_FAILED, k, status)) return false;
  const LONG result = query(k.get(), name, first, grow, type, data);
  if (result != ERROR_SUCCESS) {
    fail(status, result, NYM_S_REG_VALUE_READ_FAILED, key, name);
    return false;
  }
  return true;
}

// The bytes of a value of type `want`; `wrong_type` reports another type.
bool read_typed(void* root, const Wstring& path, const Wstring& subkey, const Wstring& name, DWORD want, bool grow,
                unsigned int wrong_type, std::vector<unsigned char>& data, Nym_status& status) {
  status.clear();
  const Wstring key = reg_join(path, subkey);
  DWORD type = 0;
  if (!read_value(root, key, name, FIRST_READ_BYTES, grow, type, data, status)) return false;
  if (type == want) return true;
  status.assign(wrong_type, Nym_wstring_status_arg(key), Nym_wstring_status_arg(name));
  return false;
}

void get_text(void* root, const Wstring& path, const Wstring& subkey, const Wstring& name, DWORD want, bool grow,
              unsigned int wrong_type, Wstring& value, Nym_status& status) {
  std::vector<unsigned char> data;
  if (read_typed(root, path, subkey, name, want, grow, wrong_type, data, status)) {
    value = impl::reg_text(data.data(), data.size());
  }
}

void set_value(void* root, const Wstring& path, const Wstring& subkey, const Wstring& name, DWORD type,
               const void* data, std::size_t bytes, Nym_status& status) {
  status.clear();
  const Wstring key = reg_join(path, subkey);
  Key k;
  if (!open_for(root, key, KEY_SET_VALUE, true, NYM_S_REG_KEY_WRITE_OPEN_FAILED, k, status)) return;
  const LONG result =
      RegSetValueExW(k.get(), win32_wide(name), 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(bytes));
  if (result != ERROR_SUCCESS) fail(status, result, NYM_S_REG_VALUE_WRITE_FAILED, key, name);
}

void set_text(void* root, const Wstring& path, const Wstring& subkey, const Wstring& name, DWORD type,
              const Wstring& value, Nym_status& status) {
  set_value(root, path, subkey, name, type, value.c_str(), (value.size() + 1) * sizeof(Wchar), status);
}

// The names a key's subkeys or values, through `next` (RegEnumKeyExW or RegEnumValueW).
template <class Next>
void enum_names(void* root, const Wstring& path, const Wstring& subkey, REGSAM access, DWORD longest,
                std::vector<Wstring>& names, Nym_status& status, Next next) {
  status.clear();
  names.clear();
  const Wstring key = reg_join(path, subkey);
  Key k;
  if (!open_for(root, key, access, false, NYM_S_REG_KEY_OPEN_FAILED, k, status)) return;
  std::vector<wchar_t> buffer(KEY_NAME_UNITS);
  for (DWORD index = 0;; ++index) {
    DWORD units = static_cast<DWORD>(buffer.size());
    const LONG result = next(k.get(), index, buffer.data(), &units);
    if (result == ERROR_MORE_DATA && buffer.size() < longest) {
      buffer.resize(longest);
      --index;  // the same entry again, with room for any name
      continue;
    }
    if (result == ERROR_NO_MORE_ITEMS) return;
    if (result != ERROR_SUCCESS) {
      fail(status, result, NYM_S_REG_ENUM_FAILED, key);
      return;
    }
    names.emplace_back(impl::from_win32_wide(buffer.data()), units < buffer.size() ? units : buffer.size());
  }
}

// Copies every value of one open key to another; the status tells the first failure.
void copy_values(HKEY from, const Wstring& from_path, HKEY to, const Wstring& to_path, Nym_status& status) {
  std::vector<wchar_t> name(VALUE_NAME_UNITS);
  std::vector<unsigned char> data(256);
  int attempts = 0;
  for (DWORD index = 0;;) {
    DWORD name_units = static_cast<DWORD>(name.size());
    DWORD bytes = static_cast<DWORD>(data.size());
    DWORD type = 0;
    LONG result = RegEnumValueW(from, index, name.data(), &name_units, nullptr, &type, data.data(), &bytes);
    if (result == ERROR_MORE_DATA && bytes > data.size() && ++attempts < READ_ATTEMPTS) {
      data.assign(bytes, 0);  // the same value again, with room for its data
      continue;
    }
    if (result == ERROR_NO_MORE_ITEMS) return;
    if (result != ERROR_SUCCESS) {
      fail(status, result, NYM_S_REG_ENUM_FAILED, from_path);
      return;
    }
    if (bytes > data.size()) bytes = static_cast<DWORD>(data.size());
    const Wstring value_name(impl::from_win32_wide(name.data()), name_units < name.size() ? name_units : name.size());
    result = RegSetValueExW(to, win32_wide(value_name), 0, type, data.data(), bytes);
    if (result != ERROR_SUCCESS) {
      fail(status, result, NYM_S_REG_VALUE_WRITE_FAILED, to_path, value_name);
      return;
    }
    attempts = 0;
    ++index;
  }
}

const Wstring SERVICES_PATH = u"SYSTEM\\CurrentControlSet\\Services";

Wstring parameters_of(const Wstring& service) { return service + u"\\Parameters"; }
Wstring software_of(const Wstring& product) { return u"SOFTWARE\\" + product; }

}  // namespace

// ---- keys

void* nym_connect_reg_root(const Wstring& server, void* root, Nym_status& status) {
  status.clear();
  HKEY connected = nullptr;
  if (hkey(root) != HKEY_LOCAL_MACHINE && hkey(root) != HKEY_USERS) {
    status = NYM_S_REG_BAD_ROOT;
  } else {
    const LONG result =
        RegConnectRegistryW(server.empty() ? nullptr : win32_wide(server), hkey(root), &connected);
    if (result != ERROR_SUCCESS) status = static_cast<unsigned int>(result);
  }
  if (status.is_error()) {
    status.push(NYM_S_REG_CONNECT_FAILED, Nym_wstring_status_arg(server));
    return reinterpret_cast<void*>(~static_cast<std::uintptr_t>(0));
  }
  return connected;
}

void nym_disconnect_reg_root(void* key, Nym_status& status) {
  status.clear();
  nym_close_reg_key(key, status);
}

void* nym_open_reg_key(void* key, const Wstring& path, const Wstring& subkey, Nym_status& status) {
  HKEY opened = nullptr;
  const LONG result = RegOpenKeyExW(hkey(key), win32_wide(reg_join(path, subkey)), 0, KEY_ALL_ACCESS, &opened);
  if (result != ERROR_SUCCESS) {
    status.assign(NYM_S_REG_OPEN_KEY_FAILED, Nym_wstring_status_arg(path));
    return nullptr;
  }
  return opened;
}

void nym_close_reg_key(void* key, Nym_status& status) {
  if (RegCloseKey(hkey(key)) != ERROR_SUCCESS) status = NYM_S_REG_CLOSE_KEY_FAILED;
}

void nym_create_reg_key(void* key, const Wstring& path, const Wstring& subkey, Nym_status& status) {
  status.clear();
  const Wstring joined = reg_join(path, subkey);
  HKEY created = nullptr;
  const LONG result =
      RegCreateKeyExW(hkey(key), win32_wide(joined), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created, nullptr);
  if (result != ERROR_SUCCESS) {
    status = GetLastError();
    status.push(NYM_S_REG_KEY_CREATE_FAILED, Nym_wstring_status_arg(joined));
  }
}

void nym_copy_reg_key(void* from_root, const Wstring& from_path, void* to_root, const Wstring& to_path,
                      bool recurse, Nym_status& status) {
  status.clear();
  // Each level would find the copy just made among its own subkeys, and copy it again below.
  if (recurse && from_root == to_root && impl::reg_path_below(from_path, to_path)) {
    status.assign(NYM_S_REG_COPY_INTO_ITSELF, Nym_wstring_status_arg(from_path), Nym_wstring_status_arg(to_path));
    return;
  }
  {
    Key from;
    Key to;
    if (!open_for(from_root, from_path, KEY_QUERY_VALUE, false, NYM_S_REG_KEY_OPEN_FAILED, from, status) ||
        !open_for(to_root, to_path, KEY_SET_VALUE, true, NYM_S_REG_KEY_WRITE_OPEN_FAILED, to, status)) {
      return;
    }
    copy_values(from.get(), from_path, to.get(), to_path, status);
  }
  if (status.is_error() || !recurse) return;
  std::vector<Wstring> children;
  nym_enum_reg_keys(from_root, from_path, W_EMPTY, children, status);
  if (status.is_error()) return;
  for (const Wstring& child : children) {
    nym_copy_reg_key(from_root, reg_join(from_path, child), to_root, reg_join(to_path, child), true, status);
  }
}

void nym_remove_reg_key(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                        Nym_status& status) {
  status.clear();
  const Wstring parent = reg_join(path, subkey);
  std::vector<Wstring> children;
  nym_enum_reg_keys(key, parent, name, children, status);
  for (const Wstring& child : children) {
    if (status.is_error()) return;
    nym_remove_reg_key(key, parent, name, child, status);
  }
  if (status.is_error()) return;
  Key k;
  if (!open_for(key, parent, KEY_ENUMERATE_SUB_KEYS, false, NYM_S_REG_KEY_OPEN_FAILED, k, status)) return;
  const LONG result = RegDeleteKeyW(k.get(), win32_wide(name));
  if (result != ERROR_SUCCESS) fail(status, result, NYM_S_REG_KEY_DELETE_FAILED, parent);
}

bool nym_reg_key_exists(void* key, const Wstring& path, const Wstring& subkey) {
  Key k;
  return open_key(key, reg_join(path, subkey), KEY_READ, k) == ERROR_SUCCESS;
}

void nym_enum_reg_keys(void* key, const Wstring& path, const Wstring& subkey, std::vector<Wstring>& names,
                       Nym_status& status) {
  enum_names(key, path, subkey, KEY_ENUMERATE_SUB_KEYS, KEY_NAME_UNITS, names, status,
             [](HKEY k, DWORD index, wchar_t* name, DWORD* units) {
               return RegEnumKeyExW(k, index, name, units, nullptr, nullptr, nullptr, nullptr);
             });
}

void nym_enum_reg_value_names(void* key, const Wstring& path, const Wstring& subkey, std::vector<Wstring>& names,
                              Nym_status& status) {
  enum_names(key, path, subkey, KEY_QUERY_VALUE | KEY_ENUMERATE_SUB_KEYS, VALUE_NAME_UNITS, names, status,
             [](HKEY k, DWORD index, wchar_t* name, DWORD* units) {
               return RegEnumValueW(k, index, name, units, nullptr, nullptr, nullptr, nullptr);
             });
}

void nym_reg_add_security(void* key, Nym_security& security, Nym_status& status) {
  status.clear();
  security.associate_with_object(NYM_SEC_OBJ_REGISTRY, key, status);
}

// ---- values

void nym_get_reg_string_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                              Wstring& value, Nym_status& status) {
  get_text(key, path, subkey, name, REG_SZ, true, NYM_S_REG_NOT_STRING, value, status);
}

void nym_get_reg_path_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                            Wstring& value, Nym_status& status) {
  get_text(key, path, subkey, name, REG_EXPAND_SZ, false, NYM_S_REG_NOT_PATH, value, status);
}

void impl::reg_get_long_path_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                   Wstring& value, Nym_status& status) {
  get_text(key, path, subkey, name, REG_EXPAND_SZ, true, NYM_S_REG_NOT_PATH, value, status);
}

void nym_get_reg_uint_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                            unsigned int& value, Nym_status& status) {
  status.clear();
  const Wstring joined = reg_join(path, subkey);
  Key k;
  if (!open_for(key, joined, KEY_QUERY_VALUE, false, NYM_S_REG_KEY_OPEN_FAILED, k, status)) return;
  DWORD type = 0;
  LONG result = RegQueryValueExW(k.get(), win32_wide(name), nullptr, &type, nullptr, nullptr);
  if (result == ERROR_SUCCESS && type != REG_DWORD && type != REG_SZ) {
    status.assign(NYM_S_REG_NOT_NUMBER, Nym_wstring_status_arg(joined), Nym_wstring_status_arg(name));
    return;
  }
  std::vector<unsigned char> data;
  if (result == ERROR_SUCCESS) {
    result = query(k.get(), name, type == REG_DWORD ? sizeof(DWORD) : NUMBER_TEXT_BYTES, false, type, data);
  }
  if (result != ERROR_SUCCESS) {
    fail(status, result, NYM_S_REG_VALUE_READ_FAILED, joined, name);
    return;
  }
  if (type == REG_DWORD) {
    DWORD number = 0;  // data shorter than four bytes leaves the high bytes zero
    std::memcpy(&number, data.data(), data.size() < sizeof number ? data.size() : sizeof number);
    value = number;
  } else if (type == REG_SZ) {
    value = impl::reg_text_number(data.data(), data.size());
  } else {
    status.assign(NYM_S_REG_NOT_NUMBER, Nym_wstring_status_arg(joined), Nym_wstring_status_arg(name));
  }
}

void nym_get_reg_multi_string_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                    std::vector<Wstring>& value, Nym_status& status) {
  value.clear();
  std::vector<unsigned char> data;
  if (read_typed(key, path, subkey, name, REG_MULTI_SZ, true, NYM_S_REG_NOT_MULTI_STRING, data, status)) {
    impl::reg_texts(data.data(), data.size(), value);
  }
}

void nym_set_reg_string_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                              const Wstring& value, Nym_status& status) {
  set_text(key, path, subkey, name, REG_SZ, value, status);
}

void nym_set_reg_path_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                            const Wstring& value, Nym_status& status) {
  set_text(key, path, subkey, name, REG_EXPAND_SZ, value, status);
}

void nym_set_reg_uint_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                            unsigned int value, Nym_status& status) {
  const DWORD number = value;
  set_value(key, path, subkey, name, REG_DWORD, &number, sizeof number, status);
}

void nym_set_reg_multi_string_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                                    const std::vector<Wstring>& value, Nym_status& status) {
  const Wstring data = impl::reg_multi_data(value);
  set_value(key, path, subkey, name, REG_MULTI_SZ, data.data(), data.size() * sizeof(Wchar), status);
}

void nym_remove_reg_value(void* key, const Wstring& path, const Wstring& subkey, const Wstring& name,
                          Nym_status& status) {
  status.clear();
  const Wstring joined = reg_join(path, subkey);
  Key k;
  if (!open_for(key, joined, KEY_SET_VALUE, false, NYM_S_REG_KEY_OPEN_FAILED, k, status)) return;
  const LONG result = RegDeleteValueW(k.get(), win32_wide(name));
  if (result != ERROR_SUCCESS) fail(status, result, NYM_S_REG_VALUE_DELETE_FAILED, joined, name);
}

// ---- a service's parameters

void nym_get_reg_string_parameter(const Wstring& service, const Wstring& name, Wstring& value, Nym_status& status) {
  nym_get_reg_string_value(HKEY_LOCAL_MACHINE, SERVICES_PATH, parameters_of(service), name, value, status);
}

void nym_get_reg_uint_parameter(const Wstring& service, const Wstring& name, unsigned int& value,
                                Nym_status& status) {
  nym_get_reg_uint_value(HKEY_LOCAL_MACHINE, SERVICES_PATH, parameters_of(service), name, value, status);
}

void nym_set_reg_string_parameter(const Wstring& service, const Wstring& name, const Wstring& value,
                                  Nym_status& status) {
  nym_set_reg_string_value(HKEY_LOCAL_MACHINE, SERVICES_PATH, parameters_of(service), name, value, status);
}

void nym_set_reg_uint_parameter(const Wstring& service, const Wstring& name, unsigned int value,
                                Nym_status& status) {
  nym_set_reg_uint_value(HKEY_LOCAL_MACHINE, SERVICES_PATH, parameters_of(service), name, value, status);
}

void nym_remove_reg_parameter(const Wstring& service, const Wstring& name, Nym_status& status) {
  nym_remove_reg_value(HKEY_LOCAL_MACHINE, SERVICES_PATH, parameters_of(service), name, status);
}

// ---- a product's key

void nym_get_reg_sw_string_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                                 Wstring& value, Nym_status& status) {
  nym_get_reg_string_value(HKEY_LOCAL_MACHINE, software_of(product), subkey, name, value, status);
}

void nym_get_reg_sw_uint_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                               unsigned int& value, Nym_status& status) {
  nym_get_reg_uint_value(HKEY_LOCAL_MACHINE, software_of(product), subkey, name, value, status);
}

void nym_set_reg_sw_string_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                                 const Wstring& value, Nym_status& status) {
  nym_set_reg_string_value(HKEY_LOCAL_MACHINE, software_of(product), subkey, name, value, status);
}

void nym_set_reg_sw_uint_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                               unsigned int value, Nym_status& status) {
  nym_set_reg_uint_value(HKEY_LOCAL_MACHINE, software_of(product), subkey, name, value, status);
}

void nym_remove_reg_sw_value(const Wstring& product, const Wstring& subkey, const Wstring& name,
                             Nym_status& status) {
  nym_remove_reg_value(HKEY_LOCAL_MACHINE, software_of(product), subkey, name, status);
}

}  // namespace nym
