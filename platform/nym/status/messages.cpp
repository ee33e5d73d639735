#include "nym/messages.h"

#include <mutex>
#include <new>

#include "nym/cwstring.h"
#include "nym/string_basic.h"
#include "nym/unicode.h"
#include "nym/utf.h"
#include "status/argument_text.h"
#include "status/messages_platform.h"

namespace nym {

const Nstring NYM_VORN_STATUS_FILE_NAME = "vorn";
const Nstring NYM_SARM_STATUS_FILE_NAME = "sarm";
const Nstring NYM_TRELK_STATUS_FILE_NAME = "trelk";
const Nstring NYM_QUIM_STATUS_FILE_NAME = "quim";
const Nstring NYM_OG_STATUS_FILE_NAME = "og";
const Nstring NYM_MIRSOL_STATUS_FILE_NAME = "mirsol";

Nym_messages_list Nym_messages_list::m_global_messages;

namespace {

// The library's version text, as in its own file name.
const char* const VERSION_TEXT = "2208";

// Who fills the global list: the first caller, once, even when threads race to it.
std::mutex g_initialise_lock;

// Eight insertion strings, always: marks beyond the arguments see empty text.
struct Inserts {
  Wstring text[impl::MESSAGE_INSERTS];

  explicit Inserts(const Nym_status& status) {
    int i = 0;
    for (const Nym_status_arg* arg : status) impl::argument_text(*arg, text[i++]);
  }
};

bool same_name(const Wstring& a, const Wstring& b) {
  return a.size() == b.size() && nym_utf16_compare_nc(a.c_str(), b.c_str()) == 0;
}

void report_no_memory(const Wstring& name, Nym_status& status) {
  status = NYM_S_NO_MEMORY;
  try {
    status.push(NYM_S_MESSAGE_FILE_LOAD_FAILED, Nym_wstring_status_arg(name));
  } catch (const std::bad_alloc&) {
    // The cause alone still tells the caller what happened.
  }
}

const char16_t* severity_word(const Nym_status& status) {
  if (status.is_error()) return u"Error ";
  if (status.is_warning()) return u"Warning ";
  if (status.is_information()) return u"Information ";
  return u"Success ";
}

}  // namespace

// ---- one file

Nym_messages::Nym_messages(const Wstring& name, Nym_status& status) : m_name(name), m_module(nullptr) {
  status.clear();
  unsigned int error = 0;
  m_module = impl::load_message_file(m_name, error);
  if (m_module == nullptr) {
    status = error;
    status.push(NYM_S_MESSAGE_FILE_LOAD_FAILED, Nym_wstring_status_arg(m_name));
  }
}

Nym_messages::~Nym_messages() {
  if (m_module != nullptr) impl::free_message_file(m_module);
}

bool Nym_messages::format_message(const Nym_status& status, Wstring& text) const {
  text.clear();
  const Inserts inserts(status);
  return format_inserts(status.orig_value(), inserts.text, text);
}

bool Nym_messages::format_inserts(unsigned int code, const Wstring* inserts, Wstring& text) const {
  // A file that failed to load has no table of its own; it must not fall back to the
  // program's own image, which a null module would mean.
  if (m_module == nullptr) {
    text.clear();
    return false;
  }
  return impl::format_message_text(m_module, code, inserts, text);
}

// ---- the list

Nym_messages_list::~Nym_messages_list() {
  for (Nym_messages* entry : m_messages) delete entry;
}

void Nym_messages_list::add(const Wstring& name, Nym_status& status) {
  status.clear();
  for (const Nym_messages* entry : m_messages) {
    if (same_name(entry->name(), name)) {
      status.assign(NYM_S_MESSAGE_FILE_ALREADY_LOADED, Nym_wstring_status_arg(name));
      return;
    }
  }
  Nym_messages* entry = nullptr;
  try {
    entry = new Nym_messages(name, status);
  } catch (const std::bad_alloc&) {
    report_no_memory(name, status);
    return;
  }
  if (status.is_error()) {
    delete entry;
    return;
  }
  try {
    m_messages.push_back(entry);
  } catch (const std::bad_alloc&) {
    delete entry;
    report_no_memory(name, status);
  }
}

void Nym_messages_list::add(const std::vector<Wstring>& names, Nym_status& status) {
  status.clear();
  for (const Wstring& name : names) {
    if (status.is_error()) return;
    add(name, status);
  }
}

void Nym_messages_list::remove(const Wstring& name) {
  for (auto it = m_messages.begin(); it != m_messages.end(); ++it) {
    if (same_name((*it)->name(), name)) {
      delete *it;
      m_messages.erase(it);
      return;
    }
  }
}

void Nym_messages_list::format_message(const Nym_status& status, Wstring& text) const {
  text.clear();
  {
    const Inserts inserts(status);
    for (const Nym_messages* entry : m_messages) {
      if (entry->format_inserts(status.orig_value(), inserts.text, text)) return;
    }
  }
  if (format_system(status, text)) return;
  text = severity_word(status);
  char number[20];
  nym_sprintf_s(number, sizeof number, "%#lx", static_cast<unsigned long>(status.orig_value()));
  nym_string_append(text, number);
  Wstring arg_text;
  for (const Nym_status_arg* arg : status) {
    text += W_COMMA;
    text += W_SPACE;
    impl::argument_text(*arg, arg_text);
    text += arg_text;
  }
}

bool Nym_messages_list::format_system(const Nym_status& status, Wstring& text) const {
  const Inserts inserts(status);
  return impl::format_message_text(nullptr, status.orig_value(), inserts.text, text) && !text.empty();
}

void Nym_messages_list::format_message_tree(const Nym_status& status, Wstring& text, unsigned int depth) const {
  format_message(status, text);
  if (depth == 1) return;
  Wstring message;
  unsigned int told = 1;
  for (const Nym_status* child = status.child(); child != nullptr; child = child->child()) {
    if (depth != 0 && told >= depth) break;
    format_message(*child, message);
    text += W_CRLF;
    text += message;
    ++told;
  }
}

// ---- the lookup

const Nstring Nym_status_lookup::m_suffix = Nstring("res") + VERSION_TEXT + ".dll";
std::atomic<bool> Nym_status_lookup::m_initialised{false};

bool Nym_status_lookup::initialise_message_list(const std::vector<Nstring>& families) {
  if (m_initialised.load(std::memory_order_acquire)) return true;
  // Two unlocked first runs would append to one vector at once; the lock makes the first run
  // the only one, and a caller that waited for it finds the flag set.
  const std::lock_guard<std::mutex> hold(g_initialise_lock);
  if (m_initialised.load(std::memory_order_relaxed)) return true;
  Nym_status status;
  Wstring name;
  for (const Nstring& family : families) {
    if (status.is_error()) break;
    nym_stow(family + m_suffix, name);
    Nym_messages_list::m_global_messages.add(name, status);
  }
  // Also after a failure: a failed run is not repeated.
  m_initialised.store(true, std::memory_order_release);
  return !status.is_error();
}

bool Nym_status_lookup::initialise_message_list() {
  return initialise_message_list({NYM_VORN_STATUS_FILE_NAME, NYM_SARM_STATUS_FILE_NAME, NYM_TRELK_STATUS_FILE_NAME,
                                  NYM_QUIM_STATUS_FILE_NAME, NYM_OG_STATUS_FILE_NAME, NYM_MIRSOL_STATUS_FILE_NAME});
}

void Nym_status_lookup::to_string(const Nym_status& status, Wstring& text) {
  if (!m_initialised.load(std::memory_order_acquire)) initialise_message_list();
  Nym_messages_list::m_global_messages.format_message_tree(status, text, 0);
  nym_trim(text);
}

}  // namespace nym
