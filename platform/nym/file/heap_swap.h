// The platform half of the heap buffer (internal): its pages of memory and its swap file.
#ifndef NYM_FILE_HEAP_SWAP_H
#define NYM_FILE_HEAP_SWAP_H

#include "nym/status.h"
#include "nym/types.h"

namespace nym::impl {

// 65536 bytes, or null when the memory can't be had; never raises, never calls a new-handler.
void* heap_page_allocate() noexcept;
void heap_page_free(void* page) noexcept;

// A new swap file in `directory` (empty: the temporary directory) with the extension "hbp",
// deleted by the system when it closes: the file's handle as an opaque pointer, or null with
// the reason in the status.
void* heap_swap_open(const Wstring& directory, Nym_status& status);
void heap_swap_close(void* swap) noexcept;
Wstring heap_swap_path(const void* swap);
// Positional transfers that move no shared file position. A read beyond the end of the file
// gives zeros. The file's codes go into the status; each answers whether all went.
bool heap_swap_write(void* swap, uint64 offset, const void* data, uint64 count, Nym_status& status);
bool heap_swap_read(const void* swap, uint64 offset, void* data, uint64 count, Nym_status& status);

}  // namespace nym::impl

#endif
