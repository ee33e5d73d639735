// The registry functions against the real registry, under a key of this process's own that the
// fixture removes however the test ended. Raw calls write what the library must cope with.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "nym/registry.h"
#include "test_helpers.h"

using namespace nym;
using Names = std::vector<Wstring>;

namespace {

const wchar_t* w(const Wstring& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

Wstring arg_text(const Nym_status& status, unsigned index) {
  Wstring text;
  if (index < status.num_args()) status.begin()[index]->to_string(text);
  return text;
}

class RegistryTest : public ::testing::Test {
 protected:
  void TearDown() override {
    RegDeleteTreeW(HKEY_CURRENT_USER, w(base));
    for (const Wstring parent : {u"SOFTWARE\\", u"SYSTEM\\CurrentControlSet\\Services\\"}) {
      RegDeleteTreeW(HKEY_LOCAL_MACHINE, w(parent + name));
    }
  }
  // Exactly these units, whatever they hold.
  void put(const Wstring& value, DWORD type, const std::u16string& units, const Wstring& sub = u"") {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, w(path(sub)), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr), 0);
    RegSetValueExW(key, w(value), 0, type, reinterpret_cast<const BYTE*>(units.data()), DWORD(units.size() * 2));
    RegCloseKey(key);
  }
  // Type and bytes as stored.
  std::pair<DWORD, std::string> raw(const Wstring& value, const Wstring& sub = u"") {
    DWORD type = 0;
    std::string data(70000, '\0');
    DWORD bytes = DWORD(data.size());
    RegGetValueW(HKEY_CURRENT_USER, w(path(sub)), w(value), RRF_RT_ANY | RRF_NOEXPAND, &type, &data[0], &bytes);
    return {type, data.substr(0, bytes)};
  }
  // Every key and value below `sub`, for comparing trees.
  std::map<Wstring, std::pair<DWORD, std::string>> tree(const Wstring& sub) {
    std::map<Wstring, std::pair<DWORD, std::string>> all;
    Names names;
    Nym_status listed;
    nym_enum_reg_value_names(HKEY_CURRENT_USER, base, sub, names, listed);
    for (const Wstring& v : names) all[u"@" + v] = raw(v, sub);
    nym_enum_reg_keys(HKEY_CURRENT_USER, base, sub, names, listed);
    for (const Wstring& k : names) {
      for (const auto& below : tree(sub + u"\\" + k)) all[k + u"\\" + below.first] = below.second;
      all[k];
    }
    return all;
  }
  // What a get form reads into an out argument that held `held`.
  template <class T, class Get>
  T get(Get form, const Wstring& value, T held = T(), const Wstring& sub = u"") {
    form(HKEY_CURRENT_USER, base, sub, value, held, status);
    return held;
  }
  Wstring path(const Wstring& sub = u"") const { return sub.empty() ? base : base + u"\\" + sub; }

  const std::string pid = std::to_string(GetCurrentProcessId());
  const Wstring name = u"nym2208-test-" + Wstring(pid.begin(), pid.end()), base = u"Software\\" + name;
  Nym_status status;
};

}  // namespace

// The bytes each form writes; what the readers make of data without terminators is the
// data readers' own test, here only that the real values reach them bounded.
TEST_F(RegistryTest, EachFormRoundTripsWithItsOwnTypeAndAWrongTypeIsRefused) {
  nym_set_reg_string_value(HKEY_CURRENT_USER, base, u"", u"s", u"text \U0001F600", status);
  nym_set_reg_path_value(HKEY_CURRENT_USER, base, u"", u"p", u"%SystemRoot%\\x", status);
  nym_set_reg_uint_value(HKEY_CURRENT_USER, base, u"", u"u", 0xFFFFFFFEu, status);
  nym_set_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"m", {u"a", u"b c"}, status);
  nym_set_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"none", {}, status);
  put(u"sz", REG_SZ, u"abc");  // no terminators anywhere
  put(u"n", REG_SZ, u"12x");
  ASSERT_TRUE(status.ok());
  EXPECT_EQ(raw(u"s"), std::make_pair(DWORD(REG_SZ), std::string("t\0e\0x\0t\0 \0=\xD8\0\xDE\0\0", 16)));
  EXPECT_EQ(raw(u"p").first + raw(u"u").first, DWORD(REG_EXPAND_SZ + REG_DWORD));
  EXPECT_EQ(raw(u"m").second + raw(u"none").second, std::string("a\0\0\0b\0 \0c\0\0\0\0\0\0\0", 16));
  EXPECT_EQ(get<Wstring>(nym_get_reg_string_value, u"s"), u"text \U0001F600");
  EXPECT_EQ(get<Wstring>(nym_get_reg_path_value, u"p"), u"%SystemRoot%\\x");  // not expanded
  EXPECT_EQ(get<unsigned int>(nym_get_reg_uint_value, u"u"), 0xFFFFFFFEu);
  EXPECT_EQ(get<Names>(nym_get_reg_multi_string_value, u"m"), (Names{u"a", u"b c"}));
  EXPECT_EQ(get<Names>(nym_get_reg_multi_string_value, u"none", {u"old"}), Names{});
  EXPECT_EQ(get<Wstring>(nym_get_reg_string_value, u"sz"), u"abc");
  EXPECT_EQ(get<unsigned int>(nym_get_reg_uint_value, u"n"), 12u);
  EXPECT_TRUE(status.ok());

  EXPECT_EQ(get<Wstring>(nym_get_reg_path_value, u"sz", u"kept"), u"kept");
  EXPECT_EQ(status, NYM_S_REG_NOT_PATH);
  EXPECT_EQ(arg_text(status, 0) + u"|" + arg_text(status, 1), base + u"|sz");
  EXPECT_EQ(get<Wstring>(nym_get_reg_string_value, u"m", u"kept"), u"kept");
  EXPECT_EQ(status, NYM_S_REG_NOT_STRING);
  EXPECT_EQ(get<unsigned int>(nym_get_reg_uint_value, u"m", 7), 7u);
  EXPECT_EQ(status, NYM_S_REG_NOT_NUMBER);
  get<Names>(nym_get_reg_multi_string_value, u"sz");
  EXPECT_EQ(status, NYM_S_REG_NOT_MULTI_STRING);
  get<Wstring>(nym_get_reg_string_value, u"absent");
  EXPECT_TRUE(status == NYM_S_REG_VALUE_READ_FAILED && *status.child() == 2u);
  get<Wstring>(nym_get_reg_string_value, u"x", u"", u"none");
  EXPECT_EQ(status, NYM_S_REG_KEY_OPEN_FAILED);
  EXPECT_EQ(arg_text(status, 0), base + u"\\none");
}

TEST_F(RegistryTest, StringsOfAnyLengthAreReadAndPathsUpTo1024Bytes) {
  for (const std::size_t units : {511u, 512u, 100000u}) {  // 1024 bytes with the zero, 1026, far more
    nym_set_reg_string_value(HKEY_CURRENT_USER, base, u"", u"s", Wstring(units, u'x'), status);
    EXPECT_EQ(get<Wstring>(nym_get_reg_string_value, u"s").size(), units);
    nym_set_reg_path_value(HKEY_CURRENT_USER, base, u"", u"p", Wstring(units, u'y'), status);
    EXPECT_EQ(get<Wstring>(nym_get_reg_path_value, u"p").size(), units == 511u ? units : 0);
  }
  EXPECT_TRUE(status.contains_value(ERROR_MORE_DATA));
}

TEST_F(RegistryTest, KeysAreCreatedOpenedEnumeratedAndRemovedWithTheirTrees) {
  nym_create_reg_key(HKEY_CURRENT_USER, base, u"a\\b\\c", status);
  nym_set_reg_uint_value(HKEY_CURRENT_USER, base, u"a\\d", u"v", 1, status);
  for (const char16_t* value : {u"w", u"v"}) nym_set_reg_uint_value(HKEY_CURRENT_USER, base, u"a", value, 1, status);
  ASSERT_TRUE(status.ok());
  Names keys{u"stale"}, values;
  nym_enum_reg_keys(HKEY_CURRENT_USER, base, u"a", keys, status);
  nym_enum_reg_value_names(HKEY_CURRENT_USER, base, u"a", values, status);
  keys.insert(keys.end(), values.begin(), values.end());
  std::sort(keys.begin(), keys.end());  // the system's order is not promised
  EXPECT_EQ(keys, (Names{u"b", u"d", u"v", u"w"}));
  void* key = nym_open_reg_key(HKEY_CURRENT_USER, base, u"a", status);
  EXPECT_TRUE(nym_reg_key_exists(key, u"b", u"c"));
  nym_close_reg_key(key, status);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(nym_open_reg_key(HKEY_CURRENT_USER, base, u"none", status), nullptr);
  EXPECT_EQ(status, NYM_S_REG_OPEN_KEY_FAILED);
  EXPECT_TRUE(arg_text(status, 0) == base && !status.has_child()) << "the path alone, with no system code under it";
  nym_remove_reg_key(HKEY_CURRENT_USER, base, u"", u"a", status);
  EXPECT_TRUE(status.ok() && !nym_reg_key_exists(HKEY_CURRENT_USER, base, u"a"));
}

TEST_F(RegistryTest, ACopyTakesEveryValueWholeAndRefusesToEnterItsOwnSubtree) {
  put(u"big", REG_BINARY, std::u16string(3000, u'b'), u"from");  // far over the first read
  put(Wstring(300, u'n'), REG_SZ, u"a name over 256 units", u"from");
  nym_set_reg_uint_value(HKEY_CURRENT_USER, path(u"from"), u"x\\y", u"deep", 5, status);
  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, path(u"flat"), false, status);
  EXPECT_EQ(tree(u"flat").size(), 2u);
  EXPECT_EQ(tree(u"flat")[u"@big"], raw(u"big", u"from"));
  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, path(u"to"), true, status);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(tree(u"to"), tree(u"from"));
  EXPECT_EQ(tree(u"to").size(), 5u);

  for (const Wstring& below : {path(u"from\\x\\new"), path(u"FROM\\new"), u"software\\\\" + name + u"\\from\\x\\"}) {
    nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, below, true, status);
    EXPECT_EQ(status, NYM_S_REG_COPY_INTO_ITSELF) << nym_test::utf8(below);
  }
  EXPECT_EQ(tree(u"from").size(), 5u);  // nothing was made
  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, path(u"from"), true, status);
  EXPECT_TRUE(status.ok());  // onto itself ends by itself
}

TEST_F(RegistryTest, RootsParametersAndProductsAddressTheirKeys) {
  EXPECT_EQ(nym_connect_reg_root(u"", HKEY_CURRENT_USER, status), reinterpret_cast<void*>(~std::uintptr_t(0)));
  EXPECT_TRUE(status == NYM_S_REG_CONNECT_FAILED && *status.child() == NYM_S_REG_BAD_ROOT) << "only two roots connect";
  nym_disconnect_reg_root(nym_connect_reg_root(u"", HKEY_LOCAL_MACHINE, status), status);
  EXPECT_TRUE(status.ok());

  const Wstring services = u"SYSTEM\\CurrentControlSet\\Services\\";
  Wstring text;
  unsigned int number = 0;
  nym_set_reg_string_parameter(name, u"s", u"value", status);
  nym_set_reg_sw_uint_value(name, u"sub", u"u", 3, status);
  nym_get_reg_string_value(HKEY_LOCAL_MACHINE, services + name, u"Parameters", u"s", text, status);
  nym_get_reg_uint_value(HKEY_LOCAL_MACHINE, u"SOFTWARE\\" + name, u"sub", u"u", number, status);
  EXPECT_TRUE(text == u"value" && number == 3);
  nym_remove_reg_parameter(name, u"s", status);
  nym_get_reg_string_parameter(name, u"s", text, status);
  EXPECT_EQ(status, NYM_S_REG_VALUE_READ_FAILED);
  nym_get_reg_uint_parameter(u"", u"s", number, status);  // an empty service: two backslashes
  EXPECT_EQ(arg_text(status, 0), services + u"\\Parameters");
}
