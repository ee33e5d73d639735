// nym status CODE [ARG...]: how the library reads a code, and its words with the arguments
// inserted. nym status --xml CODE [ARG...]: the status as an XML document.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/StdOutFormatTarget.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "commands.h"
#include "nym/messages.h"
#include "nym/status.h"
#include "nym/string_basic.h"

namespace nym_tool {

namespace {

const char* severity_name(const nym::Nym_status& s) {
  if (s.is_error()) return "error";
  if (s.is_warning()) return "warning";
  if (s.is_information()) return "information";
  return "success";
}

// Decimal or 0x-prefixed hexadecimal, 32 bits.
bool parse_code(const std::string& text, unsigned int& code) {
  if (text.empty() || text[0] == '-') return false;
  errno = 0;
  char* end = nullptr;
  const unsigned long long v = std::strtoull(text.c_str(), &end, 0);
  if (errno != 0 || end == text.c_str() || *end != '\0' || v > 0xFFFFFFFFull) return false;
  code = static_cast<unsigned int>(v);
  return true;
}

// The status written into a document of Xerces-C and printed as UTF-8.
int print_xml(const nym::Nym_status& status) {
  using namespace xercesc;
  XMLPlatformUtils::Initialize();
  {
    DOMImplementationLS* ls = DOMImplementationRegistry::getDOMImplementation(u"LS");
    DOMDocument* document = static_cast<DOMImplementation*>(ls)->createDocument(nullptr, u"Status", nullptr);
    status.to_xml(document->getDocumentElement(), true);
    DOMLSSerializer* serializer = ls->createLSSerializer();
    DOMLSOutput* output = ls->createLSOutput();
    StdOutFormatTarget target;
    output->setByteStream(&target);
    output->setEncoding(u"UTF-8");
    serializer->write(document, output);
    target.flush();
    std::printf("\n");
    output->release();
    serializer->release();
    document->release();
  }
  XMLPlatformUtils::Terminate();
  return 0;
}

}  // namespace

int run_status(const Words& all) {
  const bool xml = !all.empty() && all[0] == "--xml";
  const Words words(all.begin() + (xml ? 1 : 0), all.end());
  unsigned int code = 0;
  if (words.empty() || !parse_code(words[0], code) || words.size() > 9) {
    std::fprintf(stderr, "usage: nym status [--xml] CODE [ARG...]  (CODE decimal or 0x hex, at most 8 ARGs)\n");
    return 2;
  }
  nym::Nym_status status(code);
  for (std::size_t i = 1; i < words.size(); ++i) {
    nym::Wstring wide;
    nym::nym_string_append(wide, words[i].c_str());
    status.add_arg(nym::Nym_wstring_status_arg(wide));
  }
  if (xml) return print_xml(status);
  std::printf("code:      0x%08X\n", code);
  std::printf("value:     0x%08X\n", status.value());
  std::printf("hresult:   0x%08X\n", status.hresult());
  std::printf("severity:  %s\n", severity_name(status));
  std::printf("facility:  0x%03X\n", status.facility() >> 16);
  // The library's own words (nymres2208.dll beside the tool), then the system's.
  nym::Nym_status_lookup::initialise_message_list({"nym"});
  nym::Wstring text;
  nym::Nym_status_lookup::to_string(status, text);
  std::string narrow;
  nym::nym_string_append(narrow, text.c_str());
  std::printf("text:      %s\n", narrow.c_str());
  return 0;
}

}  // namespace nym_tool
