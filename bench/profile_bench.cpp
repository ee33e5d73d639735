// Profile files of 10,000 sections with 10 keys each (100,000 keys, about 3 MiB): the cache
// loaded from and written to memory (both builds); on Windows, the editor's open, edit and
// commit beside WritePrivateProfileStringW's one edit, and the reader's open and one value
// beside GetPrivateProfileStringW's, on the same file. One item is one key.
#include <benchmark/benchmark.h>

#include <string>

#include "config/profile_format.h"
#include "nym/string_buffer.h"

#if defined(_WIN32)
#include <windows.h>

#include "nym/profile_access.h"
#include "nym/profile_reader.h"
#endif

using namespace nym;

namespace {

constexpr int SECTIONS = 10000;
constexpr int KEYS = 10;

Wstring number(int n) {
  const std::string text = std::to_string(n);
  return Wstring(text.begin(), text.end());
}

// The file as the editor writes it.
const Nstring& profile_bytes() {
  static const Nstring bytes = [] {
    impl::Profile_sections sections;
    for (int s = 0; s < SECTIONS; ++s) {
      auto section = std::make_unique<impl::Profile_section>();
      section->name = u"section" + number(s);
      section->entries.emplace_back(u"; settings of " + section->name, Wstring());
      for (int k = 0; k < KEYS; ++k) section->entries.emplace_back(u"key" + number(k), u"value " + number(s * KEYS + k));
      sections.push_back(std::move(section));
    }
    Nstring out;
    Nym_string_buffer buffer(out, true);
    Nym_status status;
    int64 end = 0;
    impl::profile_write(buffer, true, sections, end, status);
    return out;
  }();
  return bytes;
}

void BM_format_load(benchmark::State& state) {
  Nstring bytes = profile_bytes();
  Nym_string_buffer buffer(bytes, true);
  for (auto _ : state) {
    impl::Profile_sections sections;
    Nym_status status;
    impl::profile_load(buffer, true, sections, status);
    benchmark::DoNotOptimize(sections.data());
  }
  state.SetItemsProcessed(state.iterations() * SECTIONS * KEYS);
}
BENCHMARK(BM_format_load)->Unit(benchmark::kMillisecond);

void BM_format_write(benchmark::State& state) {
  Nstring bytes = profile_bytes();
  impl::Profile_sections sections;
  {
    Nym_string_buffer buffer(bytes, true);
    Nym_status status;
    impl::profile_load(buffer, true, sections, status);
  }
  for (auto _ : state) {
    Nstring out;
    Nym_string_buffer buffer(out, true);
    Nym_status status;
    int64 end = 0;
    impl::profile_write(buffer, true, sections, end, status);
    benchmark::DoNotOptimize(end);
  }
  state.SetItemsProcessed(state.iterations() * SECTIONS * KEYS);
}
BENCHMARK(BM_format_write)->Unit(benchmark::kMillisecond);

#if defined(_WIN32)

// A fresh copy of the file in the temporary folder for each benchmark.
Wstring profile_on_disk(const char* name) {
  wchar_t temp[MAX_PATH + 1];
  GetTempPathW(MAX_PATH + 1, temp);
  Wstring path = reinterpret_cast<const Wchar*>(temp);
  path += number(static_cast<int>(GetCurrentProcessId())) + u"-";
  path += Wstring(name, name + std::char_traits<char>::length(name));
  const HANDLE file = CreateFileW(reinterpret_cast<const wchar_t*>(path.c_str()), GENERIC_WRITE, 0, nullptr,
                                  CREATE_ALWAYS, 0, nullptr);
  DWORD written = 0;
  WriteFile(file, profile_bytes().data(), static_cast<DWORD>(profile_bytes().size()), &written, nullptr);
  CloseHandle(file);
  return path;
}

const wchar_t* win(const Wstring& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

// Open, change one value in the middle section, add a section, commit (backup and rewrite),
// close (backup removed).
void BM_access_open_edit_commit(benchmark::State& state) {
  const Wstring path = profile_on_disk("access.ini");
  int round = 0;
  for (auto _ : state) {
    Nym_status status;
    Nym_profile_access profile(path, NYM_FILE_MUST_EXIST, NYM_ACCESS_READ_WRITE, status);
    profile.set_current_section(u"section5000", status);
    profile.move_to_key(u"key5", status);
    profile.delete_entry(status);
    profile.insert_entry({u"key5", u"changed " + number(++round)}, status);
    profile.create_new_section(u"new" + number(round), status);
    profile.insert_entry({u"k", u"v"}, status);
    profile.close(status);
    if (status.is_error()) state.SkipWithError("profile edit failed");
  }
  state.SetItemsProcessed(state.iterations() * SECTIONS * KEYS);
  DeleteFileW(win(path));
}
BENCHMARK(BM_access_open_edit_commit)->Unit(benchmark::kMillisecond);

// The system's one edit: it too reads and rewrites the whole file.
void BM_win32_write_one_value(benchmark::State& state) {
  const Wstring path = profile_on_disk("win32.ini");
  int round = 0;
  for (auto _ : state) {
    const Wstring value = u"changed " + number(++round);
    if (!WritePrivateProfileStringW(L"section5000", L"key5", win(value), win(path))) {
      state.SkipWithError("WritePrivateProfileStringW failed");
    }
  }
  state.SetItemsProcessed(state.iterations() * SECTIONS * KEYS);
  DeleteFileW(win(path));
}
BENCHMARK(BM_win32_write_one_value)->Unit(benchmark::kMillisecond);

void BM_reader_open_get(benchmark::State& state) {
  const Wstring path = profile_on_disk("reader.ini");
  for (auto _ : state) {
    Nym_status status;
    Nym_profile_reader reader(path, status);
    reader.set_current_section(u"section9999", status);
    reader.move_to_key(u"key9", status);
    std::pair<Wstring, Wstring> entry;
    reader.get_current_entry(entry, status);
    if (status.is_error()) state.SkipWithError("profile read failed");
    benchmark::DoNotOptimize(entry);
  }
  state.SetItemsProcessed(state.iterations() * SECTIONS * KEYS);
  DeleteFileW(win(path));
}
BENCHMARK(BM_reader_open_get)->Unit(benchmark::kMillisecond);

void BM_win32_get_one_value(benchmark::State& state) {
  const Wstring path = profile_on_disk("win32-get.ini");
  wchar_t value[64];
  for (auto _ : state) {
    GetPrivateProfileStringW(L"section9999", L"key9", L"", value, 64, win(path));
    benchmark::DoNotOptimize(value);
  }
  state.SetItemsProcessed(state.iterations() * SECTIONS * KEYS);
  DeleteFileW(win(path));
}
BENCHMARK(BM_win32_get_one_value)->Unit(benchmark::kMillisecond);

#endif

}  // namespace
