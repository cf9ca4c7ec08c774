#pragma once

#include <string>

#include "models/flowspec/HwRuleProgrammingStatus.h"
#include "models/flowspec/MatchCompType.h"

namespace Flowspec {

// Stable, readable texts for status reporting.
class FlowspecUtil {
 public:
  // "not installed", "installed", "partially installed", "unsupported match",
  // "unsupported qualifier", "failed", or "unknown status <n>".
  std::string statusCodeToStrep(HwRuleProgrammingStatus status) const;
  // "destination prefix", "IP protocol", "TCP flags", ..., or "unknown component <n>".
  std::string compTypeToDetailLabel(MatchCompType type) const;
};

}  // namespace Flowspec
