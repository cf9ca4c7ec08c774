// After any sequence of input changes, once the loop is idle, the outputs equal what a fresh
// agent started on the final inputs writes.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "pbr/hwmodel/Qualifier.h"
#include "tests/OrbFlowspec/support/StackHarness.h"

namespace {

using OrbFlowspecTest::StackHarness;

// The inputs, as a model the test keeps beside the stack so it can replay the final state.
struct Inputs {
  std::map<Vrf::VrfIdMap::VrfId, std::string> vrfs;
  std::map<std::string, std::string> intfs;  // interface -> VRF name
  std::map<std::string, Flowspec::IpVersion> enabled;
  bool enabledAll = false;
  std::map<std::pair<Vrf::VrfIdMap::VrfId, std::string>, Flowspec::Rule> rules;

  void applyTo(StackHarness& stack) const {
    for (auto const& [id, name] : vrfs) {
      stack.vrfIs(id, name);
    }
    for (auto const& [intf, vrf] : intfs) {
      stack.intfIs(intf, vrf);
    }
    for (auto const& [intf, version] : enabled) {
      stack.enabledIntfIs(intf, version);
    }
    stack.enabledIntfAllIs(enabledAll);
    for (auto const& [key, rule] : rules) {
      stack.ruleIs(rule);
    }
  }
};

std::vector<std::string> const kMatches = {
    "ipv4 dport =80",
    "ipv4 dst 10.0.0.0/8 proto =6 dport >=1024&<=2047",
    "ipv4 src 192.0.2.0/24 icmp-type =8",
    "ipv4 proto =17 len >=512",
    "ipv4 tcp-flags =syn&!ack",
    "ipv4 dscp =46|=10",
    "ipv4 frag isf",
    "ipv4 dport <0",
    "ipv6 dst 2001:db8::/32 dport =443",
    "ipv6 proto =58 icmp-type =128",
    "ipv6 flow-label =5",
};

std::vector<std::string> const kVrfNames = {"vrf1", "vrf2", "vrf3-renamed", "vrf9"};
std::vector<std::string> const kIntfs = {"Ethernet1", "Ethernet2", "Ethernet3", "Vlan10"};

// The actions of a rule, drawn at random: any action bits, rates, DSCP values (some out of
// range), redirects into any VRF id (one that never exists among them) to a few next hops.
void randomActions(std::mt19937& rng, Flowspec::Rule& rule) {
  auto pick = [&rng](auto const& items) { return items[rng() % std::size(items)]; };
  std::uint8_t const bits[] = {Flowspec::ActionFieldSet::kPermit, Flowspec::ActionFieldSet::kDeny,
                               Flowspec::ActionFieldSet::kPolice,
                               Flowspec::ActionFieldSet::kRedirect,
                               Flowspec::ActionFieldSet::kDscp};
  rule.actionFieldSet = Flowspec::ActionFieldSet(pick(bits) | pick(bits));
  rule.trafficRateLimit = static_cast<float>(rng() % 5000);
  rule.trafficMarkingDscp = Nwk::IpTos(static_cast<std::uint8_t>(rng() % 70));
  rule.trafficRedirect.vrfId = 1 + rng() % 5;
  char const* const nexthops[] = {"0.0.0.0", "10.0.0.1", "10.0.0.2", "2001:db8::1"};
  rule.trafficRedirect.address = *Nwk::IpGenAddr::parse(pick(nexthops));
}

// Names a VRF id. Names are unique in the VRF id table: a name given to another id moves, it
// leaves the id that had it.
void nameVrf(Vrf::VrfIdMap::VrfId vrfId, std::string const& name, Inputs& inputs,
             StackHarness& stack) {
  for (auto it = inputs.vrfs.begin(); it != inputs.vrfs.end();) {
    if (it->second == name && it->first != vrfId) {
      stack.vrfDel(it->first);
      it = inputs.vrfs.erase(it);
    } else {
      ++it;
    }
  }
  inputs.vrfs[vrfId] = name;
  stack.vrfIs(vrfId, name);
}

// The same rule re-announced with other actions only: all of them, or one parameter alone (the
// rate, the DSCP value or the redirect) under the same action bits.
void reannounceWithOtherActions(std::mt19937& rng, Inputs& inputs, StackHarness& stack) {
  if (inputs.rules.empty()) {
    return;
  }
  auto it = inputs.rules.begin();
  std::advance(it, static_cast<long>(rng() % inputs.rules.size()));
  Flowspec::Rule& rule = it->second;
  Flowspec::Rule drawn = rule;
  randomActions(rng, drawn);
  switch (rng() % 4) {
    case 0:
      rule = drawn;
      break;
    case 1:
      rule.trafficRateLimit = drawn.trafficRateLimit;
      break;
    case 2:
      rule.trafficMarkingDscp = drawn.trafficMarkingDscp;
      break;
    default:
      rule.trafficRedirect = drawn.trafficRedirect;
  }
  stack.ruleIs(rule);
}

void randomChange(std::mt19937& rng, Inputs& inputs, StackHarness& stack) {
  auto pick = [&rng](auto const& items) { return items[rng() % std::size(items)]; };
  Vrf::VrfIdMap::VrfId const vrfId = 1 + rng() % 4;
  switch (rng() % 12) {
    case 0:  // a VRF is named or renamed
      nameVrf(vrfId, "vrf" + std::to_string(vrfId) + (rng() % 2 ? "" : "-renamed"), inputs, stack);
      break;
    case 1:
      inputs.vrfs.erase(vrfId);
      stack.vrfDel(vrfId);
      break;
    case 2: {
      std::string const intf = pick(kIntfs);
      std::string const vrf = pick(kVrfNames);
      inputs.intfs[intf] = vrf;
      stack.intfIs(intf, vrf);
      break;
    }
    case 3: {
      std::string const intf = pick(kIntfs);
      inputs.intfs.erase(intf);
      stack.intfDel(intf);
      break;
    }
    case 4: {
      std::string const intf = pick(kIntfs);
      auto const version = static_cast<Flowspec::IpVersion>(rng() % 4);
      inputs.enabled[intf] = version;
      stack.enabledIntfIs(intf, version);
      break;
    }
    case 5:
      inputs.enabledAll = !inputs.enabledAll;
      stack.enabledIntfAllIs(inputs.enabledAll);
      break;
    case 6: {
      std::string const match = pick(kMatches);
      inputs.rules.erase({vrfId, match});
      stack.ruleDel(vrfId, match);
      break;
    }
    case 7:  // a name moves to another VRF id
      nameVrf(vrfId, pick(kVrfNames), inputs, stack);
      break;
    case 8:
      reannounceWithOtherActions(rng, inputs, stack);
      break;
    case 9: {
      // More rules than the walk handles in one quantum, for the walk at restart.
      for (std::uint32_t port = 2000; port < 2000 + 150; ++port) {
        std::string const match = "ipv4 dport =" + std::to_string(port);
        Flowspec::FlowspecKey key;
        key.copyInStringValue(match);
        Flowspec::Rule rule;
        rule.key = Flowspec::FlowspecTidalKey(vrfId, key);
        rule.ruleId = port;
        randomActions(rng, rule);
        inputs.rules[{vrfId, match}] = rule;
        stack.ruleIs(rule);
      }
      break;
    }
    default: {
      std::string const match = pick(kMatches);
      Flowspec::FlowspecKey key;
      key.copyInStringValue(match);
      Flowspec::Rule rule;
      rule.key = Flowspec::FlowspecTidalKey(vrfId, key);
      rule.ruleId = rng() % 1000;
      randomActions(rng, rule);
      inputs.rules[{vrfId, match}] = rule;
      stack.ruleIs(rule);
    }
  }
}

// The hardware of a run, drawn once per seed and given to both stacks before they start:
// Ethernet3 sits on a card whose banks are either ample or empty, and the main card cannot
// qualify on some fields. Both are fixed for the run because the hardware applies them to
// programs requested afterwards (and keeps a version that forwards while a new one cannot be
// placed beside it), so changing them midway makes the hardware itself depend on history.
struct Hardware {
  std::uint32_t smallIpv4Entries = 0;
  std::uint32_t smallIpv6Entries = 0;
  std::vector<std::pair<Acl::AclType, Pbr::Qualifier>> unsupported;

  explicit Hardware(std::mt19937& rng) {
    smallIpv4Entries = rng() % 2 ? 100'000 : 0;
    smallIpv6Entries = rng() % 2 ? 100'000 : 0;
    for (int i = 0; i < Pbr::kQualifierCount; ++i) {
      if (rng() % 5 == 0) {
        unsupported.emplace_back(static_cast<Acl::AclType>(rng() % 2),
                                 static_cast<Pbr::Qualifier>(1 << i));
      }
    }
  }
  void applyTo(StackHarness& stack) const {
    stack.hardware->lineCardIs("small", smallIpv4Entries, smallIpv6Entries, 64);
    stack.hardware->intfIs(Nwk::IntfId("Ethernet3"), "small");
    for (auto const& [aclType, qualifier] : unsupported) {
      stack.hardware->unsupportedQualifierIs(StackHarness::kLineCard, aclType, qualifier);
    }
  }
};

TEST(Convergence, RandomChangesEndWhereAFreshStartEnds) {
  bool sawFailure = false;
  bool sawUnsupported = false;
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    // Several VRFs carry the same rules: they share class-maps.
    std::mt19937 rng(seed);
    Hardware const hardware(rng);
    StackHarness stack;
    hardware.applyTo(stack);
    // Task runs that take time let the policy timers fire between batches of rules: versions
    // then list rules whose class-maps are still to come.
    double const taskRunCosts[] = {0.0, 0.01, 0.03};
    stack.scheduler->taskRunCostIs(taskRunCosts[rng() % 3]);
    Inputs inputs;
    stack.start();
    for (int step = 0; step < 150; ++step) {
      randomChange(rng, inputs, stack);
      switch (rng() % 20) {
        case 0:
        case 1:
        case 2:
        case 3:
          stack.runUntilIdle();
          break;
        case 4:
        case 5:
        case 6:
          stack.runFor(0.03);
          break;
        case 7:
          stack.runFor(61.0);  // past the starvation timer
          break;
        default:
          break;  // several changes land before the loop runs
      }
      if (rng() % 60 == 0) {  // the agent restarts
        stack.stop();
        stack.start();
      }
    }
    stack.settle();
    for (int last = 0; last < 5; ++last) {  // nothing after them rebuilds the policy-maps
      reannounceWithOtherActions(rng, inputs, stack);
    }
    stack.settle();

    StackHarness fresh;
    hardware.applyTo(fresh);
    inputs.applyTo(fresh);
    fresh.start();
    fresh.settle();
    std::string const outputs = stack.outputs();
    ASSERT_EQ(outputs, fresh.outputs());
    sawFailure |= outputs.find(": 6 failed") != std::string::npos ||
                  outputs.find(": 2 partially installed") != std::string::npos;
    sawUnsupported |= outputs.find(": 4 unsupported qualifier") != std::string::npos;
  }
  // The drawn hardware did refuse rules on some interfaces and qualifiers count somewhere.
  EXPECT_TRUE(sawFailure);
  EXPECT_TRUE(sawUnsupported);
}

}  // namespace
