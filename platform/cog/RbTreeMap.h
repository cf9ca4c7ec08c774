#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/cog/ContainerSupport.h"
#include "platform/cog/TreeIndex.h"

namespace Cog {

// An ordered collection whose iteration stays safe while the collection changes (see
// HashMap2018 for why). Iteration is in key order. While an iterator exists, a removed entry
// stays in the tree marked dead, so references to its key and value stay valid; dead entries
// are erased when the last iterator goes. An entry added during an iteration is visited if its
// key lies after the iterator's position. Re-adding a dead key revives its entry in place.
// Once a map of a hashable key in its natural order (whose == agrees with <) holds kIndexFrom
// entries, point lookups go through a hash index of its nodes (TreeIndex); iteration and order
// stay the tree's. A key type's std::hash belongs in the key's own header, so that every user
// of a map agrees on whether it is indexed.
template <class K, class V = Unit, class Less = std::less<K>>
class RbTreeMap {
  struct Slot {
    V value;
    bool live;
    bool erasePending = false;  // listed in Rare::dead
  };
  using Tree = std::map<K, Slot, Less>;
  static constexpr bool kIndexed = Hashable<K> && std::is_same_v<Less, std::less<K>>;

 public:
  using key_type = K;
  using mapped_type = V;
  static constexpr std::size_t kIndexFrom = 64;

  RbTreeMap() = default;
  RbTreeMap(RbTreeMap const&) = delete;
  RbTreeMap& operator=(RbTreeMap const&) = delete;

  std::size_t size() const { return live_; }
  bool empty() const { return live_ == 0; }

  V const* find(K const& key) const { return const_cast<RbTreeMap*>(this)->find(key); }
  V* find(K const& key) {
    auto it = node(key);
    return it != tree_.end() && it->second.live ? &it->second.value : nullptr;
  }
  bool contains(K const& key) const { return find(key) != nullptr; }

  template <class... Args>
  std::pair<V*, bool> tryEmplace(K const& key, Args&&... args) {
    auto it = node(key);
    if (it != tree_.end()) {
      if (it->second.live) {
        return {&it->second.value, false};
      }
      it->second.value = V(std::forward<Args>(args)...);
      it->second.live = true;  // still listed as dead; skipped there because it is live
      ++live_;
      return {&it->second.value, true};
    }
    // Keys mostly arrive in order (a table walked in key order, a backlog drained in it): a
    // key after the last one goes in without a search from the root.
    it = tree_.emplace_hint(tree_.end(), key, Slot{V(std::forward<Args>(args)...), true, false});
    ++live_;
    indexInsert(it);
    return {&it->second.value, true};
  }

  bool erase(K const& key) {
    auto it = node(key);
    if (it == tree_.end() || !it->second.live) {
      return false;
    }
    --live_;
    if (iterators_ > 0) {
      markDead(it);
    } else {
      eraseNode(it);
    }
    return true;
  }

  void clear() {
    if (iterators_ > 0) {
      for (auto it = tree_.begin(); it != tree_.end(); ++it) {
        if (it->second.live) {
          markDead(it);
        }
      }
    } else {
      tree_.clear();
      if (rare_) {
        rare_->index.reset();  // built again when the map grows large again
      }
    }
    live_ = 0;
  }

  // The first live key, or null.
  K const* firstKey() const { return firstLiveFrom(tree_.begin()); }

  // The first live key after `key`, whether or not `key` is in the map; null when none is.
  // Constant time on average when `key` is: a walk in key order that must not hold an
  // iterator (which keeps erased entries) goes on from the key it met last.
  K const* nextKey(K const& key) const {
    auto* self = const_cast<RbTreeMap*>(this);
    auto const it = self->node(key);
    return firstLiveFrom(it != self->tree_.end() ? std::next(it) : self->tree_.upper_bound(key));
  }

  struct Sentinel {};

  template <bool kConst>
  class Iterator {
   public:
    using Map = std::conditional_t<kConst, RbTreeMap const, RbTreeMap>;
    using TreeIt =
        std::conditional_t<kConst, typename Tree::const_iterator, typename Tree::iterator>;
    using Value = std::conditional_t<kConst, typename ConstView<V>::type, V&>;
    using Entry = std::conditional_t<std::is_same_v<V, Unit>, K const&, std::pair<K const&, Value>>;

    Iterator(Map* map, TreeIt it) : map_(map), it_(it) {
      ++map_->iterators_;
      skipDead();
    }
    Iterator(Iterator const& other) : map_(other.map_), it_(other.it_) { ++map_->iterators_; }
    Iterator& operator=(Iterator const&) = delete;
    ~Iterator() { map_->iteratorDone(); }

    Entry operator*() const {
      if constexpr (std::is_same_v<V, Unit>) {
        return it_->first;
      } else if constexpr (kConst) {
        return Entry(it_->first, ConstView<V>::of(it_->second.value));
      } else {
        return Entry(it_->first, it_->second.value);
      }
    }
    Iterator& operator++() {
      ++it_;
      skipDead();
      return *this;
    }
    bool operator==(Sentinel) const { return it_ == map_->tree_.end(); }
    K const& key() const { return it_->first; }

   private:
    void skipDead() {
      while (it_ != map_->tree_.end() && !it_->second.live) {
        ++it_;
      }
    }

    Map* map_;
    TreeIt it_;
  };

  Iterator<false> begin() { return Iterator<false>(this, tree_.begin()); }
  Iterator<true> begin() const { return Iterator<true>(this, tree_.begin()); }
  Sentinel end() const { return {}; }

  // The live keys in order. A walk over the entries of a const map of records hands out
  // counted pointers, so it touches every record; a walk that needs only the keys does not.
  class KeyIterator : public Iterator<true> {
   public:
    using Iterator<true>::Iterator;
    K const& operator*() const { return this->key(); }
  };
  struct KeyRange {
    RbTreeMap const* map;
    KeyIterator begin() const { return KeyIterator(map, map->tree_.begin()); }
    Sentinel end() const { return {}; }
  };
  KeyRange keys() const { return KeyRange{this}; }

 private:
  K const* firstLiveFrom(typename Tree::const_iterator it) const {
    for (; it != tree_.end(); ++it) {
      if (it->second.live) {
        return &it->first;
      }
    }
    return nullptr;
  }
  void markDead(typename Tree::iterator it) {
    it->second.live = false;
    if (!it->second.erasePending) {
      it->second.erasePending = true;
      rare().dead.push_back(it);
    }
  }

  void iteratorDone() const {
    if (--iterators_ == 0 && rare_ && !rare_->dead.empty()) {
      auto* self = const_cast<RbTreeMap*>(this);
      for (auto it : rare_->dead) {
        if (it->second.live) {
          it->second.erasePending = false;
        } else {
          self->eraseNode(it);
        }
      }
      rare_->dead.clear();
    }
  }

  TreeIndex<Tree>* index() { return rare_ && rare_->index ? &*rare_->index : nullptr; }
  typename Tree::iterator node(K const& key) {
    if constexpr (kIndexed) {
      if (auto* hashed = index()) {
        return hashed->find(key, tree_.end());
      }
    }
    return tree_.find(key);
  }
  void indexInsert(typename Tree::iterator it) {
    if constexpr (kIndexed) {
      if (auto* hashed = index()) {
        hashed->insert(it);
      } else if (tree_.size() >= kIndexFrom) {
        rare().index.emplace(tree_);
      }
    }
  }
  void eraseNode(typename Tree::iterator it) {
    if constexpr (kIndexed) {
      if (auto* hashed = index()) {
        hashed->erase(it);
      }
    }
    tree_.erase(it);
  }

  // What only some maps need, kept off the map: records hold maps by the hundred thousand, most
  // of them small and never changed while iterated.
  struct Rare {
    std::vector<typename Tree::iterator> dead;  // removed while iterators exist
    std::optional<TreeIndex<Tree>> index;       // from kIndexFrom entries on, when kIndexed
  };
  Rare& rare() {
    if (!rare_) {
      rare_ = std::make_unique<Rare>();
    }
    return *rare_;
  }

  Tree tree_;
  std::unique_ptr<Rare> rare_;
  std::uint32_t live_ = 0;
  mutable std::uint32_t iterators_ = 0;
};

}  // namespace Cog
