#include <cwctype>
#include <stdexcept>
#include <vector>

#include "nym/security_id.h"
#include "nym/tokeniser.h"

namespace nym {

namespace {

// Indexed by Nym_standard_trustee; the current users have no fixed SID.
const Wchar* const STANDARD_TRUSTEES[] = {
    u"S-1-1-0",      u"S-1-5-18",     u"S-1-5-6",      u"S-1-5-32-545", u"S-1-5-32-544", nullptr,
    nullptr,         u"S-1-5-32-546", u"S-1-5-32-547", u"S-1-5-32-548", u"S-1-5-32-549", u"S-1-5-32-550",
    u"S-1-5-32-551", u"S-1-5-32-552", u"S-1-3-0",      u"S-1-5-2",      u"S-1-5-4",      u"S-1-5-11",
};
static_assert(sizeof(STANDARD_TRUSTEES) / sizeof(STANDARD_TRUSTEES[0]) == 18, "eighteen standard trustees");

}  // namespace

Nym_security_id::Nym_security_id(const Wstring& text) {
  if (is_sid(text)) {
    m_string = text;
    m_forms = FORM_STRING;
  } else {
    m_account = text;
    m_forms = FORM_ACCOUNT;
  }
}

Nym_security_id::Nym_security_id(Nym_standard_trustee trustee) {
  const auto index = static_cast<unsigned int>(trustee);
  if (index >= 18) throw std::invalid_argument("Invalid standard trustee");
  if (trustee == NYM_TRUSTEE_CURRENT_PROCESS_USER || trustee == NYM_TRUSTEE_CURRENT_THREAD_USER) {
    m_sid = get_current_sid(trustee == NYM_TRUSTEE_CURRENT_PROCESS_USER);
    if (m_sid == nullptr) throw std::runtime_error("Failed to get SID of current user/thread");
    m_forms = FORM_BINARY;
  } else {
    m_string = STANDARD_TRUSTEES[index];
    m_forms = FORM_STRING;
  }
}

bool Nym_security_id::is_sid(const Wstring& text) {
  static const Nym_tokeniser dashes(u"-", u"", u"", u"", false, false);
  std::vector<Wstring> parts;
  dashes.tokenise(text, parts);
  if (parts.size() < 4 || parts[0] != u"S") return false;
  for (std::size_t i = 1; i < parts.size(); ++i) {
    for (const Wchar c : parts[i]) {
      if (!std::iswdigit(static_cast<std::wint_t>(c))) return false;
    }
  }
  return true;
}

int Nym_security_id::sid_type() const {
  if (m_type != 8) return m_type;
  (void)account_name();
  if (m_type == 8) (void)static_cast<_SID*>(*this);
  return m_type;
}

}  // namespace nym
