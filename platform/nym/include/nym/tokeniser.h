// Nym_tokeniser and Nym_narrow_tokeniser: cut a wide or a narrow string into tokens.
//
// Both run the same state machine over their character type. A tokeniser holds only its
// configuration (four character sets and two flags), is not changed by tokenise, and may be
// shared between threads while nobody reconfigures it.
//
// For each character the first rule that applies wins: a double quote flips the in-quotes
// state and stays in the token; inside quotes every character is kept, and a backslash keeps
// the character after it too (so \" doesn't end the quoted part); a terminator ends the whole
// run (and is dropped); an ignored character is dropped; a separator ends the token (kept at
// its end with include_separators); a terminal ends the token and is a token of its own.
// Empty tokens are delivered only with allow_empty_tokens. Nothing here reports or throws
// beyond std::bad_alloc.
#ifndef NYM_TOKENISER_H
#define NYM_TOKENISER_H

#include <vector>

#include "nym/types.h"

namespace nym {


// Defaults: separators space and tab, nothing ignored, terminator line feed, no terminals,
// separators not included, no empty tokens.
class NYM_API Nym_tokeniser {
 public:
  Nym_tokeniser();
  Nym_tokeniser(const Wstring& separators, const Wstring& ignore, const Wstring& terminators,
                const Wstring& terminals, bool include_separators, bool allow_empty_tokens);
  Nym_tokeniser(const Nym_tokeniser&) = default;
  Nym_tokeniser& operator=(const Nym_tokeniser&) = default;
  ~Nym_tokeniser() = default;

  const Wstring& separators() const { return m_separators; }
  const Wstring& ignore() const { return m_ignore; }
  const Wstring& terminators() const { return m_terminators; }
  const Wstring& terminals() const { return m_terminals; }
  void separators(const Wstring& value) { m_separators = value; }
  void ignore(const Wstring& value) { m_ignore = value; }
  void terminators(const Wstring& value) { m_terminators = value; }
  void terminals(const Wstring& value) { m_terminals = value; }
  bool include_separators() const { return m_include_separators; }
  void include_separators(bool value) { m_include_separators = value; }
  bool allow_empty_tokens() const { return m_allow_empty_tokens; }
  void allow_empty_tokens(bool value) { m_allow_empty_tokens = value; }

  // Empties `tokens` and fills it; an empty text gives no token at all.
  void tokenise(const Wstring& text, std::vector<Wstring>& tokens) const;

 private:
  // Appends `token` unless it is empty and empty tokens aren't allowed; `token` is emptied.
  void add_token(Wstring& token, std::vector<Wstring>& tokens) const;

  Wstring m_separators;
  Wstring m_ignore;
  Wstring m_terminators;
  Wstring m_terminals;
  bool m_include_separators;
  bool m_allow_empty_tokens;
};

// The same for narrow strings, byte by byte.
class NYM_API Nym_narrow_tokeniser {
 public:
  Nym_narrow_tokeniser();
  Nym_narrow_tokeniser(const Nstring& separators, const Nstring& ignore, const Nstring& terminators,
                       const Nstring& terminals, bool include_separators, bool allow_empty_tokens);
  Nym_narrow_tokeniser(const Nym_narrow_tokeniser&) = default;
  Nym_narrow_tokeniser& operator=(const Nym_narrow_tokeniser&) = default;
  ~Nym_narrow_tokeniser() = default;

  const Nstring& separators() const { return m_separators; }
  const Nstring& ignore() const { return m_ignore; }
  const Nstring& terminators() const { return m_terminators; }
  const Nstring& terminals() const { return m_terminals; }
  void separators(const Nstring& value) { m_separators = value; }
  void ignore(const Nstring& value) { m_ignore = value; }
  void terminators(const Nstring& value) { m_terminators = value; }
  void terminals(const Nstring& value) { m_terminals = value; }
  bool include_separators() const { return m_include_separators; }
  void include_separators(bool value) { m_include_separators = value; }
  bool allow_empty_tokens() const { return m_allow_empty_tokens; }
  void allow_empty_tokens(bool value) { m_allow_empty_tokens = value; }

  // Empties `tokens` and fills it; an empty text gives no token at all.
  void tokenise(const Nstring& text, std::vector<Nstring>& tokens) const;

 private:
  void add_token(Nstring& token, std::vector<Nstring>& tokens) const;

  Nstring m_separators;
  Nstring m_ignore;
  Nstring m_terminators;
  Nstring m_terminals;
  bool m_include_separators;
  bool m_allow_empty_tokens;
};

}  // namespace nym

#endif
