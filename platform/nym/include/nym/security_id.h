// Nym_security_id: one trustee of the system's security model, held in up to three forms at
// once: the binary SID, its string form ("S-1-5-32-544") and the account name ("DOMAIN\user").
//
// Each form is made from another on first demand and then kept, so a trustee given by name, by
// SID text or by binary SID compares, prints and goes into an access list alike. The const
// conversions write the object's cache: an object belongs to one thread at a time.
//
// The class has no status argument and reports by exception: std::runtime_error "Failed to
// convert SID to binary form" ("... to string form", "... to account form") when a form can't be
// made; std::invalid_argument for a bad SID pointer or trustee number; Nym_sys_call_fail
// "::AllocateAndInitializeSid" when the null SID can't be made. A failed conversion changes
// nothing: the next request tries again.
#ifndef NYM_SECURITY_ID_H
#define NYM_SECURITY_ID_H

#include "nym/types.h"

struct _SID;

namespace nym {

// Eighteen fixed trustees.
enum Nym_standard_trustee {
  NYM_TRUSTEE_EVERYONE = 0,              // S-1-1-0
  NYM_TRUSTEE_LOCAL_SYSTEM = 1,          // S-1-5-18
  NYM_TRUSTEE_SERVICE = 2,               // S-1-5-6
  NYM_TRUSTEE_USERS = 3,                 // S-1-5-32-545
  NYM_TRUSTEE_ADMINISTRATORS = 4,        // S-1-5-32-544
  NYM_TRUSTEE_CURRENT_PROCESS_USER = 5,  // the user of the process token
  NYM_TRUSTEE_CURRENT_THREAD_USER = 6,   // the user of the thread's token, else the process's
  NYM_TRUSTEE_GUESTS = 7,                // S-1-5-32-546
  NYM_TRUSTEE_POWER_USERS = 8,           // S-1-5-32-547
  NYM_TRUSTEE_ACCOUNT_OPERATORS = 9,     // S-1-5-32-548
  NYM_TRUSTEE_SERVER_OPERATORS = 10,     // S-1-5-32-549
  NYM_TRUSTEE_PRINT_OPERATORS = 11,      // S-1-5-32-550
  NYM_TRUSTEE_BACKUP_OPERATORS = 12,     // S-1-5-32-551
  NYM_TRUSTEE_REPLICATOR = 13,           // S-1-5-32-552
  NYM_TRUSTEE_CREATOR_OWNER = 14,        // S-1-3-0
  NYM_TRUSTEE_NETWORK = 15,              // S-1-5-2
  NYM_TRUSTEE_INTERACTIVE = 16,          // S-1-5-4
  NYM_TRUSTEE_AUTHENTICATED_USERS = 17,  // S-1-5-11
};

class NYM_API Nym_security_id {
 public:
  // The null SID (S-1-0-0), binary form only.
  Nym_security_id();
  // A text that is_sid accepts is kept as the string form, any other as the account form.
  // Nothing is looked up yet: an unknown name fails at its first conversion.
  Nym_security_id(const Wstring& text);
  // Copies the SID; an invalid or null one raises std::invalid_argument "Invalid SID".
  Nym_security_id(_SID* sid);
  // Values above 17 raise std::invalid_argument "Invalid standard trustee"; a current user
  // whose token can't be read raises std::runtime_error "Failed to get SID of current
  // user/thread". The thread's user is the process's only for a thread that impersonates nobody.
  Nym_security_id(Nym_standard_trustee trustee);
  // Copies every form; the binary SID is copied, not shared. A copy that fails raises
  // std::invalid_argument "Invalid Nym_security_id".
  Nym_security_id(const Nym_security_id& other);
  Nym_security_id& operator=(const Nym_security_id& other);
  Nym_security_id(Nym_security_id&& other) noexcept;
  Nym_security_id& operator=(Nym_security_id&& other) noexcept;
  ~Nym_security_id();

  // The binary form; the pointer stays the object's.
  operator _SID*() const;
  // The string form ("S-1-5-18").
  operator Wstring() const;
  // The account form: the domain, a backslash and the name, or the name alone where the system
  // names no domain.
  Wstring account_name() const;
  // The _SID_NAME_USE value (1 user, 2 group, 4 alias, 5 well-known group, ...). The local
  // system account (S-1-5-18) counts as a well-known group whatever the system says. An
  // unresolvable trustee raises the conversion's exception.
  int sid_type() const;

  // "S" and at least three more parts of decimal digits, joined by "-". No look-up.
  static bool is_sid(const Wstring& text);

 private:
  static constexpr unsigned int FORM_ACCOUNT = 1;
  static constexpr unsigned int FORM_STRING = 2;
  static constexpr unsigned int FORM_BINARY = 4;

  static _SID* copy_sid(const _SID* source);
  static _SID* get_current_sid(bool process);
  void release() noexcept;
  // From the binary form, if there is one; no exception.
  void make_string_form() const;
  // Keeps the reported use, with the local system account counted as a well-known group.
  void set_type(int use) const;

  mutable _SID* m_sid = nullptr;
  mutable unsigned int m_forms = 0;
  mutable int m_type = 8;  // SidTypeUnknown
  mutable Wstring m_account;
  mutable Wstring m_string;
};

// EqualSid of the two binary forms, after converting both; a failed conversion raises.
NYM_API bool operator==(const Nym_security_id& a, const Nym_security_id& b);
inline bool operator!=(const Nym_security_id& a, const Nym_security_id& b) { return !(a == b); }

}  // namespace nym

#endif
