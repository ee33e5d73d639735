// The registry functions against the real registry, under a private key of this process that
// the fixture removes whatever the test did. Raw system calls write and read back what the
// library must cope with, or must have written.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "nym/registry.h"
#include "nym/security.h"
#include "nym/string_basic.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::utf8;

namespace {

using Names = std::vector<Wstring>;

Wstring private_name() {
  Wstring name = u"nym2208-test-";
  Wstring pid;
  nym_itow(static_cast<unsigned int>(GetCurrentProcessId()), pid, 10, false);
  return name + pid;
}

const wchar_t* w(const Wstring& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

// The key path text of the library's status arguments, top first.
Wstring arg_text(const Nym_status& status, unsigned index) {
  Wstring text;
  if (index < status.num_args()) status.begin()[index]->to_string(text);
  return text;
}

Names sorted(Names names) {
  std::sort(names.begin(), names.end());
  return names;
}

// A key of its own below HKCU\Software (and HKLM\SOFTWARE for the wrappers), gone after each
// test however the test ended.
class RegistryTest : public ::testing::Test {
 protected:
  void TearDown() override {
    RegDeleteTreeW(HKEY_CURRENT_USER, w(base));
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, w(u"SOFTWARE\\" + name));
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, w(u"SYSTEM\\CurrentControlSet\\Services\\" + name));
  }

  // Raw writes: exactly these bytes, whatever they hold.
  void put(const Wstring& value, DWORD type, const void* data, DWORD bytes, const Wstring& sub = u"") {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, w(path(sub)), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExW(key, w(value), 0, type, static_cast<const BYTE*>(data), bytes), ERROR_SUCCESS);
    RegCloseKey(key);
  }
  void put_text(const Wstring& value, DWORD type, const std::u16string& units, const Wstring& sub = u"") {
    put(value, type, units.data(), static_cast<DWORD>(units.size() * 2), sub);
  }
  // Raw read: type and bytes, exactly as stored.
  std::pair<DWORD, std::string> raw(const Wstring& value, const Wstring& sub = u"") {
    DWORD type = 0;
    DWORD bytes = 0;
    std::string data;
    if (RegGetValueW(HKEY_CURRENT_USER, w(path(sub)), w(value), RRF_RT_ANY | RRF_NOEXPAND, &type, nullptr, &bytes) ==
        ERROR_SUCCESS) {
      data.resize(bytes);
      RegGetValueW(HKEY_CURRENT_USER, w(path(sub)), w(value), RRF_RT_ANY | RRF_NOEXPAND, &type, &data[0], &bytes);
      data.resize(bytes);
    }
    return {type, data};
  }
  Wstring path(const Wstring& sub = u"") const { return sub.empty() ? base : base + u"\\" + sub; }

  // Every key below `sub` with its values (type and bytes), for comparing trees.
  std::map<Wstring, std::pair<DWORD, std::string>> tree(const Wstring& sub) {
    std::map<Wstring, std::pair<DWORD, std::string>> all;
    Nym_status listed;
    Names values;
    nym_enum_reg_value_names(HKEY_CURRENT_USER, base, sub, values, listed);
    for (const Wstring& v : values) all[u"@" + v] = raw(v, sub);
    Names keys;
    nym_enum_reg_keys(HKEY_CURRENT_USER, base, sub, keys, listed);
    for (const Wstring& k : keys) {
      all[k] = {};
      for (const auto& below : tree(sub + u"\\" + k)) all[k + u"\\" + below.first] = below.second;
    }
    return all;
  }

  const Wstring name = private_name();
  const Wstring base = u"Software\\" + name;
  Nym_status status;
};

}  // namespace

TEST_F(RegistryTest, EachFormRoundTripsWithItsOwnType) {
  nym_set_reg_string_value(HKEY_CURRENT_USER, base, u"k", u"s", u"text \U0001F600", status);
  ASSERT_TRUE(status.ok());
  nym_set_reg_path_value(HKEY_CURRENT_USER, base, u"k", u"p", u"%SystemRoot%\\x", status);
  nym_set_reg_uint_value(HKEY_CURRENT_USER, base, u"k", u"u", 0xFFFFFFFEu, status);
  nym_set_reg_multi_string_value(HKEY_CURRENT_USER, base, u"k", u"m", {u"a", u"b c"}, status);
  ASSERT_TRUE(status.ok());

  EXPECT_EQ(raw(u"s", u"k").first, static_cast<DWORD>(REG_SZ));
  EXPECT_EQ(raw(u"s", u"k").second.size(), 2u * 8);  // the units and the terminating zero
  EXPECT_EQ(raw(u"p", u"k").first, static_cast<DWORD>(REG_EXPAND_SZ));
  EXPECT_EQ(raw(u"u", u"k").first, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(raw(u"m", u"k").second, std::string("a\0\0\0b\0 \0c\0\0\0\0\0", 14));

  Wstring text;
  nym_get_reg_string_value(HKEY_CURRENT_USER, base, u"k", u"s", text, status);
  EXPECT_EQ(text, u"text \U0001F600");
  nym_get_reg_path_value(HKEY_CURRENT_USER, base, u"k", u"p", text, status);
  EXPECT_EQ(text, u"%SystemRoot%\\x");  // not expanded
  unsigned int number = 0;
  nym_get_reg_uint_value(HKEY_CURRENT_USER, base, u"k", u"u", number, status);
  EXPECT_EQ(number, 0xFFFFFFFEu);
  Names texts;
  nym_get_reg_multi_string_value(HKEY_CURRENT_USER, base, u"k", u"m", texts, status);
  EXPECT_EQ(texts, (Names{u"a", u"b c"}));
  EXPECT_TRUE(status.ok());
}

TEST_F(RegistryTest, AWrongTypeOrAMissingValueLeavesTheOutArgumentAlone) {
  const DWORD number = 7;
  put(u"dword", REG_DWORD, &number, 4);
  put_text(u"sz", REG_SZ, std::u16string(u"x\0", 2));
  put_text(u"multi", REG_MULTI_SZ, std::u16string(u"x\0\0", 3));
  Wstring text = u"kept";
  unsigned int value = 99;
  Names texts{u"emptied"};

  nym_get_reg_string_value(HKEY_CURRENT_USER, base, u"", u"dword", text, status);
  EXPECT_EQ(status, NYM_S_REG_NOT_STRING);
  EXPECT_EQ(arg_text(status, 0), base);
  EXPECT_EQ(arg_text(status, 1), u"dword");
  nym_get_reg_path_value(HKEY_CURRENT_USER, base, u"", u"sz", text, status);
  EXPECT_EQ(status, NYM_S_REG_NOT_PATH);
  nym_get_reg_uint_value(HKEY_CURRENT_USER, base, u"", u"multi", value, status);
  EXPECT_EQ(status, NYM_S_REG_NOT_NUMBER);
  nym_get_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"sz", texts, status);
  EXPECT_EQ(status, NYM_S_REG_NOT_MULTI_STRING);
  EXPECT_EQ(texts, Names{});  // the multi string form empties first

  nym_get_reg_string_value(HKEY_CURRENT_USER, base, u"", u"absent", text, status);
  EXPECT_EQ(status, NYM_S_REG_VALUE_READ_FAILED);
  ASSERT_TRUE(status.has_child());
  EXPECT_EQ(*status.child(), 2u);
  nym_get_reg_uint_value(HKEY_CURRENT_USER, base, u"no such key", u"x", value, status);
  EXPECT_EQ(status, NYM_S_REG_KEY_OPEN_FAILED);
  EXPECT_EQ(arg_text(status, 0), base + u"\\no such key");
  EXPECT_TRUE(status.contains_value(2));
  EXPECT_EQ(text, u"kept");
  EXPECT_EQ(value, 99u);
}

TEST_F(RegistryTest, DataWithoutTerminatorsIsReadOnlyAsFarAsItGoes) {
  put_text(u"sz", REG_SZ, u"abc");
  put_text(u"cut", REG_SZ, std::u16string(u"ab\0cd", 5));
  put_text(u"path", REG_EXPAND_SZ, u"%TEMP%");
  put_text(u"multi", REG_MULTI_SZ, std::u16string(u"a\0bc", 4));
  put_text(u"leading empty", REG_MULTI_SZ, std::u16string(u"\0a\0\0", 4));
  put_text(u"n", REG_SZ, u"12");
  put_text(u"n2", REG_SZ, u"12x");
  put_text(u"n3", REG_SZ, u"x");
  Wstring text;
  nym_get_reg_string_value(HKEY_CURRENT_USER, base, u"", u"sz", text, status);
  EXPECT_EQ(text, u"abc");
  nym_get_reg_string_value(HKEY_CURRENT_USER, base, u"", u"cut", text, status);
  EXPECT_EQ(text, u"ab");
  nym_get_reg_path_value(HKEY_CURRENT_USER, base, u"", u"path", text, status);
  EXPECT_EQ(text, u"%TEMP%");
  Names texts;
  nym_get_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"multi", texts, status);
  EXPECT_EQ(texts, (Names{u"a", u"bc"}));
  nym_get_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"leading empty", texts, status);
  EXPECT_EQ(texts, Names{});
  for (const auto& [value, expected] : {std::pair<const char16_t*, unsigned>{u"n", 12}, {u"n2", 12}, {u"n3", 0}}) {
    unsigned int number = 99;
    nym_get_reg_uint_value(HKEY_CURRENT_USER, base, u"", value, number, status);
    EXPECT_TRUE(status.ok());
    EXPECT_EQ(number, expected) << utf8(value);
  }
}

TEST_F(RegistryTest, StringsOfAnyLengthAreReadAndPathsUpTo1024Bytes) {
  for (const std::size_t units : {511u, 512u, 100000u}) {  // 1024 bytes with the zero, 1026, far more
    const Wstring long_text(units, u'x');
    nym_set_reg_string_value(HKEY_CURRENT_USER, base, u"", u"s", long_text, status);
    Wstring text;
    nym_get_reg_string_value(HKEY_CURRENT_USER, base, u"", u"s", text, status);
    EXPECT_TRUE(status.ok());
    EXPECT_EQ(text, long_text);
  }
  Wstring text;
  nym_set_reg_path_value(HKEY_CURRENT_USER, base, u"", u"p", Wstring(511, u'y'), status);
  nym_get_reg_path_value(HKEY_CURRENT_USER, base, u"", u"p", text, status);
  EXPECT_EQ(text.size(), 511u);
  nym_set_reg_path_value(HKEY_CURRENT_USER, base, u"", u"p", Wstring(512, u'y'), status);
  nym_get_reg_path_value(HKEY_CURRENT_USER, base, u"", u"p", text, status);
  EXPECT_EQ(status, NYM_S_REG_VALUE_READ_FAILED);
  EXPECT_TRUE(status.contains_value(ERROR_MORE_DATA));
  EXPECT_EQ(text.size(), 511u);
}

TEST_F(RegistryTest, AnEmptyMultiStringIsOneZeroUnit) {
  nym_set_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"m", {}, status);
  EXPECT_EQ(raw(u"m").second, std::string(2, '\0'));
  Names texts{u"old"};
  nym_get_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"m", texts, status);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(texts, Names{});
}

TEST_F(RegistryTest, KeysAreCreatedOpenedEnumeratedAndRemovedWithTheirTrees) {
  nym_create_reg_key(HKEY_CURRENT_USER, base, u"a\\b\\c", status);
  ASSERT_TRUE(status.ok());
  nym_set_reg_uint_value(HKEY_CURRENT_USER, base, u"a\\d", u"v", 1, status);
  nym_set_reg_uint_value(HKEY_CURRENT_USER, base, u"a", u"w", 1, status);
  nym_set_reg_uint_value(HKEY_CURRENT_USER, base, u"a", u"v", 2, status);
  EXPECT_TRUE(nym_reg_key_exists(HKEY_CURRENT_USER, base, u"a\\b\\c"));
  EXPECT_FALSE(nym_reg_key_exists(HKEY_CURRENT_USER, base, u"a\\x"));

  Names names{u"stale"};
  nym_enum_reg_keys(HKEY_CURRENT_USER, base, u"a", names, status);
  EXPECT_EQ(sorted(names), (Names{u"b", u"d"}));
  nym_enum_reg_value_names(HKEY_CURRENT_USER, base, u"a", names, status);
  EXPECT_EQ(sorted(names), (Names{u"v", u"w"}));  // the system's order is not promised
  nym_enum_reg_keys(HKEY_CURRENT_USER, base, u"none", names, status);
  EXPECT_EQ(status, NYM_S_REG_KEY_OPEN_FAILED);
  EXPECT_TRUE(names.empty());

  status.clear();  // opening and closing don't clear it
  void* key = nym_open_reg_key(HKEY_CURRENT_USER, base, u"a", status);
  ASSERT_NE(key, nullptr);
  EXPECT_TRUE(nym_reg_key_exists(key, u"b", u"c"));
  nym_close_reg_key(key, status);
  EXPECT_TRUE(status.ok());
  key = nym_open_reg_key(HKEY_CURRENT_USER, base, u"none", status);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(status, NYM_S_REG_OPEN_KEY_FAILED);
  EXPECT_EQ(arg_text(status, 0), base);  // the path alone, and no system code under it
  EXPECT_FALSE(status.has_child());

  nym_remove_reg_key(HKEY_CURRENT_USER, base, u"", u"a", status);
  EXPECT_TRUE(status.ok());
  EXPECT_FALSE(nym_reg_key_exists(HKEY_CURRENT_USER, base, u"a"));
  nym_remove_reg_key(HKEY_CURRENT_USER, base, u"", u"a", status);
  EXPECT_EQ(status, NYM_S_REG_KEY_OPEN_FAILED);
}

TEST_F(RegistryTest, ValuesAreRemovedOneByOne) {
  nym_set_reg_string_value(HKEY_CURRENT_USER, base, u"", u"v", u"x", status);
  nym_remove_reg_value(HKEY_CURRENT_USER, base, u"", u"v", status);
  EXPECT_TRUE(status.ok());
  nym_remove_reg_value(HKEY_CURRENT_USER, base, u"", u"v", status);
  EXPECT_EQ(status, NYM_S_REG_VALUE_DELETE_FAILED);
  EXPECT_TRUE(status.contains_value(2));
  nym_remove_reg_value(HKEY_CURRENT_USER, base, u"none", u"v", status);
  EXPECT_EQ(status, NYM_S_REG_KEY_OPEN_FAILED);
}

TEST_F(RegistryTest, ACopyTakesEveryValueWholeAndWithRecurseTheSubtree) {
  const std::u16string big(3000, u'b');  // data far over the first read
  put_text(u"big", REG_BINARY, big, u"from");
  put_text(Wstring(300, u'n'), REG_SZ, std::u16string(u"long name\0", 10), u"from");  // a name over 256 units
  put_text(u"unterminated", REG_SZ, u"abc", u"from");
  nym_set_reg_uint_value(HKEY_CURRENT_USER, path(u"from"), u"x\\y", u"deep", 5, status);
  nym_set_reg_multi_string_value(HKEY_CURRENT_USER, path(u"from"), u"z", u"m", {u"1", u"2"}, status);

  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, path(u"flat"), false, status);
  ASSERT_TRUE(status.ok());
  auto flat = tree(u"flat");
  EXPECT_EQ(flat.size(), 3u);
  EXPECT_EQ(flat[u"@big"], raw(u"big", u"from"));

  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, path(u"to"), true, status);
  ASSERT_TRUE(status.ok());
  EXPECT_EQ(tree(u"to"), tree(u"from"));
  EXPECT_EQ(tree(u"to").size(), 8u);

  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"none"), HKEY_CURRENT_USER, path(u"x"), true, status);
  EXPECT_EQ(status, NYM_S_REG_KEY_OPEN_FAILED);
  EXPECT_FALSE(nym_reg_key_exists(HKEY_CURRENT_USER, base, u"x"));
}

TEST_F(RegistryTest, ACopyIntoItsOwnSubtreeIsRefused) {
  nym_set_reg_uint_value(HKEY_CURRENT_USER, path(u"a"), u"b", u"v", 1, status);
  for (const Wstring& to : {path(u"a\\b\\new"), path(u"A\\new"), u"software\\\\" + name + u"\\a\\x\\"}) {
    nym_copy_reg_key(HKEY_CURRENT_USER, path(u"a"), HKEY_CURRENT_USER, to, true, status);
    EXPECT_EQ(status, NYM_S_REG_COPY_INTO_ITSELF) << utf8(to);
    EXPECT_EQ(arg_text(status, 1), to);
  }
  Names names;
  nym_enum_reg_keys(HKEY_CURRENT_USER, path(u"a"), u"", names, status);
  EXPECT_EQ(names, Names{u"b"});  // nothing was made
  // Onto itself, or without subkeys, ends by itself.
  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"a"), HKEY_CURRENT_USER, path(u"a"), true, status);
  EXPECT_TRUE(status.ok());
  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"a"), HKEY_CURRENT_USER, path(u"a\\b\\flat"), false, status);
  EXPECT_TRUE(status.ok());
}

TEST_F(RegistryTest, ConnectTakesOnlyTheMachineAndUsersRoots) {
  void* root = nym_connect_reg_root(u"", HKEY_CURRENT_USER, status);
  EXPECT_EQ(root, reinterpret_cast<void*>(~static_cast<std::uintptr_t>(0)));
  EXPECT_EQ(status, NYM_S_REG_CONNECT_FAILED);
  ASSERT_TRUE(status.has_child());
  EXPECT_EQ(*status.child(), NYM_S_REG_BAD_ROOT);

  root = nym_connect_reg_root(u"", HKEY_LOCAL_MACHINE, status);
  ASSERT_TRUE(status.ok());
  EXPECT_TRUE(nym_reg_key_exists(root, u"SOFTWARE", u""));
  nym_disconnect_reg_root(root, status);
  EXPECT_TRUE(status.ok());
}

TEST_F(RegistryTest, ParameterAndProductFormsAddressTheirKeys) {
  nym_set_reg_string_parameter(name, u"s", u"value", status);
  nym_set_reg_uint_parameter(name, u"u", 17, status);
  ASSERT_TRUE(status.ok());
  EXPECT_TRUE(nym_reg_key_exists(HKEY_LOCAL_MACHINE, u"SYSTEM\\CurrentControlSet\\Services\\" + name, u"Parameters"));
  Wstring text;
  unsigned int number = 0;
  nym_get_reg_string_parameter(name, u"s", text, status);
  nym_get_reg_uint_parameter(name, u"u", number, status);
  EXPECT_EQ(text, u"value");
  EXPECT_EQ(number, 17u);
  nym_remove_reg_parameter(name, u"s", status);
  nym_get_reg_string_parameter(name, u"s", text, status);
  EXPECT_EQ(status, NYM_S_REG_VALUE_READ_FAILED);
  nym_get_reg_string_parameter(u"", u"s", text, status);  // an empty service: two backslashes
  EXPECT_EQ(arg_text(status, 0), u"SYSTEM\\CurrentControlSet\\Services\\\\Parameters");

  nym_set_reg_sw_string_value(name, u"sub", u"s", u"v", status);
  nym_set_reg_sw_uint_value(name, u"sub", u"u", 3, status);
  ASSERT_TRUE(status.ok());
  EXPECT_TRUE(nym_reg_key_exists(HKEY_LOCAL_MACHINE, u"SOFTWARE\\" + name, u"sub"));
  nym_get_reg_sw_string_value(name, u"sub", u"s", text, status);
  nym_get_reg_sw_uint_value(name, u"sub", u"u", number, status);
  EXPECT_EQ(text, u"v");
  EXPECT_EQ(number, 3u);
  nym_remove_reg_sw_value(name, u"sub", u"u", status);
  nym_get_reg_sw_uint_value(name, u"sub", u"u", number, status);
  EXPECT_EQ(status, NYM_S_REG_VALUE_READ_FAILED);
}

TEST_F(RegistryTest, SecurityIsTiedToAnOpenKey) {
  nym_create_reg_key(HKEY_CURRENT_USER, base, u"", status);
  void* key = nym_open_reg_key(HKEY_CURRENT_USER, base, u"", status);
  ASSERT_NE(key, nullptr);
  Nym_security security;
  nym_reg_add_security(key, security, status);
  EXPECT_TRUE(status.ok());
  nym_reg_add_security(key, security, status);
  EXPECT_EQ(status, NYM_S_ALREADY_ASSOCIATED);
  security.disassociate_from_object(status);
  nym_close_reg_key(key, status);
}
