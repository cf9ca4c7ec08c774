#pragma once

#include <compare>

#include "platform/cog/System.h"
#include "platform/nwk/IpGenAddr.h"

namespace Orb {

// A next hop as forwarding actions name it: an address in a VRF.
struct NexthopKey {
  Cog::String vrfName;
  Nwk::IpGenAddr address;
  auto operator<=>(NexthopKey const&) const = default;
  bool operator==(NexthopKey const&) const = default;
};

}  // namespace Orb
