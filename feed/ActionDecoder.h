#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "feed/ByteCursor.h"
#include "feed/Diagnostic.h"
#include "feed/RouteTargetResolver.h"
#include "models/flowspec/Rule.h"

namespace Feed {

// Collects the traffic-filtering actions of one UPDATE from its extended communities and puts
// them onto the action fields of Flowspec::Rule. Feed it the communities in attribute order,
// then take the actions; use one decoder per UPDATE. It refers to the resolver, which must
// outlive it.
//
//   community (type)                    rule fields
//   traffic-rate-bytes (0x8006)         rate 0: deny; else police, trafficRateLimit (bytes/s)
//   traffic-rate-packets (0x800c)       rate 0: deny; else none (no field holds a packet rate)
//   traffic-action (0x8007)             trafficAction (terminal 0x01, sample 0x02)
//   rt-redirect (0x8008 AS2:n,          redirect, trafficRedirect.vrfId = the VRF that the
//     0x8108 IPv4:n, 0x8208 AS4:n,      resolver finds for the route target
//     IPv6-address-specific 0x000d)
//   redirect to IPv4 (0x010c),          redirect, trafficRedirect.address = the address, or
//     to IPv6 (IPv6-address-specific    the MP_REACH_NLRI next hop when it is all-zero
//     0x000c)
//   redirect to next hop (0x0800)       redirect, trafficRedirect.address = the MP_REACH_NLRI
//                                       next hop
//   traffic-marking (0x8009)            dscp, trafficMarkingDscp = low six bits of the last octet
//
// A redirect goes into the rt-redirect's VRF, or without one into the rule's own VRF, to the
// redirect address if there is one (else the VRF's default route).
// No rule field, so not installed and reported in a note: a packet rate above 0; a redirect
// with the copy bit set (a copy must leave the traffic where it goes, and rules have no mirror
// action); a route target that no VRF imports (then no redirect at all, not even to an address:
// that was meant for the other VRF).
// Conflicts: the lowest rate wins (RFC 8955 section 7.7), so one rate of 0, bytes or packets,
// discards; discarding drops the rule's other actions (a note says so); of several route
// targets, redirect addresses or markings the first in attribute order wins and the others get a
// note; traffic-action bits are ORed. A rate that is not a number or is negative is ignored with
// a note. Other extended communities are not traffic-filtering actions and are ignored.
// A rule without actions has no action bit set, which permits: the decoder never sets permit.
class ActionDecoder {
 public:
  // `vrfId`: the VRF the routes were received in.
  ActionDecoder(Vrf::VrfIdMap::VrfId vrfId, RouteTargetResolver const& resolver)
      : vrfId_(vrfId), resolver_(resolver) {}

  // One community of EXTENDED_COMMUNITIES (8 octets).
  void extendedCommunityIs(ByteCursor community);
  // One community of IPV6_ADDRESS_SPECIFIC_EXTENDED_COMMUNITY (20 octets).
  void ipv6ExtendedCommunityIs(ByteCursor community);

  // The actions onto `rule`'s action fields; `nextHop` is the MP_REACH_NLRI next hop, unset
  // when it had none. Notes go to `diagnostics`.
  void actionsOnto(Flowspec::Rule& rule, Nwk::IpGenAddr const& nextHop,
                   std::vector<Diagnostic>& diagnostics) const;

 private:
  struct Redirect {
    std::size_t offset;
    Nwk::IpGenAddr address;  // all-zero: the next hop
  };

  void rate(std::size_t offset, bool packets, std::uint32_t bits);
  void routeTarget(std::size_t offset, std::string const& text);
  void redirectTo(std::size_t offset, Nwk::IpGenAddr const& address, bool copy);
  void marking(std::size_t offset, std::uint8_t dscp);
  void later(std::size_t offset, std::string const& what);

  Vrf::VrfIdMap::VrfId vrfId_;
  RouteTargetResolver const& resolver_;
  std::optional<float> bytesRate_;
  std::optional<std::size_t> discardOffset_;  // of the first rate of 0
  std::uint8_t trafficActionBits_ = 0;
  bool routeTargetSeen_ = false;
  std::optional<Vrf::VrfIdMap::VrfId> redirectVrfId_;
  std::optional<Redirect> redirect_;
  std::optional<std::uint8_t> dscp_;
  std::vector<Diagnostic> notes_;
};

}  // namespace Feed
