#pragma once

#include <optional>

#include "platform/tidal/WalkIndex.h"

namespace Tidal {

// Where a table's entries live. The in-process backing keeps them in memory; a shared-memory
// backing (a segment that another process writes and the agent maps read-only) implements the
// same calls. Entries are plain values; keys are ordered, which is what lets an iteration
// resume after a key that has been removed in between.
template <class K, class V>
class Backing {
 public:
  virtual ~Backing() = default;

  // The entry of `key`; nullopt when absent. `corrupt` is set when the stored bytes failed
  // their check (the entry then reads as absent).
  virtual std::optional<V> read(K const& key, bool* corrupt) const = 0;
  virtual void write(K const& key, V const& value) = 0;
  // Writes the entry unless it already holds `value` (a corrupt one never does); returns
  // whether it wrote.
  virtual bool writeIfChanged(K const& key, V const& value) {
    bool corrupt = false;
    std::optional<V> const old = read(key, &corrupt);
    if (old && *old == value) {
      return false;
    }
    write(key, value);
    return true;
  }
  virtual bool remove(K const& key) = 0;
  virtual std::size_t size() const = 0;
  // The first key not less than `key`, or the first key when `key` is null.
  virtual std::optional<K> firstAtOrAfter(K const* key) const = 0;
  // The first key greater than `key`.
  virtual std::optional<K> firstAfter(K const& key) const = 0;
};

// Entries in process memory. Corruption can be simulated per key, for tests of the readers'
// corruption path.
template <class K, class V>
class InProcessBacking : public Backing<K, V> {
 public:
  std::optional<V> read(K const& key, bool* corrupt) const override {
    auto const it = entries_.find(key);
    if (it == entries_.end()) {
      return std::nullopt;
    }
    if (it->second.corrupt) {
      *corrupt = true;
      return std::nullopt;
    }
    return it->second.value;
  }
  void write(K const& key, V const& value) override { entries_[key] = Slot{value, false}; }
  // One lookup, and no copy of the value read; keys written in ascending order (a bulk load)
  // go to the end after one comparison.
  bool writeIfChanged(K const& key, V const& value) override {
    if (entries_.empty() || entries_.lastKey() < key) {
      entries_.emplaceHint(entries_.end(), key, Slot{value, false});
      return true;
    }
    auto const it = entries_.lowerBound(key);
    if (it != entries_.end() && !(key < it->first)) {
      if (!it->second.corrupt && it->second.value == value) {
        return false;
      }
      it->second = Slot{value, false};
      return true;
    }
    entries_.emplaceHint(it, key, Slot{value, false});
    return true;
  }
  bool remove(K const& key) override {
    auto const it = entries_.find(key);
    if (it == entries_.end()) {
      return false;
    }
    entries_.erase(it);
    return true;
  }
  std::size_t size() const override { return entries_.size(); }
  std::optional<K> firstAtOrAfter(K const* key) const override {
    auto const it = key ? entries_.lowerBound(*key) : entries_.begin();
    return it == entries_.end() ? std::nullopt : std::optional<K>(it->first);
  }
  std::optional<K> firstAfter(K const& key) const override {
    auto const it = entries_.upperBound(key);
    return it == entries_.end() ? std::nullopt : std::optional<K>(it->first);
  }

  // Marks the stored bytes of `key` as failing their check.
  void corruptIs(K const& key) {
    if (auto it = entries_.find(key); it != entries_.end()) {
      it->second.corrupt = true;
    }
  }

 private:
  struct Slot {
    V value;
    bool corrupt;
  };
  WalkIndex<K, Slot> entries_;
};

}  // namespace Tidal
