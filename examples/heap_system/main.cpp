// Heap buffer and system: a message larger than a buffer's memory pages spills to its swap
// file; the swap limit stops a buffer without losing what it holds; processor facts, a library
// loaded at run time, and a reserve for the day memory runs out.
#include "recipe.h"

using namespace nym;
using recipe::check;

int main() {
  // Set at start-up: 4 pages (256 KiB) of memory per buffer, then swap, at most 8 swap pages.
  Nym_heap_buffer::set_swap_threshold(4);
  Nym_heap_buffer::set_swap_limit(8);
  Nym_heap_buffer heap;
  Nym_status status;
  const Nstring line(1000, 'x');
  {
    Nym_ostream out(heap, status);
    for (int i = 0; i < 500 && status.ok(); ++i) out.write(line.size(), line.data(), status);
  }
  check(status.ok() && heap.pages_in_memory() == 4 && heap.swap_pages() == 4, "half in memory, half in swap");
  check(heap.size(false, status) == 500000, "every byte counted");

  // Past the limit the write fails whole; what the buffer held stays as it was.
  {
    Nym_ostream out(heap, status);
    out.seek(heap.size(false, status));
    const Nstring big(6 * 65536, 'y');
    out.write(big.size(), big.data(), status);
    check(status == NYM_S_WRITE_FAILED && status.contains_value(NYM_S_SWAP_LIMIT), "swap limit");
  }
  Nym_unbuffered_istream in(heap, false, status);
  in.seek(499000);
  Nstring tail(1000, '\0');
  check(in.read(tail.size(), &tail[0], status) == 1000 && tail == line && heap.size(false, status) == 500000,
        "nothing lost, nothing added");

  // The processor, as `nym sysinfo` prints it.
  const Nym_system& system = *Nym_system::instance();
  check(system.processor_count() > 0 && system.processor_has_capability(NYM_CPU_SSE2), "an x64 processor");

  // A library at run time; failures carry the path or the name over the system's code.
  void* kernel = nym_load_library(u"kernel32.dll", status);
  void* tick = nym_lookup_function(kernel, "GetTickCount", status);
  check(kernel != nullptr && tick != nullptr, "found GetTickCount");
  nym_lookup_function(kernel, "NoSuchFunction", status);
  check(status == NYM_S_LOOKUP_FUNCTION_FAILED, "a missing function");
  nym_unload_library(kernel, status);
  nym_load_library(u"no-such-library.dll", status);
  check(status == NYM_S_LOAD_LIBRARY_FAILED, "a missing library");

  // 1 MiB set aside: the first allocation to fail frees it, calls back, and is tried again.
  check(nym_init_new_handler(1 << 20, [] { std::printf("memory is short: shutting down\n"); }), "reserve");
  return recipe::result();
}
