// The message lookup's own logic, in both builds: the mechanical text, chains, arguments that
// cannot tell themselves, and the one-time filling of the global list. The message files
// themselves are tested in message_files_test.cpp.
//
// MessageLookupTest is the only test of this suite that touches Nym_status_lookup or the
// global list: the list fills once per process.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "nym/date_status_arg.h"
#include "nym/messages.h"
#include "nym/string_basic.h"
#include "test_platform.h"
#include "watchdog.h"

using namespace nym;

namespace {

// No system table has codes of the facility 0x2FF.
constexpr unsigned int UNKNOWN_ERROR = 0xC2FF0001u;

Nym_date_and_time out_of_range() { return Nym_date_and_time::max_date_and_time() + Nym_time_period(1, 0); }

// The system's text where it has one for the code, else the mechanical text.
Wstring system_or(unsigned int code, const Wstring& mechanical) {
  const std::u16string system = nym_test::system_message(code);
  return system.empty() ? mechanical : Wstring(system);
}

std::string narrow(const Wstring& text) {
  std::string out;
  nym_string_append(out, text.c_str());
  return out;
}

}  // namespace

TEST(MessagesTest, WithoutAFileTheTextIsMechanical) {
  const Nym_messages_list empty;
  const Nym_wstring_status_arg a(Wstring(u"a")), b(Wstring(u"b"));
  struct Case {
    Nym_status status;
    Wstring expected;
  };
  const Case cases[] = {
      {Nym_status(0xC2FF0001u), u"Error 0xc2ff0001"},
      {Nym_status(0x82FF0002u, a, b), u"Warning 0x82ff0002, a, b"},
      {Nym_status(0x42FF0003u, Nym_int_status_arg(-5), Nym_bool_status_arg(true)), u"Information 0x42ff0003, -5, true"},
      {Nym_status(0x02FF0004u, Nym_null_status_arg()), u"Success 0x2ff0004, "},
      // An argument that raises gets a fixed text; the others still come.
      {Nym_status(UNKNOWN_ERROR, Nym_date_and_time_status_arg(out_of_range()), a), u"Error 0xc2ff0001, (unprintable argument), a"},
      // The severity word follows the normalised code, the number is the code as given.
      {Nym_status(0u, a), system_or(0, u"Success 0, a")},
      {Nym_status(5u), system_or(5, u"Error 0x5")},
  };
  for (const Case& c : cases) {
    Wstring text = u"previous";
    empty.format_message(c.status, text);
    EXPECT_EQ(narrow(text), narrow(c.expected));
  }
}

TEST(MessagesTest, TreeTellsAtMostDepthStatusesNewestFirst) {
  const Nym_messages_list empty;
  Nym_status chain(0xC2FF0003u);
  chain.push(0xC2FF0002u);
  chain.push(0xC2FF0001u, Nym_int_status_arg(7));
  const Wstring one = u"Error 0xc2ff0001, 7", two = u"Error 0xc2ff0002", three = u"Error 0xc2ff0003";
  struct Case {
    unsigned int depth;
    Wstring expected;
  };
  const Case cases[] = {
      {0, one + u"\r\n" + two + u"\r\n" + three},
      {1, one},
      {2, one + u"\r\n" + two},
      {3, one + u"\r\n" + two + u"\r\n" + three},
      {9, one + u"\r\n" + two + u"\r\n" + three},
  };
  for (const Case& c : cases) {
    Wstring text = u"previous";
    empty.format_message_tree(chain, text, c.depth);
    EXPECT_EQ(narrow(text), narrow(c.expected)) << "depth " << c.depth;
  }
}

TEST(MessagesTest, AFileThatDoesNotLoadIsNeverListed) {
  Nym_messages_list list;
  Nym_status status(0xC2FF0009u);
  list.add(Wstring(u"no_such_family_file.dll"), status);
  EXPECT_EQ(status, NYM_S_MESSAGE_FILE_LOAD_FAILED);
  ASSERT_EQ(status.num_args(), 1u);
  EXPECT_TRUE(*status.begin()[0] == Nym_wstring_status_arg(Wstring(u"no_such_family_file.dll")));
  ASSERT_TRUE(status.has_child());
  EXPECT_TRUE(status.child()->is_error());  // the system's reason
  EXPECT_EQ(list.begin(), list.end());
  list.remove(Wstring(u"no_such_family_file.dll"));  // nothing to remove, nothing happens

  // A file built by hand keeps its name and answers nothing.
  const Nym_messages lone(Wstring(u"No_Such_File.dll"), status);
  EXPECT_EQ(status, NYM_S_MESSAGE_FILE_LOAD_FAILED);
  EXPECT_EQ(lone.name(), u"No_Such_File.dll");
  Wstring text = u"previous";
  EXPECT_FALSE(lone.format_message(Nym_status(5u), text));
  EXPECT_TRUE(text.empty());
}

TEST(MessageLookupTest, FillsTheGlobalListOnceWhoeverComesFirst) {
  const nym_test::Watchdog watchdog("MessageLookupTest");
  // The second family does not exist: the run stops there, and the third is never tried.
  const std::vector<Nstring> families = {"nymtesta", "nosuchfamily", "nymtestb"};
  constexpr int THREADS = 8;
  std::atomic<int> ready{0};
  std::atomic<int> failed{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back([&] {
      ready.fetch_add(1);
      while (ready.load() < THREADS) std::this_thread::yield();
      if (!Nym_status_lookup::initialise_message_list(families)) failed.fetch_add(1);
    });
  }
  for (std::thread& t : threads) t.join();
  EXPECT_EQ(failed.load(), 1);  // one run, and it failed; the others found it done

  std::vector<Wstring> listed;
  for (const Nym_messages* m : Nym_messages_list::m_global_messages) listed.push_back(m->name());
#if defined(_WIN32)
  const std::vector<Wstring> expected = {u"nymtestares2208.dll"};
#else
  const std::vector<Wstring> expected;  // no message files on this platform
#endif
  EXPECT_EQ(listed, expected);

  // Not retried: neither the standard families nor another list load anything now.
  EXPECT_TRUE(Nym_status_lookup::initialise_message_list());
  EXPECT_TRUE(Nym_status_lookup::initialise_message_list({"nymtestb"}));
  std::vector<Wstring> after;
  for (const Nym_messages* m : Nym_messages_list::m_global_messages) after.push_back(m->name());
  EXPECT_EQ(after, listed);

  // The whole chain, trimmed at both ends.
  Nym_status chain(UNKNOWN_ERROR, Nym_wstring_status_arg(Wstring(u"last  \t")));
  chain.push(0x82FF0002u);
  Wstring text;
  Nym_status_lookup::to_string(chain, text);
  EXPECT_EQ(narrow(text), "Warning 0x82ff0002\r\nError 0xc2ff0001, last");
}
