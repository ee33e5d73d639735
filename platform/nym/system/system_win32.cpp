// Nym_system, library loading and UUID byte order: GetSystemInfo, IsProcessorFeaturePresent,
// LoadLibraryW, GetProcAddress and FreeLibrary.
#include "nym/system.h"

#include <windows.h>

#include <atomic>

#include "nym/interlocked.h"
#include "nym/status_arg.h"
#include "base/win32_wide.h"

namespace nym {

namespace {

void system_facts(impl::Nym_system_facts& facts) {
  SYSTEM_INFO info = {};
  GetSystemInfo(&info);
  facts = {info.wProcessorArchitecture, info.dwNumberOfProcessors, info.wProcessorLevel, info.wProcessorRevision};
}

int system_feature(unsigned int feature) { return IsProcessorFeaturePresent(feature) ? 1 : 0; }

std::atomic<impl::Nym_system_facts_query> g_facts_query{system_facts};
std::atomic<impl::Nym_feature_query> g_feature_query{system_feature};

// The feature number the system answers for each capability, in the enumeration's order.
constexpr unsigned int FEATURES[] = {
    PF_3DNOW_INSTRUCTIONS_AVAILABLE, PF_COMPARE_EXCHANGE_DOUBLE,      PF_FLOATING_POINT_EMULATED,
    PF_MMX_INSTRUCTIONS_AVAILABLE,   PF_NX_ENABLED,                   PF_PAE_ENABLED,
    PF_XMMI_INSTRUCTIONS_AVAILABLE,  PF_XMMI64_INSTRUCTIONS_AVAILABLE, PF_SSE3_INSTRUCTIONS_AVAILABLE};

}  // namespace

Nym_system* Nym_system::m_instance = nullptr;
Nym_critical Nym_system::m_crit_sect;

Nym_system::Nym_system() {
  for (volatile int& answer : m_answers) answer = -1;
  impl::Nym_system_facts facts = {};
  g_facts_query.load()(facts);
  switch (facts.architecture) {
    case PROCESSOR_ARCHITECTURE_INTEL: m_architecture = NYM_PROCESSOR_X86; break;
    case PROCESSOR_ARCHITECTURE_AMD64: m_architecture = NYM_PROCESSOR_X64; break;
    case PROCESSOR_ARCHITECTURE_IA64: m_architecture = NYM_PROCESSOR_ITANIUM; break;
    default: m_architecture = NYM_PROCESSOR_UNKNOWN; break;
  }
  m_processor_count = static_cast<unsigned short>(facts.processors);
  m_processor_level = facts.level;
  if (facts.level == 3 || facts.level == 4) {
    m_processor_model = static_cast<unsigned short>((facts.revision >> 8) + 65);
  } else {
    m_processor_model = static_cast<unsigned short>(facts.revision >> 8);
    m_processor_stepping = static_cast<unsigned short>(facts.revision & 0xFF);
  }
}

Nym_system::~Nym_system() = default;

Nym_system::Nym_system(const Nym_system& other) { *this = other; }

Nym_system& Nym_system::operator=(const Nym_system& other) {
  m_architecture = other.m_architecture;
  m_processor_count = other.m_processor_count;
  m_processor_level = other.m_processor_level;
  m_processor_model = other.m_processor_model;
  m_processor_stepping = other.m_processor_stepping;
  for (int i = 0; i < CAPABILITIES; ++i) m_answers[i] = other.m_answers[i];
  return *this;
}

Nym_system* Nym_system::instance() {
  m_crit_sect.lock();
  if (m_instance == nullptr) {
    try {
      m_instance = new Nym_system;
    } catch (...) {
      m_crit_sect.unlock();
      throw;
    }
  }
  Nym_system* one = m_instance;
  m_crit_sect.unlock();
  return one;
}

bool Nym_system::processor_has_capability(Nym_processor_capability capability) const {
  const auto index = static_cast<unsigned int>(capability);
  if (index >= CAPABILITIES) return false;
  const int known = m_answers[index];
  if (known >= 0) return known == 1;
  bool yes = g_feature_query.load()(FEATURES[index]) == 1;
  if (capability == NYM_CPU_FLOATING_POINT) yes = !yes;  // the system answers whether it is emulated
  // Two first questions at once both ask the system; the slot takes one answer, the same.
  atomic::xcompexch(&m_answers[index], yes ? 1 : 0, -1);
  return yes;
}

void* nym_load_library(const Wstring& path, Nym_status& status) {
  status.clear();
  HMODULE module = path.find(Wchar{0}) == Wstring::npos ? LoadLibraryW(impl::win32_wide(path)) : nullptr;
  if (module == nullptr) {
    status = path.find(Wchar{0}) == Wstring::npos ? GetLastError() : ERROR_INVALID_NAME;
    status.push(NYM_S_LOAD_LIBRARY_FAILED, Nym_wstring_status_arg(path));
  }
  return module;
}

void* nym_lookup_function(void* library, const Nstring& name, Nym_status& status) {
  status.clear();
  FARPROC function = name.find('\0') == Nstring::npos
                         ? GetProcAddress(static_cast<HMODULE>(library), name.c_str())
                         : nullptr;
  if (function == nullptr) {
    status = name.find('\0') == Nstring::npos ? GetLastError() : ERROR_INVALID_NAME;
    status.push(NYM_S_LOOKUP_FUNCTION_FAILED, Nym_wstring_status_arg(name));
  }
  return reinterpret_cast<void*>(function);
}

void nym_unload_library(void* library, Nym_status& status) {
  status.clear();
  if (library == nullptr) return;
  if (!FreeLibrary(static_cast<HMODULE>(library))) {
    status = GetLastError();
    status.push(NYM_S_UNLOAD_LIBRARY_FAILED);
  }
}

void nym_extract_uuid_be(GUID& out, const GUID& in) {
  const GUID copy = in;  // out may be in
  out.Data1 = __builtin_bswap32(copy.Data1);
  out.Data2 = __builtin_bswap16(copy.Data2);
  out.Data3 = __builtin_bswap16(copy.Data3);
  for (int i = 0; i < 8; ++i) out.Data4[i] = copy.Data4[i];
}

void nym_extract_uuid_le(GUID& out, const GUID& in) { out = in; }

namespace impl {

Nym_system_facts_query nym_set_system_facts_query(Nym_system_facts_query query) {
  return g_facts_query.exchange(query != nullptr ? query : system_facts);
}

Nym_feature_query nym_set_feature_query(Nym_feature_query query) {
  return g_feature_query.exchange(query != nullptr ? query : system_feature);
}

}  // namespace impl

}  // namespace nym
