#pragma once

#include <set>
#include <string>

#include "models/l3name/VrfName.h"
#include "models/policymap/Action.h"
#include "platform/nwk/IpGenAddr.h"

namespace Pbr {

enum class PbrActionType : std::uint8_t { pbrActionNone = 0, pbrActionDrop = 1, pbrActionForward = 2 };

// Forwards the class's traffic to next hops in a VRF.
class PbrFwdAction : public PolicyMap::Action {
 public:
  PbrFwdAction(Cog::String name, Kiln::UniqueId id, PbrActionType type)
      : Action(std::move(name), PolicyMap::ActionType::actionPbrForward, id), pbrActionType_(type) {}

  COG_RECORD(PbrFwdAction,
             (value, L3::VrfName, vrfName, VrfName),
             (value, bool, recursive, Recursive),
             (value, bool, allowResolutionByDefault, AllowResolutionByDefault),
             (value, bool, allowResolutionOverTunnel, AllowResolutionOverTunnel),
             (orderedMap, Nwk::IpGenAddr, bool, nexthop, Nexthop));

  PbrActionType pbrActionType() const { return pbrActionType_; }
  void dumpState(Kiln::DumpContext* ctx, int indent) const override;

 private:
  PbrActionType pbrActionType_;
};

// The next hops of a forwarding action as resolved in a VRF.
struct NexthopSet {
  std::string vrfName;
  std::set<Nwk::IpGenAddr> nexthops;
  bool operator==(NexthopSet const&) const = default;
};

struct ResolvedNexthopInfo {
  ResolvedNexthopInfo() = default;
  explicit ResolvedNexthopInfo(NexthopSet set) : nexthopSet(std::move(set)) {}
  NexthopSet nexthopSet;
  bool operator==(ResolvedNexthopInfo const&) const = default;
  std::string toStrep() const;
};

}  // namespace Pbr
