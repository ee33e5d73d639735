#include "nym/status.h"

#include <stdexcept>

namespace nym {

Nym_status::Arg_list Nym_status::m_static_args;

// ---- Arg_list

Nym_status::Arg_list::~Arg_list() { clear(); }

Nym_status_arg* Nym_status::Arg_list::add(const Nym_status_arg& arg) {
  if (&arg == &Nym_null_status_arg::NULL_ARGUMENT) return const_cast<Nym_null_status_arg*>(&Nym_null_status_arg::NULL_ARGUMENT);
  if (count == 8) throw std::overflow_error("Nym_status::Arg_list::add - too many arguments.");
  Nym_status_arg* copy = arg.clone(this);
  args[count++] = copy;
  return copy;
}

void Nym_status::Arg_list::assign(const Nym_status_arg* const* given, unsigned always, unsigned total) {
  clear();
  for (unsigned i = 0; i < total; ++i) {
    // The sentinel is looked for only after the first `always` positions.
    if (i >= always && given[i] == &Nym_null_status_arg::NULL_ARGUMENT) continue;
    args[count] = given[i]->clone(this);
    ++count;  // only after the clone: a throwing clone leaves the filled slots owned
  }
}

void Nym_status::Arg_list::clear() {
  for (std::uint32_t i = 0; i < count; ++i) {
    args[i]->destroy();
    args[i] = nullptr;
  }
  count = 0;
}

// ---- construction and assignment

namespace {

// Whether one of the given arguments is a clone owned by `list`: rebuilding that list in
// place would destroy the argument before it is copied.
bool holds_any(const Nym_status::Arg_list& list, const Nym_status_arg* const* given, unsigned total) {
  for (unsigned i = 0; i < total; ++i) {
    for (std::uint32_t k = 0; k < list.count; ++k) {
      if (list.args[k] == given[i]) return true;
    }
  }
  return false;
}

}  // namespace

Nym_status::List_ptr Nym_status::new_list(const Nym_status_arg* const* given, unsigned always, unsigned total) {
  List_ptr list(new Arg_list);
  list->assign(given, always, total);
  return list;
}

Nym_status::Nym_status(unsigned int code, const Nym_status_arg& a1) : Nym_status(code) {
  const Nym_status_arg* given[] = {&a1};
  m_args = new_list(given, 1, 1);
}

Nym_status::Nym_status(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2) : Nym_status(code) {
  const Nym_status_arg* given[] = {&a1, &a2};
  m_args = new_list(given, 2, 2);
}

Nym_status::Nym_status(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2,
                       const Nym_status_arg& a3)
    : Nym_status(code) {
  const Nym_status_arg* given[] = {&a1, &a2, &a3};
  m_args = new_list(given, 3, 3);
}

Nym_status::Nym_status(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2,
                       const Nym_status_arg& a3, const Nym_status_arg& a4, const Nym_status_arg& a5,
                       const Nym_status_arg& a6, const Nym_status_arg& a7, const Nym_status_arg& a8)
    : Nym_status(code) {
  const Nym_status_arg* given[] = {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8};
  m_args = new_list(given, 4, 8);
}

Nym_status& Nym_status::operator=(const Nym_status& other) noexcept {
  if (this != &other) {
    // Take the shares first: other may live inside the chain that is released.
    List_ptr args = other.m_args;
    Status_ptr child = other.m_child;
    m_value = other.m_value;
    m_orig_value = other.m_orig_value;
    release_all();
    m_args = std::move(args);
    m_child = std::move(child);
  }
  return *this;
}

Nym_status& Nym_status::operator=(unsigned int code) noexcept {
  release_all();
  set_code(code);
  return *this;
}

void Nym_status::assign_args(unsigned int code, const Nym_status_arg* const* given, unsigned always,
                             unsigned total) {
  // The arguments may live in the chain that assign drops: it goes only once they are cloned.
  Status_ptr chain = std::move(m_child);
  try {
    if (m_args && m_args.use_count() == 1 && !holds_any(*m_args, given, total)) {
      m_args->assign(given, always, total);
    } else {
      m_args = new_list(given, always, total);
    }
  } catch (...) {
    m_child = std::move(chain);
    throw;
  }
  set_code(code);
  m_child = std::move(chain);
  release_chain();
}

void Nym_status::assign(unsigned int code, const Nym_status_arg& a1) {
  const Nym_status_arg* given[] = {&a1};
  assign_args(code, given, 1, 1);
}

void Nym_status::assign(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2) {
  const Nym_status_arg* given[] = {&a1, &a2};
  assign_args(code, given, 2, 2);
}

void Nym_status::assign(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2,
                        const Nym_status_arg& a3) {
  const Nym_status_arg* given[] = {&a1, &a2, &a3};
  assign_args(code, given, 3, 3);
}

void Nym_status::assign(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2,
                        const Nym_status_arg& a3, const Nym_status_arg& a4, const Nym_status_arg& a5,
                        const Nym_status_arg& a6, const Nym_status_arg& a7, const Nym_status_arg& a8) {
  const Nym_status_arg* given[] = {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8};
  assign_args(code, given, 4, 8);
}

void Nym_status::add_arg(const Nym_status_arg& arg) {
  if (m_args && m_args.use_count() == 1) {
    m_args->add(arg);
  } else {
    // A shared list is not carried over: the status keeps only the new argument.
    List_ptr list(new Arg_list);
    list->add(arg);
    m_args = std::move(list);
  }
}

// Releases the chain without recursion, so a chain of any depth cannot exhaust the stack:
// each node whose last share we hold is unlinked from its child before it is freed.
void Nym_status::release_chain() noexcept {
  Status_ptr next = std::move(m_child);
  while (next && next.use_count() == 1) {
    Status_ptr after = std::move(next->m_child);
    next = std::move(after);
  }
}

void Nym_status::release_all() noexcept {
  release_chain();
  m_args.reset();
}

// ---- chain

Nym_status::Status_ptr Nym_status::make_node() const {
  Status_ptr node(new Nym_status(m_orig_value));
  node->m_args = m_args;
  node->m_child = m_child;
  return node;
}

void Nym_status::restore_from(const Status_ptr& node) noexcept {
  m_value = node->m_value;
  m_orig_value = node->m_orig_value;
  m_args = node->m_args;
  m_child = node->m_child;
}

void Nym_status::push(unsigned int code) {
  if (is_clear()) {
    *this = code;
    return;
  }
  Status_ptr node = make_node();
  release_chain();
  set_code(code);
  m_args.reset();
  m_child = std::move(node);
}

void Nym_status::push_args(unsigned int code, const Nym_status_arg* const* given, unsigned always,
                           unsigned total) {
  if (is_clear()) {
    assign_args(code, given, always, total);
    return;
  }
  Status_ptr node = make_node();
  release_chain();
  set_code(code);
  try {
    m_args = new_list(given, always, total);
  } catch (...) {
    restore_from(node);
    throw;
  }
  m_child = std::move(node);
}

void Nym_status::push(unsigned int code, const Nym_status_arg& a1) {
  const Nym_status_arg* given[] = {&a1};
  push_args(code, given, 1, 1);
}

void Nym_status::push(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2) {
  const Nym_status_arg* given[] = {&a1, &a2};
  push_args(code, given, 2, 2);
}

void Nym_status::push(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2,
                      const Nym_status_arg& a3) {
  const Nym_status_arg* given[] = {&a1, &a2, &a3};
  push_args(code, given, 3, 3);
}

void Nym_status::push(unsigned int code, const Nym_status_arg& a1, const Nym_status_arg& a2,
                      const Nym_status_arg& a3, const Nym_status_arg& a4, const Nym_status_arg& a5,
                      const Nym_status_arg& a6, const Nym_status_arg& a7, const Nym_status_arg& a8) {
  const Nym_status_arg* given[] = {&a1, &a2, &a3, &a4, &a5, &a6, &a7, &a8};
  push_args(code, given, 4, 8);
}

void Nym_status::push(const Nym_status& other) {
  if (is_clear()) {
    *this = other;
    return;
  }
  Status_ptr node = make_node();  // also keeps `other` alive if it lives in our chain
  release_chain();
  try {
    m_value = other.m_value;
    m_orig_value = other.m_orig_value;
    m_args = other.m_args;
    // A deep copy: linking the node below writes into the last status of the chain, and a
    // chain shared with another status must not change under it.
    if (other.m_child) m_child = other.m_child->clone();
    Nym_status* last = this;
    while (last->m_child) last = last->m_child.get();
    last->m_child = std::move(node);
  } catch (...) {
    restore_from(node);
    throw;
  }
}

void Nym_status::pop() {
  if (!m_child) {
    clear();
    return;
  }
  const Status_ptr held = m_child;
  m_value = held->m_value;
  m_orig_value = held->m_orig_value;
  m_args = held->m_args;
  m_child = held->m_child;
}

// Copies the chain nodes (not the arguments, which stay shared), without recursion.
Nym_status::Status_ptr Nym_status::clone() const {
  Status_ptr head(new Nym_status(m_orig_value));
  head->m_args = m_args;
  Nym_status* tail = head.get();
  for (const Nym_status* from = m_child.get(); from != nullptr; from = from->m_child.get()) {
    tail->m_child = Status_ptr(new Nym_status(from->m_orig_value));
    tail = tail->m_child.get();
    tail->m_args = from->m_args;
  }
  return head;
}

bool Nym_status::contains_value(unsigned int code) const noexcept {
  for (const Nym_status* s = this; s != nullptr; s = s->m_child.get()) {
    if (*s == code) return true;
  }
  return false;
}

bool Nym_status::compare(const Nym_status& other, bool compare_args, bool compare_children) const {
  const Nym_status* a = this;
  const Nym_status* b = &other;
  for (;;) {
    bool equal = a->m_value == b->m_value;
    if (equal && compare_args) {
      if (a->num_args() != b->num_args()) return false;
      if (a->m_args && b->m_args) {
        for (std::uint32_t i = 0; equal && i < a->m_args->count; ++i) {
          equal = *a->m_args->args[i] == *b->m_args->args[i];
        }
      }
    }
    if (!equal || !compare_children) return equal;
    if (!a->m_child || !b->m_child) return !a->m_child && !b->m_child;
    a = a->m_child.get();
    b = b->m_child.get();
  }
}

unsigned int Nym_status::hresult() const noexcept {
  unsigned int h = m_value & 0xFFFFu;
  if (is_error()) h |= 0x80000000u;
  // Facility 0xC00 maps on purpose to the all-ones HRESULT facility; bit 27 is dropped.
  h |= (m_value & 0x0FFF0000u) == 0x0C000000u ? 0x07FF0000u : (m_value & 0x07FF0000u);
  return h;
}

}  // namespace nym
