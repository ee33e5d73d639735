// The layout of the system's exception record and pointers (internal). The portable code
// reads records through these, so that it needs no system header; exception_win32.cpp checks
// them against the platform's own definitions.
#ifndef NYM_STATUS_EXCEPTION_RECORD_H
#define NYM_STATUS_EXCEPTION_RECORD_H

#include <cstdint>

#include "nym/exception.h"

namespace nym::impl {

struct Exception_record {
  std::uint32_t code;
  std::uint32_t flags;
  Exception_record* previous;
  void* address;
  std::uint32_t parameter_count;
  std::uintptr_t information[15];
};

struct Exception_pointers {
  Exception_record* record;
  void* context;
};

inline const Exception_pointers* view(const _EXCEPTION_POINTERS* pointers) {
  return reinterpret_cast<const Exception_pointers*>(pointers);
}

}  // namespace nym::impl

#endif
