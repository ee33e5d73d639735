// Nym_multi_buffer: a read-only chain of buffers, one after the other in one position space.
//
// One read may span several members; it stops early at a member boundary only when a member
// reports an error other than the end of its data. Finding a member's place needs the lengths
// of the members before it, and a length is taken only once the member's writer has left, so a
// read or a seek from the end blocks while a member before the position is being written. The
// chain takes no lock of its own; each member uses its own. If `owned`, the destructor destroys
// the members.
//
// It takes no writer: connect_ostream and truncate report NYM_S_NO_WRITER_TAKEN, write reports
// NYM_S_WRITE_FAILED. A read at or beyond the end of the last member reports NYM_S_END_OF_DATA;
// a member that raises gives NYM_S_READ_FAILED.
#ifndef NYM_MULTI_BUFFER_H
#define NYM_MULTI_BUFFER_H

#include <vector>

#include "nym/buffer.h"

namespace nym {

class NYM_API Nym_multi_buffer : public Nym_buffer {
 public:
  using const_iterator = std::vector<const Nym_buffer*>::const_iterator;

  // Copies the list; null members are allowed and are empty.
  Nym_multi_buffer(const std::vector<const Nym_buffer*>& members, bool owned);
  ~Nym_multi_buffer() override;

  void connect_ostream(Nym_status& status) override;

  const_iterator begin() const { return m_members.begin(); }
  const_iterator end() const { return m_members.end(); }

 protected:
  uint64 read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const override;
  void write(int64& position, uint64 count, const void* data, Nym_status& status) override;
  // The end of mode 2 is calc_length(); a failure there stays under NYM_S_BAD_SEEK.
  void seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const override;
  void truncate(int64 size, Nym_status& status) override;

  // The sum of the members' final lengths (waiting for their writers); stops at the first
  // member that can't tell its length, with its status.
  int64 calc_length(Nym_status& status) const;

 private:
  std::vector<const Nym_buffer*> m_members;
  bool m_owned;
};

}  // namespace nym

#endif
