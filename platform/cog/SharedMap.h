#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/cog/FlatHashMap.h"
#include "platform/cog/FlatMap.h"

namespace Cog {

// A map whose content a record can take over from another record in constant time and then
// change, paying only for what it changes (copy-on-write). Built for versions: a new version
// of a large table starts as the previous version and differs from it in a few entries.
//
// The content is cut into kShards shards by key hash (a single shard keeps key order); a change
// copies the shard it touches when that shard is still shared. Unlike the other record
// collections it must not be changed while being iterated: versions are built first, then only
// read.
template <class Map, std::size_t kShards = 1>
class SharedMap {
 public:
  using key_type = typename Map::key_type;
  using mapped_type = typename Map::mapped_type;
  using K = key_type;
  using V = mapped_type;

  SharedMap() = default;
  SharedMap(SharedMap const&) = delete;
  SharedMap& operator=(SharedMap const&) = delete;

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  V const* find(K const& key) const {
    Map const* shard = shards_[shardOf(key)].get();
    if (!shard) {
      return nullptr;
    }
    auto const it = shard->find(key);
    return it == shard->end() ? nullptr : &it->second;
  }
  bool contains(K const& key) const { return find(key) != nullptr; }

  // Sets the value of `key`; returns whether the map changed (the entry was created or held
  // another value). A shard still shared is copied only for a change.
  bool assign(K const& key, V value) {
    std::size_t const i = shardOf(key);
    if (shards_[i].use_count() > 1) {
      if (V const* found = find(key); found && *found == value) {
        return false;
      }
    }
    // try_emplace moves from `value` only when it inserts.
    auto const [it, created] = own(i).try_emplace(key, std::move(value));
    if (created) {
      ++size_;
      return true;
    }
    if (it->second == value) {
      return false;
    }
    it->second = std::move(value);
    return true;
  }
  bool erase(K const& key) {
    if (!find(key)) {
      return false;
    }
    own(shardOf(key)).erase(key);
    --size_;
    return true;
  }
  // Removes every entry; returns their keys.
  std::vector<K> clear() {
    std::vector<K> keys;
    keys.reserve(size_);
    for (auto const& [key, value] : *this) {
      keys.push_back(key);
    }
    shards_ = {};
    size_ = 0;
    return keys;
  }

  // Takes over the content of `other`, shared until either side changes it.
  void shareFrom(SharedMap const& other) {
    shards_ = other.shards_;
    size_ = other.size_;
  }
  // The keys whose entries differ between this map and `other` (present in one only, or with
  // different values); shards the two share are not looked into.
  std::vector<K> keysDifferingFrom(SharedMap const& other) const {
    std::vector<K> keys;
    for (std::size_t i = 0; i < kShards; ++i) {
      if (shards_[i] == other.shards_[i]) {
        continue;
      }
      addMissing(shards_[i].get(), other.shards_[i].get(), keys, true);
      addMissing(other.shards_[i].get(), shards_[i].get(), keys, false);
    }
    return keys;
  }
  // Whether the two maps share all their content, as after shareFrom with no change since.
  bool sharesAllWith(SharedMap const& other) const { return shards_ == other.shards_; }

  struct Sentinel {};
  class Iterator {
   public:
    using Entry = std::pair<K const&, V const&>;
    explicit Iterator(SharedMap const* map) : map_(map) { settle(); }
    Entry operator*() const { return Entry(it_->first, it_->second); }
    Iterator& operator++() {
      ++it_;
      settle();
      return *this;
    }
    bool operator==(Sentinel) const { return shard_ == kShards; }

   private:
    // Moves to the first entry at or after the current place, across shards.
    void settle() {
      while (shard_ < kShards) {
        Map const* map = map_->shards_[shard_].get();
        if (map && !started_) {
          it_ = map->begin();
          started_ = true;
        }
        if (map && it_ != map->end()) {
          return;
        }
        ++shard_;
        started_ = false;
      }
    }
    SharedMap const* map_;
    std::size_t shard_ = 0;
    bool started_ = false;
    typename Map::const_iterator it_;
  };
  Iterator begin() const { return Iterator(this); }
  Sentinel end() const { return {}; }

 private:
  static std::size_t shardOf(K const& key) {
    if constexpr (kShards == 1) {
      return 0;
    } else {
      return std::hash<K>()(key) % kShards;
    }
  }
  Map& own(std::size_t i) {
    auto& shard = shards_[i];
    if (!shard) {
      shard = std::make_shared<Map>();
    } else if (shard.use_count() > 1) {
      shard = std::make_shared<Map>(*shard);
    }
    return *shard;
  }
  // Adds the keys of `from` that `to` lacks or, when `compare`, holds with another value.
  static void addMissing(Map const* from, Map const* to, std::vector<K>& keys, bool compare) {
    if (!from) {
      return;
    }
    for (auto const& [key, value] : *from) {
      auto const found = to ? to->find(key) : typename Map::const_iterator();
      if (!to || found == to->end() || (compare && !(found->second == value))) {
        keys.push_back(key);
      }
    }
  }

  std::array<std::shared_ptr<Map>, kShards> shards_;
  std::size_t size_ = 0;
};

// Ordered by key, shared as a whole; meant to be built in key order (see FlatMap).
template <class K, class V>
using SharedOrderedMap = SharedMap<FlatMap<K, V>, 1>;
// Hashed, shared in 64 shards.
template <class K, class V>
using SharedHashMap = SharedMap<FlatHashMap<K, V>, 64>;

}  // namespace Cog
