#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace Cog {

// Loops that copy or release many shared pointers in an order the heap does not follow stall
// on every reference count. These ask the memory for the count a few elements ahead. They are
// hints: an address that is no count costs a wasted fetch, nothing else.

// How far ahead a loop asks: enough to cover a memory access, few enough to stay in cache.
inline constexpr std::size_t kPrefetchDistance = 16;

// The reference count of an object made by std::make_shared, which lies just before it.
template <class T>
void prefetchSharedCount(T const* object) {
  if (object) {
    __builtin_prefetch(reinterpret_cast<char const*>(object) - 2 * sizeof(void*), 1);
  }
}

// Releases every pointer of `pointers`, first to last, asking for counts ahead.
template <class T>
void releaseShared(std::vector<std::shared_ptr<T>>& pointers) {
  for (std::size_t i = 0; i < pointers.size(); ++i) {
    if (i + kPrefetchDistance < pointers.size()) {
      prefetchSharedCount(pointers[i + kPrefetchDistance].get());
    }
    pointers[i].reset();
  }
  pointers.clear();
}

}  // namespace Cog
