#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Bench {

// The rule sets the benchmarks and the agent runs are measured on. Each is drawn from a seeded
// generator, so the same (profile, count, seed) gives the same rules everywhere:
//   classbench  IPv4 5-tuples as firewall rule sets have them: source and destination
//               prefixes, TCP or UDP, port ranges; permit or deny;
//   ddos        mitigation rules: a destination host or subnet, a protocol, packet-length
//               ranges, amplification source ports, fragments; police or deny;
//   mixed       both families and every action: prefixes, protocols and next headers, ports,
//               TCP flags, DSCP, ICMP types; permit, deny, police, set DSCP, redirect to a VRF.
enum class Profile { classbench, ddos, mixed };

std::optional<Profile> profileNamed(std::string_view name);
char const* profileName(Profile profile);

// The VRFs the rules are spread over (ids 1..kProfileVrfs, named "vrf1"...), each with one
// routed interface "EthernetN" enabled for both families on one line card large enough for all.
inline constexpr int kProfileVrfs = 4;

// A scenario (the agent's JSON input) with `rules` rules of `profile` drawn from `seed`.
std::string profileScenario(Profile profile, std::size_t rules, std::uint64_t seed);

}  // namespace Bench
