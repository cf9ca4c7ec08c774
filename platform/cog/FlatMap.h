#pragma once

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>
#include <vector>

namespace Cog {

// An ordered map kept as a vector sorted by key. Built in ascending key order, it costs no
// allocation per entry and is walked in memory order; inserting or erasing before the last
// entry moves every later one. For content that is built in order and then read, such as a
// policy version's class list.
template <class K, class V>
class FlatMap {
 public:
  using key_type = K;
  using mapped_type = V;
  using value_type = std::pair<K, V>;
  using iterator = typename std::vector<value_type>::iterator;
  using const_iterator = typename std::vector<value_type>::const_iterator;

  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  iterator begin() { return entries_.begin(); }
  iterator end() { return entries_.end(); }
  const_iterator begin() const { return entries_.begin(); }
  const_iterator end() const { return entries_.end(); }

  iterator find(K const& key) { return findIn(entries_, key); }
  const_iterator find(K const& key) const { return findIn(entries_, key); }

  // Appends without a search when `key` follows the last entry, as when built in order. `args`
  // are used only when the entry is inserted.
  template <class... Args>
  std::pair<iterator, bool> try_emplace(K const& key, Args&&... args) {
    if (empty() || entries_.back().first < key) {
      entries_.emplace_back(std::piecewise_construct, std::forward_as_tuple(key),
                            std::forward_as_tuple(std::forward<Args>(args)...));
      return {std::prev(end()), true};
    }
    auto const it = lowerBoundIn(entries_, key);
    if (it != end() && !(key < it->first)) {
      return {it, false};
    }
    return {entries_.emplace(it, std::piecewise_construct, std::forward_as_tuple(key),
                             std::forward_as_tuple(std::forward<Args>(args)...)),
            true};
  }
  std::size_t erase(K const& key) {
    auto const it = find(key);
    if (it == end()) {
      return 0;
    }
    entries_.erase(it);
    return 1;
  }

 private:
  template <class Entries>
  static auto lowerBoundIn(Entries& entries, K const& key) {
    return std::lower_bound(entries.begin(), entries.end(), key,
                            [](value_type const& entry, K const& k) { return entry.first < k; });
  }
  template <class Entries>
  static auto findIn(Entries& entries, K const& key) {
    auto const it = lowerBoundIn(entries, key);
    return it != entries.end() && !(key < it->first) ? it : entries.end();
  }

  std::vector<value_type> entries_;
};

}  // namespace Cog
