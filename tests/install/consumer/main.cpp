// Uses the installed library as a product would: headers, import library, DLL.
#include <cstdio>

#include <nym/nym.h>

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
  const bool good = status.is_error() && status.contains_value(2) && digits == u"-ff" &&
                    nym::W_TRUE == u"true" && status.hresult() == 0x82000026u && families &&
                    words == u"The consumer failed on a.ini.\r\nEnd of data.";
  std::printf(good ? "consumer ok\n" : "consumer FAILED\n");
  return good ? 0 : 1;
}
