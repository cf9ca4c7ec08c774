#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/tidal/Backing.h"
#include "platform/tidal/SharedEntry.h"
#include "platform/tidal/SharedSegment.h"

namespace Tidal {

// The writing side of a shared-memory table: the backing of the routing process's Table. It
// owns the segment (created when absent, adopted as found otherwise, so that a restarted writer
// keeps what readers already have) and keeps in its own memory which slot holds which key; the
// segment is the only thing readers see. Adopting drops what no reader could use: slots that
// fail their check or do not decode, and a key's second slot. Writing a key that is new while
// every slot is in use throws TableError "rule table full: ..."; an entry larger than a slot
// throws TableError as well, and the table is unchanged by either.
template <class K, class V, class Codec>
class SharedTableWriter : public Backing<K, V> {
  using Entry = SharedEntry<K, V, Codec>;

 public:
  SharedTableWriter(std::string const& name, SegmentGeometry const& geometry, mode_t mode = 0600)
      : segment_(SharedSegment::openForWriting(name, geometry, mode)) {
    std::vector<std::uint8_t> payload;
    for (std::uint32_t slot = geometry.slotCount; slot-- > 0;) {
      auto const state = segment_->readSlot(slot, payload);
      std::optional<K> key;
      if (state == SharedSegment::SlotState::used && Entry::decode(payload)) {
        key = Entry::decodeKey(payload);
      }
      if (key && !slots_.count(*key)) {
        slots_.emplace(std::move(*key), slot);
        continue;
      }
      if (state != SharedSegment::SlotState::empty) {
        segment_->writeSlot(slot, {});
      }
      free_.push_back(slot);
    }
  }

  // Backing:
  std::optional<V> read(K const& key, bool* corrupt) const override {
    auto const it = slots_.find(key);
    if (it == slots_.end()) {
      return std::nullopt;
    }
    segment_->readSlot(it->second, scratch_);
    auto entry = Entry::decode(scratch_);
    if (!entry) {
      *corrupt = true;
      return std::nullopt;
    }
    return std::move(entry->second);
  }
  void write(K const& key, V const& value) override {
    Entry::encode(key, value, scratch_);
    if (scratch_.size() > segment_->geometry().slotBytes) {
      throw TableError("rule table entry too large: " + std::to_string(scratch_.size()) +
                       " octets, a slot holds " + std::to_string(segment_->geometry().slotBytes));
    }
    auto const it = slots_.find(key);
    if (it != slots_.end()) {
      segment_->writeSlot(it->second, scratch_);
      return;
    }
    if (free_.empty()) {
      throw TableError("rule table full: all " + std::to_string(slots_.size()) +
                       " slots in use, no room for another entry");
    }
    std::uint32_t const slot = free_.back();
    segment_->writeSlot(slot, scratch_);
    free_.pop_back();
    slots_.emplace(key, slot);
  }
  bool remove(K const& key) override {
    auto const it = slots_.find(key);
    if (it == slots_.end()) {
      return false;
    }
    segment_->writeSlot(it->second, {});
    free_.push_back(it->second);
    slots_.erase(it);
    return true;
  }
  std::size_t size() const override { return slots_.size(); }
  std::optional<K> firstAtOrAfter(K const* key) const override {
    auto const it = key ? slots_.lower_bound(*key) : slots_.begin();
    return it == slots_.end() ? std::nullopt : std::optional<K>(it->first);
  }
  std::optional<K> firstAfter(K const& key) const override {
    auto const it = slots_.upper_bound(key);
    return it == slots_.end() ? std::nullopt : std::optional<K>(it->first);
  }

  SharedSegment& segment() { return *segment_; }
  // The slot that holds `key`, for tests that damage it.
  std::optional<std::uint32_t> slotOf(K const& key) const {
    auto const it = slots_.find(key);
    return it == slots_.end() ? std::nullopt : std::optional(it->second);
  }

 private:
  std::unique_ptr<SharedSegment> segment_;
  std::map<K, std::uint32_t> slots_;
  std::vector<std::uint32_t> free_;
  mutable std::vector<std::uint8_t> scratch_;
};

}  // namespace Tidal
