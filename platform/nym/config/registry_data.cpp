#include "config/registry_data.h"

#include <climits>
#include <cstring>

#include "nym/string_basic.h"
#include "nym/utf.h"

namespace nym::impl {

namespace {

// The non-empty components of a key path.
std::vector<Wstring> components(const Wstring& path) {
  std::vector<Wstring> parts;
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find(u'\\', start);
    if (end == Wstring::npos) end = path.size();
    if (end > start) parts.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

bool same_name(const Wstring& a, const Wstring& b) {
  // Names with a zero unit in them can't name keys; compare them exactly.
  if (a.find(u'\0') != Wstring::npos || b.find(u'\0') != Wstring::npos) return a == b;
  return a.size() == b.size() && nym_utf16_compare_nc(a.c_str(), b.c_str()) == 0;
}

// The units of the data, without a trailing odd byte.
Wstring units_of(const void* data, uint64 bytes) {
  Wstring units(static_cast<std::size_t>(bytes / 2), u'\0');
  if (!units.empty()) std::memcpy(&units[0], data, units.size() * 2);
  return units;
}

}  // namespace

Wstring reg_join(const Wstring& path, const Wstring& subkey) {
  if (subkey.empty()) return path;
  Wstring key;
  key.reserve(path.size() + 1 + subkey.size());
  key += path;
  key += u'\\';
  key += subkey;
  return key;
}

bool reg_path_below(const Wstring& outer, const Wstring& inner) {
  const std::vector<Wstring> a = components(outer);
  const std::vector<Wstring> b = components(inner);
  if (b.size() <= a.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (!same_name(a[i], b[i])) return false;
  }
  return true;
}

Wstring reg_text(const void* data, uint64 bytes) {
  Wstring text = units_of(data, bytes);
  const std::size_t zero = text.find(u'\0');
  if (zero != Wstring::npos) text.resize(zero);
  return text;
}

void reg_texts(const void* data, uint64 bytes, std::vector<Wstring>& texts) {
  texts.clear();
  const Wstring units = units_of(data, bytes);
  std::size_t start = 0;
  while (start < units.size()) {
    std::size_t end = units.find(u'\0', start);
    if (end == Wstring::npos) end = units.size();
    if (end == start) break;  // the empty text that ends the list
    texts.push_back(units.substr(start, end - start));
    start = end + 1;
  }
}

Wstring reg_multi_data(const std::vector<Wstring>& texts) {
  Wstring data;
  for (const Wstring& text : texts) {
    data.append(text.c_str());  // up to its own first zero unit
    data += u'\0';
  }
  data += u'\0';
  return data;
}

unsigned int reg_text_number(const void* data, uint64 bytes) {
  int64 number = nym_wtoi64(reg_text(data, bytes));
  if (number > INT_MAX) number = INT_MAX;
  if (number < INT_MIN) number = INT_MIN;
  return static_cast<unsigned int>(static_cast<int>(number));
}

}  // namespace nym::impl
