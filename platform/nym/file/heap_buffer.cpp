#include "nym/heap_buffer.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <memory>

#include "buffer/store_failure.h"
#include "file/heap_swap.h"
#include "nym/counted_ptr.h"
#include "nym/file.h"

namespace nym {

// Defined here so that a caller may bind it to a reference: the DLL exports it.
const unsigned int Nym_heap_allocator::PAGE_SIZE;

namespace {

constexpr uint64 PAGE = Nym_heap_allocator::PAGE_SIZE;
constexpr int PAGE_BITS = 16;
constexpr int BLOCK_BITS = 8;
constexpr uint64 PAGES_PER_BLOCK = 256;
constexpr int64 MAX_POSITION = std::numeric_limits<int64>::max();

// The process's settings: plain values set at start-up, atomics so a late change is no race.
std::atomic<int64> g_swap_threshold{256};
std::atomic<int64> g_swap_limit{0};
Wstring g_swap_location;
Ovt_auto_ptr<Nym_heap_allocator> g_allocator(new Nym_heap_allocator(4096));

}  // namespace

void nym_memory_allocator_operation_trigger(Nym_memory_allocator_operation) {}

Nym_heap_allocator::Nym_heap_allocator(unsigned int pages) : m_pages(pages) {}

Nym_heap_allocator::~Nym_heap_allocator() = default;

void* Nym_heap_allocator::allocate_page() {
  m_lock.lock();
  void* page = m_pages == 0 ? nullptr : impl::heap_page_allocate();
  if (page != nullptr) --m_pages;
  m_lock.unlock();
  return page;
}

void Nym_heap_allocator::free_page(void* page) {
  if (page == nullptr) return;
  m_lock.lock();
  ++m_pages;
  impl::heap_page_free(page);
  m_lock.unlock();
}

void Nym_heap_allocator::set_pages(unsigned int pages) {
  m_lock.lock();
  m_pages = pages;
  m_lock.unlock();
}

unsigned int Nym_heap_allocator::pages_left() const {
  m_lock.lock();
  const unsigned int pages = m_pages;
  m_lock.unlock();
  return pages;
}

Nym_heap_buffer::Nym_heap_buffer() = default;

Nym_heap_buffer::~Nym_heap_buffer() {
  write_lock();
  for (auto& block : m_page_map) {
    for (_PageEntry& entry : block.second->pages) {
      if (entry.state == 1 && g_allocator) g_allocator->free_page(reinterpret_cast<void*>(entry.location));
    }
    delete block.second;
  }
  m_page_map.clear();
  m_pages_in_memory = 0;
  write_unlock();
  impl::heap_swap_close(m_swap);
}

void Nym_heap_buffer::set_swap_threshold(unsigned int pages) { g_swap_threshold = pages; }

void Nym_heap_buffer::set_swap_limit(unsigned int pages) { g_swap_limit = pages; }

void Nym_heap_buffer::set_swap_location(const Wstring& directory) { g_swap_location = directory; }

void Nym_heap_buffer::set_process_swap_threshold(unsigned int pages) {
  if (g_allocator) g_allocator->set_pages(pages);
}

void Nym_heap_buffer::allocator(Nym_heap_allocator* replacement) { g_allocator.reset(replacement); }

int64 Nym_heap_buffer::pages_in_memory() const {
  read_lock();
  const int64 pages = m_pages_in_memory;
  read_unlock();
  return pages;
}

int64 Nym_heap_buffer::swap_pages() const {
  read_lock();
  const int64 pages = m_swap_end / static_cast<int64>(PAGE);
  read_unlock();
  return pages;
}

Wstring Nym_heap_buffer::swap_path() const {
  read_lock();
  Wstring path = m_swap != nullptr ? impl::heap_swap_path(m_swap) : Wstring();
  read_unlock();
  return path;
}

void Nym_heap_buffer::make_page(_PageEntry& entry, Nym_status& status) {
  if (m_pages_in_memory < g_swap_threshold.load(std::memory_order_relaxed) && g_allocator) {
    if (void* page = g_allocator->allocate_page()) {
      entry = {1, reinterpret_cast<uint64>(page)};
      ++m_pages_in_memory;
      return;
    }
  }
  // The limit is checked before the slot is taken, so a refused page costs no swap space.
  const int64 limit = g_swap_limit.load(std::memory_order_relaxed);
  if (limit != 0 && m_swap_end / static_cast<int64>(PAGE) >= limit) {
    status = NYM_S_SWAP_LIMIT;
    return;
  }
  if (m_swap == nullptr) {
    // A swap file that would not open is not tried again for this buffer.
    if (m_swap_failed) {
      status = NYM_S_FILE_NOT_OPEN;
      return;
    }
    m_swap = impl::heap_swap_open(g_swap_location, status);
    if (m_swap == nullptr) {
      m_swap_failed = true;
      return;
    }
  }
  entry = {2, static_cast<uint64>(m_swap_end)};
  m_swap_end += static_cast<int64>(PAGE);
}

// Pages are made only where writes land, in rising order, each on its own: a walk cut short
// leaves the pages it made whole and the rest missing (never standing in for another), and the
// next write over them makes them again. Tables are made per block as needed, so a write far
// out costs one table, not one for every block below it.
void Nym_heap_buffer::create_position(int64 first, int64 last, Nym_status& status) {
  status.clear();
  const uint64 first_page = static_cast<uint64>(first) >> PAGE_BITS;
  const uint64 last_page = static_cast<uint64>(last) >> PAGE_BITS;
  for (uint64 page = first_page; page <= last_page && !status.is_error();) {
    const uint64 block = page >> BLOCK_BITS;
    auto found = m_page_map.find(block);
    const bool made = found == m_page_map.end();
    if (made) {
      std::unique_ptr<Table> fresh(new Table());  // all entries missing
      found = m_page_map.emplace(block, fresh.get()).first;
      fresh.release();
    }
    Table* table = found->second;
    const uint64 end = std::min(last_page, (block << BLOCK_BITS) + PAGES_PER_BLOCK - 1);
    bool any = false;
    for (; page <= end; ++page) {
      _PageEntry& entry = table->pages[page & (PAGES_PER_BLOCK - 1)];
      if (entry.state == 0) make_page(entry, status);
      if (status.is_error()) break;
      any = true;
    }
    if (made && !any) {
      delete table;
      m_page_map.erase(found);
    }
  }
}

void Nym_heap_buffer::copy_to(int64 position, const unsigned char* data, uint64 count, Nym_status& status) {
  auto at = static_cast<uint64>(position);
  while (count != 0 && !status.is_error()) {
    const auto found = m_page_map.find(at >> (PAGE_BITS + BLOCK_BITS));
    // create_position made every page of the write: a hole here is a fault of this class.
    if (found == m_page_map.end()) {
      status = NYM_S_NO_MEMORY;
      return;
    }
    Table* table = found->second;
    for (uint64 p = (at >> PAGE_BITS) & (PAGES_PER_BLOCK - 1); p < PAGES_PER_BLOCK && count != 0; ++p) {
      const uint64 offset = at & (PAGE - 1);
      const uint64 n = std::min(count, PAGE - offset);
      const _PageEntry& entry = table->pages[p];
      if (entry.state == 1) {
        std::memcpy(reinterpret_cast<unsigned char*>(entry.location) + offset, data, n);
      } else if (entry.state != 2 || !impl::heap_swap_write(m_swap, entry.location + offset, data, n, status)) {
        if (entry.state != 2) status = NYM_S_NO_MEMORY;
        return;
      }
      data += n;
      at += n;
      count -= n;
    }
  }
}

void Nym_heap_buffer::copy_from(unsigned char* data, uint64 count, int64 position, Nym_status& status) const {
  auto at = static_cast<uint64>(position);
  while (count != 0) {
    const auto found = m_page_map.find(at >> (PAGE_BITS + BLOCK_BITS));
    const Table* table = found == m_page_map.end() ? nullptr : found->second;
    for (uint64 p = (at >> PAGE_BITS) & (PAGES_PER_BLOCK - 1); p < PAGES_PER_BLOCK && count != 0; ++p) {
      const uint64 offset = at & (PAGE - 1);
      const uint64 n = std::min(count, PAGE - offset);
      const unsigned int state = table != nullptr ? table->pages[p].state : 0;
      if (state == 1) {
        std::memcpy(data, reinterpret_cast<const unsigned char*>(table->pages[p].location) + offset, n);
      } else if (state == 2) {
        if (!impl::heap_swap_read(m_swap, table->pages[p].location + offset, data, n, status)) return;
      } else {
        std::memset(data, 0, n);  // a gap no write reached
      }
      data += n;
      at += n;
      count -= n;
    }
  }
}

uint64 Nym_heap_buffer::read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const {
  status.clear();
  if (position < 0) {
    status = NYM_S_READ_FAILED;
    return 0;
  }
  read_lock();
  while (position >= m_length) {
    if (!wait_for_data(wait, status)) {
      read_unlock();
      return 0;
    }
  }
  const uint64 n = std::min<uint64>(std::min<uint64>(count, MAX_POSITION), static_cast<uint64>(m_length - position));
  copy_from(static_cast<unsigned char*>(data), n, position, status);
  position += static_cast<int64>(n);
  read_unlock();
  return n;
}

void Nym_heap_buffer::write(int64& position, uint64 count, const void* data, Nym_status& status) {
  status.clear();
  check_write_count(count);
  if (count == 0) return;
  if (position < 0 || static_cast<uint64>(MAX_POSITION - position) < count) {
    status = NYM_S_BAD_SEEK;
    status.push(NYM_S_WRITE_FAILED);
    return;
  }
  write_lock();
  try {
    const int64 end = position + static_cast<int64>(count);
    create_position(position, end, status);
    if (!status.is_error()) {
      copy_to(position, static_cast<const unsigned char*>(data), count, status);
      if (m_length < end) m_length = end;
      position = end;
    }
    if (status.is_error()) status.push(NYM_S_WRITE_FAILED);
  } catch (...) {
    impl::status_from_exception(status, NYM_S_WRITE_FAILED);
  }
  signal();
  write_unlock();
}

void Nym_heap_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  read_lock();
  const int64 end = m_length;
  read_unlock();
  seek_within(mode, offset, position, end, status);
}

void Nym_heap_buffer::truncate(int64 size, Nym_status& status) {
  status.clear();
  // The write lock keeps readers from seeing the length change in the middle of a copy.
  write_lock();
  if (size < 0 || size > m_length) {
    status = NYM_S_END_OF_DATA;
  } else {
    m_length = size;
  }
  write_unlock();
}

}  // namespace nym
