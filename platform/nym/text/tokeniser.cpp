#include "nym/tokeniser.h"

namespace nym {

namespace {

constexpr std::size_t TOKEN_RESERVE = 1024;

template <class S>
bool contains(const S& set, typename S::value_type c) {
  return set.find(c) != S::npos;
}

// The machine both tokenisers run; `add` is the class's add_token.
template <class S, class Self>
void run(const Self& self, const S& text, std::vector<S>& tokens) {
  using C = typename S::value_type;
  tokens.clear();
  if (text.empty()) return;
  S token;
  token.reserve(TOKEN_RESERVE);
  bool in_quotes = false;
  const std::size_t n = text.size();
  for (std::size_t i = 0; i < n; ++i) {
    const C c = text[i];
    if (c == C('"')) {
      in_quotes = !in_quotes;
      token.push_back(c);
    } else if (in_quotes) {
      token.push_back(c);
      if (c == C('\\') && i + 1 < n) token.push_back(text[++i]);
    } else if (contains(self.terminators(), c)) {
      break;
    } else if (contains(self.ignore(), c)) {
      continue;
    } else if (contains(self.separators(), c)) {
      if (self.include_separators()) token.push_back(c);
      self.add(token, tokens);
    } else if (contains(self.terminals(), c)) {
      self.add(token, tokens);
      token.assign(1, c);
      self.add(token, tokens);
    } else {
      token.push_back(c);
    }
  }
  self.add(token, tokens);
}

// Gives the free machine access to the private add_token.
template <class T, class S>
struct Access {
  const T& t;
  const S& separators() const { return t.separators(); }
  const S& ignore() const { return t.ignore(); }
  const S& terminators() const { return t.terminators(); }
  const S& terminals() const { return t.terminals(); }
  bool include_separators() const { return t.include_separators(); }
  void (*adder)(const T&, S&, std::vector<S>&);
  void add(S& token, std::vector<S>& tokens) const { adder(t, token, tokens); }
};

template <class S>
void add_token_to(S& token, std::vector<S>& tokens, bool allow_empty) {
  if (!token.empty() || allow_empty) tokens.push_back(token);
  token.clear();
}

}  // namespace

Nym_tokeniser::Nym_tokeniser()
    : m_separators(u" \t"), m_terminators(u"\n"), m_include_separators(false), m_allow_empty_tokens(false) {}

Nym_tokeniser::Nym_tokeniser(const Wstring& separators, const Wstring& ignore, const Wstring& terminators,
                             const Wstring& terminals, bool include_separators, bool allow_empty_tokens)
    : m_separators(separators),
      m_ignore(ignore),
      m_terminators(terminators),
      m_terminals(terminals),
      m_include_separators(include_separators),
      m_allow_empty_tokens(allow_empty_tokens) {}

void Nym_tokeniser::add_token(Wstring& token, std::vector<Wstring>& tokens) const {
  add_token_to(token, tokens, m_allow_empty_tokens);
}

void Nym_tokeniser::tokenise(const Wstring& text, std::vector<Wstring>& tokens) const {
  const Access<Nym_tokeniser, Wstring> access{
      *this, [](const Nym_tokeniser& t, Wstring& token, std::vector<Wstring>& out) { t.add_token(token, out); }};
  run(access, text, tokens);
}

Nym_narrow_tokeniser::Nym_narrow_tokeniser()
    : m_separators(" \t"), m_terminators("\n"), m_include_separators(false), m_allow_empty_tokens(false) {}

Nym_narrow_tokeniser::Nym_narrow_tokeniser(const Nstring& separators, const Nstring& ignore,
                                           const Nstring& terminators, const Nstring& terminals,
                                           bool include_separators, bool allow_empty_tokens)
    : m_separators(separators),
      m_ignore(ignore),
      m_terminators(terminators),
      m_terminals(terminals),
      m_include_separators(include_separators),
      m_allow_empty_tokens(allow_empty_tokens) {}

void Nym_narrow_tokeniser::add_token(Nstring& token, std::vector<Nstring>& tokens) const {
  add_token_to(token, tokens, m_allow_empty_tokens);
}

void Nym_narrow_tokeniser::tokenise(const Nstring& text, std::vector<Nstring>& tokens) const {
  const Access<Nym_narrow_tokeniser, Nstring> access{
      *this, [](const Nym_narrow_tokeniser& t, Nstring& token, std::vector<Nstring>& out) { t.add_token(token, out); }};
  run(access, text, tokens);
}

}  // namespace nym
