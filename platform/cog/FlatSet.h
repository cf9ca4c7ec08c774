#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace Cog {

// An ordered set kept as a vector sorted by value: one allocation for the whole set rather
// than one per element, and walked in memory order. For small sets that are built once and
// then read, such as the ranges of one match component; inserting before the last element
// moves every later one.
template <class T>
class FlatSet {
 public:
  using value_type = T;
  using const_iterator = typename std::vector<T>::const_iterator;
  using iterator = const_iterator;

  std::size_t size() const { return values_.size(); }
  bool empty() const { return values_.empty(); }
  const_iterator begin() const { return values_.begin(); }
  const_iterator end() const { return values_.end(); }

  // Appends without a search when `value` follows the last element, as when built in order.
  std::pair<const_iterator, bool> insert(T const& value) {
    if (empty() || values_.back() < value) {
      values_.push_back(value);
      return {std::prev(values_.cend()), true};
    }
    auto const it = std::lower_bound(values_.begin(), values_.end(), value);
    if (it != values_.end() && !(value < *it)) {
      return {it, false};
    }
    return {values_.insert(it, value), true};
  }

  bool operator==(FlatSet const&) const = default;

 private:
  std::vector<T> values_;
};

}  // namespace Cog
