// The profile line rules and whole-file reads and writes, over any Nym_buffer.
#include "config/profile_format.h"

#include <algorithm>

#include "nym/unicode.h"
#include "nym/utf.h"

namespace nym::impl {

namespace {

constexpr Wchar BACKSLASH = u'\\';
constexpr Wchar EQUALS = u'=';
constexpr Wchar LF = 0x0A;
constexpr Wchar CR = 0x0D;
constexpr Wchar MARK = 0xFEFF;

// The escape a backslash and the two units after it form, or 0.
Wchar hex_escape(Wchar a, Wchar b) {
  if (a == u'0' && b == u'A') return LF;
  if (a == u'0' && b == u'D') return CR;
  if (a == u'5' && b == u'C') return BACKSLASH;
  return 0;
}

void append_escaped_unit(Wstring& out, Wchar c) {
  if (c == LF) {
    out += u"\\0A";
  } else if (c == CR) {
    out += u"\\0D";
  } else if (c == EQUALS) {
    out += u"\\=";
  } else {
    out += c;
  }
}

// Appends the written form of `text` to `out`.
void escape(const Wstring& text, bool key, Wstring& out) {
  if (std::none_of(text.begin(), text.end(), [](Wchar c) { return c == BACKSLASH || c == EQUALS || c == LF || c == CR; })) {
    out += text;
    return;
  }
  const std::size_t n = text.size();
  for (std::size_t i = 0; i < n; ++i) {
    const Wchar c = text[i];
    if (c != BACKSLASH) {
      append_escaped_unit(out, c);
      continue;
    }
    if (i + 1 == n) {
      // In a key the '=' that follows on the line would read as escaped.
      out += key ? u"\\5C" : u"\\";
    } else if (text[i + 1] == EQUALS) {
      out += u"\\5C";
      // A value's '=' may stand bare (only the first '=' splits); a key's may not.
      out += key ? u"\\=" : u"=";
      ++i;
    } else if (i + 2 == n && !(key && text[i + 1] == BACKSLASH)) {
      out += c;
      // Copied bare, a line end would split the line in the file.
      append_escaped_unit(out, text[i + 1]);
      ++i;
    } else if (i + 2 < n && hex_escape(text[i + 1], text[i + 2]) != 0) {
      out += u"\\5C";
      out += text[i + 1];
      out += text[i + 2];
      i += 2;
    } else {
      out += c;
    }
  }
}

// Reads lines until the end of the data (cleared) or an error (left). `each` gets the line (its
// own to change), the position it started at and the position after it, and answers false to
// stop.
template <class Each>
void for_each_line(Nym_istream& input, bool wide, Nym_status& status, Each each) {
  Wstring line;
  for (;;) {
    const int64 start = input.tell();
    profile_read_line(input, wide, line, status);
    if (status.is_error()) break;
    // A read that doesn't move (an odd byte left at the end) would come back for ever.
    if (input.tell() == start) {
      status = NYM_S_END_OF_DATA;
      break;
    }
    if (!each(line, start, input.tell())) return;
  }
  if (status == NYM_S_END_OF_DATA) status.clear();
}

// [from, to) trimmed as nym_trim trims, then unescaped, without a copy where nothing is escaped.
void trimmed_unescape(const Wchar* from, const Wchar* to, Wstring& out) {
  while (to != from && nym_is_space(to[-1])) --to;
  while (from != to && nym_is_space(*from)) ++from;
  if (std::find(from, to, BACKSLASH) == to) {
    out.assign(from, to);
  } else {
    out = profile_unescape(Wstring(from, to));
  }
}

bool reader_header(Wstring line, Wstring& name) {
  nym_trim(line);
  return profile_header(line, name);
}

}  // namespace

bool profile_is_comment(const Wstring& key) { return !key.empty() && key[0] == u';'; }

bool profile_is_entry(const Wstring& key) { return !key.empty() && key[0] != u';'; }

bool profile_same_name(const Wstring& a, const Wstring& b) {
  return a.size() == b.size() && nym_utf16_compare_nc(a.c_str(), b.c_str()) == 0;
}

Wstring profile_unescape(const Wstring& text) {
  Wstring out;
  out.reserve(text.size());
  const std::size_t n = text.size();
  for (std::size_t i = 0; i < n; ++i) {
    const Wchar c = text[i];
    if (c != BACKSLASH || i + 1 == n) {
      out += c;
    } else if (text[i + 1] == EQUALS) {
      out += EQUALS;
      ++i;
    } else if (i + 2 == n) {
      out += c;
      out += text[i + 1];
      ++i;
    } else if (const Wchar decoded = hex_escape(text[i + 1], text[i + 2])) {
      out += decoded;
      i += 2;
    } else {
      out += c;
    }
  }
  return out;
}

Wstring profile_escape(const Wstring& text) {
  Wstring out;
  out.reserve(text.size() + text.size() / 10);
  escape(text, false, out);
  return out;
}

Wstring profile_escape_key(const Wstring& text) {
  Wstring out;
  out.reserve(text.size() + text.size() / 10);
  escape(text, true, out);
  return out;
}

void profile_split_line(const Wstring& line, Wstring& key, Wstring& value) {
  if (profile_is_comment(line)) {
    key = line;
    value.clear();
    return;
  }
  std::size_t split = Wstring::npos;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == EQUALS && (i == 0 || line[i - 1] != BACKSLASH)) {
      split = i;
      break;
    }
  }
  const Wchar* text = line.data();
  if (split == Wstring::npos) {
    trimmed_unescape(text, text + line.size(), key);
    value.clear();
  } else {
    trimmed_unescape(text, text + split, key);
    trimmed_unescape(text + split + 1, text + line.size(), value);
  }
}

void profile_append_entry_line(const Profile_entry& entry, Wstring& out) {
  if (profile_is_comment(entry.first)) {
    out += entry.first;
    return;
  }
  escape(entry.first, true, out);
  out += EQUALS;
  escape(entry.second, false, out);
}

Wstring profile_entry_line(const Profile_entry& entry) {
  Wstring line;
  profile_append_entry_line(entry, line);
  return line;
}

bool profile_header(const Wstring& trimmed, Wstring& name) {
  const std::size_t from = !trimmed.empty() && trimmed[0] == MARK ? 1 : 0;
  if (trimmed.size() < from + 2 || trimmed[from] != u'[' || trimmed.back() != u']') return false;
  name = trimmed.substr(from + 1, trimmed.size() - from - 2);
  return true;
}

void profile_read_line(Nym_istream& input, bool wide, Wstring& line, Nym_status& status) {
  const auto read = [&](Wstring& into) {
    if (wide) {
      input.xreadln(PROFILE_LINE_PIECE, into, status);
    } else {
      input.wreadln_le(PROFILE_LINE_PIECE, into, status);
    }
  };
  read(line);
  if (status == NYM_S_LINE_NOT_ENDED) {
    Wstring piece;
    do {
      read(piece);
      line += piece;
    } while (status == NYM_S_LINE_NOT_ENDED);
  }
  if (status == NYM_S_END_OF_DATA && !line.empty()) status.clear();
}

void profile_scan_sections(const Nym_buffer& file, bool wide, std::vector<Wstring>& names,
                           std::vector<int64>& offsets, Nym_status& status) {
  status.clear();
  names.clear();
  offsets.clear();
  Nym_buffered_istream input(file, false, status, NYM_EOL_ANY);
  if (status.is_error()) return;
  Wstring name;
  for_each_line(input, wide, status, [&](const Wstring& line, int64 start, int64) {
    if (reader_header(line, name)) {
      names.push_back(name);
      offsets.push_back(start);
    }
    return true;
  });
}

void profile_read_section(const Nym_buffer& file, bool wide, const std::vector<Wstring>& names,
                          const std::vector<int64>& offsets, const Wstring& section,
                          std::vector<Profile_entry>& entries, Nym_status& status) {
  status.clear();
  entries.clear();
  Nym_buffered_istream input(file, false, status, NYM_EOL_CRLF);
  if (status.is_error()) return;
  int64 from = 0;
  for (std::size_t i = 0; i < names.size() && i < offsets.size(); ++i) {
    if (names[i] == section) {
      from = offsets[i];
      break;
    }
  }
  input.seek(from);

  // Find the header, then the end of the body. Without CR LF line ends the header may never
  // come: the end of the data ends the search, and the section has no body.
  Wstring name;
  int64 body_start = -1;
  int64 body_end = -1;
  for_each_line(input, wide, status, [&](const Wstring& line, int64 start, int64 after) {
    const bool header = reader_header(line, name);
    if (body_start < 0) {
      if (header && profile_same_name(name, section)) body_start = after;
      return true;
    }
    if (header) {
      body_end = start;
      return false;
    }
    return true;
  });
  if (status.is_error() || body_start < 0) return;
  if (body_end < 0) body_end = input.tell();

  input.seek(body_start);
  Profile_entry entry;
  for_each_line(input, wide, status, [&](const Wstring& line, int64 start, int64) {
    if (start >= body_end) return false;
    profile_split_line(line, entry.first, entry.second);
    entries.push_back(entry);
    return true;
  });
}

void profile_load(const Nym_buffer& file, bool wide, Profile_sections& sections, Nym_status& status) {
  status.clear();
  sections.clear();
  Nym_buffered_istream input(file, false, status, NYM_EOL_ANY);
  if (status.is_error()) return;
  Profile_section* current = nullptr;
  Wstring key;
  Wstring value;
  for_each_line(input, wide, status, [&](Wstring& line, int64, int64) {
    nym_trim(line);
    if (!line.empty() && line[0] == MARK) line.erase(0, 1);
    if (line.size() >= 2 && line[0] == u'[' && line.back() == u']') {
      sections.push_back(std::make_unique<Profile_section>());
      current = sections.back().get();
      current->name = line.substr(1, line.size() - 2);
    } else if (line.size() >= 2 && current != nullptr) {
      profile_split_line(line, key, value);
      current->entries.emplace_back(std::move(key), std::move(value));
    }
    return true;
  });
}

void profile_write(Nym_buffer& file, bool wide, const Profile_sections& sections, int64& end, Nym_status& status) {
  status.clear();
  end = 0;
  Nym_ostream output(file, status, NYM_EOL_CRLF);
  if (status.is_error()) return;
  // Lines are gathered and written in blocks, not two writes a line. xwriteln and wwriteln_le
  // (the `wide` choice) put the same bytes here: 16-bit units, little-endian, CR LF.
  static_cast<void>(wide);
  constexpr std::size_t BLOCK = 32768;
  Wstring text;
  text.reserve(BLOCK + 1024);
  text += MARK;
  auto flush = [&](std::size_t at_least) {
    if (text.size() < at_least || status.is_error()) return;
    output.write(text.size() * sizeof(Wchar), text.data(), status);
    text.clear();
  };
  const auto end_line = [&]() {
    text += u"\r\n";
    flush(BLOCK);
  };
  for (const auto& section : sections) {
    text += u'[';
    text += section->name;
    text += u']';
    end_line();
    for (const auto& entry : section->entries) {
      profile_append_entry_line(entry, text);
      end_line();
    }
    end_line();
  }
  flush(1);
  end = output.tell();
}

}  // namespace nym::impl
