// Nym_heap_buffer: the growable store for messages larger than the memory a process may give
// them, and Nym_heap_allocator, the process-wide source of its pages.
//
// Data lives in pages of 64 KiB, 256 pages to a block of 16 MiB. A page comes from the
// allocator while two budgets allow it: the buffer's own (set_swap_threshold, pages per
// buffer) and the allocator's (pages left for the whole process). After that the page is a
// slice of a swap file that the buffer makes when it first needs one: a new file with the
// extension "hbp" in the swap location (empty: the temporary directory), opened for random
// access, unshared and deleted by the system when it closes. Every buffer has its own file. A
// page stays where it was placed until the buffer dies: no eviction, no paging back, no reuse
// after truncate.
//
// A write makes the pages its bytes fall on and the page of the position one past its last
// byte (a store of exactly 65536 bytes owns two pages). Pages are made only where a write
// lands: a write far beyond the end makes no pages or tables for the gap, and the gap reads
// as zeros. Swap pages are read and written at their offsets, so readers never share a file
// position.
//
// Reports: a write that would take more swap pages than set_swap_limit allows
// NYM_S_SWAP_LIMIT, a swap file that can't be made or written the file's own codes (a second
// write after a failed open NYM_S_FILE_NOT_OPEN: the file is not tried again), each with
// NYM_S_WRITE_FAILED on top. Such a write leaves the length and the position as they were and
// every page already made readable with its own bytes; it may be repeated. A failure to write
// the bytes to a swap page that exists moves length and position all the same. An exception
// inside a write becomes NYM_S_NO_MEMORY, NYM_S_STD_EXCEPTION or NYM_S_UNKNOWN_EXCEPTION under
// NYM_S_WRITE_FAILED. A failed swap read reports the file's code under NYM_S_READ_FAILED and
// still answers the count. Reading at the end NYM_S_END_OF_DATA; a truncate beyond the length
// NYM_S_END_OF_DATA; a bad seek NYM_S_BAD_SEEK.
//
// Locking: reads share the buffer's read lock, writes and truncate hold its write lock; the
// allocator's lock is taken inside them and never the other way round. The swap settings are
// process-wide plain values: set them at start-up.
#ifndef NYM_HEAP_BUFFER_H
#define NYM_HEAP_BUFFER_H

#include <map>

#include "nym/buffer.h"
#include "nym/critical.h"

namespace nym {

constexpr unsigned int NYM_S_SWAP_LIMIT = 0xC2000090u;  // the buffer's swap pages are used up

// The argument of the empty hook below.
enum Nym_memory_allocator_operation : int { NYM_MEMORY_ALLOCATE = 0, NYM_MEMORY_FREE = 1 };

// An empty hook that callers may name; it does nothing with its argument.
NYM_API void nym_memory_allocator_operation_trigger(Nym_memory_allocator_operation operation);

// Gives out 64 KiB pages while its count of pages left is above 0. The count is what is left,
// not a ceiling: set_pages does not subtract pages already out, and pages that come back add
// to it. Derive from it to place pages elsewhere; every operation is under its own lock.
class NYM_API Nym_heap_allocator {
 public:
  static const unsigned int PAGE_SIZE = 65536;

  explicit Nym_heap_allocator(unsigned int pages);
  virtual ~Nym_heap_allocator();
  Nym_heap_allocator(const Nym_heap_allocator&) = delete;
  Nym_heap_allocator& operator=(const Nym_heap_allocator&) = delete;

  // A page, or null when the count is 0 or the memory can't be had; never raises.
  virtual void* allocate_page();
  // Takes a page back; null is ignored.
  virtual void free_page(void* page);
  // The count of pages left becomes `pages`.
  virtual void set_pages(unsigned int pages);
  // The count of pages left.
  unsigned int pages_left() const;

 protected:
  mutable Nym_critical m_lock;
  unsigned int m_pages;
};

class NYM_API Nym_heap_buffer : public Nym_buffer {
 public:
  Nym_heap_buffer();
  // Gives the memory pages back to the current allocator and closes the swap file.
  ~Nym_heap_buffer() override;

  // Pages that one buffer may hold in memory (256, 16 MiB, by default); from the next page on.
  static void set_swap_threshold(unsigned int pages);
  // Swap pages that one buffer may use; 0 (the default) is no limit.
  static void set_swap_limit(unsigned int pages);
  // The directory of new swap files; empty (the default) is the temporary directory.
  static void set_swap_location(const Wstring& directory);
  // The pages left to the whole process: set_pages of the current allocator.
  static void set_process_swap_threshold(unsigned int pages);
  // Replaces the process's allocator (4096 pages, 256 MiB, at start), destroying the old one;
  // the new one is owned, and null means no page in memory at all. No buffer may hold pages
  // then, since buffers give them back to the allocator of the moment.
  static void allocator(Nym_heap_allocator* replacement);

  // What this buffer holds now: pages in memory, swap pages, and the swap file's path (empty
  // before it has one).
  int64 pages_in_memory() const;
  int64 swap_pages() const;
  Wstring swap_path() const;

 protected:
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override;
  void write(int64& position, uint64 count, const void* data, Nym_status& status) override;
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override;
  void truncate(int64 size, Nym_status& status) override;

  // Makes every missing page from the one holding `first` to the one holding `last`.
  void create_position(int64 first, int64 last, Nym_status& status);

 private:
  struct _PageEntry {
    unsigned int state;  // 0 missing, 1 in memory, 2 in the swap file
    uint64 location;     // the page's address, or its offset in the swap file
  };
  struct Table {
    _PageEntry pages[256];
  };

  void make_page(_PageEntry& entry, Nym_status& status);
  void copy_to(int64 position, const unsigned char* data, uint64 count, Nym_status& status);
  void copy_from(unsigned char* data, uint64 count, int64 position, Nym_status& status) const;

  std::map<uint64, Table*> m_page_map;
  void* m_swap = nullptr;  // the platform's swap file
  bool m_swap_failed = false;
  int64 m_swap_end = 0;
  int64 m_length = 0;
  int64 m_pages_in_memory = 0;
};

}  // namespace nym

#endif
