// Fuzzes the state machines with arbitrary table content: the input decodes into a sequence of
// writes to the tables the system watches (raw rules with any words, family, prefixes, action
// bits, rate, DSCP and redirect; VRFs created, renamed and deleted; interfaces added, moved and
// deleted; flowspec enabled per interface), interleaved with simulated time and restarts. Once
// idle, what the system wrote must equal what a fresh stack writes on the final inputs.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "fuzz/ByteReader.h"
#include "fuzz/QuietTraces.h"
#include "tests/OrbFlowspec/support/StackHarness.h"

namespace {

using OrbFlowspecTest::StackHarness;
using VrfId = Vrf::VrfIdMap::VrfId;

constexpr int kMaxOperations = 48;

std::array<char const*, 6> const kVrfNames = {"red", "blue", "green", "default", "", "x\ny"};
std::array<char const*, 5> const kIntfs = {"Ethernet1", "Ethernet2", "Vlan10", "Port-Channel5",
                                           "Management1"};

// The inputs as the tables hold them, to start a fresh stack on.
struct Inputs {
  std::map<VrfId, std::string> vrfs;
  std::map<std::string, std::string> intfs;  // interface -> VRF name
  std::map<std::string, Flowspec::IpVersion> enabled;
  bool enabledAll = false;
  std::map<Flowspec::FlowspecTidalKey, Flowspec::Rule> rules;

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

// Mostly the few VRFs the other operations name, sometimes the edges of the id space.
VrfId vrfId(Fuzz::ByteReader& in) {
  std::uint8_t const pick = in.u8();
  switch (pick) {
    case 0xFF:
      return Vrf::VrfIdMap::kInvalidVrfId;
    case 0xFE:
      return Vrf::VrfIdMap::kInvalidVrfId - 1;
    case 0xFD:
      return 0;
    default:
      return 1 + pick % 4;
  }
}

Nwk::IpGenAddr address(Fuzz::ByteReader& in, std::uint8_t family) {
  switch (family % 3) {
    case 1:
      return Nwk::IpGenAddr::ipv4(in.u32());
    case 2: {
      Nwk::IpGenAddr::Bytes bytes{};
      for (auto& byte : bytes) {
        byte = in.u8();
      }
      return Nwk::IpGenAddr::ipv6(bytes);
    }
    default:
      return {};
  }
}

Nwk::IpGenPrefix prefix(Fuzz::ByteReader& in) {
  std::uint8_t const family = in.u8() % 3;
  Nwk::IpGenAddr const addr = address(in, family);
  std::uint8_t const len = in.u8();
  if (family == 0) {
    return {};
  }
  return Nwk::IpGenPrefix(addr, static_cast<std::uint8_t>(len % (family == 1 ? 33 : 129)));
}

Flowspec::FlowspecTidalKey tableKey(Fuzz::ByteReader& in) {
  VrfId const vrf = vrfId(in);
  std::uint8_t const af = in.u8();
  Nwk::IpGenPrefix const dst = prefix(in);
  Nwk::IpGenPrefix const src = in.u8() % 4 == 0 ? prefix(in) : Nwk::IpGenPrefix();
  std::vector<std::uint32_t> words(in.u8() % 9);
  for (auto& word : words) {
    word = in.u32();
  }
  return Flowspec::FlowspecTidalKey(vrf, af, dst, src, words.data(), words.size());
}

Flowspec::Rule rule(Fuzz::ByteReader& in) {
  Flowspec::Rule rule;
  rule.key = tableKey(in);
  rule.ruleId = in.u64();
  rule.actionFieldSet = Flowspec::ActionFieldSet(in.u8());
  rule.trafficRateLimit = in.f32();
  rule.trafficAction = Flowspec::TrafficAction(in.u8());
  rule.trafficMarkingDscp = Nwk::IpTos(in.u8());
  rule.trafficRedirect.vrfId = vrfId(in);
  rule.trafficRedirect.address = address(in, in.u8());
  return rule;
}

std::string vrfName(Fuzz::ByteReader& in) {
  std::uint8_t const pick = in.u8();
  if (pick < 0xF0) {
    return kVrfNames[pick % kVrfNames.size()];
  }
  return std::string(pick == 0xFF ? 101 : 100, 'v');  // one past the longest VRF name, and it
}

void operate(Fuzz::ByteReader& in, Inputs& inputs, StackHarness& stack) {
  switch (in.u8() % 12) {
    case 0:
    case 1: {
      Flowspec::Rule const announced = rule(in);
      inputs.rules[announced.key] = announced;
      stack.ruleIs(announced);
      break;
    }
    case 2: {
      // A rule announced before, or any key at all.
      std::uint8_t const pick = in.u8();
      Flowspec::FlowspecTidalKey key;
      if (!inputs.rules.empty() && pick < 0xC0) {
        key = std::next(inputs.rules.begin(), pick % inputs.rules.size())->first;
      } else {
        key = tableKey(in);
      }
      inputs.rules.erase(key);
      stack.ruleSet->ruleDel(key);
      break;
    }
    case 3: {
      // Creates or renames a VRF. VRF names are unique in the VRF id table: its publisher never
      // gives one name two ids.
      VrfId const id = vrfId(in);
      std::string const name = vrfName(in);
      for (auto const& [other, otherName] : inputs.vrfs) {
        if (other != id && otherName == name) {
          return;
        }
      }
      inputs.vrfs[id] = name;
      stack.vrfIs(id, name);
      break;
    }
    case 4: {
      VrfId const id = vrfId(in);
      inputs.vrfs.erase(id);
      stack.vrfDel(id);
      break;
    }
    case 5: {
      std::string const intf = kIntfs[in.u8() % kIntfs.size()];
      std::string const vrf = vrfName(in);
      inputs.intfs[intf] = vrf;
      stack.intfIs(intf, vrf);
      break;
    }
    case 6: {
      std::string const intf = kIntfs[in.u8() % kIntfs.size()];
      inputs.intfs.erase(intf);
      stack.intfDel(intf);
      break;
    }
    case 7: {
      std::string const intf = kIntfs[in.u8() % kIntfs.size()];
      auto const version = static_cast<Flowspec::IpVersion>(in.u8() % 4);
      inputs.enabled[intf] = version;
      stack.enabledIntfIs(intf, version);
      break;
    }
    case 8:
      inputs.enabledAll = in.u8() % 2;
      stack.enabledIntfAllIs(inputs.enabledAll);
      break;
    case 9:
      stack.runFor(in.u8() / 64.0);
      break;
    case 10:
      stack.runUntilIdle();
      break;
    default:
      // The agent restarts: the state machines go, the tables and what they wrote stay.
      stack.stop();
      stack.start();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Fuzz::quietTraces();
  Fuzz::ByteReader in(data, size);
  Inputs inputs;
  StackHarness stack;
  stack.start();
  for (int i = 0; i < kMaxOperations && !in.empty(); ++i) {
    operate(in, inputs, stack);
  }
  stack.settle();

  StackHarness fresh;
  inputs.applyTo(fresh);
  fresh.start();
  fresh.settle();
  if (stack.outputs() != fresh.outputs()) {
    std::fprintf(stderr, "outputs after the changes:\n%s\noutputs of a fresh start:\n%s\n",
                 stack.outputs().c_str(), fresh.outputs().c_str());
    std::abort();
  }
  return 0;
}
