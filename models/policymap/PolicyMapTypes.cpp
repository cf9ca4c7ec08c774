#include "models/policymap/PolicyMapTypes.h"

#include "platform/cog/Errors.h"

namespace PolicyMap {

char const* actionTypeText(ActionType type) {
  switch (type) {
    case ActionType::actionPolice:
      return "police";
    case ActionType::actionSetDscp:
      return "set-dscp";
    case ActionType::actionPbrForward:
      return "pbr-forward";
    case ActionType::actionPermit:
      return "permit";
    case ActionType::actionDeny:
      return "deny";
    case ActionType::actionNone:
      break;
  }
  return "none";
}

Dscp::Dscp(unsigned value) : value_(static_cast<std::uint8_t>(value)) {
  if (value > 63) {
    throw Cog::RangeError("Dscp::value < 0 or > 63 not allowed");
  }
}

}  // namespace PolicyMap
