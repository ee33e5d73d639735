// Real message files: the test families nymtesta and nymtestb (tests/status/messages) and the
// library's own nymres2208.dll, all beside the test program.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "nym/messages.h"
#include "status_codes.h"
#include "test_helpers.h"
#include "test_platform.h"

using namespace nym;
using nym_test::utf8;

namespace {

const Wstring ALPHA = u"nymtestares2208.dll";
const Wstring BETA = u"nymtestbres2208.dll";
constexpr unsigned int ALPHA_ONLY = 0xC2FE0010u;
constexpr unsigned int BOTH_FILES = 0x82FE0011u;
constexpr unsigned int EVERY_MARK = 0x42FE0012u;
constexpr unsigned int BETA_ONLY = 0xC2FE0020u;

std::string text_of(const Nym_messages_list& list, const Nym_status& status) {
  Wstring text;
  list.format_message(status, text);
  return utf8(text);
}

Nym_wstring_status_arg warg(const char16_t* text) { return Nym_wstring_status_arg(Wstring(text)); }

std::vector<Wstring> names(const Nym_messages_list& list) {
  std::vector<Wstring> out;
  for (const Nym_messages* m : list) out.push_back(m->name());
  return out;
}

}  // namespace

TEST(MessageFilesTest, FilesAnswerInListOrderThenTheSystemWithArgumentsAsText) {
  Nym_messages_list alpha_first, beta_first;
  Nym_status status;
  alpha_first.add({ALPHA, BETA}, status);
  beta_first.add({BETA, ALPHA}, status);
  ASSERT_TRUE(status.is_clear()) << text_of(alpha_first, status);
  const std::string system_two = utf8(nym_test::system_message(2));
  const std::string system_five = utf8(nym_test::system_message(5));
  ASSERT_FALSE(system_two.empty() || system_five.empty());

  const struct {
    Nym_status status;
    const char *alpha_first, *beta_first;
  } cases[] = {
      // A message with fewer marks than arguments ignores the rest.
      {Nym_status(ALPHA_ONLY, warg(u"x"), warg(u"y"), warg(u"z")), "Alpha knows x and y.\r\n",
       "Alpha knows x and y.\r\n"},
      // Insertions are eight strings and never formats: marks beyond the arguments are empty.
      {Nym_status(EVERY_MARK), "[||||||||||]", "[||||||||||]"},
      {Nym_status(EVERY_MARK, warg(u"a"), warg(u"%2"), warg(u"c"), warg(u"d"), warg(u"e"), warg(u"f"), warg(u"g"),
                  warg(u"h")),
       "[a|%2|c|d|e|f|g|h|||]", "[a|%2|c|d|e|f|g|h|||]"},
      {Nym_status(BOTH_FILES), "Alpha's word.\r\n", "Beta's word.\r\n"},
      {Nym_status(BETA_ONLY, warg(u"z")), "Beta only, z.\r\n", "Beta only, z.\r\n"},
      // Looked up by the code as given: 5 is alpha's own text, not the normalised 0xC0000005;
      // but each file's lookup also asks the system, so beta, listed first, answers for it.
      {Nym_status(5u), "Alpha's own text for five.\r\n", system_five.c_str()},
      // A code no file has comes from the system's table, in its own words.
      {Nym_status(2u), system_two.c_str(), system_two.c_str()},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(text_of(alpha_first, c.status), c.alpha_first);
    EXPECT_EQ(text_of(beta_first, c.status), c.beta_first);
  }

  // One file alone answers for itself and for the system, not for another file.
  const Nym_messages beta(BETA, status);
  Wstring text;
  EXPECT_TRUE(beta.format_message(Nym_status(BOTH_FILES), text) && utf8(text) == "Beta's word.\r\n");
  EXPECT_TRUE(beta.format_message(Nym_status(2u), text) && utf8(text) == system_two);
  EXPECT_FALSE(beta.format_message(Nym_status(ALPHA_ONLY), text));
}

TEST(MessageFilesTest, AddingRemovingAndNamesWithoutRegardToCase) {
  Nym_messages_list list;
  Nym_status status(0xC2FF0009u);
  list.add(ALPHA, status);
  list.add(Wstring(u"NymTestARes2208.DLL"), status);
  EXPECT_EQ(status, NYM_S_MESSAGE_FILE_ALREADY_LOADED);
  EXPECT_TRUE(status.num_args() == 1 && *status.begin()[0] == warg(u"NymTestARes2208.DLL"));
  EXPECT_EQ(names(list), std::vector<Wstring>{ALPHA});
  list.add(BETA, status);

  list.remove(Wstring(u"NYMTESTARES2208.dll"));
  list.remove(Wstring(u"nymtestbres2208.dl"));  // no such entry: nothing happens
  EXPECT_EQ(text_of(list, Nym_status(BOTH_FILES)), "Beta's word.\r\n");
  list.add(ALPHA, status);  // back, now behind beta
  EXPECT_EQ(names(list), (std::vector<Wstring>{BETA, ALPHA}));
}

TEST(MessageFilesTest, TheLibraryHasWordsForEveryCodeItDefines) {
  using nym_test::HEADER_CODES;
  const auto in_headers = [](const nym_test::Status_code& c) {
    return std::any_of(std::begin(HEADER_CODES), std::end(HEADER_CODES), [&](const nym_test::Status_code& h) {
      return std::string(h.name) == c.name && h.value == c.value;
    });
  };
  ASSERT_TRUE(in_headers({"NYM_S_MESSAGE_FILE_LOAD_FAILED", 0xC2000002u, ""}));  // the scan itself works
  Nym_status status;
  const Nym_messages library(Wstring(u"nymres2208.dll"), status);
  ASSERT_TRUE(status.is_clear()) << "nymres2208.dll beside the test program";
  Wstring text;
  for (const auto& code : HEADER_CODES) {
    EXPECT_TRUE(library.format_message(Nym_status(code.value), text))
        << code.name << " (" << code.where << ") has no line in platform/nym/status/nym_messages.txt";
  }
  for (const auto& row : nym_test::TABLE_CODES) EXPECT_TRUE(in_headers(row)) << row.name << " differs from the headers";
}
