// How a store turns an exception from its own storage into its status (internal).
#ifndef NYM_BUFFER_STORE_FAILURE_H
#define NYM_BUFFER_STORE_FAILURE_H

#include <exception>
#include <new>

#include "nym/buffer.h"

namespace nym::impl {

// Call only inside a catch block: the exception being handled becomes NYM_S_NO_MEMORY,
// NYM_S_STD_EXCEPTION with its text, or NYM_S_UNKNOWN_EXCEPTION, and `above` goes on top.
inline void status_from_exception(Nym_status& status, unsigned int above) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    status = NYM_S_NO_MEMORY;
  } catch (const std::exception& e) {
    try {
      status.assign(NYM_S_STD_EXCEPTION, Nym_wstring_status_arg(Nstring(e.what())));
    } catch (...) {
      status = NYM_S_STD_EXCEPTION;  // no memory for the text
    }
  } catch (...) {
    status = NYM_S_UNKNOWN_EXCEPTION;
  }
  try {
    status.push(above);
  } catch (...) {
    status = above;
  }
}

}  // namespace nym::impl

#endif
