#include <cerrno>

#include "status/messages_platform.h"

namespace nym::impl {

// No message tables here: every file is missing and no code has a system text, so the
// lookup ends in its mechanical text.
void* load_message_file(const Wstring&, unsigned int& error) {
  error = ENOENT;
  return nullptr;
}

void free_message_file(void*) noexcept {}

bool format_message_text(void*, unsigned int, const Wstring*, Wstring& text) {
  text.clear();
  return false;
}

}  // namespace nym::impl
