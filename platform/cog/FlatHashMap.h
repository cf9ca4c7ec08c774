#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>
#include <vector>

namespace Cog {

// A hashed map whose entries sit in one array (open addressing, linear probing), each beside
// its key's hash. A lookup reads one place of the array, and the keys only of entries whose
// hash matches; an entry costs no allocation of its own, and a copy is one array copy. For
// large tables looked up at random, where std::unordered_map pays a cache miss for the bucket,
// one for the node before the entry's and one for the entry.
//
// Keys and values must be default-constructible: a free place holds defaults. Iteration is in
// array order, which depends only on the keys' hashes and the sequence of changes. Any insert
// or erase invalidates iterators and references, as the array moves or closes up.
template <class K, class V, class Hash = std::hash<K>, class Eq = std::equal_to<K>>
class FlatHashMap {
  struct Slot {
    std::size_t hash = 0;  // 0: free; a key hashing to 0 is stored as 1
    std::pair<K, V> entry;
  };

 public:
  using key_type = K;
  using mapped_type = V;
  using value_type = std::pair<K, V>;

  template <bool kConst>
  class Iter {
   public:
    using Slots = std::conditional_t<kConst, std::vector<Slot> const, std::vector<Slot>>;
    using Entry = std::conditional_t<kConst, value_type const, value_type>;

    Iter() = default;
    Iter(Slots* slots, std::size_t i) : slots_(slots), i_(i) { skipFree(); }
    operator Iter<true>() const  // NOLINT: converts as the standard maps' iterators do
        requires(!kConst) {
      return Iter<true>(slots_, i_);
    }
    Entry& operator*() const { return (*slots_)[i_].entry; }
    Entry* operator->() const { return &(*slots_)[i_].entry; }
    Iter& operator++() {
      ++i_;
      skipFree();
      return *this;
    }
    bool operator==(Iter const& other) const { return i_ == other.i_; }

   private:
    void skipFree() {
      while (slots_ && i_ < slots_->size() && (*slots_)[i_].hash == 0) {
        ++i_;
      }
    }
    Slots* slots_ = nullptr;
    std::size_t i_ = 0;
  };
  using iterator = Iter<false>;
  using const_iterator = Iter<true>;

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  iterator begin() { return iterator(&slots_, 0); }
  iterator end() { return iterator(&slots_, slots_.size()); }
  const_iterator begin() const { return const_iterator(&slots_, 0); }
  const_iterator end() const { return const_iterator(&slots_, slots_.size()); }

  iterator find(K const& key) { return iterator(&slots_, findIndex(key)); }
  const_iterator find(K const& key) const { return const_iterator(&slots_, findIndex(key)); }
  bool contains(K const& key) const { return findIndex(key) != slots_.size(); }

  // `args` are used only when the entry is inserted.
  template <class... Args>
  std::pair<iterator, bool> try_emplace(K const& key, Args&&... args) {
    if ((size_ + 1) * 4 > slots_.size() * 3) {
      rehash(slots_.empty() ? 8 : slots_.size() * 2);
    }
    std::size_t const hash = hashOf(key);
    std::size_t const i = place(key, hash);
    if (slots_[i].hash != 0) {
      return {iterator(&slots_, i), false};
    }
    slots_[i].hash = hash;
    slots_[i].entry.first = key;
    slots_[i].entry.second = V(std::forward<Args>(args)...);
    ++size_;
    return {iterator(&slots_, i), true};
  }

  std::size_t erase(K const& key) {
    std::size_t i = findIndex(key);
    if (i == slots_.size()) {
      return 0;
    }
    // Backward shift: each later entry of the run that may sit in the freed place moves into
    // it, so that no lookup meets a free place before its key.
    for (std::size_t j = (i + 1) & mask(); slots_[j].hash != 0; j = (j + 1) & mask()) {
      std::size_t const home = slots_[j].hash & mask();
      if (((j - home) & mask()) >= ((j - i) & mask())) {
        slots_[i] = std::move(slots_[j]);
        i = j;
      }
    }
    slots_[i] = Slot();
    --size_;
    return 1;
  }

  void reserve(std::size_t entries) {
    std::size_t capacity = slots_.empty() ? 8 : slots_.size();
    while (entries * 4 > capacity * 3) {
      capacity *= 2;
    }
    if (capacity != slots_.size()) {
      rehash(capacity);
    }
  }

 private:
  std::size_t mask() const { return slots_.size() - 1; }
  std::size_t hashOf(K const& key) const {
    std::size_t const hash = hasher_(key);
    return hash == 0 ? 1 : hash;
  }
  // The place of `key`, or the free place that ends its run when it is absent.
  std::size_t place(K const& key, std::size_t hash) const {
    std::size_t i = hash & mask();
    while (slots_[i].hash != 0 && (slots_[i].hash != hash || !eq_(slots_[i].entry.first, key))) {
      i = (i + 1) & mask();
    }
    return i;
  }
  std::size_t findIndex(K const& key) const {
    if (size_ == 0) {
      return slots_.size();
    }
    std::size_t const i = place(key, hashOf(key));
    return slots_[i].hash != 0 ? i : slots_.size();
  }
  void rehash(std::size_t capacity) {
    std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(capacity));
    for (Slot& slot : old) {
      if (slot.hash != 0) {
        std::size_t i = slot.hash & mask();
        while (slots_[i].hash != 0) {
          i = (i + 1) & mask();
        }
        slots_[i] = std::move(slot);
      }
    }
  }

  std::vector<Slot> slots_;  // a power of two in size, at most three quarters full
  std::size_t size_ = 0;
  [[no_unique_address]] Hash hasher_;
  [[no_unique_address]] Eq eq_;
};

}  // namespace Cog
