#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/cog/Errors.h"
#include "platform/cog/HashMap2018.h"
#include "platform/cog/RbTreeMap.h"
#include "platform/cog/Record.h"

namespace Cog {

// The nested reactors of a state machine, one per watched entry, keyed like the entries (for
// example one reactor per rule of a VRF).
//
// - `is(key, args...)` creates R(args...) unless the key has a reactor already (then, when R
//   can tell through `constructedWith(args...)`, different arguments throw the reinstantiation
//   error) and runs the new reactor's replay(), so that an entry that already holds content
//   when its reactor appears is evaluated; owners' handlers return at once before the owner is
//   initialised, as everywhere.
// - `del(key)` destroys the reactor, which detaches it, and then runs the owner's removal
//   handler for the key once, so the owner can clean up what it derived from the entry.
// - `delAll()` removes every reactor the same way; `clearSilently()` drops them without the
//   handler, for the owner's destructor.
// Iterating yields (key, std::unique_ptr<R>&); a reactor removed during the iteration shows as
// null until the iteration ends.
template <class K, class R, template <class, class...> class Map = HashMap2018>
class ReactorMap {
 public:
  using RemovalHandler = std::function<void(K const&)>;

  explicit ReactorMap(RemovalHandler onRemoved, char const* attribute)
      : onRemoved_(std::move(onRemoved)), attribute_(attribute) {}
  ReactorMap(ReactorMap const&) = delete;
  ReactorMap& operator=(ReactorMap const&) = delete;

  std::size_t size() const { return map_.size(); }
  bool empty() const { return map_.empty(); }
  R* find(K const& key) const {
    auto const* slot = map_.find(key);
    return slot ? slot->get() : nullptr;
  }

  template <class... Args>
  R* is(K const& key, Args&&... args) {
    if (auto* slot = map_.find(key); slot && *slot) {
      detail::checkArguments(**slot, attribute_, args...);
      return slot->get();
    }
    auto reactor = std::make_unique<R>(std::forward<Args>(args)...);
    R* raw = reactor.get();
    map_.erase(key);
    map_.tryEmplace(key, std::move(reactor));
    raw->replay();
    return raw;
  }

  void del(K const& key) {
    auto* slot = map_.find(key);
    if (!slot) {
      return;
    }
    K const copy = key;  // the key may belong to the reactor being destroyed
    std::unique_ptr<R> gone = std::move(*slot);
    map_.erase(copy);
    gone.reset();
    if (onRemoved_) {
      onRemoved_(copy);
    }
  }

  void delAll() {
    for (auto&& entry : map_) {
      del(entry.first);
    }
  }

  void clearSilently() { map_.clear(); }

  auto begin() { return map_.begin(); }
  auto begin() const { return map_.begin(); }
  auto end() const { return map_.end(); }

 private:
  Map<K, std::unique_ptr<R>> map_;
  RemovalHandler onRemoved_;
  char const* attribute_;
};

// An ordered variant, for owners that walk their reactors in key order.
template <class K, class R>
using OrderedReactorMap = ReactorMap<K, R, RbTreeMap>;

}  // namespace Cog
