// The library's exceptions: a failed system call, and Windows structured exceptions turned
// into typed C++ exceptions with a readable description.
//
// All are thrown by value and caught by reference. A thread that wants hardware faults (an
// access violation, an integer division by zero, ...) to arrive as Nym_system_exception calls
// nym_install_exception_translator itself; code that may fault must be built with
// -fnon-call-exceptions so that the compiler expects an instruction to throw.
#ifndef NYM_EXCEPTION_H
#define NYM_EXCEPTION_H

#include <cstdint>
#include <stdexcept>

#include "nym/types.h"

#if defined(_WIN32)
struct _EXCEPTION_POINTERS;
#else
// Away from Windows, the system's record layout, so that descriptions can be built from
// records of any source (code, flags, link to a previous record, address, information).
struct _EXCEPTION_RECORD {
  std::uint32_t ExceptionCode;
  std::uint32_t ExceptionFlags;
  _EXCEPTION_RECORD* ExceptionRecord;
  void* ExceptionAddress;
  std::uint32_t NumberParameters;
  std::uintptr_t ExceptionInformation[15];
};
struct _EXCEPTION_POINTERS {
  _EXCEPTION_RECORD* ExceptionRecord;
  void* ContextRecord;
};
#endif

namespace nym {

// A system call failed where the operation has no status to report it in. what() names the
// call with a leading "::", as in "::InitializeAcl".
class NYM_API Nym_sys_call_fail : public std::runtime_error {
 public:
  explicit Nym_sys_call_fail(const Nstring& text) : std::runtime_error(text) {}
  Nym_sys_call_fail(const Nym_sys_call_fail&) = default;
  Nym_sys_call_fail& operator=(const Nym_sys_call_fail&) = default;
  ~Nym_sys_call_fail() override;
};

// A structured exception: code() is the exception code, what() its description, one line
// per fact, each ending in CR LF: the meaning of the code (for an access violation a second
// line with the address accessed), "Exception code is 0x...", "Error occured at address
// 0x...", and for a linked record "Previous exception..." and that record's description.
class NYM_API Nym_system_exception : public std::runtime_error {
 public:
  // Empty text, code 0.
  Nym_system_exception();
  // Text and code from the record; null pointers or a null record give empty text and code 0.
  // The flag is accepted and not used.
  Nym_system_exception(const _EXCEPTION_POINTERS* pointers, bool flag);
  Nym_system_exception(const Nym_system_exception&) = default;
  Nym_system_exception& operator=(const Nym_system_exception&) = default;
  ~Nym_system_exception() override;

  unsigned int code() const { return m_code; }

 private:
  Nstring build_ms_description(const _EXCEPTION_POINTERS* pointers) const;

  unsigned int m_code = 0;
};

// A structured exception whose code is one the system's RPC run-time raises.
class NYM_API Nym_rpc_exception : public Nym_system_exception {
 public:
  Nym_rpc_exception() = default;
  Nym_rpc_exception(const _EXCEPTION_POINTERS* pointers, bool flag) : Nym_system_exception(pointers, flag) {}
  Nym_rpc_exception(const Nym_rpc_exception&) = default;
  Nym_rpc_exception& operator=(const Nym_rpc_exception&) = default;
  ~Nym_rpc_exception() override;
};

// Throws the exception of the record: Nym_rpc_exception for the RPC run-time's codes,
// Nym_system_exception for any other. The record's code decides, not `code`.
[[noreturn]] NYM_API void nym_exception_translator(unsigned int code, _EXCEPTION_POINTERS* pointers);

#if defined(_WIN32)
// Makes the calling thread's hardware faults arrive as the translator's exceptions, thrown
// from the faulting instruction; other threads are left alone. Converted: access violation,
// in-page error, misalignment, illegal and privileged instruction, array bounds, the
// floating-point faults, integer division by zero and overflow. Not converted: breakpoints
// and single steps (debuggers own them), stack overflow (no stack is left to throw on), faults
// inside the system's own DLLs (they guard their probes themselves) and software exceptions.
// Answers the thread's previous translator: null the first time, else nym_exception_translator.
NYM_API void* nym_install_exception_translator();
#endif

}  // namespace nym

#endif
