// Nym_status: the result object of nearly every operation of the library.
//
// A status holds a normalised 32-bit code, the code as given, up to eight typed arguments and
// a chain of older statuses, so that each layer can push its own code over the cause it got.
// Copies share arguments and chain through plain (non-atomic) use counts: a status and all
// its copies belong to one thread at a time. A clear status, or one with a code and no
// arguments, owns no heap memory; testing one reads one word.
//
// Code layout: bits 31-30 severity (00 success, 01 information, 10 warning, 11 error),
// bits 27-16 facility (the library's is 0x200), bits 15-0 number.
#ifndef NYM_STATUS_H
#define NYM_STATUS_H

#include "nym/counted_ptr.h"
#include "nym/status_arg.h"

// Xerces-C's DOM node, declared so that this header needs no Xerces header: callers of to_xml
// and from_xml include Xerces-C 3.2 themselves (the installed package carries it).
namespace xercesc_3_2 {
class DOMNode;
}
namespace xercesc = xercesc_3_2;

namespace nym {

// The library's facility, 0x200, in its place in a code (as facility() answers); its codes run
// 0xC2000001 upward.
constexpr unsigned int NYM_FACILITY = 0x02000000u;

// An allocation failed; reported by every layer, so named here at the bottom.
constexpr unsigned int NYM_S_NO_MEMORY = 0xC2000001u;

class NYM_API Nym_status {
 public:
  // Owned clones of a status's arguments: one fixed allocation of eight slots.
  struct NYM_API Arg_list {
    std::uint32_t count = 0;
    Nym_status_arg* args[8] = {};

    Arg_list() = default;
    Arg_list(const Arg_list&) = delete;
    Arg_list& operator=(const Arg_list&) = delete;
    ~Arg_list();

   private:
    friend class Nym_status;
    // Appends a clone; NULL_ARGUMENT is ignored; a ninth throws std::overflow_error.
    Nym_status_arg* add(const Nym_status_arg& arg);
    // Clears, clones the first `always` arguments, then each further one unless it is
    // NULL_ARGUMENT.
    void assign(const Nym_status_arg* const* given, unsigned always, unsigned total);
    void clear();
  };

  Nym_status() noexcept = default;
  Nym_status(unsigned int code) noexcept : m_value(convert_value(code)), m_orig_value(code) {}
  Nym_status(unsigned int code, const Nym_status_arg& a1);
  Nym_status(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2);
  Nym_status(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2, const Nym_status_arg& a3);
  Nym_status(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2, const Nym_status_arg& a3,
             const Nym_status_arg& a4, const Nym_status_arg& a5 = Nym_null_status_arg::NULL_ARGUMENT,
             const Nym_status_arg& a6 = Nym_null_status_arg::NULL_ARGUMENT,
             const Nym_status_arg& a7 = Nym_null_status_arg::NULL_ARGUMENT,
             const Nym_status_arg& a8 = Nym_null_status_arg::NULL_ARGUMENT);
  // Copies share the argument list and the chain.
  Nym_status(const Nym_status& other) noexcept = default;
  Nym_status& operator=(const Nym_status& other) noexcept;
  // A clear status owns nothing: its destruction is one test of the two shares, here inline.
  ~Nym_status() {
    if (owns_any()) release_all();
  }

  // Drops arguments and chain and sets the code: `status = GetLastError()`, which keeps the
  // system's number n as the error 0xC0000000 | n.
  Nym_status& operator=(unsigned int code) noexcept;

  // Sets the code and arguments, dropping the chain. A list shared with a copy is replaced,
  // so the copy keeps what it saw.
  void assign(unsigned int code, const Nym_status_arg& a1);
  void assign(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2);
  void assign(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2, const Nym_status_arg& a3);
  void assign(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2, const Nym_status_arg& a3,
              const Nym_status_arg& a4, const Nym_status_arg& a5 = Nym_null_status_arg::NULL_ARGUMENT,
              const Nym_status_arg& a6 = Nym_null_status_arg::NULL_ARGUMENT,
              const Nym_status_arg& a7 = Nym_null_status_arg::NULL_ARGUMENT,
              const Nym_status_arg& a8 = Nym_null_status_arg::NULL_ARGUMENT);
  // Appends one argument to the top status; a shared list is not carried over, so after a
  // copy the status holds only this argument. A ninth throws std::overflow_error.
  void add_arg(const Nym_status_arg& arg);
  // Both codes to 0, arguments and chain released; inline, as readers clear before every read.
  void clear() noexcept {
    if (owns_any()) release_all();
    m_value = 0;
    m_orig_value = 0;
  }

  // Puts a new code on top; the present status, with its arguments and chain, becomes its
  // child. On a clear status these act as operator= / assign. If building the arguments
  // throws, the status is left as it was.
  void push(unsigned int code);
  void push(unsigned int code, const Nym_status_arg& a1);
  void push(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2);
  void push(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2, const Nym_status_arg& a3);
  void push(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2, const Nym_status_arg& a3,
            const Nym_status_arg& a4, const Nym_status_arg& a5 = Nym_null_status_arg::NULL_ARGUMENT,
            const Nym_status_arg& a6 = Nym_null_status_arg::NULL_ARGUMENT,
            const Nym_status_arg& a7 = Nym_null_status_arg::NULL_ARGUMENT,
            const Nym_status_arg& a8 = Nym_null_status_arg::NULL_ARGUMENT);
  // Puts `other` and its chain on top: the result reads other, other's chain, then the old
  // status and its chain.
  void push(const Nym_status& other);
  // Drops the top; the first child becomes the top (a status without child becomes clear).
  void pop();

  const Nym_status* child() const noexcept { return m_child.get(); }
  bool has_child() const noexcept { return static_cast<bool>(m_child); }
  // Whether this status or any below it has the (normalised) code.
  bool contains_value(unsigned int code) const noexcept;

  // The normalised code (convert_value); every test reads it.
  unsigned int value() const noexcept { return m_value; }
  // The code exactly as given (message lookup and XML use it).
  unsigned int orig_value() const noexcept { return m_orig_value; }
  // The 12-bit facility field in place: value AND 0x0FFF0000, not shifted as HRESULT_FACILITY
  // shifts it.
  unsigned int facility() const noexcept { return m_value & 0x0FFF0000u; }
  bool is_success() const noexcept { return m_value < 0x40000000u; }
  bool is_information() const noexcept { return (m_value >> 30) == 1; }
  bool is_warning() const noexcept { return (m_value >> 30) == 2; }
  bool is_error() const noexcept { return (m_value >> 30) == 3; }
  // Not an error: warnings and information are ok.
  bool ok() const noexcept { return (m_value >> 30) != 3; }
  // Value 0, no arguments and no child.
  bool is_clear() const noexcept { return m_value == 0 && num_args() == 0 && !m_child; }
  // Not HRESULT_FROM_WIN32: the value's low 16 bits and facility bits 26-16 (facility 0xC00
  // becomes 0x7FF), with bit 31 for an error. A system number 5 gives 0x80000005, not 0x80070005.
  unsigned int hresult() const noexcept;

  unsigned int num_args() const noexcept { return m_args ? m_args->count : 0; }
  // The arguments in order; without a list both point at one static empty list.
  Nym_status_arg* const* begin() const noexcept { return m_args ? m_args->args : m_static_args.args; }
  Nym_status_arg* const* end() const noexcept { return begin() + num_args(); }

  // The argument is normalised first; only the top value takes part. So `status == 5` holds
  // for ERROR_ACCESS_DENIED, and not for E_ACCESSDENIED (0x80070005), which keeps its facility.
  bool operator==(unsigned int code) const noexcept { return m_value == convert_value(code); }
  bool operator!=(unsigned int code) const noexcept { return !(*this == code); }
  // Value against value: arguments and chain take no part (see compare).
  bool operator==(const Nym_status& other) const noexcept { return m_value == other.m_value; }
  bool operator!=(const Nym_status& other) const noexcept { return m_value != other.m_value; }
  // Deep comparison: values, optionally the arguments pairwise and the chains.
  bool compare(const Nym_status& other, bool compare_args, bool compare_children) const;

  // Writes this status into `element` (a DOMElement of the caller's document): attributes
  // "value" and "origvalue" in decimal, one "Arg" child per argument (attributes "type" and
  // "value"), then, with `children`, the chain as nested "ChildStatus" elements. A date and time
  // is written in UTC. What Xerces-C throws goes through. Chains of any depth cost no stack.
  void to_xml(xercesc::DOMNode* element, bool children) const;
  // Reads an element written by to_xml into this status, adding to what it holds (call it on a
  // clear status); a "ChildStatus" replaces the chain. Value and orig value are stored as read,
  // not normalised. Integers come back with their format flag set, a null argument as an empty
  // string, a time without microseconds, a date and time in UTC; a false bool is written as
  // "false" but only an empty value reads as false. Raises std::runtime_error
  // "Nym_status::from_xml() - Invalid XML format" for an argument it can't read (the ones read
  // so far stay), and std::overflow_error "i64 too negative for u32" / "i64 too positive for
  // u32" for a value out of range. Nesting of any depth costs no stack.
  void from_xml(const xercesc::DOMNode* element);

  // The normalised form of a code. Facility 0x100 and up: the code as given. No facility: a
  // system number n becomes 0xC0000000 | n, whatever its top bits (0 stays 0). A facility below
  // 0x100 (an HRESULT's): 0xC0000000 | the low 28 bits for an error, else the low 28 bits
  // alone, so an HRESULT's warning or information becomes a success.
  static constexpr unsigned int convert_value(unsigned int code) noexcept {
    const unsigned int facility = code & 0x0FFF0000u;
    const unsigned int low = code & 0x0FFFFFFFu;
    if (facility >= 0x01000000u) return code;  // already in this library's form
    if (facility == 0) return low == 0 ? 0 : (low | 0xC0000000u);  // plain system error
    return (code & 0x80000000u) != 0 ? (low | 0xC0000000u) : low;  // a system HRESULT
  }

 private:
  using Status_ptr = Ovt_counted_ptr<Nym_status>;
  using List_ptr = Ovt_counted_ptr<Arg_list>;

  // Whether an argument list or a chain is held: one test of both words.
  bool owns_any() const noexcept {
    return (reinterpret_cast<std::uintptr_t>(m_child.get()) | reinterpret_cast<std::uintptr_t>(m_args.get())) != 0;
  }

  void set_code(unsigned int code) noexcept {
    m_value = convert_value(code);
    m_orig_value = code;
  }
  void release_all() noexcept;
  void release_chain() noexcept;
  Status_ptr make_node() const;
  void restore_from(const Status_ptr& node) noexcept;
  Status_ptr clone() const;
  void assign_args(unsigned int code, const Nym_status_arg* const* given, unsigned always, unsigned total);
  void push_args(unsigned int code, const Nym_status_arg* const* given, unsigned always, unsigned total);
  static List_ptr new_list(const Nym_status_arg* const* given, unsigned always, unsigned total);
  // One element of from_xml: an "Arg" read into the list (is_arg set; false when it can't be
  // read), anything else left for the chain.
  bool deserialize_arg(const xercesc::DOMNode* node, bool& is_arg);
  // Makes a fresh child for a "ChildStatus" element, replacing the chain; answers whether it
  // did, so that from_xml reads the element into it.
  bool deserialize_child(const xercesc::DOMNode* node);

  unsigned int m_value = 0;
  unsigned int m_orig_value = 0;
  List_ptr m_args;
  Status_ptr m_child;

  static Arg_list m_static_args;
};

}  // namespace nym

#endif
