// Uses the installed library as a product would: headers, import library, DLL.
#include <cstdio>

#include <nym/nym.h>

int main() {
  nym::Nym_status status;
  status = 2;
  status.push(0xC2000026, nym::Nym_wstring_status_arg(nym::Wstring(u"a.ini")));
  nym::Wstring digits;
  nym::nym_itow(nym::int64(-255), digits, 16, false);
  const bool good = status.is_error() && status.contains_value(2) && digits == u"-ff" &&
                    nym::W_TRUE == u"true" && status.hresult() == 0x82000026u;
  std::printf(good ? "consumer ok\n" : "consumer FAILED\n");
  return good ? 0 : 1;
}
