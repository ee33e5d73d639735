// The watchdog: if a test has not finished within the limit, it reports the test's name and
// ends the process, so that a deadlock fails the run instead of hanging it. Every test of every
// suite runs under one (test_main.cpp installs Watchdog_listener); a Watchdog object in a test
// is needed only for a tighter limit.
#ifndef NYM_TEST_WATCHDOG_H
#define NYM_TEST_WATCHDOG_H

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace nym_test {

class Watchdog {
 public:
  explicit Watchdog(const char* what, std::chrono::seconds limit = std::chrono::seconds(60))
      : m_what(what), m_thread([this, limit] { run(limit); }) {}
  ~Watchdog() {
    {
      std::lock_guard<std::mutex> hold(m_mutex);
      m_done = true;
    }
    m_finished.notify_all();
    m_thread.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  void run(std::chrono::seconds limit) {
    std::unique_lock<std::mutex> hold(m_mutex);
    if (!m_finished.wait_for(hold, limit, [this] { return m_done; })) {
      std::fprintf(stderr, "watchdog: %s did not finish within %lld s\n", m_what.c_str(),
                   static_cast<long long>(limit.count()));
      std::fflush(stderr);
      std::_Exit(3);
    }
  }

  std::string m_what;
  std::mutex m_mutex;
  std::condition_variable m_finished;
  bool m_done = false;
  std::thread m_thread;
};

// Arms a watchdog for each test as it starts and disarms it as it ends.
class Watchdog_listener : public testing::EmptyTestEventListener {
 public:
  void OnTestStart(const testing::TestInfo& test) override {
    m_name = std::string(test.test_suite_name()) + "." + test.name();
    m_watchdog = std::make_unique<Watchdog>(m_name.c_str(), std::chrono::seconds(120));
  }
  void OnTestEnd(const testing::TestInfo&) override { m_watchdog.reset(); }

 private:
  std::string m_name;
  std::unique_ptr<Watchdog> m_watchdog;
};

}  // namespace nym_test

#endif
