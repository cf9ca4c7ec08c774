#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/tidal/Backing.h"
#include "platform/tidal/SharedEntry.h"
#include "platform/tidal/SharedSegment.h"

namespace Tidal {

// The reading side of a shared-memory table: the backing of the agent's Table, over a segment
// mapped read-only. It keeps an ordered index of the keys it has seen (key to slot, and slot to
// key), built by a full scan when it opens and kept up by applyChanges(), which follows the
// segment's change ring and reports every key whose entry may have changed. When the writer has
// lapped the ring, or the ring names no slot, it rescans every slot and reports every key that
// was or is present. Entries are read from the segment on every read(), never cached; a key
// whose slot now holds another key reads as absent until applyChanges() reports both. A slot
// that fails its check keeps its key in the index and reads as corrupt (read() sets `corrupt`),
// so the table's corruption handler hears of it and the entry reads as withdrawn. Writing
// throws TableError. Not thread-safe: one thread reads and applies changes.
template <class K, class V, class Codec>
class SharedTableReader : public Backing<K, V> {
  using Entry = SharedEntry<K, V, Codec>;

 public:
  explicit SharedTableReader(std::string const& name)
      : segment_(SharedSegment::openForReading(name)), slotKeys_(segment_->geometry().slotCount) {
    rescan(nullptr);
  }

  // Brings the index up to the segment and calls `changed(key)` once per key that may have
  // changed since the last call, in key order. Returns whether it had to rescan.
  template <class F>
  bool applyChanges(F&& changed) {
    std::set<K> keys;
    bool const rescanned = follow(keys);
    for (K const& key : keys) {
      changed(key);
    }
    return rescanned;
  }

  // Backing:
  std::optional<V> read(K const& key, bool* corrupt) const override {
    auto const it = index_.find(key);
    if (it == index_.end()) {
      return std::nullopt;
    }
    auto const state = segment_->readSlot(it->second, scratch_);
    if (state == SharedSegment::SlotState::empty) {
      return std::nullopt;
    }
    auto entry = state == SharedSegment::SlotState::used ? Entry::decode(scratch_) : std::nullopt;
    if (!entry) {
      *corrupt = true;
      return std::nullopt;
    }
    if (!(entry->first == key)) {
      return std::nullopt;
    }
    return std::move(entry->second);
  }
  void write(K const&, V const&) override { throw TableError("rule table is read-only here"); }
  bool remove(K const&) override { throw TableError("rule table is read-only here"); }
  std::size_t size() const override { return index_.size(); }
  std::optional<K> firstAtOrAfter(K const* key) const override {
    auto const it = key ? index_.lowerBound(*key) : index_.begin();
    return it == index_.end() ? std::nullopt : std::optional<K>(it->first);
  }
  std::optional<K> firstAfter(K const& key) const override {
    auto const it = index_.upperBound(key);
    return it == index_.end() ? std::nullopt : std::optional<K>(it->first);
  }

  SharedSegment const& segment() const { return *segment_; }

 private:
  bool follow(std::set<K>& keys) {
    std::uint64_t const head = segment_->changeCount();
    std::uint32_t const ringSize = segment_->geometry().ringSize;
    if (head - readChange_ > ringSize) {
      rescan(&keys);
      return true;
    }
    std::vector<std::uint32_t> slots;
    slots.reserve(static_cast<std::size_t>(head - readChange_));
    for (std::uint64_t change = readChange_; change != head; ++change) {
      slots.push_back(segment_->changedSlot(change));
    }
    // The ring entries just read were only the writer's if it had not yet lapped them.
    std::atomic_thread_fence(std::memory_order_acquire);
    if (segment_->changeCount() - readChange_ > ringSize) {
      rescan(&keys);
      return true;
    }
    for (std::uint32_t slot : slots) {
      if (slot >= slotKeys_.size()) {
        rescan(&keys);
        return true;
      }
    }
    readChange_ = head;
    for (std::uint32_t slot : slots) {
      refresh(slot, &keys);
    }
    return false;
  }

  // Reads every slot again; `keys`, when given, collects every key present before or after.
  void rescan(std::set<K>* keys) {
    readChange_ = segment_->changeCount();
    for (std::uint32_t slot = 0; slot < slotKeys_.size(); ++slot) {
      refresh(slot, keys);
    }
  }

  void refresh(std::uint32_t slot, std::set<K>* keys) {
    auto const state = segment_->readSlot(slot, scratch_);
    std::optional<K> const& old = slotKeys_[slot];
    std::optional<K> fresh;
    if (state == SharedSegment::SlotState::used) {
      fresh = Entry::decodeKey(scratch_);
    }
    if (state == SharedSegment::SlotState::corrupt ||
        (state == SharedSegment::SlotState::used && !fresh)) {
      // The old key stays, so that reading it reports the corruption.
      if (old && keys) {
        keys->insert(*old);
      }
      return;
    }
    if (old && keys) {
      keys->insert(*old);
    }
    if (old && !(fresh && *fresh == *old)) {
      auto const it = index_.find(*old);
      if (it != index_.end() && it->second == slot) {
        index_.erase(it);
      }
    }
    if (fresh) {
      index_[*fresh] = slot;
      if (keys) {
        keys->insert(*fresh);
      }
    }
    slotKeys_[slot] = std::move(fresh);
  }

  std::unique_ptr<SharedSegment> segment_;
  WalkIndex<K, std::uint32_t> index_;
  std::vector<std::optional<K>> slotKeys_;
  std::uint64_t readChange_ = 0;
  mutable std::vector<std::uint8_t> scratch_;
};

}  // namespace Tidal
