// Owning pointers of the library: Ovt_counted_ptr (shared, with a separately allocated plain
// use count) and Ovt_auto_ptr (sole owner with a deallocator policy).
//
// Ovt_counted_ptr's count is a plain integer: objects shared through it belong to one thread
// at a time, which is what Nym_status needs and why its copies cost two increments.
#ifndef NYM_COUNTED_PTR_H
#define NYM_COUNTED_PTR_H

#include <cstdint>
#include <utility>

namespace nym {

template <class T>
class Ovt_counted_ptr {
 public:
  Ovt_counted_ptr() noexcept = default;

  // Takes ownership of p. If the count cannot be allocated, p is deleted and the allocator's
  // exception goes on, so nothing leaks.
  explicit Ovt_counted_ptr(T* p) : m_object(p) {
    if (p != nullptr) {
      try {
        m_count = new std::uint32_t(1);
      } catch (...) {
        delete p;
        m_object = nullptr;
        throw;
      }
    }
  }

  Ovt_counted_ptr(const Ovt_counted_ptr& other) noexcept : m_object(other.m_object), m_count(other.m_count) {
    if (m_count != nullptr) ++*m_count;
  }
  Ovt_counted_ptr(Ovt_counted_ptr&& other) noexcept : m_object(other.m_object), m_count(other.m_count) {
    other.m_object = nullptr;
    other.m_count = nullptr;
  }
  Ovt_counted_ptr& operator=(const Ovt_counted_ptr& other) noexcept {
    if (m_count != other.m_count) {
      Ovt_counted_ptr keep(other);  // other may live inside what reset() frees
      swap(keep);
    }
    return *this;
  }
  Ovt_counted_ptr& operator=(Ovt_counted_ptr&& other) noexcept {
    if (this != &other) {
      Ovt_counted_ptr keep(std::move(other));
      swap(keep);
    }
    return *this;
  }
  // Tests the object, as a holder's own test does, so that an empty pointer going out of scope
  // costs nothing more once its holder has looked (a clear Nym_status is the common case).
  ~Ovt_counted_ptr() {
    if (m_object != nullptr) drop(m_object, m_count);
  }

  // Drops this share; the last share frees the count, then the object.
  void reset() noexcept {
    T* object = m_object;
    std::uint32_t* count = m_count;
    m_object = nullptr;
    m_count = nullptr;
    if (object != nullptr) drop(object, count);
  }

  void swap(Ovt_counted_ptr& other) noexcept {
    std::swap(m_object, other.m_object);
    std::swap(m_count, other.m_count);
  }

  T* get() const noexcept { return m_object; }
  T* operator->() const noexcept { return m_object; }
  T& operator*() const noexcept { return *m_object; }
  explicit operator bool() const noexcept { return m_object != nullptr; }
  // 0 for an empty pointer.
  std::uint32_t use_count() const noexcept { return m_count != nullptr ? *m_count : 0; }

 private:
  // Object and count are null together, so either answers whether a share is held.
  static void drop(T* object, std::uint32_t* count) noexcept {
    if (--*count == 0) {
      delete count;
      delete object;
    }
  }

  T* m_object = nullptr;
  std::uint32_t* m_count = nullptr;
};

// Deallocator policy of Ovt_auto_ptr: plain delete.
template <class T>
struct Ovt_delete {
  void operator()(T* p) const noexcept { delete p; }
};

// Sole owner of a T, freed through the policy D (for example a Win32 release function).
template <class T, class D = Ovt_delete<T>>
class Ovt_auto_ptr {
 public:
  Ovt_auto_ptr() noexcept = default;
  explicit Ovt_auto_ptr(T* p) noexcept : m_object(p) {}
  Ovt_auto_ptr(const Ovt_auto_ptr&) = delete;
  Ovt_auto_ptr& operator=(const Ovt_auto_ptr&) = delete;
  Ovt_auto_ptr(Ovt_auto_ptr&& other) noexcept : m_object(other.release()) {}
  Ovt_auto_ptr& operator=(Ovt_auto_ptr&& other) noexcept {
    reset(other.release());
    return *this;
  }
  ~Ovt_auto_ptr() { reset(); }

  void reset(T* p = nullptr) noexcept {
    T* old = m_object;
    m_object = p;
    if (old != nullptr && old != p) D()(old);
  }
  // Gives up ownership without freeing.
  T* release() noexcept {
    T* p = m_object;
    m_object = nullptr;
    return p;
  }
  T* get() const noexcept { return m_object; }
  T* operator->() const noexcept { return m_object; }
  T& operator*() const noexcept { return *m_object; }
  explicit operator bool() const noexcept { return m_object != nullptr; }

 private:
  T* m_object = nullptr;
};

}  // namespace nym

#endif
