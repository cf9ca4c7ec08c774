#pragma once

#include <cstdint>

#include "models/l3name/VrfName.h"
#include "models/policymap/Action.h"
#include "platform/cog/Record.h"
#include "platform/nwk/IpGenAddr.h"

// What a forwarding action's next hops resolve to travels with the action.
#include "models/pbr/ResolvedNexthopInfo.h"  // IWYU pragma: export

namespace Pbr {

enum class PbrActionType : std::uint8_t {
  pbrActionNone = 0,
  pbrActionDrop = 1,
  pbrActionForward = 2
};
// "none", "drop", "forward" ("none" also for values outside the enumeration).
char const* pbrActionTypeText(PbrActionType type);

// Forwards a class's traffic to next hops in a VRF. Shared between policy-map versions like
// every Action: the builder sets the VRF, the resolution flags and the next hops right after
// creating it and leaves it unchanged from then on. `nexthop` maps each next hop to whether
// it is in use.
class PbrFwdAction : public PolicyMap::Action {
 public:
  PbrFwdAction(Cog::SharedString name, Kiln::UniqueId id, PbrActionType type)
      : Action(std::move(name), PolicyMap::ActionType::actionPbrForward, id),
        pbrActionType_(type) {}
  COG_RECORD(PbrFwdAction, (value, L3::VrfName, vrfName, VrfName),
             (value, bool, recursive, Recursive),
             (value, bool, allowResolutionByDefault, AllowResolutionByDefault),
             (value, bool, allowResolutionOverTunnel, AllowResolutionOverTunnel),
             (orderedMap, Nwk::IpGenAddr, bool, nexthop, Nexthop));

  PbrActionType pbrActionType() const { return pbrActionType_; }
  // As a child keyed by name: the same id and forwarding type.
  using Action::constructedWith;
  bool constructedWith(Kiln::UniqueId const& id, PbrActionType type) const {
    return id == this->id() && type == pbrActionType_;
  }

  // Action:
  // "PbrFwdAction <name> type <type> vrf <vrf or -> recursive <bool> allowResolutionByDefault
  // <bool> allowResolutionOverTunnel <bool> id <id>", then two columns in one line per next
  // hop in address order: "nexthop <address> inUse <bool>".
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  PbrActionType pbrActionType_;
};

}  // namespace Pbr
