// Words for statuses: message-table files (Nym_messages), ordered lists of them
// (Nym_messages_list) and the process-wide lookup (Nym_status_lookup).
//
// The words come from message-table resources in separate library files, one per product
// family, loaded at run time with LoadLibraryW and the bare file name (the system's ordinary
// search: the program's folder first). A family's file is
// its name followed by "res2208.dll": vornres2208.dll, sarmres2208.dll and so on. A code no file
// knows is looked up in the system's own table, and failing that a mechanical text is built
// ("Error 0xc2000019, <argument>, ..."), so a status always has some text.
//
// The message files are looked up by the status's code exactly as given (orig_value), with the
// text of every argument as insertion strings %1 to %8; marks beyond the arguments see empty
// text. An argument whose to_string raises is inserted as "(unprintable argument)".
//
// The library's own codes have texts in nymres2208.dll, beside nym2208.dll. It is not one of
// the standard families: a caller who wants it adds the family "nym", with
// initialise_message_list({"nym", ...}) or with add on the global list.
//
// The global list has no lock: add and remove on it must not run while another thread formats.
// Formatting from any number of threads is safe once the list stands, and the lookup fills the
// list exactly once, whichever thread comes first.
#ifndef NYM_MESSAGES_H
#define NYM_MESSAGES_H

#include <atomic>
#include <vector>

#include "nym/status.h"

namespace nym {

constexpr unsigned int NYM_S_MESSAGE_FILE_LOAD_FAILED = 0xC2000002u;     // arg: the file name
constexpr unsigned int NYM_S_MESSAGE_FILE_ALREADY_LOADED = 0x82000003u;  // a warning; arg: the file name

// The standard families, in their order of loading.
extern NYM_API const Nstring NYM_VORN_STATUS_FILE_NAME;
extern NYM_API const Nstring NYM_SARM_STATUS_FILE_NAME;
extern NYM_API const Nstring NYM_TRELK_STATUS_FILE_NAME;
extern NYM_API const Nstring NYM_QUIM_STATUS_FILE_NAME;
extern NYM_API const Nstring NYM_OG_STATUS_FILE_NAME;
extern NYM_API const Nstring NYM_MIRSOL_STATUS_FILE_NAME;

// One loaded message file; the file stays loaded while the object lives.
class NYM_API Nym_messages {
 public:
  // Clears `status` and loads the file by name; a file that does not load leaves the object
  // without a module and reports NYM_S_MESSAGE_FILE_LOAD_FAILED over the system's code.
  Nym_messages(const Wstring& name, Nym_status& status);
  Nym_messages(const Nym_messages&) = delete;
  Nym_messages& operator=(const Nym_messages&) = delete;
  ~Nym_messages();

  // The name as given to the constructor.
  const Wstring& name() const { return m_name; }
  // The text of the top status alone, from this file or else from the system's table; false
  // (and `text` empty) when neither has the code.
  bool format_message(const Nym_status& status, Wstring& text) const;

 private:
  friend class Nym_messages_list;
  bool format_inserts(unsigned int code, const Wstring* inserts, Wstring& text) const;

  Wstring m_name;
  void* m_module;
};

// An ordered list of message files, searched front to back. The list owns its entries.
class NYM_API Nym_messages_list {
 public:
  using const_iterator = std::vector<Nym_messages*>::const_iterator;

  Nym_messages_list() = default;
  Nym_messages_list(const Nym_messages_list&) = delete;
  Nym_messages_list& operator=(const Nym_messages_list&) = delete;
  ~Nym_messages_list();

  // Loads and appends a file. A name already listed (compared without regard to case) gives
  // the warning NYM_S_MESSAGE_FILE_ALREADY_LOADED and changes nothing; a file that does not load
  // reports NYM_S_MESSAGE_FILE_LOAD_FAILED and is not listed; no memory gives NYM_S_NO_MEMORY
  // under NYM_S_MESSAGE_FILE_LOAD_FAILED.
  void add(const Wstring& name, Nym_status& status);
  // Each name in order, stopping before the next name once `status` is an error.
  void add(const std::vector<Wstring>& names, Nym_status& status);
  // Unloads and drops the entry of that name (without regard to case), if there is one.
  void remove(const Wstring& name);

  const_iterator begin() const { return m_messages.begin(); }
  const_iterator end() const { return m_messages.end(); }

  // The text of the top status: the first file that knows the code, else the system's table,
  // else the mechanical text. Never fails to give one.
  void format_message(const Nym_status& status, Wstring& text) const;
  // The top status and its chain, newest first, one message after another with a CR LF
  // between; at most `depth` statuses, 0 meaning all of them.
  void format_message_tree(const Nym_status& status, Wstring& text, unsigned int depth) const;

  // The list the lookup fills; emptied when the library unloads.
  static Nym_messages_list m_global_messages;

 private:
  // The system's table alone; true when it gave a text.
  bool format_system(const Nym_status& status, Wstring& text) const;

  std::vector<Nym_messages*> m_messages;
};

// The process-wide entry point: the whole chain of a status as words.
class NYM_API Nym_status_lookup {
 public:
  // Fills the global list with the files of the given families (family name plus
  // "res2208.dll"), in order. Runs once per process: later calls answer true and load
  // nothing, also after a failed first run. The run stops at the first family whose file does
  // not load, so the families after it are not tried; a family already listed (a warning)
  // does not stop it. The answer is whether the run ended without an error. A product that
  // ships only some family files names those here before the first to_string.
  static bool initialise_message_list(const std::vector<Nstring>& families);
  // The six standard families, vorn to mirsol.
  static bool initialise_message_list();
  // The whole chain, newest first, trimmed of white space at both ends. Fills the global
  // list with the standard families first if nothing has filled it yet.
  static void to_string(const Nym_status& status, Wstring& text);

 private:
  static const Nstring m_suffix;
  static std::atomic<bool> m_initialised;
};

}  // namespace nym

#endif
