#pragma once

#include <string>

#include "OrbFlowspec/root/FlowspecSm.h"

namespace Agent {

// What an operator's "show" prints: per VRF, the flowspec policy-map with its classes in
// priority order, each class's actions and its class-map's ACL entries, the interfaces bound
// to the policy, and the status of every rule; then the rules that could not be digested.
std::string showFlowspec(OrbFlowspec::FlowspecSm const& root);

}  // namespace Agent
