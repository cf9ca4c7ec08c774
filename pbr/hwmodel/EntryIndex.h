#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "pbr/hwmodel/HwEntry.h"

namespace Pbr {

// The entries of one installed version in priority order, with a lookup of the first entry
// that matches a packet, as the TCAM would answer it. Entries are bucketed by the leading bits
// of their destination mask, so a lookup probes one bucket per distinct prefix length instead
// of scanning every entry; the full match is checked on each candidate. Immutable once built.
class EntryIndex {
 public:
  static constexpr std::uint32_t kNoMatch = UINT32_MAX;

  EntryIndex() = default;
  explicit EntryIndex(std::vector<HwEntry> entries);

  // The position of the first entry that matches, or kNoMatch.
  std::uint32_t firstMatch(PacketKey const& key) const;
  HwEntry const& entry(std::uint32_t pos) const { return entries_[pos]; }
  std::size_t size() const { return entries_.size(); }

 private:
  struct BucketKey {
    Bits128 prefix;
    std::uint8_t len;
    bool operator==(BucketKey const&) const = default;
  };
  struct BucketHash {
    std::size_t operator()(BucketKey const& key) const noexcept;
  };
  struct Length {
    std::uint8_t len;
    Bits128 mask;
  };

  std::vector<HwEntry> entries_;
  std::vector<Length> lengths_;  // the distinct bucket lengths, ascending
  // Entry positions per bucket, ascending.
  std::unordered_map<BucketKey, std::vector<std::uint32_t>, BucketHash> buckets_;
};

}  // namespace Pbr
