#include "models/pbr/PbrFwdAction.h"

namespace Pbr {

namespace {
char const* boolText(bool value) { return value ? "true" : "false"; }
}  // namespace

char const* pbrActionTypeText(PbrActionType type) {
  switch (type) {
    case PbrActionType::pbrActionDrop:
      return "drop";
    case PbrActionType::pbrActionForward:
      return "forward";
    case PbrActionType::pbrActionNone:
      break;
  }
  return "none";
}

void PbrFwdAction::dumpState(Kiln::DumpContext* ctx, int indent) const {
  // An unset VRF prints as "-" so that every line keeps its field count.
  Kiln::dumpf(ctx, indent,
              "PbrFwdAction %s type %s vrf %s recursive %s allowResolutionByDefault %s "
              "allowResolutionOverTunnel %s id %s\n",
              name().c_str(), pbrActionTypeText(pbrActionType_),
              vrfName().value().empty() ? "-" : vrfName().value().c_str(), boolText(recursive()),
              boolText(allowResolutionByDefault()), boolText(allowResolutionOverTunnel()),
              id().toStrep().c_str());
  for (auto const& [address, inUse] : nexthop()) {
    Kiln::dumpf(ctx, indent + 2, "nexthop %s inUse %s\n", address.toStrep().c_str(),
                boolText(inUse));
  }
}

}  // namespace Pbr
