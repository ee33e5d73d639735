// Both tokenisers under configurations taken from the input. With nothing ignored, no
// terminators and separators kept, the tokens put together give the text back; in every
// configuration, no token is empty unless empty tokens are allowed.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "nym/tokeniser.h"

using namespace nym;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

template <class T, class S>
void run(const T& tokeniser, const S& text, bool lossless) {
  std::vector<S> tokens;
  tokeniser.tokenise(text, tokens);
  S joined;
  for (const S& t : tokens) {
    check(!t.empty() || tokeniser.allow_empty_tokens());
    joined += t;
  }
  check(joined.size() <= text.size());
  if (lossless) check(joined == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 6) return 0;
  const unsigned flags = data[0];
  // Four small sets from the next bytes, then the text.
  const Nstring separators(reinterpret_cast<const char*>(data + 1), 1 + (data[5] & 1));
  const Nstring ignore = (flags & 4) ? Nstring(1, static_cast<char>(data[2])) : Nstring();
  const Nstring terminators = (flags & 8) ? Nstring(1, static_cast<char>(data[3])) : Nstring();
  const Nstring terminals = (flags & 16) ? Nstring(1, static_cast<char>(data[4])) : Nstring();
  const bool include = (flags & 1) != 0;
  const bool allow_empty = (flags & 2) != 0;
  const Nstring text(reinterpret_cast<const char*>(data + 6), size - 6);
  const bool lossless = include && ignore.empty() && terminators.empty();

  run(Nym_narrow_tokeniser(separators, ignore, terminators, terminals, include, allow_empty), text, lossless);
  const auto widen = [](const Nstring& s) {
    Wstring w;
    for (const char c : s) w += static_cast<Wchar>(static_cast<unsigned char>(c) | ((c & 0x40) ? 0x2000 : 0));
    return w;
  };
  run(Nym_tokeniser(widen(separators), widen(ignore), widen(terminators), widen(terminals), include, allow_empty),
      widen(text), lossless);
  return 0;
}
