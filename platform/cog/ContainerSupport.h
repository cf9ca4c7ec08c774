#pragma once

#include <type_traits>

#include "platform/cog/Ptr.h"

namespace Cog {

// What iterating a collection through a const path yields for a value: a const reference, or
// for framework pointers a pointer to const, so that a const record never hands out writable
// children.
template <class V>
struct ConstView {
  using type = V const&;
  static V const& of(V const& v) { return v; }
};

template <class C>
struct ConstView<Ptr<C>> {
  using type = Ptr<C const>;
  static Ptr<C const> of(Ptr<C> const& v) { return v; }
};

// The value type of a key-only collection.
struct Unit {
  bool operator==(Unit const&) const = default;
};

}  // namespace Cog
