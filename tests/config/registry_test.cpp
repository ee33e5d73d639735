// The registry functions against the real registry, under a key of this process's own; raw
// calls write what the library must cope with.
#include <windows.h>

#include <gtest/gtest.h>

#include <map>

#include "nym/registry.h"
#include "test_helpers.h"

using namespace nym;
using Names = std::vector<Wstring>;

namespace {

const wchar_t* w(const Wstring& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }

template <class... Texts>
Nym_status with(unsigned int code, const Texts&... texts) {
  return Nym_status(code, Nym_wstring_status_arg(Wstring(texts))...);
}

class RegistryTest : public ::testing::Test {
 protected:
  void TearDown() override { RegDeleteTreeW(HKEY_CURRENT_USER, w(base)); }
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

// The bytes each form writes; the data readers' own test covers data without terminators.
TEST_F(RegistryTest, EachFormRoundTripsWithItsOwnTypeAndAWrongTypeIsRefused) {
  nym_set_reg_string_value(HKEY_CURRENT_USER, base, u"", u"s", u"text \U0001F600", status);
  nym_set_reg_path_value(HKEY_CURRENT_USER, base, u"", u"p", u"%SystemRoot%\\x", status);
  nym_set_reg_uint_value(HKEY_CURRENT_USER, base, u"", u"u", 0xFFFFFFFEu, status);
  nym_set_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"m", {u"a", u"b c"}, status);
  nym_set_reg_multi_string_value(HKEY_CURRENT_USER, base, u"", u"none", {}, status);
  put(u"sz", REG_SZ, u"abc");  // no terminators anywhere
  ASSERT_TRUE(status.ok());
  EXPECT_EQ(raw(u"s"), std::make_pair(DWORD(REG_SZ), std::string("t\0e\0x\0t\0 \0=\xD8\0\xDE\0\0", 16)));
  EXPECT_EQ(raw(u"p").first + raw(u"u").first, DWORD(REG_EXPAND_SZ + REG_DWORD));
  EXPECT_EQ(raw(u"m").second + raw(u"none").second, std::string("a\0\0\0b\0 \0c\0\0\0\0\0\0\0", 16));
  EXPECT_EQ(get<Wstring>(nym_get_reg_string_value, u"s"), u"text \U0001F600");
  EXPECT_EQ(get<Wstring>(nym_get_reg_path_value, u"p"), u"%SystemRoot%\\x");  // not expanded
  EXPECT_EQ(get<unsigned int>(nym_get_reg_uint_value, u"u"), 0xFFFFFFFEu);
  EXPECT_EQ(get<Names>(nym_get_reg_multi_string_value, u"m"), (Names{u"a", u"b c"}));
  EXPECT_EQ(get<Wstring>(nym_get_reg_string_value, u"sz"), u"abc");
  EXPECT_TRUE(status.ok());

  EXPECT_EQ(get<Wstring>(nym_get_reg_path_value, u"sz", u"kept"), u"kept");
  EXPECT_TRUE(status.compare(with(NYM_S_REG_NOT_PATH, base, u"sz"), true, false));
  EXPECT_TRUE(get<Wstring>(nym_get_reg_string_value, u"m", u"kept") == u"kept" && status == NYM_S_REG_NOT_STRING);
  EXPECT_TRUE(get<unsigned int>(nym_get_reg_uint_value, u"m", 7) == 7u && status == NYM_S_REG_NOT_NUMBER);
  get<Wstring>(nym_get_reg_string_value, u"absent");
  EXPECT_TRUE(status == NYM_S_REG_VALUE_READ_FAILED && *status.child() == 2u);
  get<Wstring>(nym_get_reg_string_value, u"x", u"", u"none");
  EXPECT_TRUE(status.compare(with(NYM_S_REG_KEY_OPEN_FAILED, base + u"\\none"), true, false));
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

TEST_F(RegistryTest, KeysAndACopyThatTakesEveryValueWholeAndRefusesToEnterItsOwnSubtree) {
  put(u"big", REG_BINARY, std::u16string(3000, u'b'), u"from");  // far over the first read
  put(Wstring(300, u'n'), REG_SZ, u"a name over 256 units", u"from");
  nym_set_reg_uint_value(HKEY_CURRENT_USER, path(u"from"), u"x\\y", u"deep", 5, status);
  nym_create_reg_key(HKEY_CURRENT_USER, base, u"from\\e", status);
  void* key = nym_open_reg_key(HKEY_CURRENT_USER, base, u"from", status);
  nym_close_reg_key(key, status);
  EXPECT_TRUE(status.ok() && key != nullptr);
  EXPECT_EQ(nym_open_reg_key(HKEY_CURRENT_USER, base, u"none", status), nullptr);
  EXPECT_TRUE(status.compare(with(NYM_S_REG_OPEN_KEY_FAILED, base), true, true)) << "no system code under it";
  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, path(u"flat"), false, status);
  EXPECT_EQ(tree(u"flat").size(), 2u);
  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, path(u"to"), true, status);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(tree(u"to"), tree(u"from"));
  EXPECT_EQ(tree(u"to").size(), 6u) << "the enumerations found every key and value";

  for (const Wstring& below : {path(u"from\\x\\new"), path(u"FROM\\new"), u"software\\\\" + name + u"\\from\\x\\"}) {
    nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, below, true, status);
    EXPECT_EQ(status, NYM_S_REG_COPY_INTO_ITSELF) << nym_test::utf8(below);
  }
  EXPECT_EQ(tree(u"from").size(), 6u);  // nothing was made
  nym_copy_reg_key(HKEY_CURRENT_USER, path(u"from"), HKEY_CURRENT_USER, path(u"from"), true, status);
  EXPECT_TRUE(status.ok());  // onto itself ends by itself
  nym_remove_reg_key(HKEY_CURRENT_USER, base, u"", u"to", status);
  EXPECT_TRUE(status.ok() && !nym_reg_key_exists(HKEY_CURRENT_USER, base, u"to"));
}
