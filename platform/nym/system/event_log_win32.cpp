#include <windows.h>

#include <atomic>

#include "system/event_log.h"
#include "base/win32_wide.h"

namespace nym::impl {

namespace {

class System_event_log final : public Event_log {
 public:
  void* open(const Wstring& source, unsigned int& error) const override {
    HANDLE handle = RegisterEventSourceW(nullptr, win32_wide(source));
    error = handle == nullptr ? GetLastError() : 0;
    return handle;
  }

  unsigned int close(void* handle) const override {
    return DeregisterEventSource(handle) ? 0 : GetLastError();
  }

  unsigned int report(void* handle, unsigned short type, unsigned short category, unsigned int id,
                      const std::vector<Wstring>& strings) const override {
    std::vector<const wchar_t*> texts;
    texts.reserve(strings.size());
    for (const Wstring& s : strings) texts.push_back(win32_wide(s));
    const BOOL done = ReportEventW(handle, type, category, id, nullptr, static_cast<WORD>(texts.size()), 0,
                                   texts.empty() ? nullptr : texts.data(), nullptr);
    return done ? 0 : GetLastError();
  }
};

const System_event_log SYSTEM_EVENT_LOG;
std::atomic<const Event_log*> g_replacement{nullptr};

}  // namespace

const Event_log& event_log() {
  const Event_log* replacement = g_replacement.load();
  return replacement != nullptr ? *replacement : SYSTEM_EVENT_LOG;
}

const Event_log* set_event_log(const Event_log* log) { return g_replacement.exchange(log); }

}  // namespace nym::impl
