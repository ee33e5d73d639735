#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "helper_process.h"
#include "nym/process.h"
#include "nym/status.h"
#include "resource_count.h"
#include "test_helpers.h"

using namespace nym;

namespace {

Wstring wide(const std::wstring& text) { return Wstring(text.begin(), text.end()); }

const Wstring& helper() {
  static const Wstring path = wide(nym_test::helper_program());
  return path;
}

std::string arg_text(const Nym_status& status, unsigned int index) {
  if (index >= status.num_args()) return "(none)";
  Wstring text;
  status.begin()[index]->to_string(text);
  return nym_test::utf8(text);
}

}  // namespace

// Modes 0 and 1 wait inside the call; the command line is the arguments alone, so the program's own
// name comes first in them. Any exit code is a result, -1 too: it never stands for a process handle
// (which would be the calling process itself). Mode 2's file to run is the name without its quotes;
// its command line keeps them. Other modes start nothing; a program that can't be found is not
// started and is named in the status.
TEST(ProcessTest, AStartThatEndsGivesTheExitCodeWhateverItIsOrSaysWhyNot) {
  const Wstring h = helper(), missing = u"no-such-program-here", quoted = u"\"" + h + u"\"", cut = h + u'\0' + u"x";
  struct Case {
    Wstring program;
    unsigned int mode;
    int code;  // the exit code asked for and given back, if it starts
    bool starts;
  };
  const Case cases[] = {{h, 1, 7, true},      {h, 0, -1, true},      {h, 1, -1, true},       {h, 0, 2147483647, true},
                        {quoted, 2, 3, true}, {h, 7, 0, true},       {missing, 0, 0, false}, {missing, 2, 0, false},
                        {u"", 2, 0, false},   {quoted, 0, 0, false}, {cut, 2, 0, false}};
  for (const Case& c : cases) {
    const Wstring args = (c.mode == 2 ? u"exit " : u"helper exit ") + wide(std::to_wstring(c.code));
    SCOPED_TRACE(nym_test::utf8(c.program + u" " + args) + " mode " + std::to_string(c.mode));
    Nym_status status(NYM_S_NO_MEMORY), untouched(NYM_S_NO_MEMORY);
    Nym_process process(c.program, args, Nym_process_details{c.mode, true, 20000}, status);
    EXPECT_FALSE(process.is_running() || process.id() != 0);
    if (!c.starts) {
      EXPECT_EQ(status, NYM_S_PROCESS_START_FAILED);
      EXPECT_EQ(arg_text(status, 0), nym_test::utf8(c.program));
      continue;
    }
    EXPECT_TRUE(status.is_clear());
    EXPECT_EQ(process.get_exit_code(untouched), static_cast<unsigned int>(c.code));
    process.terminate(untouched, 1000);  // no process: nothing is ended, this one least of all
    EXPECT_EQ(untouched, NYM_S_NO_MEMORY) << "left as it came";
  }
}

// Mode 2 goes on while the program runs; a wait that runs out says so, and the start stands. It is
// ended through the object, and by its identifier.
TEST(ProcessTest, ARunningProcessIsWaitedForRefusedASecondStartAndEnded) {
  Nym_process process;
  Nym_status status;
  process.start_process(helper(), u"sleep 60000", Nym_process_details{2, true, 0}, status);
  EXPECT_EQ(status, NYM_S_PROCESS_STILL_RUNNING);
  EXPECT_EQ(arg_text(status, 0) + "|" + arg_text(status, 1), nym_test::utf8(helper()) + "|")
      << "start_process leaves the object's arguments alone";
  ASSERT_TRUE(process.is_running());
  const unsigned long id = process.id();
  process.get_exit_code(status);
  EXPECT_EQ(status, NYM_S_PROCESS_EXIT_CODE_RUNNING);

  process.start_process(helper(), u"exit 3", Nym_process_details{2, true, 20000}, status);
  EXPECT_EQ(status, NYM_S_PROCESS_START_FAILED);
  EXPECT_TRUE(status.contains_value(NYM_S_PROCESS_ALREADY_RUNNING));
  EXPECT_TRUE(process.is_running() && process.id() == id) << "the running process is untouched";

  status.clear();
  process.terminate(status, 20000);
  EXPECT_FALSE(process.is_running() || process.id() != 0);
  EXPECT_EQ(process.get_exit_code(status), 0u) << "ended with exit code 0";
  EXPECT_TRUE(status.is_clear());

  process.start_process(helper(), u"sleep 60000", Nym_process_details(), status);
  ASSERT_TRUE(process.is_running()) << "an ended object starts again";
  EXPECT_TRUE(Nym_process::terminate(process.id(), 20000));
  EXPECT_FALSE(process.is_running());
  EXPECT_FALSE(Nym_process::terminate(0, 0));
}

// A bare name is found on PATH every time, not only on the first start, and a restarted object
// keeps no handle of the process before.
TEST(ProcessTest, ABareNameIsFoundOnThePathAtEveryStart) {
  std::wstring folder = nym_test::helper_program();
  folder.resize(folder.find_last_of(L"\\/"));
  std::vector<wchar_t> old_path(32768), old_folder(MAX_PATH);
  GetEnvironmentVariableW(L"PATH", old_path.data(), 32768);
  GetCurrentDirectoryW(MAX_PATH, old_folder.data());
  SetEnvironmentVariableW(L"PATH", (L"c:\\no such folder;\"" + folder + L"\";" + old_path.data()).c_str());
  SetCurrentDirectoryW(L"c:\\");  // not found beside us: only the path has it
  Nym_process process;
  long handles = -1;
  for (int i = 1; i <= 3; ++i) {
    Nym_status status;
    process.start_process(u"nym_test_helper", u"exit " + wide(std::to_wstring(i)), Nym_process_details{2, true, 20000},
                          status);
    EXPECT_EQ(process.get_exit_code(status), static_cast<unsigned int>(i));
    EXPECT_TRUE(status.is_clear()) << i;
    if (i == 1) handles = nym_test::count_resources().handles;
  }
  EXPECT_EQ(nym_test::count_resources().handles, handles) << "each start lets go of the handle before";
  Nym_status status;
  Nym_process waited(u"nym_test_helper.exe", u"helper exit 9", Nym_process_details{0}, status);
  EXPECT_EQ(waited.get_exit_code(status), 9u);
  SetCurrentDirectoryW(old_folder.data());
  SetEnvironmentVariableW(L"PATH", old_path.data());
}
