// Nym_security: one security descriptor, for creating objects and for securing existing ones.
//
// A free object holds a descriptor of its own and hands out the SECURITY_ATTRIBUTES with which
// a new object is created (every creating call of the library takes a Nym_security*, null
// meaning the system's default). Tied to an existing object, by handle or by name, it reads
// that object's discretionary list from the system on get_disc_acl and set_disc_acl, and
// set_disc_acl writes changes back at once. One object serves one tied object at a time.
//
// The attributes always point at the descriptor held now, also after a read from a tied
// object replaced it; after disassociate_from_object there is none, and the attributes ask for
// the system's default. System access lists aren't handled. The class has no lock: an object
// belongs to one thread at a time.
#ifndef NYM_SECURITY_H
#define NYM_SECURITY_H

#include "nym/acl.h"

struct _SECURITY_ATTRIBUTES;

namespace nym {

constexpr unsigned int NYM_S_BAD_OBJECT_HANDLE = 0xC2000075u;      // the handle is 0 or -1
constexpr unsigned int NYM_S_DACL_READ_FAILED = 0xC2000076u;       // the list couldn't be read from the descriptor
constexpr unsigned int NYM_S_DACL_SET_FAILED = 0xC2000077u;        // the list couldn't be set in the descriptor
constexpr unsigned int NYM_S_ALREADY_ASSOCIATED = 0xC2000078u;     // this object is tied already
constexpr unsigned int NYM_S_SECURITY_READ_FAILED = 0xC2000079u;   // the object's security couldn't be read
constexpr unsigned int NYM_S_SECURITY_WRITE_FAILED = 0xC200007Au;  // the object's security couldn't be written

// Kinds of object a Nym_security can be tied to.
enum Nym_sec_obj_type {
  NYM_SEC_OBJ_FILE = 0,      // a file or directory
  NYM_SEC_OBJ_KERNEL = 1,    // an event, mutex, semaphore, process, thread, pipe...
  NYM_SEC_OBJ_REGISTRY = 2,  // a registry key
  NYM_SEC_OBJ_SERVICE = 3,   // a service (by handle only)
  NYM_SEC_OBJ_SHARE = 4,     // a network share
};

class NYM_API Nym_security {
 public:
  // A descriptor with a null list: the object is open to everyone. Failure raises
  // Nym_sys_call_fail "::InitializeSecurityDescriptor" or "::SetSecurityDescriptorDacl".
  Nym_security();
  // A descriptor holding a copy of `acl`. When the list can't be set (reported as set_disc_acl
  // does) there is no descriptor, and objects are created with the system's default.
  Nym_security(Nym_acl& acl, Nym_status& status);
  // `open` true: a null list, open to everyone; false: an empty list, nobody has access.
  Nym_security(bool open, Nym_status& status);
  Nym_security(const Nym_security&) = delete;
  Nym_security& operator=(const Nym_security&) = delete;
  ~Nym_security();

  // The creation attributes, with the inherit flag given; the address never changes.
  _SECURITY_ATTRIBUTES* security_attributes(bool inherit);

  // Ties this object to a named one (file path, registry key as "MACHINE\SOFTWARE\...", share
  // name). Nothing is read yet. NYM_S_ALREADY_ASSOCIATED when tied already.
  void associate_with_object(Nym_sec_obj_type kind, const Wstring& name, Nym_status& status);
  // Ties this object to an open handle, which stays the caller's. NYM_S_BAD_OBJECT_HANDLE for 0
  // or -1, NYM_S_ALREADY_ASSOCIATED when tied already. A kind above 4 raises
  // std::invalid_argument "Invalid argument to Nym_security::map_object_type()".
  void associate_with_object(Nym_sec_obj_type kind, void* handle, Nym_status& status);
  // Unties and drops the descriptor and list: released with `free` true, let go otherwise.
  void disassociate_from_object(Nym_status& status, bool free = true);

  // A new list, owned by the caller: the tied object's, read now, or the one held. Reports
  // NYM_S_SECURITY_READ_FAILED or NYM_S_DACL_READ_FAILED above the system's code, and null.
  Nym_acl* get_disc_acl(Nym_status& status);
  // Puts a copy of `acl` in the descriptor, first merging the tied object's entries behind the
  // new ones when `merge` is true, and writes it to the tied object. Reports
  // NYM_S_SECURITY_READ_FAILED, NYM_S_DACL_READ_FAILED or NYM_S_DACL_SET_FAILED above the
  // system's code with the descriptor as it was, and NYM_S_SECURITY_WRITE_FAILED when the
  // descriptor took the list but the tied object refused it.
  void set_disc_acl(const Nym_acl& acl, Nym_status& status, bool merge = false);

  // Raise std::runtime_error "Nym_security::get_sec_acl not implemented" and
  // "Nym_security::set_sec_acl not implemented".
  Nym_acl* get_sec_acl(Nym_status& status);
  void set_sec_acl(const Nym_acl& acl, Nym_status& status, bool merge = false);

 private:
  void free_sd() noexcept;
  void initialise_security_descriptor();
  // The descriptor and the attributes' pointer change together, here only.
  void set_descriptor(void* descriptor) noexcept;
  static unsigned int map_object_type(Nym_sec_obj_type kind);
  void get_security_descriptor(Nym_status& status);
  void set_security_descriptor(Nym_status& status);
  static void* sr_to_absolute(void* self_relative, Nym_status& status);

  void* m_descriptor = nullptr;
  // SECURITY_ATTRIBUTES by value: its size and alignment on x64, checked where it is used.
  alignas(8) unsigned char m_attributes[24] = {};
  unsigned int m_association = 0;  // 0 none, 1 by handle, 2 by name
  unsigned int m_object_type = 0;  // SE_OBJECT_TYPE
  void* m_handle = nullptr;        // the tied object's; -1 until one is tied
  Wstring m_name;
  Nym_acl* m_acl = nullptr;
};

}  // namespace nym

#endif
