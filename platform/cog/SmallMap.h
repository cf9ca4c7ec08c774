#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/cog/ContainerSupport.h"

namespace Cog {

// An ordered collection of a handful of entries (a rule's match components, a class's
// actions), kept as one vector sorted by key: no allocation per entry and no tree node beside
// it, for records that exist by the hundred thousand. It keeps RbTreeMap's contract for
// iteration: iteration is in key order and stays safe while the collection changes; an entry
// removed during an iteration stays in place marked dead until the last iterator goes, and an
// entry added during one is visited if its key lies after the iterator's position. Unlike
// RbTreeMap, an insert moves the entries after it: a reference to a value is good until the
// next insert (iteration hands out keys by value for this reason). A lookup is a binary search;
// an insert or erase moves the entries after its place, so the collection suits a few entries,
// or entries added in key order and then read.
template <class K, class V = Unit, class Less = std::less<K>>
class SmallMap {
  struct Slot {
    V value;  // first: a small key then packs beside `live`
    K key;
    bool live;
  };
  static constexpr std::size_t kGrowth = 2;

 public:
  using key_type = K;
  using mapped_type = V;

  SmallMap() = default;
  SmallMap(SmallMap const&) = delete;
  SmallMap& operator=(SmallMap const&) = delete;

  std::size_t size() const { return live_; }
  bool empty() const { return live_ == 0; }

  V const* find(K const& key) const { return const_cast<SmallMap*>(this)->find(key); }
  V* find(K const& key) {
    std::size_t const i = lowerBound(key);
    return holds(i, key) && slots_[i].live ? &slots_[i].value : nullptr;
  }
  bool contains(K const& key) const { return find(key) != nullptr; }

  template <class... Args>
  std::pair<V*, bool> tryEmplace(K const& key, Args&&... args) {
    std::size_t const i = lowerBound(key);
    if (holds(i, key)) {
      Slot& slot = slots_[i];
      if (slot.live) {
        return {&slot.value, false};
      }
      slot.value = V(std::forward<Args>(args)...);  // a dead entry revives in place
      slot.live = true;
      --dead_;
      ++live_;
      return {&slot.value, true};
    }
    if (slots_.size() == slots_.capacity()) {
      // Room for a few more while small; by half again once larger, so that a map that does
      // grow large is still built in linear time.
      slots_.reserve(slots_.size() + std::max(kGrowth, slots_.size() / 2));
    }
    slots_.insert(slots_.begin() + static_cast<std::ptrdiff_t>(i),
                  Slot{V(std::forward<Args>(args)...), key, true});
    ++moves_;
    ++live_;
    return {&slots_[i].value, true};
  }

  bool erase(K const& key) {
    std::size_t const i = lowerBound(key);
    if (!holds(i, key) || !slots_[i].live) {
      return false;
    }
    --live_;
    if (iterators_ > 0) {
      slots_[i].live = false;  // its key and value stay until the last iterator goes
      ++dead_;
    } else {
      slots_.erase(slots_.begin() + static_cast<std::ptrdiff_t>(i));
      ++moves_;
    }
    return true;
  }

  void clear() {
    if (iterators_ > 0) {
      for (Slot& slot : slots_) {
        if (slot.live) {
          slot.live = false;
          ++dead_;
        }
      }
    } else {
      slots_.clear();
      ++moves_;
    }
    live_ = 0;
  }

  K const* firstKey() const { return firstLiveFrom(0); }
  // The first live key after `key`, whether or not `key` is in the map; null when none is.
  K const* nextKey(K const& key) const { return firstLiveFrom(upperBound(key)); }

  struct Sentinel {};

  // Holds the key it stands on: after an insert has moved the entries, it finds its place again
  // by that key.
  template <bool kConst>
  class Iterator {
   public:
    using Map = std::conditional_t<kConst, SmallMap const, SmallMap>;
    using Value = std::conditional_t<kConst, typename ConstView<V>::type, V&>;
    using Entry = std::conditional_t<std::is_same_v<V, Unit>, K, std::pair<K, Value>>;

    explicit Iterator(Map* map) : map_(map), moves_(map->moves_) {
      ++map_->iterators_;
      settle();
    }
    Iterator(Iterator const& other)
        : map_(other.map_), i_(other.i_), moves_(other.moves_), key_(other.key_) {
      ++map_->iterators_;
    }
    Iterator& operator=(Iterator const&) = delete;
    ~Iterator() { map_->iteratorDone(); }

    Entry operator*() const {
      Slot& slot = const_cast<Slot&>(map_->slots_[i_]);
      if constexpr (std::is_same_v<V, Unit>) {
        return slot.key;
      } else if constexpr (kConst) {
        return Entry(slot.key, ConstView<V>::of(slot.value));
      } else {
        return Entry(slot.key, slot.value);
      }
    }
    Iterator& operator++() {
      if (moves_ != map_->moves_) {
        moves_ = map_->moves_;
        i_ = map_->upperBound(key_);
      } else {
        ++i_;
      }
      settle();
      return *this;
    }
    bool operator==(Sentinel) const { return i_ >= map_->slots_.size(); }

   private:
    void settle() {
      while (i_ < map_->slots_.size() && !map_->slots_[i_].live) {
        ++i_;
      }
      if (i_ < map_->slots_.size()) {
        key_ = map_->slots_[i_].key;
      }
    }

    Map* map_;
    std::size_t i_ = 0;
    std::uint32_t moves_;
    K key_{};
  };

  Iterator<false> begin() { return Iterator<false>(this); }
  Iterator<true> begin() const { return Iterator<true>(this); }
  Sentinel end() const { return {}; }

 private:
  std::size_t lowerBound(K const& key) const {
    return static_cast<std::size_t>(
        std::partition_point(slots_.begin(), slots_.end(),
                             [&](Slot const& slot) { return less_(slot.key, key); }) -
        slots_.begin());
  }
  // Whether place `i`, found by lowerBound, is the entry of `key` (live or dead).
  bool holds(std::size_t i, K const& key) const {
    return i < slots_.size() && !less_(key, slots_[i].key);
  }
  std::size_t upperBound(K const& key) const {
    return static_cast<std::size_t>(
        std::partition_point(slots_.begin(), slots_.end(),
                             [&](Slot const& slot) { return !less_(key, slot.key); }) -
        slots_.begin());
  }
  K const* firstLiveFrom(std::size_t i) const {
    for (; i < slots_.size(); ++i) {
      if (slots_[i].live) {
        return &slots_[i].key;
      }
    }
    return nullptr;
  }
  void iteratorDone() const {
    if (--iterators_ == 0 && dead_ > 0) {
      auto* self = const_cast<SmallMap*>(this);
      std::erase_if(self->slots_, [](Slot const& slot) { return !slot.live; });
      self->dead_ = 0;
      ++self->moves_;
    }
  }

  std::vector<Slot> slots_;
  std::uint32_t live_ = 0;
  std::uint32_t dead_ = 0;
  std::uint32_t moves_ = 0;  // inserts and erasures that moved entries
  mutable std::uint32_t iterators_ = 0;
  [[no_unique_address]] Less less_;
};

}  // namespace Cog
