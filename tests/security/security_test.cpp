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

using nym_test::count_of;

// The user keeps full access; `who` gets `rights`.
Nym_acl list_for(const Wstring& who, unsigned int rights) {
  return nym_test::list_with(
      {{Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER), NYM_ACCESS_ALLOW, KEY_ALL_ACCESS | EVENT_ALL_ACCESS},
       {who, NYM_ACCESS_ALLOW, rights}});
}

SECURITY_ATTRIBUTES* attributes_of(Nym_security& security, bool inherit = false) {
  return static_cast<SECURITY_ATTRIBUTES*>(static_cast<void*>(security.security_attributes(inherit)));
}

// The list an event made with these attributes ends up with.
std::unique_ptr<Nym_acl> list_given(SECURITY_ATTRIBUTES* attributes) {
  HANDLE event = CreateEventW(attributes, TRUE, FALSE, nullptr);
  auto list = list_of(event, SE_KERNEL_OBJECT);
  CloseHandle(event);
  return list;
}

bool same(const std::unique_ptr<Nym_acl>& read, const Nym_acl& expected) {
  return read != nullptr && read->standard_rights_equal(expected);
}

// A registry key of this test's own, deleted at the end.
struct Test_key {
  Test_key() : path(u"Software\\nym2208-tests-security-") {
    nym_string_append(path, std::to_string(GetCurrentProcessId()).c_str());
    RegCreateKeyExW(HKEY_CURRENT_USER, wide(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  }
  ~Test_key() {
    RegCloseKey(key);
    RegDeleteKeyW(HKEY_CURRENT_USER, wide());
  }
  const wchar_t* wide() const { return reinterpret_cast<const wchar_t*>(path.c_str()); }
  Wstring name() const { return u"CURRENT_USER\\" + path; }

  Wstring path;
  HKEY key = nullptr;
};

}  // namespace

TEST(SecurityTest, TyingRulesAndFixedAnswers) {
  Nym_security security;
  Nym_status status;
  for (void* bad : {INVALID_HANDLE_VALUE, static_cast<void*>(nullptr)}) {
    security.associate_with_object(NYM_SEC_OBJ_KERNEL, bad, status);
    EXPECT_EQ(status, NYM_S_BAD_OBJECT_HANDLE);
  }
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
  SECURITY_ATTRIBUTES* inherit = attributes_of(security, true);
  EXPECT_EQ(inherit->bInheritHandle, TRUE);
  EXPECT_EQ(attributes_of(security), inherit);  // the same address, the flag as asked
  EXPECT_EQ(inherit->bInheritHandle, FALSE);
}

// Created objects get the list held; a free object answers copies of it.
TEST(SecurityTest, CreatedObjectsGetTheListHeld) {
  Nym_status status;
  Nym_security closed(false, status);
  Nym_security open(true, status);
  const Nym_acl chosen = list_for(u"S-1-5-32-545", EVENT_MODIFY_STATE);
  Nym_security mine(const_cast<Nym_acl&>(chosen), status);
  EXPECT_TRUE(same(list_given(attributes_of(closed)), Nym_acl()));
  const Nym_acl null_list(static_cast<_ACL*>(nullptr), status);
  EXPECT_TRUE(same(list_given(attributes_of(open)), null_list));
  EXPECT_TRUE(same(std::unique_ptr<Nym_acl>(open.get_disc_acl(status)), null_list));
  EXPECT_TRUE(same(std::unique_ptr<Nym_acl>(mine.get_disc_acl(status)), chosen));
  EXPECT_TRUE(same(list_given(attributes_of(mine)), chosen));
}

// Lists round trip on keys (by handle and by name) and kernel objects, merge on request, and
// the creation attributes follow every change of descriptor: a tied read, a failed one, untying
// (the system's default then) and a list set afterwards.
TEST(SecurityTest, ListsRoundTripAndCreationAttributesFollowTheDescriptorHeld) {
  Test_key key;
  const Nym_acl first = list_for(u"S-1-5-32-545", KEY_READ);
  const Nym_acl second = list_for(u"S-1-5-32-551", KEY_WRITE);
  Nym_status status;
  Nym_security by_handle(true, status), by_name;
  SECURITY_ATTRIBUTES* attributes = attributes_of(by_handle);
  by_handle.associate_with_object(NYM_SEC_OBJ_REGISTRY, static_cast<void*>(key.key), status);
  by_handle.set_disc_acl(first, status, false);
  by_name.associate_with_object(NYM_SEC_OBJ_REGISTRY, key.name(), status);
  std::unique_ptr<Nym_acl> read(by_name.get_disc_acl(status));
  EXPECT_TRUE(same(read, first));
  by_name.set_disc_acl(second, status, true);  // the key's entries join the new ones
  read.reset(by_handle.get_disc_acl(status));
  Nym_acl both(second, status);
  both.merge(first, status);
  EXPECT_TRUE(same(read, both) && count_of(*read) == 3u);
  EXPECT_TRUE(same(list_given(attributes), both));
  by_handle.set_disc_acl(second, status, false);
  read.reset(by_name.get_disc_acl(status));
  EXPECT_TRUE(same(read, second));

  by_handle.disassociate_from_object(status, true);
  by_handle.associate_with_object(NYM_SEC_OBJ_REGISTRY, Wstring(u"CURRENT_USER\\Software\\no such key 7d1"), status);
  read.reset(by_handle.get_disc_acl(status));
  EXPECT_TRUE(read == nullptr && status == NYM_S_SECURITY_READ_FAILED && status.contains_value(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(attributes->lpSecurityDescriptor, nullptr);  // untied, nothing read since
  const auto by_default = list_given(nullptr);
  ASSERT_NE(by_default, nullptr);
  EXPECT_TRUE(same(list_given(attributes), *by_default));

  by_handle.disassociate_from_object(status, true);
  by_handle.set_disc_acl(first, status, false);
  EXPECT_TRUE(same(list_given(attributes), first));
  by_handle.associate_with_object(NYM_SEC_OBJ_KERNEL, reinterpret_cast<void*>(0x7FFC), status);  // no such handle
  read.reset(by_handle.get_disc_acl(status));
  EXPECT_TRUE(read == nullptr && status == NYM_S_SECURITY_READ_FAILED);
  EXPECT_TRUE(same(list_given(attributes), first));  // a failed read keeps what was held

  HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  Nym_security kernel;
  kernel.associate_with_object(NYM_SEC_OBJ_KERNEL, event, status);
  kernel.set_disc_acl(second, status, false);
  EXPECT_TRUE(same(list_of(event, SE_KERNEL_OBJECT), second));
  CloseHandle(event);
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
