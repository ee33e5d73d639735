// Results: build a status, chain the causes under it, test it and print it in words.
#include "recipe.h"

using namespace nym;
using recipe::check;

// The product's own code, in its own facility 0x2FD; its words are in myapp.mc.
constexpr unsigned int MYAPP_S_CONFIG_UNREADABLE = 0xC2FD0001u;

// Every operation reports into the status that is its last argument.
void read_config(const Wstring& name, Nym_status& status) {
  status.clear();
  status = 2;                       // the system's code first: what GetLastError() gave
  status.push(NYM_S_READ_FAILED);   // then each layer's own code on top
  status.push(MYAPP_S_CONFIG_UNREADABLE, Nym_wstring_status_arg(name));
}

int main() {
  Nym_status status;
  read_config(u"app.ini", status);

  // Tests read the top status; ok() is "not an error", so warnings are ok.
  check(status.is_error() && !status.ok(), "the top is an error");
  check(status == MYAPP_S_CONFIG_UNREADABLE, "the top is the product's code");
  // A cause anywhere in the chain is found by its plain system number.
  check(status.contains_value(2) && status.contains_value(NYM_S_READ_FAILED), "the causes");
  check(status.num_args() == 1 && status.child()->num_args() == 0, "arguments belong to one status");

  // Words: the product's family first, then the library's own ("nym"); the system's table
  // answers for its codes. Name the families once, before the first to_string.
  check(Nym_status_lookup::initialise_message_list({"myapp", "nym"}), "both families load");
  Wstring words;
  Nym_status_lookup::to_string(status, words);  // one line per status, newest first
  recipe::print("status", words);
  check(words.rfind(u"The configuration app.ini could not be read.\r\nThe read failed.\r\n", 0) == 0,
        "the chain in words");

  // A code no file knows still prints: "Error 0xc2fd0063, app.ini".
  Wstring unknown;
  Nym_status_lookup::to_string(Nym_status(0xC2FD0063u, Nym_wstring_status_arg(Wstring(u"app.ini"))), unknown);
  check(unknown == u"Error 0xc2fd0063, app.ini", "the mechanical text");

  // Done with it: pop() drops the top, clear() forgets everything.
  status.pop();
  check(status == NYM_S_READ_FAILED, "pop");
  status.clear();
  check(status.is_clear(), "clear");
  return recipe::result();
}
