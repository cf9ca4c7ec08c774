#include "models/l3name/VrfName.h"
#include "models/pbr/PbrFwdAction.h"
#include "models/policymap/Action.h"
#include "models/policymap/Config.h"
#include "platform/cog/Errors.h"

namespace PolicyMap {

Dscp::Dscp(unsigned value) : value_(static_cast<std::uint8_t>(value)) {
  if (value > 63) {
    throw Cog::RangeError("Dscp::value < 0 or > 63 not allowed");
  }
}

namespace {
char const* actionName(ActionType type) {
  switch (type) {
    case ActionType::actionPermit:
      return "permit";
    case ActionType::actionDeny:
      return "deny";
    case ActionType::actionPolice:
      return "police";
    case ActionType::actionSetDscp:
      return "set dscp";
    case ActionType::actionPbrForward:
      return "pbr forward";
    default:
      return "none";
  }
}
}  // namespace

void Action::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "Action %s: %s, id %s\n", name_.c_str(), actionName(actionType_),
              id_.toStrep().c_str());
}

void PoliceAction::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "PoliceAction %s: rate %llu bps, burst %llu, id %s\n", name().c_str(),
              static_cast<unsigned long long>(rate_.rate),
              static_cast<unsigned long long>(rate_.burst), id().toStrep().c_str());
}

void SetDscpAction::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "SetDscpAction %s: dscp %u, id %s\n", name().c_str(), dscp_.value(),
              id().toStrep().c_str());
}

void Config::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "PolicyMapConfig %s\n", name_.c_str());
  for (auto const& [name, pmapType] : pmapType()) {
    Kiln::dumpf(ctx, indent + 2, "pmapType %s: type %u, policies #%zu\n", name.c_str(),
                pmapType->mapType().value, pmapType->pmap().size());
    for (auto const& [policyName, pmap] : pmapType->pmap()) {
      auto const current = pmap->currCfg();
      Kiln::dumpf(ctx, indent + 4, "policy %s: classes #%zu\n", policyName.c_str(),
                  current ? current->classPrio().size() : 0);
    }
  }
  for (auto const& [name, cmapType] : cmapType()) {
    Kiln::dumpf(ctx, indent + 2, "cmapType %s: type %u, class-maps #%zu\n", name.c_str(),
                cmapType->type().value, cmapType->cmap().size());
  }
}

}  // namespace PolicyMap

namespace L3 {

VrfName::VrfName(std::string value) : value_(std::move(value)) {
  if (value_.size() > maxLength) {
    throw Cog::RangeError("VrfName::value::bytes > VrfName::maxLength not allowed");
  }
}

}  // namespace L3

namespace Pbr {

void PbrFwdAction::dumpState(Kiln::DumpContext* ctx, int indent) const {
  Kiln::dumpf(ctx, indent, "PbrFwdAction %s: vrf %s, recursive %s, id %s\n", name().c_str(),
              vrfName().value().c_str(), recursive() ? "true" : "false", id().toStrep().c_str());
  for (auto const& [address, resolve] : nexthop()) {
    Kiln::dumpf(ctx, indent + 2, "nexthop %s\n", address.toStrep().c_str());
  }
}

std::string ResolvedNexthopInfo::toStrep() const {
  std::string out = "vrf " + nexthopSet.vrfName;
  for (auto const& address : nexthopSet.nexthops) {
    out += " " + address.toStrep();
  }
  return out;
}

}  // namespace Pbr
