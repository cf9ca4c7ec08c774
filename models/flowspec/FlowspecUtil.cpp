#include "models/flowspec/FlowspecUtil.h"

namespace Flowspec {

std::string FlowspecUtil::statusCodeToStrep(HwRuleProgrammingStatus status) const {
  switch (status) {
    case HwRuleProgrammingStatus::hwStatusNotInstalled:
      return "not installed";
    case HwRuleProgrammingStatus::hwStatusInstalled:
      return "installed";
    case HwRuleProgrammingStatus::hwStatusPartiallyInstalled:
      return "partially installed";
    case HwRuleProgrammingStatus::hwStatusUnsupportedMatch:
      return "unsupported match";
    case HwRuleProgrammingStatus::hwStatusUnsupportedQualifier:
      return "unsupported qualifier";
    case HwRuleProgrammingStatus::hwStatusFailed:
      return "failed";
  }
  return "unknown status " + std::to_string(static_cast<unsigned>(status));
}

std::string FlowspecUtil::compTypeToDetailLabel(MatchCompType type) const {
  static char const* const kLabels[] = {
      "none",      "destination prefix", "source prefix", "IP protocol",
      "port",      "destination port",   "source port",   "ICMP type",
      "ICMP code", "TCP flags",          "packet length", "DSCP",
      "fragment",  "flow label"};
  auto const value = static_cast<std::uint32_t>(type);
  if (value < sizeof kLabels / sizeof kLabels[0]) {
    return kLabels[value];
  }
  return "unknown component " + std::to_string(value);
}

}  // namespace Flowspec
