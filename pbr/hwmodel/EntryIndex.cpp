#include "pbr/hwmodel/EntryIndex.h"

namespace Pbr {

std::size_t EntryIndex::BucketHash::operator()(BucketKey const& key) const noexcept {
  std::uint64_t h = key.prefix.hi * 0x9E3779B97F4A7C15ull;
  h ^= (key.prefix.lo + key.len) * 0xC2B2AE3D27D4EB4Full;
  return static_cast<std::size_t>(h ^ (h >> 29));
}

EntryIndex::EntryIndex(std::vector<HwEntry> entries) : entries_(std::move(entries)) {
  std::vector<bool> seen(129, false);
  for (std::uint32_t pos = 0; pos < entries_.size(); ++pos) {
    auto const& e = entries_[pos];
    // Bits after the first clear mask bit are checked by the full match only.
    auto const len = static_cast<std::uint8_t>(e.dstMask.leadingOnes());
    buckets_[BucketKey{e.dst & Bits128::prefixMask(len), len}].push_back(pos);
    seen[len] = true;
  }
  for (unsigned len = 0; len <= 128; ++len) {
    if (seen[len]) {
      lengths_.push_back(Length{static_cast<std::uint8_t>(len), Bits128::prefixMask(len)});
    }
  }
}

std::uint32_t EntryIndex::firstMatch(PacketKey const& key) const {
  std::uint32_t best = kNoMatch;
  for (auto const& length : lengths_) {
    auto const found = buckets_.find(BucketKey{key.dst & length.mask, length.len});
    if (found == buckets_.end()) {
      continue;
    }
    for (std::uint32_t const pos : found->second) {
      if (pos >= best) {
        break;
      }
      if (entries_[pos].matches(key)) {
        best = pos;
        break;
      }
    }
  }
  return best;
}

}  // namespace Pbr
