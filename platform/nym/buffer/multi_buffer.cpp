#include "nym/multi_buffer.h"

#include "nym/istream.h"
#include "store_counts.h"

namespace nym {

namespace {

// A member's final length; a null member is empty.
int64 length_of(const Nym_buffer* member, Nym_status& status) {
  if (member == nullptr) {
    status.clear();
    return 0;
  }
  return member->size(true, status);
}

}  // namespace

Nym_multi_buffer::Nym_multi_buffer(const std::vector<const Nym_buffer*>& members, bool owned)
    : m_members(members), m_owned(owned) {}

Nym_multi_buffer::~Nym_multi_buffer() {
  if (!m_owned) return;
  for (const Nym_buffer* member : m_members) delete member;
}

void Nym_multi_buffer::connect_ostream(Nym_status& status) { status = NYM_S_NO_WRITER_TAKEN; }

int64 Nym_multi_buffer::calc_length(Nym_status& status) const {
  status.clear();
  int64 total = 0;
  for (const Nym_buffer* member : m_members) {
    const int64 length = length_of(member, status);
    if (status.is_error()) break;
    total = nym_advance(total, length);
  }
  return total;
}

uint64 Nym_multi_buffer::read(bool wait, int64& position, uint64 count, void* data, Nym_status& status) const {
  status.clear();
  if (position < 0) {
    status = NYM_S_READ_FAILED;
    return 0;
  }
  auto* out = static_cast<unsigned char*>(data);
  const uint64 members = m_members.size();
  uint64 index = 0;
  uint64 total = 0;
  // The position moves by what the members give, which is no more than asked of them.
  count = impl::count_within_positions(position, count);
  try {
    // Find the member that holds the position; a position at a member's end stays in it.
    int64 base = 0;
    int64 length = members > 0 ? length_of(m_members[0], status) : 0;
    while (!status.is_error() && index < members && position > nym_advance(base, length)) {
      base = nym_advance(base, length);
      if (++index < members) length = length_of(m_members[index], status);
    }
    uint64 wanted = count;
    while (!status.is_error() && index < members && wanted > 0) {
      const int64 member_end = nym_advance(base, length);
      uint64 got = 0;
      if (m_members[index] != nullptr) {
        Nym_unbuffered_istream member(*m_members[index], wait, status, NYM_EOL_CRLF);
        got = member.read_at(position - base, wanted, out + total, status);
        member.detach();
      } else {
        status = NYM_S_END_OF_DATA;
      }
      position += static_cast<int64>(got);
      wanted -= got;
      total += got;
      if (wanted == 0) break;
      if (position < member_end) {
        // The member has more than it gave (a short read): ask it again. One that gives
        // nothing before its own end would be asked for ever; the read ends there instead.
        if (!status.is_error() && got > 0) continue;
        break;
      }
      // The member is used up. Asking the next one its length clears its end of data; any
      // other error of the member ends the read.
      if (status.is_error() && status != NYM_S_END_OF_DATA) break;
      if (++index < members) {
        base = member_end;
        length = length_of(m_members[index], status);
      }
    }
  } catch (...) {
    status = NYM_S_READ_FAILED;
    return total;
  }
  if (status == NYM_S_END_OF_DATA) {
    if (total > 0) {
      status.clear();
    } else if (index >= members) {
      status.push(NYM_S_END_OF_DATA);
    }
  } else if (total == 0 && index >= members && !status.is_error()) {
    status.push(NYM_S_END_OF_DATA);
  }
  return total;
}

void Nym_multi_buffer::write(int64&, uint64, const void*, Nym_status& status) { status.push(NYM_S_WRITE_FAILED); }

void Nym_multi_buffer::seek(Nym_seek_mode mode, int64 offset, int64& position, Nym_status& status) const {
  int64 end = 0;
  if (mode == NYM_SEEK_END) {
    try {
      end = calc_length(status);
    } catch (...) {
      status = NYM_S_BAD_SEEK;
      return;
    }
    if (status.is_error()) {
      status.push(NYM_S_BAD_SEEK);
      return;
    }
  }
  seek_within(mode, offset, position, end, status);
}

void Nym_multi_buffer::truncate(int64, Nym_status& status) { status = NYM_S_NO_WRITER_TAKEN; }

}  // namespace nym
