// Nym_path on arbitrary text with separators taken from the input. Nothing may crash or hang,
// and what the path rules guarantee must hold:
// - base, extension separator and extension give the filename back;
// - without a drive or a UNC, directory and filename give the text back, and so do drive,
//   drive separator, directory and filename after a drive, a separator and a directory;
// - simplifying again changes nothing, unless the result has a UNC (the look-back there reads
//   the level after a "..", which the first pass may still have removed);
// - a setter that raises leaves the text as it was.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>

#include "nym/path.h"

using namespace nym;

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

// Bytes to units from a small alphabet that makes separators, dots and drives likely; 0xFF
// takes the next two bytes as one raw unit.
Wstring units(const std::uint8_t* data, std::size_t size) {
  static const Wchar ALPHABET[] = {u'\\', u'/', u'.', u':', u'a', u'c', u'\\', u'.', u'|', u'_', u'b', u'\\'};
  Wstring text;
  for (std::size_t k = 0; k < size; ++k) {
    if (data[k] == 0xFF && k + 2 < size) {
      text.push_back(static_cast<Wchar>(data[k + 1] | data[k + 2] << 8));
      k += 2;
    } else {
      text.push_back(ALPHABET[data[k] % sizeof ALPHABET / sizeof ALPHABET[0]]);
    }
  }
  return text;
}

void parts(const Nym_path& p) {
  const Wstring& text = p;
  check(p.base() + (p.has_extension() ? p.extension_separator() + p.extension() : Wstring()) == p.filename());
  if (!p.has_drive() && !p.has_unc()) check(p.directory() + p.filename() == text);
  if (p.has_drive() && p.has_directory() && text[2] == p.path_separator() && p.drive_separator() != text[2]) {
    check(Wstring{p.drive(), p.drive_separator()} + p.directory() + p.filename() == text);
  }
  for (uint64 k = 0; k < p.levels() && k < 64; ++k) (void)p[k];
  check(p.legal(p.levels()) == 0);
}

// The separators come from the input. Copies get the default ones, so each object is set up
// in place and assigned its text.
void set_up(Nym_path& p, unsigned choice, const Wstring& text) {
  static const Wchar SEPARATORS[] = {u'\\', u'\\', u'/', u'|', u':', u':', u'|', u'\\', u'.', u'.', u'_', u':'};
  p.path_separator(SEPARATORS[choice & 3]).drive_separator(SEPARATORS[4 + (choice >> 2 & 3)]);
  p.extension_separator(SEPARATORS[8 + (choice >> 4 & 3)]);
  p = text;
}

template <class F>
void setter(unsigned choice, const Wstring& text, F edit) {
  Nym_path p;
  set_up(p, choice, text);
  try {
    edit(p);
  } catch (const std::exception&) {
    check(Wstring(p) == text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const unsigned c = (data[0] & 0x80) ? data[0] : 0;  // the default separators half the time
  const std::size_t split = data[1] % (size - 1);
  const Wstring text = units(data + 2, size - 2);
  Nym_path p, once, twice;
  set_up(p, c, text);
  parts(p);
  set_up(once, c, text);
  once.simplify();
  parts(once);
  set_up(twice, c, once);
  twice.simplify();
  if (!once.has_unc()) check(Wstring(twice) == Wstring(once));

  setter(c, text, [&](Nym_path& q) { q.level(data[1] % 5, u"x"); });
  setter(c, text, [&](Nym_path& q) { q.unc(u"s", u"sh"); });
  setter(c, text, [&](Nym_path& q) { q.drive(u'd'); });
  setter(c, text, [&](Nym_path& q) { q.cd(text.substr(0, split)); });
  setter(c, text, [&](Nym_path& q) { q.directory(text.substr(split)); });
  setter(c, once, [&](Nym_path& q) { q.relative_to(text.substr(0, split)); });
  return 0;
}
