// nym acl PATH|KEY: the discretionary list of a file, a directory or a registry key, one entry a
// line: mode, trustee, rights in hex and by name where they are standard, inheritance flags.
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "commands.h"
#include "nym/security.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

struct Named_bit {
  unsigned int bit;
  const char* name;
};

const Named_bit RIGHTS[] = {
    {GENERIC_READ, "GENERIC_READ"},
    {GENERIC_WRITE, "GENERIC_WRITE"},
    {GENERIC_EXECUTE, "GENERIC_EXECUTE"},
    {GENERIC_ALL, "GENERIC_ALL"},
    {MAXIMUM_ALLOWED, "MAXIMUM_ALLOWED"},
    {ACCESS_SYSTEM_SECURITY, "ACCESS_SYSTEM_SECURITY"},
    {SYNCHRONIZE, "SYNCHRONIZE"},
    {WRITE_OWNER, "WRITE_OWNER"},
    {WRITE_DAC, "WRITE_DAC"},
    {READ_CONTROL, "READ_CONTROL"},
    {DELETE, "DELETE"},
};

const Named_bit FLAGS[] = {{OBJECT_INHERIT_ACE, "OI"},
                           {CONTAINER_INHERIT_ACE, "CI"},
                           {NO_PROPAGATE_INHERIT_ACE, "NP"},
                           {INHERIT_ONLY_ACE, "IO"},
                           {INHERITED_ACE, "ID"}};

const char* const MODES[] = {"allow", "deny", "audit", "other"};

// Registry roots as the user writes them, and as the system's named-object calls want them.
const struct {
  const char* given;
  const char* object;
} ROOTS[] = {{"HKLM", "MACHINE"},      {"HKEY_LOCAL_MACHINE", "MACHINE"},
             {"HKCU", "CURRENT_USER"}, {"HKEY_CURRENT_USER", "CURRENT_USER"},
             {"HKU", "USERS"},         {"HKEY_USERS", "USERS"},
             {"HKCR", "CLASSES_ROOT"}, {"HKEY_CLASSES_ROOT", "CLASSES_ROOT"},
             {"MACHINE", "MACHINE"},   {"CURRENT_USER", "CURRENT_USER"},
             {"USERS", "USERS"},       {"CLASSES_ROOT", "CLASSES_ROOT"}};

// A registry key's name for the system, or empty when `text` names no key.
std::string key_name(const std::string& text) {
  for (const auto& root : ROOTS) {
    const std::size_t n = std::strlen(root.given);
    if (text.size() >= n && _strnicmp(text.c_str(), root.given, n) == 0 && (text.size() == n || text[n] == '\\')) {
      return root.object + text.substr(n);
    }
  }
  return std::string();
}

std::string trustee(const nym::Nym_security_id& sid) {
  const std::string text = utf8(static_cast<nym::Wstring>(sid));
  try {
    return utf8(sid.account_name()) + " (" + text + ")";
  } catch (const std::runtime_error&) {
    return text;
  }
}

std::string names_of(unsigned int value, const Named_bit* table, std::size_t count) {
  std::string out;
  for (std::size_t i = 0; i < count; ++i) {
    if ((value & table[i].bit) == 0) continue;
    out += out.empty() ? "" : "|";
    out += table[i].name;
    value &= ~table[i].bit;
  }
  if (value != 0) {
    char rest[16];
    std::snprintf(rest, sizeof rest, "0x%X", value);
    out += (out.empty() ? "" : "|") + std::string(rest);
  }
  return out;
}

}  // namespace

int run_acl(const Words& words) {
  if (words.size() != 1 || words[0].empty()) {
    std::fprintf(stderr, "usage: nym acl PATH|KEY  (a key starts with HKLM\\, HKCU\\, HKU\\ or HKCR\\)\n");
    return 2;
  }
  const std::string key = key_name(words[0]);
  nym::Wstring name;
  nym::nym_string_append(name, (key.empty() ? words[0] : key).c_str());
  nym::Nym_security security;
  nym::Nym_status status;
  security.associate_with_object(key.empty() ? nym::NYM_SEC_OBJ_FILE : nym::NYM_SEC_OBJ_REGISTRY, name, status);
  std::unique_ptr<nym::Nym_acl> acl(security.get_disc_acl(status));
  if (acl == nullptr) {
    std::fprintf(stderr, "nym acl: %s: cannot read its list (0x%08X", words[0].c_str(), status.value());
    for (const nym::Nym_status* cause = status.child(); cause != nullptr; cause = cause->child()) {
      std::fprintf(stderr, " above 0x%08X", cause->value());
    }
    std::fprintf(stderr, ")\n");
    return 1;
  }
  nym::Nym_status null_status;
  if (acl->standard_rights_equal(nym::Nym_acl(static_cast<_ACL*>(nullptr), null_status))) {
    std::printf("no list: everyone has every right\n");
    return 0;
  }
  unsigned int count = 0;
  acl->get_entry_count(count, status);
  if (count == 0) std::printf("empty list: nobody has access\n");
  for (unsigned int i = 0; i < count; ++i) {
    nym::Nym_security_id sid;
    nym::Nym_access_modes mode = nym::NYM_ACCESS_OTHER;
    unsigned int rights = 0;
    unsigned char flags = 0;
    acl->get_entry(i, sid, mode, rights, flags, status);
    if (status.is_error()) {
      std::printf("%-5s (entry %u unreadable: 0x%08X)\n", "?", i, status.value());
      continue;
    }
    const std::string flag_text = flags != 0 ? "  [" + names_of(flags, FLAGS, 5) + "]" : "";
    std::printf("%-5s  %s  0x%08X  %s%s\n", MODES[mode], trustee(sid).c_str(), rights,
                names_of(rights, RIGHTS, sizeof RIGHTS / sizeof RIGHTS[0]).c_str(), flag_text.c_str());
  }
  return 0;
}

}  // namespace nym_tool
