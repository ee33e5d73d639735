// Nym_path on arbitrary text with separators taken from the input. Nothing may crash or hang,
// and the properties that the path rules guarantee must hold:
// - base, extension separator and extension put together give the filename;
// - without a drive or a UNC, directory and filename give the text back, and with a drive
//   followed by a separator and a directory so do drive, drive separator, directory and
//   filename (when the drive separator is not the path separator too);
// - simplifying once more changes nothing, unless the result has a UNC (the look-back there
//   reads the level after a "..", which the first pass may still have removed);
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

// Bytes to units: mostly from a small alphabet that makes separators, dots and drive forms
// likely; 0xFF takes the next two bytes as one raw unit.
Wstring units(const std::uint8_t* data, std::size_t size) {
  static const Wchar ALPHABET[] = {u'\\', u'/', u'.', u':', u'a', u'c', u'\\', u'.', u'|', u'_', u'b', u'\\'};
  Wstring text;
  for (std::size_t k = 0; k < size; ++k) {
    if (data[k] == 0xFF && k + 2 < size) {
      text.push_back(static_cast<Wchar>(data[k + 1] | data[k + 2] << 8));
      k += 2;
    } else {
      text.push_back(ALPHABET[data[k] % (sizeof ALPHABET / sizeof ALPHABET[0])]);
    }
  }
  return text;
}

Nym_path make(const Wstring& text, unsigned choice) {
  static const Wchar PATH[] = {u'\\', u'\\', u'/', u'|'};
  static const Wchar DRIVE[] = {u':', u':', u'|', u'\\'};
  static const Wchar EXTENSION[] = {u'.', u'.', u'_', u':'};
  Nym_path p;
  p.path_separator(PATH[choice & 3]).drive_separator(DRIVE[(choice >> 2) & 3]).extension_separator(EXTENSION[(choice >> 4) & 3]);
  p = text;
  return p;
}

void parts(const Nym_path& p) {
  const Wstring& text = p;
  Wstring joined = p.base();
  if (p.has_extension()) joined += p.extension_separator() + p.extension();
  check(joined == p.filename());
  if (!p.has_drive() && !p.has_unc()) check(p.directory() + p.filename() == text);
  if (p.has_drive() && p.has_directory() && text[2] == p.path_separator() &&
      p.drive_separator() != p.path_separator()) {
    check(Wstring{p.drive(), p.drive_separator()} + p.directory() + p.filename() == text);
  }
  const uint64 levels = p.levels();
  for (uint64 k = 0; k < levels && k < 64; ++k) {
    try {
      (void)p[k];
    } catch (const std::range_error&) {
    }
  }
  check(p.legal(levels) == 0);
  try {
    (void)p.unc();
    (void)p.file_system_root();
    (void)p.root_and_directory();
  } catch (const std::exception&) {
  }
}

template <class F>
void setter(Nym_path p, F edit) {
  const Wstring before = p;
  try {
    edit(p);
  } catch (const std::exception&) {
    check(Wstring(p) == before);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const unsigned choice = (data[0] & 0x80) ? data[0] : 0;  // the default separators half the time
  const std::size_t split = data[1] % (size - 1);
  const Wstring text = units(data + 2, size - 2);
  Nym_path p = make(text, choice);
  parts(p);

  Nym_path once = p;
  once.simplify();
  parts(once);
  if (!once.has_unc()) {
    Nym_path twice = once;
    twice.simplify();
    check(Wstring(twice) == Wstring(once));
  }

  const uint64 level = data[1] % 5;
  setter(p, [&](Nym_path& q) { q.level(level, u"x"); });
  setter(p, [&](Nym_path& q) { q.share(u"sh"); });
  setter(p, [&](Nym_path& q) { q.unc(u"s", u"sh"); });
  setter(p, [&](Nym_path& q) { q.drive(u'd'); });
  setter(p, [&](Nym_path& q) { q.remove_unc(); });
  setter(p, [&](Nym_path& q) { q.cd(text.substr(0, split)); });
  setter(p, [&](Nym_path& q) { q.directory(text.substr(split)); });
  try {
    Nym_path relative = once;
    relative.relative_to(text.substr(0, split));
  } catch (const std::exception&) {
  }
  return 0;
}
