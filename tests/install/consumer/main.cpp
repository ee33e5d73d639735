// Uses the installed library as a product would: headers, import library, DLL; and the
// Xerces-C that comes with it for a status in XML.
#include <xercesc/dom/DOM.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <cstdio>

#include <nym/nym.h>

namespace {

// A chain with a string and a date written into a document and read back.
bool xml_round_trip() {
  using namespace xercesc;
  XMLPlatformUtils::Initialize();
  nym::Nym_status status(2, nym::Nym_wstring_status_arg(nym::Wstring(u"a.ini")));
  status.push(0xC2000026u, nym::Nym_date_status_arg(nym::Nym_date(5, 3, 2024)));
  DOMDocument* document =
      DOMImplementationRegistry::getDOMImplementation(u"LS")->createDocument(nullptr, u"Status", nullptr);
  status.to_xml(document->getDocumentElement(), true);
  nym::Nym_status back;
  back.from_xml(document->getDocumentElement());
  document->release();
  XMLPlatformUtils::Terminate();
  return back.compare(status, true, true);
}

}  // namespace

int main() {
  nym::Nym_status status;
  status = 2;
  status.push(0xC2000026, nym::Nym_wstring_status_arg(nym::Wstring(u"a.ini")));
  nym::Wstring digits;
  nym::nym_itow(nym::int64(-255), digits, 16, false);
  // The product's own family first, then the library's words.
  nym::Nym_status story(nym::NYM_S_END_OF_DATA);
  story.push(0xC2FD0001u, nym::Nym_wstring_status_arg(nym::Wstring(u"a.ini")));
  const bool families = nym::Nym_status_lookup::initialise_message_list({"consumer", "nym"});
  nym::Wstring words;
  nym::Nym_status_lookup::to_string(story, words);
  // A class constant bound to a reference needs the DLL's definition (volatile keeps the address).
  const int* volatile last_day = &nym::Nym_date::MAX_JULIAN_DAY;
  const bool good = *last_day == 13688960 && status.is_error() && status.contains_value(2) && digits == u"-ff" &&
                    nym::W_TRUE == u"true" && status.hresult() == 0x82000026u && families &&
                    words == u"The consumer failed on a.ini.\r\nEnd of data." && xml_round_trip();
  std::printf(good ? "consumer ok\n" : "consumer FAILED\n");
  return good ? 0 : 1;
}
