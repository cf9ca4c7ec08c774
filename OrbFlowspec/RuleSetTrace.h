#pragma once

#include "platform/trace/Trace.h"

namespace OrbFlowspec {

// The trace handle of rule digestion, "FlowspecRuleSetSm", shared by the walker and the range
// and bitmask groups it uses.
Trace::Handle& ruleSetTrace();

}  // namespace OrbFlowspec
