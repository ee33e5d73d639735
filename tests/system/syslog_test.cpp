// The event log: what reaches the system for a status, through a stand-in for the event log
// (Wine's keeps nothing), and the registration of message files in the real registry.
#include <windows.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "nym/date_status_arg.h"
#include "nym/registry.h"
#include "nym/string_basic.h"
#include "nym/syslog.h"
#include "system/event_log.h"
#include "test_helpers.h"

using namespace nym;

namespace {

struct Event {
  void* handle;
  unsigned short type;
  unsigned short category;
  unsigned int id;
  std::vector<Wstring> strings;
};

// Notes every call; fails opening, closing, or the report of one event id, when told to.
class Recording_log : public impl::Event_log {
 public:
  Recording_log() : m_previous(impl::set_event_log(this)) {}
  ~Recording_log() override { impl::set_event_log(m_previous); }

  void* open(const Wstring& source, unsigned int& error) const override {
    opened = source;
    error = open_error;
    return open_error != 0 ? nullptr : HANDLE_GIVEN;
  }
  unsigned int close(void*) const override { return close_error; }
  unsigned int report(void* handle, unsigned short type, unsigned short category, unsigned int id,
                      const std::vector<Wstring>& strings) const override {
    events.push_back({handle, type, category, id, strings});
    return id == failing_id ? failing_error : 0;
  }

  static inline void* const HANDLE_GIVEN = reinterpret_cast<void*>(0x1234);
  unsigned int open_error = 0, close_error = 0, failing_id = 0xFFFFFFFF, failing_error = 0;
  mutable Wstring opened;
  mutable std::vector<Event> events;

 private:
  const impl::Event_log* m_previous;
};

std::vector<unsigned int> ids(const std::vector<Event>& events) {
  std::vector<unsigned int> out;
  for (const Event& e : events) out.push_back(e.id);
  return out;
}

const Wstring SOURCES = u"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application";

}  // namespace

TEST(SyslogTest, OpenAndCloseReportTheSystemsCode) {
  Recording_log log;
  Nym_status status(5);
  EXPECT_EQ(nym_open_syslog(u"Source", status), Recording_log::HANDLE_GIVEN);
  EXPECT_TRUE(status.is_clear());
  EXPECT_EQ(log.opened, u"Source");
  log.open_error = 1722;
  EXPECT_EQ(nym_open_syslog(u"Source", status), nullptr);
  EXPECT_EQ(status, NYM_S_SYSLOG_OPEN_FAILED);
  Wstring source;
  status.begin()[0]->to_string(source);
  EXPECT_EQ(source, u"Source");
  EXPECT_EQ(*status.child(), 1722u);

  status.clear();
  log.close_error = 6;
  nym_close_syslog(nullptr, status);
  EXPECT_TRUE(status.is_clear());
  nym_close_syslog(Recording_log::HANDLE_GIVEN, status);
  EXPECT_EQ(status, NYM_S_SYSLOG_CLOSE_FAILED);
  EXPECT_EQ(*status.child(), 6u);
}

TEST(SyslogTest, AnEventCarriesTheCodeAsGivenItsTypeAndItsArgumentTexts) {
  Recording_log log;
  struct Case {
    unsigned int code;
    unsigned short type;
  } const cases[] = {{0x00000000u, EVENTLOG_INFORMATION_TYPE}, {0x42000001u, EVENTLOG_INFORMATION_TYPE},
                     {0x82000003u, EVENTLOG_WARNING_TYPE},     {0xC2000019u, EVENTLOG_ERROR_TYPE},
                     {5u, EVENTLOG_ERROR_TYPE},               {0x40070005u, EVENTLOG_INFORMATION_TYPE}};
  Nym_status status;
  for (const Case& c : cases) {
    nym_report_to_syslog(Recording_log::HANDLE_GIVEN, 3, Nym_status(c.code), false, status);
    EXPECT_TRUE(status.ok());
    EXPECT_EQ(log.events.back().type, c.type) << std::hex << c.code;
    EXPECT_EQ(log.events.back().id, c.code);  // the orig value: 5 stays 5
    EXPECT_EQ(log.events.back().category, 3);
    EXPECT_EQ(log.events.back().handle, Recording_log::HANDLE_GIVEN);
    EXPECT_TRUE(log.events.back().strings.empty());
  }

  Nym_date out_of_range = Nym_date::max_date();
  ++out_of_range;  // can't tell itself any more
  const Nym_status event(0xC2000026u, Nym_wstring_status_arg(Wstring(u"a.ini")), Nym_int_status_arg(-7),
                         Nym_bool_status_arg(true), Nym_null_status_arg(), Nym_date_status_arg(out_of_range),
                         Nym_uint_status_arg(8), Nym_wstring_status_arg(Wstring(u"%1")), Nym_int_status_arg(9));
  nym_report_to_syslog(Recording_log::HANDLE_GIVEN, 0, event, true, status);
  EXPECT_EQ(log.events.back().strings, (std::vector<Wstring>{u"a.ini", u"-7", u"true", u"", u"(unprintable argument)",
                                                             u"8", u"%1", u"9"}));
}

TEST(SyslogTest, AChainIsWrittenDeepestFirstAndTellsTheFailureNearestTheTop) {
  Recording_log log;
  Nym_status event(2);
  event.push(0xC2000026u);
  event.push(0xC2000059u);
  Nym_status status;
  nym_report_to_syslog(nullptr, 0, event, false, status);
  EXPECT_EQ(ids(log.events), std::vector<unsigned int>{0xC2000059u});
  log.events.clear();
  nym_report_to_syslog(nullptr, 0, event, true, status);
  EXPECT_EQ(ids(log.events), (std::vector<unsigned int>{2u, 0xC2000026u, 0xC2000059u}));
  EXPECT_TRUE(status.ok());

  log.failing_error = 1502;  // the log is full
  for (const unsigned int failing : {2u, 0xC2000026u}) {
    log.failing_id = failing;
    nym_report_to_syslog(nullptr, 0, event, true, status);
    EXPECT_EQ(status, NYM_S_SYSLOG_REPORT_FAILED);  // a child's failure reaches the caller
    EXPECT_EQ(*status.child(), 1502u);
  }
  // The event itself may be the status that takes the result.
  log.events.clear();
  log.failing_id = 0xC2000059u;
  nym_report_to_syslog(nullptr, 0, event, true, event);
  EXPECT_EQ(ids(log.events), (std::vector<unsigned int>{2u, 0xC2000026u, 0xC2000059u}));
  EXPECT_EQ(event, NYM_S_SYSLOG_REPORT_FAILED);
}

TEST(SyslogTest, TheSystemsEventLogTakesAReport) {
  Nym_status status;
  void* handle = nym_open_syslog(u"nym2208-test", status);
  ASSERT_TRUE(status.ok());
  ASSERT_NE(handle, nullptr);
  Nym_status event(0x82000003u, Nym_wstring_status_arg(Wstring(u"x.dll")));
  event.push(0xC2000019u);
  nym_report_to_syslog(handle, 1, event, true, status);
  EXPECT_TRUE(status.ok());
  nym_close_syslog(handle, status);
  EXPECT_TRUE(status.ok());
}

namespace {

// A source of this process's own, whose key goes after each test.
class ResourcesTest : public ::testing::Test {
 protected:
  void TearDown() override {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, reinterpret_cast<const wchar_t*>((SOURCES + u"\\" + source).c_str()));
  }
  // The list as stored, of any length; "(none)" without a path value.
  Wstring files() {
    const Wstring key = SOURCES + u"\\" + source;
    std::u16string value(40000, u'\0');
    DWORD bytes = static_cast<DWORD>(value.size() * 2);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, reinterpret_cast<const wchar_t*>(key.c_str()), L"EventMessageFile",
                     RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, nullptr, &value[0], &bytes) != ERROR_SUCCESS) {
      return u"(none)";
    }
    return value.substr(0, bytes / 2 - 1);
  }

  const Wstring source = [] {
    Wstring pid;
    nym_itow(static_cast<unsigned int>(GetCurrentProcessId()), pid, 10, false);
    return u"nym2208-test-" + pid;
  }();
  Nym_status status;
};

}  // namespace

TEST_F(ResourcesTest, FilesAreListedOnceInTheOrderRegistered) {
  nym_register_resources(source, u"C:\\a.dll", status);
  ASSERT_TRUE(status.ok());
  EXPECT_EQ(files(), u"C:\\a.dll");
  nym_register_resources(source, u"c:\\A.DLL", status);
  nym_register_resources(source, u"C:\\b.dll", status);
  nym_register_resources(source, u"C:\\a.dll", status);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(files(), u"C:\\a.dll;C:\\b.dll");

  nym_deregister_resources(source, u"C:\\B.dll", status);
  EXPECT_EQ(files(), u"C:\\a.dll");
  nym_deregister_resources(source, u"C:\\x.dll", status);  // not listed: nothing happens
  EXPECT_TRUE(status.ok());
  nym_deregister_resources(source, u"C:\\a.dll", status);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(files(), u"");
  nym_register_resources(source, u"C:\\c.dll", status);
  EXPECT_EQ(files(), u"C:\\c.dll");
}

TEST_F(ResourcesTest, ListsOfAnyLengthAreKeptAndOneThatCantBeReadIsLeftAlone) {
  // Longer than any first read, and of a type the list mustn't have.
  Wstring many;
  for (int i = 0; i < 100; ++i) many += u"C:\\products\\some product\\messages\\file" + Wstring(1, static_cast<char16_t>(u'a' + i % 26)) + u";";
  nym_set_reg_path_value(HKEY_LOCAL_MACHINE, SOURCES, source, u"EventMessageFile", many + u"C:\\last.dll", status);
  nym_register_resources(source, u"C:\\new.dll", status);
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(files(), many + u"C:\\last.dll;C:\\new.dll");
  nym_deregister_resources(source, u"C:\\last.dll", status);
  EXPECT_EQ(files(), many.substr(0, many.size() - 1) + u";C:\\new.dll");

  nym_set_reg_string_value(HKEY_LOCAL_MACHINE, SOURCES, source, u"EventMessageFile", u"C:\\kept.dll", status);
  nym_register_resources(source, u"C:\\new.dll", status);
  EXPECT_EQ(status, NYM_S_REG_NOT_PATH);
  Wstring kept;
  nym_get_reg_string_value(HKEY_LOCAL_MACHINE, SOURCES, source, u"EventMessageFile", kept, status);
  EXPECT_EQ(kept, u"C:\\kept.dll");
}

TEST_F(ResourcesTest, BadNamesRaiseAndAMissingSourceIsAnError) {
  EXPECT_EQ(nym_test::what_of([&] { nym_register_resources(u"", u"a.dll", status); }), "Event source name is empty.");
  EXPECT_EQ(nym_test::what_of([&] { nym_deregister_resources(source, u"", status); }),
            "Event resource path is empty.");
  EXPECT_FALSE(nym_reg_key_exists(HKEY_LOCAL_MACHINE, SOURCES, source));
  nym_deregister_resources(source, u"a.dll", status);
  EXPECT_EQ(status, NYM_S_REG_KEY_OPEN_FAILED);
  EXPECT_TRUE(status.contains_value(ERROR_FILE_NOT_FOUND));
}
