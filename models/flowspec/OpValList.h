#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "models/flowspec/MatchCompType.h"

namespace Flowspec {

// One operator/value pair of a rule key, unpacked.
struct OpVal {
  MatchCompType type = MatchCompType::none;
  std::uint8_t op = 0;  // the whole operator byte as on the wire
  std::uint32_t value = 0;

  // A pair in one 32-bit word, the form keys and the raw rule table hold:
  //   bits 31..28 component type (0..15), 27..20 operator byte, 19..0 value (up to 0xFFFFF,
  //   the IPv6 flow label is the widest field). Wider types and values are cut to their fields.
  static constexpr std::uint32_t pack(MatchCompType type, std::uint8_t op, std::uint32_t value) {
    return (static_cast<std::uint32_t>(type) & 0xF) << 28 | std::uint32_t{op} << 20 |
           (value & 0xFFFFF);
  }
  static constexpr OpVal unpack(std::uint32_t word) {
    return OpVal{static_cast<MatchCompType>(word >> 28), static_cast<std::uint8_t>(word >> 20),
                 word & 0xFFFFF};
  }

  bool operator==(OpVal const&) const = default;
};

// The operator/value pairs of a rule key in list order, one packed word each. Keys are copied
// a lot and kept by the hundred thousand, and most rules have a handful of pairs: up to
// kInline words live inside the object (the list is 24 bytes), longer lists on the heap.
// Iteration yields unpacked pairs by value; data() gives the words. A plain value: copies are
// deep, and moving leaves the source empty. The owner bounds the length (below 65536; keys hold
// at most 2048).
class OpValList {
 public:
  static constexpr std::size_t kInline = 5;

  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = OpVal;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = OpVal;

    Iterator() = default;
    explicit Iterator(std::uint32_t const* word) : word_(word) {}
    OpVal operator*() const { return OpVal::unpack(*word_); }
    Iterator& operator++() {
      ++word_;
      return *this;
    }
    Iterator operator++(int) {
      Iterator const before = *this;
      ++word_;
      return before;
    }
    bool operator==(Iterator const&) const = default;

   private:
    std::uint32_t const* word_ = nullptr;
  };

  OpValList() = default;
  OpValList(OpValList const& other) { assign(other.data(), other.size()); }
  OpValList(OpValList&& other) noexcept { take(other); }
  OpValList& operator=(OpValList const& other) {
    if (this != &other) {
      assign(other.data(), other.size());
    }
    return *this;
  }
  OpValList& operator=(OpValList&& other) noexcept {
    if (this != &other) {
      release();
      take(other);
    }
    return *this;
  }
  ~OpValList() { release(); }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  std::uint32_t const* data() const { return capacity_ ? heap() : inline_; }
  std::uint32_t word(std::size_t i) const { return data()[i]; }
  OpVal operator[](std::size_t i) const { return OpVal::unpack(word(i)); }
  Iterator begin() const { return Iterator(data()); }
  Iterator end() const { return Iterator(data() + size_); }

  void push_back(std::uint32_t word) {
    std::size_t const capacity = capacity_ ? capacity_ : kInline;
    if (size_ == capacity) {
      grow(capacity * 2);
    }
    (capacity_ ? heap() : inline_)[size_++] = word;
  }
  // `words` must not point into this list.
  void assign(std::uint32_t const* words, std::size_t count) {
    if (count > (capacity_ ? capacity_ : kInline)) {
      release();
      heapIs(new std::uint32_t[count]);
      capacity_ = static_cast<std::uint16_t>(count);
    }
    if (count) {
      std::memcpy(capacity_ ? heap() : inline_, words, count * sizeof(std::uint32_t));
    }
    size_ = static_cast<std::uint16_t>(count);
  }

  bool operator==(OpValList const& other) const {
    return size_ == other.size_ &&
           (size_ == 0 || std::memcmp(data(), other.data(), size_ * sizeof(std::uint32_t)) == 0);
  }
  // Word by word, which is (type, operator byte, value) pair by pair.
  bool operator<(OpValList const& other) const {
    return std::lexicographical_compare(data(), data() + size_, other.data(),
                                        other.data() + other.size_);
  }

 private:
  // On the heap, the pointer lives in the first inline words; this keeps the object 4-byte
  // aligned so that a key packs into one cache line.
  std::uint32_t* heap() const {
    std::uint32_t* p;
    std::memcpy(&p, inline_, sizeof p);
    return p;
  }
  void heapIs(std::uint32_t* p) { std::memcpy(inline_, &p, sizeof p); }

  void grow(std::size_t capacity) {
    auto* words = new std::uint32_t[capacity];
    std::memcpy(words, data(), size_ * sizeof(std::uint32_t));
    if (capacity_) {
      delete[] heap();
    }
    heapIs(words);
    capacity_ = static_cast<std::uint16_t>(capacity);
  }
  void release() {
    if (capacity_) {
      delete[] heap();
      capacity_ = 0;
    }
    size_ = 0;
  }
  void take(OpValList& other) {
    size_ = other.size_;
    capacity_ = other.capacity_;
    std::memcpy(inline_, other.inline_, sizeof inline_);
    other.size_ = 0;
    other.capacity_ = 0;
  }

  std::uint16_t size_ = 0;
  std::uint16_t capacity_ = 0;  // of the heap words; 0 while the words are inline
  std::uint32_t inline_[kInline] = {};
};

}  // namespace Flowspec
