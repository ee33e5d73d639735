// The text of a status argument for anything that tells a status in words (internal).
#ifndef NYM_STATUS_ARGUMENT_TEXT_H
#define NYM_STATUS_ARGUMENT_TEXT_H

#include "nym/status_arg.h"

namespace nym::impl {

// Telling a status never fails, so an argument that can't tell itself (a date moved out of its
// range) gets a fixed text instead.
inline void argument_text(const Nym_status_arg& arg, Wstring& out) {
  try {
    arg.to_string(out);
  } catch (...) {
    out = u"(unprintable argument)";
  }
}

}  // namespace nym::impl

#endif
