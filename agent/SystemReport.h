#pragma once

#include <nlohmann/json.hpp>

#include "OrbFlowspec/root/FlowspecSm.h"
#include "agent/HardwareLayout.h"

namespace Agent {

// The control replies about the system as a whole, built from the records it watches and
// publishes and from the hardware model; their shapes are those of agent/control-schema.json.
// Reads only.

// `show interfaces`: every routed interface with its VRF, what the operator enabled, the policy
// it is bound to, its line card and its programming per address family.
nlohmann::json interfacesReport(OrbFlowspec::FlowspecSm const& root,
                                HardwareLayout const& hardware);

// `show unsupported`: the qualifiers the line cards cannot match per address family, the rules
// marked unsupported (status 3 or 4) and the rules that cannot be digested at all.
nlohmann::json unsupportedReport(OrbFlowspec::FlowspecSm const& root);

// `show summary`: rules per status, entries used per bank of every line card, the counter pass.
nlohmann::json summaryReport(OrbFlowspec::FlowspecSm const& root, HardwareLayout const& hardware);

}  // namespace Agent
