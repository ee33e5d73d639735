// The lookup's logic in both builds (message files: message_files_test.cpp). MessageLookupTest
// alone may touch Nym_status_lookup and the global list, which fill once per process.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "nym/date_status_arg.h"
#include "nym/messages.h"
#include "test_helpers.h"
#include "test_platform.h"

using namespace nym;
using nym_test::utf8;

namespace {

// No system table has codes of the facility 0x2FF.
constexpr unsigned int UNKNOWN_ERROR = 0xC2FF0001u;

// The system's text where it has one for the code, else the mechanical text.
Wstring system_or(unsigned int code, const Wstring& mechanical) {
  const std::u16string system = nym_test::system_message(code);
  return system.empty() ? mechanical : Wstring(system);
}

std::vector<Wstring> global_names() {
  std::vector<Wstring> out;
  for (const Nym_messages* m : Nym_messages_list::m_global_messages) out.push_back(m->name());
  return out;
}

}  // namespace

TEST(MessagesTest, WithoutAFileTheTextIsMechanical) {
  const Nym_messages_list empty;
  const Nym_wstring_status_arg a(Wstring(u"a")), b(Wstring(u"b"));
  const std::pair<Nym_status, Wstring> cases[] = {
      {Nym_status(0xC2FF0001u), u"Error 0xc2ff0001"},
      {Nym_status(0x82FF0002u, a, b), u"Warning 0x82ff0002, a, b"},
      {Nym_status(0x42FF0003u, Nym_int_status_arg(-5), Nym_bool_status_arg(true)), u"Information 0x42ff0003, -5, true"},
      {Nym_status(0x02FF0004u, Nym_null_status_arg()), u"Success 0x2ff0004, "},
      // An argument that raises gets a fixed text; the others still come.
      {Nym_status(UNKNOWN_ERROR,
                  Nym_date_and_time_status_arg(Nym_date_and_time::max_date_and_time() + Nym_time_period(1, 0)), a),
       u"Error 0xc2ff0001, (unprintable argument), a"},
      // The severity word follows the normalised code, the number is the code as given.
      {Nym_status(0u, a), system_or(0, u"Success 0, a")},
      {Nym_status(5u), system_or(5, u"Error 0x5")},
  };
  for (const auto& c : cases) {
    Wstring text = u"previous";
    empty.format_message(c.first, text);
    EXPECT_EQ(utf8(text), utf8(c.second));
  }
}

TEST(MessagesTest, TreeTellsAtMostDepthStatusesNewestFirstAndFilesThatFailAreNeverListed) {
  Nym_status chain(0xC2FF0003u);
  chain.push(0xC2FF0002u);
  chain.push(0xC2FF0001u, Nym_int_status_arg(7));
  const std::string one = "Error 0xc2ff0001, 7", two = "\r\nError 0xc2ff0002", three = "\r\nError 0xc2ff0003";
  const std::pair<unsigned int, std::string> cases[] = {{0, one + two + three}, {1, one}, {2, one + two}, {9, one + two + three}};
  for (const auto& c : cases) {
    Wstring text = u"previous";
    Nym_messages_list().format_message_tree(chain, text, c.first);
    EXPECT_EQ(utf8(text), c.second) << "depth " << c.first;
  }

  Nym_messages_list list;
  Nym_status status(0xC2FF0009u);
  list.add(Wstring(u"no_such_family_file.dll"), status);
  EXPECT_TRUE(status == NYM_S_MESSAGE_FILE_LOAD_FAILED && status.num_args() == 1 &&
              *status.begin()[0] == Nym_wstring_status_arg(Wstring(u"no_such_family_file.dll")));
  EXPECT_TRUE(status.has_child() && status.child()->is_error()) << "over the system's reason";
  EXPECT_EQ(list.begin(), list.end());
}

TEST(MessageLookupTest, FillsTheGlobalListOnceWhoeverComesFirst) {
  // The second family does not exist: the run stops there, and the third is never tried.
  const std::vector<Nstring> families = {"nymtesta", "nosuchfamily", "nymtestb"};
  constexpr int THREADS = 8;
  std::atomic<int> ready{0}, failed{0};
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

  const std::vector<Wstring> listed = global_names();
#if defined(_WIN32)
  EXPECT_EQ(listed, std::vector<Wstring>{u"nymtestares2208.dll"});
#else
  EXPECT_TRUE(listed.empty()) << "no message files on this platform";
#endif

  // Not retried: neither the standard families nor another list load anything now.
  EXPECT_TRUE(Nym_status_lookup::initialise_message_list());
  EXPECT_TRUE(Nym_status_lookup::initialise_message_list({"nymtestb"}));
  EXPECT_EQ(global_names(), listed);

  // The whole chain, trimmed at both ends.
  Nym_status chain(UNKNOWN_ERROR, Nym_wstring_status_arg(Wstring(u"last  \t")));
  chain.push(0x82FF0002u);
  Wstring text;
  Nym_status_lookup::to_string(chain, text);
  EXPECT_EQ(utf8(text), "Warning 0x82ff0002\r\nError 0xc2ff0001, last");
}
