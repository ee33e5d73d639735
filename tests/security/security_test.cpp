#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "nym/security.h"
#include "security_fixture.h"
#include "test_helpers.h"

using namespace nym;
using nym_test::what_of;

namespace {

// The user keeps full access; `who` gets `rights`.
Nym_acl list_for(const Wstring& who, unsigned int rights) {
  return nym_test::list_with(
      {{Nym_security_id(NYM_TRUSTEE_CURRENT_PROCESS_USER), NYM_ACCESS_ALLOW, KEY_ALL_ACCESS | EVENT_ALL_ACCESS},
       {who, NYM_ACCESS_ALLOW, rights}});
}

SECURITY_ATTRIBUTES* attributes_of(Nym_security& security) {
  return static_cast<SECURITY_ATTRIBUTES*>(static_cast<void*>(security.security_attributes(false)));
}

// The list a kernel object holds, read by a security object of its own.
std::unique_ptr<Nym_acl> list_of(HANDLE object) {
  Nym_status status;
  Nym_security reader;
  reader.associate_with_object(NYM_SEC_OBJ_KERNEL, object, status);
  return std::unique_ptr<Nym_acl>(reader.get_disc_acl(status));
}

// The list an event made with these attributes ends up with.
std::unique_ptr<Nym_acl> list_given(SECURITY_ATTRIBUTES* attributes) {
  HANDLE event = CreateEventW(attributes, TRUE, FALSE, nullptr);
  auto list = list_of(event);
  CloseHandle(event);
  return list;
}

bool same(const std::unique_ptr<Nym_acl>& read, const Nym_acl& expected) {
  return read != nullptr && read->standard_rights_equal(expected);
}

}  // namespace

TEST(SecurityTest, TyingRules) {
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
  security.disassociate_from_object(status, true);
  EXPECT_EQ(what_of([&] { security.associate_with_object(static_cast<Nym_sec_obj_type>(5), Wstring(u"x"), status); }),
            "Invalid argument to Nym_security::map_object_type()");
}

// A free object answers copies of the list it holds; lists round trip on keys (by handle and by
// name) and kernel objects, merge on request, and the creation attributes follow every change of
// descriptor: a tied read, a failed one, untying (the system's default then) and a list set afterwards.
TEST(SecurityTest, ListsRoundTripAndCreationAttributesFollowTheDescriptorHeld) {
  Wstring path = u"Software\\nym2208-tests-security-";
  nym_string_append(path, std::to_string(GetCurrentProcessId()).c_str());
  const auto* wide_path = reinterpret_cast<const wchar_t*>(path.c_str());
  HKEY key = nullptr;
  RegCreateKeyExW(HKEY_CURRENT_USER, wide_path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  const Nym_acl first = list_for(u"S-1-5-32-545", KEY_READ);
  const Nym_acl second = list_for(u"S-1-5-32-551", KEY_WRITE);
  Nym_status status;
  Nym_security by_handle(true, status), by_name, closed(false, status);
  SECURITY_ATTRIBUTES* attributes = attributes_of(by_handle);
  EXPECT_TRUE(same(list_given(attributes_of(closed)), Nym_acl()));
  const Nym_acl null_list(static_cast<_ACL*>(nullptr), status);
  EXPECT_TRUE(same(std::unique_ptr<Nym_acl>(by_handle.get_disc_acl(status)), null_list));
  EXPECT_TRUE(same(list_given(attributes), null_list));
  by_handle.associate_with_object(NYM_SEC_OBJ_REGISTRY, static_cast<void*>(key), status);
  by_handle.set_disc_acl(first, status, false);
  by_name.associate_with_object(NYM_SEC_OBJ_REGISTRY, u"CURRENT_USER\\" + path, status);
  std::unique_ptr<Nym_acl> read(by_name.get_disc_acl(status));
  EXPECT_TRUE(same(read, first));
  by_name.set_disc_acl(second, status, true);  // the key's entries join the new ones
  read.reset(by_handle.get_disc_acl(status));
  Nym_acl both(second, status);
  both.merge(first, status);
  EXPECT_TRUE(same(read, both) && nym_test::count_of(*read) == 3u);
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

  HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  Nym_security kernel;
  kernel.associate_with_object(NYM_SEC_OBJ_KERNEL, event, status);
  kernel.set_disc_acl(second, status, false);
  EXPECT_TRUE(same(list_of(event), second));
  CloseHandle(event);
  RegCloseKey(key);
  RegDeleteKeyW(HKEY_CURRENT_USER, wide_path);
}
