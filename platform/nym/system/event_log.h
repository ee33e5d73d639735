// The system's event log behind the syslog functions (internal).
//
// The system's is reached through RegisterEventSourceW, DeregisterEventSource and ReportEventW;
// tests put their own in place to see what is sent, since Wine's event log keeps nothing.
#ifndef NYM_SYSTEM_EVENT_LOG_H
#define NYM_SYSTEM_EVENT_LOG_H

#include <vector>

#include "nym/types.h"

namespace nym::impl {

class Event_log {
 public:
  virtual ~Event_log() = default;

  // A handle for writing events of `source` on this machine, or null with the system's code in
  // `error`.
  virtual void* open(const Wstring& source, unsigned int& error) const = 0;
  // 0, or the system's code.
  virtual unsigned int close(void* handle) const = 0;
  // One event of `type` (1 error, 2 warning, 4 information): 0, or the system's code.
  virtual unsigned int report(void* handle, unsigned short type, unsigned short category, unsigned int id,
                              const std::vector<Wstring>& strings) const = 0;
};

// The event log the syslog functions use now: the system's unless one was put in place.
const Event_log& event_log();

// Puts `log` in place of the present one (null: the system's again) and answers the one it
// replaced (null for the system's). The caller keeps ownership; it must outlive its use.
NYM_API const Event_log* set_event_log(const Event_log* log);

}  // namespace nym::impl

#endif
