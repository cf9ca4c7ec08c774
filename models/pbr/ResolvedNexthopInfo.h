#pragma once

#include <memory>

#include "models/pbr/NexthopSet.h"
#include "platform/cog/System.h"

namespace Pbr {

// The next hops that a forwarding action resolved to, as reported back with a rule's status.
// A default-built value means nothing resolved. Every rule's status holds one and most resolve
// nothing, so the set is kept aside, shared and never changed, and compared by value.
class ResolvedNexthopInfo {
 public:
  ResolvedNexthopInfo() = default;
  explicit ResolvedNexthopInfo(NexthopSet set);

  NexthopSet const& nexthopSet() const;
  // "vrf <name>" then " <address>" per next hop in address order: "vrf red 10.0.0.1 10.0.0.2".
  Cog::String toStrep() const;
  bool operator==(ResolvedNexthopInfo const& other) const {
    return set_ == other.set_ || nexthopSet() == other.nexthopSet();
  }

 private:
  std::shared_ptr<NexthopSet const> set_;  // null when nothing resolved
};

}  // namespace Pbr
