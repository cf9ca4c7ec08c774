#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "agent/HardwareSpec.h"
#include "agent/MountedRecords.h"

namespace Agent {

// A scenario file larger than this is refused unread.
inline constexpr std::size_t kMaxScenarioBytes = std::size_t{256} << 20;

// What loading a scenario did.
struct ScenarioResult {
  std::size_t vrfs = 0;
  std::size_t interfaces = 0;
  std::size_t enabledInterfaces = 0;
  std::size_t rules = 0;
  // One line per item that was refused, "<JSON path>: <what is wrong>"; the rest loaded.
  std::vector<std::string> errors;
  // One line per item that loaded but refers to what the scenario does not declare (a VRF id
  // that only appears later, say): the system acts on it once that appears.
  std::vector<std::string> warnings;
  // The hardware to program and what to inject into it (empty: one card holds every interface).
  HardwareSpec hardware;
};

// Loads a scenario (JSON) into the mounted records, playing the parts of the routing process
// (VRFs and rules), the interface manager (routed interfaces) and the operator (flowspec
// interfaces). A scenario holds:
//   "vrfs":       [{"id": 1, "name": "red"}, ...]
//   "interfaces": [{"name": "Ethernet1", "vrf": "red"}, ...]
//   "flowspec":   {"interfaces": [{"name": "Ethernet1", "ipVersion": "ipv4"}], "allInterfaces":
//   false} "rules":      [{"vrf": "red" or 1, "id": 7, "match": "ipv4 dst 10.0.0.0/8 dport =80",
//                   "actions": {"permit": true, "deny": true, "police": 1000.0, "dscp": 46,
//                               "redirect": {"vrf": "blue" or 2, "nexthop": "10.1.1.1"}}}]
//   "lineCards":  [{"name": "lc1", "ipv4Entries": 64, "ipv6Entries": 64, "rangeCheckers": 8,
//                   "interfaces": ["Ethernet1"], "unsupported": {"ipv4": ["ip-length"]}}]
//   "packets":    [{"at": 0.5, "interface": "Ethernet1", "count": 10,
//                   "fields": {"family": "ipv4", "src": "203.0.113.7", "dst": "192.0.2.10",
//                              "protocol": 6, "sport": 40000, "dport": 1500, "tcpFlags": 2,
//                              "length": 60, "dscp": 0, "fragment": false, "icmpType": 0,
//                              "icmpCode": 0}}]
//   "counterRequests": [1.0]   (seconds after start: ask the hardware for the rules' counters)
// The match uses the rule text syntax of Flowspec::FlowspecKey. Input is untrusted: an item
// that is wrong in any way (an unknown key or one given twice, a value out of range, a
// duplicate of an earlier item) is not installed at all and gets an error (also traced at
// level 0); the rest still loads. An unknown or repeated key of the scenario or of "flowspec"
// is an error of that key alone (the first of a repeated key is used).
ScenarioResult loadScenario(std::string const& text, MountedRecords& records);
// Refuses a path that is not a regular file of at most kMaxScenarioBytes, unread.
ScenarioResult loadScenarioFile(std::string const& path, MountedRecords& records);

}  // namespace Agent
