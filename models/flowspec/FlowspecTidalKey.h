#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

#include "models/flowspec/FlowspecKey.h"
#include "models/vrf/VrfId.h"
#include "platform/tidal/PodArray.h"

namespace Flowspec {

// The key of the raw rule table as the routing process writes it: the VRF, and the rule's
// match encoded as plain data. It is untrusted input: getFlowspecKey() refuses what is not a
// rule key.
//
// Encoding of one operator/value pair in a 32-bit word:
//   bits 31..28  component type (0..15; flowspec uses 3..13 here, prefixes are separate)
//   bits 27..20  the operator byte as on the wire (end, AND, length, operator bits)
//   bits 19..0   the value, up to 0xFFFFF (the IPv6 flow label is the widest field)
// This is the packing FlowspecKey holds its pairs in, so a conversion copies the words. A key
// has at most 2048 pairs. The default key is the empty key (VRF 0, family byte 0), which no rule
// has. operator< is a total order on the content (VRF first), not the rule precedence.
class FlowspecTidalKey {
 public:
  using Words = Tidal::PodArray<std::uint32_t, 2048>;

  // The word of one pair (the packing above; wider types and values are cut to their fields).
  static constexpr std::uint32_t pack(MatchCompType type, std::uint8_t op, std::uint32_t value) {
    return OpVal::pack(type, op, value);
  }

  FlowspecTidalKey() = default;
  FlowspecTidalKey(Vrf::VrfIdMap::VrfId vrfId, FlowspecKey const& key);
  // From raw table content; an array of more than 2048 words throws the size error.
  FlowspecTidalKey(Vrf::VrfIdMap::VrfId vrfId, std::uint8_t af, Nwk::IpGenPrefix destination,
                   Nwk::IpGenPrefix source, std::uint32_t const* words, std::size_t count);

  Vrf::VrfIdMap::VrfId vrfId() const { return vrfId_; }
  std::uint8_t af() const { return af_; }
  Nwk::IpGenPrefix const& destinationPrefix() const { return destinationPrefix_; }
  Nwk::IpGenPrefix const& sourcePrefix() const { return sourcePrefix_; }
  Words const& words() const { return words_; }
  bool isEmpty() const { return *this == FlowspecTidalKey(); }

  // The rule's key; a range error when the content is not a rule key (family, prefixes).
  FlowspecKey getFlowspecKey() const;

  bool operator==(FlowspecTidalKey const&) const = default;
  bool operator<(FlowspecTidalKey const& other) const;
  // Numbers that order two keys as operator< does wherever they differ (they hold the VRF, the
  // family and the first ten bytes of the destination prefix's address): sorting by them first
  // leaves operator< only the ties, and the sort's comparisons stay within one array.
  std::pair<std::uint64_t, std::uint64_t> orderPrefix() const;
  std::size_t hash() const;
  // "vrf 3 ipv4 dport =80", or a raw dump when the content is not a rule key:
  // "vrf 3 raw af 7 dst 10.0.0.0/8 words 58100050".
  std::string toStrep() const;

 private:
  Vrf::VrfIdMap::VrfId vrfId_ = 0;
  std::uint8_t af_ = 0;
  Nwk::IpGenPrefix destinationPrefix_;
  Nwk::IpGenPrefix sourcePrefix_;
  Words words_;
};

inline std::ostream& operator<<(std::ostream& os, FlowspecTidalKey const& key) {
  return os << key.toStrep();
}

}  // namespace Flowspec

template <>
struct std::hash<Flowspec::FlowspecTidalKey> {
  std::size_t operator()(Flowspec::FlowspecTidalKey const& key) const noexcept {
    return key.hash();
  }
};
