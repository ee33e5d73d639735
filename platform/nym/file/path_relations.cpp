// Nym_path as a whole and against other paths: simplify, relative_to, the roots and the
// search-path splitter.
//
// simplify's rule is stated level by level: look at raw level i, drop it if empty or ".",
// and for ".." look back through the levels before it for one that is not "..", then drop
// the pair. Done on the text, each look re-scans from the start and the whole is cubic in the
// number of levels. Here the text is split once into pieces; the pieces already passed sit
// on a stack with a running count of their ".." pieces, so that every look-back is two
// subtractions, and the unpassed pieces are a suffix of the original ones. The results are
// those of the level-by-level rule, including its look-back quirks (see look_back_finds).
#include <string_view>

#include "nym/path.h"
#include "nym/cwstring.h"
#include "nym/quote.h"
#include "nym/tokeniser.h"

namespace nym {

namespace {

using Wview = std::basic_string_view<Wchar>;

struct Piece {
  uint64 start;
  uint64 len;
};

// The text after its 0, 1 or 2 leading separators, cut at every separator. The last piece
// has no separator after it; it is empty when the text ends in one.
struct Split {
  unsigned prefix = 0;
  std::vector<Piece> pieces;
};

Split split(const Wstring& text, Wchar sep) {
  Split s;
  if (text.size() >= 2 && text[0] == sep && text[1] == sep) {
    s.prefix = 2;
  } else if (!text.empty() && text[0] == sep) {
    s.prefix = 1;
  }
  uint64 pos = s.prefix;
  for (;;) {
    const uint64 end = text.find(sep, pos);
    if (end == Wstring::npos) {
      s.pieces.push_back({pos, text.size() - pos});
      return s;
    }
    s.pieces.push_back({pos, end - pos});
    pos = end + 1;
  }
}

// Whether a piece before the last is empty, "." or "..": without one, simplify has nothing
// to drop and the text stays as it is (most paths, and every simplified one without "..").
bool may_drop_levels(const Wstring& text, Wchar sep) {
  uint64 start = text.size() >= 2 && text[0] == sep && text[1] == sep ? 2 : (!text.empty() && text[0] == sep) ? 1 : 0;
  for (uint64 end = text.find(sep, start); end != Wstring::npos; end = text.find(sep, start)) {
    const uint64 len = end - start;
    if (len == 0 || (len <= 2 && text[start] == u'.' && text[end - 1] == u'.')) return true;
    start = end + 1;
  }
  return false;
}

class Simplifier {
 public:
  Simplifier(const Wstring& text, Wchar sep, Wchar drive_sep, Wchar ext_sep)
      : m_text(text), m_sep(sep), m_drive_sep(drive_sep), m_ext_sep(ext_sep) {
    Split s = split(text, sep);
    m_prefix = s.prefix;
    m_pieces = std::move(s.pieces);
    m_inner = m_pieces.size() - 1;
    m_kept.reserve(m_inner);
    m_dotdots.reserve(m_inner + 1);
    m_empty_from.assign(m_inner + 1, 1);
    for (uint64 k = m_inner; k-- > 0;) m_empty_from[k] = m_empty_from[k + 1] && m_pieces[k].len == 0;
    m_dotdots.push_back(0);
  }

  Wstring run() {
    while (!done()) {
      const Piece c = m_pieces[m_next];
      if (c.len == 0 || is_dot(c)) {
        ++m_next;
        absorb();
      } else if (!is_dotdot(c) || m_kept.empty() || !look_back_finds()) {
        keep(c);
        ++m_next;
      } else {
        // The ".." and the level just before it go, whichever level let the look-back pass.
        ++m_next;
        m_kept.pop_back();
        m_dotdots.pop_back();
        absorb();
      }
    }
    return text();
  }

 private:
  Wview view(Piece p) const { return Wview(m_text.data() + p.start, p.len); }
  bool is_dot(Piece p) const { return p.len == 1 && m_text[p.start] == u'.'; }
  bool is_dotdot(Piece p) const { return p.len == 2 && m_text[p.start] == u'.' && m_text[p.start + 1] == u'.'; }

  // The loop ends when the level index reaches the text's count of separators after its
  // leading ones: no inner piece is left, or, before any is kept, only empty ones that the
  // leading separators swallow.
  bool done() const {
    return m_next >= m_inner || (m_kept.empty() && m_prefix == 2 && m_empty_from[m_next]);
  }

  // With nothing kept, an empty piece behind fewer than two leading separators makes the text
  // begin with one more.
  void absorb() {
    while (m_kept.empty() && m_prefix < 2 && m_next < m_inner && m_pieces[m_next].len == 0) {
      ++m_prefix;
      ++m_next;
    }
  }

  void keep(Piece p) {
    m_kept.push_back(p);
    m_dotdots.push_back(m_dotdots.back() + (is_dotdot(p) ? 1 : 0));
  }

  // The look-back reads its raw indexes as public ones: shifted by one past a drive and by
  // two past a UNC. With a drive it therefore sees the ".." itself instead of the drive, which
  // keeps ".." from climbing above c:\; with a UNC it sees the ".." and the level after it.
  bool look_back_finds() const {
    const uint64 i = m_kept.size();
    const unsigned offset = front_offset();
    if (offset < i && (i - offset) - (m_dotdots[i] - m_dotdots[offset]) > 0) return true;
    if (offset != 2) return false;
    if (m_next + 1 < m_inner) return !is_dotdot(m_pieces[m_next + 1]);
    // The level after is the last piece, read as its base. In a directory path there is none
    // and a read by index would run past the text: take the empty filename instead, so that
    // \\srv\share\dir\..\ gives \\srv\share\ just as c:\dir\..\ gives c:\.
    const Piece last = m_pieces.back();
    Wview base = view(last);
    const uint64 ext = base.rfind(m_ext_sep);
    if (ext != Wview::npos && ext > 0) base = base.substr(0, ext);
    return base != Wview(u"..");
  }

  // 1 when the current text has a drive, 2 when it has a UNC, else 0; asked with at least one
  // piece kept, so its first two units are the prefix and the first kept piece.
  unsigned front_offset() const {
    Wchar unit[2];
    unsigned n = 0;
    for (unsigned k = 0; k < m_prefix && n < 2; ++k) unit[n++] = m_sep;
    const Piece first = m_kept.front();
    for (uint64 k = 0; k < first.len && n < 2; ++k) unit[n++] = m_text[first.start + k];
    if (n < 2) unit[n++] = m_sep;
    if (unit[1] == m_drive_sep && unit[0] != m_drive_sep) return 1;
    return unit[0] == m_sep && unit[1] == m_sep ? 2 : 0;
  }

  Wstring text() const {
    Wstring out(m_prefix, m_sep);
    out.reserve(m_text.size());
    bool first = true;
    const auto add = [&](Piece p) {
      if (!first) out.push_back(m_sep);
      first = false;
      out.append(m_text, p.start, p.len);
    };
    for (const Piece p : m_kept) add(p);
    for (uint64 k = m_next; k < m_inner; ++k) add(m_pieces[k]);
    add(m_pieces.back());
    return out;
  }

  const Wstring& m_text;
  const Wchar m_sep;
  const Wchar m_drive_sep;
  const Wchar m_ext_sep;
  unsigned m_prefix = 0;
  std::vector<Piece> m_pieces;
  uint64 m_inner = 0;                  // pieces followed by a separator
  std::vector<unsigned char> m_empty_from;  // pieces k.. m_inner - 1 are all empty
  uint64 m_next = 0;                   // the piece under the level index
  std::vector<Piece> m_kept;           // the pieces before it
  std::vector<uint64> m_dotdots;       // ".." pieces among the first k kept
};

}  // namespace

void Nym_path::simplify() {
  for (Wchar& unit : m_text) {
    if (unit == u'/') unit = m_path_separator;
  }
  for (Wchar& unit : m_text) {
    if (unit == u'\\') unit = m_path_separator;
  }
  if (absolute_levels() == 0 || !may_drop_levels(m_text, m_path_separator)) return;
  m_text = Simplifier(m_text, m_path_separator, m_drive_separator, m_extension_separator).run();
}

Nym_path Nym_path::simplified() const {
  Nym_path copy(*this);
  copy.simplify();
  return copy;
}

void Nym_path::relative_to(const Wstring& base) {
  Nym_path b(base, W_EMPTY);
  if (!b.is_absolute() || !is_absolute()) throw std::invalid_argument("Both paths should be absolute.");
  if (drive() != b.drive() || unc() != b.unc()) return;
  simplify();
  b.simplify();
  // Directory levels of each. After simplify every level before the last is a piece of its
  // own, so one split answers operator[] for all of them.
  const uint64 all = levels();
  const uint64 n = is_file_path() ? (all > 0 ? all - 1 : 0) : all;
  const uint64 m = b.levels();
  const Split mine = split(m_text, m_path_separator);
  const Split theirs = split(b.m_text, b.m_path_separator);
  const uint64 my_offset = root_levels();
  const uint64 their_offset = b.root_levels();
  const auto level_of = [](const Wstring& text, const Split& s, uint64 raw) {
    if (raw >= s.pieces.size()) throw std::range_error("level index out of range.");
    return Wview(text.data() + s.pieces[raw].start, s.pieces[raw].len);
  };
  const auto my_level = [&](uint64 k) { return level_of(m_text, mine, k + my_offset); };
  uint64 common = 0;
  while (n > 0 && common < m && common < n && level_of(b.m_text, theirs, common + their_offset) == my_level(common)) {
    ++common;
  }
  // One ".." per level of the base left over, then this path's own levels. Every level here is
  // decided by the levels before it only, so one simplify gives what one cd per level would.
  Nym_path result;
  for (uint64 k = common; k < m; ++k) result.m_text += u"..\\";
  for (uint64 k = common; k < n; ++k) {
    result.m_text += my_level(k);
    result.m_text.push_back(u'\\');
  }
  result.simplify();
  result.filename(filename());
  m_text.swap(result.m_text);
}

Nym_path Nym_path::relative_to(const Wstring& base) const {
  Nym_path copy(*this);
  copy.relative_to(base);
  return copy;
}

Wstring Nym_path::file_system_root() const {
  Nym_path root;
  root.path_separator(m_path_separator);
  if (has_drive()) {
    root.drive(drive());
  } else if (has_unc()) {
    root.unc(server(), share());
  }
  return root.m_text;
}

Wstring Nym_path::root_and_directory() const {
  Wstring root = file_system_root();
  const Wstring dir = directory();
  if (!root.empty() && !dir.empty() && root.back() == u'\\' && dir[0] == u'\\') root.pop_back();
  return root + dir;
}

void nym_parse_path(const Wstring& search_path, std::vector<Wstring>& out) {
  const Nym_tokeniser tokeniser(W_SEMICOLON, W_EMPTY, W_EMPTY, W_EMPTY, false, false);
  tokeniser.tokenise(search_path, out);
  for (Wstring& token : out) {
    if (token.empty() || token[0] != u'"') continue;
    Wstring plain;
    nym_unquote(token, plain);
    token.swap(plain);
  }
}

}  // namespace nym
