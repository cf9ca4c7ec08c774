#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/HardwareLayout.h"
#include "models/flowspec/FlowspecKey.h"

namespace Agent {

// The control replies about rules, built from the status records the system publishes and
// the policy-maps it builds; their shapes are those of agent/control-schema.json. Reads only.

// `show rules`: per VRF (all, or the one named `vrf`), its rules in precedence order (class
// priority; rules not in the policy-map yet follow in key order). Nullopt when no VRF of rules
// or status has the name `vrf`.
std::optional<nlohmann::json> rulesReport(OrbFlowspec::FlowspecSm const& root,
                                          std::optional<std::string> const& vrf);

// `show rule TEXT`: the rule in every VRF that has it, with its class-map's ACL entries and its
// state per interface of the VRF's policy and per line card. An empty "rules" list when no VRF
// has it.
nlohmann::json ruleReport(OrbFlowspec::FlowspecSm const& root, HardwareLayout const& hardware,
                          Flowspec::FlowspecKey const& key);

// The reply of `counters refresh`: the time of the last counter pass and every rule's count.
nlohmann::json countersReport(OrbFlowspec::FlowspecSm const& root);

}  // namespace Agent
