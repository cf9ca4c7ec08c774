#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/cog/Errors.h"

namespace Tidal {

// The size error of a bounded array; names the array type.
class PodArraySizeError : public Cog::SizeError {
 public:
  using Cog::SizeError::SizeError;
  char const* arrayName() const { return "PodArray"; }
};

// A bounded array of plain values inside a table entry. The in-process backing stores only the
// used elements, never more than N. A count above N (a corrupt or hostile entry) throws the
// size error "expected size <= N, instead got COUNT. Buffer is at address: 0x... with
// contents: ..." (the first 16 elements in hexadecimal).
template <class T, std::size_t N>
class PodArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  static constexpr std::size_t kMaxSize = N;

  PodArray() = default;

  void copyIn(T const* data, std::size_t count) {
    if (count > N) {
      throwSizeError(data, count);
    }
    elements_.assign(data, data + count);
  }
  void push_back(T const& value) {
    if (elements_.size() >= N) {
      std::vector<T> tmp(elements_);
      tmp.push_back(value);
      throwSizeError(tmp.data(), tmp.size());
    }
    elements_.push_back(value);
  }

  std::size_t size() const { return elements_.size(); }
  bool empty() const { return elements_.empty(); }
  T const& operator[](std::size_t i) const { return elements_[i]; }
  T const* data() const { return elements_.data(); }
  auto begin() const { return elements_.begin(); }
  auto end() const { return elements_.end(); }

  bool operator==(PodArray const&) const = default;
  bool operator<(PodArray const& other) const { return elements_ < other.elements_; }

 private:
  [[noreturn]] static void throwSizeError(T const* data, std::size_t count) {
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<void const*>(data));
    std::string contents;
    for (std::size_t i = 0; i < count && i < 16; ++i) {
      char word[24];
      std::snprintf(word, sizeof word, "%s0x%llx", i ? " " : "",
                    static_cast<unsigned long long>(data[i]));
      contents += word;
    }
    if (count > 16) {
      contents += " ...";
    }
    throw PodArraySizeError("expected size <= " + std::to_string(N) + ", instead got " +
                            std::to_string(count) + ". Buffer is at address: " + address +
                            " with contents: " + contents);
  }

  std::vector<T> elements_;
};

}  // namespace Tidal
