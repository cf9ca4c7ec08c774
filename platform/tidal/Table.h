#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "platform/cog/Entity.h"
#include "platform/tidal/Backing.h"

namespace Tidal {

// A keyed table of plain entries, shared between processes: a writer (the routing process, or
// the agent's own loader) changes entries and every reactor hears the key of each change.
//
// - `entry(key)` yields a default-constructed V when the key is absent, which is how readers
//   recognise absence; when the backing reports the stored bytes of the key corrupt, the
//   corruption handler (if any) is called with the key and the default entry is returned.
// - Iteration is by key: `firstKey()`, `nextKey(after)` and `firstKeyAtOrAfter(key)`. Resuming
//   with a key that was removed meanwhile continues at the next surviving key, so a resumed
//   walk neither skips nor repeats surviving entries.
// Changes notify synchronously like every record (see Cog::Entity).
template <class K, class V>
class Table : public Cog::Entity {
 public:
  using Key = K;
  using Value = V;
  using CorruptionHandler = std::function<void(K const&)>;

  class Reactor : public Cog::ReactorOf<Table> {
   public:
    explicit Reactor(Cog::Ptr<Table const> const& table) : Cog::ReactorOf<Table>(table) {}
    virtual void handleEntry(K const&) {}
    void replay() override {
      if (!this->notifier()) {
        return;
      }
      for (auto key = this->notifier()->firstKey(); key; key = this->notifier()->nextKey(*key)) {
        handleEntry(*key);
      }
    }
  };

  explicit Table(
      std::unique_ptr<Backing<K, V>> backing = std::make_unique<InProcessBacking<K, V>>())
      : backing_(std::move(backing)) {}

  V entry(K const& key) const {
    bool corrupt = false;
    std::optional<V> value = backing_->read(key, &corrupt);
    if (corrupt && corruptionHandler_) {
      corruptionHandler_(key);
    }
    return value ? std::move(*value) : V{};
  }
  bool contains(K const& key) const {
    bool corrupt = false;
    return backing_->read(key, &corrupt).has_value();
  }
  std::size_t size() const { return backing_->size(); }

  // Stores the entry and notifies when it differs from what was there.
  void entryIs(K const& key, V const& value) {
    if (backing_->writeIfChanged(key, value)) {
      this->notify(&Reactor::handleEntry, key);
    }
  }
  void entryDel(K const& key) {
    K const copy = key;
    if (backing_->remove(copy)) {
      this->notify(&Reactor::handleEntry, copy);
    }
  }

  // Notifies a change that reached the backing from outside this process (a reader of a
  // shared-memory table applying the writer's changes), as entryIs() would have.
  void entryChanged(K const& key) { this->notify(&Reactor::handleEntry, key); }

  std::optional<K> firstKey() const { return backing_->firstAtOrAfter(nullptr); }
  std::optional<K> nextKey(K const& after) const { return backing_->firstAfter(after); }
  std::optional<K> firstKeyAtOrAfter(K const& key) const { return backing_->firstAtOrAfter(&key); }

  void corruptionHandlerIs(CorruptionHandler handler) { corruptionHandler_ = std::move(handler); }
  Backing<K, V>& backing() { return *backing_; }

 private:
  std::unique_ptr<Backing<K, V>> backing_;
  CorruptionHandler corruptionHandler_;
};

}  // namespace Tidal
