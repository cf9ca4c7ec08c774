#pragma once

#include <memory>

namespace Cog {

// A value kept on the heap, with value semantics: copies are deep and == compares the values.
// Lets a rarely used large alternative sit in a variant or record as one pointer, so the common
// case does not pay for its size. A moved-from box may only be assigned to or destroyed.
template <class T>
class Boxed {
 public:
  Boxed() : value_(std::make_unique<T>()) {}
  Boxed(Boxed const& other) : value_(std::make_unique<T>(*other)) {}
  Boxed(Boxed&&) noexcept = default;
  Boxed& operator=(Boxed const& other) {
    if (this != &other) {
      value_ = std::make_unique<T>(*other);
    }
    return *this;
  }
  Boxed& operator=(Boxed&&) noexcept = default;

  T& operator*() { return *value_; }
  T const& operator*() const { return *value_; }
  T* operator->() { return value_.get(); }
  T const* operator->() const { return value_.get(); }

  bool operator==(Boxed const& other) const { return *value_ == *other; }

 private:
  std::unique_ptr<T> value_;
};

}  // namespace Cog
