#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "agent/MountedRecords.h"

namespace Agent {

// What loading a scenario did.
struct ScenarioResult {
  std::size_t vrfs = 0;
  std::size_t interfaces = 0;
  std::size_t enabledInterfaces = 0;
  std::size_t rules = 0;
  // One line per item that was skipped, naming where it is and what is wrong.
  std::vector<std::string> errors;
};

// Loads a scenario (JSON) into the mounted records, playing the parts of the routing process
// (VRFs and rules), the interface manager (routed interfaces) and the operator (flowspec
// interfaces). A scenario holds:
//   "vrfs":       [{"id": 1, "name": "red"}, ...]
//   "interfaces": [{"name": "Ethernet1", "vrf": "red"}, ...]
//   "flowspec":   {"interfaces": [{"name": "Ethernet1", "ipVersion": "ipv4"}], "allInterfaces": false}
//   "rules":      [{"vrf": "red" or 1, "id": 7, "match": "ipv4 dst 10.0.0.0/8 dport =80",
//                   "actions": {"permit": true, "deny": true, "police": 1000.0, "dscp": 46,
//                               "redirect": {"vrf": "blue" or 2, "nexthop": "10.1.1.1"}}}]
// The match uses the rule text syntax of Flowspec::FlowspecKey. Input is untrusted: an item
// that is wrong is skipped with an error (also traced at level 0) and the rest still loads.
ScenarioResult loadScenario(std::string const& text, MountedRecords& records);
ScenarioResult loadScenarioFile(std::string const& path, MountedRecords& records);

}  // namespace Agent
