// Typed insertion values of a Nym_status: the abstract Nym_status_arg and its null, integer,
// boolean and string kinds.
//
// Callers build an argument on the stack and pass it by const reference; a status keeps only
// a heap copy made with clone(). Arguments are not synchronised.
#ifndef NYM_STATUS_ARG_H
#define NYM_STATUS_ARG_H

#include "nym/types.h"

namespace nym {

class NYM_API Nym_status_arg {
 public:
  Nym_status_arg(const Nym_status_arg&) = default;
  Nym_status_arg& operator=(const Nym_status_arg&) = default;
  virtual ~Nym_status_arg();

  // Deletes this object. Lists release their arguments only through this call.
  virtual void destroy() = 0;
  // Replaces `out` with the argument's text.
  virtual void to_string(Wstring& out) const = 0;
  // The kind's identifier, equal to the class's static ID.
  virtual GUID identity() const = 0;
  // A new heap copy owned by the caller; `list` names the list that will own it (unused).
  virtual Nym_status_arg* clone(const void* list) const = 0;
  // Same kind (by identity) and same value.
  virtual bool operator==(const Nym_status_arg& other) const = 0;
  bool operator!=(const Nym_status_arg& other) const { return !(*this == other); }

 protected:
  Nym_status_arg() = default;
};

// An empty argument. NULL_ARGUMENT, recognised by its address alone, marks an unused
// position in the status overloads with four to eight arguments.
class NYM_API Nym_null_status_arg : public Nym_status_arg {
 public:
  Nym_null_status_arg() = default;
  Nym_null_status_arg(const Nym_null_status_arg&) = default;
  Nym_null_status_arg& operator=(const Nym_null_status_arg&) = default;

  void destroy() override;
  void to_string(Wstring& out) const override;
  GUID identity() const override;
  Nym_status_arg* clone(const void* list) const override;
  bool operator==(const Nym_status_arg& other) const override;

  static const GUID ID;
  static const Nym_null_status_arg NULL_ARGUMENT;
};

// A signed 64-bit number; `format` asks that its decimal text be grouped as nym_itow groups it
// (by the C run-time's locale, so not at all under the default "C" locale).
// Equality compares the number only.
class NYM_API Nym_int_status_arg : public Nym_status_arg {
 public:
  explicit Nym_int_status_arg(int64 value, bool format = false) : m_value(value), m_format(format) {}
  Nym_int_status_arg(const Nym_int_status_arg&) = default;
  Nym_int_status_arg& operator=(const Nym_int_status_arg&) = default;

  int64 value() const { return m_value; }
  bool format() const { return m_format; }

  void destroy() override;
  void to_string(Wstring& out) const override;
  GUID identity() const override;
  Nym_status_arg* clone(const void* list) const override;
  bool operator==(const Nym_status_arg& other) const override;

  static const GUID ID;

 private:
  int64 m_value;
  bool m_format;
};

// An unsigned 64-bit number; never equal to a Nym_int_status_arg of the same number.
class NYM_API Nym_uint_status_arg : public Nym_status_arg {
 public:
  explicit Nym_uint_status_arg(uint64 value, bool format = false) : m_value(value), m_format(format) {}
  Nym_uint_status_arg(const Nym_uint_status_arg&) = default;
  Nym_uint_status_arg& operator=(const Nym_uint_status_arg&) = default;

  uint64 value() const { return m_value; }
  bool format() const { return m_format; }

  void destroy() override;
  void to_string(Wstring& out) const override;
  GUID identity() const override;
  Nym_status_arg* clone(const void* list) const override;
  bool operator==(const Nym_status_arg& other) const override;

  static const GUID ID;

 private:
  uint64 m_value;
  bool m_format;
};

// A boolean, told as W_TRUE or W_FALSE.
class NYM_API Nym_bool_status_arg : public Nym_status_arg {
 public:
  explicit Nym_bool_status_arg(bool value) : m_value(value) {}
  Nym_bool_status_arg(const Nym_bool_status_arg&) = default;
  Nym_bool_status_arg& operator=(const Nym_bool_status_arg&) = default;

  bool value() const { return m_value; }

  void destroy() override;
  void to_string(Wstring& out) const override;
  GUID identity() const override;
  Nym_status_arg* clone(const void* list) const override;
  bool operator==(const Nym_status_arg& other) const override;

  static const GUID ID;

 private:
  bool m_value;
};

// A wide string; the narrow constructor widens Latin-1 (nym_stow). Equality is unit by unit,
// with no case folding or normalisation.
class NYM_API Nym_wstring_status_arg : public Nym_status_arg {
 public:
  explicit Nym_wstring_status_arg(const Wstring& value) : m_value(value) {}
  explicit Nym_wstring_status_arg(const Nstring& value);
  Nym_wstring_status_arg(const Nym_wstring_status_arg&) = default;
  Nym_wstring_status_arg& operator=(const Nym_wstring_status_arg&) = default;

  const Wstring& value() const { return m_value; }

  void destroy() override;
  void to_string(Wstring& out) const override;
  GUID identity() const override;
  Nym_status_arg* clone(const void* list) const override;
  bool operator==(const Nym_status_arg& other) const override;

  static const GUID ID;

 private:
  Wstring m_value;
};

}  // namespace nym

#endif
