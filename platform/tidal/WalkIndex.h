#pragma once

#include <iterator>
#include <map>
#include <utility>

namespace Tidal {

// The ordered index of a backing, which remembers the entry it found last. A walk over a table
// finds a key, reads its entry and asks for the key after it: with the entry remembered, the
// read and the step cost two comparisons each instead of a search of the whole index. Removing
// the remembered entry forgets it; adding entries keeps it, as a map's nodes stay put.
template <class K, class V>
class WalkIndex {
  using Map = std::map<K, V>;

 public:
  using iterator = typename Map::iterator;
  using const_iterator = typename Map::const_iterator;

  WalkIndex() = default;
  WalkIndex(WalkIndex const&) = delete;
  WalkIndex& operator=(WalkIndex const&) = delete;

  std::size_t size() const { return map_.size(); }
  bool empty() const { return map_.empty(); }
  const_iterator begin() const { return remember(map_.begin()); }
  const_iterator end() const { return map_.end(); }
  iterator end() { return map_.end(); }
  K const& lastKey() const { return map_.rbegin()->first; }

  const_iterator find(K const& key) const { return isLast(key) ? last_ : remember(map_.find(key)); }
  iterator find(K const& key) { return unconst(std::as_const(*this).find(key)); }
  const_iterator lowerBound(K const& key) const {
    return isLast(key) ? last_ : remember(map_.lower_bound(key));
  }
  iterator lowerBound(K const& key) { return unconst(std::as_const(*this).lowerBound(key)); }
  const_iterator upperBound(K const& key) const {
    return remember(isLast(key) ? std::next(last_) : map_.upper_bound(key));
  }

  template <class... Args>
  iterator emplaceHint(const_iterator hint, Args&&... args) {
    return map_.emplace_hint(hint, std::forward<Args>(args)...);
  }
  V& operator[](K const& key) { return map_[key]; }
  void erase(const_iterator it) {
    if (it == last_) {
      last_ = map_.end();
    }
    map_.erase(it);
  }

 private:
  bool isLast(K const& key) const {
    return last_ != map_.end() && !(last_->first < key) && !(key < last_->first);
  }
  const_iterator remember(const_iterator it) const {
    last_ = it;
    return it;
  }
  iterator unconst(const_iterator it) { return map_.erase(it, it); }

  Map map_;
  mutable const_iterator last_ = map_.end();
};

}  // namespace Tidal
