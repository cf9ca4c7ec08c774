#pragma once

#include <string>

#include "models/policymap/Action.h"
#include "models/policymap/PolicyMapTypes.h"

namespace Agent {

// The words the agent's show and control replies use for what the programming machinery holds
// and reports, so that both say the same thing.

// "permit", "deny", "police 1000 bps", "set dscp 46", "redirect vrf blue nexthop 10.1.1.1".
std::string actionText(PolicyMap::Action const& action);
// "not programmed", "programming", "installed", "partially installed", "failed", "removed".
std::string classStateText(PolicyMap::ClassState state);
// "installed", "failed" or "pending".
std::string installedStateText(PolicyMap::InstalledState state);

}  // namespace Agent
