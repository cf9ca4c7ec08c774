#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>

namespace Cog {

namespace detail {
template <class T>
class Made;
}  // namespace detail

// Base of every reference-counted framework object: records, state machines, groups.
// The count is intrusive and single-threaded; an object is deleted when its last Ptr goes.
// Objects are neither copyable nor movable: identity is what a Ptr shares.
//
// Counted objects are made only by Cog::make. Every class derived from Object is abstract until
// make() instantiates it, so a counted object cannot be built on the stack, as a member or with
// a bare new, where the first reactor or Ptr to let go of it would delete what it does not own.
class Object {
 public:
  Object() = default;
  Object(Object const&) = delete;
  Object& operator=(Object const&) = delete;
  virtual ~Object() = default;

  void ref() const noexcept { ++refCount_; }
  void unref() const noexcept {
    if (--refCount_ == 0) {
      delete this;
    }
  }
  std::uint32_t refCount() const noexcept { return refCount_; }

 private:
  template <class T>
  friend class detail::Made;
  // Overridden only by the class that make() instantiates.
  virtual void madeByMake() const = 0;

  mutable std::uint32_t refCount_ = 0;
};

// Intrusive smart pointer. Ptr<T const> converts from Ptr<T>, and Ptr<Base> from Ptr<Derived>.
template <class T>
class Ptr {
 public:
  using element_type = T;

  Ptr() noexcept = default;
  Ptr(std::nullptr_t) noexcept {}                  // NOLINT: implicit like a raw null pointer
  Ptr(T* raw) noexcept : raw_(raw) { acquire(); }  // NOLINT: adopting a fresh object is common
  Ptr(Ptr const& other) noexcept : raw_(other.raw_) { acquire(); }
  Ptr(Ptr&& other) noexcept : raw_(std::exchange(other.raw_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U> const& other) noexcept : raw_(other.get()) {  // NOLINT: like raw upcasts
    acquire();
  }
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U>&& other) noexcept : raw_(other.release()) {}  // NOLINT: like raw upcasts
  ~Ptr() { releaseRef(); }

  Ptr& operator=(Ptr other) noexcept {
    std::swap(raw_, other.raw_);
    return *this;
  }

  T* get() const noexcept { return raw_; }
  T* operator->() const noexcept { return raw_; }
  T& operator*() const noexcept { return *raw_; }
  explicit operator bool() const noexcept { return raw_ != nullptr; }

  // Gives up ownership without dropping the reference; used by converting moves.
  T* release() noexcept { return std::exchange(raw_, nullptr); }

  template <class U>
  bool operator==(Ptr<U> const& other) const noexcept {
    return raw_ == other.get();
  }
  bool operator==(std::nullptr_t) const noexcept { return raw_ == nullptr; }

 private:
  void acquire() const noexcept {
    if (raw_) {
      raw_->ref();
    }
  }
  void releaseRef() noexcept {
    if (raw_) {
      std::exchange(raw_, nullptr)->unref();
    }
  }

  T* raw_ = nullptr;
};

namespace detail {

// The concrete class of a counted T: T with the one override that only make() provides.
template <class T>
class Made final : public T {
 public:
  using T::T;

 private:
  void madeByMake() const override {}
};

}  // namespace detail

// Creates a framework object and hands out its first reference.
template <class T, class... Args>
Ptr<T> make(Args&&... args) {
  return Ptr<T>(new detail::Made<T>(std::forward<Args>(args)...));
}

template <class T, class U>
Ptr<T> ptrCast(Ptr<U> const& p) noexcept {
  return Ptr<T>(static_cast<T*>(p.get()));
}

template <class T, class U>
Ptr<T> ptrDynamicCast(Ptr<U> const& p) noexcept {
  return Ptr<T>(dynamic_cast<T*>(p.get()));
}

}  // namespace Cog

template <class T>
struct std::hash<Cog::Ptr<T>> {
  std::size_t operator()(Cog::Ptr<T> const& p) const noexcept {
    return std::hash<T const*>()(p.get());
  }
};
