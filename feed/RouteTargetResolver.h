#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "models/vrf/VrfId.h"

namespace Feed {

// Which VRF imports a route target, as the routing process knows it from its VRF
// configuration: an rt-redirect action names a route target, and the rule must carry the VRF
// id. Route targets are written as the decoder prints them: "65000:100" (two- or four-octet
// AS), "192.0.2.1:100" (IPv4), "[2001:db8::1]:100" (IPv6). A decoder reads the resolver while it
// decodes and keeps no reference to what it returned; the owner keeps the resolver alive for as
// long as decoders refer to it.
class RouteTargetResolver {
 public:
  void vrfIdIs(std::string const& routeTarget, Vrf::VrfIdMap::VrfId vrfId) {
    vrfIds_[routeTarget] = vrfId;
  }
  void vrfIdDel(std::string const& routeTarget) { vrfIds_.erase(routeTarget); }
  std::optional<Vrf::VrfIdMap::VrfId> vrfId(std::string const& routeTarget) const {
    auto const it = vrfIds_.find(routeTarget);
    return it == vrfIds_.end() ? std::nullopt : std::optional(it->second);
  }

 private:
  std::map<std::string, Vrf::VrfIdMap::VrfId, std::less<>> vrfIds_;
};

}  // namespace Feed
