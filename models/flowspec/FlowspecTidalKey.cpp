#include "models/flowspec/FlowspecTidalKey.h"

#include <cstdio>

namespace Flowspec {

FlowspecTidalKey::FlowspecTidalKey(Vrf::VrfIdMap::VrfId vrfId, FlowspecKey const& key)
    : vrfId_(vrfId),
      af_(static_cast<std::uint8_t>(key.af())),
      destinationPrefix_(key.destinationPrefix()),
      sourcePrefix_(key.sourcePrefix()) {
  words_.copyIn(key.opVals().data(), key.opVals().size());
}

FlowspecTidalKey::FlowspecTidalKey(Vrf::VrfIdMap::VrfId vrfId, std::uint8_t af,
                                   Nwk::IpGenPrefix destination, Nwk::IpGenPrefix source,
                                   std::uint32_t const* words, std::size_t count)
    : vrfId_(vrfId),
      af_(af),
      destinationPrefix_(std::move(destination)),
      sourcePrefix_(std::move(source)) {
  words_.copyIn(words, count);
}

FlowspecKey FlowspecTidalKey::getFlowspecKey() const {
  if (af_ != 1 && af_ != 2) {
    throw Cog::RangeError("FlowspecTidalKey::af not ipv4 or ipv6 not allowed");
  }
  FlowspecKey key(static_cast<Nwk::AddressFamily>(af_));
  key.destinationPrefixIs(destinationPrefix_);
  key.sourcePrefixIs(sourcePrefix_);
  for (std::uint32_t word : words_) {
    OpVal const pair = OpVal::unpack(word);
    key.opValAppend(pair.type, pair.op, pair.value);
  }
  return key;
}

// Field by field, each compared once (a tuple compares the words both ways when all else is
// equal, which is the common case among the rules of one VRF).
bool FlowspecTidalKey::operator<(FlowspecTidalKey const& other) const {
  if (vrfId_ != other.vrfId_) {
    return vrfId_ < other.vrfId_;
  }
  if (af_ != other.af_) {
    return af_ < other.af_;
  }
  if (auto const cmp = destinationPrefix_ <=> other.destinationPrefix_; cmp != 0) {
    return cmp < 0;
  }
  if (auto const cmp = sourcePrefix_ <=> other.sourcePrefix_; cmp != 0) {
    return cmp < 0;
  }
  return words_ < other.words_;
}

std::pair<std::uint64_t, std::uint64_t> FlowspecTidalKey::orderPrefix() const {
  Nwk::IpGenAddr const& destination = destinationPrefix_.addr();
  auto const& bytes = destination.bytes();
  std::uint64_t low = 0;
  for (std::size_t i = 2; i < 10; ++i) {
    low = low << 8 | bytes[i];
  }
  return {std::uint64_t{vrfId_} << 32 | std::uint64_t{af_} << 24 |
              std::uint64_t{static_cast<std::uint8_t>(destination.af())} << 16 |
              std::uint64_t{bytes[0]} << 8 | bytes[1],
          low};
}

std::size_t FlowspecTidalKey::hash() const {
  std::size_t h = std::size_t{vrfId_} << 8 | af_;
  h = (h ^ std::hash<Nwk::IpGenPrefix>()(destinationPrefix_)) * 0x9E3779B97F4A7C15ull;
  h = (h ^ std::hash<Nwk::IpGenPrefix>()(sourcePrefix_)) * 0x9E3779B97F4A7C15ull;
  return words_.hash(h);
}

std::string FlowspecTidalKey::toStrep() const {
  std::string out = "vrf " + std::to_string(vrfId_) + " ";
  try {
    return out + getFlowspecKey().stringValue();
  } catch (Cog::Error const&) {
    char text[32];
    std::snprintf(text, sizeof text, "raw af %u", af_);
    out += text;
    if (!destinationPrefix_.isEmpty()) {
      out += " dst " + destinationPrefix_.toStrep();
    }
    if (!sourcePrefix_.isEmpty()) {
      out += " src " + sourcePrefix_.toStrep();
    }
    out += " words";
    for (std::uint32_t word : words_) {
      std::snprintf(text, sizeof text, " %08x", word);
      out += text;
    }
    return out;
  }
}

}  // namespace Flowspec
