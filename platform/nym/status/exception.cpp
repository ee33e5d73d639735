#include "nym/exception.h"

#include <unordered_set>

#include "exception_record.h"
#include "nym/string_basic.h"

namespace nym {

namespace {

struct Code_text {
  unsigned int code;
  const char* text;
};

const Code_text DESCRIPTIONS[] = {
    {0x80000002u,
     "The thread attempted to read or write data that is misaligned on hardware that does not provide alignment. "
     "For example, 16-bit values must be aligned on 2-byte boundaries, 32-bit values on 4-byte boundaries, and so "
     "on.\r\n"},
    {0x80000003u, "A breakpoint was encountered.\r\n"},
    {0x80000004u, "A trace trap or other single-instruction mechanism signaled that one instruction has been executed.\r\n"},
    {0xC0000005u,
     "The thread attempted to read from or write to a virtual address for which it does not have the appropriate "
     "access.\r\n"},
    {0xC0000025u, "The thread attempted to continue execution after a noncontinuable exception occurred.\r\n"},
    {0xC000008Cu,
     "The thread attempted to access an array element that is out of bounds, and the underlying hardware supports "
     "bounds checking.\r\n"},
    {0xC000008Du,
     "One of the operands in a floating-point operation is denormal. A denormal value is one that is too small to "
     "represent as a standard floating-point value.\r\n"},
    {0xC000008Eu, "The thread attempted to divide a floating-point value by a floating-point divisor of zero.\r\n"},
    {0xC000008Fu, "The result of a floating-point operation cannot be represented exactly as a decimal fraction.\r\n"},
    {0xC0000090u, "This exception represents any floating-point exception not included in this list.\r\n"},
    {0xC0000091u,
     "The exponent of a floating-point operation is greater than the magnitude allowed by the corresponding "
     "type.\r\n"},
    {0xC0000092u, "The stack overflowed or underflowed as the result of a floating-point operation.\r\n"},
    {0xC0000093u,
     "The exponent of a floating-point operation is less than the magnitude allowed by the corresponding type.\r\n"},
    {0xC0000094u, "The thread attempted to divide an integer value by an integer divisor of zero.\r\n"},
    {0xC0000095u, "The result of an integer operation caused a carry out of the most significant bit of the result.\r\n"},
    {0xC0000096u,
     "The thread attempted to execute an instruction whose operation is not allowed in the current machine "
     "mode.\r\n"},
};

const char UNKNOWN_TEXT[] = "An unknown Microsoft structured exception has occurred.\r\n";

// The codes that the system's RPC run-time raises, as closed ranges. They are too low to be
// told from other codes by severity, so the list decides.
const unsigned int RPC_RANGES[][2] = {
    {0, 0},       {5, 5},       {14, 14},     {87, 87},     {122, 122},   {164, 164},   {1130, 1130},
    {1700, 1728}, {1730, 1730}, {1732, 1737}, {1739, 1749}, {1754, 1762}, {1764, 1771}, {1791, 1791},
    {1806, 1806}, {1817, 1820}, {1822, 1824}, {1826, 1826}, {1898, 1898}, {1900, 1900},
};

bool is_rpc_code(unsigned int code) {
  for (const auto& range : RPC_RANGES) {
    if (code >= range[0] && code <= range[1]) return true;
  }
  return false;
}

// One formatted line, through a bounded buffer of 128 bytes.
template <class... Args>
void append_line(Nstring& out, const char* format, Args... args) {
  char line[128];
  nym_sprintf_s(line, sizeof line, format, args...);
  out += line;
}

}  // namespace

Nym_sys_call_fail::~Nym_sys_call_fail() = default;

Nym_system_exception::Nym_system_exception() : std::runtime_error(Nstring()) {}

Nym_system_exception::Nym_system_exception(const _EXCEPTION_POINTERS* pointers, bool)
    : std::runtime_error(build_ms_description(pointers)) {
  if (pointers != nullptr && impl::view(pointers)->record != nullptr) m_code = impl::view(pointers)->record->code;
}

Nym_system_exception::~Nym_system_exception() = default;

Nym_rpc_exception::~Nym_rpc_exception() = default;

Nstring Nym_system_exception::build_ms_description(const _EXCEPTION_POINTERS* pointers) const {
  Nstring out;
  if (pointers == nullptr) return out;
  // A linked list of records may come from anywhere: a cycle ends the description rather than
  // repeating it for ever, and the walk is a loop so that depth costs no stack.
  const impl::Exception_record* first = impl::view(pointers)->record;
  std::unordered_set<const void*> seen;
  for (const impl::Exception_record* record = first; record != nullptr; record = record->previous) {
    if (!seen.insert(record).second) break;
    if (record != first) out += "\r\nPrevious exception...\r\n";
    const unsigned int code = record->code;
    const char* text = UNKNOWN_TEXT;
    for (const auto& entry : DESCRIPTIONS) {
      if (entry.code == code) text = entry.text;
    }
    out += text;
    if (code == 0xC0000005u) {
      // The full address: the line's shape holds at least eight digits, and a 64-bit address
      // cut to 32 bits would point somewhere else.
      append_line(out, "The memory address accessed is 0x%08llx.\r\n",
                  static_cast<unsigned long long>(record->information[1]));
    }
    append_line(out, "Exception code is 0x%08lx.\r\n", static_cast<unsigned long>(code));
    // As the platform prints a pointer on x64: sixteen upper-case digits.
    append_line(out, "Error occured at address 0x%016llX.\r\n",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(record->address)));
  }
  return out;
}

void nym_exception_translator(unsigned int, _EXCEPTION_POINTERS* pointers) {
  const unsigned int code =
      pointers != nullptr && impl::view(pointers)->record != nullptr ? impl::view(pointers)->record->code : 0;
  if (is_rpc_code(code)) throw Nym_rpc_exception(pointers, false);
  throw Nym_system_exception(pointers, false);
}

}  // namespace nym
