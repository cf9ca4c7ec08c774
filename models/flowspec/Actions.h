#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "models/vrf/VrfId.h"
#include "platform/nwk/IpGenAddr.h"

namespace Flowspec {

// Which traffic actions a rule carries, as the routing process publishes them. A rule whose
// set has no action bit permits; the invalid bit marks a set the routing process could not
// decode.
class ActionFieldSet {
 public:
  static constexpr std::uint8_t kInvalid = 0x01;
  static constexpr std::uint8_t kPermit = 0x02;
  static constexpr std::uint8_t kDeny = 0x04;
  static constexpr std::uint8_t kPolice = 0x08;
  static constexpr std::uint8_t kRedirect = 0x20;
  static constexpr std::uint8_t kDscp = 0x40;

  constexpr ActionFieldSet() = default;
  constexpr explicit ActionFieldSet(std::uint8_t bits) : bits_(bits) {}

  std::uint8_t bits() const { return bits_; }
  bool invalid() const { return bits_ & kInvalid; }
  bool permit() const { return bits_ & kPermit; }
  bool deny() const { return bits_ & kDeny; }
  bool police() const { return bits_ & kPolice; }
  bool redirect() const { return bits_ & kRedirect; }
  bool dscp() const { return bits_ & kDscp; }

  bool operator==(ActionFieldSet const&) const = default;
  // "permit+police", or "none".
  std::string toStrep() const;

 private:
  std::uint8_t bits_ = 0;
};

// The traffic-action extended community: terminal action and sample bits.
class TrafficAction {
 public:
  static constexpr std::uint8_t kTerminal = 0x01;
  static constexpr std::uint8_t kSample = 0x02;

  constexpr TrafficAction() = default;
  constexpr explicit TrafficAction(std::uint8_t bits) : bits_(bits) {}
  std::uint8_t bits() const { return bits_; }
  bool terminal() const { return bits_ & kTerminal; }
  bool sample() const { return bits_ & kSample; }
  bool operator==(TrafficAction const&) const = default;

 private:
  std::uint8_t bits_ = 0;
};

// Where a redirecting rule sends traffic: into a VRF (resolved from its route target by the
// routing process; kInvalidVrfId when absent) and optionally to a next-hop address there
// (unset or all-zero: through the VRF's default route).
struct TrafficRedirect {
  Vrf::VrfIdMap::VrfId vrfId = Vrf::VrfIdMap::kInvalidVrfId;
  Nwk::IpGenAddr address;

  bool operator==(TrafficRedirect const&) const = default;
  std::string toStrep() const;
};

std::ostream& operator<<(std::ostream& os, ActionFieldSet const& set);
std::ostream& operator<<(std::ostream& os, TrafficRedirect const& redirect);

}  // namespace Flowspec
