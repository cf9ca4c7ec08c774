#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "feed/Diagnostic.h"
#include "feed/RouteTargetResolver.h"
#include "models/flowspec/Rule.h"

namespace Feed {

// The flowspec routes of one UPDATE as decoded.
struct UpdateResult {
  // Keyed in the decoder's VRF, with the UPDATE's actions; ruleId is the writer's to give.
  std::vector<Flowspec::Rule> announcements;
  std::vector<Flowspec::FlowspecTidalKey> withdrawals;
  std::vector<Diagnostic> diagnostics;

  Severity severity() const { return worstSeverity(diagnostics); }
};

// Decodes BGP UPDATE messages received in one VRF into flowspec announcements and withdrawals:
// the NLRI of MP_REACH_NLRI and MP_UNREACH_NLRI for AFI 1 and 2 with SAFI 133 (NlriDecoder),
// and the actions of EXTENDED_COMMUNITIES and IPV6_ADDRESS_SPECIFIC_EXTENDED_COMMUNITY with the
// MP_REACH_NLRI next hop (ActionDecoder). Other AFI/SAFI, the IPv4 unicast routes of the
// withdrawn routes and NLRI fields, and other attributes are not flowspec and are skipped.
//
// Errors follow RFC 7606, which RFC 8955 applies to flowspec; the result's severity says what
// the routing process does with the UPDATE:
// - refuse route: a route the rule model cannot carry (NlriDecoder); the rest stands;
// - treat-as-withdraw: a malformed flowspec NLRI (RFC 8955 section 4.2), a malformed extended
//   community attribute (RFC 7606 sections 7.14, 7.15), a next hop whose length is no address
//   (RFC 7606 section 7.11). Every announced route that could be keyed is listed as a
//   withdrawal instead; the UPDATE's withdrawals stay;
// - session reset: the message cannot be walked (header, field lengths, an attribute running
//   past the attributes, MP_REACH_NLRI or MP_UNREACH_NLRI twice or too short for its fixed
//   fields, an NLRI length running past its attribute). The routes decoded before the fault
//   are still listed, as withdrawals.
// A second extended community attribute of one kind is discarded with a note (RFC 7606
// section 3). Any octets are safe input. The decoder keeps nothing between messages; it reads
// the resolver while it decodes, and the resolver must outlive it.
class UpdateDecoder {
 public:
  // `vrfId`: the VRF the UPDATEs are received in.
  UpdateDecoder(Vrf::VrfIdMap::VrfId vrfId, RouteTargetResolver const& resolver)
      : vrfId_(vrfId), resolver_(resolver) {}

  // `message`: one whole UPDATE, with its 19-octet header or without. The header is recognised
  // by its marker of sixteen 0xFF octets (an UPDATE body cannot start so: its withdrawn routes
  // length would exceed any message). Diagnostics count offsets from message[0].
  UpdateResult decode(std::span<std::uint8_t const> message) const;

 private:
  Vrf::VrfIdMap::VrfId vrfId_;
  RouteTargetResolver const& resolver_;
};

}  // namespace Feed
