#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "nym/security.h"
#include "security_fixture.h"
#include "test_helpers.h"
#include "test_platform.h"

using namespace nym;
using nym_test::list_of;
using nym_test::what_of;

namespace {

const Nym_security_id USER(NYM_TRUSTEE_CURRENT_PROCESS_USER);

Nym_acl list_for(const Wstring& who, unsigned int rights) {
  Nym_status status;
  Nym_acl acl;
  acl.set_rights(USER, NYM_ACCESS_ALLOW, KEY_ALL_ACCESS | EVENT_ALL_ACCESS, 0, status);
  acl.set_rights(Nym_security_id(who), NYM_ACCESS_ALLOW, rights, 0, status);
  return acl;
}

SECURITY_ATTRIBUTES* attributes_of(Nym_security& security) {
  return static_cast<SECURITY_ATTRIBUTES*>(static_cast<void*>(security.security_attributes(false)));
}

// The list an event made with these attributes ends up with.
std::unique_ptr<Nym_acl> list_given(SECURITY_ATTRIBUTES* attributes) {
  HANDLE event = CreateEventW(attributes, TRUE, FALSE, nullptr);
  EXPECT_NE(event, nullptr);
  auto list = list_of(event, SE_KERNEL_OBJECT);
  CloseHandle(event);
  return list;
}

bool same(const std::unique_ptr<Nym_acl>& read, const Nym_acl& expected) {
  return read != nullptr && read->standard_rights_equal(expected);
}

bool is_null(const Nym_acl& acl) {
  Nym_status status;
  return acl.standard_rights_equal(Nym_acl(static_cast<_ACL*>(nullptr), status));
}

unsigned int count_of(const Nym_acl& acl) {
  unsigned int count = 0;
  Nym_status status;
  acl.get_entry_count(count, status);
  return count;
}

// A registry key of this test's own, deleted at the end.
class Test_key {
 public:
  Test_key() {
    path = u"Software\\nym2208-tests\\security-";
    nym_string_append(path, std::to_string(GetCurrentProcessId()).c_str());
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, impl_path(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              0);
  }
  ~Test_key() {
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_CURRENT_USER, impl_path());
  }
  Wstring name() const { return u"CURRENT_USER\\" + path; }

  HKEY key = nullptr;
  Wstring path;

 private:
  const wchar_t* impl_path() const { return reinterpret_cast<const wchar_t*>(path.c_str()); }
};

}  // namespace

TEST(SecurityTest, TyingRulesAndFixedAnswers) {
  Nym_security security;
  Nym_status status;
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, INVALID_HANDLE_VALUE, status);
  EXPECT_EQ(status, NYM_S_BAD_OBJECT_HANDLE);
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, static_cast<void*>(nullptr), status);
  EXPECT_EQ(status, NYM_S_BAD_OBJECT_HANDLE);
  security.associate_with_object(NYM_SEC_OBJ_REGISTRY, Wstring(u"CURRENT_USER\\Software"), status);
  EXPECT_TRUE(status.is_clear());
  security.associate_with_object(NYM_SEC_OBJ_REGISTRY, Wstring(u"CURRENT_USER\\Software"), status);
  EXPECT_EQ(status, NYM_S_ALREADY_ASSOCIATED);
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, reinterpret_cast<void*>(0x44), status);  // not read yet
  EXPECT_EQ(status, NYM_S_ALREADY_ASSOCIATED);
  security.disassociate_from_object(status, true);
  EXPECT_EQ(what_of([&] { security.associate_with_object(static_cast<Nym_sec_obj_type>(5), Wstring(u"x"), status); }),
            "Invalid argument to Nym_security::map_object_type()");
  EXPECT_EQ(what_of([&] { security.get_sec_acl(status); }), "Nym_security::get_sec_acl not implemented");
  EXPECT_EQ(what_of([&] { security.set_sec_acl(Nym_acl(), status, true); }),
            "Nym_security::set_sec_acl not implemented");
  SECURITY_ATTRIBUTES* inherit =
      static_cast<SECURITY_ATTRIBUTES*>(static_cast<void*>(security.security_attributes(true)));
  EXPECT_EQ(inherit->bInheritHandle, TRUE);
  EXPECT_EQ(inherit->nLength, sizeof(SECURITY_ATTRIBUTES));
  EXPECT_EQ(attributes_of(security), inherit);
  EXPECT_EQ(inherit->bInheritHandle, FALSE);
}

TEST(SecurityTest, CreatedObjectsGetTheListHeld) {
  Nym_status status;
  Nym_security closed(false, status);
  const auto closed_list = list_given(attributes_of(closed));
  ASSERT_NE(closed_list, nullptr);
  EXPECT_FALSE(is_null(*closed_list));
  EXPECT_EQ(count_of(*closed_list), 0u);
  Nym_security open(true, status);
  const auto open_list = list_given(attributes_of(open));
  ASSERT_NE(open_list, nullptr);
  EXPECT_TRUE(is_null(*open_list));
  // A free object answers copies of what it holds.
  std::unique_ptr<Nym_acl> held(open.get_disc_acl(status));
  ASSERT_NE(held, nullptr);
  EXPECT_TRUE(is_null(*held));
  const Nym_acl chosen = list_for(u"S-1-5-32-545", EVENT_MODIFY_STATE);
  Nym_security mine(const_cast<Nym_acl&>(chosen), status);
  held.reset(mine.get_disc_acl(status));
  EXPECT_TRUE(same(held, chosen));
  EXPECT_TRUE(same(list_given(attributes_of(mine)), chosen));
}

TEST(SecurityTest, ListsRoundTripOnKeysAndKernelObjectsAndMergeOnRequest) {
  Test_key key;
  const Nym_acl first = list_for(u"S-1-5-32-545", KEY_READ);
  const Nym_acl second = list_for(u"S-1-5-32-551", KEY_WRITE);
  Nym_status status;
  Nym_security by_handle;
  by_handle.associate_with_object(NYM_SEC_OBJ_REGISTRY, static_cast<void*>(key.key), status);
  by_handle.set_disc_acl(first, status, false);
  ASSERT_TRUE(status.ok()) << std::hex << status.value();
  Nym_security by_name;
  by_name.associate_with_object(NYM_SEC_OBJ_REGISTRY, key.name(), status);
  std::unique_ptr<Nym_acl> read(by_name.get_disc_acl(status));
  ASSERT_TRUE(status.ok()) << std::hex << status.value();
  EXPECT_TRUE(same(read, first));
  by_name.set_disc_acl(second, status, true);  // the key's entries join the new ones
  read.reset(by_handle.get_disc_acl(status));
  Nym_acl both(second, status);
  both.merge(first, status);
  EXPECT_TRUE(same(read, both));
  EXPECT_EQ(count_of(*read), 3u);
  by_handle.set_disc_acl(second, status, false);
  read.reset(by_name.get_disc_acl(status));
  EXPECT_TRUE(same(read, second));

  HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  Nym_security kernel;
  kernel.associate_with_object(NYM_SEC_OBJ_KERNEL, event, status);
  kernel.set_disc_acl(first, status, false);
  ASSERT_TRUE(status.ok());
  EXPECT_TRUE(same(list_of(event, SE_KERNEL_OBJECT), first));
  CloseHandle(event);
}

// The creation attributes follow every change of descriptor: a tied read, a failed one, untying
// (the system's default then) and a list set afterwards.
TEST(SecurityTest, CreationAttributesFollowTheDescriptorHeld) {
  Test_key key;
  const Nym_acl keys = list_for(u"S-1-5-32-545", KEY_READ);
  const Nym_acl later = list_for(u"S-1-5-32-551", EVENT_MODIFY_STATE);
  Nym_status status;
  Nym_security security(true, status);
  SECURITY_ATTRIBUTES* attributes = attributes_of(security);
  security.associate_with_object(NYM_SEC_OBJ_REGISTRY, static_cast<void*>(key.key), status);
  security.set_disc_acl(keys, status, false);
  std::unique_ptr<Nym_acl> read(security.get_disc_acl(status));
  ASSERT_TRUE(status.ok());
  EXPECT_TRUE(same(list_given(attributes), keys));

  security.disassociate_from_object(status, true);
  security.associate_with_object(NYM_SEC_OBJ_REGISTRY, Wstring(u"CURRENT_USER\\Software\\no such key 7d1"), status);
  read.reset(security.get_disc_acl(status));
  EXPECT_EQ(read, nullptr);
  EXPECT_EQ(status, NYM_S_SECURITY_READ_FAILED);
  EXPECT_TRUE(status.contains_value(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(attributes->lpSecurityDescriptor, nullptr);  // untied, nothing read since

  const auto by_default = list_given(nullptr);
  const auto after_untying = list_given(attributes);
  ASSERT_NE(by_default, nullptr);
  EXPECT_TRUE(same(after_untying, *by_default));
  read.reset(security.get_disc_acl(status));
  EXPECT_EQ(status, NYM_S_SECURITY_READ_FAILED);

  security.disassociate_from_object(status, true);
  security.set_disc_acl(later, status, false);
  ASSERT_TRUE(status.ok());
  EXPECT_TRUE(same(list_given(attributes), later));
  security.associate_with_object(NYM_SEC_OBJ_KERNEL, reinterpret_cast<void*>(0x7FFC), status);  // no such handle
  read.reset(security.get_disc_acl(status));
  EXPECT_EQ(read, nullptr);
  EXPECT_EQ(status, NYM_S_SECURITY_READ_FAILED);
  EXPECT_TRUE(same(list_given(attributes), later));  // a failed read keeps what was held
}

TEST(SecurityTest, AClosedEventRefusesOthers) {
  if (nym_test::running_under_wine()) GTEST_SKIP() << "Wine stores kernel-object lists but doesn't enforce them";
  Nym_status status;
  Nym_security closed(false, status);
  const wchar_t* name = L"nym2208-security-test-closed";
  HANDLE event = CreateEventW(attributes_of(closed), TRUE, FALSE, name);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(OpenEventW(EVENT_MODIFY_STATE, FALSE, name), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  CloseHandle(event);
}
