// The small services at the edge of the library: the processor's facts (Nym_system), loading
// of libraries at run time, the reserve-memory handler and the byte order of UUIDs. Windows
// only.
//
// What the library does when it is loaded: its entry point remembers its module handle; the C
// run-time's new-mode becomes 1 (malloc fails through the new-handler too) and the library's
// new-handler is installed, both kept to be put back when it is unloaded. The handler does
// nothing but raise std::bad_alloc ("bad allocation") until nym_init_new_handler gives it a
// reserve to release.
#ifndef NYM_SYSTEM_H
#define NYM_SYSTEM_H

#include "nym/critical.h"
#include "nym/status.h"
#include "nym/types.h"

namespace nym {

constexpr unsigned int NYM_S_LOAD_LIBRARY_FAILED = 0xC2000004u;    // above the system's code; argument: the path
constexpr unsigned int NYM_S_UNLOAD_LIBRARY_FAILED = 0xC2000005u;  // above the system's code
constexpr unsigned int NYM_S_LOOKUP_FUNCTION_FAILED = 0xC2000006u; // above the system's code; argument: the name

enum Nym_processor_architecture : int {
  NYM_PROCESSOR_UNKNOWN = 0,
  NYM_PROCESSOR_X86 = 1,
  NYM_PROCESSOR_X64 = 2,
  NYM_PROCESSOR_ITANIUM = 3
};

enum Nym_processor_capability : int {
  NYM_CPU_3DNOW = 0,
  NYM_CPU_CMPXCHG8B = 1,
  NYM_CPU_FLOATING_POINT = 2,  // a unit, not an emulation
  NYM_CPU_MMX = 3,
  NYM_CPU_NX = 4,
  NYM_CPU_PAE = 5,
  NYM_CPU_SSE = 6,
  NYM_CPU_SSE2 = 7,
  NYM_CPU_SSE3 = 8
};

// The processor as the system describes it. On levels 3 and 4 the model is a letter's code
// ('A' upward) and the stepping 0; otherwise both are the two bytes of the revision. Each
// capability is asked of the system once and remembered; any thread may ask.
class NYM_API Nym_system {
 public:
  // Reads the system's facts; instance() keeps one for the process.
  Nym_system();
  virtual ~Nym_system();
  Nym_system(const Nym_system& other);
  Nym_system& operator=(const Nym_system& other);

  // The process's one instance, made on the first call; safe from any thread, never destroyed.
  static Nym_system* instance();

  Nym_processor_architecture architecture() const { return m_architecture; }
  unsigned short processor_count() const { return m_processor_count; }
  unsigned short processor_level() const { return m_processor_level; }
  unsigned short processor_model() const { return m_processor_model; }
  unsigned short processor_stepping() const { return m_processor_stepping; }
  // False for a value outside the enumeration.
  bool processor_has_capability(Nym_processor_capability capability) const;

 private:
  static constexpr int CAPABILITIES = 9;

  Nym_processor_architecture m_architecture = NYM_PROCESSOR_UNKNOWN;
  unsigned short m_processor_count = 0;
  unsigned short m_processor_level = 0;
  unsigned short m_processor_model = 0;
  unsigned short m_processor_stepping = 0;
  // The answers so far: -1 not asked yet, 0 no, 1 yes; each slot is written once by whichever
  // thread asks first, atomically, so concurrent first questions are safe.
  mutable volatile int m_answers[CAPABILITIES];

  static Nym_system* m_instance;
  static Nym_critical m_crit_sect;
};

// LoadLibraryW: the module's handle, or null with NYM_S_LOAD_LIBRARY_FAILED (the path) on top
// of the system's code.
NYM_API void* nym_load_library(const Wstring& path, Nym_status& status);
// GetProcAddress: the function's address, or null with NYM_S_LOOKUP_FUNCTION_FAILED (the name)
// on top of the system's code.
NYM_API void* nym_lookup_function(void* library, const Nstring& name, Nym_status& status);
// FreeLibrary; null does nothing. NYM_S_UNLOAD_LIBRARY_FAILED on top of the system's code.
NYM_API void nym_unload_library(void* library, Nym_status& status);

// Sets aside `reserve_bytes` of committed, inaccessible memory for the library's new-handler:
// the first allocation to fail afterwards releases it, calls `callback` (if any) and is tried
// again; later failures raise std::bad_alloc ("bad allocation"). A second call replaces the
// reserve and the callback, freeing the earlier reserve. Answers whether the memory was got (0
// bytes: false). Call it during start-up: the handler takes no lock.
NYM_API bool nym_init_new_handler(uint64 reserve_bytes, void (*callback)());

// A GUID whose fields are held big-endian (the first three fields reversed, the last eight
// bytes as they are), and one held little-endian (copied), read into this machine's order.
NYM_API void nym_extract_uuid_be(GUID& out, const GUID& in);
NYM_API void nym_extract_uuid_le(GUID& out, const GUID& in);

namespace impl {

// Test seams, each for the whole process; each answers the one it replaces, and null puts the
// system's back.
// What GetSystemInfo answers: wProcessorArchitecture, dwNumberOfProcessors, wProcessorLevel
// and wProcessorRevision.
struct Nym_system_facts {
  unsigned short architecture;
  unsigned int processors;
  unsigned short level;
  unsigned short revision;
};
using Nym_system_facts_query = void (*)(Nym_system_facts& facts);
NYM_API Nym_system_facts_query nym_set_system_facts_query(Nym_system_facts_query query);
// IsProcessorFeaturePresent.
using Nym_feature_query = int (*)(unsigned int feature);
NYM_API Nym_feature_query nym_set_feature_query(Nym_feature_query query);

}  // namespace impl

}  // namespace nym

#endif
