#include "agent/ProgrammingText.h"

#include <iterator>
#include <sstream>

#include "models/pbr/PbrFwdAction.h"
#include "models/policymap/PoliceAction.h"
#include "models/policymap/SetDscpAction.h"

namespace Agent {

std::string actionText(PolicyMap::Action const& action) {
  switch (action.actionType()) {
    case PolicyMap::ActionType::actionPermit:
      return "permit";
    case PolicyMap::ActionType::actionDeny:
      return "deny";
    default:
      break;
  }
  std::ostringstream os;
  if (auto const* police = dynamic_cast<PolicyMap::PoliceAction const*>(&action)) {
    os << "police " << police->rate().rate << " bps";
  } else if (auto const* dscp = dynamic_cast<PolicyMap::SetDscpAction const*>(&action)) {
    os << "set dscp " << static_cast<int>(dscp->dscp().value());
  } else if (auto const* redirect = dynamic_cast<Pbr::PbrFwdAction const*>(&action)) {
    os << "redirect vrf " << redirect->vrfName().value();
    for (auto const& [address, resolve] : redirect->nexthop()) {
      os << " nexthop " << address.toStrep();
    }
  } else {
    os << "action " << static_cast<int>(action.actionType());
  }
  return os.str();
}

std::string classStateText(PolicyMap::ClassState state) {
  static char const* const kStates[] = {"not programmed",      "programming", "installed",
                                        "partially installed", "failed",      "removed"};
  auto const index = static_cast<std::size_t>(state);
  return index < std::size(kStates) ? kStates[index] : "?";
}

std::string installedStateText(PolicyMap::InstalledState state) {
  switch (state) {
    case PolicyMap::InstalledState::installed:
      return "installed";
    case PolicyMap::InstalledState::failed:
      return "failed";
    default:
      return "pending";
  }
}

}  // namespace Agent
