#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include "platform/cog/Errors.h"

namespace Tidal {

// The size error of a bounded array; names the array type.
class PodArraySizeError : public Cog::SizeError {
 public:
  using Cog::SizeError::SizeError;
  char const* arrayName() const { return "PodArray"; }
};

// A bounded array of plain values inside a table entry. Table entries come from another
// process and are not trusted, so the bound is checked on every way in: a count above N throws
//   "expected size <= N, instead got COUNT. Buffer is at address: 0xADDR with contents: C"
// where C is the first 16 elements in hexadecimal separated by blanks, then " ..." when there
// are more (elements that are not integers are shown as their bytes). The in-process backing
// stores only the used elements, never more than N. A plain value; no re-entrancy concerns.
template <class T, std::size_t N>
class PodArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  static constexpr std::size_t kMaxSize = N;

  PodArray() = default;
  PodArray(PodArray const& other) { assign(other.data(), other.size()); }
  PodArray(PodArray&& other) noexcept { take(other); }
  PodArray& operator=(PodArray const& other) {
    if (this != &other) {
      assign(other.data(), other.size());
    }
    return *this;
  }
  PodArray& operator=(PodArray&& other) noexcept {
    if (this != &other) {
      take(other);
    }
    return *this;
  }

  // `data` must not point into this array.
  void copyIn(T const* data, std::size_t count) {
    if (count > N) {
      throwSizeError(data, count, count);
    }
    assign(data, count);
  }
  void push_back(T const& value) {
    if (size_ >= N) {
      // Every element is there to show.
      throwSizeError(data(), size_ + 1u, size_);
    }
    if (size_ == capacity_) {
      grow(std::min<std::size_t>(N, capacity_ * 2u));
    }
    mutableData()[size_++] = value;
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  T const& operator[](std::size_t i) const { return data()[i]; }
  T const* data() const { return heap_ ? heap_.get() : inline_; }
  T const* begin() const { return data(); }
  T const* end() const { return data() + size_; }

  bool operator==(PodArray const& other) const {
    return size_ == other.size_ && std::equal(begin(), end(), other.begin());
  }
  // Lexicographic, element by element.
  bool operator<(PodArray const& other) const {
    return std::lexicographical_compare(begin(), end(), other.begin(), other.end());
  }
  // Over the elements' bytes when they have no padding, else through std::hash<T>.
  std::size_t hash(std::size_t seed = 0) const {
    std::uint64_t h = seed ^ (size_ * kMul);
    if constexpr (std::has_unique_object_representations_v<T>) {
      auto const* bytes = reinterpret_cast<unsigned char const*>(data());
      std::size_t const length = size_ * sizeof(T);
      std::size_t i = 0;
      for (; i + 8 <= length; i += 8) {
        std::uint64_t chunk;
        std::memcpy(&chunk, bytes + i, 8);
        h = mix(h, chunk);
      }
      if (i < length) {
        std::uint64_t chunk = 0;
        std::memcpy(&chunk, bytes + i, length - i);
        h = mix(h, chunk);
      }
    } else {
      for (T const& element : *this) {
        h = mix(h, std::hash<T>()(element));
      }
    }
    return static_cast<std::size_t>(h);
  }

 private:
  static constexpr std::uint64_t kMul = 0x9E3779B97F4A7C15ull;
  static std::uint64_t mix(std::uint64_t h, std::uint64_t v) {
    h = (h ^ v) * kMul;
    return h ^ (h >> 29);
  }

  // `available` elements at `data` may be read (none when `data` is null).
  [[noreturn]] static void throwSizeError(T const* data, std::size_t count, std::size_t available) {
    char address[32];
    std::snprintf(address, sizeof address, "0x%llx",
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(data)));
    std::string contents;
    std::size_t const shown = data ? std::min<std::size_t>({count, available, 16}) : 0;
    for (std::size_t i = 0; i < shown; ++i) {
      contents += i ? " " : "";
      contents += elementText(data[i]);
    }
    if (count > shown) {
      contents += " ...";
    }
    throw PodArraySizeError("expected size <= " + std::to_string(N) + ", instead got " +
                            std::to_string(count) + ". Buffer is at address: " + address +
                            " with contents: " + contents);
  }

  static std::string elementText(T const& element) {
    char text[24];
    if constexpr (std::is_same_v<T, bool>) {
      return element ? "0x1" : "0x0";
    } else if constexpr (std::is_integral_v<T> || std::is_enum_v<T>) {
      using Unsigned = std::make_unsigned_t<typename std::conditional_t<
          std::is_enum_v<T>, std::underlying_type<T>, std::type_identity<T>>::type>;
      std::snprintf(text, sizeof text, "0x%llx",
                    static_cast<unsigned long long>(static_cast<Unsigned>(element)));
      return text;
    } else {
      unsigned char bytes[sizeof(T)];
      std::memcpy(bytes, &element, sizeof(T));
      std::string out = "0x";
      for (unsigned char b : bytes) {
        std::snprintf(text, sizeof text, "%02x", b);
        out += text;
      }
      return out;
    }
  }

  T* mutableData() { return heap_ ? heap_.get() : inline_; }
  void assign(T const* data, std::size_t count) {
    if (count > capacity_) {
      heap_ = std::make_unique_for_overwrite<T[]>(count);
      capacity_ = static_cast<std::uint32_t>(count);
    }
    std::copy_n(data, count, mutableData());
    size_ = static_cast<std::uint32_t>(count);
  }
  void grow(std::size_t capacity) {
    auto words = std::make_unique_for_overwrite<T[]>(capacity);
    std::copy_n(data(), size_, words.get());
    heap_ = std::move(words);
    capacity_ = static_cast<std::uint32_t>(capacity);
  }
  void take(PodArray& other) {
    heap_ = std::move(other.heap_);
    capacity_ = other.capacity_;
    size_ = other.size_;
    if (!heap_) {
      std::copy_n(other.inline_, size_, inline_);
    }
    other.capacity_ = kInline;
    other.size_ = 0;
  }

  // Most arrays are short (a rule key has a handful of pairs): up to kInline elements live in
  // the object, so that copying a table entry allocates nothing.
  static constexpr std::size_t kInline = std::max<std::size_t>(1, 24 / sizeof(T));
  std::uint32_t size_ = 0;
  std::uint32_t capacity_ = kInline;
  T inline_[kInline] = {};
  std::unique_ptr<T[]> heap_;
};

}  // namespace Tidal

template <class T, std::size_t N>
struct std::hash<Tidal::PodArray<T, N>> {
  std::size_t operator()(Tidal::PodArray<T, N> const& array) const noexcept { return array.hash(); }
};
