// Editing an access list by trustee beside the system's own editor (SetEntriesInAclW): adding
// a trustee to a list of n entries, and widening the rights of one already in it. Both sides
// make a new list from the same one each time.
#include <benchmark/benchmark.h>

#include <windows.h>

#include <aclapi.h>

#include <string>
#include <vector>

#include "nym/acl.h"
#include "nym/string_basic.h"

using namespace nym;

namespace {

Nym_security_id trustee(int n) {
  Wstring text = u"S-1-5-21-1-2-3-";
  nym_string_append(text, std::to_string(1000 + n).c_str());
  const Nym_security_id id(text);
  (void)static_cast<_SID*>(id);  // converted once, outside the loop
  return id;
}

Nym_acl list_of(int entries) {
  Nym_acl acl;
  Nym_status status;
  for (int i = 0; i < entries; ++i) acl.set_rights(trustee(i), NYM_ACCESS_ALLOW, 0x1, 0, status);
  return acl;
}

void nym_edit(benchmark::State& state, int who) {
  const int n = static_cast<int>(state.range(0));
  const Nym_acl base = list_of(n);
  const Nym_security_id id = trustee(who < 0 ? n : who);
  Nym_status status;
  for (auto _ : state) {
    Nym_acl acl(base, status);
    acl.set_rights(id, NYM_ACCESS_ALLOW, 0x2, 0, status);
    benchmark::DoNotOptimize(status.value());
  }
}

void system_edit(benchmark::State& state, int who) {
  const int n = static_cast<int>(state.range(0));
  const Nym_acl base = list_of(n);
  const Nym_security_id id = trustee(who < 0 ? n : who);
  Nym_status status;
  // The same list, built by the system from the library's entries.
  Nym_access_modes mode;
  unsigned int rights = 0;
  unsigned char flags = 0;
  std::vector<EXPLICIT_ACCESSW> rows(static_cast<std::size_t>(n));
  std::vector<Nym_security_id> sids(static_cast<std::size_t>(n));
  PACL old_list = nullptr;
  for (int i = 0; i < n; ++i) {
    base.get_entry(static_cast<unsigned int>(i), sids[static_cast<std::size_t>(i)], mode, rights, flags, status);
    BuildExplicitAccessWithNameW(&rows[static_cast<std::size_t>(i)], nullptr, rights, GRANT_ACCESS, NO_INHERITANCE);
    rows[static_cast<std::size_t>(i)].Trustee.TrusteeForm = TRUSTEE_IS_SID;
    rows[static_cast<std::size_t>(i)].Trustee.ptstrName =
        reinterpret_cast<LPWSTR>(static_cast<_SID*>(sids[static_cast<std::size_t>(i)]));
  }
  if (SetEntriesInAclW(static_cast<ULONG>(n), rows.data(), nullptr, &old_list) != 0) state.SkipWithError("setup");
  EXPLICIT_ACCESSW add;
  BuildExplicitAccessWithNameW(&add, nullptr, 0x2, GRANT_ACCESS, NO_INHERITANCE);
  add.Trustee.TrusteeForm = TRUSTEE_IS_SID;
  add.Trustee.ptstrName = reinterpret_cast<LPWSTR>(static_cast<_SID*>(id));
  for (auto _ : state) {
    PACL result = nullptr;
    benchmark::DoNotOptimize(SetEntriesInAclW(1, &add, old_list, &result));
    LocalFree(result);
  }
  LocalFree(old_list);
}

}  // namespace

static void BM_nym_add_trustee(benchmark::State& state) { nym_edit(state, -1); }
static void BM_system_add_trustee(benchmark::State& state) { system_edit(state, -1); }
static void BM_nym_widen_trustee(benchmark::State& state) { nym_edit(state, 0); }
static void BM_system_widen_trustee(benchmark::State& state) { system_edit(state, 0); }
BENCHMARK(BM_nym_add_trustee)->Arg(8)->Arg(64);
BENCHMARK(BM_system_add_trustee)->Arg(8)->Arg(64);
BENCHMARK(BM_nym_widen_trustee)->Arg(8)->Arg(64);
BENCHMARK(BM_system_widen_trustee)->Arg(8)->Arg(64);
