#pragma once

#include "models/pbr/NexthopSet.h"
#include "platform/cog/System.h"

namespace Pbr {

// The next hops that a forwarding action resolved to, as reported back with a rule's status.
// A default-built value means nothing resolved.
struct ResolvedNexthopInfo {
  ResolvedNexthopInfo() = default;
  explicit ResolvedNexthopInfo(NexthopSet set) : nexthopSet(std::move(set)) {}

  // "vrf <name>" then " <address>" per next hop in address order: "vrf red 10.0.0.1 10.0.0.2".
  Cog::String toStrep() const;
  bool operator==(ResolvedNexthopInfo const&) const = default;

  NexthopSet nexthopSet;
};

}  // namespace Pbr
