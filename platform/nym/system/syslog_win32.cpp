#include "nym/syslog.h"

#include <windows.h>

#include <stdexcept>
#include <vector>

#include "config/registry_data.h"
#include "nym/cwstring.h"
#include "nym/registry.h"
#include "nym/tokeniser.h"
#include "nym/utf.h"
#include "status/argument_text.h"
#include "system/event_log.h"

namespace nym {

namespace {

const Wstring SOURCES_KEY = u"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application";
const Wstring MESSAGE_FILES = u"EventMessageFile";

unsigned short event_type(const Nym_status& event) {
  switch (event.value() >> 30) {
    case 3:
      return EVENTLOG_ERROR_TYPE;
    case 2:
      return EVENTLOG_WARNING_TYPE;
    default:
      return EVENTLOG_INFORMATION_TYPE;
  }
}

// One status as one event; the answer is the report's own result.
Nym_status report_one(void* handle, unsigned int category, const Nym_status& event) {
  std::vector<Wstring> strings(event.num_args());
  std::size_t i = 0;
  for (const Nym_status_arg* arg : event) impl::argument_text(*arg, strings[i++]);
  Nym_status result;
  const unsigned int error = impl::event_log().report(handle, event_type(event), static_cast<unsigned short>(category),
                                                      event.orig_value(), strings);
  if (error != 0) {
    result = error;
    result.push(NYM_S_SYSLOG_REPORT_FAILED);
  }
  return result;
}

void check_names(const Wstring& source, const Wstring& resource_path) {
  if (source.empty()) throw std::invalid_argument("Event source name is empty.");
  if (resource_path.empty()) throw std::invalid_argument("Event resource path is empty.");
}

std::vector<Wstring> listed_files(const Wstring& value) {
  const Nym_tokeniser split(W_SEMICOLON, W_EMPTY, W_EMPTY, W_EMPTY, false, false);
  std::vector<Wstring> files;
  split.tokenise(value, files);
  return files;
}

bool same_file(const Wstring& a, const Wstring& b) {
  return a.size() == b.size() && nym_utf16_compare_nc(a.c_str(), b.c_str()) == 0;
}

// Whether a failed read failed only because the key or the value doesn't exist.
bool read_found_nothing(const Nym_status& status) {
  const unsigned int top = status.value();
  return (top == NYM_S_REG_KEY_OPEN_FAILED || top == NYM_S_REG_VALUE_READ_FAILED) && status.has_child() &&
         *status.child() == ERROR_FILE_NOT_FOUND;
}

}  // namespace

void* nym_open_syslog(const Wstring& source, Nym_status& status) {
  status.clear();
  unsigned int error = 0;
  void* handle = impl::event_log().open(source, error);
  if (handle == nullptr) {
    status = error;
    status.push(NYM_S_SYSLOG_OPEN_FAILED, Nym_wstring_status_arg(source));
  }
  return handle;
}

void nym_close_syslog(void* handle, Nym_status& status) {
  if (handle == nullptr) return;
  const unsigned int error = impl::event_log().close(handle);
  if (error != 0) {
    status = error;
    status.push(NYM_S_SYSLOG_CLOSE_FAILED);
  }
}

// The chain is walked in a loop rather than by recursion, so its depth costs no stack.
void nym_report_to_syslog(void* handle, unsigned int category, const Nym_status& event, bool with_chain,
                          Nym_status& status) {
  const Nym_status top = event;  // a share: `event` may be `status`
  Nym_status nearest_failure;
  if (with_chain) {
    std::vector<const Nym_status*> chain;
    for (const Nym_status* s = top.child(); s != nullptr; s = s->child()) chain.push_back(s);
    for (auto deepest = chain.rbegin(); deepest != chain.rend(); ++deepest) {
      Nym_status own = report_one(handle, category, **deepest);
      if (own.is_error()) nearest_failure = own;
    }
  }
  status = report_one(handle, category, top);
  if (status.ok() && nearest_failure.is_error()) status = nearest_failure;
}

void nym_register_resources(const Wstring& source, const Wstring& resource_path, Nym_status& status) {
  status.clear();
  check_names(source, resource_path);
  Wstring value;
  impl::reg_get_long_path_value(HKEY_LOCAL_MACHINE, SOURCES_KEY, source, MESSAGE_FILES, value, status);
  if (status.is_error()) {
    // Only a list that isn't there may be started afresh: rewriting one that couldn't be read
    // would drop every file registered in it.
    if (!read_found_nothing(status)) return;
    status.clear();
    value = resource_path;
  } else {
    for (const Wstring& file : listed_files(value)) {
      if (same_file(file, resource_path)) return;
    }
    if (!value.empty()) value += W_SEMICOLON;
    value += resource_path;
  }
  nym_set_reg_path_value(HKEY_LOCAL_MACHINE, SOURCES_KEY, source, MESSAGE_FILES, value, status);
}

void nym_deregister_resources(const Wstring& source, const Wstring& resource_path, Nym_status& status) {
  status.clear();
  check_names(source, resource_path);
  Wstring value;
  impl::reg_get_long_path_value(HKEY_LOCAL_MACHINE, SOURCES_KEY, source, MESSAGE_FILES, value, status);
  if (status.is_error()) return;
  bool removed = false;
  Wstring rest;
  for (const Wstring& file : listed_files(value)) {
    if (same_file(file, resource_path)) {
      removed = true;
      continue;
    }
    if (!rest.empty()) rest += W_SEMICOLON;
    rest += file;
  }
  if (removed) nym_set_reg_path_value(HKEY_LOCAL_MACHINE, SOURCES_KEY, source, MESSAGE_FILES, rest, status);
}

}  // namespace nym
