// nym reg get|set|list KEY [VALUE]: a registry value by its type, a string or number written
// to one, or the subkeys and value names of a key. KEY begins with its root (HKLM, HKCU, HKU,
// HKCR or their long names); for get and set its last part names the value.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "commands.h"
#include "nym/registry.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

const struct {
  const char* name;
  HKEY key;
} ROOTS[] = {{"HKLM", HKEY_LOCAL_MACHINE}, {"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
             {"HKCU", HKEY_CURRENT_USER},  {"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
             {"HKU", HKEY_USERS},          {"HKEY_USERS", HKEY_USERS},
             {"HKCR", HKEY_CLASSES_ROOT},  {"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT}};

struct Key {
  HKEY root = nullptr;
  nym::Wstring path;  // below the root
  nym::Wstring name;  // the last part, for get and set
};

bool parse_key(const std::string& text, bool with_name, Key& key) {
  const std::size_t slash = text.find('\\');
  const std::string root = text.substr(0, slash);
  for (const auto& r : ROOTS) {
    if (_stricmp(root.c_str(), r.name) == 0) key.root = r.key;
  }
  if (key.root == nullptr) return false;
  nym::Wstring rest;
  if (slash != std::string::npos) nym::nym_string_append(rest, text.c_str() + slash + 1);
  if (!with_name) {
    key.path = rest;
    return true;
  }
  const std::size_t last = rest.rfind(u'\\');
  key.path = last == nym::Wstring::npos ? nym::Wstring() : rest.substr(0, last);
  key.name = last == nym::Wstring::npos ? rest : rest.substr(last + 1);
  return true;
}

int report(const nym::Nym_status& status) { return nym_tool::report("reg", status); }

int show(const char* kind, const nym::Wstring& text) {
  std::printf("%-8s%s\n", kind, utf8(text).c_str());
  return 0;
}

// Each form in turn, until one takes the value's type.
int get(const Key& key) {
  nym::Nym_status status;
  nym::Wstring text;
  nym::nym_get_reg_string_value(key.root, key.path, nym::Wstring(), key.name, text, status);
  if (status.ok()) return show("string:", text);
  if (status != nym::NYM_S_REG_NOT_STRING) return report(status);
  nym::nym_get_reg_path_value(key.root, key.path, nym::Wstring(), key.name, text, status);
  if (status.ok()) return show("path:", text);
  if (status != nym::NYM_S_REG_NOT_PATH) return report(status);
  unsigned int number = 0;
  nym::nym_get_reg_uint_value(key.root, key.path, nym::Wstring(), key.name, number, status);
  if (status.ok()) {
    std::printf("%-8s%u (0x%X)\n", "uint:", number, number);
    return 0;
  }
  if (status != nym::NYM_S_REG_NOT_NUMBER) return report(status);
  std::vector<nym::Wstring> texts;
  nym::nym_get_reg_multi_string_value(key.root, key.path, nym::Wstring(), key.name, texts, status);
  if (status.is_error()) return report(status);
  std::printf("%-8s%zu texts\n", "multi:", texts.size());
  for (const nym::Wstring& t : texts) std::printf("        %s\n", utf8(t).c_str());
  return 0;
}

// "dword:N" (decimal or 0x hexadecimal) writes a number, anything else a string.
int set(const Key& key, const std::string& value) {
  nym::Nym_status status;
  if (value.compare(0, 6, "dword:") == 0) {
    char* end = nullptr;
    const unsigned long long number = std::strtoull(value.c_str() + 6, &end, 0);
    if (value.size() == 6 || *end != '\0' || number > 0xFFFFFFFFull) {
      std::fprintf(stderr, "nym reg: '%s' is no 32-bit number\n", value.c_str() + 6);
      return 2;
    }
    nym::nym_set_reg_uint_value(key.root, key.path, nym::Wstring(), key.name, static_cast<unsigned int>(number),
                                status);
  } else {
    nym::Wstring text;
    nym::nym_string_append(text, value.c_str());
    nym::nym_set_reg_string_value(key.root, key.path, nym::Wstring(), key.name, text, status);
  }
  if (status.is_error()) return report(status);
  std::printf("written\n");
  return 0;
}

int list(const Key& key) {
  nym::Nym_status status;
  std::vector<nym::Wstring> names;
  nym::nym_enum_reg_keys(key.root, key.path, nym::Wstring(), names, status);
  if (status.is_error()) return report(status);
  for (const nym::Wstring& n : names) std::printf("%s\\\n", utf8(n).c_str());
  nym::nym_enum_reg_value_names(key.root, key.path, nym::Wstring(), names, status);
  if (status.is_error()) return report(status);
  for (const nym::Wstring& n : names) std::printf("%s\n", n.empty() ? "(default)" : utf8(n).c_str());
  return 0;
}

}  // namespace

int run_reg(const Words& words) {
  const std::string verb = words.empty() ? std::string() : words[0];
  const bool fits = (verb == "get" && words.size() == 2) || (verb == "list" && words.size() == 2) ||
                    (verb == "set" && words.size() == 3);
  Key key;
  if (!fits || !parse_key(words[1], verb != "list", key)) {
    std::fprintf(stderr,
                 "usage: nym reg get|set|list KEY [VALUE]  (KEY: HKLM|HKCU|HKU|HKCR\\path, ending in the value's\n"
                 "       name for get and set; VALUE: text, or dword:N for a number)\n");
    return 2;
  }
  if (verb == "get") return get(key);
  if (verb == "set") return set(key, words[2]);
  return list(key);
}

}  // namespace nym_tool
