// Starting nym_test_helper, the tests' child process (tests/helper/helper_main.cpp lists its
// subcommands), and waiting for it with a bound.
#ifndef NYM_TEST_HELPER_PROCESS_H
#define NYM_TEST_HELPER_PROCESS_H

#include <chrono>
#include <string>
#include <vector>

namespace nym_test {

constexpr int HELPER_TIMED_OUT = -1;    // still running at the limit: it was killed
constexpr int HELPER_NOT_STARTED = -2;  // the helper could not be started

// Runs nym_test_helper (found beside the test executable) with `args`, the subcommand first
// (none may hold a double quote), and waits at most `limit` for it to end: answers its exit
// code, or one of the two values above. The helper shares the test's standard streams, so what it prints shows in the test's
// output, and it inherits the test's inheritable handles. A test that talks to the helper
// while it runs calls this on a thread of its own.
int run_helper(const std::vector<std::string>& args, std::chrono::milliseconds limit);

#if defined(_WIN32)
// As run_helper, with the helper's standard input and output on the given handles: the helper
// gets copies of its own, so the test may close its ends whenever it likes.
int run_helper_with_streams(const std::vector<std::string>& args, std::chrono::milliseconds limit, void* std_in,
                            void* std_out);

// The full path of nym_test_helper.exe, beside the test executable.
std::wstring helper_program();
#endif

#if defined(_WIN32)
// An inheritable duplicate of a handle, for the helper to use by number; closed with this
// object. The helper reads it back with its handle_argument().
class Inherited_handle {
 public:
  explicit Inherited_handle(void* handle);
  ~Inherited_handle();
  Inherited_handle(const Inherited_handle&) = delete;
  Inherited_handle& operator=(const Inherited_handle&) = delete;

  // The duplicate's value in decimal, as a command-line argument.
  std::string text() const;

 private:
  void* m_duplicate = nullptr;
};
#endif

}  // namespace nym_test

#endif
