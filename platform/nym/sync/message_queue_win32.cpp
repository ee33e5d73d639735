#include <windows.h>

#include <stdexcept>

#include "nym/message_queue.h"
#include "nym/exception.h"

namespace nym {

// Defined here so that a caller may bind it to a reference: the DLL exports it.
const unsigned int Nym_message_queue::FOREVER;

Nym_message_queue::Nym_message_queue() : m_port(CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0)) {
  if (m_port == nullptr) throw Nym_sys_call_fail("::CreateIoCompletionPort");
}

Nym_message_queue::~Nym_message_queue() {
  if (m_port != nullptr) CloseHandle(m_port);
}

// The identifier travels as the byte count, the value as the key, the pointer as the
// overlapped structure's address, which the port hands back untouched.
void Nym_message_queue::add_message(unsigned int msgid, void* data, unsigned int value) {
  if (msgid == 0) throw std::logic_error("Nym_message_queue::add_message() - msgid = 0");
  if (!PostQueuedCompletionStatus(m_port, msgid, value, static_cast<OVERLAPPED*>(data))) {
    throw Nym_sys_call_fail("::PostQueuedCompletionStatus");
  }
}

unsigned int Nym_message_queue::read_message() { return wait_for_message(0); }

unsigned int Nym_message_queue::read_message(void*& data) { return wait_for_message(0, data); }

unsigned int Nym_message_queue::read_message(void*& data, unsigned int& value) {
  return wait_for_message(0, data, value);
}

unsigned int Nym_message_queue::wait_for_message(unsigned int timeout) {
  void* data = nullptr;
  unsigned int value = 0;
  return wait_for_message(timeout, data, value);
}

unsigned int Nym_message_queue::wait_for_message(unsigned int timeout, void*& data) {
  unsigned int value = 0;
  return wait_for_message(timeout, data, value);
}

unsigned int Nym_message_queue::wait_for_message(unsigned int timeout, void*& data, unsigned int& value) {
  DWORD msgid = 0;
  ULONG_PTR key = 0;
  OVERLAPPED* overlapped = nullptr;
  const BOOL got = GetQueuedCompletionStatus(m_port, &msgid, &key, &overlapped, timeout == FOREVER ? INFINITE : timeout);
  data = overlapped;
  value = static_cast<unsigned int>(key);
  return got ? msgid : 0;
}

}  // namespace nym
