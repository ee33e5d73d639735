// Signalling and resetting a manual-reset event whose every signal and reset happen under one
// lock of its owner (internal). There its state is known, so a call that would not change it
// is left out: each is a system call, and under some systems a round trip to a server.
#ifndef NYM_SYNC_EVENT_STATE_H
#define NYM_SYNC_EVENT_STATE_H

#include "nym/event.h"

namespace nym::impl {

// `is_set` mirrors the event; it changes only once the call succeeded.
inline void signal_event(const Nym_event& event, bool& is_set) {
  if (is_set) return;
  event.signal();
  is_set = true;
}

inline void reset_event(const Nym_event& event, bool& is_set) {
  if (!is_set) return;
  event.reset();
  is_set = false;
}

}  // namespace nym::impl

#endif
