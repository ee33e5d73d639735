// nym sid NAME|S-1-...: a trustee in its three forms, each made from the one given.
#include <windows.h>

#include <cstdio>
#include <stdexcept>

#include "commands.h"
#include "nym/security_id.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

const char* const USE_NAMES[] = {
    "",        "user",    "group",    "domain", "alias",        "well-known group", "deleted account",
    "invalid", "unknown", "computer", "label",  "logon session"};

}  // namespace

int run_sid(const Words& words) {
  if (words.size() != 1 || words[0].empty()) {
    std::fprintf(stderr, "usage: nym sid NAME|S-1-...\n");
    return 2;
  }
  nym::Wstring given;
  nym::nym_string_append(given, words[0].c_str());
  const nym::Nym_security_id id(given);
  // The binary form decides whether the system knows the trustee; the account is then read back
  // from it, so that a name prints as the system spells it.
  _SID* sid = nullptr;
  std::string binary_error;
  try {
    sid = id;
  } catch (const std::runtime_error& e) {
    binary_error = e.what();
  }
  try {
    const nym::Wstring account = sid != nullptr ? nym::Nym_security_id(sid).account_name() : id.account_name();
    std::printf("account:  %s\n", utf8(account).c_str());
  } catch (const std::runtime_error& e) {
    std::printf("account:  (%s)\n", e.what());
  }
  try {
    std::printf("string:   %s\n", utf8(static_cast<nym::Wstring>(id)).c_str());
  } catch (const std::runtime_error& e) {
    std::printf("string:   (%s)\n", e.what());
  }
  if (sid == nullptr) {
    std::printf("binary:   (%s)\n", binary_error.c_str());
    return 1;
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(sid);
  std::printf("binary:  ");
  for (DWORD i = 0; i < GetLengthSid(sid); ++i) std::printf(" %02X", bytes[i]);
  std::printf("\n");
  try {
    const int use = id.sid_type();
    const bool named = use > 0 && use < static_cast<int>(sizeof USE_NAMES / sizeof USE_NAMES[0]);
    std::printf("type:     %d (%s)\n", use, named ? USE_NAMES[use] : "?");
  } catch (const std::runtime_error& e) {
    std::printf("type:     (%s)\n", e.what());
  }
  return 0;
}

}  // namespace nym_tool
