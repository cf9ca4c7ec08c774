#pragma once

#include <set>

#include "platform/cog/System.h"
#include "platform/nwk/IpGenAddr.h"

namespace Pbr {

// A set of next hops in one VRF, in address order.
struct NexthopSet {
  Cog::String vrfName;
  std::set<Nwk::IpGenAddr> nexthops;
  bool operator==(NexthopSet const&) const = default;
};

}  // namespace Pbr
