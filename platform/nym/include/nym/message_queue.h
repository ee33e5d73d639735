// Nym_message_queue: an unbounded, first-in first-out queue of small messages between the
// threads of one process.
//
// The queue is the system's I/O completion port: a message is one completion packet, and each
// message wakes exactly one waiting reader. A message is an identifier (never 0: a read
// answers 0 when nothing came), a data pointer that stays the sender's and is never looked at,
// and a second value. Any number of threads may add and read at once; the class has no lock.
// Messages still queued at destruction are lost with their pointers, and the destructor must
// not run while a thread waits: end waiting readers with a message of your own, since closing
// the port does not wake them everywhere.
#ifndef NYM_MESSAGE_QUEUE_H
#define NYM_MESSAGE_QUEUE_H

#include "nym/export.h"

namespace nym {

class NYM_API Nym_message_queue {
 public:
  // A time-out that means "without limit"; a wait of exactly 65,535 ms cannot be asked for.
  static const unsigned int FOREVER = 0xFFFFu;

  // Failure raises Nym_sys_call_fail "::CreateIoCompletionPort".
  Nym_message_queue();
  ~Nym_message_queue();
  Nym_message_queue(const Nym_message_queue&) = delete;
  Nym_message_queue& operator=(const Nym_message_queue&) = delete;

  // Identifier 0 raises std::logic_error "Nym_message_queue::add_message() - msgid = 0" and
  // adds nothing; the system's refusal raises Nym_sys_call_fail "::PostQueuedCompletionStatus".
  void add_message(unsigned int msgid, void* data, unsigned int value);

  // The next message's identifier without waiting, or 0; the forms with fewer arguments drop
  // what they do not deliver.
  unsigned int read_message();
  unsigned int read_message(void*& data);
  unsigned int read_message(void*& data, unsigned int& value);

  // The next message's identifier, waiting at most `timeout` milliseconds (FOREVER: without
  // limit), or 0 when none came. A failing wait looks like an empty queue. After 0, `value`
  // means nothing and `data` is null.
  unsigned int wait_for_message(unsigned int timeout);
  unsigned int wait_for_message(unsigned int timeout, void*& data);
  unsigned int wait_for_message(unsigned int timeout, void*& data, unsigned int& value);

 private:
  void* m_port;
};

}  // namespace nym

#endif
