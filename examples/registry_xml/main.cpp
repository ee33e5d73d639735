// Registry, event log and status XML: values under HKEY_CURRENT_USER and what a missing one
// reports, a status chain sent to the event log, and the same chain through a Xerces-C document.
#include <windows.h>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  void* const user = HKEY_CURRENT_USER;
  const Wstring key = u"Software\\nym2208-recipe";  // with the subkey "Server": its \Server
  Nym_status status;
  // A set creates the key and its parents; a uint reads a REG_DWORD, or a REG_SZ as _wtoi does.
  nym_set_reg_string_value(user, key, u"Server", u"host", u"alpha", status);
  nym_set_reg_string_value(user, key, u"Server", u"timeout", u"30 s", status);
  nym_set_reg_path_value(user, key, u"Server", u"logs", Wstring(600, u'x'), status);
  Wstring host, logs = u"as it was";
  unsigned int timeout = 0;
  nym_get_reg_string_value(user, key, u"Server", u"host", host, status);
  nym_get_reg_uint_value(user, key, u"Server", u"timeout", timeout, status);
  check(status.ok() && host == u"alpha" && timeout == 30, "read back");
  // No defaults: a missing value is the library's code over the system's, and the out
  // argument keeps what it held. A path value stops at 1024 bytes; this one is longer.
  nym_get_reg_string_value(user, key, u"Server", u"port", host, status);
  check(status == NYM_S_REG_VALUE_READ_FAILED && status.contains_value(ERROR_FILE_NOT_FOUND) && host == u"alpha",
        "a missing value");
  nym_get_reg_path_value(user, key, u"Server", u"logs", logs, status);
  check(status == NYM_S_REG_VALUE_READ_FAILED && status.contains_value(ERROR_MORE_DATA) && logs == u"as it was",
        "a path read is bounded");
  nym_remove_reg_key(user, u"Software", u"", u"nym2208-recipe", status);  // clean up: the whole subtree
  check(status.ok() && !nym_reg_key_exists(user, key, u""), "removed");

  // Each status of a chain becomes one event, the deepest first. (Wine's log keeps nothing.)
  Nym_status chain(ERROR_FILE_NOT_FOUND, Nym_wstring_status_arg(Wstring(u"app.ini")));
  chain.push(NYM_S_READ_FAILED);
  void* log = nym_open_syslog(u"nym2208-recipe", status);
  nym_report_to_syslog(log, 0, chain, true, status);
  check(status.ok() || status.contains_value(NYM_S_SYSLOG_REPORT_FAILED), "reported through the status");
  nym_close_syslog(log, status);

  // The chain into the caller's document, as nested elements, and back, arguments and all.
  // (<windows.h> has a DOMDocument of its own: name Xerces-C's in full.)
  xercesc::XMLPlatformUtils::Initialize();
  xercesc::DOMDocument* document =
      xercesc::DOMImplementationRegistry::getDOMImplementation(u"LS")->createDocument(nullptr, u"Status", nullptr);
  chain.to_xml(document->getDocumentElement(), true);
  const xercesc::DOMElement* child = document->getDocumentElement()->getFirstElementChild();
  check(Wstring(child->getTagName()) == u"ChildStatus" && Wstring(child->getAttribute(u"origvalue")) == u"2",
        "decimal attributes, the code as given");
  Nym_status back;  // from_xml adds to what the status holds: start from a clear one
  back.from_xml(document->getDocumentElement());
  check(back.compare(chain, true, true), "the same chain back");
  document->release();
  xercesc::XMLPlatformUtils::Terminate();
  return recipe::result();
}
