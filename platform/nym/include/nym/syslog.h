// The system's Application event log: statuses as events, and the registration of the message
// files that give those events their words. Windows only.
//
// An event carries the status's code as given (orig_value) as its identifier and the texts of
// its arguments as insertion strings; its type follows the severity (error, warning, or
// information for information and success). The words are not sent: the event viewer finds
// them in the message files registered for the source, listed in the "EventMessageFile" value
// of HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\EventLog\Application\<source>, paths
// joined by ";". The functions keep no state; threads may report through one handle at once.
#ifndef NYM_SYSLOG_H
#define NYM_SYSLOG_H

#include "nym/status.h"

namespace nym {

constexpr unsigned int NYM_S_SYSLOG_OPEN_FAILED = 0xC2000007u;    // arg: source
constexpr unsigned int NYM_S_SYSLOG_CLOSE_FAILED = 0xC2000008u;   // no args
constexpr unsigned int NYM_S_SYSLOG_REPORT_FAILED = 0xC2000009u;  // no args

// Opens the event log of this machine for `source`: the handle, owned by the caller, or null
// with NYM_S_SYSLOG_OPEN_FAILED over the system's code.
NYM_API void* nym_open_syslog(const Wstring& source, Nym_status& status);
// Closes a handle (null does nothing); NYM_S_SYSLOG_CLOSE_FAILED over the system's code. The
// status is not cleared first.
NYM_API void nym_close_syslog(void* handle, Nym_status& status);
// Writes `event` as one event, and with `with_chain` each status of its chain too, the deepest
// first. `category` goes with every event. Each failed event gives NYM_S_SYSLOG_REPORT_FAILED
// over the system's code; the status tells the top event's failure, or else the failure
// nearest to the top. `event` and `status` may be the same object.
NYM_API void nym_report_to_syslog(void* handle, unsigned int category, const Nym_status& event, bool with_chain,
                                  Nym_status& status);
// Adds `resource_path` to the source's message files, unless it is listed already (compared
// without regard to case); the earlier list is kept as it stands. A source without the value
// starts a new list. A value that can't be read (of another type, say) is reported and left
// alone. An empty source or path raises std::invalid_argument ("Event source name is empty.",
// "Event resource path is empty.") before the registry is touched.
NYM_API void nym_register_resources(const Wstring& source, const Wstring& resource_path, Nym_status& status);
// Removes every listing of `resource_path` and writes back what is left, in its order (maybe
// an empty value); when nothing was listed nothing is written. A source without the value is
// an error (the registry's). Raises as nym_register_resources.
NYM_API void nym_deregister_resources(const Wstring& source, const Wstring& resource_path, Nym_status& status);

}  // namespace nym

#endif
