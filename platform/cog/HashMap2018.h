#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "platform/cog/ContainerSupport.h"

namespace Cog {

// A hashed collection whose iteration stays safe while the collection changes, which record
// handlers do all the time (a handler may delete the entry being visited, or others).
//
// Entries live in separately allocated nodes listed in a vector (the table order) with an
// open-addressing index of node positions. While an iterator exists, a removed entry is only
// unlinked from the index and marked dead; its node, and so every reference to its key and
// value, stays valid until the last iterator goes, when dead nodes are compacted away (keeping
// the order of the others). Entries added during an iteration are appended and are visited by
// it. Without iterators, removal moves the last entry into the freed position.
//
// Order depends only on the sequence of changes, never on addresses: runs are reproducible.
template <class K, class V = Unit, class Hash = std::hash<K>, class Eq = std::equal_to<K>>
class HashMap2018 {
  struct Node {
    K key;
    V value;
    std::size_t hash;
    bool live;
  };

 public:
  using key_type = K;
  using mapped_type = V;

  HashMap2018() = default;
  HashMap2018(HashMap2018 const&) = delete;
  HashMap2018& operator=(HashMap2018 const&) = delete;
  ~HashMap2018() {
    for (Node* node : nodes_) {
      delete node;
    }
  }

  std::size_t size() const { return live_; }
  bool empty() const { return live_ == 0; }

  V const* find(K const& key) const {
    std::size_t const pos = findPos(key, hasher_(key));
    return pos == kNone ? nullptr : &nodes_[index_[pos] - 1]->value;
  }
  V* find(K const& key) {
    std::size_t const pos = findPos(key, hasher_(key));
    return pos == kNone ? nullptr : &nodes_[index_[pos] - 1]->value;
  }
  bool contains(K const& key) const { return find(key) != nullptr; }

  // Finds the entry of `key`, or creates it with V(args...). Returns the value and whether it
  // was created.
  template <class... Args>
  std::pair<V*, bool> tryEmplace(K const& key, Args&&... args) {
    std::size_t const hash = hasher_(key);
    std::size_t const pos = findPos(key, hash);
    if (pos != kNone) {
      return {&nodes_[index_[pos] - 1]->value, false};
    }
    if ((live_ + 1) * 2 > index_.size()) {
      rebuildIndex(index_.empty() ? 8 : index_.size() * 2);
    }
    nodes_.push_back(new Node{key, V(std::forward<Args>(args)...), hash, true});
    linkIndex(nodes_.size() - 1);
    ++live_;
    return {&nodes_.back()->value, true};
  }

  // Removes the entry of `key`; returns whether there was one.
  bool erase(K const& key) {
    std::size_t const pos = findPos(key, hasher_(key));
    if (pos == kNone) {
      return false;
    }
    std::size_t const slot = index_[pos] - 1;
    unlinkIndex(pos);
    --live_;
    if (iterators_ > 0) {
      nodes_[slot]->live = false;
      ++dead_;
      return true;
    }
    delete nodes_[slot];
    std::size_t const last = nodes_.size() - 1;
    if (slot != last) {
      nodes_[slot] = nodes_[last];
      index_[findPos(nodes_[slot]->key, nodes_[slot]->hash)] = static_cast<std::uint32_t>(slot + 1);
    }
    nodes_.pop_back();
    return true;
  }

  void clear() {
    if (iterators_ > 0) {
      for (Node* node : nodes_) {
        if (node->live) {
          node->live = false;
          ++dead_;
        }
      }
      std::fill(index_.begin(), index_.end(), 0);
      live_ = 0;
      return;
    }
    for (Node* node : nodes_) {
      delete node;
    }
    nodes_.clear();
    index_.clear();
    live_ = 0;
  }

  struct Sentinel {};

  // Iterates live entries in table order; see the class comment for changes during iteration.
  template <bool kConst>
  class Iterator {
   public:
    using Map = std::conditional_t<kConst, HashMap2018 const, HashMap2018>;
    using Value = std::conditional_t<kConst, typename ConstView<V>::type, V&>;
    using Entry = std::conditional_t<std::is_same_v<V, Unit>, K const&, std::pair<K const&, Value>>;

    explicit Iterator(Map* map) : map_(map) {
      ++map_->iterators_;
      skipDead();
    }
    Iterator(Iterator const& other) : map_(other.map_), pos_(other.pos_) { ++map_->iterators_; }
    Iterator& operator=(Iterator const&) = delete;
    ~Iterator() { map_->iteratorDone(); }

    Entry operator*() const {
      Node* node = map_->nodes_[pos_];
      if constexpr (std::is_same_v<V, Unit>) {
        return node->key;
      } else if constexpr (kConst) {
        return Entry(node->key, ConstView<V>::of(node->value));
      } else {
        return Entry(node->key, node->value);
      }
    }
    Iterator& operator++() {
      ++pos_;
      skipDead();
      return *this;
    }
    bool operator==(Sentinel) const { return pos_ >= map_->nodes_.size(); }

   private:
    void skipDead() {
      while (pos_ < map_->nodes_.size() && !map_->nodes_[pos_]->live) {
        ++pos_;
      }
    }

    Map* map_;
    std::size_t pos_ = 0;
  };

  Iterator<false> begin() { return Iterator<false>(this); }
  Iterator<true> begin() const { return Iterator<true>(this); }
  Sentinel end() const { return {}; }

 private:
  static constexpr std::size_t kNone = ~std::size_t{0};

  std::size_t findPos(K const& key, std::size_t hash) const {
    if (index_.empty()) {
      return kNone;
    }
    std::size_t const mask = index_.size() - 1;
    for (std::size_t pos = hash & mask; index_[pos] != 0; pos = (pos + 1) & mask) {
      Node const* node = nodes_[index_[pos] - 1];
      if (node->hash == hash && eq_(node->key, key)) {
        return pos;
      }
    }
    return kNone;
  }

  void linkIndex(std::size_t slot) {
    std::size_t const mask = index_.size() - 1;
    std::size_t pos = nodes_[slot]->hash & mask;
    while (index_[pos] != 0) {
      pos = (pos + 1) & mask;
    }
    index_[pos] = static_cast<std::uint32_t>(slot + 1);
  }

  // Backward-shift deletion keeps probe chains intact without tombstones.
  void unlinkIndex(std::size_t pos) {
    std::size_t const mask = index_.size() - 1;
    std::size_t hole = pos;
    for (std::size_t next = (hole + 1) & mask; index_[next] != 0; next = (next + 1) & mask) {
      std::size_t const home = nodes_[index_[next] - 1]->hash & mask;
      // The entry at `next` may fill the hole unless its home lies cyclically in (hole, next].
      bool const homeBetween =
          hole <= next ? (home > hole && home <= next) : (home > hole || home <= next);
      if (!homeBetween) {
        index_[hole] = index_[next];
        hole = next;
      }
    }
    index_[hole] = 0;
  }

  void rebuildIndex(std::size_t capacity) {
    index_.assign(capacity, 0);
    for (std::size_t slot = 0; slot < nodes_.size(); ++slot) {
      if (nodes_[slot]->live) {
        linkIndex(slot);
      }
    }
  }

  void iteratorDone() const {
    if (--iterators_ == 0 && dead_ > 0) {
      const_cast<HashMap2018*>(this)->compact();
    }
  }

  void compact() {
    std::size_t out = 0;
    for (Node* node : nodes_) {
      if (node->live) {
        nodes_[out++] = node;
      } else {
        delete node;
      }
    }
    nodes_.resize(out);
    dead_ = 0;
    rebuildIndex(index_.empty() ? 0 : index_.size());
  }

  std::vector<Node*> nodes_;
  std::vector<std::uint32_t> index_;  // node position + 1; 0 = empty; size a power of two
  std::size_t live_ = 0;
  std::size_t dead_ = 0;
  mutable std::uint32_t iterators_ = 0;
  [[no_unique_address]] Hash hasher_;
  [[no_unique_address]] Eq eq_;
};

}  // namespace Cog
