// The event log through a stand-in (Wine's keeps nothing), and message files in the real registry.
#include <windows.h>

#include <gtest/gtest.h>

#include <tuple>

#include "nym/date_status_arg.h"
#include "nym/registry.h"
#include "nym/syslog.h"
#include "system/event_log.h"
#include "test_helpers.h"

using namespace nym;
using Texts = std::vector<Wstring>;

namespace {

using Event = std::tuple<unsigned short, unsigned short, unsigned int, Texts>;

// Notes every report; fails opening, closing, or the report of one id, when told to.
struct Recording_log : impl::Event_log {
  Recording_log() : previous(impl::set_event_log(this)) {}
  ~Recording_log() override { impl::set_event_log(previous); }
  void* open(const Wstring&, unsigned int& error) const override { return (error = fail) ? nullptr : HANDLE; }
  unsigned int close(void*) const override { return fail; }
  unsigned int report(void* handle, unsigned short type, unsigned short category, unsigned int id,
                      const Texts& strings) const override {
    if (handle == HANDLE) events.push_back({type, category, id, strings});
    return id == failing_id ? fail : 0;
  }
  static inline void* const HANDLE = reinterpret_cast<void*>(0x1234);
  unsigned int fail = 0, failing_id = 0;
  mutable std::vector<Event> events;
  const impl::Event_log* previous;
};

}  // namespace

TEST(SyslogTest, EventsCarryTheirCodeTypeAndArgumentTextsAndAChainGoesDeepestFirst) {
  Recording_log log;
  Nym_status status(5);
  EXPECT_TRUE(nym_open_syslog(u"Source", status) == Recording_log::HANDLE && status.is_clear());
  for (const auto& [code, type] : {std::pair<unsigned, unsigned short>{0, EVENTLOG_INFORMATION_TYPE},
                                   {0x42000001u, EVENTLOG_INFORMATION_TYPE}, {0x82000003u, EVENTLOG_WARNING_TYPE},
                                   {5, EVENTLOG_ERROR_TYPE}}) {
    nym_report_to_syslog(Recording_log::HANDLE, 3, Nym_status(code), false, status);
    EXPECT_EQ(log.events.back(), Event(type, 3, code, Texts{}));  // the orig value: 5 stays 5
  }
  Nym_date out_of_range = Nym_date::max_date();
  ++out_of_range;
  nym_report_to_syslog(Recording_log::HANDLE, 0,
                       Nym_status(1, Nym_wstring_status_arg(Wstring(u"%1")), Nym_int_status_arg(-7),
                                  Nym_null_status_arg(), Nym_date_status_arg(out_of_range)),
                       false, status);
  EXPECT_EQ(std::get<3>(log.events.back()), (Texts{u"%1", u"-7", u"", u"(unprintable argument)"}));

  log.fail = 1722;
  EXPECT_EQ(nym_open_syslog(u"Source", status), nullptr);
  EXPECT_TRUE(status == NYM_S_SYSLOG_OPEN_FAILED && *status.child() == 1722u);

  // A chain is written deepest first, and the failure nearest the top is the one told.
  log.events.clear();
  log.fail = 0;
  Nym_status event(2);
  event.push(0xC2000026u);
  event.push(0xC2000059u);
  nym_report_to_syslog(Recording_log::HANDLE, 0, event, true, status);
  std::vector<unsigned int> ids;
  for (const Event& e : log.events) ids.push_back(std::get<2>(e));
  EXPECT_EQ(ids, (std::vector<unsigned int>{2u, 0xC2000026u, 0xC2000059u}));
  log.fail = 1502;
  for (const unsigned int failing : {2u, 0xC2000026u, 0xC2000059u}) {
    log.failing_id = failing;
    Nym_status same = event;  // the event may be the status that takes the result
    nym_report_to_syslog(Recording_log::HANDLE, 0, same, true, same);
    EXPECT_TRUE(same == NYM_S_SYSLOG_REPORT_FAILED && *same.child() == 1502u) << std::hex << failing;
  }
}

TEST(SyslogTest, TheSystemsEventLogTakesAReport) {
  Nym_status status;
  void* handle = nym_open_syslog(u"nym2208-test", status);
  ASSERT_NE(handle, nullptr);
  Nym_status closed;
  nym_report_to_syslog(handle, 1, Nym_status(0x82000003u, Nym_wstring_status_arg(Wstring(u"x.dll"))), true, status);
  nym_close_syslog(handle, closed);
  EXPECT_TRUE(status.ok() && closed.ok());
}

TEST(SyslogTest, MessageFilesAreListedOnceAndAListThatCantBeReadIsLeftAlone) {
  const std::string pid = std::to_string(GetCurrentProcessId());
  const Wstring source = u"nym2208-test-" + Wstring(pid.begin(), pid.end());
  const Wstring key = u"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application";
  struct Cleanup {
    Wstring key;
    ~Cleanup() { RegDeleteTreeW(HKEY_LOCAL_MACHINE, reinterpret_cast<const wchar_t*>(key.c_str())); }
  } cleanup{key + u"\\" + source};
  const auto files = [&] {
    Wstring value(40000, u'\0');
    DWORD bytes = DWORD(value.size() * 2);
    RegGetValueW(HKEY_LOCAL_MACHINE, reinterpret_cast<const wchar_t*>(cleanup.key.c_str()), L"EventMessageFile",
                 RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr, &value[0], &bytes);
    return value.substr(0, bytes / 2 - 1);
  };
  Nym_status status;
  for (const char16_t* dll : {u"C:\\a.dll", u"c:\\A.DLL", u"C:\\b.dll"}) nym_register_resources(source, dll, status);
  EXPECT_EQ(files(), u"C:\\a.dll;C:\\b.dll");
  nym_deregister_resources(source, u"C:\\B.dll", status);
  nym_deregister_resources(source, u"C:\\a.dll", status);
  EXPECT_TRUE(status.ok() && files().empty());

  const Wstring many = files() + Wstring(3000, u';');  // far over any first read
  nym_set_reg_path_value(HKEY_LOCAL_MACHINE, key, source, u"EventMessageFile", many, status);
  nym_register_resources(source, u"C:\\d.dll", status);
  EXPECT_EQ(files(), many + u";C:\\d.dll");
  nym_set_reg_string_value(HKEY_LOCAL_MACHINE, key, source, u"EventMessageFile", u"C:\\kept.dll", status);
  nym_register_resources(source, u"C:\\e.dll", status);
  EXPECT_EQ(status, NYM_S_REG_NOT_PATH);
  Wstring kept;
  nym_get_reg_string_value(HKEY_LOCAL_MACHINE, key, source, u"EventMessageFile", kept, status);
  EXPECT_EQ(kept, u"C:\\kept.dll");
}
