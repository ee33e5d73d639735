// Hardware faults as C++ exceptions. GCC never calls a _set_se_translator routine, so the
// translator is a vectored exception handler: for a thread that installed it, it sends the
// faulting context into a small trampoline that calls a function which throws. The
// trampoline carries unwind information and stands where the faulting instruction's return
// address would be, so the unwinder walks from the throw through the trampoline into the
// faulting frame and on, running destructors on the way.
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "exception_record.h"
#include "nym/exception.h"

namespace nym::impl {

static_assert(sizeof(Exception_record) == sizeof(EXCEPTION_RECORD), "record layout");
static_assert(offsetof(Exception_record, previous) == offsetof(EXCEPTION_RECORD, ExceptionRecord), "record layout");
static_assert(offsetof(Exception_record, address) == offsetof(EXCEPTION_RECORD, ExceptionAddress), "record layout");
static_assert(offsetof(Exception_record, parameter_count) == offsetof(EXCEPTION_RECORD, NumberParameters),
              "record layout");
static_assert(offsetof(Exception_record, information) == offsetof(EXCEPTION_RECORD, ExceptionInformation),
              "record layout");
static_assert(sizeof(Exception_pointers) == sizeof(EXCEPTION_POINTERS), "pointers layout");

}  // namespace nym::impl

// Entered with RSP one word below the faulting RSP, R11 holding the address to unwind into and
// RCX, RDX, R8, R9, R10 the arguments of nym_throw_fault. The first instruction writes the
// return address; the allocation keeps the call 16-byte aligned (56 bytes when the faulting
// RSP was aligned, 48 when it was not), with room for the four home slots and a fifth argument.
asm(R"(
    .text
    .globl nym_fault_trampoline_aligned
    .def nym_fault_trampoline_aligned; .scl 2; .type 32; .endef
    .seh_proc nym_fault_trampoline_aligned
nym_fault_trampoline_aligned:
    movq %r11, (%rsp)
    subq $56, %rsp
    .seh_stackalloc 56
    .seh_endprologue
    movq %r10, 32(%rsp)
    call nym_throw_fault
    int3
    .seh_endproc

    .globl nym_fault_trampoline_unaligned
    .def nym_fault_trampoline_unaligned; .scl 2; .type 32; .endef
    .seh_proc nym_fault_trampoline_unaligned
nym_fault_trampoline_unaligned:
    movq %r11, (%rsp)
    subq $48, %rsp
    .seh_stackalloc 48
    .seh_endprologue
    movq %r10, 32(%rsp)
    call nym_throw_fault
    int3
    .seh_endproc
)");

extern "C" void nym_fault_trampoline_aligned();
extern "C" void nym_fault_trampoline_unaligned();

// Rebuilds the fault's record from the registers the handler filled and throws its exception.
extern "C" [[noreturn]] __attribute__((used)) void nym_throw_fault(DWORD64 code, DWORD64 address, DWORD64 info0,
                                                                  DWORD64 info1, DWORD64 flags_and_count) {
  EXCEPTION_RECORD record{};
  record.ExceptionCode = static_cast<DWORD>(code);
  record.ExceptionFlags = static_cast<DWORD>(flags_and_count >> 32);
  record.ExceptionAddress = reinterpret_cast<void*>(address);
  record.NumberParameters = static_cast<DWORD>(flags_and_count & 0xFFFFFFFFu);
  record.ExceptionInformation[0] = info0;
  record.ExceptionInformation[1] = info1;
  EXCEPTION_POINTERS pointers{&record, nullptr};
  nym::nym_exception_translator(record.ExceptionCode, &pointers);
}

namespace nym {

namespace {

// A thread is known by its id and its creation time: ids are reused after a thread ends.
struct Translating_thread {
  DWORD id;
  ULONGLONG created;
};

SRWLOCK g_threads_lock = SRWLOCK_INIT;
std::vector<Translating_thread>* g_threads = nullptr;  // under g_threads_lock; never freed
PVOID g_handler = nullptr;                           // under g_threads_lock (exclusive)
HMODULE g_system_modules[3] = {};                     // written once before the handler goes in

ULONGLONG creation_time(HANDLE thread) {
  FILETIME created{}, exited{}, kernel{}, user{};
  if (!GetThreadTimes(thread, &created, &exited, &kernel, &user)) return 0;
  return (static_cast<ULONGLONG>(created.dwHighDateTime) << 32) | created.dwLowDateTime;
}

bool current_thread_translates() {
  const DWORD id = GetCurrentThreadId();
  bool listed = false;
  AcquireSRWLockShared(&g_threads_lock);
  ULONGLONG created = 0;
  if (g_threads != nullptr) {
    for (const auto& t : *g_threads) {
      if (t.id == id) {
        listed = true;
        created = t.created;
        break;
      }
    }
  }
  ReleaseSRWLockShared(&g_threads_lock);
  return listed && created == creation_time(GetCurrentThread());
}

bool is_converted(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_IN_PAGE_ERROR:
    case EXCEPTION_DATATYPE_MISALIGNMENT:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_ARRAY_BOUNDS_EXCEEDED:
    case EXCEPTION_FLT_DENORMAL_OPERAND:
    case EXCEPTION_FLT_DIVIDE_BY_ZERO:
    case EXCEPTION_FLT_INEXACT_RESULT:
    case EXCEPTION_FLT_INVALID_OPERATION:
    case EXCEPTION_FLT_OVERFLOW:
    case EXCEPTION_FLT_STACK_CHECK:
    case EXCEPTION_FLT_UNDERFLOW:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case EXCEPTION_INT_OVERFLOW:
      return true;
    default:
      return false;
  }
}

// The system's own DLLs probe memory under their own handlers; their faults stay theirs.
bool in_system_module(DWORD64 address) {
  HMODULE module = nullptr;
  if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                          reinterpret_cast<LPCWSTR>(address), &module)) {
    return false;
  }
  return std::find(std::begin(g_system_modules), std::end(g_system_modules), module) != std::end(g_system_modules);
}

LONG CALLBACK translate_fault(EXCEPTION_POINTERS* info) {
  const EXCEPTION_RECORD* record = info->ExceptionRecord;
  CONTEXT* context = info->ContextRecord;
  if (record == nullptr || context == nullptr || !is_converted(record->ExceptionCode)) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  if (!current_thread_translates() || in_system_module(context->Rip)) return EXCEPTION_CONTINUE_SEARCH;

  const DWORD64 rsp = context->Rsp;
  const DWORD count = std::min<DWORD>(record->NumberParameters, 2);
  context->Rcx = record->ExceptionCode;
  context->Rdx = reinterpret_cast<DWORD64>(record->ExceptionAddress);
  context->R8 = count > 0 ? record->ExceptionInformation[0] : 0;
  context->R9 = count > 1 ? record->ExceptionInformation[1] : 0;
  context->R10 = (static_cast<DWORD64>(record->ExceptionFlags) << 32) | count;
  // One past the faulting instruction: the unwinder takes a return address minus one as the
  // place of the call, which is then the faulting instruction itself.
  context->R11 = context->Rip + 1;
  context->Rsp = rsp - 8;
  context->Rip = reinterpret_cast<DWORD64>(rsp % 16 == 0 ? &nym_fault_trampoline_aligned
                                                          : &nym_fault_trampoline_unaligned);
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

void* nym_install_exception_translator() {
  const DWORD id = GetCurrentThreadId();
  const ULONGLONG created = creation_time(GetCurrentThread());
  void* previous = nullptr;
  AcquireSRWLockExclusive(&g_threads_lock);
  try {
    if (g_threads == nullptr) g_threads = new std::vector<Translating_thread>;
    if (g_handler == nullptr) {
      g_system_modules[0] = GetModuleHandleW(L"ntdll.dll");
      g_system_modules[1] = GetModuleHandleW(L"kernelbase.dll");
      g_system_modules[2] = GetModuleHandleW(L"kernel32.dll");
      g_handler = AddVectoredExceptionHandler(1, translate_fault);
      if (g_handler == nullptr) throw Nym_sys_call_fail("::AddVectoredExceptionHandler");
    }
    auto& threads = *g_threads;
    auto found = std::find_if(threads.begin(), threads.end(), [&](const Translating_thread& t) { return t.id == id; });
    if (found != threads.end() && found->created == created) {
      previous = reinterpret_cast<void*>(&nym_exception_translator);
    } else if (found != threads.end()) {
      found->created = created;  // a thread that ended left its id behind
    } else {
      threads.push_back({id, created});
    }
  } catch (...) {
    ReleaseSRWLockExclusive(&g_threads_lock);
    throw;
  }
  ReleaseSRWLockExclusive(&g_threads_lock);
  return previous;
}

}  // namespace nym
