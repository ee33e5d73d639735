// Nym_buffer: the abstract random-access byte store under every stream of the library.
//
// A buffer has no position of its own: each stream holds its position and passes it in by
// reference, so any number of streams read one buffer independently. The base class gives
// what all stores share: an id, the counts of connected streams, the locking of one writer
// against a group of readers, and the hand-over that lets a reader at the end of the data
// sleep until the writer writes or leaves. Stores provide read, write, seek and truncate.
//
// Locking: readers share the store and shut the writer out as a group. Readers count
// themselves in and out under a spin word, which also guards the threads that hold read locks
// and the lists of sleepers. A writer takes the writer lock (a recursive Nym_critical) against
// other writers, then enters once no reader is in, marking itself under the spin word; until
// then it sleeps, and the last reader out wakes it. A reader that finds a writer in waits on
// the writer lock, never with the spin word held. A read inside the writer's own write lock is
// covered by that lock. A write by a thread that holds a read lock on the same buffer would
// wait for itself for ever: it raises std::logic_error instead. Lock order: writer lock, then
// spin word; nothing else is locked under either. Connection counts are atomic and read
// without a lock.
//
// Every store's read and write follow the same rules, so that streams need not know the store:
// - read clears the status, holds the read lock, copies what lies between the position and the
//   end (up to the count), moves the position and answers the amount; a short read is normal.
// - At or beyond the end, with `wait` false or no writer connected: NYM_S_END_OF_DATA and 0.
//   Below position 0: NYM_S_READ_FAILED and 0 (a function store leaves that to its functor).
//   With `wait` true and a writer connected: the reader sleeps in wait() and looks again.
// - write clears the status, holds the write lock, stores, moves the position, and calls
//   signal() before it unlocks. A count of 0 changes nothing and signals nothing.
// - A count above 0x7FFFFFFFFFFFFFFF raises std::out_of_range
//   "writing too many bytes to the buffer." before any lock is taken.
// - seek takes as base 0, the position or the end by mode, adds the offset with nym_advance,
//   and on an overflow reports NYM_S_BAD_SEEK with the position unchanged. Seeking beyond the
//   end is legal: a later write extends the store.
#ifndef NYM_BUFFER_H
#define NYM_BUFFER_H

#include <cstdint>
#include <vector>

#include "nym/critical.h"
#include "nym/interlocked.h"
#include "nym/status.h"

namespace nym {

constexpr unsigned int NYM_S_STREAM_NOT_ATTACHED = 0xC2000017u;  // the stream is detached
constexpr unsigned int NYM_S_BAD_SEEK = 0xC2000018u;             // the position would leave 0..2^63-1
constexpr unsigned int NYM_S_END_OF_DATA = 0xC2000019u;          // readers loop until it comes, then clear it
constexpr unsigned int NYM_S_WRITE_FAILED = 0xC200001Au;         // stands above a more exact cause
constexpr unsigned int NYM_S_READ_FAILED = 0xC200001Bu;
constexpr unsigned int NYM_S_SIZE_UNKNOWN = 0xC2000027u;         // size() could not find the length
constexpr unsigned int NYM_S_NO_WRITER_TAKEN = 0xC2000033u;      // the store has a writer, or takes none
// Causes a store puts under NYM_S_WRITE_FAILED (or NYM_S_READ_FAILED) when its own storage raised,
// beside NYM_S_NO_MEMORY (status.h).
constexpr unsigned int NYM_S_UNKNOWN_EXCEPTION = 0xC200006Au;    // something other than a std::exception
constexpr unsigned int NYM_S_STD_EXCEPTION = 0xC200006Bu;        // a std::exception; its text is the argument

// Base of a seek: 0 from the start, 1 from the position given, 2 from the end.
enum Nym_seek_mode : int { NYM_SEEK_BEGIN = 0, NYM_SEEK_CURRENT = 1, NYM_SEEK_END = 2 };

// Checked position arithmetic: position + offset, kept within 0 to 0x7FFFFFFFFFFFFFFF.
// Raises std::overflow_error "Stream position too large." or std::underflow_error
// "Stream position going negative.".
NYM_API int64 nym_advance(int64 position, int64 offset);
// a - b, unchecked.
NYM_API int64 nym_difference(int64 a, int64 b);

class Nym_istream;
class Nym_ostream;

class NYM_API Nym_buffer {
 public:
  virtual ~Nym_buffer();
  Nym_buffer(const Nym_buffer&) = delete;
  Nym_buffer& operator=(const Nym_buffer&) = delete;

  // Count a stream in; the status is left alone.
  virtual void connect_unbuffered_istream(Nym_status& status) const;
  virtual void connect_buffered_istream(Nym_status& status) const;
  // Takes the one writer's place: NYM_S_NO_WRITER_TAKEN if it is taken already (the count
  // stays 1).
  virtual void connect_ostream(Nym_status& status);
  // Counts a stream out; a count of 0 stays 0.
  virtual void disconnect_unbuffered_istream() const;
  virtual void disconnect_buffered_istream() const;
  // Frees the writer's place and wakes every sleeping reader so that it sees the end of the
  // data. Without a writer it does nothing.
  virtual void disconnect_ostream();
  // The length of the store; with `wait` true only once the writer has left, so that it is
  // final. NYM_S_SIZE_UNKNOWN (and 0) when the store cannot tell.
  virtual int64 size(bool wait, Nym_status& status) const;

 protected:
  virtual uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const = 0;
  virtual void write(int64& position, uint64 count, const void* data, Nym_status& status) = 0;
  virtual void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const = 0;
  virtual void truncate(int64 size, Nym_status& status) = 0;
  // A read that hands out where the bytes lie instead of copying them, for stores that keep
  // their bytes still in memory for their whole life and read them without a lock (a
  // read-only memory store): as read, with `data` pointing at the `got` bytes. False for every
  // other store (the default): those must be read.
  virtual bool read_in_place(int64& position, uint64 count, const void*& data, uint64& got, Nym_status& status) const;

  virtual void read_lock() const;
  // Raises std::logic_error "Nym_buffer::write_lock - this thread holds a read lock on the
  // buffer." rather than wait for itself.
  virtual void write_lock() const;
  virtual void read_unlock() const;
  virtual void write_unlock() const;
  // With a read lock held: sleeps until the next signal() (or the writer leaves). The reader's
  // registration happens under its read lock, so a later signal can't be missed.
  virtual void wait() const;
  // With the write lock held: wakes every sleeping reader and empties the list.
  virtual void signal() const;

 public:
  // This buffer's number: never 0, unique within a run of 2^32 buffers.
  unsigned int id() const { return m_id; }
  unsigned int num_unbuffered_istream() const;
  unsigned int num_buffered_istream() const;
  unsigned int num_ostream() const;

 protected:
  Nym_buffer();

  // Whether a writer is connected (an atomic read): a reader at the end sleeps only then.
  bool has_writer() const { return num_ostream() != 0; }
  // A read that found the end, with its read lock held: sleeps in wait() and answers true (look
  // again) while `wait` is set and a writer is connected; otherwise NYM_S_END_OF_DATA and false.
  bool wait_for_data(bool wait, Nym_status& status) const {
    if (!wait || !has_writer()) {
      status = NYM_S_END_OF_DATA;
      return false;
    }
    this->wait();
    return true;
  }
  // The usual seek of a store whose current length is `end` (see the class comment).
  static void seek_within(Nym_seek_mode mode, int64 offset, int64& position, int64 end, Nym_status& status);
  // Raises std::out_of_range for a count above 0x7FFFFFFFFFFFFFFF.
  static void check_write_count(uint64 count);
  // Where a store's bytes lie now: their start, and their length in `size`. Asked again after
  // every sleep, as a writer may have moved or grown them.
  using Contiguous_bytes = const void* (*)(const Nym_buffer& store, uint64& size);
  // The read of a store whose bytes lie contiguous in memory (the string stores): under the
  // read lock, copies from `position` up to `count` bytes rounded down to `unit`; at the end it
  // sleeps while a writer is connected (with `wait`) and looks again. A negative position gives
  // NYM_S_READ_FAILED, the end without a writer NYM_S_END_OF_DATA.
  uint64 read_contiguous(bool wait, int64& position, uint64 count, void* data, Nym_status& status,
                         Contiguous_bytes bytes, uint64 unit) const;
  // Sets such a store's length to `units` units of `unit` bytes, new ones spaces, and answers
  // where its bytes lie now. Raises what the storage raises, leaving the store as it was.
  using Contiguous_resize = void* (*)(Nym_buffer& store, uint64 units);
  // Its write: under the write lock, `count` bytes (whole units) at `position`, the store padded
  // with spaces up to it. A negative position, or one the write would carry past the last
  // position, reports NYM_S_BAD_SEEK, a write that would end past `limit` bytes
  // NYM_S_STRING_LIMIT, a failure of the storage NYM_S_NO_MEMORY, NYM_S_STD_EXCEPTION or
  // NYM_S_UNKNOWN_EXCEPTION, each under NYM_S_WRITE_FAILED.
  void write_contiguous(int64& position, uint64 count, const void* data, Nym_status& status, Contiguous_bytes bytes,
                        Contiguous_resize resize, uint64 unit, uint64 limit);
  // Its seek: the usual one, with the length read under the read lock as the end.
  void seek_contiguous(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status,
                       Contiguous_bytes bytes) const;
  // Its truncate, to `size` units under the write lock: NYM_S_END_OF_DATA for a size below 0
  // or beyond the length.
  void truncate_contiguous(int64 size, Nym_status& status, Contiguous_bytes bytes, Contiguous_resize resize,
                           uint64 unit);
  // The protected operations of another store, for stores built on stores (a window, a chain)
  // and for the streams. read_of asks no more than the positions from `position` can hold (at
  // the last position: NYM_S_END_OF_DATA without asking) and believes no more than it asked.
  static uint64 read_of(const Nym_buffer& other, bool wait, int64& position, uint64 count, void* data,
                        Nym_status& status);
  // read_in_place of another store, held to the same bounds as read_of.
  static bool read_in_place_of(const Nym_buffer& other, int64& position, uint64 count, const void*& data, uint64& got,
                               Nym_status& status);
  static void seek_of(const Nym_buffer& other, Nym_seek_mode mode, int64 offset, int64& position,
                      Nym_status& status) {
    other.seek(mode, offset, position, status);
  }

 private:
  friend class Nym_istream;
  friend class Nym_ostream;

  // A thread's read locks on this buffer.
  struct Reader_thread {
    unsigned int thread;
    unsigned int depth;
  };

  void take_spin() const;
  void release_spin() const;
  // Under the spin word: the entry of `thread` among the readers, or null.
  Reader_thread* reader_entry(unsigned int thread) const;
  // For the writer that holds the writer lock while readers are in: sleeps until the last
  // reader has left.
  void wait_for_readers(std::uintptr_t self) const;

  // Sleeping readers: thread handles on Windows, owned until signal() closes them.
  mutable std::vector<void*> m_waiters;
  mutable volatile int m_unbuffered_readers = 0;
  mutable volatile int m_buffered_readers = 0;
  volatile int m_writers = 0;
  // The spin word and what every read changes under it, side by side (44 bytes), so that
  // readers on several processors pass as few cache lines between them as they can: the
  // reader count and who holds the read locks, the first few in place, so that the reader
  // path allocates nothing, the rest in a vector.
  mutable volatile int m_spin = 0;
  mutable unsigned int m_readers = 0;
  mutable unsigned int m_reader_slots_used = 0;
  static constexpr unsigned int READER_SLOTS = 4;
  mutable Reader_thread m_reader_slots[READER_SLOTS] = {};
  mutable std::vector<Reader_thread> m_more_readers;
  mutable Nym_critical m_writer_lock;
  unsigned int m_id = 0;
  // The writer that is in (0: none): set under the spin word, read without it as well; and how
  // often it holds the writer lock.
  mutable std::uintptr_t m_writer_thread = 0;
  mutable unsigned int m_writer_depth = 0;
  // The writer asleep in wait_for_readers, and its thread (under the spin word).
  mutable void* m_writer_waiter = nullptr;
  mutable std::uintptr_t m_writer_waiter_thread = 0;

  static Nym_atomic_counter<unsigned int> m_id_generator;
};

namespace impl {

// Test seam: while `available` is false, no thread can register to be woken (as when the
// system has no handle to give): a reader at the end of the data, and a writer waiting for a
// reader group, poll instead of sleeping. Answers the setting it replaces.
NYM_API bool nym_set_buffer_waiters(bool available);

}  // namespace impl

}  // namespace nym

#endif
