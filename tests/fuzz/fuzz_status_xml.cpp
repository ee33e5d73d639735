// Nym_status::from_xml on whatever document Xerces-C makes of the input: no crash and no leak
// under the sanitizers, and only the documented exceptions. What it reads is written back and
// read again to the same chain, unless it holds a false bool, which by design doesn't read back.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "nym/status.h"

using namespace xercesc;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

XercesDOMParser& parser() {
  static SecurityManager limits;
  static HandlerBase errors;  // fatal errors throw, the rest are ignored
  static XercesDOMParser* p = [] {
    XMLPlatformUtils::Initialize();
    limits.setEntityExpansionLimit(1000);
    auto* made = new XercesDOMParser;
    made->setLoadExternalDTD(false);
    made->setDisableDefaultEntityResolution(true);
    made->setSecurityManager(&limits);
    made->setErrorHandler(&errors);
    return made;
  }();
  return *p;
}

// Reads an element; false when it was refused with one of the documented exceptions.
bool read(const DOMNode* element, nym::Nym_status& status) {
  try {
    status.from_xml(element);
    return true;
  } catch (const std::overflow_error& e) {
    check(std::strstr(e.what(), " for u32") != nullptr);
  } catch (const std::runtime_error& e) {
    check(std::strcmp(e.what(), "Nym_status::from_xml() - Invalid XML format") == 0);
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    parser().parse(MemBufInputSource(data, size, "fuzz", false));
  } catch (...) {
    return 0;  // not a document
  }
  const DOMDocument* document = parser().getDocument();
  nym::Nym_status status;
  if (document == nullptr || !read(document->getDocumentElement(), status)) return 0;

  DOMDocument* copy = DOMImplementationRegistry::getDOMImplementation(u"LS")->createDocument(nullptr, u"S", nullptr);
  status.to_xml(copy->getDocumentElement(), true);
  nym::Nym_status again;
  const bool read_again = read(copy->getDocumentElement(), again);
  copy->release();
  bool false_bool = false;
  const nym::Nym_status* x = &status;
  const nym::Nym_status* y = &again;
  for (; x != nullptr; x = x->child(), y = read_again ? y->child() : y) {
    for (const nym::Nym_status_arg* arg : *x) false_bool = false_bool || *arg == nym::Nym_bool_status_arg(false);
    if (read_again) check(y != nullptr && x->value() == y->value() && x->orig_value() == y->orig_value());
  }
  check(read_again != false_bool);
  if (read_again) check(y == nullptr && again.compare(status, true, true));
  return 0;
}
